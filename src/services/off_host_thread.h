#pragma once

#include <string>
#include <utility>
#include <vector>

namespace kestrel::services {

/// Texts that were printed or warned about off the host's thread, in their order.
class Messages {
 public:
  void add_print(std::string text) { _messages.push_back({std::move(text), false}); }
  void add_warning(std::string text) { _messages.push_back({std::move(text), true}); }
  bool empty() const { return _messages.empty(); }

  /// Takes those of another's texts that are not here yet, and leaves it empty.
  void absorb(Messages& other);

  /// The warnings, which are then forgotten.
  std::vector<std::string> take_warnings();

  /// Prints and warns on the calling thread, and forgets. A text is forgotten before it is shown,
  /// because a host that treats warnings as errors does not come back.
  void replay();

 private:
  struct Message {
    std::string text;
    bool is_warning;
    bool operator==(const Message&) const = default;
  };
  std::vector<Message> _messages;
};

/// A host's services serve one thread only, which has installed them. While an OffHostThread is
/// alive, its thread does without services: `print` and `warn` add to `messages`, and memory comes
/// from the standard allocator. The host's thread replays the messages after the other thread has
/// finished. Scopes nest.
///
/// A block goes back to where it came from, whenever it is released. So a thread may hand its
/// arrays to the host's thread, but must not release the host's.
///
///     services::Messages messages;            // on the host's thread
///     std::jthread worker([&] {
///       services::OffHostThread scope(messages);
///       ...
///     });
///     worker.join();
///     messages.replay();
class OffHostThread {
 public:
  explicit OffHostThread(Messages& messages);
  ~OffHostThread();
  OffHostThread(const OffHostThread&) = delete;
  OffHostThread& operator=(const OffHostThread&) = delete;

 private:
  Messages* _outer;
};

}  // namespace kestrel::services
