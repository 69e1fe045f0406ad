#include "fields/error_estimate.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "fields/error_sample.h"

namespace kestrel::fields {

namespace {

/// Accuracy of the converged field, relative to rho c of an element.
constexpr double kConverged = 1e-11;
/// More than a tolerance may ask for, or the converged field would be no better there.
constexpr int kMostAtPole = 2500;

/// How much worse the points between those of the sample may be.
constexpr double kUnseen = 1.5;

/// p_fnm = (1 - j alpha/k) p_Rayleigh.
std::complex<double> loss_factor(const Medium& medium) {
  const double k = medium.wavenumber(medium._f0);
  return {1.0, k > 0 ? -medium.attenuation(medium._f0) / k : 0.0};
}

}  // namespace

double estimate_error(TileRunner& runner, const DirectJob& job, const CoordinateGrid& grid,
                      int nodes, std::size_t clusters, const std::complex<double>* field) {
  double peak = 0;
  for (std::size_t i = 0; i < job.points.size(); ++i) peak = std::max(peak, std::norm(field[i]));
  peak = std::sqrt(peak);
  if (!(peak > 0) || job.elements.empty()) return std::numeric_limits<double>::quiet_NaN();

  const ToleranceNodes converged(job.medium, kConverged, kMostAtPole);
  const FixedNodes more(2 * nodes);
  const Method& nearfield = *find_continuous_wave_method("fnm_cw");
  const bool itself = job.method.yardstick == Yardstick::more_nodes ||
                      !std::all_of(job.elements.begin(), job.elements.end(),
                                   [&](const Element& e) { return nearfield.is_of(e.geometry); });
  const Method& method = itself ? job.method : nearfield;
  const std::complex<double> factor =
      !itself && job.method.yardstick == Yardstick::nearfield_unlossy ? loss_factor(job.medium)
                                                                      : 1.0;
  ErrorSample sample(runner,
                     {job.elements, job.points, job.medium, method,
                      itself ? static_cast<const NodeRule&>(more) : converged},
                     grid, clusters, nodes, factor);
  const int rounds = std::clamp(static_cast<int>(clusters / 5), 0, 6);
  const double unseen = sample.complete() ? 1 : kUnseen;
  return unseen * sample.error(field, rounds) / peak;
}

}  // namespace kestrel::fields
