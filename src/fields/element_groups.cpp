#include "fields/element_groups.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <numbers>
#include <tuple>
#include <utility>

#include "fields/cost.h"
#include "numerics/constants.h"
#include "numerics/wide_math.h"

namespace kestrel::fields {

namespace {

constexpr double kNever = std::numeric_limits<double>::infinity();

std::array<double, 3> coordinates(const CartesianCoordinate& p) { return {p.x, p.y, p.z}; }

CartesianCoordinate middle_of(const Box& box) {
  return {(box.least.x + box.greatest.x) / 2, (box.least.y + box.greatest.y) / 2,
          (box.least.z + box.greatest.z) / 2};
}
std::array<double, 3> half_sides(const Box& box) {
  return {(box.greatest.x - box.least.x) / 2, (box.greatest.y - box.least.y) / 2,
          (box.greatest.z - box.least.z) / 2};
}

/// The box that holds an element's face.
Box box_around(const Element& element) {
  const Rotation rotation(element.euler);
  const auto reach = [&](CartesianCoordinate direction) {
    const CartesianCoordinate local = rotation.to_local(direction);
    return std::visit([&](const auto& face) { return face.support(local); }, element.geometry);
  };
  const CartesianCoordinate c = element.center;
  return {{c.x - reach({-1, 0, 0}), c.y - reach({0, -1, 0}), c.z - reach({0, 0, -1})},
          {c.x + reach({1, 0, 0}), c.y + reach({0, 1, 0}), c.z + reach({0, 0, 1})}};
}

double points_of(const GridPart& part) {
  return static_cast<double>(part.count[0]) * part.count[1] * part.count[2];
}

std::array<GridPart, 2> halves_across(const GridPart& part, std::size_t axis) {
  std::array<GridPart, 2> halves{part, part};
  halves[0].count[axis] = part.count[axis] / 2;
  halves[1].first[axis] += halves[0].count[axis];
  halves[1].count[axis] -= halves[0].count[axis];
  return halves;
}

/// The two halves across the longest side that has more than one point.
std::array<GridPart, 2> halves_of(const GridPart& part) {
  const std::array<double, 3> half = half_sides(box_of(part));
  std::size_t axis = 0;
  for (std::size_t i = 1; i < 3; ++i) {
    if (part.count[axis] < 2 || (part.count[i] > 1 && half[i] > half[axis])) axis = i;
  }
  return halves_across(part, axis);
}

/// Nodes of Chebyshev's first kind for a relative error of e^-`digits`, when the function has
/// `waves` radians in half the interval and is analytic up to the ellipse whose semi-axes have the
/// sum e^`largest`.
double chebyshev_nodes(double waves, double largest, double digits) {
  struct Ellipse {
    double l, inverse, growth;
  };
  static const std::array<Ellipse, 14> ellipses = [] {
    std::array<Ellipse, 14> all;
    for (std::size_t i = 0; i < all.size(); ++i) {
      const double l = 0.2 * std::pow(1.3, static_cast<double>(i));
      all[i] = {l, 1 / l, std::sinh(l)};
    }
    return all;
  }();
  double least = kNever;
  for (const Ellipse& e : ellipses) {
    if (e.l > largest) break;
    least = std::min(least, (waves * e.growth + digits) * e.inverse);
  }
  return least;
}

}  // namespace

Box box_of(const GridPart& part) {
  const std::span<const double> x = part.values(0), y = part.values(1), z = part.values(2);
  return {{x.front(), y.front(), z.front()}, {x.back(), y.back(), z.back()}};
}

std::vector<GridPart> cut_into_blocks(const CoordinateGrid& grid, std::size_t most_points) {
  // The tables of an interpolation grow with the sides of a block.
  constexpr int kMostAlongSide = 1024;
  std::vector<GridPart> blocks, open{GridPart(grid)};
  while (!open.empty()) {
    const GridPart part = open.back();
    open.pop_back();
    const auto most = std::max_element(part.count.begin(), part.count.end());
    if (points_of(part) <= static_cast<double>(most_points) && *most <= kMostAlongSide) {
      blocks.push_back(part);
      continue;
    }
    const auto halves =
        *most > kMostAlongSide
            ? halves_across(part, static_cast<std::size_t>(most - part.count.begin()))
            : halves_of(part);
    open.push_back(halves[1]);
    open.push_back(halves[0]);
  }
  return blocks;
}

ElementTree::ElementTree(std::span<const Element> elements)
    : _elements(elements.begin(), elements.end()) {
  if (_elements.empty()) return;
  _groups.reserve(2 * _elements.size());
  _groups.push_back({0, _elements.size()});
  for (std::size_t group = 0; group < _groups.size(); ++group) halve(group);
}

void ElementTree::halve(std::size_t at) {
  ElementGroup& group = _groups[at];
  const auto begin = _elements.begin() + static_cast<std::ptrdiff_t>(group.first);
  const auto end = _elements.begin() + static_cast<std::ptrdiff_t>(group.last);
  Box box{begin->center, begin->center}, faces = box_around(*begin);
  for (auto e = begin; e != end; ++e) {
    box = united(box, {e->center, e->center});
    faces = united(faces, box_around(*e));
  }
  group.center = middle_of(faces);
  group.half = half_sides(faces);
  for (auto e = begin; e != end; ++e) {
    group.radius =
        std::max(group.radius, group.center.calculate_distance(e->center) + extent(e->geometry));
  }
  group.radius = std::min(group.radius, std::hypot(group.half[0], group.half[1], group.half[2]));
  if (group.last - group.first == 1) return;
  const std::array<double, 3> half = half_sides(box);
  const auto axis =
      static_cast<std::size_t>(std::max_element(half.begin(), half.end()) - half.begin());
  const std::size_t middle = (group.first + group.last) / 2;
  std::stable_sort(begin, end, [&](const Element& a, const Element& b) {
    return coordinates(a.center)[axis] < coordinates(b.center)[axis];
  });
  for (std::size_t i = 0; i < 2; ++i) group.halves[i] = _groups.size() + i;
  const std::size_t first = group.first, last = group.last;
  _groups.push_back({first, middle});
  _groups.push_back({middle, last});
}

GroupPlanner::GroupPlanner(const ElementTree& tree, const Medium& medium, const Method& method,
                           const NodeRule& rule, double allowed)
    : _tree(tree), _method(method), _rule(rule), _allowed(allowed) {
  const double f0 = medium._f0 > 0 ? medium._f0 : constants::kDefaultFrequency;
  _k = medium.wavenumber(f0);
  _alpha = std::abs(medium.attenuation(f0));
  for (const Element& e : tree.elements()) {
    const double face = medium._rho_density * medium._soundspeed * std::abs(e.amplitude);
    const auto [jumps, area, curvature] = std::visit(
        [](const auto& shape) {
          return std::tuple(shape.jumps(), shape.area(), shape.radial_face().curvature);
        },
        e.geometry);
    Source source{Rotation(e.euler).normal(), -kNever, -kNever, extent(e.geometry)};
    if (!jumps.planes.empty()) {
      const auto [least, greatest] = std::minmax_element(jumps.planes.begin(), jumps.planes.end());
      source.silent_below = *least;
      source.smooth_above = *greatest;
    }
    source.far = face * _k * area / (2 * std::numbers::pi);
    source.most = 2 * face + (curvature > 0 ? source.far / curvature : 0);
    _sources.push_back(source);
  }
}

/// A block while its plan is made.
class GroupPlanner::Block {
 public:
  Block(const GroupPlanner& planner, const GridPart& part)
      : _planner(planner),
        _part(part),
        _box(box_of(part)),
        _middle(middle_of(_box)),
        _half(half_sides(_box)),
        _diagonal(std::hypot(_half[0], _half[1], _half[2])),
        _points(points_of(part)) {
    look_at_elements();
  }

  BlockPlan plan() {
    BlockPlan plan;
    plan.cost = add(0, plan);
    const std::size_t heard = _before.size() - 1 - _before.back().behind;
    plan.alone_cost = static_cast<double>(heard) * (kElement + _points * _per_point);
    return plan;
  }

 private:
  /// Sums over the elements before each.
  struct Before {
    double pressure = 0;
    std::size_t behind = 0, mixed = 0;
  };

  /// How large each element's field is in the block, and whether it is smooth there.
  void look_at_elements() {
    const std::span<const Element> elements = _planner._tree.elements();
    _before.resize(elements.size() + 1);
    std::size_t nearest = 0;
    double least = kNever;
    for (std::size_t i = 0; i < elements.size(); ++i) {
      const Source& source = _planner._sources[i];
      const CartesianCoordinate c = elements[i].center;
      const CartesianCoordinate d{_middle.x - c.x, _middle.y - c.y, _middle.z - c.z};
      const CartesianCoordinate n = source.normal;
      const double height = d.x * n.x + d.y * n.y + d.z * n.z;
      const double reach =
          std::abs(n.x) * _half[0] + std::abs(n.y) * _half[1] + std::abs(n.z) * _half[2];
      const double distance = std::sqrt(d.x * d.x + d.y * d.y + d.z * d.z);
      const double rounding = 1e-9 * (distance + _diagonal + source.extent);
      const bool front = height - reach > source.smooth_above + rounding;
      const bool behind = height + reach < source.silent_below - rounding;
      const double near = std::max(distance - _diagonal - source.extent, 1e-300);
      if (distance < least) {
        least = distance;
        nearest = i;
      }
      Before next = _before[i];
      if (behind) {
        ++next.behind;
      } else {
        if (!front) ++next.mixed;
        next.pressure += std::min(source.most, source.far / near);
      }
      _before[i + 1] = next;
    }
    _relative = _planner._allowed / std::max(_before.back().pressure, 1e-300);
    // The elements are taken as if they wanted equally many nodes.
    const int nodes = std::max(_planner._rule.nodes(elements[nearest], _box),
                               _planner._rule.nodes(elements[elements.size() / 2], _box));
    _per_point = cost_per_point(_planner._method, elements[nearest].geometry, nodes);
  }

  /// Plans for a group or its halves, whichever is cheaper. Returns the cost.
  double add(std::size_t index, BlockPlan& plan) const {
    const ElementGroup& group = _planner._tree.groups()[index];
    const Before &from = _before[group.first], &to = _before[group.last];
    const auto count = static_cast<double>(group.last - group.first);
    if (to.behind - from.behind == group.last - group.first) return 0;
    GroupWork work{index, {0, 0, 0}, _relative * (to.pressure - from.pressure)};
    double own = kNever;
    if (to.behind == from.behind && to.mixed == from.mixed && choose_nodes(group, work.nodes)) {
      // Of a point: the phase of the centre, and the sum over the nodes along a row.
      constexpr double kWave = 2.2, kNode = 0.15;
      const double places = static_cast<double>(work.nodes[0]) * work.nodes[1] * work.nodes[2];
      const int along_row = *std::max_element(work.nodes.begin(), work.nodes.end());
      own = count * (kElement + places * _per_point) + _points * (kWave + kNode * along_row);
    }
    if (group.halves[0] == 0) {
      const double direct = kElement + _points * _per_point;
      if (direct <= own) {
        own = direct;
        work.nodes = {0, 0, 0};
        plan.direct_cost += direct;
      }
      plan.work.push_back(work);
      return own;
    }
    const std::size_t before = plan.work.size();
    const double direct_cost = plan.direct_cost;
    const double apart = add(group.halves[0], plan) + add(group.halves[1], plan);
    if (own >= apart) return apart;
    plan.work.resize(before);
    plan.work.push_back(work);
    plan.direct_cost = direct_cost;
    return own;
  }

  /// False where the block is too close to the group.
  bool choose_nodes(const ElementGroup& group, std::array<int, 3>& nodes) const {
    constexpr double kMostPlaces = 4096;
    const std::array<double, 3> d = coordinates(
        {_middle.x - group.center.x, _middle.y - group.center.y, _middle.z - group.center.z});
    double nearest_squared = 0;
    for (std::size_t i = 0; i < 3; ++i) {
      const double beside = std::max(std::abs(d[i]) - _half[i], 0.0);
      nearest_squared += beside * beside;
    }
    const double distance = std::hypot(d[0], d[1], d[2]), nearest = std::sqrt(nearest_squared);
    if (!(nearest > 1.2 * group.radius)) return false;
    if (!(_planner._k * (distance + _diagonal) < 0.9 * kPhaseLimit)) return false;
    const double aperture = group.radius / nearest, shrink = 1 - group.radius / distance;
    // Between the slope at the middle of the block and that at its nearest point.
    const double typical = (nearest + distance) / 2, turn = _diagonal / distance;
    const double digits = std::log(std::max(kSafety / _relative, 1.0));
    double places = 1;
    for (std::size_t i = 0; i < 3; ++i) {
      nodes[i] = 1;
      if (_part.count[i] == 1) continue;
      const double along = d[i] / distance;
      double slope = std::abs(along) * aperture * aperture / 2;
      for (std::size_t j = 0; j < 3; ++j) {
        const double share = std::abs((i == j ? 1 : 0) - along * d[j] / distance);
        slope += kSlope * std::min(1.0, share + kTurn * turn) * group.half[j] / typical;
      }
      const double across = std::sqrt(std::max(0.0, distance * distance - d[i] * d[i]));
      const double waves = (_planner._k * slope + _planner._alpha) * _half[i];
      const std::complex<double> w(std::abs(d[i]) * shrink / _half[i], across * shrink / _half[i]);
      const double largest = std::log(std::abs(w + std::sqrt(w * w - 1.0)));
      const double wanted = std::ceil(chebyshev_nodes(waves, largest, digits)) + 1;
      nodes[i] = static_cast<int>(std::min<double>(wanted, _part.count[i]));
      places *= nodes[i];
    }
    return places <= kMostPlaces && places < _points;
  }

  /// Of the choice of nodes and the call, nanoseconds.
  static constexpr double kElement = 4000;
  // The bound is for waves from the edge of the group's sphere; most come from farther inside. So
  // it is taken a little shorter, and what the interpolation finds decides.
  static constexpr double kSlope = 0.8, kSafety = 0.15;
  /// How much of the block's apparent size counts for the change of directions across it.
  static constexpr double kTurn = 0.3;

  const GroupPlanner& _planner;
  const GridPart& _part;
  Box _box;
  CartesianCoordinate _middle;
  std::array<double, 3> _half;
  double _diagonal, _points;
  double _relative = 0;   ///< error allowed, of the sum of all elements' pressures
  double _per_point = 0;  ///< nanoseconds, of an element
  std::vector<Before> _before;
};

BlockPlan GroupPlanner::plan(const GridPart& block) const { return Block(*this, block).plan(); }

void GroupPlanner::refine(const GridPart& part, const Take& take) const {
  refine(part, plan(part), take);
}

bool GroupPlanner::refine(const GridPart& part, const BlockPlan& whole, const Take& take) const {
  constexpr double kFewest = 512;
  if (points_of(part) >= 2 * kFewest) {
    const auto halves = halves_of(part);
    const BlockPlan first = plan(halves[0]), second = plan(halves[1]);
    // Elements that are computed at every point may need it in a small part of the block only.
    const bool near = whole.direct_cost > 0.1 * whole.cost;
    if (near || first.cost + second.cost < 0.95 * whole.cost) {
      return refine(halves[0], first, take) && refine(halves[1], second, take);
    }
  }
  return take(part, whole);
}

}  // namespace kestrel::fields
