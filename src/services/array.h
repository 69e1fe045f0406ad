#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>

#include "services/services.h"

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
