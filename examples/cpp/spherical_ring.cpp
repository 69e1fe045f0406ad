/// An annular array on a bowl: three spherical rings with one centre of curvature. Driven alike
/// they add up there; driven 120 degrees apart they leave nothing. By the method table itself.

#include <cmath>
#include <cstdio>
#include <numbers>

#include "kestrel/kestrel.h"

int main() {
  kestrel::Medium water;
  water._soundspeed = 1500;
  water._rho_density = 1000;
  water._f0 = 1e6;
  const double curvature = 50e-3, depth = 2e-3;
  kestrel::CoordinateGrid focus;
  focus.SinglePoint(0, 0, curvature);
  kestrel::NumericalIntegration rule;
  rule.allocate_memory(64);
  rule.gauss_quadrature();

  // Zones of equal depth have equal areas.
  const auto radius = [&](int n) { return std::sqrt(n * depth * (2 * curvature - n * depth)); };
  const auto at_focus = [&](double phase) {
    double re = 0, im = 0;
    for (int zone = 0; zone < 3; ++zone) {
      kestrel::SphericalRingTransducer ring(radius(zone), radius(zone + 1), curvature, 1.0,
                                            zone * phase);
      ring.set_medium(&water);
      ring.set_global_coordinate_grid(&focus);
      ring.set_integral_pointer(&rule);
      ring.set_complex_pressure_pointers(&re, &im);
      ring.fnm_cw();
    }
    return std::hypot(re, im);
  };
  const double together = at_focus(0), apart = at_focus(2 * std::numbers::pi / 3);
  const double exact = 2 * std::numbers::pi * water._rho_density * water._f0 * 3 * depth;
  std::printf("in phase: %.4f MPa, closed form %.4f MPa; 120 degrees apart: %.1e Pa\n",
              together / 1e6, exact / 1e6, apart);
  return std::abs(together - exact) < 1e-9 * exact && apart < 1e-9 * exact ? 0 : 1;
}
