#include <cmath>

#include "kestrel/special_functions.h"

namespace kestrel {

std::complex<double> fast_sinc(double a, double b) {
  if (a == 0 && b == 0) return {1, 0};
  const double s = std::sin(a);
  const double c = std::cos(a);
  const double growing = std::exp(b);
  const double decaying = std::exp(-b);
  const double g = 1 / (b * b + a * a);
  const double sine_re = s * decaying + s * (0.5 * growing);
  const double sine_im = (0.5 * growing) * c - c * decaying;
  return {(sine_im * b + sine_re * a) * g, (sine_im * a - sine_re * b) * g};
}

std::complex<double> fast_sinc(std::complex<double> z) { return fast_sinc(z.real(), z.imag()); }

}  // namespace kestrel
