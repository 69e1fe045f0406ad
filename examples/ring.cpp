/// A flat ring is a disc with a hole: the field of one, and the same as two pistons of opposite
/// sign that add into the same planes.

#include <algorithm>
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

  kestrel::CoordinateGrid plane;  // y = 0: x from -10 to 10 mm, z from 1 to 40 mm
  plane.RegularCoordinateGrid(-10e-3, 10e-3, 0, 0, 1e-3, 40e-3, 0.25e-3, 0, 0.25e-3);
  kestrel::NumericalIntegration rule;
  rule.allocate_memory(64);
  rule.gauss_quadrature();

  kestrel::RingTransducer ring(4e-3, 7.5e-3, 1.0, 0.0);
  kestrel::CircularTransducer disc(7.5e-3, 1.0, 0.0), hole(4e-3, 1.0, std::numbers::pi);
  std::vector<double> ring_re(plane.npoints()), ring_im(plane.npoints());
  std::vector<double> sum_re(plane.npoints()), sum_im(plane.npoints());
  ring.set_complex_pressure_pointers(ring_re.data(), ring_im.data());
  disc.set_complex_pressure_pointers(sum_re.data(), sum_im.data());
  hole.set_complex_pressure_pointers(sum_re.data(), sum_im.data());
  for (kestrel::Transducer* element :
       {static_cast<kestrel::Transducer*>(&ring), static_cast<kestrel::Transducer*>(&disc),
        static_cast<kestrel::Transducer*>(&hole)}) {
    element->set_medium(&water);
    element->set_global_coordinate_grid(&plane);
    element->set_integral_pointer(&rule);
    if (element->fnm_cw() != kestrel::kSuccess) return 1;
  }

  double peak = 0, worst = 0;
  for (int i = 0; i < plane.npoints(); ++i) {
    peak = std::max(peak, std::hypot(ring_re[i], ring_im[i]));
    worst = std::max(worst, std::hypot(ring_re[i] - sum_re[i], ring_im[i] - sum_im[i]));
  }
  std::printf("%d points, peak %.4f MPa, ring and two discs differ by %.1e of it\n",
              plane.npoints(), peak / 1e6, worst / peak);
  return peak > 1e6 && worst < 1e-12 * peak ? 0 : 1;
}
