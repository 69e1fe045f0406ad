#pragma once

/// What the library asks of the program that it is part of: a console, memory, and whether the user
/// wants to stop. A plain program has the defaults; a plug-in installs its host's.
///
/// Services belong to the thread that calls the library, everything else to a run: its instruction
/// set, threads, limits and progress (kestrel/field.h). Nothing is shared by a whole program.

#include <cstddef>
#include <type_traits>
#include <utility>

#include "kestrel/error.h"

namespace kestrel {

/// The array type of a MEX host, which is an incomplete class or void. Operations that read a
/// host's structure are declared for any such type and defined in mex/readers/, so that the library
/// itself needs no host. A program without those readers cannot link a call of them.
template <class T>
concept HostArray = std::is_class_v<T> || std::is_void_v<T>;

}  // namespace kestrel

namespace kestrel::services {

/// The services of a thread. They are called on that thread only; those that a run starts itself
/// have the defaults, and hand their texts to the thread that started the run.
struct Services {
  /// Shows text on the console at once. Default: standard output.
  void (*print)(const char* text);
  /// Shows a warning; the call goes on. Default: a line on standard error.
  void (*warn)(const char* text);
  /// Whether the user wants the running call to end. May throw an exception of the host's own,
  /// which unwinds every scope. Default: never.
  bool (*interrupted)();
  /// Zeroed bytes, aligned to 16, or null. Default: std::calloc.
  void* (*allocate)(std::size_t bytes);
  /// Takes back what `allocate` gave. Default: std::free.
  void (*release)(void* block);
};

/// The defaults.
extern const Services kStandardServices;

/// From now on the library uses `services` on the calling thread. They must outlive every block
/// that they allocate. To be called before anything else, or between calculations.
void install(const Services& services);

/// Prints formatted text.
void print(const char* format, ...) KESTREL_PRINTF_LIKE(1, 2);

/// Issues a warning.
void warn(const char* text);

/// Whether the user wants the running call to end (Ctrl-C). Long work asks now and then, on the
/// calling thread.
bool interrupted();

/// `count` zeroed blocks of `size` bytes. Throws Error when the memory cannot be had. Never null,
/// for no bytes either, and aligned to 16 bytes. Release with `release` and nothing else: a header
/// in front of the block names its allocator.
void* allocate_zeroed(std::size_t count, std::size_t size);
void release(void* block) noexcept;

}  // namespace kestrel::services

namespace kestrel::services {

/// A zero-filled array from the program's allocator, released with its scope. A MEX host reclaims
/// such memory even when it ends a call without unwinding, so it is the right home for everything
/// that an element or an input object holds during a call.
template <class T>
class Array {
  static_assert(std::is_trivially_copyable_v<T> && alignof(T) <= 16);

 public:
  Array() = default;
  explicit Array(std::size_t count)
      : _data(static_cast<T*>(allocate_zeroed(count, sizeof(T)))), _size(count) {}
  Array(Array&& other) noexcept
      : _data(std::exchange(other._data, nullptr)), _size(std::exchange(other._size, 0)) {}
  Array& operator=(Array&& other) noexcept {
    std::swap(_data, other._data);
    std::swap(_size, other._size);
    return *this;
  }
  Array(const Array&) = delete;
  Array& operator=(const Array&) = delete;
  ~Array() { release(_data); }

  T* data() { return _data; }
  const T* data() const { return _data; }
  std::size_t size() const { return _size; }
  bool empty() const { return _size == 0; }
  T* begin() { return _data; }
  T* end() { return _data + _size; }
  const T* begin() const { return _data; }
  const T* end() const { return _data + _size; }
  T& operator[](std::size_t i) { return _data[i]; }
  const T& operator[](std::size_t i) const { return _data[i]; }

 private:
  T* _data = nullptr;
  std::size_t _size = 0;
};

}  // namespace kestrel::services
