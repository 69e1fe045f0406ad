#pragma once

/// The boundary to the MEX host. No physics here, and no `mx*` or `mex*` name: whoever must touch
/// host values (structures, arrays) includes "host/mex_api.h" as well.

#include <cstddef>
#include <utility>

#include "host/error.h"

namespace kestrel::host {

#if defined(__GNUC__)
#define KESTREL_PRINTF_LIKE(format, first) __attribute__((format(printf, format, first)))
#else
#define KESTREL_PRINTF_LIKE(format, first)
#endif

/// Throws kestrel::Error with the formatted text.
[[noreturn]] void fail(const char* format, ...) KESTREL_PRINTF_LIKE(1, 2);

/// Prints formatted text to the host's console at once.
void print(const char* format, ...) KESTREL_PRINTF_LIKE(1, 2);

/// Issues a warning through the host; the call goes on.
void warn(const char* text);

/// `count` zeroed blocks of `size` bytes from the host's allocator; throws kestrel::Error when the
/// memory cannot be had. Release with `release`.
void* allocate_zeroed(std::size_t count, std::size_t size);
void release(void* block) noexcept;

/// A zero-filled array from the host's allocator, released with its scope. The host reclaims such
/// memory even when it ends a call without unwinding, so it is the right home for everything that
/// an element or an input object holds during a call.
template <class T>
class Array {
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

}  // namespace kestrel::host
