#pragma once

#include <chrono>

#include "kestrel/services.h"

namespace kestrel::gateway {

/// Whether the user wants the running call to end, for loops that ask more often than the host
/// should be bothered: it is asked some twenty times a second. Once it has said yes, that stays.
class HostInterruption {
 public:
  bool operator()() {
    constexpr std::chrono::milliseconds kPeriod{50};
    const auto now = std::chrono::steady_clock::now();
    if (!_asked && now - _last >= kPeriod) {
      _last = now;
      _asked = services::interrupted();
    }
    return _asked;
  }
  bool asked() const { return _asked; }

 private:
  std::chrono::steady_clock::time_point _last = std::chrono::steady_clock::now();
  bool _asked = false;
};

}  // namespace kestrel::gateway
