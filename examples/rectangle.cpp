/// A rectangular element, turned and moved, in a lossy medium: the fast nearfield method against
/// the Rayleigh integral.

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdio>
#include <numbers>
#include <vector>

#include "kestrel/kestrel.h"

int main() {
  kestrel::Medium tissue;
  tissue._soundspeed = 1540;
  tissue._rho_density = 1060;
  tissue._dBcmMHz = 0.5;
  tissue._f0 = 1e6;

  kestrel::CoordinateGrid plane;
  plane.RegularCoordinateGrid(-20e-3, 20e-3, 0, 0, 10e-3, 60e-3, 1e-3, 0, 1e-3);

  kestrel::RectangularTransducer element(6e-3, 10e-3, 1.0, 0.0);  // width, height, amplitude, phase
  element.set_center(0, 2e-3, 0);
  element.set_euler(0.1, 0, 0);  // radians, about the y axis first

  // Nodes: twice the longer side in wavelengths, and eight for six digits.
  const double wavelength = tissue._soundspeed / tissue._f0;
  kestrel::NumericalIntegration rule;
  rule.allocate_memory(static_cast<int>(std::ceil(2 * 10e-3 / wavelength)) + 8);
  rule.gauss_quadrature();
  element.set_medium(&tissue);
  element.set_global_coordinate_grid(&plane);
  element.set_integral_pointer(&rule);

  std::vector<double> re(plane.npoints()), im(plane.npoints());
  element.set_complex_pressure_pointers(re.data(), im.data());
  if (element.fnm_cw() != kestrel::kSuccess) return 1;

  std::vector<double> exact_re(plane.npoints()), exact_im(plane.npoints());
  element.set_complex_pressure_pointers(exact_re.data(), exact_im.data());
  if (element.rayleigh_cw() != kestrel::kSuccess) return 1;

  // With loss the two differ by the factor 1 - j alpha/k.
  const double alpha = tissue._dBcmMHz * 100 * (tissue._f0 / 1e6) * std::log(10.0) / 20;
  const std::complex<double> factor(1, -alpha * wavelength / (2 * std::numbers::pi));
  double peak = 0, worst = 0;
  for (int i = 0; i < plane.npoints(); ++i) {
    const std::complex<double> p(re[i], im[i]), exact(exact_re[i], exact_im[i]);
    peak = std::max(peak, std::abs(p));
    worst = std::max(worst, std::abs(p / factor - exact));
  }
  std::printf("%d nodes, peak %.4f MPa, difference from the Rayleigh integral %.1e of it\n",
              rule.get_npoints(), peak / 1e6, worst / peak);
  return peak > 1e5 && worst < 1e-6 * peak ? 0 : 1;
}
