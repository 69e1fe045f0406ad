#include "fields/reuse_plan.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "fields/tile_runner.h"

namespace kestrel::fields {

namespace {

constexpr double kEpsilon = std::numeric_limits<double>::epsilon();

double coordinate(const CartesianCoordinate& p, int axis) {
  return axis == 0 ? p.x : axis == 1 ? p.y : p.z;
}

/// A rotation that maps grid axes onto frame axes: local axis a looks along grid axis axis[a].
struct SignedPermutation {
  std::array<int, 3> axis{};
  std::array<double, 3> sign{};
  bool exact = true;  ///< every entry of the matrix is exactly 0, 1 or -1
};

std::optional<SignedPermutation> signed_permutation(const CartesianCoordinate& euler) {
  const Rotation rotation(euler);
  SignedPermutation result;
  for (int a = 0; a < 3; ++a) {
    int found = 0;
    for (int g = 0; g < 3; ++g) {
      const double entry = rotation.entry(a, g);
      const double nearest = std::round(entry);
      // The sine and cosine of a multiple of pi/2 miss their value by an epsilon.
      if (std::abs(entry - nearest) > 2 * kEpsilon) return std::nullopt;
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

/// Ends the planning, of up to billions of numbers, when it is no longer wanted. To be called for
/// each number or pair of them: it asks once in some milliseconds of such work.
class Patience {
 public:
  void spend() {
    constexpr std::uint32_t kSpan = 1U << 20;
    if (++_spent % kSpan == 0) end_if_cancelled();
  }

 private:
  std::uint32_t _spent = 0;
};

/// Sorts by `before`, which tells any two apart.
template <class T, class Before>
void sort_patiently(std::vector<T>& things, Patience& patience, const Before& before) {
  std::sort(things.begin(), things.end(), [&](const T& a, const T& b) {
    patience.spend();
    return before(a, b);
  });
}

double largest_magnitude(std::span<const double> numbers) {
  double largest = 0;
  for (const double x : numbers) largest = std::max(largest, std::abs(x));
  return largest;
}

}  // namespace

std::optional<AxisLattice> find_lattice(const double* values, int count, double step,
                                        std::span<const double> centers, double most) {
  const auto n = static_cast<std::size_t>(count);
  Patience patience;
  AxisLattice lattice;
  lattice.start.resize(centers.size());
  // A few roundings of the largest number that enters a difference.
  lattice.tolerance =
      8 * kEpsilon * std::max(largest_magnitude({values, n}), largest_magnitude(centers));
  if (count == 1) step = 1;  // no neighbours: equal centres share, others do not
  if (lattice.tolerance > 1e-3 * step) return std::nullopt;

  // Elements whose centres differ by whole steps have the same phase. The shift keeps halves,
  // thirds and the like away from the wrap-around.
  constexpr double shift = 0.3819660112501051;
  struct Place {
    double phase;
    double steps;  // from the first element
    std::uint32_t element;
  };
  std::vector<Place> places(centers.size());
  for (std::size_t e = 0; e < centers.size(); ++e) {
    const double steps = (centers[0] - centers[e]) / step;
    double phase = steps + shift - std::floor(steps + shift);
    if (count == 1) phase = steps;
    places[e] = {phase, steps, static_cast<std::uint32_t>(e)};
  }
  sort_patiently(places, patience, [](const Place& a, const Place& b) {
    return a.phase != b.phase ? a.phase < b.phase : a.element < b.element;
  });
  const double phase_tolerance = lattice.tolerance / step;
  for (std::size_t begin = 0, end = 0; begin < places.size(); begin = end) {
    while (end < places.size() && places[end].phase - places[begin].phase <= phase_tolerance) ++end;
    // Within a phase: windows of n positions each, numbered in steps from the first element's.
    struct Window {
      std::int64_t first;
      std::uint32_t element;
    };
    std::vector<Window> windows;
    for (std::size_t i = begin; i < end; ++i) {
      const double steps = count == 1 ? 0 : places[i].steps - places[begin].steps;
      if (std::abs(steps) > 1e15) return std::nullopt;
      windows.push_back({std::llround(steps), places[i].element});
    }
    sort_patiently(windows, patience, [](const Window& a, const Window& b) {
      return a.first != b.first ? a.first < b.first : a.element < b.element;
    });
    std::int64_t covered = windows.front().first;  // positions before this one exist
    for (const Window& window : windows) {
      covered = std::max(covered, window.first);  // a gap is not filled
      const auto known = static_cast<std::size_t>(covered - window.first);
      if (known<n&& static_cast<double>(lattice.position.size() + n - known)> most) {
        lattice.cut_off = true;
        return lattice;
      }
      lattice.start[window.element] = static_cast<std::uint32_t>(lattice.position.size() - known);
      for (std::size_t i = known; i < n; ++i) {
        patience.spend();
        lattice.position.push_back(values[i] - centers[window.element]);
      }
      covered = window.first + static_cast<std::int64_t>(n);
    }
    if (lattice.position.size() > std::numeric_limits<std::uint32_t>::max() / 2)
      return std::nullopt;
  }
  return lattice;
}

Distinct merge_equal(std::span<const double> numbers, double tolerance) {
  std::vector<std::uint32_t> order(numbers.size());
  std::iota(order.begin(), order.end(), 0U);
  Patience patience;
  sort_patiently(order, patience, [&](std::uint32_t a, std::uint32_t b) {
    return numbers[a] != numbers[b] ? numbers[a] < numbers[b] : a < b;
  });
  Distinct distinct;
  distinct.index.resize(numbers.size());
  for (const std::uint32_t i : order) {
    if (distinct.value.empty() || numbers[i] - distinct.value.back() > tolerance) {
      distinct.value.push_back(numbers[i]);
    }
    distinct.index[i] = static_cast<std::uint32_t>(distinct.value.size() - 1);
  }
  return distinct;
}

std::optional<ReusePlan> ReusePlan::make(std::span<const Element> group, const Method& method,
                                         const GridPart& part, const PlanLimits& limits,
                                         bool& too_large) {
  // What each number takes at least of the bytes that memory() counts.
  constexpr double run_bytes = 28, other_bytes = 12, radius_bytes = 20;
  const auto most = [&](double bytes_each) {
    return std::min(limits.numbers, limits.bytes / bytes_each);
  };
  too_large = false;
  const std::optional<SignedPermutation> turn = signed_permutation(group.front().euler);
  if (!turn) return std::nullopt;

  ReusePlan plan;
  plan._axisymmetric = shape_facts(group.front().geometry).symmetry == Symmetry::axial;
  // Results are contiguous along the first axis that has more than one value.
  const std::array<int, 3> shape = {part.grid.nx(), part.grid.ny(), part.grid.nz()};
  const int run = shape[0] > 1 ? 0 : shape[1] > 1 ? 1 : 2;
  plan._axis = {run, run == 0 ? 1 : 0, run == 2 ? 1 : 2};
  const std::array<std::size_t, 3> stride = {
      1, static_cast<std::size_t>(shape[0]),
      static_cast<std::size_t>(shape[0]) * static_cast<std::size_t>(shape[1])};

  std::vector<double> centers(group.size());
  for (std::size_t role = 0; role < 3; ++role) {
    const int axis = plan._axis[role];
    const auto a = static_cast<std::size_t>(axis);
    for (std::size_t e = 0; e < group.size(); ++e) centers[e] = coordinate(group[e].center, axis);
    const double allowed = most(role == 0 ? run_bytes : other_bytes);
    auto lattice =
        find_lattice(part.values(axis), part.count[a], part.step(axis), centers, allowed);
    if (!lattice) return std::nullopt;
    if (lattice->cut_off) {
      too_large = allowed < limits.numbers;
      return std::nullopt;
    }
    plan._lattice[role] = std::move(*lattice);
    plan._count[role] = static_cast<std::uint32_t>(part.count[a]);
    plan._stride[role] = stride[a];
    plan._offset += static_cast<std::size_t>(part.first[a]) * stride[a];
    for (std::size_t local = 0; local < 3; ++local) {
      if (turn->axis[local] != axis) continue;
      plan._role[local] = static_cast<int>(role);
      plan._sign[local] = turn->sign[local];
    }
  }

  // Fold: |x| and |y| in the frame, but z with its sign.
  for (std::size_t local = 0; local < 3; ++local) {
    const auto role = static_cast<std::size_t>(plan._role[local]);
    std::vector<double> folded = plan._lattice[role].position;
    for (double& x : folded) x = local < 2 ? std::abs(x) : plan._sign[local] * x;
    Distinct distinct = merge_equal(folded, plan._lattice[role].tolerance);
    if (role == 0) {
      plan._runs = std::move(distinct.index);
      plan._run_values = std::move(distinct.value);
    } else {
      plan._folded[role - 1] = std::move(distinct);
    }
  }
  if (plan._axisymmetric) {
    const std::vector<double>&x = plan.folded_values(plan._role[0]),
          &y = plan.folded_values(plan._role[1]);
    const double count = static_cast<double>(x.size()) * static_cast<double>(y.size());
    if (count > 5e7) return std::nullopt;
    if (count > most(radius_bytes)) {
      too_large = most(radius_bytes) < limits.numbers;
      return std::nullopt;
    }
    std::vector<double> radii;
    radii.reserve(x.size() * y.size());
    Patience patience;
    for (const double b : y) {
      for (const double a : x) {
        patience.spend();
        radii.push_back(std::sqrt(a * a + b * b));
      }
    }
    const double tolerance =
        std::max(plan._lattice[0].tolerance,
                 std::max(plan._lattice[1].tolerance, plan._lattice[2].tolerance));
    plan._radius = merge_equal(radii, tolerance);
  }
  if (plan.is_fragile(group, method, part, turn->exact)) return std::nullopt;
  return plan;
}

bool ReusePlan::is_fragile(std::span<const Element> group, const Method& method,
                           const GridPart& part, bool exact_rotation) const {
  const FieldJumps jumps =
      std::visit([](const auto& g) { return g.jumps(); }, group.front().geometry);
  const auto role = static_cast<std::size_t>(_role[2]);
  const int axis = _axis[role];
  const AxisLattice& lattice = _lattice[role];
  const double margin = 16 * lattice.tolerance;
  Patience patience;
  for (std::size_t p = 0; p < lattice.position.size(); ++p) {
    const double z = _sign[2] * lattice.position[p];
    const bool close = std::any_of(jumps.planes.begin(), jumps.planes.end(),
                                   [&](double plane) { return std::abs(z - plane) <= margin; });
    if (!close) continue;
    if (!exact_rotation) return true;
    // Harmless when every element sees the very same number there.
    for (std::size_t e = 0; e < group.size(); ++e) {
      patience.spend();
      const std::size_t i = p - lattice.start[e];
      if (p < lattice.start[e] || i >= _count[role]) continue;
      if (part.values(axis)[i] - coordinate(group[e].center, axis) != lattice.position[p]) {
        return true;
      }
    }
  }
  if (jumps.sphere > 0) {
    const double curvature = jumps.sphere,
                 behind = *std::max_element(jumps.planes.begin(), jumps.planes.end());
    for (const double z : folded_values(_role[2])) {
      if (z > behind + margin) continue;
      const double zeta = z - curvature;
      for (const double r : _radius.value) {
        patience.spend();
        const double excess = std::hypot(r, zeta) - curvature;
        if (r > margin && std::abs(excess) <= 64 * kEpsilon * curvature + margin) return true;
      }
    }
  }
  // At its own centre the far field is left out, and next to it immense.
  if (method.singular_at_centre) {
    const auto touches = [&](int local) {
      const auto& values = folded_values(_role[static_cast<std::size_t>(local)]);
      return std::any_of(values.begin(), values.end(),
                         [&](double v) { return std::abs(v) <= margin; });
    };
    if (touches(0) && touches(1) && touches(2)) return true;
  }
  return false;
}

std::size_t ReusePlan::distinct_points() const {
  const std::size_t z = folded_values(_role[2]).size();
  if (_axisymmetric) return _radius.value.size() * z;
  return folded_values(_role[0]).size() * folded_values(_role[1]).size() * z;
}

CartesianCoordinate ReusePlan::distinct_point(std::size_t index) const {
  const std::vector<double>& z = folded_values(_role[2]);
  if (_axisymmetric) {
    const std::size_t n = _radius.value.size();
    return {_radius.value[index % n], 0, z[index / n]};
  }
  const std::vector<double>&x = folded_values(_role[0]), &y = folded_values(_role[1]);
  const std::size_t rest = index / x.size();
  return {x[index % x.size()], y[rest % y.size()], z[rest / y.size()]};
}

std::size_t ReusePlan::distinct_of(std::size_t run, std::size_t b, std::size_t c) const {
  const std::array<std::size_t, 3> by_role = {_runs[run], b, c};
  const auto of = [&](std::size_t local) {
    return by_role[static_cast<std::size_t>(_role[local])];
  };
  const std::size_t nx = folded_values(_role[0]).size(), ny = folded_values(_role[1]).size();
  const std::size_t in_plane = of(1) * nx + of(0);
  if (_axisymmetric) return of(2) * _radius.value.size() + _radius.index[in_plane];
  return of(2) * nx * ny + in_plane;
}

std::size_t ReusePlan::result_index(std::size_t row) const {
  return _offset + row % _count[1] * _stride[1] + row / _count[1] * _stride[2];
}

ReuseCosts ReusePlan::costs(std::size_t elements, double per_point) const {
  constexpr double unfold = 4, copy = 0.4, row = 12;
  const double copied_rows = static_cast<double>(rows()) * static_cast<double>(elements);
  return {static_cast<double>(distinct_points()) * per_point,
          static_cast<double>(table_size()) * unfold,
          copied_rows * (row + copy * static_cast<double>(row_length()))};
}

double ReusePlan::memory() const {
  const double complex = 2 * sizeof(double);
  double bytes =
      complex * (static_cast<double>(table_size()) + static_cast<double>(distinct_points()));
  for (const AxisLattice& lattice : _lattice) {
    bytes += 12.0 * static_cast<double>(lattice.position.size()) +
             4.0 * static_cast<double>(lattice.start.size());
  }
  return bytes + 20.0 * static_cast<double>(_radius.index.size());
}

}  // namespace kestrel::fields
