#include "validation/kzk_checks.h"

#include <algorithm>
#include <cmath>

#include "methods/kzk/burgers_step.h"
#include "methods/kzk/compat.h"
#include "methods/kzk/nonlinear_step.h"
#include "methods/kzk/wave_beam.h"
#include "validation/reference/nonlinear.h"

namespace kestrel::checks {

using kzk::Point;

namespace {

using reference::kPi;
constexpr double density = 1000;
constexpr double sound_speed = 1500;

reference::Source source_of(const kzk::Problem& problem) {
  return {problem.aperture.radius, problem.aperture.curvature};
}

double source_pressure(const kzk::CwProblem& problem) {
  return problem.fluid.density * problem.fluid.sound_speed * std::abs(problem.weight);
}

/// Np/m and Hz.
double attenuation(const kzk::Problem& problem) {
  return problem.fluid.attenuation * 100 / 1e6 * std::log(10.0) / 20;
}

/// Harmonics 1 .. harmonics of one node after a plane wave's way to `sigma`, sin at the source.
std::vector<double> marched_plane_wave(double sigma, int harmonics, double goldberg,
                                       const Fault& fault) {
  std::vector<double> planes(2 * harmonics), work(10 * (harmonics + 2));
  planes[1] = -1;  // sin = Re(-j exp(j w tau))
  if (goldberg > 0)
    for (int n = 1; n <= harmonics; ++n) work[n] = n * n / goldberg;
  const int steps = static_cast<int>(std::ceil(sigma / 0.02));
  for (int i = 0; i < steps; ++i)
    if (kzk::nonlinear_step(sigma / steps, planes.data(), harmonics, 1, work.data(),
                            fault.nonlinearity))
      return {};
  std::vector<double> amplitudes;
  for (int n = 1; n <= harmonics; ++n) amplitudes.push_back(-planes[2 * n - 1]);
  return amplitudes;
}

/// Largest deviation of the first `count` harmonics; infinite when the march gave none.
template <class Exact>
double off_by(const std::vector<double>& marched, int count, const Exact& exact) {
  if (marched.empty()) return INFINITY;
  double error = 0;
  for (int n = 1; n <= count; ++n) error = std::max(error, std::fabs(marched.at(n - 1) - exact(n)));
  return error;
}

kzk::CwProblem linear(const kzk::Aperture& aperture, double wavenumber,
                      const std::vector<Point>& points) {
  kzk::CwProblem problem;
  problem.aperture = aperture;
  problem.fluid = {wavenumber * sound_speed / (2 * kPi), sound_speed, density, 0, 0};
  problem.weight = 1;
  problem.points = points;
  return problem;
}

/// In water, read at the parabolic equation's own depth.
kzk::CwProblem strong(const kzk::Aperture& aperture, double f0, double attenuation,
                      double source_pressure, const std::vector<Point>& points) {
  kzk::CwProblem problem;
  problem.aperture = aperture;
  problem.fluid = {f0, sound_speed, density, 3.5, attenuation};
  problem.weight = source_pressure / (density * sound_speed);
  problem.points = points;
  problem.true_depth = false;
  return problem;
}

}  // namespace

kzk::CwProblem linear_piston(double ka, const std::vector<Point>& points) {
  return linear({0.01, 0}, ka / 0.01, points);
}

kzk::CwProblem linear_shell(double half_angle, double gain, const std::vector<Point>& points) {
  const double curvature = 0.06;
  const double angle = half_angle * kPi / 180;
  const double rim_depth = curvature * (1 - std::cos(angle));
  // G = k a_e^2 / (2 R) = k h
  return linear({curvature * std::sin(angle), curvature}, gain / rim_depth, points);
}

kzk::CwProblem unfocused(const std::vector<Point>& points) {
  return strong({0.01, 0}, 1e6, 0.0022, 0.3e6, points);
}

kzk::CwProblem focused(const std::vector<Point>& points) {
  return strong({0.015, 0.06}, 2e6, 0.3, 0.15e6, points);
}

double wavenumber(const kzk::Problem& problem) {
  return 2 * kPi * problem.fluid.f0 / problem.fluid.sound_speed;
}

kzk::Beam beam_of(const kzk::Problem& problem) {
  return problem.aperture.curvature > 0
             ? kzk::Beam::shell(problem.aperture.radius, problem.aperture.curvature,
                                wavenumber(problem))
             : kzk::Beam::piston(problem.aperture.radius, wavenumber(problem));
}

std::vector<Point> at_depths(double length, const std::vector<double>& fractions, double r) {
  std::vector<Point> points;
  for (const double fraction : fractions) points.push_back({r, fraction * length});
  return points;
}

std::vector<double> range(double from, double to, int count) {
  std::vector<double> values;
  for (int i = 0; i < count; ++i) values.push_back(from + (to - from) * i / (count - 1));
  return values;
}

std::vector<Complex> landed_march(const kzk::CwProblem& problem, int wanted, const Fault& fault) {
  std::vector<std::string> warnings;
  kzk::Plan plan = kzk::make_plan(problem, 0, warnings);
  if (fault.axial_depth)
    for (kzk::ReceiverSample& reader : plan.receivers)
      reader.sigma =
          plan.beam.corrected_depth({0, problem.points[reader.point].z}).depth / plan.beam.length();
  std::sort(
      plan.receivers.begin(), plan.receivers.end(),
      [](const kzk::ReceiverSample& a, const kzk::ReceiverSample& b) { return a.sigma < b.sigma; });
  const double c = plan.sound_speed;
  const double omega = plan.wavenumber * c;
  const double p0 = source_pressure(problem);
  const kzk::Equation equation{
      fault.diffraction * 0.25 / plan.beam.gain(),
      fault.loss_over_depth ? plan.alpha * plan.beam.length() : plan.absorption(),
      fault.nonlinearity * plan.beam.length() * plan.beta * omega * p0 /
          (plan.density * c * c * c)};
  const int carried = equation.nonlinearity == 0         ? 1
                      : problem.parameters.harmonics > 0 ? problem.parameters.harmonics
                                                         : kzk::kDefaultHarmonics;
  kzk::HarmonicBeam beam(equation, plan.grid, carried,
                         {fault.order, true, plan.smoothing_half_steps()});
  Workers workers(1);
  beam.start(fault.focusing * plan.beam.focusing(),
             fault.loss_over_depth ? 0 : plan.leading_loss());
  std::vector<Complex> values(wanted * problem.points.size());
  double sigma = 0;
  std::size_t next = 1;
  for (const kzk::ReceiverSample& reader : plan.receivers) {
    while (sigma < reader.sigma) {
      while (plan.planes[next] <= sigma + 1e-12) ++next;
      const double to = std::min(plan.planes[next], reader.sigma);
      if (!beam.advance(to - sigma, workers)) return {};
      sigma = to;
    }
    const Point& point = problem.points[reader.point];
    const kzk::RadialStencil radial(reader.radius, plan.grid);
    for (int m = 1; m <= wanted && m <= carried; ++m) {
      Complex sum = 0;
      for (int i = 0; i < 4; ++i)
        sum += radial.weight[i] * Complex(beam.harmonic(m)[2 * radial.node[i]],
                                          beam.harmonic(m)[2 * radial.node[i] + 1]);
      const double factor = fault.inverted_factor ? 1 / reader.factor : reader.factor;
      values[(m - 1) * problem.points.size() + reader.point] =
          p0 * factor * sum *
          std::polar(1.0, m * (std::arg(problem.weight) - plan.wavenumber * point.z));
    }
  }
  return values;
}

double field_error(const kzk::CwProblem& problem, const Fault& fault) {
  const auto values =
      fault == Fault{} ? kzk::march_cw(problem).pressure : landed_march(problem, 1, fault);
  const double p0 = source_pressure(problem), k = wavenumber(problem);
  const auto source = source_of(problem);
  double error = 0, most = source.curvature > 0 ? 0 : 2;
  for (std::size_t i = 0; i < problem.points.size(); ++i) {
    const auto [r, z] = problem.points[i];
    const Complex exact =
        r == 0 ? reference::on_axis(source, k, z) : reference::rayleigh(source, k, r, z);
    error = std::max(error, std::abs(values.at(i) / p0 - exact));
    most = std::max(most, std::abs(exact));
  }
  return error / most;
}

double plane_wave_error(double sigma, int harmonics, const Fault& fault) {
  return off_by(marched_plane_wave(sigma, harmonics, 0, fault), 5,
                [&](int n) { return reference::plane_harmonic(n, sigma); });
}

double thermoviscous_error(double sigma, double goldberg, int harmonics, const Fault& fault) {
  return off_by(marched_plane_wave(sigma, harmonics, goldberg, fault), 5,
                [&](int n) { return reference::thermoviscous_harmonic(n, sigma, goldberg); });
}

double wave_step_error(double sigma, int per_period, const Fault& fault) {
  constexpr int columns = 16;
  const int periods = 5;
  const long samples = periods * per_period;
  std::vector<float> wave(samples * columns), scratch(kzk::burgers_scratch(columns));
  for (long i = 0; i < samples; ++i)
    for (int l = 0; l < columns; ++l)
      wave[i * columns + l] = static_cast<float>(std::sin(2 * kPi * i / per_period));
  const int steps = static_cast<int>(std::ceil(sigma / 0.01));
  for (int i = 0; i < steps; ++i)
    if (kzk::burgers_step<columns>(sigma / steps, fault.nonlinearity, 2 * kPi / per_period,
                                   wave.data(), samples, scratch.data()))
      return INFINITY;
  std::vector<double> amplitudes;
  for (int n = 1; n <= 3; ++n) {
    double sum = 0;
    for (int i = 0; i < per_period; ++i)
      sum += wave[(2 * per_period + i) * columns + 7] * std::sin(2 * kPi * n * i / per_period);
    amplitudes.push_back(2 * sum / per_period);
  }
  return off_by(amplitudes, 3, [&](int n) { return reference::plane_harmonic(n, sigma); });
}

double gaussian_error(const Fault& fault) {
  const double weak = 1e-3;
  const kzk::RadialGrid grid{50, 501};
  kzk::HarmonicBeam beam({0.25 * fault.diffraction, 0, weak * fault.nonlinearity}, grid, 3,
                         {fault.order, false, 0});
  for (int j = 0; j < grid.nodes; ++j) {
    const double xi = j * grid.step();
    beam.harmonic(1)[2 * j] = std::exp(-xi * xi);
  }
  Workers workers(1);
  double error = 0, most = 0;
  const int steps = 100;
  for (int i = 1; i <= steps; ++i) {
    if (!beam.advance(1.0 / steps, workers)) return INFINITY;
    for (int j = 0; j <= 3 * grid.per_radius; ++j) {
      const Complex exact =
          reference::gaussian_second_harmonic(j * grid.step(), static_cast<double>(i) / steps);
      const Complex marched(beam.harmonic(2)[2 * j], beam.harmonic(2)[2 * j + 1]);
      error = std::max(error, std::abs(marched / (0.5 * weak) - exact));
      most = std::max(most, std::abs(exact));
    }
  }
  return error / most;
}

std::vector<double> harmonic_amplitudes(kzk::CwProblem problem) {
  problem.wanted = {1, 2, 3, 4, 5};
  const auto result = kzk::march_cw(problem);
  std::vector<double> amplitudes;
  for (const Complex& value : result.pressure)
    amplitudes.push_back(std::abs(value) / source_pressure(problem));
  return amplitudes;
}

std::vector<double> burst_errors(const kzk::CwProblem& problem, double samples_per_period,
                                 int cw_harmonics, const Fault& fault) {
  kzk::CwProblem continuous = problem;
  continuous.parameters.harmonics = cw_harmonics;
  continuous.wanted = {1, 2, 3};
  const auto cw = kzk::march_cw(continuous);

  // The burst must last until the wave from the rim has joined that from the centre.
  const double f0 = problem.fluid.f0;
  const Point point = problem.points.front();
  const auto beam = beam_of(problem);
  const double depth = problem.true_depth ? beam.corrected_depth(point).depth : point.z;
  const double rim = problem.aperture.radius * problem.aperture.radius / (2 * depth) /
                     problem.fluid.sound_speed * f0;
  const double settled = std::ceil(rim) + 4;
  kzk::TransientProblem pulse;
  static_cast<kzk::Problem&>(pulse) = problem;
  pulse.fluid.beta *= fault.nonlinearity;
  pulse.parameters.samples_per_period = static_cast<float>(samples_per_period);
  pulse.amplitude = std::abs(problem.weight);
  const double duration = (settled + 5) / f0;
  const auto ramp = [](double x) {
    return x <= 0 ? 0 : x >= 1 ? 1 : 0.5 - 0.5 * std::cos(kPi * x);
  };
  pulse.drive.at = [=](double t) {
    return ramp(t * f0 / 2) * ramp((duration - t) * f0 / 2) * std::cos(2 * kPi * f0 * t);
  };
  pulse.drive.frequency = f0;
  pulse.drive.duration = duration;
  const int samples = 400;
  std::vector<double> times;
  const double from = (settled - (beam.focused() ? std::floor(beam.gain() / (2 * kPi)) : 0)) / f0 +
                      point.z / problem.fluid.sound_speed;
  for (int i = 0; i < samples; ++i) times.push_back(from + i / (f0 * samples));
  pulse.times = times;
  const auto traces = kzk::march_transient(pulse);
  std::vector<double> errors;
  for (int n = 1; n <= 3; ++n) {
    Complex sum = 0;
    for (int i = 0; i < samples; ++i)
      sum += static_cast<double>(traces.pressure.at(i)) *
             std::polar(2.0 / samples, -2 * kPi * n * f0 * times[i]);
    const Complex expected = cw.pressure.at(n - 1);
    errors.push_back(std::abs(sum - expected) / std::abs(expected));
  }
  return errors;
}

namespace {

struct Pulse {
  double frequency;
  PulseShape shape;
  double duration() const { return (shape == PulseShape::raised_cosine ? 3 : 2.5) / frequency; }
  double at(double t) const {
    if (!(t > 0 && t < duration())) return 0;
    if (shape == PulseShape::abrupt) return std::sin(2 * kPi * frequency * t);
    return 0.5 * (1 - std::cos(2 * kPi * t / duration())) * std::sin(2 * kPi * frequency * t);
  }
  /// Of the raised cosine, which has one everywhere.
  double slope(double t) const {
    if (!(t > 0 && t < duration())) return 0;
    const double w = 2 * kPi * frequency, v = 2 * kPi / duration();
    return 0.5 * (1 - std::cos(v * t)) * w * std::cos(w * t) +
           0.5 * v * std::sin(v * t) * std::sin(w * t);
  }
};

double exact_pulse(const kzk::CwProblem& problem, const Pulse& pulse, const Point& point,
                   double t) {
  const auto source = source_of(problem);
  const double c = problem.fluid.sound_speed;
  if (point.r > 0)
    return reference::rayleigh_pulse(source, c, point.r, point.z, t,
                                     [&](double at) { return pulse.slope(at); }) /
           c;
  const double z = point.z;
  if (source.curvature == 0)
    return pulse.at(t - z / c) - pulse.at(t - std::hypot(z, source.radius) / c);
  const double rim = std::sqrt(z * z + 2 * source.rim_depth() * (source.curvature - z));
  return (pulse.at(t - z / c) - pulse.at(t - rim / c)) / (1 - z / source.curvature);
}

}  // namespace

namespace {

/// Pressure over rho c, sampled at `times` for every point of `marched`.
struct Traces {
  std::vector<double> times;
  std::vector<float> values;
};

Traces marched_traces(const kzk::CwProblem& problem, const Pulse& pulse, const Fault& fault) {
  kzk::TransientProblem task;
  static_cast<kzk::Problem&>(task) = problem;
  if (fault.focusing == 0) task.aperture.curvature = 0;
  const double c = problem.fluid.sound_speed;
  task.amplitude = 1;
  task.drive = {[&](double t) { return pulse.at(t); }, pulse.frequency, pulse.duration(), 0, 0};
  Traces traces;
  for (const Point& point : problem.points) {
    const double early = beam_of(problem).focusing() / (2 * kPi) / pulse.frequency;
    const double rim = std::hypot(point.z, problem.aperture.radius + point.r) / c;
    for (double t = point.z / c - early; t < rim + 2 * pulse.duration();
         t += 0.05 / pulse.frequency)
      traces.times.push_back(t);
  }
  task.times = traces.times;
  traces.values = kzk::march_transient(task).pressure;
  for (float& value : traces.values) value /= static_cast<float>(problem.fluid.density * c);
  return traces;
}

/// On the axis at the first point, the planes landing on it.
Traces landed_traces(const kzk::CwProblem& problem, const Pulse& pulse, const Fault& fault) {
  std::vector<std::string> warnings;
  const kzk::Plan plan = kzk::make_plan(problem, 0, warnings);
  const kzk::ReceiverSample& reader = plan.receivers.front();
  const double dtheta = 2 * kPi / 100;
  const double omega = 2 * kPi * pulse.frequency;
  const double focusing = plan.beam.focusing();
  const double start = -focusing - 6 * kPi;
  const long samples = static_cast<long>((focusing + omega * pulse.duration() + 40 * kPi) / dtheta);
  kzk::WaveBeam beam({fault.diffraction * 0.25 / plan.beam.gain(), 0, 0}, plan.grid, samples,
                     dtheta, {true, plan.smoothing_half_steps()});
  for (int j = 0; j <= plan.grid.per_radius; ++j) {
    const double xi = j * plan.grid.step();
    for (long i = 0; i < samples; ++i) {
      const double theta = start + i * dtheta + fault.focusing * focusing * xi * xi;
      beam.waves()[beam.wave_of(j) + i * kzk::WaveBeam::kBlock] =
          static_cast<float>(kzk::rim_fraction(j, plan.grid.per_radius) * pulse.at(theta / omega));
    }
  }
  Workers workers(1);
  double sigma = 0;
  for (std::size_t next = 1; sigma < reader.sigma; ++next) {
    const double to = std::min(plan.planes[next], reader.sigma);
    beam.advance(to - sigma, workers);
    sigma = to;
  }
  Traces traces;
  for (long i = 0; i < samples; ++i) {
    traces.times.push_back((start + i * dtheta) / omega +
                           problem.points.front().z / problem.fluid.sound_speed);
    traces.values.push_back(static_cast<float>(reader.factor) *
                            beam.waves()[i * kzk::WaveBeam::kBlock]);
  }
  return traces;
}

}  // namespace

PulseError pulse_error(const kzk::CwProblem& problem, PulseShape shape, const Fault& fault) {
  const Pulse pulse{problem.fluid.f0, shape};
  const bool landed = fault != Fault{} && fault.focusing != 0;
  const auto [times, values] =
      landed ? landed_traces(problem, pulse, fault) : marched_traces(problem, pulse, fault);
  PulseError worst;
  for (std::size_t i = 0; i < values.size() / times.size(); ++i) {
    double peak = 0, error = 0, squares = 0;
    for (std::size_t j = 0; j < times.size(); ++j) {
      const double exact = exact_pulse(problem, pulse, problem.points[i], times[j]);
      const double off = values[i * times.size() + j] - exact;
      peak = std::max(peak, std::fabs(exact));
      error = std::max(error, std::fabs(off));
      squares += off * off;
    }
    if (!std::isfinite(squares)) return {INFINITY, INFINITY};
    worst.largest = std::max(worst.largest, error / peak);
    worst.rms = std::max(worst.rms, std::sqrt(squares / times.size()) / peak);
  }
  return worst;
}

namespace {

/// Sum of |P_n|^2 over the cross-section, with the weights under which the plain rows are
/// symmetric.
double power(const kzk::HarmonicBeam& beam) {
  double sum = 0;
  for (int n = 1; n <= beam.harmonics(); ++n)
    for (int j = 0; j < beam.grid().nodes; ++j) {
      const double* value = beam.harmonic(n) + 2 * j;
      sum += (j == 0 ? 0.125 : j) * (value[0] * value[0] + value[1] * value[1]);
    }
  return sum;
}

bool march_on(kzk::HarmonicBeam& beam) {
  Workers workers(1);
  for (int i = 0; i < 100; ++i)
    if (!beam.advance(0.01, workers)) return false;
  return true;
}

}  // namespace

double diffracted_power_error(const Fault& fault) {
  kzk::HarmonicBeam beam({0.25, 0, 0}, {50, 400}, 1,
                         {fault.order, false, fault.backward_euler ? 1000 : 0});
  beam.start(0);
  const double before = power(beam);
  return march_on(beam) ? std::fabs(power(beam) / before - 1) : INFINITY;
}

double nonlinear_power_error(double nonlinearity, const Fault& fault) {
  kzk::HarmonicBeam beam({0.25, 0, nonlinearity}, {50, 400}, 40,
                         {fault.order, false, fault.backward_euler ? 1000 : 0});
  for (int j = 0; j < 400; ++j) beam.harmonic(1)[2 * j] = std::exp(-j * j / 2500.0);
  const double before = power(beam);
  return march_on(beam) ? std::fabs(power(beam) / before - 1) : INFINITY;
}

double absorbed_field_error(const Fault& fault) {
  kzk::HarmonicBeam lossless({0.25, 0, 0}, {50, 300}, 1, {});
  kzk::HarmonicBeam lossy({0.25, 0.7 * fault.absorption, 0}, {50, 300}, 1, {});
  double error = 0;
  for (kzk::HarmonicBeam* beam : {&lossless, &lossy}) {
    beam->start(0);
    if (!march_on(*beam)) return INFINITY;
  }
  for (int i = 0; i < 600; ++i)
    error =
        std::max(error, std::fabs(lossy.harmonic(1)[i] - lossless.harmonic(1)[i] * std::exp(-0.7)));
  return error;
}

double absorbed_pulse_error(const Fault& fault) {
  const Pulse pulse{1e6, PulseShape::raised_cosine};
  const std::vector<Point> points = {{0, 0.05}};
  kzk::CwProblem problem = linear_shell(12, 6, points);
  problem.fluid.f0 = pulse.frequency;
  problem.true_depth = false;  // the depth over which the loss has acted
  const Traces lossless = marched_traces(problem, pulse, {});
  const double slope = 0.5;  // dB/(cm MHz)
  problem.fluid.attenuation = fault.absorption * slope;
  const Traces lossy = marched_traces(problem, pulse, {});
  double error = 0;
  for (const double f : {0.7e6, 1e6, 1.5e6}) {
    Complex before = 0, after = 0;
    for (std::size_t i = 0; i < lossy.times.size(); ++i) {
      const Complex turn = std::polar(1.0, -2 * kPi * f * lossy.times[i]);
      before += turn * static_cast<double>(lossless.values.at(i));
      after += turn * static_cast<double>(lossy.values.at(i));
    }
    const double decibels = slope * (f / 1e6) * (points[0].z / 0.01);
    error = std::max(error, std::abs(after / before - std::pow(10.0, -decibels / 20)));
  }
  return error;
}

double lossy_axis_error(const kzk::CwProblem& problem, const Fault& fault) {
  const double alpha = attenuation(problem) * problem.fluid.f0;
  const auto values =
      fault == Fault{} ? kzk::march_cw(problem).pressure : landed_march(problem, 1, fault);
  double error = 0;
  for (std::size_t i = 0; i < problem.points.size(); ++i) {
    const double exact = std::abs(
        reference::on_axis(source_of(problem), wavenumber(problem), problem.points[i].z, alpha));
    error =
        std::max(error, std::fabs(std::abs(values.at(i)) / source_pressure(problem) / exact - 1));
  }
  return error;
}

double lossy_pulse_error(const kzk::CwProblem& problem) {
  const Pulse pulse{problem.fluid.f0, PulseShape::raised_cosine};
  const auto [times, values] = marched_traces(problem, pulse, {});
  const double c = problem.fluid.sound_speed;
  // The spectrum of the drive up to four times its frequency, by the midpoint rule.
  const int lines = 400, instants = 300;
  const double spacing = 4 * pulse.frequency / lines, dt = pulse.duration() / instants;
  double worst = 0;
  for (std::size_t i = 0; i < problem.points.size(); ++i) {
    std::vector<Complex> spectrum(lines);
    for (int line = 1; line < lines; ++line) {
      const double f = line * spacing;
      for (int n = 0; n < instants; ++n)
        spectrum[line] += pulse.at((n + 0.5) * dt) * std::polar(dt, -2 * kPi * f * (n + 0.5) * dt);
      spectrum[line] *= reference::on_axis(source_of(problem), 2 * kPi * f / c, problem.points[i].z,
                                           attenuation(problem) * f);
    }
    double peak = 0, error = 0;
    for (std::size_t j = 0; j < times.size(); ++j) {
      double exact = 0;
      for (int line = 1; line < lines; ++line)
        exact += 2 * spacing *
                 std::real(spectrum[line] * std::polar(1.0, 2 * kPi * line * spacing * times[j]));
      peak = std::max(peak, std::fabs(exact));
      error = std::max(error, std::fabs(values[i * times.size() + j] - exact));
    }
    worst = std::max(worst, error / peak);
  }
  return worst;
}

}  // namespace kestrel::checks
