/// Pressure on the axis of a circular piston, against the textbook's closed form.

#include <cstdio>
#include <numbers>

#include "kestrel/kestrel.h"

int main() {
  kestrel::Medium water;
  water._soundspeed = 1500;      // m/s
  water._rho_density = 1000;     // kg/m^3
  water._f0 = 1e6;               // Hz
  kestrel::CoordinateGrid axis;  // x = y = 0, z from 1 to 100 mm
  axis.RegularCoordinateGrid(0, 0, 0, 0, 1e-3, 100e-3, 0, 0, 0.5e-3);

  const double a = 7.5e-3;  // face velocity 1 m/s, phase 0
  std::vector<std::complex<double>> p(axis.npoints());
  kestrel::fields::compute_field({{.geometry = kestrel::fields::Circle{a}}}, axis, water,
                                 {.nodes = 64}, p.data());

  // p = rho c (e^{-jkz} - e^{-jk sqrt(z^2 + a^2)})
  const double k = 2 * std::numbers::pi * water._f0 / water._soundspeed;
  double worst = 0;
  for (int i = 0; i < axis.npoints(); ++i) {
    const double z = axis.spatial_index_value(i).z;
    const auto exact = 1500e3 * (std::polar(1.0, -k * z) - std::polar(1.0, -k * std::hypot(z, a)));
    worst = std::max(worst, std::abs(p[i] - exact));
    if (i % 20 == 0) std::printf("z = %3.0f mm: %7.4f MPa\n", z * 1e3, std::abs(p[i]) / 1e6);
  }
  std::printf("largest difference from the closed form: %.1e Pa\n", worst);
  return worst < 1e-3 ? 0 : 1;
}
