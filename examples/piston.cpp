/// Pressure on the axis of a circular piston, against the textbook's closed form.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <vector>

#include "kestrel/kestrel.h"

int main() {
  kestrel::Medium water;
  water._soundspeed = 1500;   // m/s
  water._rho_density = 1000;  // kg/m^3
  water._f0 = 1e6;            // Hz

  kestrel::CoordinateGrid axis;  // x = y = 0, z from 1 to 100 mm
  axis.RegularCoordinateGrid(0, 0, 0, 0, 1e-3, 100e-3, 0, 0, 0.5e-3);

  kestrel::NumericalIntegration rule;
  rule.allocate_memory(64);
  rule.gauss_quadrature();

  const double radius = 7.5e-3;
  kestrel::CircularTransducer piston(radius, 1.0, 0.0);  // face velocity 1 m/s, phase 0
  std::vector<double> re(axis.npoints()), im(axis.npoints());
  piston.set_medium(&water);
  piston.set_global_coordinate_grid(&axis);
  piston.set_integral_pointer(&rule);
  piston.set_complex_pressure_pointers(re.data(), im.data());
  if (piston.fnm_cw() != kestrel::kSuccess) return 1;

  // |p| = 2 rho c |sin(k/2 (sqrt(z^2 + a^2) - z))|
  const double k = 2 * std::numbers::pi * water._f0 / water._soundspeed;
  const double impedance = water._rho_density * water._soundspeed;
  double worst = 0;
  for (int i = 0; i < axis.npoints(); ++i) {
    const double z = axis.spatial_index_value(i).z;
    const double p = std::hypot(re[i], im[i]);
    const double exact = 2 * impedance * std::abs(std::sin(k / 2 * (std::hypot(z, radius) - z)));
    worst = std::max(worst, std::abs(p - exact));
    if (i % 20 == 0) std::printf("z = %3.0f mm: %7.4f MPa\n", z * 1e3, p / 1e6);
  }
  std::printf("largest difference from the closed form: %.1e Pa\n", worst);
  return worst < 1e-3 ? 0 : 1;
}
