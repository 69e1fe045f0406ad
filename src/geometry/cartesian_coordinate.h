#pragma once

#include <cmath>

namespace kestrel {

/// A point in metres, or three angles in radians.
struct CartesianCoordinate {
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;

  CartesianCoordinate() = default;
  CartesianCoordinate(double x_value, double y_value, double z_value)
      : x(x_value), y(y_value), z(z_value) {}

  /// Euclidean distance to `other`.
  double calculate_distance(CartesianCoordinate other) const;

  /// Euclidean distance to the point (x2, y2, z2).
  double calculate_distance(double x2, double y2, double z2) const;
};

/// Sign of `v`: -1, 0 or +1, where everything within 1e-10 of zero (that bound included) has none.
/// Coordinates are in metres, so this is far below any length that sound can tell apart.
inline double sign(double v) {
  const double magnitude = std::fabs(v);
  return magnitude <= 1e-10 ? 0.0 : v / magnitude;
}

}  // namespace kestrel
