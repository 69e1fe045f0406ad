#include <cmath>

#include "kestrel/error.h"
#include "kestrel/geometry.h"

namespace kestrel {

Rotation::Rotation(CartesianCoordinate euler) {
  const double s0 = std::sin(euler.x), c0 = std::cos(euler.x);
  const double s1 = std::sin(euler.y), c1 = std::cos(euler.y);
  const double s2 = std::sin(euler.z), c2 = std::cos(euler.z);
  _m[0][0] = c0 * c2 + s0 * s1 * s2;
  _m[0][1] = c1 * s2;
  _m[0][2] = c0 * s1 * s2 - s0 * c2;
  _m[1][0] = s0 * s1 * c2 - c0 * s2;
  _m[1][1] = c1 * c2;
  _m[1][2] = s0 * s2 + c0 * s1 * c2;
  _m[2][0] = s0 * c1;
  _m[2][1] = -s1;
  _m[2][2] = c0 * c1;
}

CartesianCoordinate Rotation::to_local(CartesianCoordinate d) const {
  const auto row = [&](const double* r) { return r[0] * d.x + r[1] * d.y + r[2] * d.z; };
  return {row(_m[0]), row(_m[1]), row(_m[2])};
}

CartesianCoordinate Rotation::to_global(CartesianCoordinate d) const {
  const auto column = [&](int c) { return _m[0][c] * d.x + _m[1][c] * d.y + _m[2][c] * d.z; };
  return {column(0), column(1), column(2)};
}

Rotation operator*(const Rotation& inner, const Rotation& outer) {
  Rotation product;
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      product._m[i][j] = inner._m[i][0] * outer._m[0][j] + inner._m[i][1] * outer._m[1][j] +
                         inner._m[i][2] * outer._m[2][j];
    }
  }
  return product;
}

CartesianCoordinate Rotation::euler() const {
  // The third row is (s1 c2, -s2, c1 c2), the second column (c2 s3, c2 c3, -s2).
  const double c2 = std::hypot(_m[2][0], _m[2][2]);
  const double second = std::atan2(-_m[2][1], c2);
  if (c2 > 1e-12) {
    return {std::atan2(_m[2][0], _m[2][2]), second, std::atan2(_m[0][1], _m[1][1])};
  }
  return {0, second, std::atan2(-_m[1][0], _m[0][0])};
}

CartesianCoordinate compose_euler(CartesianCoordinate inner, CartesianCoordinate outer) {
  const auto is_zero = [](CartesianCoordinate e) { return e.x == 0 && e.y == 0 && e.z == 0; };
  if (is_zero(inner)) return outer;
  if (is_zero(outer)) return inner;
  return (Rotation(inner) * Rotation(outer)).euler();
}

CartesianCoordinate euler_towards(CartesianCoordinate direction) {
  const double across = std::hypot(direction.x, direction.z);
  const double length = std::hypot(across, direction.y);
  if (!(length > 0) || !std::isfinite(length)) {
    fail("a direction must have a length that is greater than 0 and finite, but it is %g.", length);
  }
  // Along y the turn about y is free.
  const double first = across > 0 ? std::atan2(direction.x, direction.z) : 0.0;
  return {first, -std::atan2(direction.y, across), 0};
}

}  // namespace kestrel
