#include "arrays/pseudo_inverse.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace kestrel {

using Complex = std::complex<double>;

std::vector<Complex> least_norm_solution(const ComplexMatrix& h, std::span<const double> b) {
  constexpr double kEpsilon = std::numeric_limits<double>::epsilon();
  constexpr int kSweeps = 60;
  const std::size_t m = h.rows(), n = h.columns();
  // h = U a with U unitary and the rows of `a` orthogonal at the end: rotate pairs of rows.
  ComplexMatrix a = h;
  std::vector<Complex> c(b.begin(), b.end());  // U^H b
  for (int sweep = 0; sweep < kSweeps; ++sweep) {
    bool rotated = false;
    for (std::size_t p = 0; p + 1 < m; ++p) {
      for (std::size_t q = p + 1; q < m; ++q) {
        double alpha = 0, beta = 0;
        Complex gamma = 0;
        for (std::size_t k = 0; k < n; ++k) {
          alpha += std::norm(a(p, k));
          beta += std::norm(a(q, k));
          gamma += a(p, k) * std::conj(a(q, k));
        }
        const double size = std::abs(gamma);
        if (size <= kEpsilon * std::sqrt(alpha * beta) || size == 0) continue;
        rotated = true;
        const double zeta = (beta - alpha) / (2 * size);
        const double t = (zeta >= 0 ? 1 : -1) / (std::abs(zeta) + std::hypot(1.0, zeta));
        const double cosine = 1 / std::hypot(1.0, t), sine = cosine * t;
        const Complex turn = gamma / size;
        const auto rotate = [&](Complex& x, Complex& y) {
          const Complex before = x, other = turn * y;
          x = cosine * before - sine * other;
          y = sine * before + cosine * other;
        };
        for (std::size_t k = 0; k < n; ++k) rotate(a(p, k), a(q, k));
        rotate(c[p], c[q]);
      }
    }
    if (!rotated) break;
  }
  std::vector<double> squared(m);
  for (std::size_t p = 0; p < m; ++p) {
    for (std::size_t k = 0; k < n; ++k) squared[p] += std::norm(a(p, k));
  }
  const double largest = m == 0 ? 0 : *std::max_element(squared.begin(), squared.end());
  const double relative = static_cast<double>(std::max(m, n)) * kEpsilon;
  std::vector<Complex> x(n);
  for (std::size_t p = 0; p < m; ++p) {
    if (!(squared[p] > relative * relative * largest)) continue;
    for (std::size_t k = 0; k < n; ++k) x[k] += std::conj(a(p, k)) * c[p] / squared[p];
  }
  return x;
}

}  // namespace kestrel
