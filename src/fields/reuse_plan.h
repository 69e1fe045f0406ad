#pragma once

#include <array>
#include <limits>
#include <optional>
#include <span>
#include <vector>

#include "fields/lattice.h"
#include "fields/mirror.h"
#include "kestrel/elements.h"
#include "kestrel/grid.h"
#include "kestrel/method.h"

namespace kestrel::fields {

/// A part of a regular grid: a range of indices on each axis.
struct GridPart {
  const CoordinateGrid& grid;
  std::array<int, 3> first, count;

  explicit GridPart(const CoordinateGrid& whole)
      : grid(whole), first{0, 0, 0}, count{whole.nx(), whole.ny(), whole.nz()} {}
  std::span<const double> values(int axis) const {
    const double* all[] = {grid.x_values(), grid.y_values(), grid.z_values()};
    const auto a = static_cast<std::size_t>(axis);
    return {all[axis] + first[a], static_cast<std::size_t>(count[a])};
  }
  double step(int axis) const {
    return axis == 0 ? grid.deltax() : axis == 1 ? grid.deltay() : grid.deltaz();
  }
};

/// What a plan may take. Planning ends as soon as it must take more: elements without a common
/// lattice can have as many positions as all of them have points.
struct PlanLimits {
  double bytes = std::numeric_limits<double>::infinity();    ///< of ReusePlan::memory
  double numbers = std::numeric_limits<double>::infinity();  ///< positions and radii to be sorted
};

/// Rough times of the stages of reuse, in nanoseconds on one core with AVX2.
struct ReuseCosts {
  double compute = 0;  ///< the distinct points
  double expand = 0;   ///< their field into the table
  double copy = 0;     ///< weighted rows of the table into the result
  double total() const { return compute + expand + copy; }
};

/// How elements of equal geometry and orientation share one table of their common field.
///
/// The grid axes are parallel to those of the elements' own frame when the rotation is a signed
/// permutation of the axes. Then the distinct positions (mirror.h) are few when centres lie on a
/// lattice commensurate with the grid's (lattice.h). The field of an element at the origin with the
/// weight 1 is computed once at each; then every element's field is a weighted copy out of a table.
///
/// Results are contiguous along one grid axis, the row axis. The table holds every position on it,
/// mirrored ones too, so that a copy of a row is one contiguous loop; on the other two axes it
/// holds the distinct ones. Invariant: table[(c * distinct(1) + b) * row_positions() + u] is the
/// field at position u of the row axis and the distinct positions b and c of the others.
///
///     distinct positions   0 1 2 3 4
///     row of the table     2 1 0 1 2 3 4
///     as element 0 sees it     0 1 2 3 4
///     as element 1 sees it 2 1 0 1 2
class ReusePlan {
 public:
  /// None when the elements cannot share: the rotation is no signed permutation, or a point lies so
  /// close to a surface on which the field jumps (the face plane, a shell's rim plane and sphere)
  /// that rounding decides on which side it is. None as well, with `too_large` set, when the plan
  /// would take more bytes than the limits allow; a part of the grid may do with less. Ends by
  /// Cancelled when an interruption is asked for (numerics/interruption.h).
  static std::optional<ReusePlan> make(std::span<const Element> group, const Method& method,
                                       const GridPart& part, const PlanLimits& limits,
                                       bool& too_large);

  /// The distinct points, in the frame of an element.
  std::size_t distinct_points() const { return _mirrored.points(); }
  CartesianCoordinate distinct_point(std::size_t number) const { return _mirrored.point(number); }

  /// The table's extents: along the row axis, and along the first or second of the others.
  std::size_t row_positions() const { return of_role(0).index.size(); }
  std::size_t distinct(int other) const { return of_role(other).value.size(); }
  std::size_t table_size() const { return row_positions() * distinct(1) * distinct(2); }
  /// The distinct point whose field stands at a place of the table.
  std::size_t distinct_of(std::size_t u, std::size_t b, std::size_t c) const;

  /// Points of a row of the part of the grid.
  std::size_t row_length() const { return static_cast<std::size_t>(_count[0]); }
  std::size_t rows() const { return static_cast<std::size_t>(_count[1]) * _count[2]; }
  /// Where the row begins in the whole grid's result.
  std::size_t result_index(std::size_t row) const;
  /// Where in the table the row begins, as the element sees it.
  std::size_t table_index(std::size_t row, std::size_t element) const {
    const std::size_t b = of_role(1).index[_lattice[1].start[element] + row % _count[1]];
    const std::size_t c = of_role(2).index[_lattice[2].start[element] + row / _count[1]];
    return (c * distinct(1) + b) * row_positions() + _lattice[0].start[element];
  }

  /// For so many elements, when the method takes so long for a point.
  ReuseCosts costs(std::size_t elements, double per_point) const;

  /// Bytes of the table, of the distinct values and of the plan itself.
  double memory() const;

 private:
  ReusePlan(const AxisAlignment& alignment, const GridPart& part);
  bool find_lattices(std::span<const Element> group, const GridPart& part, const PlanLimits& limits,
                     bool& too_large);
  bool mirror_lattices(Symmetry symmetry, const PlanLimits& limits, bool& too_large);
  bool rounding_decides_side(std::span<const Element> group, const Method& method,
                             const GridPart& part) const;

  const Distinct& of_role(int role) const {
    return _mirrored.axis[_local[static_cast<std::size_t>(role)]];
  }

  AxisAlignment _alignment;
  /// By role: 0 the row axis, 1 and 2 the others.
  std::array<int, 3> _axis{};             ///< of the grid
  std::array<std::size_t, 3> _local{};    ///< the same of the elements
  std::array<std::uint32_t, 3> _count{};  ///< of the part's values
  std::array<AxisLattice, 3> _lattice;
  std::array<std::size_t, 3> _stride{};  ///< of the whole grid's result
  std::size_t _offset = 0;               ///< of the part's first point in it
  MirroredPositions _mirrored;
};

}  // namespace kestrel::fields
