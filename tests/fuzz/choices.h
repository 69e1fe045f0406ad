#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <random>
#include <span>

namespace kestrel::fuzz {

/// Where a made-up call takes its decisions from: a seeded generator, or the bytes that a fuzzer
/// proposes. Behind the last byte every decision is 0, which by convention is the plainest one.
class Choices {
 public:
  explicit Choices(std::uint64_t seed) : _generator(seed) {}
  explicit Choices(std::span<const std::uint8_t> bytes) : _bytes(bytes) {}

  /// One of 0 .. n-1.
  std::size_t below(std::size_t n) { return n < 2 ? 0 : word(n <= 256 ? 1 : 8) % n; }
  /// True in about so many of 100 cases.
  bool chance(std::size_t percent) { return below(100) >= 100 - percent; }
  template <class T, std::size_t n>
  const T& one_of(const T (&list)[n]) {
    return list[below(n)];
  }
  /// Any 64 bits.
  std::uint64_t bits() { return word(8); }

 private:
  std::uint64_t word(int bytes) {
    if (_generator) return (*_generator)();
    std::uint64_t value = 0;
    for (; bytes > 0 && !_bytes.empty(); --bytes) {
      value = value << 8 | _bytes.front();
      _bytes = _bytes.subspan(1);
    }
    return value;
  }

  std::optional<std::mt19937_64> _generator;
  std::span<const std::uint8_t> _bytes;
};

}  // namespace kestrel::fuzz
