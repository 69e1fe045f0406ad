#include "methods/kzk/element_methods.h"

#include <cmath>
#include <new>

#include "kestrel/excitation.h"
#include "kestrel/services.h"
#include "methods/common/wave_constants.h"
#include "methods/element_methods.h"

namespace kestrel::detail {

namespace {

void fill_problem(kzk::Problem& problem, const ElementInputs& in, const kzk::Aperture& aperture,
                  std::span<const kzk::Point> points) {
  const Medium& medium = *in.medium;
  problem.aperture = aperture;
  problem.fluid = {medium._f0, medium._soundspeed, medium._rho_density, medium._beta,
                   medium._dBcmMHz};
  if (const NumericalIntegration* rule = in.rule) {
    problem.parameters = {rule->kzk_parameter(0), rule->kzk_parameter(1), rule->kzk_parameter(2),
                          rule->kzk_parameter(3), rule->kzk_parameter(4), rule->kzk_count(0),
                          rule->kzk_count(1)};
  }
  problem.points = points;
}

/// Issues the march's warnings and answers its code.
int code_of(const kzk::Report& march) {
  for (const std::string& warning : march.warnings) services::warn(warning.c_str());
  if (!march.error) return kSuccess;
  return march.error->kind() == ErrorKind::out_of_memory ? kOutOfMemory : kMisuse;
}

/// Gives `march` the element's points, and calls add(i, result) for each of them when it is done.
template <class March, class Add>
int superpose(const ElementInputs& in, const March& march, const Add& add) {
  if (is_negligible(in.amplitude)) return kSuccess;
  try {
    const std::vector<kzk::Point> points = kzk_points(in);
    const auto result = march(points);
    const int code = code_of(result);
    if (code != kSuccess) return code;
    for (std::size_t i = 0; i < points.size(); ++i) add(i, result);
  } catch (const std::bad_alloc&) {
    return kOutOfMemory;
  }
  return kSuccess;
}

}  // namespace

std::vector<kzk::Point> kzk_points(const ElementInputs& in) {
  const CoordinateGrid& grid = *in.grid;
  std::vector<kzk::Point> points(static_cast<std::size_t>(grid.npoints()));
  grid.for_each_point([&](int i, const CartesianCoordinate& point) {
    const CartesianCoordinate p = in.to_local(point);
    points[static_cast<std::size_t>(i)] = {std::sqrt(p.x * p.x + p.y * p.y), p.z};
  });
  return points;
}

std::vector<double> kzk_times(const ElementInputs& in) {
  const TimeSamples& axis = *in.time;
  return table_of(axis.nt(), [&](int i) { return axis.time_index_value(i); });
}

kzk::CwProblem kzk_cw_problem(const ElementInputs& in, const kzk::Aperture& aperture,
                              std::span<const kzk::Point> points) {
  kzk::CwProblem problem;
  fill_problem(problem, in, aperture, points);
  problem.weight = in.weight;
  return problem;
}

kzk::TransientProblem kzk_transient_problem(const ElementInputs& in, const kzk::Aperture& aperture,
                                            std::span<const kzk::Point> points,
                                            std::span<const double> times) {
  const ExcitationFunction* excitation = in.excitation;
  kzk::TransientProblem problem;
  fill_problem(problem, in, aperture, points);
  problem.amplitude = in.amplitude;
  problem.drive.at = [excitation](double t) { return excitation->exact_at(t); };
  problem.drive.frequency = excitation->mean_frequency();
  if (excitation->get_pulse_width() > 0) problem.drive.duration = excitation->get_pulse_width();
  problem.drive.sampling_interval = excitation->sampling_interval();
  problem.drive.delay = in.time_delay;
  problem.times = times;
  return problem;
}

int superpose_kzk_cw(const ElementInputs& in, const kzk::Aperture& aperture) {
  if (in.medium == nullptr || in.grid == nullptr ||
      (in.real_plane == nullptr && in.grid->npoints() > 0)) {
    return kMisuse;
  }
  return superpose(
      in,
      [&](std::span<const kzk::Point> points) {
        return kzk::march_cw(kzk_cw_problem(in, aperture, points));
      },
      [&](std::size_t i, const kzk::CwResult& result) {
        in.add_pressure(static_cast<int>(i), result.pressure[i]);
      });
}

int superpose_kzk_transient(const ElementInputs& in, const kzk::Aperture& aperture) {
  if (in.medium == nullptr || in.grid == nullptr || in.excitation == nullptr ||
      in.time == nullptr || !in.has_traces()) {
    return kMisuse;
  }
  std::vector<double> times;
  return superpose(
      in,
      [&](std::span<const kzk::Point> points) {
        times = kzk_times(in);
        return kzk::march_transient(kzk_transient_problem(in, aperture, points, times));
      },
      [&](std::size_t i, const kzk::TransientResult& result) {
        in.add_trace(static_cast<int>(i), result.pressure.data() + i * times.size());
      });
}

int kzk_cw(const Circle& face, ElementInputs& in) { return superpose_kzk_cw(in, {face.radius, 0}); }
int kzk_cw(const Shell& face, ElementInputs& in) {
  return superpose_kzk_cw(in, {face.radius, face.rad_curvature});
}
int kzk_transient(const Circle& face, ElementInputs& in) {
  return superpose_kzk_transient(in, {face.radius, 0});
}
int kzk_transient(const Shell& face, ElementInputs& in) {
  return superpose_kzk_transient(in, {face.radius, face.rad_curvature});
}

}  // namespace kestrel::detail
