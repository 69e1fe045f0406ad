#pragma once

#include <stdexcept>
#include <string>

namespace kestrel {

/// What every failure inside kestrel throws. The text is complete: it is what the user of MATLAB or
/// Octave reads. C++ programs simply catch it; only the plug-in's outermost function turns it into
/// the host's error call, after every scope that owns something has ended.
class Error : public std::runtime_error {
 public:
  explicit Error(const std::string& text) : std::runtime_error(text) {}
};

}  // namespace kestrel
