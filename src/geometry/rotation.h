#pragma once

#include "geometry/cartesian_coordinate.h"

namespace kestrel {

/// The rotation from global axes to those of an element with the Euler angles e (radians):
/// R = Rz(e.z) Rx(e.y) Ry(e.x), rotations of the frame, first about y, then about x, then about z.
class Rotation {
 public:
  /// No rotation.
  Rotation() = default;
  explicit Rotation(CartesianCoordinate euler);

  /// A global direction in the element's frame.
  CartesianCoordinate to_local(CartesianCoordinate direction) const;
  /// A direction of the element's frame in global axes.
  CartesianCoordinate to_global(CartesianCoordinate direction) const;
  /// What the element's local z axis, the direction in which it radiates, is in global axes.
  CartesianCoordinate normal() const { return {_m[2][0], _m[2][1], _m[2][2]}; }
  double entry(int row, int column) const { return _m[row][column]; }

  /// First `inner`, seen from a frame that `outer` has turned already: the product of the matrices.
  friend Rotation operator*(const Rotation& inner, const Rotation& outer);
  /// Angles of this rotation. Where the face looks along -y or +y, turns about y and about z are
  /// the same, and all of it goes to z.
  CartesianCoordinate euler() const;

 private:
  double _m[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
};

/// Angles of an element with the angles `inner` in a frame with the angles `outer`. Where one of
/// the two is not turned, the angles of the other come back as they are: elements that look the
/// same way keep equal angles, to the last bit.
CartesianCoordinate compose_euler(CartesianCoordinate inner, CartesianCoordinate outer);

/// Angles {e1, e2, 0} of an element that radiates along `direction`. Fails for a direction without
/// length.
CartesianCoordinate euler_towards(CartesianCoordinate direction);

}  // namespace kestrel
