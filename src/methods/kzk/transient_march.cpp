#include "methods/kzk/transient_march.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "methods/kzk/driver.h"
#include "methods/kzk/wave_beam.h"

namespace kestrel::kzk {

namespace {

constexpr double kTwoPi = 2.0 * std::numbers::pi;

/// No point waits longer than this many reference periods for the wave from the rim.
constexpr double kMostEdgePeriods = 64.0;

/// Largest nonlinear phase advance of a wave crest that the time window allows for. After one
/// period the crest has merged with a shock and advances no further.
constexpr double kMaxCrestAdvance = kTwoPi;

/// The caller hears at least once in so many evaluations of the drive, of which each takes some
/// tens of nanoseconds to microseconds.
constexpr Index kEvaluationsBetweenProgress = 2000;

double reference_frequency(const TransientProblem& problem, std::vector<std::string>& warnings) {
  const Drive& drive = problem.drive;
  if (!drive.at) fail("No excitation was given.");
  if (problem.times.empty()) fail("No time samples were given.");
  if (!std::isfinite(problem.amplitude) || !std::isfinite(drive.delay)) {
    fail("The element's amplitude and time delay must be finite.");
  }
  const bool known = drive.frequency > 1e-10 && std::isfinite(drive.frequency);
  return known ? drive.frequency : frequency_or_default(problem.fluid.f0, warnings);
}

/// The samples of a waveform, in the retarded phase theta = omega (t - z / c).
struct TimeWindow {
  double dtheta = 0;   ///< spacing
  double start = 0;    ///< phase of the first sample
  double samples = 0;  ///< 0 when nothing can be heard; may be more than could be stored
};

/// The phase of the last sample that can be asked for, by the latest time and the shallowest point.
/// The delay of the wave from the rim, for the point where it is longest, goes to `edge_delay`.
double last_phase(const TransientProblem& problem, const Plan& plan, double& edge_delay) {
  double latest_time = -std::numeric_limits<double>::infinity();
  for (const double t : problem.times) {
    if (t > latest_time && std::isfinite(t)) latest_time = t;
  }
  double latest = -std::numeric_limits<double>::infinity();
  edge_delay = 0.0;
  for (const ReceiverSample& receiver : plan.receivers) {
    latest = std::max(latest, latest_time - problem.points[receiver.point].z / plan.sound_speed);
    const double path = plan.beam.effective_radius() * (1.0 + receiver.radius);
    edge_delay = std::max(
        edge_delay, 0.5 * plan.wavenumber * path * path / (receiver.sigma * plan.beam.length()));
  }
  edge_delay = std::min(edge_delay, kMostEdgePeriods * kTwoPi);
  return plan.omega() * latest;
}

TimeWindow choose_window(const TransientProblem& problem, const Plan& plan,
                         std::vector<std::string>& warnings) {
  const Drive& drive = problem.drive;
  const Parameters& parameters = problem.parameters;
  const double per_period =
      in_range_or_default(parameters.samples_per_period, 20.0f, 2000.0f, kDefaultSamplesPerPeriod,
                          "the number of time samples per period", warnings);
  const double guard =
      kTwoPi * in_range_or_default(parameters.guard_periods, 0.5f, 100.0f, kDefaultGuardPeriods,
                                   "the guard, in periods,", warnings);
  const double omega = plan.omega();
  TimeWindow window;
  window.dtheta = kTwoPi / per_period;
  if (drive.sampling_interval > 0.0) {
    window.dtheta = std::min(window.dtheta, omega * drive.sampling_interval);
  }
  const double delayed = omega * drive.delay;
  window.start = delayed - plan.beam.focusing() - guard;
  // Diffraction is causal, but crests overtake what came before them: for a while after the last
  // sample asked for, the wave must be there.
  double edge_delay = 0.0;
  double end = last_phase(problem, plan, edge_delay) + kMaxCrestAdvance;
  if (std::isfinite(drive.duration)) {
    end = std::min(end, delayed + omega * drive.duration + edge_delay + guard);
  }
  const double samples = std::ceil((end - window.start) / window.dtheta) + 1.0;
  window.samples = samples > 4.0 ? samples : 0.0;
  return window;
}

/// Adds the four planes and four radii of one receiver into a single waveform, then samples it at
/// the times asked for.
class TraceReader {
 public:
  TraceReader(const TransientProblem& problem, const Plan& plan, const TimeWindow& window)
      : _problem(problem),
        _plan(plan),
        _window(window),
        _waveform(static_cast<Index>(window.samples)) {}

  void read(const ReceiverSample& receiver, const WaveBeam& beam,
            const std::array<Buffer<float>, 4>& planes, double pressure, float* trace) {
    interpolate(receiver, beam, planes);
    const double retard = _problem.points[receiver.point].z / _plan.sound_speed;
    const double nodes[4] = {-1.0, 0.0, 1.0, 2.0};
    for (const double time : _problem.times) {
      const double theta = _plan.omega() * (time - retard);
      const double at = (theta - _window.start) / _window.dtheta;
      float& value = *trace++;
      if (!(at >= 1.0 && at < _window.samples - 2.0)) continue;  // also for NaN
      const auto base = static_cast<Index>(at);
      double weight[4];
      lagrange_weights(nodes, at - static_cast<double>(base), weight);
      double sum = 0.0;
      for (int k = 0; k < 4; ++k) sum += weight[k] * _waveform[base - 1 + k];
      value = static_cast<float>(pressure * sum);
    }
  }

 private:
  void interpolate(const ReceiverSample& receiver, const WaveBeam& beam,
                   const std::array<Buffer<float>, 4>& planes) {
    double depth_weight[4];
    lagrange_weights(&_plan.planes[receiver.base], receiver.sigma, depth_weight);
    const RadialStencil radial(receiver.radius, _plan.grid);
    std::fill(_waveform.begin(), _waveform.end(), 0.0);
    for (std::size_t i = 0; i < 4; ++i) {
      for (int k = 0; k < 4; ++k) {
        const float* node = planes[(receiver.base + i) % 4].data() + beam.wave_of(radial.node[k]);
        const double weight = depth_weight[i] * radial.weight[k];
        for (Index s = 0; s < _waveform.size(); ++s) {
          _waveform[s] += weight * node[s * WaveBeam::kBlock];
        }
      }
    }
  }

  const TransientProblem& _problem;
  const Plan& _plan;
  const TimeWindow& _window;
  Buffer<double> _waveform;
};

/// The march of waveforms, for the driver.
class PulseMarch {
 public:
  using Problem = TransientProblem;
  using Result = TransientResult;
  static constexpr const char* kLighterResult = "fewer points or times";
  static constexpr const char* kLighterMarch =
      "a larger radial step, a smaller domain radius, fewer samples per period, times or points";
  static double amplitude(const TransientProblem& problem) { return problem.amplitude; }
  static std::size_t values(const TransientProblem& problem) {
    return problem.points.size() * problem.times.size();
  }

  PulseMarch(const TransientProblem& problem, TransientResult& result)
      : _problem(problem),
        _plan(make_plan(problem, reference_frequency(problem, result.warnings), result.warnings)) {
    if (_plan.receivers.empty()) return;
    _window = choose_window(problem, _plan, result.warnings);
    if (_window.samples == 0.0) return;
    const RadialGrid& grid = _plan.grid;
    _threads = Workers::useful(problem.threads, WaveBeam::tasks(grid));
    // Peak memory is at the end: the source waveform (smaller) is freed before the last four planes
    // are allocated, so it is not added.
    const double last_planes = 4.0 * sizeof(float) * _window.samples * (grid.nodes + 16.0);
    const double waveform = sizeof(double) * _window.samples;
    const double traces = sizeof(float) * static_cast<double>(problem.points.size()) *
                          static_cast<double>(problem.times.size());
    result.cost = {static_cast<long>(_plan.planes.size()), grid.nodes,
                   static_cast<long>(std::min(_window.samples, 1e15)),
                   WaveBeam::storage(grid, _window.samples, _plan.alpha > 0.0, _threads) +
                       last_planes + waveform + _plan.storage() + traces,
                   UnknownKind::time_sample};
  }

  const Plan& plan() const { return _plan; }
  bool silent() const { return _window.samples == 0.0 || _plan.density == 0.0; }

  bool start() {
    const Equation equation{0.25 / _plan.beam.gain(), _plan.absorption(), 0.0};
    const WaveBeam::Options options{true, _plan.smoothing_half_steps(), _plan.leading_loss()};
    _beam.emplace(equation, _plan.grid, static_cast<Index>(_window.samples), _window.dtheta,
                  options);
    const double peak = fill_source_plane();
    if (peak == 0.0) return false;
    // The drive's peak is known only now; nonlinearity scales with it.
    const double amplitude = std::fabs(_problem.amplitude);
    const double nonlinearity = _plan.nonlinearity(amplitude, peak);
    if (!std::isfinite(nonlinearity)) fail("The drive is not finite.");
    _beam->set_nonlinearity(nonlinearity);
    _source_pressure = _plan.density * _plan.sound_speed * amplitude * peak;
    _workers.emplace(_threads);
    _traces.emplace(_problem, _plan, _window);
    return true;
  }
  bool advance(double ds) { return _beam->advance(ds, *_workers); }
  void keep(std::size_t plane) { _planes[plane % 4] = _beam->waves(); }
  void read(const ReceiverSample& receiver, TransientResult& result) {
    _traces->read(receiver, *_beam, _planes, _source_pressure * receiver.factor,
                  result.pressure.data() + receiver.point * _problem.times.size());
  }
  void finish(TransientResult&) const {}

 private:
  /// Fills the source plane, normalised by the largest |drive| met, which is returned. The sign of
  /// the amplitude goes with it: a wave and its negative steepen differently.
  double fill_source_plane() {
    const RadialGrid& grid = _plan.grid;
    const double focusing = _plan.beam.focusing();
    const double omega = _plan.omega();
    const auto drive = [&](double theta) {
      return _problem.drive.at(theta / omega - _problem.drive.delay);
    };
    const int driven = std::min(grid.per_radius + 1, grid.nodes);
    Buffer<double> plane(_beam->samples() * driven);
    double peak = 0.0;
    Index evaluated = 0;
    for (Index i = 0; i < _beam->samples(); ++i) {
      // A sampled drive, looked up for every radius, can take long.
      if (evaluated >= kEvaluationsBetweenProgress) {
        report_progress(_problem, 0.0);
        evaluated = 0;
      }
      evaluated += focusing == 0.0 ? 1 : driven;
      const double theta = _window.start + static_cast<double>(i) * _window.dtheta;
      const double uniform = focusing == 0.0 ? drive(theta) : 0.0;
      for (int j = 0; j < driven; ++j) {
        const double xi = j * grid.step();
        const double value = focusing == 0.0 ? uniform : drive(theta + focusing * xi * xi);
        if (!std::isfinite(value)) fail("The excitation is not finite.");
        peak = std::max(peak, std::fabs(value));
        plane[i * driven + j] = rim_fraction(j, grid.per_radius) * value;
      }
    }
    if (peak == 0.0) return peak;
    const double scale = std::copysign(1.0, _problem.amplitude) / peak;
    for (int j = 0; j < driven; ++j) {
      float* wave = _beam->waves().data() + _beam->wave_of(j);
      for (Index i = 0; i < _beam->samples(); ++i) {
        wave[i * WaveBeam::kBlock] = static_cast<float>(scale * plane[i * driven + j]);
      }
    }
    return peak;
  }

  const TransientProblem& _problem;
  Plan _plan;
  TimeWindow _window;
  int _threads = 1;
  double _source_pressure = 0.0;
  std::optional<WaveBeam> _beam;
  std::optional<Workers> _workers;
  std::optional<TraceReader> _traces;
  std::array<Buffer<float>, 4> _planes;
};

}  // namespace

TransientResult march_transient(const TransientProblem& problem) {
  TransientResult result;
  run<PulseMarch>(problem, result);
  return result;
}

Cost estimate_transient(const TransientProblem& problem) { return estimate<PulseMarch>(problem); }

}  // namespace kestrel::kzk
