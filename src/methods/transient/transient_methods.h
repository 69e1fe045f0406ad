#pragma once

/// What the transient methods of all shapes share: the point loop and the ways of summing a list of
/// delays.

#include <algorithm>
#include <initializer_list>
#include <memory>
#include <new>
#include <optional>
#include <vector>

#include "elements/transducer.h"
#include "excitation/excitation_function.h"
#include "methods/common/wave_constants.h"
#include "methods/transient/delay_list.h"
#include "methods/transient/impulse_response.h"
#include "methods/transient/rectangle_delays.h"
#include "methods/transient/rim_delays.h"

namespace kestrel::detail {

/// How the delayed copies of the signal are summed; the same lists of delays serve all.
enum class TransientSum : int {
  direct,         ///< the signal is evaluated for every delay at every sample
  decomposed,     ///< time-space decomposition in double precision
  low_precision,  ///< the same with terms, sums and trace in single precision
  four_wide,      ///< the same by the four-wide kernels
};

/// One element's transient field: all tables are had at construction, so that nothing is allocated
/// between points, and can serve many calls.
class TransientField {
 public:
  virtual ~TransientField() = default;

  /// Adds the pressure at every grid point for the first `samples` samples of the element's axis,
  /// in number at most what the tables were made for.
  virtual void superpose(Transducer& element, const DelaySource& source, int samples) = 0;
};

/// `wanted`, or the next more precise way where that does not suit the excitation: sampled signals
/// in single precision, t-cubed pulses that decay by hundreds of nepers.
TransientSum suitable_sum(TransientSum wanted, const ExcitationFunction& excitation);

/// The field by the suitable sum. Throws std::bad_alloc when the tables cannot be had.
std::unique_ptr<TransientField> make_transient_field(TransientSum sum,
                                                     const ExcitationFunction& excitation,
                                                     const DelaySource& source, int samples);

/// Grid, time axis and the array to add to, which a grid without points can do without.
inline bool has_traces(const Transducer& element) {
  const CoordinateGrid* grid = element.global_coordinate_grid();
  return grid && element.time_vector() && (grid->npoints() < 1 || element.transient_pressure());
}

/// The same with medium, rule and excitation.
inline bool has_transient_inputs(const Transducer& element) {
  return has_traces(element) && element.medium() && element.integral() &&
         element._excitation_function;
}

/// Superposes an element's transient field. `build` makes the delay source, an optional that is
/// empty where the geometry radiates nothing. It runs after the inputs were checked: it may refill
/// the rule.
template <class Build>
int superpose_transient(Transducer& element, TransientSum sum, const Build& build) {
  if (!has_transient_inputs(element)) return kMisuse;
  if (is_negligible(element.get_amplitude())) return kSuccess;
  if (element.integral()->get_npoints() < 1) return kSuccess;
  try {
    const auto source = build();
    if (source) {
      const int samples = element.time_vector()->nt();
      make_transient_field(sum, *element._excitation_function, *source, samples)
          ->superpose(element, *source, samples);
    }
  } catch (const std::bad_alloc&) {
    return kOutOfMemory;
  }
  return kSuccess;
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
int superpose_impulse_response(Transducer& element,
                               std::initializer_list<SignedImpulse<Impulse>> faces) {
  const CoordinateGrid* grid = element.global_coordinate_grid();
  const TimeSamples* axis = element.time_vector();
  if (!has_traces(element)) return kMisuse;
  try {
    const int nt = axis->nt();
    const std::vector<double> time =
        table_of(nt, [&](int i) { return axis->time_index_value(i) - element.get_time_delay(); });
    std::vector<double> h(time.size());
    element.InitializeRotationMatrix();
    for (const auto& [impulse, sign] : faces) {
      const double factor = sign * element.get_amplitude();
      for (int i = 0; i < grid->npoints(); ++i) {
        const CartesianCoordinate p = element.rotateTranslate(grid->spatial_index_value(i));
        if (!impulse.hears(p.x, p.y, p.z)) continue;
        impulse.respond(p.x, p.y, p.z, time.data(), nt, h.data());
        for (double& sample : h) sample *= factor;
        element.superpose_transient_pressure(i, h.data());
      }
    }
  } catch (const std::bad_alloc&) {
    return kOutOfMemory;
  }
  return kSuccess;
}

/// First and last time at which any grid point hears the element, all points counted. `paths` gives
/// a local point's PathRange. The values found widen `span` when it has begun already.
struct ImpulseSpan {
  double& begin;
  double& end;
  bool begun = false;
};
template <class Paths>
int find_impulse_span(Transducer& element, const Paths& paths, ImpulseSpan span) {
  const CoordinateGrid* grid = element.global_coordinate_grid();
  if (!grid || !element.medium()) return kMisuse;
  const double c = element.medium()->_soundspeed, delay = element.get_time_delay();
  element.InitializeRotationMatrix();
  for (int i = 0; i < grid->npoints(); ++i) {
    const CartesianCoordinate p = element.rotateTranslate(grid->spatial_index_value(i));
    const PathRange range = paths(p.x, p.y, p.z);
    const double begin = range.nearest / c + delay, end = range.farthest / c + delay;
    span.begin = span.begun ? std::min(span.begin, begin) : begin;
    span.end = span.begun ? std::max(span.end, end) : end;
    span.begun = true;
  }
  return kSuccess;
}

/// Transient field of a disc by the Rayleigh integral over the face, midpoints in polar
/// coordinates, n by n of them over the half disc: slow, and independent of the fast nearfield
/// method.
int superpose_rayleigh_transient(Transducer& element, double radius);

}  // namespace kestrel::detail
