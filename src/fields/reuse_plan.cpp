#include "fields/reuse_plan.h"

#include <algorithm>
#include <cmath>

namespace kestrel::fields {

namespace {

constexpr double kEpsilon = std::numeric_limits<double>::epsilon();

// What each number takes at least of the bytes that memory() counts.
constexpr double kRowBytes = 28, kOtherBytes = 12, kRadiusBytes = 20;

double coordinate(const CartesianCoordinate& p, int axis) {
  return axis == 0 ? p.x : axis == 1 ? p.y : p.z;
}

/// The positions or radii that the limits leave room for.
double most(const PlanLimits& limits, double bytes_each) {
  return std::min(limits.numbers, limits.bytes / bytes_each);
}

/// Whether a distinct point lies next to the sphere on which the field of a shell jumps.
bool meets_sphere(const MirroredPositions& mirrored, const FieldJumps& jumps, double margin) {
  if (!(jumps.sphere > 0)) return false;
  const double curvature = jumps.sphere;
  const double behind = *std::max_element(jumps.planes.begin(), jumps.planes.end());
  Patience patience;
  for (const double z : mirrored.axis[2].value) {
    if (z > behind + margin) continue;
    const double zeta = z - curvature;
    for (const double r : mirrored.radius.value) {
      patience.spend();
      const double excess = std::hypot(r, zeta) - curvature;
      if (r > margin && std::abs(excess) <= 64 * kEpsilon * curvature + margin) return true;
    }
  }
  return false;
}

/// Whether a distinct point lies next to the element's centre.
bool meets_centre(const MirroredPositions& mirrored, double margin) {
  return std::all_of(mirrored.axis.begin(), mirrored.axis.end(), [&](const Distinct& axis) {
    return std::any_of(axis.value.begin(), axis.value.end(),
                       [&](double v) { return std::abs(v) <= margin; });
  });
}

}  // namespace

std::optional<ReusePlan> ReusePlan::make(std::span<const Element> group, const Method& method,
                                         const GridPart& part, const PlanLimits& limits,
                                         bool& too_large) {
  too_large = false;
  const std::optional<AxisAlignment> alignment = axis_alignment(group.front().euler);
  if (!alignment) return std::nullopt;
  ReusePlan plan(*alignment, part);
  if (!plan.find_lattices(group, part, limits, too_large)) return std::nullopt;
  const Symmetry symmetry = shape_facts(group.front().geometry).symmetry;
  if (!plan.mirror_lattices(symmetry, limits, too_large)) return std::nullopt;
  if (plan.rounding_decides_side(group, method, part)) return std::nullopt;
  return plan;
}

ReusePlan::ReusePlan(const AxisAlignment& alignment, const GridPart& part) : _alignment(alignment) {
  const std::array<int, 3> shape = {part.grid.nx(), part.grid.ny(), part.grid.nz()};
  const std::array<std::size_t, 3> stride = {
      1, static_cast<std::size_t>(shape[0]),
      static_cast<std::size_t>(shape[0]) * static_cast<std::size_t>(shape[1])};
  // Results are contiguous along the first axis that has more than one value.
  const int row = shape[0] > 1 ? 0 : shape[1] > 1 ? 1 : 2;
  _axis = {row, row == 0 ? 1 : 0, row == 2 ? 1 : 2};
  for (std::size_t role = 0; role < 3; ++role) {
    const auto a = static_cast<std::size_t>(_axis[role]);
    _count[role] = static_cast<std::uint32_t>(part.count[a]);
    _stride[role] = stride[a];
    _offset += static_cast<std::size_t>(part.first[a]) * stride[a];
    const auto local = std::find(alignment.axis.begin(), alignment.axis.end(), _axis[role]);
    _local[role] = static_cast<std::size_t>(local - alignment.axis.begin());
  }
}

bool ReusePlan::find_lattices(std::span<const Element> group, const GridPart& part,
                              const PlanLimits& limits, bool& too_large) {
  std::vector<double> centers(group.size());
  for (std::size_t role = 0; role < 3; ++role) {
    const int axis = _axis[role];
    for (std::size_t e = 0; e < group.size(); ++e) centers[e] = coordinate(group[e].center, axis);
    const double allowed = most(limits, role == 0 ? kRowBytes : kOtherBytes);
    auto lattice = find_lattice(part.values(axis), part.step(axis), centers, allowed);
    if (!lattice) return false;
    if (lattice->cut_off) {
      too_large = allowed < limits.numbers;
      return false;
    }
    _lattice[role] = std::move(*lattice);
  }
  return true;
}

bool ReusePlan::mirror_lattices(Symmetry symmetry, const PlanLimits& limits, bool& too_large) {
  constexpr double kMostRadii = 5e7;
  std::array<std::vector<double>, 3> positions;
  std::array<double, 3> tolerance{};
  for (std::size_t role = 0; role < 3; ++role) {
    const std::size_t local = _local[role];
    positions[local] = _lattice[role].position;
    for (double& x : positions[local]) x *= _alignment.sign[local];
    tolerance[local] = _lattice[role].tolerance;
  }
  _mirrored = MirroredPositions(std::move(positions), tolerance, symmetry);
  if (_mirrored.radii() > kMostRadii) return false;
  if (_mirrored.radii() > most(limits, kRadiusBytes)) {
    too_large = most(limits, kRadiusBytes) < limits.numbers;
    return false;
  }
  _mirrored.merge_radii();
  return true;
}

bool ReusePlan::rounding_decides_side(std::span<const Element> group, const Method& method,
                                      const GridPart& part) const {
  const FieldJumps jumps =
      std::visit([](const auto& g) { return g.jumps(); }, group.front().geometry);
  const auto role =
      static_cast<std::size_t>(std::find(_local.begin(), _local.end(), 2U) - _local.begin());
  const AxisLattice& lattice = _lattice[role];
  const std::span<const double> values = part.values(_axis[role]);
  const double margin = 16 * lattice.tolerance;
  Patience patience;
  for (std::size_t p = 0; p < lattice.position.size(); ++p) {
    const double z = _alignment.sign[2] * lattice.position[p];
    const bool close = std::any_of(jumps.planes.begin(), jumps.planes.end(),
                                   [&](double plane) { return std::abs(z - plane) <= margin; });
    if (!close) continue;
    if (!_alignment.exact) return true;
    // Harmless when every element sees the very same number there.
    for (std::size_t e = 0; e < group.size(); ++e) {
      patience.spend();
      const std::size_t i = p - lattice.start[e];
      if (p < lattice.start[e] || i >= values.size()) continue;
      if (values[i] - coordinate(group[e].center, _axis[role]) != lattice.position[p]) return true;
    }
  }
  if (meets_sphere(_mirrored, jumps, margin)) return true;
  // At its own centre the far field is left out, and next to it immense.
  return method.singular_at_centre && meets_centre(_mirrored, margin);
}

std::size_t ReusePlan::distinct_of(std::size_t u, std::size_t b, std::size_t c) const {
  std::array<std::size_t, 3> at{};
  at[_local[0]] = of_role(0).index[u];
  at[_local[1]] = b;
  at[_local[2]] = c;
  return _mirrored.number(at[0], at[1], at[2]);
}

std::size_t ReusePlan::result_index(std::size_t row) const {
  return _offset + row % _count[1] * _stride[1] + row / _count[1] * _stride[2];
}

ReuseCosts ReusePlan::costs(std::size_t elements, double per_point) const {
  constexpr double kExpand = 4, kCopy = 0.4, kRow = 12;
  const double copied_rows = static_cast<double>(rows()) * static_cast<double>(elements);
  return {static_cast<double>(distinct_points()) * per_point,
          static_cast<double>(table_size()) * kExpand,
          copied_rows * (kRow + kCopy * static_cast<double>(row_length()))};
}

double ReusePlan::memory() const {
  const double complex = 2 * sizeof(double);
  double bytes =
      complex * (static_cast<double>(table_size()) + static_cast<double>(distinct_points()));
  for (const AxisLattice& lattice : _lattice) {
    bytes += 12.0 * static_cast<double>(lattice.position.size()) +
             4.0 * static_cast<double>(lattice.start.size());
  }
  return bytes + 20.0 * static_cast<double>(_mirrored.radius.index.size());
}

}  // namespace kestrel::fields
