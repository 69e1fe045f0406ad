/// A focusing shell: where its field is strongest, and the closed form at its centre of curvature.

#include <algorithm>
#include <cstdio>
#include <numbers>

#include "kestrel/kestrel.h"

int main() {
  kestrel::Medium water;
  water._soundspeed = 1500;
  water._rho_density = 1000;
  water._f0 = 1e6;
  kestrel::CoordinateGrid axis;  // z from 10 to 60 mm; point 300 is the centre of curvature
  axis.RegularCoordinateGrid(0, 0, 0, 0, 10e-3, 60e-3, 0, 0, 0.1e-3);

  const double radius = 15e-3, curvature = 40e-3;
  std::vector<std::complex<double>> p(axis.npoints());
  kestrel::fields::compute_field({{.geometry = kestrel::fields::Shell{radius, curvature}}}, axis,
                                 water, {.nodes = 64}, p.data());

  const auto strongest = std::max_element(
      p.begin(), p.end(), [](auto one, auto other) { return std::abs(one) < std::abs(other); });
  // All of the shell is heard at once: 2 pi rho f0 times the depth of the bowl.
  const double depth = curvature - std::sqrt(curvature * curvature - radius * radius);
  const double exact = 2 * std::numbers::pi * water._rho_density * water._f0 * depth;
  std::printf("strongest: %.3f MPa at z = %.1f mm\n", std::abs(*strongest) / 1e6,
              axis.z_values()[strongest - p.begin()] * 1e3);
  std::printf("at z = 40 mm: %.6f MPa, closed form %.6f MPa\n", std::abs(p[300]) / 1e6,
              exact / 1e6);
  return std::abs(std::abs(p[300]) - exact) < 1e-9 * exact && strongest < p.begin() + 300 ? 0 : 1;
}
