#include "methods/transient/rim_delays.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

#include "kestrel/four_wide.h"
#include "methods/common/wave_constants.h"
#include "methods/fnm/rim_terms.h"

namespace kestrel {

RimRule::RimRule(const std::vector<double>& azimuths, const std::vector<double>& weights) {
  std::vector<int> order(azimuths.size());
  std::iota(order.begin(), order.end(), 0);
  const auto versine_of = [&](int j) {
    const double half = std::sin(azimuths[j] / 2);
    return 2 * half * half;
  };
  std::stable_sort(order.begin(), order.end(),
                   [&](int i, int j) { return versine_of(i) < versine_of(j); });
  for (const int j : order) {
    versine.push_back(versine_of(j));
    sine.push_back(std::sin(azimuths[j]));
    weight.push_back(weights[j]);
  }
}

RimDelays RimDelays::flat(RimRule rule, double outer_radius, double inner_radius, double density,
                          double soundspeed) {
  RimDelays delays(std::move(rule), density, soundspeed);
  delays._rims.push_back(Rim::of_disc(outer_radius));
  if (inner_radius > 0) delays._rims.push_back(Rim::of_disc(inner_radius));
  return delays;
}

RimDelays RimDelays::curved(RimRule rule, const CapGeometry& outer, double inner_radius,
                            double density, double soundspeed, Side side) {
  RimDelays delays(std::move(rule), density, soundspeed);
  delays._rims.push_back(Rim::of_cap(outer));
  if (inner_radius > 0) {
    delays._rims.push_back(Rim::of_cap(CapGeometry(inner_radius, outer.curvature)));
  }
  delays._sphere = outer;
  delays._side = side;
  return delays;
}

double RimDelays::distance_to_focus(double x, double y, double z) const {
  if (!_sphere) return DelaySource::distance_to_focus(x, y, z);
  const double zeta = z - _sphere->curvature;
  return std::sqrt((x * x + y * y) + zeta * zeta);
}

PointCase RimDelays::point_case(double x, double y, double z) const {
  if (!_sphere) return z >= 0 ? PointCase::general : PointCase::skipped;
  const int region = _sphere->region(x, y, z);
  if (_side == Side::behind) {
    const bool behind = region == CapGeometry::outside && !std::isnan(x + y + z);
    return behind ? PointCase::general : PointCase::skipped;
  }
  if (region == CapGeometry::outside) return PointCase::skipped;
  return region == CapGeometry::focus ? PointCase::focal_point : PointCase::general;
}

double RimDelays::direct_delay(double r, double z) const {
  if (!_sphere) return z / _soundspeed;
  const double rc = _sphere->curvature, zeta = z - rc;
  // Behind the sphere the distance to it is D - R_c: hence the absolute value.
  return std::abs(cap_direct_path(side_of_centre(zeta), rc, r, zeta)) / _soundspeed;
}

void RimDelays::list(double x, double y, double z, DelayList& list) const {
  const double r = std::sqrt(x * x + y * y);
  const int n = _rule.nodes();
  list.clear();

  // The direct path of a flat source is never later than the rim: it leads the outer rim's run. A
  // cap's may lie anywhere, so it is a run of its own.
  const int direct = list.add_run(!_sphere ? n + 1 : 1);
  double sum = 0;
  for (std::size_t i = 0; i < _rims.size(); ++i) {
    const int first = !_sphere && i == 0 ? direct + 1 : list.add_run(n);
    const double sign = i == 0 ? 1 : -1;
    const double factor = sign * (_density * _soundspeed * _rims[i].radius / detail::kPi);
    const Rim rim = _rims[i];
    const double dr = r - rim.radius, dz = z - rim.depth;
    const double nearest = dr * dr + dz * dz, spread = 2 * rim.radius * r;
    const double lift = rim.radius * dz * rim.curvature;
    const double* e = _rule.versine.data();
    const double* sine = _rule.sine.data();
    const double* w = _rule.weight.data();
    list.fill(first, n, _soundspeed, [=](int j) KESTREL_INLINE_LAMBDA {
      const double along = rim.slope * (dr - r * e[j]) + lift;
      const double across = r * sine[j];
      const double squared = along * along + across * across;
      // On the rim itself the term is 0/0 with the limit 0, since both delays are equal there.
      const double quotient = along / (squared > 0 ? squared : 1);
      return DelayList::Entry{nearest + spread * e[j], factor * w[j] * quotient};
    });
    const double* weight = list.weight() + first;
    sum = std::accumulate(weight, weight + n, sum);
  }
  list.delay()[direct] = direct_delay(r, z);
  list.weight()[direct] = -sum;
}

double RimDelays::focal_gain() const {
  // The cap's area over 2 pi R_c; what the inner rim bounds is missing.
  const double hole = _rims.size() > 1 ? _rims[1].depth : 0;
  return _density * (_rims[0].depth - hole);
}

FourWideDiscDelays::FourWideDiscDelays(const RimRule& rule, double radius, double density,
                                       double soundspeed)
    : _radius(radius), _inverse_soundspeed(static_cast<float>(1 / soundspeed)) {
  for (int j = 0; j < (rule.nodes() + 3) / 4 * 4; ++j) {
    const bool real = j < rule.nodes();
    const double e = real ? rule.versine[j] : 2, w = real ? rule.weight[j] : 0;
    _versine.push_back(static_cast<float>(e));
    _spread.push_back(static_cast<float>(2 * radius * e));
    _weight.push_back(static_cast<float>(density * soundspeed * radius / detail::kPi * w));
  }
}

void FourWideDiscDelays::list(double x, double y, double z, DelayList& list) const {
  const double r = std::sqrt(x * x + y * y);
  const float4 r4 = float4::splat(static_cast<float>(r));
  const float4 dr = float4::splat(static_cast<float>(r - _radius));
  const float4 nearest = dr * dr;
  const float4 z_squared = float4::splat(static_cast<float>(z * z));
  const float4 least = float4::splat(1e-30F), to_time = float4::splat(_inverse_soundspeed);
  list.clear();
  list.add_run(capacity());
  double* delay = list.delay();
  double* weight = list.weight();
  double sum = 0;
  for (std::size_t j = 0; j < _weight.size(); j += 4) {
    const float4 squared =
        max(nearest + float4::load(&_spread[j]) * r4, least);  // of the distance in the plane
    const float4 along = dr - float4::load(&_versine[j]) * r4;
    const float4 w = float4::load(&_weight[j]) * along / squared;
    const float4 tau = sqrt(z_squared + squared) * to_time;
    for (int m = 0; m < 4; ++m) {
      delay[1 + j + m] = static_cast<double>(tau.lane(m));
      weight[1 + j + m] = static_cast<double>(w.lane(m));
      sum += weight[1 + j + m];
    }
  }
  // By the same steps, so that it is never later than the rim.
  delay[0] = static_cast<double>((sqrt(z_squared) * to_time).lane(0));
  weight[0] = -sum;
}

}  // namespace kestrel
