#include "numerics/interruption.h"

namespace kestrel {

namespace {

thread_local const InterruptionScope* innermost = nullptr;

}  // namespace

bool interruption_asked() { return innermost != nullptr && innermost->_asked(); }

InterruptionScope::InterruptionScope(std::function<bool()> asked)
    : _asked(std::move(asked)), _outer(std::exchange(innermost, this)) {}

InterruptionScope::~InterruptionScope() { innermost = _outer; }

}  // namespace kestrel
