#pragma once

#include <array>
#include <optional>
#include <vector>

#include "fields/lattice.h"
#include "kestrel/geometry.h"
#include "kestrel/grid.h"

/// Where the symmetry of an element makes its field the same.

namespace kestrel::fields {

/// A rotation that turns every axis of an element onto an axis of the grid: local axis a looks
/// along grid axis axis[a], or against it where sign[a] is -1.
struct AxisAlignment {
  std::array<int, 3> axis{};
  std::array<double, 3> sign{};
  bool exact = true;  ///< every entry of the matrix is exactly 0, 1 or -1
};
/// None for a rotation that is no signed permutation of the axes.
std::optional<AxisAlignment> axis_alignment(const CartesianCoordinate& euler);

/// The distinct positions in the frame of an element among those on three local axes.
///
/// Invariant: the field at the positions i, j, k of the local x, y and z axis is the field at
/// point(number(index of i, index of j, index of k)), where "index of" is axis[a].index.
///
/// A rectangle's field is the same at four points, that of an axisymmetric shape on a circle:
///
///         y                            y
///      o  |  x   x is computed,       o-|-o     x lies on the x axis,
///     ----+----  at (|x|, |y|, z)    |  +--x-   at (r, 0, z)
///      o  |  o                        o-|-o
class MirroredPositions {
 public:
  MirroredPositions() = default;
  /// `positions`: on the local axes, with the sign that they have there.
  MirroredPositions(std::array<std::vector<double>, 3> positions,
                    const std::array<double, 3>& tolerance, Symmetry symmetry);

  /// Radii that merge_radii has to sort; none without axial symmetry.
  double radii() const;
  void merge_radii();

  std::array<Distinct, 3> axis;  ///< of |x|, of |y|, and of z with its sign
  Distinct radius;               ///< over the distinct (|x|, |y|), x fastest

  std::size_t points() const;
  CartesianCoordinate point(std::size_t number) const;
  std::size_t number(std::size_t x, std::size_t y, std::size_t z) const {
    const std::size_t in_plane = y * axis[0].value.size() + x;
    return z * in_plane_points() + (_axial ? radius.index[in_plane] : in_plane);
  }

 private:
  std::size_t in_plane_points() const {
    return _axial ? radius.value.size() : axis[0].value.size() * axis[1].value.size();
  }

  bool _axial = false;
  double _tolerance = 0;  ///< of radii
};

}  // namespace kestrel::fields
