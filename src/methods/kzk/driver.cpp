#include "methods/kzk/driver.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "numerics/interruption.h"

namespace kestrel::kzk {

namespace {

constexpr double two_pi = 6.28318530717958647692;

/// Points shallower than this (in lengths) lie in the near zone, where the parabolic equation has
/// no wide-angle accuracy to protect.
constexpr double near_zone = 0.2;

double resolved_sound_speed(double c, std::vector<std::string>& warnings) {
  if (c > 1e-10) return c;
  warnings.emplace_back("Sound speed not set; using default of 1500 m/s to calculate wavenumber.");
  return 1500.0;
}

double resolved_attenuation(double attenuation, std::vector<std::string>& warnings) {
  if (attenuation >= 0.0) return attenuation;
  warnings.emplace_back("Attenuation is negative or not a number; using none.");
  return 0.0;
}

double resolved_beta(double beta, std::vector<std::string>& warnings) {
  if (beta >= 0.0) return beta;
  warnings.emplace_back(
      "Nonlinearity parameter is negative or not a number; computing the linear beam.");
  return 0.0;
}

void warn_of_limits(const Plan& plan, std::vector<std::string>& warnings) {
  if (plan.wavenumber * plan.beam.effective_radius() < 10.0)
    warnings.emplace_back(
        "The source is small against the wavelength (ka below 10); the parabolic equation is "
        "inaccurate there.");
  if (plan.beam.half_angle() > 25.5 * two_pi / 360.0)
    warnings.emplace_back(
        "The shell's half angle exceeds 25 degrees; the parabolic equation is inaccurate there.");
}

}  // namespace

void check_storage(double bytes, const char* what, const char* remedy) {
  if (bytes <= most_bytes) return;
  constexpr double gib = 1024.0 * 1024.0 * 1024.0;
  char text[300];
  std::snprintf(text, sizeof text,
                "%s needs %.3g GiB of storage, more than the %g GiB it may take; %s need less.",
                what, bytes / gib, most_bytes / gib, remedy);
  throw Refusal{Code::out_of_memory, text};
}

double asked_or(double value, double low, double high, double fallback, const char* what,
                std::vector<std::string>& warnings) {
  if (!(value > 0)) return fallback;
  if (value >= low && value <= high) return value;
  char text[200];
  std::snprintf(text, sizeof text,
                "KZK parameter out of range: %s must lie between %g and %g; using the default, "
                "%.4g.",
                what, low, high, fallback);
  warnings.emplace_back(text);
  return fallback;
}

double frequency_or_default(double f0, std::vector<std::string>& warnings) {
  if (f0 > 1e-10) return f0;
  warnings.emplace_back("f0 not set; using default of 1 MHz to calculate wavelength.");
  return 1e6;
}

// Calibrated on one 2.4 GHz processor core with AVX2: pistons to 1 and 4 Rayleigh distances, shells
// of gain 6 and 16, linear to 1.5 MPa at the source, 1 to 120 harmonics, 30 and 100 samples a
// period. Samples took 2.6 to 7.1 ns an update, absorption included. Harmonics are solved in packs
// of eight and took 12 to 37 ns each; where a strong shock fills more than 30 of them, up to 130
// ns. Two threads took 0.7 of the time for harmonics, 0.9 for samples.
double estimated_seconds(const Cost& cost, int threads) {
  const double places = static_cast<double>(cost.planes) * static_cast<double>(cost.nodes);
  const bool pulse = cost.unknown == Unknown::time_sample;
  const double each = pulse ? 4.2e-9 * static_cast<double>(cost.unknowns)
                            : 19e-9 * static_cast<double>((cost.unknowns + 7) / 8 * 8);
  const double single = pulse ? 0.8 : 0.4;  // share of the work that one thread does alone
  return places * each * (single + (1.0 - single) / std::max(1, threads));
}

int Plan::smoothing_half_steps() const {
  return static_cast<int>(std::ceil(20.0 / step_factor - 1e-6));
}

std::vector<double> axial_planes(const StepLaw& law, double deepest) {
  const double first = law.gain * law.radial_step * law.radial_step;
  double cap = 0.02;
  if (law.focused) cap = std::min(cap, 0.1 / law.gain);
  if (law.widest > 0.0) cap = std::min(cap, 0.8 * law.gain / (law.widest * law.widest));
  if (deepest / (cap * law.factor) > most_planes)
    throw Refusal{Code::failed, "The observation points are too far away for the axial step."};

  std::vector<double> planes{0.0};
  double last = 0.0;
  int beyond = 0;
  while (beyond < 2 || planes.size() < 4) {
    const double sigma = planes.back();
    double step = std::min(std::max(first, 0.25 * sigma * sigma / law.gain), cap) * law.factor;
    if (last > 0.0) step = std::min(step, 1.3 * last);
    last = step;
    planes.push_back(sigma + step);
    if (planes.back() > deepest) ++beyond;
  }
  return planes;
}

Plan make_plan(const Problem& problem, double frequency, std::vector<std::string>& warnings) {
  const Fluid& fluid = problem.fluid;
  const Parameters& parameters = problem.parameters;
  const bool own_reference = frequency > 0.0;
  if (!own_reference) frequency = frequency_or_default(fluid.f0, warnings);
  const double attenuated = own_reference ? frequency : fluid.f0;
  const double c = resolved_sound_speed(fluid.sound_speed, warnings);
  const double k = two_pi * frequency / c;
  const Aperture& aperture = problem.aperture;
  const Beam beam = aperture.curvature == 0.0 ? Beam::piston(aperture.radius, k)
                                              : Beam::shell(aperture.radius, aperture.curvature, k);
  if (!beam.valid())
    throw Refusal{Code::failed,
                  "The radius must be positive and no larger than the radius of curvature."};
  Plan plan{beam,
            k,
            c,
            fluid.density,
            0.0,
            resolved_beta(fluid.beta, warnings),
            {},
            1.0,
            problem.true_depth,
            {},
            {}};
  if (!(fluid.density >= 0.0) || !std::isfinite(fluid.density) || !std::isfinite(plan.beta))
    throw Refusal{Code::failed, "The density and the nonlinearity parameter must be finite."};
  const double slope = resolved_attenuation(fluid.attenuation, warnings);
  plan.alpha = attenuated > 0.0 ? slope * 100.0 * (attenuated / 1e6) / 8.685889638065037 : 0.0;
  if (!std::isfinite(plan.alpha)) throw Refusal{Code::failed, "The attenuation must be finite."};
  warn_of_limits(plan, warnings);

  double widest = 0.0, outermost = 0.0, deepest = 0.0;
  check_storage(sizeof(Reader) * static_cast<double>(problem.points.size()), "The list of points",
                "fewer points");
  plan.readers.reserve(problem.points.size());
  for (std::size_t i = 0; i < problem.points.size(); ++i) {
    if (i % 4096 == 0 && interruption_asked()) throw Refusal{Code::cancelled, "Cancelled."};
    const Point& point = problem.points[i];
    if (!beam.reaches(point)) continue;
    const Beam::Reading at = problem.true_depth ? beam.reading(point) : Beam::Reading{point.z, 1.0};
    const Reader reader{i, at.depth / beam.length(), at.factor, point.r / beam.effective_radius(),
                        0};
    plan.readers.push_back(reader);
    deepest = std::max(deepest, reader.sigma);
    outermost = std::max(outermost, reader.radius);
    if (reader.sigma > near_zone) widest = std::max(widest, point.r / std::hypot(point.r, point.z));
  }
  if (plan.readers.empty()) return plan;
  widest = std::min(30.0, widest * k * beam.effective_radius());

  const double gain = beam.gain();
  const double finest = beam.focused() ? std::min(0.02, 0.1 / gain) : 0.02;
  const double spread = beam.focused()
                            ? std::max(2.0, 0.7 + 1.3 * (deepest - 1.0)) + 2.5 * deepest / gain
                            : 3.0 + 1.7 * deepest;
  plan.step_factor =
      asked_or(parameters.step_factor, 0.05f, 4.0f, 1.0, "the axial step factor", warnings);
  const double step =
      asked_or(parameters.radial_step, 0.0005f, 0.1f, 1.0 / std::ceil(1.0 / finest - 1e-9),
               "the radial step, in source radii,", warnings);
  const double radius =
      asked_or(parameters.domain_radius, 1.5f, 100.0f, std::max(spread, 1.4 * outermost),
               "the domain radius, in source radii,", warnings);
  const double per_radius = std::round(1.0 / step);
  const double nodes = std::ceil(radius * per_radius) + 1.0;
  // Long before the nodes overflow an int, one plane alone exceeds the storage limit.
  check_storage(nodes * sizeof(double), "One plane of the march alone",
                "a larger radial step, a smaller domain radius or points less far off");
  plan.grid = {static_cast<int>(per_radius), static_cast<int>(nodes)};
  if (outermost > plan.grid.radius())
    warnings.emplace_back("Some points lie outside the KZK domain radius; they receive nothing.");

  plan.planes =
      axial_planes({gain, beam.focused(), plan.grid.step(), plan.step_factor, widest}, deepest);
  std::sort(plan.readers.begin(), plan.readers.end(), [](const Reader& a, const Reader& b) {
    return a.sigma != b.sigma ? a.sigma < b.sigma : a.point < b.point;
  });
  std::size_t interval = 0;
  for (Reader& reader : plan.readers) {
    while (plan.planes[interval + 1] <= reader.sigma) ++interval;
    reader.base = interval == 0 ? 0 : interval - 1;
  }
  return plan;
}

}  // namespace kestrel::kzk
