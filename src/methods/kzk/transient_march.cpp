#include "methods/kzk/transient_march.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "methods/kzk/report.h"
#include "methods/kzk/wave_beam.h"
#include "numerics/interruption.h"

namespace kestrel::kzk {

namespace {

constexpr double two_pi = 6.28318530717958647692;

/// No point waits longer than this many reference periods for the wave from the rim.
constexpr double most_edge_periods = 64.0;

/// How far ahead a crest may have run, in reference phase. Beyond one period it has met a shock.
constexpr double overtaking = two_pi;

/// A drive takes some tens of nanoseconds to microseconds.
constexpr long evaluations_between_progress = 2000;

struct WavePlan {
  Plan plan;
  double omega;
  double dtheta;
  double theta_start;
  double samples;
  int threads;
  Cost cost;
};

double traces_bytes(const TransientProblem& problem) {
  return sizeof(float) * static_cast<double>(problem.points.size()) *
         static_cast<double>(problem.times.size());
}

WavePlan make_wave_plan(const TransientProblem& problem, std::vector<std::string>& warnings) {
  const Drive& drive = problem.drive;
  if (!drive.at) throw Refusal{Code::failed, "No excitation was given."};
  if (problem.times.empty()) throw Refusal{Code::failed, "No time samples were given."};
  if (!std::isfinite(problem.amplitude) || !std::isfinite(drive.delay))
    throw Refusal{Code::failed, "The element's amplitude and time delay must be finite."};
  const bool known = drive.frequency > 1e-10 && std::isfinite(drive.frequency);
  const double reference =
      known ? drive.frequency : frequency_or_default(problem.fluid.f0, warnings);
  WavePlan wave{make_plan(problem, reference, warnings), 0, 0, 0, 0, 1, {}};
  const Plan& plan = wave.plan;
  if (plan.readers.empty()) return wave;

  const Parameters& parameters = problem.parameters;
  const double per_period =
      asked_or(parameters.samples_per_period, 20.0f, 2000.0f, default_samples_per_period,
               "the number of time samples per period", warnings);
  const double guard = two_pi * asked_or(parameters.guard_periods, 0.5f, 100.0f,
                                         default_guard_periods, "the guard, in periods,", warnings);
  wave.omega = plan.wavenumber * plan.sound_speed;
  wave.dtheta = two_pi / per_period;
  if (drive.sampling_interval > 0.0)
    wave.dtheta = std::min(wave.dtheta, wave.omega * drive.sampling_interval);

  double latest_time = -std::numeric_limits<double>::infinity();
  for (const double t : problem.times)
    if (t > latest_time && std::isfinite(t)) latest_time = t;
  double latest = -std::numeric_limits<double>::infinity();
  double edge_delay = 0.0;
  for (const Reader& reader : plan.readers) {
    latest = std::max(latest, latest_time - problem.points[reader.point].z / plan.sound_speed);
    const double path = plan.beam.effective_radius() * (1.0 + reader.radius);
    edge_delay = std::max(
        edge_delay, 0.5 * plan.wavenumber * path * path / (reader.sigma * plan.beam.length()));
  }
  edge_delay = std::min(edge_delay, most_edge_periods * two_pi);
  const double delayed = wave.omega * drive.delay;
  wave.theta_start = delayed - plan.beam.focusing() - guard;
  // Diffraction is causal, but crests overtake what came before them: for a while after the last
  // sample asked for, the wave must be there.
  double theta_end = wave.omega * latest + overtaking;
  if (std::isfinite(drive.duration))
    theta_end = std::min(theta_end, delayed + wave.omega * drive.duration + edge_delay + guard);
  wave.samples = std::ceil((theta_end - wave.theta_start) / wave.dtheta) + 1.0;
  if (!(wave.samples > 4.0)) {
    wave.samples = 0.0;
    return wave;
  }
  wave.threads = Workers::useful(problem.threads, WaveBeam::tasks(plan.grid));
  // The drive on the source plane is gone when the last planes are kept, and smaller than those.
  const double last_planes = 4.0 * sizeof(float) * wave.samples * (plan.grid.nodes + 16.0);
  const double waveform = sizeof(double) * wave.samples;
  wave.cost = {static_cast<long>(plan.planes.size()), plan.grid.nodes,
               static_cast<long>(std::min(wave.samples, 1e15)),
               WaveBeam::storage(plan.grid, wave.samples, plan.alpha > 0.0, wave.threads) +
                   last_planes + waveform + plan.storage() + traces_bytes(problem),
               Unknown::time_sample};
  return wave;
}

/// Fills the source plane, and returns the largest |drive| met, by which it is normalised. The sign
/// of the amplitude goes with it: a wave and its negative steepen differently.
double start(const TransientProblem& problem, const WavePlan& wave, WaveBeam& beam) {
  const RadialGrid& grid = wave.plan.grid;
  const double focusing = wave.plan.beam.focusing();
  const auto drive = [&](double theta) {
    return problem.drive.at(theta / wave.omega - problem.drive.delay);
  };
  const int driven = std::min(grid.per_radius + 1, grid.nodes);
  std::vector<double> plane(beam.samples() * driven);
  double peak = 0.0;
  long evaluated = 0;
  for (long i = 0; i < beam.samples(); ++i) {
    // A sampled drive, looked up for every radius, can take long.
    if (problem.progress && evaluated >= evaluations_between_progress) {
      if (!problem.progress(0.0)) throw Refusal{Code::cancelled, "Cancelled."};
      evaluated = 0;
    }
    evaluated += focusing == 0.0 ? 1 : driven;
    const double theta = wave.theta_start + i * wave.dtheta;
    const double uniform = focusing == 0.0 ? drive(theta) : 0.0;
    for (int j = 0; j < driven; ++j) {
      const double xi = j * grid.step();
      const double value = focusing == 0.0 ? uniform : drive(theta + focusing * xi * xi);
      if (!std::isfinite(value)) throw Refusal{Code::failed, "The excitation is not finite."};
      peak = std::max(peak, std::fabs(value));
      plane[i * driven + j] = rim_fraction(j, grid.per_radius) * value;
    }
  }
  const double scale = std::copysign(1.0, problem.amplitude) / peak;
  if (peak > 0.0)
    for (long i = 0; i < beam.samples(); ++i)
      for (int j = 0; j < driven; ++j)
        beam.waves()[beam.wave_of(j) + i * WaveBeam::block] =
            static_cast<float>(scale * plane[i * driven + j]);
  return peak;
}

/// Adds the four planes and four radii of one reader into a single waveform, then samples it at the
/// times asked for.
class TraceReader {
 public:
  TraceReader(const TransientProblem& problem, const WavePlan& wave)
      : _problem(problem),
        _wave(wave),
        _samples(static_cast<long>(wave.samples)),
        _waveform(_samples) {}

  void read(const Reader& reader, const WaveBeam& beam,
            const std::array<std::vector<float>, 4>& planes, double pressure, float* trace) {
    double depth_weight[4];
    lagrange_weights(&_wave.plan.planes[reader.base], reader.sigma, depth_weight);
    const RadialStencil radial(reader.radius, _wave.plan.grid);
    std::fill(_waveform.begin(), _waveform.end(), 0.0);
    for (int i = 0; i < 4; ++i) {
      for (int k = 0; k < 4; ++k) {
        const float* node = planes[(reader.base + i) % 4].data() + beam.wave_of(radial.node[k]);
        const double weight = depth_weight[i] * radial.weight[k];
        for (long s = 0; s < _samples; ++s) _waveform[s] += weight * node[s * WaveBeam::block];
      }
    }
    const double retard = _problem.points[reader.point].z / _wave.plan.sound_speed;
    const double nodes[4] = {-1.0, 0.0, 1.0, 2.0};
    for (std::size_t t = 0; t < _problem.times.size(); ++t) {
      const double theta = _wave.omega * (_problem.times[t] - retard);
      const double at = (theta - _wave.theta_start) / _wave.dtheta;
      if (!(at >= 1.0 && at < _samples - 2.0)) continue;  // also for NaN
      const auto base = static_cast<long>(at);
      double weight[4];
      lagrange_weights(nodes, at - base, weight);
      double sum = 0.0;
      for (int k = 0; k < 4; ++k) sum += weight[k] * _waveform[base - 1 + k];
      trace[t] = static_cast<float>(pressure * sum);
    }
  }

 private:
  const TransientProblem& _problem;
  const WavePlan& _wave;
  long _samples;
  std::vector<double> _waveform;
};

void march(const TransientProblem& problem, const WavePlan& wave, TransientResult& result) {
  const Plan& plan = wave.plan;
  const RadialGrid& grid = plan.grid;
  const auto samples = static_cast<long>(wave.samples);
  const double c = plan.sound_speed;
  Equation equation{0.25 / plan.beam.gain(), plan.absorption(), 0.0};
  // The drive's peak is known only when the source plane is filled; nonlinearity scales with it.
  const WaveBeam::Options options{true, plan.smoothing_half_steps(), plan.leading_loss()};
  WaveBeam beam(equation, grid, samples, wave.dtheta, options);
  const double peak = start(problem, wave, beam);
  if (peak == 0.0) return;
  const double nonlinearity =
      plan.beam.length() * plan.beta * wave.omega * std::fabs(problem.amplitude) * peak / (c * c);
  if (!std::isfinite(nonlinearity)) throw Refusal{Code::failed, "The drive is not finite."};
  beam.set_nonlinearity(nonlinearity);
  const double source_pressure = plan.density * c * std::fabs(problem.amplitude) * peak;

  Workers workers(wave.threads);
  std::array<std::vector<float>, 4> planes;
  TraceReader traces(problem, wave);
  auto reader = plan.readers.begin();
  auto upcoming = plan.readers.begin();  // first reader whose planes may not all be kept yet
  for (std::size_t plane = 0; plane < plan.planes.size(); ++plane) {
    if (plane > 0 && !beam.advance(plan.planes[plane] - plan.planes[plane - 1], workers))
      throw Refusal{Code::failed, "The nonlinear march blew up; the drive is too strong."};
    while (upcoming != plan.readers.end() && upcoming->base + 3 < plane) ++upcoming;
    if (upcoming != plan.readers.end() && upcoming->base <= plane) planes[plane % 4] = beam.waves();
    for (; reader != plan.readers.end() && reader->base + 3 == plane; ++reader) {
      if (interruption_asked()) throw Refusal{Code::cancelled, "Cancelled."};
      traces.read(*reader, beam, planes, source_pressure * reader->factor,
                  result.pressure.data() + reader->point * problem.times.size());
    }
    if (problem.progress && plane > 0 &&
        !problem.progress(static_cast<double>(plane) / (plan.planes.size() - 1)))
      throw Refusal{Code::cancelled, "Cancelled."};
  }
  for (const float value : result.pressure)
    if (!std::isfinite(value))
      throw Refusal{Code::failed, "The nonlinear march did not stay finite."};
}

}  // namespace

TransientResult march_transient(const TransientProblem& problem) {
  TransientResult result;
  report_into(result, [&] {
    check_storage(traces_bytes(problem), "The result", "fewer points or times");
    const auto silence = [&] {
      result.pressure.resize(problem.points.size() * problem.times.size());
    };
    if (std::fabs(problem.amplitude) <= gate) return silence();
    const WavePlan wave = make_wave_plan(problem, result.warnings);
    result.cost = wave.cost;
    if (wave.samples == 0.0 || wave.plan.density == 0.0) return silence();
    check_storage(wave.cost.bytes, "The march",
                  "a larger radial step, a smaller domain radius, fewer samples per period, times "
                  "or points");
    silence();
    march(problem, wave, result);
  });
  if (result.code != Code::done) result.pressure = {};
  return result;
}

Cost estimate_transient(const TransientProblem& problem) {
  Report ignored;
  Cost cost;
  report_into(ignored, [&] {
    if (!(std::fabs(problem.amplitude) <= gate))
      cost = make_wave_plan(problem, ignored.warnings).cost;
  });
  return cost;
}

}  // namespace kestrel::kzk
