/// The transient methods of every shape: its delays, and the ways of summing them.

#include "methods/element_methods.h"

#include <limits>

#include "methods/transient/transient_methods.h"

namespace kestrel::detail {

namespace {

// The delays of each shape; none where the geometry radiates nothing. Those of flat round shapes
// refill the rule over (0, pi).

std::optional<RectangleDelays> delays_of(const Rectangle& face, const ElementInputs& in) {
  return RectangleDelays(face.width, face.height, abscissas(*in.rule), weights(*in.rule),
                         in.medium->_rho_density, in.medium->_soundspeed);
}
std::optional<RimDelays> delays_of(const Circle& face, const ElementInputs& in) {
  return flat_delays(*in.medium, *in.rule, face.radius, 0);
}
std::optional<RimDelays> delays_of(const Ring& face, const ElementInputs& in) {
  return flat_delays(*in.medium, *in.rule, face.outer_radius, face.inner_radius);
}
std::optional<RimDelays> delays_of(const Shell& face, const ElementInputs& in,
                                   RimDelays::Side side = RimDelays::Side::front) {
  return cap_delays(*in.medium, *in.rule, face.radius, 0, face.rad_curvature, side);
}
std::optional<RimDelays> delays_of(const ShellRing& face, const ElementInputs& in) {
  return cap_delays(*in.medium, *in.rule, face.outer_radius, face.inner_radius,
                    face.geometric_focus);
}

int transient_behind(const Shell& face, const ElementInputs& in, TransientSum sum) {
  return superpose_transient(in, sum, [&] { return delays_of(face, in, RimDelays::Side::behind); });
}

/// Sets `span` to the times between the first and the last arrival at any point; `paths` gives a
/// local point's PathRange. With `begun`, `span` already holds times, and is widened to these.
template <class Paths>
int find_span(const ElementInputs& in, const Paths& paths, ImpulseSpan& span, bool begun = false) {
  if (!in.grid || !in.medium) return kMisuse;
  const double c = in.medium->_soundspeed;
  in.for_each_point([&](int, const CartesianCoordinate& p) {
    const PathRange range = paths(p.x, p.y, p.z);
    const double begin = range.nearest / c + in.time_delay;
    const double end = range.farthest / c + in.time_delay;
    span.begin = begun ? std::min(span.begin, begin) : begin;
    span.end = begun ? std::max(span.end, end) : end;
    begun = true;
  });
  return kSuccess;
}

}  // namespace

int transient(const Rectangle& face, ElementInputs& in, TransientSum sum) {
  return superpose_transient(in, sum, [&] { return delays_of(face, in); });
}
int transient(const Circle& face, ElementInputs& in, TransientSum sum) {
  return superpose_transient(in, sum, [&] { return delays_of(face, in); });
}
int transient(const Ring& face, ElementInputs& in, TransientSum sum) {
  return superpose_transient(in, sum, [&] { return delays_of(face, in); });
}
int transient(const Shell& face, ElementInputs& in, TransientSum sum) {
  return superpose_transient(in, sum, [&] { return delays_of(face, in); });
}
int transient(const ShellRing& face, ElementInputs& in, TransientSum sum) {
  return superpose_transient(in, sum, [&] { return delays_of(face, in); });
}

int fnm_transient_behind_source(const Shell& face, ElementInputs& in) {
  return transient_behind(face, in, TransientSum::direct);
}
int fnm_tsd_behind_source(const Shell& face, ElementInputs& in) {
  return transient_behind(face, in, TransientSum::decomposed);
}

int fnm_tsd_sse(const Circle& face, ElementInputs& in) {
  if (!in.has_transient_inputs()) return kMisuse;
  const bool analytic =
      suitable_sum(TransientSum::four_wide, *in.excitation) == TransientSum::four_wide;
  if (!analytic) return fnm_tsd(face, in);
  return superpose_transient(in, TransientSum::four_wide, [&] {
    return std::optional(FourWideDiscDelays(half_rim_rule(*in.rule), face.radius,
                                            in.medium->_rho_density, in.medium->_soundspeed));
  });
}

int rayleigh_transient(const Circle& face, ElementInputs& in) {
  return superpose_rayleigh_transient(in, face.radius);
}

int impulse_response(const Rectangle& face, ElementInputs& in) {
  if (!in.medium) return kMisuse;
  if (is_negligible(in.amplitude)) return kSuccess;
  return superpose_impulse_response<RectangleImpulse>(
      in, {{{face.width, face.height, in.medium->_soundspeed}}});
}

int impulse_response(const Circle& face, ElementInputs& in) {
  if (!in.medium) return kMisuse;
  return superpose_impulse_response<DiscImpulse>(in, {{{face.radius, in.medium->_soundspeed}}});
}

int impulse_response(const Ring& face, ElementInputs& in) {
  if (!in.medium) return kMisuse;
  if (is_negligible(in.amplitude)) return kSuccess;
  const double c = in.medium->_soundspeed;
  if (!(face.inner_radius > 0)) {
    return superpose_impulse_response<DiscImpulse>(in, {{{face.outer_radius, c}}});
  }
  return superpose_impulse_response<DiscImpulse>(
      in, {{{face.outer_radius, c}, 1}, {{face.inner_radius, c}, -1}});
}

int impulse_response(const Shell& face, ElementInputs& in) {
  if (!in.medium || !in.time) return kMisuse;
  if (is_negligible(in.amplitude)) return kSuccess;
  const CapGeometry cap(face.radius, face.rad_curvature);
  return superpose_impulse_response<CapImpulse>(
      in, {{{cap, cap, in.medium->_soundspeed, in.time->deltat()}}});
}

int impulse_response(const ShellRing& face, ElementInputs& in) {
  if (!in.medium || !in.time) return kMisuse;
  if (is_negligible(in.amplitude)) return kSuccess;
  const CapGeometry outer(face.outer_radius, face.geometric_focus);
  const double c = in.medium->_soundspeed, interval = in.time->deltat();
  if (!(face.inner_radius > 0)) {
    return superpose_impulse_response<CapImpulse>(in, {{{outer, outer, c, interval}}});
  }
  const CapGeometry inner(face.inner_radius, face.geometric_focus);
  return superpose_impulse_response<CapImpulse>(
      in, {{{outer, outer, c, interval}, 1}, {{inner, outer, c, interval}, -1}});
}

int find_impulse_span(const Rectangle& face, const ElementInputs& in, ImpulseSpan& span) {
  span = {std::numeric_limits<double>::max(), 0};
  return find_span(
      in,
      [&](double x, double y, double z) {
        return rectangle_paths(x, y, z, face.width, face.height);
      },
      span, true);
}
int find_impulse_span(const Circle& face, const ElementInputs& in, ImpulseSpan& span) {
  return find_span(
      in, [&](double x, double y, double z) { return disc_paths(x, y, z, face.radius); }, span);
}
int find_impulse_span(const Ring& face, const ElementInputs& in, ImpulseSpan& span) {
  return find_span(
      in,
      [&](double x, double y, double z) {
        return ring_paths(x, y, z, face.inner_radius, face.outer_radius);
      },
      span);
}
int find_impulse_span(const Shell& face, const ElementInputs& in, ImpulseSpan& span) {
  const CapGeometry cap(face.radius, face.rad_curvature);
  return find_span(
      in, [&](double x, double y, double z) { return cap_paths(x, y, z, cap, 0); }, span);
}
int find_impulse_span(const ShellRing& face, const ElementInputs& in, ImpulseSpan& span) {
  const CapGeometry outer(face.outer_radius, face.geometric_focus);
  return find_span(
      in,
      [&](double x, double y, double z) { return cap_paths(x, y, z, outer, face.inner_radius); },
      span);
}

}  // namespace kestrel::detail
