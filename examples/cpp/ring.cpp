/// A flat ring is a disc with a hole: its field, and that of two discs of opposite sign.

#include <cstdio>

#include "kestrel/kestrel.h"

int main() {
  using namespace kestrel::fields;
  kestrel::Medium water;
  water._soundspeed = 1500;
  water._rho_density = 1000;
  water._f0 = 1e6;
  kestrel::CoordinateGrid plane;  // y = 0: x from -10 to 10 mm, z from 1 to 40 mm
  plane.RegularCoordinateGrid(-10e-3, 10e-3, 0, 0, 1e-3, 40e-3, 0.25e-3, 0, 0.25e-3);

  const std::vector<Element> ring = {{.geometry = Ring{4e-3, 7.5e-3}}};
  const std::vector<Element> discs = {{.geometry = Circle{7.5e-3}},
                                      {.geometry = Circle{4e-3}, .amplitude = -1}};
  std::vector<std::complex<double>> p(plane.npoints()), sum(plane.npoints());
  compute_field(ring, plane, water, {.nodes = 64}, p.data());
  compute_field(discs, plane, water, {.nodes = 64}, sum.data());

  double peak = 0, worst = 0;
  for (int i = 0; i < plane.npoints(); ++i) {
    peak = std::max(peak, std::abs(p[i]));
    worst = std::max(worst, std::abs(p[i] - sum[i]));
  }
  std::printf("%d points, peak %.4f MPa, ring and two discs differ by %.1e of it\n",
              plane.npoints(), peak / 1e6, worst / peak);
  return peak > 1e6 && worst < 1e-12 * peak ? 0 : 1;
}
