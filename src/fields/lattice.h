#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <vector>

/// Which values of one grid axis, as seen from many elements, are the same.

namespace kestrel::fields {

/// The positions of one grid axis relative to the centres of a group of elements.
///
/// Invariant: value i of the axis, less the centre of element e, is position[start[e] + i], to
/// `tolerance`.
///
/// Elements whose centres differ by whole steps share one run of positions, so there are few when a
/// pitch and the step have a small common multiple. An axis of five values and two elements, the
/// second two steps further on:
///
///     axis                    0   1   2   3   4
///     seen from element 0     0   1   2   3   4          start[0] = 2
///     seen from element 1    -2  -1   0   1   2          start[1] = 0
///     position               -2  -1   0   1   2   3   4
struct AxisLattice {
  std::vector<double> position;      ///< metres
  std::vector<std::uint32_t> start;  ///< by element
  double tolerance = 0;              ///< what counts as equal, metres
  bool cut_off = false;              ///< there are more positions than were allowed
};

/// `values` are equally spaced by `step`. None when steps are too small to tell from rounding.
/// Gives up, with the lattice cut off, when it has more than `most` positions. Ends by Cancelled
/// when an interruption is asked for.
std::optional<AxisLattice> find_lattice(std::span<const double> values, double step,
                                        std::span<const double> centers,
                                        double most = std::numeric_limits<double>::infinity());

/// Distinct numbers among many, equal ones merged. Invariant: value[index[i]] is number i, to the
/// tolerance; the values ascend.
struct Distinct {
  std::vector<double> value;
  std::vector<std::uint32_t> index;
};
Distinct merge_equal(std::span<const double> numbers, double tolerance);

/// Ends the planning, of up to billions of numbers, by Cancelled when it is no longer wanted. To be
/// called for each number or pair of them: it asks once in some milliseconds of such work.
class Patience {
 public:
  void spend();

 private:
  std::uint32_t _spent = 0;
};

}  // namespace kestrel::fields
