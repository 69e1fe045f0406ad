#include "methods/transient/rectangle_delays.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "methods/common/wave_constants.h"
#include "methods/fnm/rectangle_edges.h"

namespace kestrel {

namespace {

/// The distances from a point's projection to the two ends of a side. Two equal distances stand in
/// `value` once and are counted `times` two.
struct Distances {
  double value[2];
  int count;
  double times;

  Distances(double plus, double minus)
      : value{plus, minus}, count(plus == minus ? 1 : 2), times(plus == minus ? 2 : 1) {}
};

}  // namespace

RectangleDelays::RectangleDelays(double width, double height, const std::vector<double>& nodes,
                                 const std::vector<double>& weights, double density,
                                 double soundspeed)
    : _half_width(width / 2), _half_height(height / 2) {
  set_medium(density, soundspeed);
  std::vector<int> order(nodes.size());
  std::iota(order.begin(), order.end(), 0);
  std::stable_sort(order.begin(), order.end(), [&](int i, int j) { return nodes[i] < nodes[j]; });
  const double half[2] = {_half_width, _half_height};
  for (const int j : order) {
    const double t = (nodes[j] + 1) / 2;
    _unit_squared.push_back(t * t);
    _unit_weight.push_back(weights[j] / 2);
    for (int axis = 0; axis < 2; ++axis) {
      _side[axis].node.push_back(nodes[j] * half[axis]);
      _side[axis].weight.push_back(weights[j] * half[axis]);
    }
  }
  for (int axis = 0; axis < 2; ++axis) {
    _mirrored[axis] = _side[axis];
    std::reverse(_mirrored[axis].node.begin(), _mirrored[axis].node.end());
    std::reverse(_mirrored[axis].weight.begin(), _mirrored[axis].weight.end());
    for (double& node : _mirrored[axis].node) node = -node;
  }
}

void RectangleDelays::set_medium(double density, double soundspeed) {
  _prefactor = -(density * soundspeed) / (2 * detail::kPi);
  _soundspeed = soundspeed;
}

void RectangleDelays::list(double x, double y, double z, DelayList& list) const {
  const int n = nodes();
  list.clear();
  // The direct path is a run of its own.
  list.add_run(1);
  // Adds one edge; `squared(j)` is the squared distance from the projection to node j.
  const auto add_edge = [&](const std::vector<double>& weights, double factor, auto squared) {
    const double* weight = weights.data();
    const double z_squared = z * z;
    list.fill(list.add_run(n), n, _soundspeed, [=](int j) KESTREL_INLINE_LAMBDA {
      const double q = squared(j);  // l is not zero, and so q is not
      return DelayList::Entry{z_squared + q, factor * weight[j] / q};
    });
  };

  const double position[2] = {x, y}, half[2] = {_half_width, _half_height};
  for (int axis = 0; axis < 2; ++axis) {
    const double u = position[axis], v = position[1 - axis];
    const double plus = half[axis] + u, minus = half[axis] - u;
    const Distances along(plus, minus), across(half[1 - axis] + v, half[1 - axis] - v);
    // Inside the extent an edge is split at the projection, where its integrand peaks; from outside
    // it is taken whole, and from the nearer end on.
    const bool split = plus > 0 && minus > 0;
    for (int m = 0; m < (split ? along.count : 1); ++m) {
      for (int k = 0; k < across.count; ++k) {
        const double s = along.value[m], l = across.value[k];
        if (l == 0) continue;  // on the edge's own line its weights are zero
        const double factor = _prefactor * across.times * l;
        if (split) {
          const double* t_squared = _unit_squared.data();
          add_edge(_unit_weight, factor * (along.times * s), [=](int j) KESTREL_INLINE_LAMBDA {
            return split_edge_squared(t_squared[j], s * s, l * l);
          });
        } else {
          const Side& side = u < 0 ? _mirrored[axis] : _side[axis];
          const double* node = side.node.data();
          const double offset = std::abs(u);
          add_edge(side.weight, factor, [=](int j) KESTREL_INLINE_LAMBDA {
            return whole_edge_squared(node[j], offset, l * l);
          });
        }
      }
    }
  }
  const double* weight = list.weight();
  list.delay()[0] = z / _soundspeed;
  list.weight()[0] = -std::accumulate(weight + 1, weight + list.size(), 0.0);
}

}  // namespace kestrel
