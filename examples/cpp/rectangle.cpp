/// A rectangle, moved and turned, in a lossy medium: fast nearfield method and Rayleigh integral.

#include <cstdio>
#include <numbers>

#include "kestrel/kestrel.h"

int main() {
  using namespace kestrel::fields;
  kestrel::Medium tissue;
  tissue._soundspeed = 1540;
  tissue._rho_density = 1060;
  tissue._dBcmMHz = 0.5;
  tissue._f0 = 1e6;
  kestrel::CoordinateGrid plane;
  plane.RegularCoordinateGrid(-20e-3, 20e-3, 0, 0, 10e-3, 60e-3, 1e-3, 0, 1e-3);

  const std::vector<Element> element = {{.geometry = Rectangle{6e-3, 10e-3},
                                         .center = {0, 2e-3, 0},
                                         .euler = {0.1, 0, 0}}};  // radians, about y first
  std::vector<std::complex<double>> p(plane.npoints()), exact(plane.npoints());
  const Report report = compute_field(element, plane, tissue, {.nodes = 22}, p.data());
  compute_field(element, plane, tissue,
                {.method = find_continuous_wave_method("rayleigh_cw"), .nodes = 32}, exact.data());

  // With loss the two differ by the factor 1 - j alpha/k; alpha in Np/m.
  const double alpha = tissue._dBcmMHz * 100 * std::numbers::ln10 / 20;
  const std::complex<double> factor(1, -alpha * 1540 / (2 * std::numbers::pi * 1e6));
  double peak = 0, worst = 0;
  for (int i = 0; i < plane.npoints(); ++i) {
    peak = std::max(peak, std::abs(p[i]));
    worst = std::max(worst, std::abs(p[i] / factor - exact[i]));
  }
  std::printf("%d nodes, peak %.4f MPa, difference from the Rayleigh integral %.1e of it\n",
              report.greatest_nodes, peak / 1e6, worst / peak);
  return peak > 1e5 && worst < 1e-6 * peak ? 0 : 1;
}
