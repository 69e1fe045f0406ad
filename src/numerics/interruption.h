#pragma once

#include <functional>
#include <utility>

namespace kestrel {

/// Whether the result of the work at hand is no longer wanted. Long loops ask between pieces of
/// some milliseconds, and then return at once; what they leave is not to be read. Costs some
/// nanoseconds where nobody listens. False unless an InterruptionScope lives on this thread; may
/// throw what its function throws.
bool interruption_asked();

/// While one lives, the loops of its thread ask `asked`. Scopes nest; the innermost is asked.
class InterruptionScope {
 public:
  explicit InterruptionScope(std::function<bool()> asked);
  ~InterruptionScope();
  InterruptionScope(const InterruptionScope&) = delete;
  InterruptionScope& operator=(const InterruptionScope&) = delete;

 private:
  friend bool interruption_asked();
  std::function<bool()> _asked;
  const InterruptionScope* _outer;
};

}  // namespace kestrel
