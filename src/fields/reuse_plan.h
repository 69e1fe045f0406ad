#pragma once

#include <array>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <vector>

#include "fields/points.h"
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
  const double* values(int axis) const {
    const double* all[] = {grid.x_values(), grid.y_values(), grid.z_values()};
    return all[axis] + first[static_cast<std::size_t>(axis)];
  }
  double step(int axis) const {
    return axis == 0 ? grid.deltax() : axis == 1 ? grid.deltay() : grid.deltaz();
  }
};

/// Where the values of one grid axis lie as seen from each of a group of elements: value i of
/// element e is position[start[e] + i], to rounding. Elements whose centres differ by whole steps
/// share one run of positions, so there are few when a pitch and the step have a small common
/// multiple.
struct AxisLattice {
  std::vector<double> position;      ///< grid value less centre, metres
  std::vector<std::uint32_t> start;  ///< by element
  double tolerance = 0;              ///< what counts as equal, metres
  bool cut_off = false;              ///< there are more positions than were allowed
};

/// `values` are equally spaced by `step`. None when steps are too small to tell from rounding.
/// Gives up, with the lattice cut off, when it has more than `most` positions.
std::optional<AxisLattice> find_lattice(const double* values, int count, double step,
                                        std::span<const double> centers,
                                        double most = std::numeric_limits<double>::infinity());

/// What a plan may take. Planning ends as soon as it must take more: elements without a common
/// lattice can have as many positions as all of them have points.
struct PlanLimits {
  double bytes = std::numeric_limits<double>::infinity();    ///< of ReusePlan::memory
  double numbers = std::numeric_limits<double>::infinity();  ///< positions and radii to be sorted
};

/// Rough times of the stages of reuse, in nanoseconds on one core with AVX2.
struct ReuseCosts {
  double compute = 0;  ///< the distinct points
  double unfold = 0;   ///< their field into the table
  double copy = 0;     ///< weighted rows of the table into the result
  double total() const { return compute + unfold + copy; }
};

/// Distinct numbers among many, equal ones merged.
struct Distinct {
  std::vector<double> value;
  std::vector<std::uint32_t> index;  ///< of each of the many in `value`
};
Distinct merge_equal(std::span<const double> numbers, double tolerance);

/// How elements of equal geometry and orientation share one table of their common field.
///
/// In the elements' own frame the grid axes are parallel to the frame's when the rotation is a
/// signed permutation of the axes. Then a rectangle's field depends on (|x|, |y|, z), that of an
/// axisymmetric shape on (r, z), and the distinct triples or pairs are few when centres lie on a
/// lattice commensurate with the grid's. Each is computed once, for an element at the origin with
/// the weight 1; then every element's field is a weighted copy out of the table.
///
/// The table is unfolded along the axis in which results are contiguous, so that a copy of a row is
/// one contiguous loop: entry of the run position u and the folded positions b, c on the other two
/// axes is number (c * folded[1] + b) * runs + u.
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
  std::size_t distinct_points() const;
  CartesianCoordinate distinct_point(std::size_t index) const;

  std::size_t table_size() const {
    return _runs.size() * _folded[0].value.size() * _folded[1].value.size();
  }
  /// The distinct point whose field stands at a place of the table.
  std::size_t distinct_of(std::size_t run, std::size_t b, std::size_t c) const;

  /// The grid's rows along the run axis: their length and number, the part's row r, and where in
  /// the table the row of element e begins.
  std::size_t row_length() const { return static_cast<std::size_t>(_count[0]); }
  std::size_t rows() const { return static_cast<std::size_t>(_count[1]) * _count[2]; }
  std::size_t result_index(std::size_t row) const;
  std::size_t table_index(std::size_t row, std::size_t element) const {
    const std::size_t b = row % _count[1], c = row / _count[1];
    const std::size_t fb = _folded[0].index[_lattice[1].start[element] + b];
    const std::size_t fc = _folded[1].index[_lattice[2].start[element] + c];
    return (fc * _folded[0].value.size() + fb) * _runs.size() + _lattice[0].start[element];
  }
  std::size_t runs() const { return _runs.size(); }
  std::size_t folded(int other) const {
    return _folded[static_cast<std::size_t>(other)].value.size();
  }

  /// For so many elements, when the method takes so long for a point.
  ReuseCosts costs(std::size_t elements, double per_point) const;

  /// Bytes of the table, of the distinct values and of the plan itself.
  double memory() const;

 private:
  /// By role: 0 the run axis, 1 and 2 the others.
  std::array<int, 3> _axis{};             ///< of the grid
  std::array<std::uint32_t, 3> _count{};  ///< of the part's values
  std::array<AxisLattice, 3> _lattice;
  /// Folded index of each position on the run axis, and of those on the others.
  std::vector<std::uint32_t> _runs;
  std::vector<double> _run_values;
  std::array<Distinct, 2> _folded;

  /// By local axis: which role it has, and its sign.
  std::array<int, 3> _role{};
  std::array<double, 3> _sign{};

  bool _axisymmetric = false;
  Distinct _radius;                      ///< over (folded x, folded y), x fastest
  std::array<std::size_t, 3> _stride{};  ///< of the whole grid's result, by role
  std::size_t _offset = 0;

  const std::vector<double>& folded_values(int role) const {
    return role == 0 ? _run_values : _folded[static_cast<std::size_t>(role - 1)].value;
  }
  bool is_fragile(std::span<const Element> group, const Method& method, const GridPart& part,
                  bool exact_rotation) const;
};

}  // namespace kestrel::fields
