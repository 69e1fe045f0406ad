/// A focusing shell: where its field is strongest, and the closed form at its centre of curvature.

#include <cmath>
#include <cstdio>
#include <numbers>
#include <vector>

#include "kestrel/kestrel.h"

int main() {
  kestrel::Medium water;
  water._soundspeed = 1500;
  water._rho_density = 1000;
  water._f0 = 1e6;

  kestrel::CoordinateGrid axis;
  axis.RegularCoordinateGrid(0, 0, 0, 0, 10e-3, 60e-3, 0, 0, 0.1e-3);
  kestrel::NumericalIntegration rule;
  rule.allocate_memory(64);
  rule.gauss_quadrature();

  const double radius = 15e-3, curvature = 40e-3;
  kestrel::SphericalTransducer shell(radius, curvature, 1.0, 0.0);
  std::vector<double> re(axis.npoints()), im(axis.npoints());
  shell.set_medium(&water);
  shell.set_global_coordinate_grid(&axis);
  shell.set_integral_pointer(&rule);
  shell.set_complex_pressure_pointers(re.data(), im.data());
  if (shell.fnm_cw() != kestrel::kSuccess) return 1;

  int strongest = 0;
  const auto magnitude = [&](int i) { return std::hypot(re[i], im[i]); };
  for (int i = 0; i < axis.npoints(); ++i) {
    if (magnitude(i) > magnitude(strongest)) strongest = i;
  }
  // All of the shell is heard at once: 2 pi rho f0 times the depth of the bowl.
  const int centre = 300;
  const double depth = curvature - std::sqrt(curvature * curvature - radius * radius);
  const double exact = 2 * std::numbers::pi * water._rho_density * water._f0 * depth;
  std::printf("strongest: %.3f MPa at z = %.1f mm\n", magnitude(strongest) / 1e6,
              axis.spatial_index_value(strongest).z * 1e3);
  std::printf("at z = %.1f mm: %.6f MPa, closed form %.6f MPa\n",
              axis.spatial_index_value(centre).z * 1e3, magnitude(centre) / 1e6, exact / 1e6);
  return std::abs(magnitude(centre) - exact) < 1e-9 * exact && strongest < centre ? 0 : 1;
}
