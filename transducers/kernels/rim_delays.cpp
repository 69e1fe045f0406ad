#include "transducers/kernels/rim_delays.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

#include "numerics/run_kernel.h"

namespace kestrel {

namespace {

constexpr double pi = 3.14159265358979;

struct RimKernel {
  const RimRule& rule;
  Cap cap;
  double r, z;
  double factor;  ///< of the weights
  double soundspeed;
  double* delay;
  double* weight;

  template <class Math>
  KESTREL_INLINE void operator()(Math) const {
    const double dr = r - cap.radius, dz = z - cap.depth;
    const double nearest = dr * dr + dz * dz, spread = 2 * cap.radius * r;
    const double lift = cap.radius * dz * cap.curvature;
    const double* e = rule.versine.data();
    const double* sine = rule.sine.data();
    const double* w = rule.weight.data();
    const int n = rule.nodes();
    KESTREL_LANES
    for (int j = 0; j < n; ++j) {
      const double along = cap.slope * (dr - r * e[j]) + lift;
      const double across = r * sine[j];
      const double squared = along * along + across * across;
      // Zero where the rim itself is observed: there the bracket of delayed signals vanishes too.
      const double quotient = along / (squared > 0 ? squared : 1);
      delay[j] = std::sqrt(nearest + spread * e[j]) / soundspeed;
      weight[j] = factor * w[j] * quotient;
    }
  }
};

}  // namespace

void RimRule::add(double azimuth, double w) {
  const double half = std::sin(azimuth / 2);
  versine.push_back(2 * half * half);
  sine.push_back(std::sin(azimuth));
  weight.push_back(w);
}

void RimRule::sort() {
  std::vector<int> order(versine.size());
  std::iota(order.begin(), order.end(), 0);
  std::stable_sort(order.begin(), order.end(),
                   [&](int i, int j) { return versine[i] < versine[j]; });
  const auto reorder = [&](std::vector<double>& values) {
    std::vector<double> sorted;
    for (const int i : order) sorted.push_back(values[i]);
    values = std::move(sorted);
  };
  reorder(sine);
  reorder(weight);
  reorder(versine);
}

Cap Cap::shell(double radius, double radius_of_curvature) {
  const double h = std::sqrt(radius_of_curvature * radius_of_curvature - radius * radius);
  return {radius, 1 / radius_of_curvature, h / radius_of_curvature,
          radius * radius / (radius_of_curvature + h)};
}

RimDelays RimDelays::flat(RimRule rule, double outer_radius, double inner_radius, double density,
                          double soundspeed) {
  RimDelays delays(std::move(rule), density, soundspeed);
  delays._caps.push_back(Cap::disc(outer_radius));
  if (inner_radius > 0) delays._caps.push_back(Cap::disc(inner_radius));
  return delays;
}

RimDelays RimDelays::curved(RimRule rule, double outer_radius, double inner_radius,
                            double radius_of_curvature, double density, double soundspeed,
                            Side side) {
  RimDelays delays(std::move(rule), density, soundspeed);
  delays._caps.push_back(Cap::shell(outer_radius, radius_of_curvature));
  if (inner_radius > 0) delays._caps.push_back(Cap::shell(inner_radius, radius_of_curvature));
  delays._radius_of_curvature = radius_of_curvature;
  delays._side = side;
  return delays;
}

double RimDelays::distance_to_focus(double x, double y, double z) const {
  if (is_flat()) return DelaySource::distance_to_focus(x, y, z);
  const double zeta = z - _radius_of_curvature;
  return std::sqrt((x * x + y * y) + zeta * zeta);
}

Hearing RimDelays::hearing(double x, double y, double z) const {
  if (is_flat()) return z >= 0 ? Hearing::by_list : Hearing::skipped;
  // The outer cap decides for both.
  const double rc = _radius_of_curvature, a = _caps.front().radius;
  const double h = std::sqrt(rc * rc - a * a);
  const double r = std::sqrt(x * x + y * y), zeta = z - rc;
  const double squared = r * r + zeta * zeta;
  if (_side == Side::behind) {
    return zeta < -h && squared > rc * rc ? Hearing::by_list : Hearing::skipped;
  }
  if (!(zeta >= -h || squared <= rc * rc)) return Hearing::skipped;
  return r < 1e-10 && std::abs(zeta) < 1e-10 ? Hearing::at_focus : Hearing::by_list;
}

double RimDelays::direct_delay(double r, double z) const {
  if (is_flat()) return z / _soundspeed;
  const double zeta = z - _radius_of_curvature;
  const double distance = std::sqrt(r * r + zeta * zeta);
  // In the focal plane the line from the centre meets the sphere beside the cap: no side is taken.
  const double side = zeta > 1e-10 ? 1 : zeta < -1e-10 ? -1 : 0;
  return std::abs(_radius_of_curvature + side * distance) / _soundspeed;
}

void RimDelays::list(double x, double y, double z, DelayList& list) const {
  const double r = std::sqrt(x * x + y * y);
  const int n = _rule.nodes();
  const InstructionSet set = instruction_set();
  list.clear();

  // The direct path of a flat source is never later than the rim: it leads the outer rim's run. A
  // cap's may lie anywhere, so it is a run of its own.
  const int direct = list.add_run(is_flat() ? n + 1 : 1);
  double sum = 0;
  for (std::size_t i = 0; i < _caps.size(); ++i) {
    const int first = is_flat() && i == 0 ? direct + 1 : list.add_run(n);
    const double sign = i == 0 ? 1 : -1;
    const double factor = sign * (_density * _soundspeed * _caps[i].radius / pi);
    double* weight = list.weight() + first;
    run_kernel(set,
               RimKernel{_rule, _caps[i], r, z, factor, _soundspeed, list.delay() + first, weight});
    sum = std::accumulate(weight, weight + n, sum);
  }
  list.delay()[direct] = direct_delay(r, z);
  list.weight()[direct] = -sum;
}

double RimDelays::focal_gain() const {
  const double inner = _caps.size() > 1 ? _caps[1].height() : 0;
  return _density * (_caps[0].height() - inner);
}

}  // namespace kestrel
