#include "fields/error_estimate.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <random>
#include <vector>

#include "fields/pointwise_field.h"

namespace kestrel::fields {

namespace {

/// Accuracy of the converged field, relative to rho c of an element.
constexpr double kConverged = 1e-9;

/// Distance to the nearest element, its extent taken off.
double nearness(std::span<const Element> elements, const CartesianCoordinate& point) {
  double nearest = std::numeric_limits<double>::infinity();
  for (const Element& e : elements) {
    nearest = std::min(nearest, e.center.calculate_distance(point) - extent(e.geometry));
  }
  return nearest;
}

/// Half at random, half near; sorted by distance, so that neighbours want like numbers of nodes.
std::vector<std::size_t> choose_points(const DirectJob& job, std::size_t samples) {
  std::vector<std::size_t> drawn = draw_points(job.points.size(), 5 * samples);
  std::mt19937_64 random(2);
  std::shuffle(drawn.begin(), drawn.end(), random);
  std::vector<std::pair<double, std::size_t>> places;
  for (const std::size_t i : drawn) places.push_back({nearness(job.elements, job.points[i]), i});
  const std::size_t at_random = std::min((samples + 1) / 2, places.size());
  const std::size_t count = std::min(samples, places.size());
  const auto middle = places.begin() + static_cast<std::ptrdiff_t>(at_random);
  std::partial_sort(middle, places.begin() + static_cast<std::ptrdiff_t>(count), places.end());
  places.resize(count);
  std::sort(places.begin(), places.end());
  std::vector<std::size_t> chosen;
  for (const auto& [distance, index] : places) chosen.push_back(index);
  return chosen;
}

/// p_fnm = (1 - j alpha/k) p_Rayleigh.
std::complex<double> loss_factor(const Medium& medium) {
  const double alpha =
      medium._dBcmMHz * 100 * (medium._f0 / 1e6) / (20 * std::log10(std::numbers::e));
  const double k = 2 * std::numbers::pi * medium._f0 / medium._soundspeed;
  return {1.0, k > 0 ? -alpha / k : 0.0};
}

}  // namespace

double estimate_error(TileRunner& runner, const DirectJob& job, int nodes, std::size_t samples,
                      const std::complex<double>* field) {
  double peak = 0;
  for (std::size_t i = 0; i < job.points.size(); ++i) peak = std::max(peak, std::norm(field[i]));
  peak = std::sqrt(peak);
  if (!(peak > 0) || job.elements.empty()) return std::numeric_limits<double>::quiet_NaN();

  const std::vector<std::size_t> chosen = choose_points(job, samples);
  const ToleranceNodes converged(job.medium, kConverged);
  const FixedNodes more(2 * nodes);
  const bool itself = job.method.yardstick == Yardstick::more_nodes;
  const Method& method = itself ? job.method : *find_continuous_wave_method("fnm_cw");
  const std::complex<double> factor =
      job.method.yardstick == Yardstick::nearfield_unlossy ? loss_factor(job.medium) : 1.0;

  const std::vector<std::complex<double>> reference =
      compute_points(runner,
                     {job.elements, job.points, job.medium, method,
                      itself ? static_cast<const NodeRule&>(more) : converged},
                     chosen);
  double largest = 0;
  for (std::size_t i = 0; i < chosen.size(); ++i) {
    largest = std::max(largest, std::abs(field[chosen[i]] - reference[i] / factor));
  }
  return largest / peak;
}

}  // namespace kestrel::fields
