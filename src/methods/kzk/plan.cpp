#include "methods/kzk/plan.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numbers>

#include "methods/common/wave_constants.h"
#include "numerics/interruption.h"

namespace kestrel::kzk {

namespace {

constexpr double kTwoPi = 2.0 * std::numbers::pi;

/// Points shallower than this (in lengths) lie in the near zone, where the parabolic equation has
/// no wide-angle accuracy to protect.
constexpr double kNearZone = 0.2;

/// `value` if it is at least 0, else 0 with a warning.
double not_negative(double value, const char* warning, std::vector<std::string>& warnings) {
  if (value >= 0.0) return value;
  warnings.emplace_back(warning);
  return 0.0;
}

double resolved_sound_speed(double c, std::vector<std::string>& warnings) {
  if (c > 1e-10) return c;
  warnings.emplace_back("Sound speed not set; using default of 1500 m/s to calculate wavenumber.");
  return 1500.0;
}

void warn_of_limits(const Plan& plan, std::vector<std::string>& warnings) {
  if (plan.wavenumber * plan.beam.effective_radius() < 10.0) {
    warnings.emplace_back(
        "The source is small against the wavelength (ka below 10); the parabolic equation is "
        "inaccurate there.");
  }
  const double degrees = plan.beam.half_angle() * 360.0 / kTwoPi;
  if (degrees > 25.5) {
    char text[200];
    std::snprintf(
        text, sizeof text,
        "The shell's half angle is %.1f degrees; above 25 the parabolic equation errs off "
        "the axis, before the focus by 7 to 12 %% of the axial peak and more.",
        degrees);
    warnings.emplace_back(text);
  }
}

/// The source and the constants of the fluid, at the reference frequency.
Plan resolve_constants(const Problem& problem, double frequency,
                       std::vector<std::string>& warnings) {
  const Fluid& fluid = problem.fluid;
  const Aperture& aperture = problem.aperture;
  const bool own_reference = frequency > 0.0;
  if (!own_reference) frequency = frequency_or_default(fluid.f0, warnings);
  const double attenuated = own_reference ? frequency : fluid.f0;
  const double c = resolved_sound_speed(fluid.sound_speed, warnings);
  const double k = kTwoPi * frequency / c;
  const Beam beam = aperture.curvature == 0.0 ? Beam::piston(aperture.radius, k)
                                              : Beam::shell(aperture.radius, aperture.curvature, k);
  if (!beam.valid())
    fail("The radius must be positive and no larger than the radius of curvature.");
  const double beta = not_negative(
      fluid.beta, "Nonlinearity parameter is negative or not a number; computing the linear beam.",
      warnings);
  if (!(fluid.density >= 0.0) || !std::isfinite(fluid.density) || !std::isfinite(beta)) {
    fail("The density and the nonlinearity parameter must be finite.");
  }
  const double slope = not_negative(
      fluid.attenuation, "Attenuation is negative or not a number; using none.", warnings);
  const double alpha =
      attenuated > 0.0 ? slope * 100.0 * (attenuated / 1e6) / detail::kDecibelsPerNeper : 0.0;
  if (!std::isfinite(alpha)) fail("The attenuation must be finite.");
  return {beam, k, c, fluid.density, alpha, beta, problem.true_depth};
}

/// How far the observation points reach.
struct ObservedRegion {
  double deepest = 0.0;    ///< sigma
  double outermost = 0.0;  ///< in effective radii
  double widest = 0.0;     ///< sine of the widest observation angle beyond the near zone
};

/// Places the points that the element insonifies.
ObservedRegion place_receivers(const Problem& problem, Plan& plan) {
  const Beam& beam = plan.beam;
  check_storage(sizeof(ReceiverSample) * static_cast<double>(problem.points.size()),
                "The list of points", "fewer points");
  plan.receivers.reserve(problem.points.size());
  ObservedRegion region;
  for (std::size_t i = 0; i < problem.points.size(); ++i) {
    if (i % 4096 == 0 && interruption_asked()) fail(ErrorKind::cancelled, "Cancelled.");
    const Point& point = problem.points[i];
    if (!beam.insonifies(point)) continue;
    const Beam::DepthCorrection at =
        plan.true_depth ? beam.corrected_depth(point) : Beam::DepthCorrection{point.z, 1.0};
    const ReceiverSample receiver{i, at.depth / beam.length(), at.factor,
                                  point.r / beam.effective_radius(), 0};
    plan.receivers.push_back(receiver);
    region.deepest = std::max(region.deepest, receiver.sigma);
    region.outermost = std::max(region.outermost, receiver.radius);
    if (receiver.sigma > kNearZone) {
      region.widest = std::max(region.widest, point.r / std::hypot(point.r, point.z));
    }
  }
  return region;
}

/// The radial grid that holds the beam and the receivers, and the axial step factor.
void choose_grid(const Parameters& parameters, const ObservedRegion& region, Plan& plan,
                 std::vector<std::string>& warnings) {
  const bool focused = plan.beam.focused();
  const double gain = plan.beam.gain();
  const double finest = focused ? std::min(0.02, 0.1 / gain) : 0.02;
  const double spread =
      focused ? std::max(2.0, 0.7 + 1.3 * (region.deepest - 1.0)) + 2.5 * region.deepest / gain
              : 3.0 + 1.7 * region.deepest;
  plan.step_factor = in_range_or_default(parameters.step_factor, 0.05f, 4.0f, 1.0,
                                         "the axial step factor", warnings);
  const double step = in_range_or_default(parameters.radial_step, 0.0005f, 0.1f,
                                          1.0 / std::ceil(1.0 / finest - 1e-9),
                                          "the radial step, in source radii,", warnings);
  const double radius = in_range_or_default(parameters.domain_radius, 1.5f, 100.0f,
                                            std::max(spread, 1.4 * region.outermost),
                                            "the domain radius, in source radii,", warnings);
  const double per_radius = std::round(1.0 / step);
  const double nodes = std::ceil(radius * per_radius) + 1.0;
  // Long before the nodes overflow an int, one plane alone exceeds the storage limit.
  check_storage(nodes * sizeof(double), "One plane of the march alone",
                "a larger radial step, a smaller domain radius or points less far off");
  plan.grid = {static_cast<int>(per_radius), static_cast<int>(nodes)};
  if (region.outermost > plan.grid.radius()) {
    warnings.emplace_back("Some points lie outside the KZK domain radius; they receive nothing.");
  }
}

/// The planes from 0 to the first one beyond the interval that contains the deepest receiver; at
/// least four.
std::vector<double> axial_planes(const Plan& plan, const ObservedRegion& region) {
  const double gain = plan.beam.gain();
  const double radial_step = plan.grid.step();
  // Transverse wavenumber, times the effective radius, of the widest observation angle.
  const double widest =
      std::min(30.0, region.widest * plan.wavenumber * plan.beam.effective_radius());
  const double first = gain * radial_step * radial_step;
  double cap = 0.02;
  if (plan.beam.focused()) cap = std::min(cap, 0.1 / gain);
  if (widest > 0.0) cap = std::min(cap, 0.8 * gain / (widest * widest));
  if (region.deepest / (cap * plan.step_factor) > kMostPlanes) {
    fail("The observation points are too far away for the axial step.");
  }

  std::vector<double> planes{0.0};
  double last = 0.0;
  int beyond = 0;
  while (beyond < 2 || planes.size() < 4) {
    const double sigma = planes.back();
    double step = std::min(std::max(first, 0.25 * sigma * sigma / gain), cap) * plan.step_factor;
    if (last > 0.0) step = std::min(step, 1.3 * last);
    last = step;
    planes.push_back(sigma + step);
    if (planes.back() > region.deepest) ++beyond;
  }
  return planes;
}

/// Sorts the receivers by depth and finds the four planes around each.
void assign_planes(Plan& plan) {
  std::sort(plan.receivers.begin(), plan.receivers.end(),
            [](const ReceiverSample& a, const ReceiverSample& b) {
              return a.sigma != b.sigma ? a.sigma < b.sigma : a.point < b.point;
            });
  std::size_t interval = 0;
  for (ReceiverSample& receiver : plan.receivers) {
    while (plan.planes[interval + 1] <= receiver.sigma) ++interval;
    receiver.base = interval == 0 ? 0 : interval - 1;
  }
}

}  // namespace

void check_storage(double bytes, const char* what, const char* remedy) {
  if (bytes <= kMostBytes) return;
  constexpr double kGiB = 1024.0 * 1024.0 * 1024.0;
  fail(ErrorKind::out_of_memory,
       "%s needs %.3g GiB of storage, more than the %g GiB it may take; %s need less.", what,
       bytes / kGiB, kMostBytes / kGiB, remedy);
}

double in_range_or_default(double value, double low, double high, double fallback, const char* what,
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
  return detail::kDefaultFrequency;
}

int Plan::smoothing_half_steps() const {
  return static_cast<int>(std::ceil(20.0 / step_factor - 1e-6));
}

Plan make_plan(const Problem& problem, double frequency, std::vector<std::string>& warnings) {
  Plan plan = resolve_constants(problem, frequency, warnings);
  warn_of_limits(plan, warnings);
  const ObservedRegion region = place_receivers(problem, plan);
  if (plan.receivers.empty()) return plan;
  choose_grid(problem.parameters, region, plan, warnings);
  plan.planes = axial_planes(plan, region);
  assign_planes(plan);
  return plan;
}

}  // namespace kestrel::kzk
