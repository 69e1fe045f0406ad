#pragma once

/// What the transient methods of all shapes share: the point loop and the ways of summing a list of
/// delays.

#include <algorithm>
#include <initializer_list>
#include <memory>
#include <new>
#include <optional>
#include <vector>

#include "kestrel/excitation.h"
#include "methods/common/element_inputs.h"
#include "methods/common/wave_constants.h"
#include "methods/transient/delay_list.h"
#include "methods/transient/impulse_response.h"
#include "methods/transient/rectangle_delays.h"
#include "methods/transient/rim_delays.h"
#include "methods/transient/transient_sum.h"

namespace kestrel::detail {

/// One element's transient field: all tables are had at construction, so that nothing is allocated
/// between points, and can serve many calls.
class TransientField {
 public:
  virtual ~TransientField() = default;

  /// Adds the pressure at every grid point for the first `samples` samples of the element's axis,
  /// in number at most what the tables were made for.
  virtual void superpose(const ElementInputs& in, const DelaySource& source, int samples) = 0;
};

/// `wanted`, or the next more precise way where that does not suit the excitation: sampled signals
/// in single precision, t-cubed pulses that decay by hundreds of nepers.
TransientSum suitable_sum(TransientSum wanted, const ExcitationFunction& excitation);

/// The field by the suitable sum. Throws std::bad_alloc when the tables cannot be had.
std::unique_ptr<TransientField> make_transient_field(TransientSum sum,
                                                     const ExcitationFunction& excitation,
                                                     const DelaySource& source, int samples);

/// Runs `compute` if there is anything to compute, and turns a failure of memory into its code.
template <class Compute>
int run_transient_method(const ElementInputs& in, const Compute& compute) {
  if (!in.has_transient_inputs()) return kMisuse;
  if (is_negligible(in.amplitude) || in.rule->get_npoints() < 1) return kSuccess;
  try {
    compute();
  } catch (const std::bad_alloc&) {
    return kOutOfMemory;
  }
  return kSuccess;
}

/// Superposes an element's transient field. `build` makes the delay source, an optional that is
/// empty where the geometry radiates nothing. It runs after the inputs were checked: it may refill
/// the rule.
template <class Build>
int superpose_transient(const ElementInputs& in, TransientSum sum, const Build& build) {
  return run_transient_method(in, [&] {
    const auto source = build();
    if (!source) return;
    const int samples = in.time->nt();
    make_transient_field(sum, *in.excitation, *source, samples)->superpose(in, *source, samples);
  });
}

/// Nodes along half a flat rim. Refills the rule over (0, pi).
RimRule half_rim_rule(NumericalIntegration& rule);
/// The delays of a flat disc or ring. Refills the rule over (0, pi).
std::optional<RimDelays> flat_delays(const Medium& medium, NumericalIntegration& rule,
                                     double outer_radius, double inner_radius);
/// The delays of a shell or a spherical ring from a rule on (-1, 1); none when the aperture exceeds
/// the radius of curvature.
std::optional<RimDelays> cap_delays(const Medium& medium, const NumericalIntegration& rule,
                                    double outer_radius, double inner_radius,
                                    double radius_of_curvature,
                                    RimDelays::Side side = RimDelays::Side::front);

/// One face's impulse response with its sign: -1 for a hole.
template <class Impulse>
struct SignedImpulse {
  Impulse impulse;
  double sign = 1;
};

/// Adds amplitude times the spatial impulse response at every point that is heard: one walk over
/// the points for each face, in turn.
template <class Impulse>
int superpose_impulse_response(const ElementInputs& in,
                               std::initializer_list<SignedImpulse<Impulse>> faces) {
  if (!in.grid || !in.time || !in.has_traces()) return kMisuse;
  try {
    const int nt = in.time->nt();
    const std::vector<double> time =
        table_of(nt, [&](int i) { return in.time->time_index_value(i) - in.time_delay; });
    std::vector<double> h(time.size());
    for (const SignedImpulse<Impulse>& face : faces) {
      const double factor = face.sign * in.amplitude;
      in.for_each_point([&](int i, const CartesianCoordinate& p) {
        if (!face.impulse.hears(p.x, p.y, p.z)) return;
        face.impulse.respond(p.x, p.y, p.z, time.data(), nt, h.data());
        for (double& sample : h) sample *= factor;
        in.add_trace(i, h.data());
      });
    }
  } catch (const std::bad_alloc&) {
    return kOutOfMemory;
  }
  return kSuccess;
}

/// Transient field of a disc by the Rayleigh integral over the face, midpoints in polar
/// coordinates, n by n of them over the half disc: slow, and independent of the fast nearfield
/// method.
int superpose_rayleigh_transient(const ElementInputs& in, double radius);

}  // namespace kestrel::detail
