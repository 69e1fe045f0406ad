#include "methods/kzk/element_methods.h"

#include <cmath>
#include <new>

#include "excitation/excitation_function.h"
#include "methods/common/wave_constants.h"
#include "services/services.h"

namespace kestrel::detail {

namespace {

void fill_problem(kzk::Problem& problem, const Transducer& element, const kzk::Aperture& aperture,
                  std::span<const kzk::Point> points) {
  const Medium& medium = *element.medium();
  problem.aperture = aperture;
  problem.fluid = {medium._f0, medium._soundspeed, medium._rho_density, medium._beta,
                   medium._dBcmMHz};
  if (const NumericalIntegration* rule = element.integral()) {
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
int superpose(Transducer& element, const March& march, const Add& add) {
  if (is_negligible(element.get_amplitude())) return kSuccess;
  try {
    const std::vector<kzk::Point> points = kzk_points(element);
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

std::vector<kzk::Point> kzk_points(Transducer& element) {
  const CoordinateGrid& grid = *element.global_coordinate_grid();
  element.InitializeRotationMatrix();
  std::vector<kzk::Point> points(static_cast<std::size_t>(grid.npoints()));
  grid.for_each_point([&](int i, const CartesianCoordinate& point) {
    const CartesianCoordinate p = element.rotateTranslate(point);
    points[static_cast<std::size_t>(i)] = {std::sqrt(p.x * p.x + p.y * p.y), p.z};
  });
  return points;
}

std::vector<double> kzk_times(const Transducer& element) {
  const TimeSamples& axis = *element.time_vector();
  return table_of(axis.nt(), [&](int i) { return axis.time_index_value(i); });
}

kzk::CwProblem kzk_cw_problem(const Transducer& element, const kzk::Aperture& aperture,
                              std::span<const kzk::Point> points) {
  kzk::CwProblem problem;
  fill_problem(problem, element, aperture, points);
  problem.weight = element.get_complex_weight();
  return problem;
}

kzk::TransientProblem kzk_transient_problem(const Transducer& element,
                                            const kzk::Aperture& aperture,
                                            std::span<const kzk::Point> points,
                                            std::span<const double> times) {
  const ExcitationFunction* excitation = element._excitation_function;
  kzk::TransientProblem problem;
  fill_problem(problem, element, aperture, points);
  problem.amplitude = element.get_amplitude();
  problem.drive.at = [excitation](double t) { return excitation->exact_at(t); };
  problem.drive.frequency = excitation->mean_frequency();
  if (excitation->get_pulse_width() > 0) problem.drive.duration = excitation->get_pulse_width();
  problem.drive.sampling_interval = excitation->sampling_interval();
  problem.drive.delay = element.get_time_delay();
  problem.times = times;
  return problem;
}

int superpose_kzk_cw(Transducer& element, const kzk::Aperture& aperture) {
  if (element.medium() == nullptr || element.global_coordinate_grid() == nullptr ||
      element.real_pressure_plane() == nullptr) {
    return kMisuse;
  }
  return superpose(
      element,
      [&](std::span<const kzk::Point> points) {
        return kzk::march_cw(kzk_cw_problem(element, aperture, points));
      },
      [&](std::size_t i, const kzk::CwResult& result) {
        element.superpose_complex_pressure(static_cast<int>(i), result.pressure[i]);
      });
}

int superpose_kzk_transient(Transducer& element, const kzk::Aperture& aperture) {
  if (element.medium() == nullptr || element.global_coordinate_grid() == nullptr ||
      element._excitation_function == nullptr || element.time_vector() == nullptr ||
      element.transient_pressure() == nullptr) {
    return kMisuse;
  }
  std::vector<double> times;
  return superpose(
      element,
      [&](std::span<const kzk::Point> points) {
        times = kzk_times(element);
        return kzk::march_transient(kzk_transient_problem(element, aperture, points, times));
      },
      [&](std::size_t i, const kzk::TransientResult& result) {
        element.superpose_transient_pressure(static_cast<int>(i),
                                             result.pressure.data() + i * times.size());
      });
}

}  // namespace kestrel::detail
