#pragma once

#include <cstddef>
#include <vector>

namespace kestrel::kzk {

/// Counts and offsets in stored planes: signed, as differences of offsets are.
using Index = std::ptrdiff_t;

/// A vector that is sized and indexed by Index.
template <class T>
class Buffer : private std::vector<T> {
 public:
  explicit Buffer(Index size = 0, T value = T())
      : std::vector<T>(static_cast<std::size_t>(size), value) {}
  using std::vector<T>::data;
  using std::vector<T>::begin;
  using std::vector<T>::end;
  void resize(Index size) { std::vector<T>::resize(static_cast<std::size_t>(size)); }
  Index size() const { return end() - begin(); }
  T& operator[](Index i) { return *(data() + i); }
  const T& operator[](Index i) const { return *(data() + i); }
};

/// One value for each of `lanes` harmonics, nodes or waveforms that are worked on side by side.
template <class T, int lanes>
using LaneArray = T[static_cast<std::size_t>(lanes)];

}  // namespace kestrel::kzk
