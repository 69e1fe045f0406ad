#include "methods/rayleigh/rectangle_farfield.h"

#include "numerics/interruption.h"

namespace kestrel {

namespace {

std::complex<double> sinc(std::complex<double> u) {
  return std::abs(u) < 1e-4 ? 1.0 - u * u / 6.0 : std::sin(u) / u;
}

double sinc(double u) { return std::abs(u) < 1e-4 ? 1.0 - u * u / 6.0 : std::sin(u) / u; }

/// Sum over the sub-rectangles at one point. `Wavenumber` is k, or k - j alpha with loss: the phase
/// and the loss both tilt across a sub-rectangle.
template <class Wavenumber>
std::complex<double> radiator_sum(const RectangleRadiators& face, Wavenumber k, double x, double y,
                                  double z) {
  const double a = face.half_width / face.n, b = face.half_height / face.n;
  const double area = 4 * a * b;
  const std::complex<double> loss_and_k(-face.propagation.attenuation, -face.propagation.phase);
  std::complex<double> sum = 0;
  for (int i = 0; i < face.n; ++i) {
    const double dx = x - (2 * i + 1 - face.n) * a;
    for (int j = 0; j < face.n; ++j) {
      const double dy = y - (2 * j + 1 - face.n) * b;
      const double r = std::sqrt(dx * dx + dy * dy + z * z);
      if (r == 0) {
        // The sub-rectangle's own centre: integral of (1 - (alpha + jk)R)/R over it.
        sum += 4 * (a * std::asinh(b / a) + b * std::asinh(a / b)) - loss_and_k * area;
      } else {
        sum += area * smart_exp(face.propagation.attenuation * r, face.propagation.phase * r) / r *
               (sinc(k * (a * dx / r)) * sinc(k * (b * dy / r)));
      }
    }
  }
  return sum;
}

}  // namespace

void RectangleFarfield::evaluate(FieldTile& tile, int) const {
  for (int i = 0; i < tile.count; ++i) {
    const double x = tile.x[i], y = tile.y[i];
    const double r = distance(x, y, tile.z[i]);
    std::complex<double> p =
        smart_exp(propagation.attenuation * r, propagation.phase * r) * amplitude / r;
    if (x != 0) {
      const double u = x * half_width_k / r;
      p = p * std::sin(u) / u;
    }
    if (y != 0) {
      const double v = y * half_height_k / r;
      p = p * std::sin(v) / v;
    }
    tile.re[i] = p.real();
    tile.im[i] = p.imag();
  }
}

void RectangleRadiators::evaluate(FieldTile& tile, int) const {
  const double k = -propagation.phase;
  for (int i = 0; i < tile.count; ++i) {
    if (interruption_asked()) return;
    const double x = tile.x[i], y = tile.y[i], z = tile.z[i];
    const std::complex<double> p =
        prefactor *
        (propagation.lossless()
             ? radiator_sum(*this, k, x, y, z)
             : radiator_sum(*this, std::complex<double>(k, propagation.attenuation), x, y, z));
    tile.re[i] = p.real();
    tile.im[i] = p.imag();
  }
}

}  // namespace kestrel
