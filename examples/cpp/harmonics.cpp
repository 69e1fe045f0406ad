/// A shell driven hard: three harmonics at its focus, all from one nonlinear march.

#include <cstdio>

#include "kestrel/kestrel.h"

int main() {
  kestrel::Medium water;
  water._soundspeed = 1500;
  water._rho_density = 1000;
  water._beta = 3.5;  // 1 + B/(2A)
  water._f0 = 1.5e6;
  kestrel::CoordinateGrid focus;
  focus.RegularCoordinateGrid(0, 0, 0, 0, 50e-3, 50e-3, 0, 0, 0);

  const int numbers[] = {1, 2, 3};
  std::complex<double> p[3];
  kestrel::fields::Settings settings;
  settings.kzk.harmonics = 40;
  double weak = 0;  // the fundamental per m/s where nothing distorts it
  for (const double velocity : {1e-3, 0.05, 0.2}) {
    kestrel::fields::compute_harmonics(
        {{.geometry = kestrel::fields::Shell{10e-3, 50e-3}, .amplitude = velocity}}, focus, water,
        numbers, settings, p);
    if (velocity == 1e-3) weak = std::abs(p[0]) / velocity;
    std::printf("%5.1f kPa at the face: %.4f, %.4f, %.4f MPa\n", 1.5e3 * velocity,
                std::abs(p[0]) / 1e6, std::abs(p[1]) / 1e6, std::abs(p[2]) / 1e6);
  }
  // The harmonics grow at the fundamental's expense.
  return std::abs(p[0]) < 0.999 * 0.2 * weak && std::abs(p[1]) > 0.1 * std::abs(p[0]) ? 0 : 1;
}
