#include "numerics/fft.h"

#include <cmath>
#include <cstddef>
#include <numbers>
#include <vector>

namespace kestrel {
namespace {

using Complex = std::complex<double>;

/// The transform of one length.
class Transform {
 public:
  explicit Transform(std::size_t length) : _roots(length) {
    for (std::size_t k = 0; k < length; ++k) _roots[k] = root(k, length);
  }

  void run(const Complex* input, Complex* output) const { run(input, 1, output, _roots.size()); }

 private:
  void run(const Complex* input, std::size_t stride, Complex* output, std::size_t length) const {
    if (length == 1) {
      *output = *input;
      return;
    }
    const std::size_t radix = smallest_factor(length);
    const std::size_t part = length / radix;
    for (std::size_t q = 0; q < radix; ++q) {
      run(input + q * stride, stride * radix, output + q * part, part);
    }
    const std::size_t step = _roots.size() / length;
    std::vector<Complex> terms(radix);
    for (std::size_t k = 0; k < part; ++k) {
      for (std::size_t q = 0; q < radix; ++q) terms[q] = output[q * part + k];
      for (std::size_t r = 0; r < radix; ++r) {
        const std::size_t frequency = r * part + k;
        Complex sum = terms[0];
        for (std::size_t q = 1; q < radix; ++q) {
          sum += terms[q] * _roots[q * frequency % length * step];
        }
        output[frequency] = sum;
      }
    }
  }

  /// exp(-2 pi i k / length), rounded once, and exact for whole quarters of a turn.
  static Complex root(std::size_t k, std::size_t length) {
    const std::size_t quarter = 4 * k / length;
    const std::size_t rest = 4 * k % length;
    const long double angle = std::numbers::pi_v<long double> / 2 * rest / length;
    const auto cosine = static_cast<double>(std::cos(angle));
    const auto sine = static_cast<double>(std::sin(angle));
    switch (quarter) {
      case 0:
        return {cosine, -sine};
      case 1:
        return {-sine, -cosine};
      case 2:
        return {-cosine, sine};
      default:
        return {sine, cosine};
    }
  }

  static std::size_t smallest_factor(std::size_t length) {
    for (std::size_t factor = 2; factor * factor <= length; ++factor) {
      if (length % factor == 0) return factor;
    }
    return length;
  }

  std::vector<Complex> _roots;
};

}  // namespace

void fourier_transform(std::span<std::complex<double>> values) {
  if (values.empty()) return;
  const std::vector<Complex> input(values.begin(), values.end());
  Transform(values.size()).run(input.data(), values.data());
}

}  // namespace kestrel
