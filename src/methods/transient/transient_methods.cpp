#include "methods/transient/transient_methods.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <type_traits>
#include <vector>

#include "kestrel/excitation.h"
#include "methods/rayleigh/surface_terms.h"
#include "methods/transient/transient_sums.h"
#include "numerics/interruption.h"

namespace kestrel::detail {

TransientSum suitable_sum(TransientSum wanted, const ExcitationFunction& excitation) {
  if (wanted == TransientSum::direct) return wanted;
  switch (excitation.get_type()) {
    case kSampled:
      return TransientSum::decomposed;  // spectral lines come in double precision only
    case kTone:
    case kHanning:
      return wanted;
    case kTCubed: {
      // Over a block and the pulse before it the terms' exponents spread by so many nepers.
      const double exponent = std::abs(excitation.get_B()) * excitation.get_pulse_width();
      if (3 * exponent > 600) return TransientSum::direct;
      return 2 * exponent > 80 ? TransientSum::decomposed : wanted;
    }
    default:
      return TransientSum::direct;
  }
}

namespace {

/// Traces of some points on their way into the transient array.
template <class Sample>
class TraceBatch {
 public:
  explicit TraceBatch(int samples)
      : _samples(samples), _traces(std::size_t(most(samples)) * samples), _points(most(samples)) {}

  bool full() const { return _count == static_cast<int>(_points.size()); }
  /// A trace of zeros for a point.
  Sample* open(int point) {
    Sample* trace = _traces.data() + std::size_t(_count) * _samples;
    std::fill(trace, trace + _samples, Sample{0});
    _points[_count++] = point;
    return trace;
  }
  void superpose(const ElementInputs& in, int samples) {
    in.add_traces(_points.data(), _count, _traces.data(), _samples, samples);
    _count = 0;
  }

 private:
  /// A cache line's worth of points, fewer when their traces would not stay in the cache.
  static int most(int samples) { return std::clamp(16384 / std::max(samples, 1), 1, 16); }

  int _samples;
  int _count = 0;
  std::vector<Sample> _traces;
  std::vector<int> _points;
};

/// The loop over the points, for one way of summing.
template <class Sum>
class FieldBy final : public TransientField {
  using Scalar = typename Sum::Scalar;

 public:
  FieldBy(const ExcitationFunction& excitation, const DelaySource& source, int samples)
      : _sum(excitation, source, samples),
        _nearby(excitation, source, samples),
        _times(samples),
        _list(source.capacity() + 4),
        _traces(samples),
        _nearby_traces(samples) {}

  void superpose(const ElementInputs& in, const DelaySource& source, int samples) override {
    const TimeSamples& axis = *in.time;
    const ExcitationFunction& excitation = *in.excitation;
    const SignalRate rate(excitation);
    const double wavenumber = kTwoPi * excitation.get_f0() / in.medium->_soundspeed;
    _times.assign(
        samples, [&](int i) { return axis.time_index_value(i); }, in.time_delay);
    const int passes = _sum.begin(_times, in);
    _nearby.begin(_times, in);

    const auto finish = [&](auto& traces, auto* trace) {
      using Sample = std::remove_pointer_t<decltype(trace)>;
      const auto amplitude = static_cast<Sample>(in.amplitude);
      for (int i = 0; i < _times.count(); ++i) trace[i] *= amplitude;
      _times.put_in_axis_order(trace);
      if (traces.full()) traces.superpose(in, samples);
    };
    for (int pass = 0; pass < passes; ++pass) {
      _sum.start_pass(pass);
      in.for_each_point([&](int i, const CartesianCoordinate& p) {
        if (interruption_asked()) return;
        const PointCase point_case = source.point_case(p.x, p.y, p.z);
        if (point_case == PointCase::skipped) return;
        const bool focus = point_case == PointCase::focal_point;
        if (!focus) source.list(p.x, p.y, p.z, _list);
        if (focus || too_near(source.distance_to_focus(p.x, p.y, p.z) * wavenumber)) {
          if (pass > 0) return;  // these are summed over all samples at once
          double* trace = _nearby_traces.open(i);
          if (focus) {
            sum_focus(source, rate, trace);
          } else {
            _nearby.add(_list, trace);
          }
          finish(_nearby_traces, trace);
        } else {
          Scalar* trace = _traces.open(i);
          _sum.add(_list, trace);
          finish(_traces, trace);
        }
      });
      _traces.superpose(in, samples);
      _nearby_traces.superpose(in, samples);
    }
  }

 private:
  /// Close to a focus the weights are large and cancel: single precision would lose what is left, a
  /// seventh of a steep t-cubed pulse at a thousandth of a wavelength. Within a radian few points
  /// lie, and the direct sum costs little.
  static bool too_near(double radians) { return std::is_same_v<Scalar, float> && radians < 1; }

  /// In the focus all of the cap is heard at once. A jump of the signal would be an impulse there,
  /// which samples cannot show; it is left out.
  void sum_focus(const DelaySource& source, const SignalRate& rate, double* trace) const {
    const double gain = source.focal_gain(), delay = source.focal_delay();
    for (int i = 0; i < _times.count(); ++i) trace[i] = gain * rate(_times[i] - delay);
  }

  Sum _sum;
  DirectSum _nearby;
  RisingTimes _times;
  DelayList _list;
  TraceBatch<Scalar> _traces;
  TraceBatch<double> _nearby_traces;
};

}  // namespace

std::unique_ptr<TransientField> make_transient_field(TransientSum sum,
                                                     const ExcitationFunction& excitation,
                                                     const DelaySource& source, int samples) {
  switch (suitable_sum(sum, excitation)) {
    case TransientSum::decomposed:
      return std::make_unique<FieldBy<DecomposedSum<ExactTerms>>>(excitation, source, samples);
    case TransientSum::low_precision:
      return std::make_unique<FieldBy<DecomposedSum<LowPrecisionTerms>>>(excitation, source,
                                                                         samples);
    case TransientSum::four_wide:
      return std::make_unique<FieldBy<DecomposedSum<FourWideTerms>>>(excitation, source, samples);
    default:
      return std::make_unique<FieldBy<DirectSum>>(excitation, source, samples);
  }
}

RimRule half_rim_rule(NumericalIntegration& rule) {
  rule.gauss_quadrature(0, kPi);
  return RimRule(abscissas(rule), weights(rule));
}

std::optional<RimDelays> flat_delays(const Medium& medium, NumericalIntegration& rule,
                                     double outer_radius, double inner_radius) {
  return RimDelays::flat(half_rim_rule(rule), outer_radius, inner_radius, medium._rho_density,
                         medium._soundspeed);
}

std::optional<RimDelays> cap_delays(const Medium& medium, const NumericalIntegration& rule,
                                    double outer_radius, double inner_radius,
                                    double radius_of_curvature, RimDelays::Side side) {
  const bool within = outer_radius <= radius_of_curvature && !(inner_radius > radius_of_curvature);
  if (!within) return std::nullopt;
  return RimDelays::curved(RimRule(from_abscissas(rule, [](double x) { return (x + 1) * kHalfPi; }),
                                   from_weights(rule, [](double w) { return w * kHalfPi; })),
                           CapGeometry(outer_radius, radius_of_curvature), inner_radius,
                           medium._rho_density, medium._soundspeed, side);
}

int superpose_rayleigh_transient(const ElementInputs& in, double radius) {
  return run_transient_method(in, [&] {
    const TimeSamples& axis = *in.time;
    const ExcitationFunction& excitation = *in.excitation;
    const double c = in.medium->_soundspeed, rho = in.medium->_rho_density;
    const SignalRate rate(excitation);
    const Support support = support_of(excitation);
    // What the rate does not know of: the jumps at the ends of the signal.
    const double width = excitation.get_pulse_width();
    const double jump_up = excitation.at(0.0),
                 jump_down = excitation.at(std::nextafter(width, 0.0));

    RisingTimes times(axis.nt());
    times.assign(
        axis.nt(), [&](int i) { return axis.time_index_value(i); }, in.time_delay);
    std::vector<double> trace(axis.nt()), shifted(axis.nt()), up(axis.nt()), down(axis.nt());
    const int count = times.count();
    for (int i = 0; i < count; ++i) shifted[i] = times[i] - width;

    const int n = in.rule->get_npoints();
    const double factor = (rho / kPi) * (radius / n) * (kPi / n);
    const std::vector<SurfaceCircle> circles = midpoint_circles(radius, n);
    const std::vector<double> cosines = midpoint_cosines(n);
    in.for_each_point([&](int i, const CartesianCoordinate& p) {
      if (!(p.z >= 0)) return;
      const double r = std::sqrt(p.x * p.x + p.y * p.y);
      std::fill(trace.begin(), trace.end(), 0.0);
      for (const SurfaceCircle& circle : circles) {
        if (interruption_asked()) return;
        const double source = circle.radius;
        for (const double cosine : cosines) {
          const double path =
              std::sqrt(source * source + p.z * p.z + r * r - 2 * source * r * cosine);
          const double delay = path / c, weight = factor * source / path;
          const int first = times.first_entered(support, delay, 0, count);
          for (int k = first; k < count && !support.left(times[k] - delay); ++k) {
            trace[k] += weight * rate(times[k] - delay);
          }
        }
      }
      const DiscImpulse impulse{radius, c};
      impulse.respond(p.x, p.y, p.z, times.data(), count, up.data());
      impulse.respond(p.x, p.y, p.z, shifted.data(), count, down.data());
      for (int k = 0; k < count; ++k) {
        trace[k] += rho * (jump_up * up[k] - jump_down * down[k]);
        trace[k] *= in.amplitude;
      }
      times.put_in_axis_order(trace.data());
      in.add_trace(i, trace.data());
    });
  });
}

}  // namespace kestrel::detail
