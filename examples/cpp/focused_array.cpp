// The field of a focused linear array: what README.md shows of the C++ library. Checks itself
// against the same array computed element by element.

#include <cmath>
#include <complex>
#include <iostream>
#include <kestrel/kestrel.h>

int main() {
  using namespace kestrel;
  using namespace kestrel::fields;

  const Medium water({.density = 1000, .sound_speed = 1500, .attenuation_dB_per_cm_MHz = 0.5});
  const CoordinateGrid grid =
      regular_grid({.x = {-20e-3, 20e-3, 0.2e-3}, .z = {1e-3, 60e-3, 0.2e-3}});
  std::vector<Element> array = linear_array(64, {.width = 0.5e-3, .height = 10e-3}, 0.6e-3);
  focus(array, {0, 0, 40e-3}, water, 1e6);

  const auto [pressure, report] =
      continuous_field(array, grid, water, {.frequency = 1e6, .tolerance = 1e-4});
  for (const std::string& warning : report.warnings) std::cerr << warning << '\n';

  std::size_t strongest = 0;
  for (std::size_t i = 0; i < pressure.size(); ++i) {
    if (std::abs(pressure[i]) > std::abs(pressure[strongest])) strongest = i;
  }
  const CartesianCoordinate peak = grid.spatial_index_value(static_cast<int>(strongest));
  std::cout << pressure.size() << " points, " << report.least_nodes << " to "
            << report.greatest_nodes << " nodes, error about " << report.error_estimate << '\n'
            << "peak " << std::abs(pressure[strongest]) / 1e6 << " MPa at x = " << peak.x * 1e3
            << " mm, z = " << peak.z * 1e3 << " mm\n";

  const auto exact = continuous_field(array, point_list({&peak, 1}), water,
                                      {.frequency = 1e6, .nodes = 64, .reuse = false});
  const double error = std::abs(exact.pressure[0] - pressure[strongest]);
  return error <= 1e-4 * std::abs(exact.pressure[0]) ? 0 : 1;
}
