#include "fields/mirror.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace kestrel::fields {

std::optional<AxisAlignment> axis_alignment(const CartesianCoordinate& euler) {
  const Rotation rotation(euler);
  AxisAlignment result;
  for (int a = 0; a < 3; ++a) {
    int found = 0;
    for (int g = 0; g < 3; ++g) {
      const double entry = rotation.entry(a, g);
      const double nearest = std::round(entry);
      // The sine and cosine of a multiple of pi/2 miss their value by an epsilon.
      if (std::abs(entry - nearest) > 2 * std::numeric_limits<double>::epsilon())
        return std::nullopt;
      result.exact = result.exact && entry == nearest;
      if (nearest == 0) continue;
      ++found;
      result.axis[static_cast<std::size_t>(a)] = g;
      result.sign[static_cast<std::size_t>(a)] = nearest;
    }
    if (found != 1) return std::nullopt;
  }
  return result;
}

MirroredPositions::MirroredPositions(std::array<std::vector<double>, 3> positions,
                                     const std::array<double, 3>& tolerance, Symmetry symmetry)
    : _axial(symmetry == Symmetry::axial),
      _tolerance(*std::max_element(tolerance.begin(), tolerance.end())) {
  for (std::size_t a = 0; a < 3; ++a) {
    if (a < 2) {
      for (double& x : positions[a]) x = std::abs(x);
    }
    axis[a] = merge_equal(positions[a], tolerance[a]);
  }
}

double MirroredPositions::radii() const {
  if (!_axial) return 0;
  return static_cast<double>(axis[0].value.size()) * static_cast<double>(axis[1].value.size());
}

void MirroredPositions::merge_radii() {
  if (!_axial) return;
  std::vector<double> all;
  all.reserve(axis[0].value.size() * axis[1].value.size());
  Patience patience;
  for (const double y : axis[1].value) {
    for (const double x : axis[0].value) {
      patience.spend();
      all.push_back(std::sqrt(x * x + y * y));
    }
  }
  radius = merge_equal(all, _tolerance);
}

std::size_t MirroredPositions::points() const { return in_plane_points() * axis[2].value.size(); }

CartesianCoordinate MirroredPositions::point(std::size_t number) const {
  const std::size_t n = in_plane_points();
  const std::size_t in_plane = number % n;
  const double z = axis[2].value[number / n];
  if (_axial) return {radius.value[in_plane], 0, z};
  const std::size_t nx = axis[0].value.size();
  return {axis[0].value[in_plane % nx], axis[1].value[in_plane / nx], z};
}

}  // namespace kestrel::fields
