#pragma once

namespace kestrel {

/// What every calculation method returns.
enum ElementResult : int {
  kSuccess = 0,
  kNotImplemented = 1,  ///< this shape has no such method
  kOutOfMemory = 2,     ///< nothing was added to the planes
  kMisuse = 3,          ///< an input is missing or out of range; nothing was added
};

}  // namespace kestrel
