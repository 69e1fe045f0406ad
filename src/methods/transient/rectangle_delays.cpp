#include "methods/transient/rectangle_delays.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "kestrel/compiler.h"
#include "numerics/run_kernel.h"

namespace kestrel {

namespace {

constexpr double pi = 3.14159265358979;

/// One edge; u is the place along it.
struct EdgeKernel {
  const double* node;
  const double* weight_table;
  int n;
  double shift;  ///< of an edge taken whole
  double scale;  ///< squared, of an edge split at the projection; its nodes are squared already
  bool split;
  double across;  ///< l
  double z;
  double factor;  ///< of the weights
  double soundspeed;
  double* delay;
  double* weight;

  template <class Math>
  KESTREL_INLINE void operator()(Math) const {
    if (split) {
      evaluate([this](int j) { return node[j] * scale; });
    } else {
      evaluate([this](int j) { return (node[j] + shift) * (node[j] + shift); });
    }
  }

  template <class Squared>
  KESTREL_INLINE void evaluate(Squared squared) const {
    const double z_squared = z * z, l_squared = across * across;
    KESTREL_LANES
    for (int j = 0; j < n; ++j) {
      const double q = squared(j) + l_squared;
      delay[j] = std::sqrt(z_squared + q) / soundspeed;
      weight[j] = factor * weight_table[j] / q;  // l is not zero, and so q is not
    }
  }
};

/// One or two distances: equal ones count as one, twice.
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
  _prefactor = -(density * soundspeed) / (2 * pi);
  _soundspeed = soundspeed;
}

void RectangleDelays::list(double x, double y, double z, DelayList& list) const {
  const int n = nodes();
  const InstructionSet set = instruction_set();
  list.clear();
  // The direct path is a run of its own.
  list.add_run(1);

  const double position[2] = {x, y}, half[2] = {_half_width, _half_height};
  for (int axis = 0; axis < 2; ++axis) {
    const double u = position[axis], v = position[1 - axis];
    const double plus = half[axis] + u, minus = half[axis] - u;
    const Distances across(half[1 - axis] + v, half[1 - axis] - v);
    // Inside the extent an edge is split at the projection, where its integrand peaks; from outside
    // it is taken whole, and from the nearer end on.
    const bool split = plus > 0 && minus > 0;
    const Distances along(plus, minus);
    for (int s = 0; s < (split ? along.count : 1); ++s) {
      for (int l = 0; l < across.count; ++l) {
        const double distance = across.value[l];
        if (distance == 0) continue;  // on the edge's own line its weights are zero
        EdgeKernel edge{};
        edge.n = n;
        edge.split = split;
        edge.across = distance;
        edge.z = z;
        edge.soundspeed = _soundspeed;
        edge.factor = _prefactor * across.times * distance;
        if (split) {
          edge.node = _unit_squared.data();
          edge.weight_table = _unit_weight.data();
          edge.scale = along.value[s] * along.value[s];
          edge.factor *= along.times * along.value[s];
        } else {
          const Side& side = u < 0 ? _mirrored[axis] : _side[axis];
          edge.node = side.node.data();
          edge.weight_table = side.weight.data();
          edge.shift = std::abs(u);
        }
        const int first = list.add_run(n);
        edge.delay = list.delay() + first;
        edge.weight = list.weight() + first;
        run_kernel(set, edge);
      }
    }
  }
  const double* weight = list.weight();
  list.delay()[0] = z / _soundspeed;
  list.weight()[0] = -std::accumulate(weight + 1, weight + list.size(), 0.0);
}

}  // namespace kestrel
