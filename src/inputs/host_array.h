#pragma once

#include <type_traits>

namespace kestrel {

/// The array type of a MEX host, which is an incomplete class or void. Operations that read a
/// host's structure are declared for any such type and defined in mex/readers/, so that the library
/// itself needs no host. A program without those readers cannot link a call of them.
template <class T>
concept HostArray = std::is_class_v<T> || std::is_void_v<T>;

}  // namespace kestrel
