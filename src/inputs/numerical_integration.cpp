#include <algorithm>
#include <cmath>
#include <utility>

#include "kestrel/error.h"
#include "kestrel/quadrature.h"
#include "kestrel/services.h"
#include "numerics/constants.h"
#include "numerics/interruption.h"

namespace kestrel {

namespace {

// Kept with these fifteen digits: the nodes, and with them published fields, depend on the last
// bits.
constexpr double kPi = constants::kShortPi;
constexpr double kHalfPi = constants::kShortHalfPi;

/// Steps of the recurrence between two questions whether to go on: some milliseconds.
constexpr double kStepsBetweenQuestions = 1e6;

/// Gauss-Legendre nodes and weights; `refine` allows a second correction of each node. The work
/// grows as n^2. False when it was interrupted.
bool legendre_rule(int n, double* nodes, double* weights, bool refine) {
  if (n < 1) return true;
  const double order = n;
  const double e1 = order * (order + 1.0);
  const int half = n / 2 + n % 2;
  double steps = 0;
  for (int i = 1; i <= half; ++i) {
    steps += order;
    if (steps >= kStepsBetweenQuestions) {
      if (interruption_asked()) return false;
      steps = 0;
    }
    // Asymptotic guess for the i-th root from +1.
    double x = std::cos((4.0 * i - 1.0) * kPi / (4.0 * order + 2.0)) *
               (1.0 - (1.0 - 1.0 / order) / (8.0 * order * order));
    double weight = 0.0;
    for (int pass = 0; pass < 2; ++pass) {
      // Legendre polynomials of degree n and n - 1 at x, then the derivatives of the former, which
      // follow from Legendre's differential equation.
      double previous = 1.0;
      double pn = x;
      for (int k = 2; k <= n; ++k) {
        const double t = x * pn;
        const double u = t - previous;
        previous = pn;
        pn = u - u / k + t;
      }
      const double d = 1.0 - x * x;
      const double dpn = order * (previous - x * pn);
      const double p1 = dpn / d;
      const double p2 = (2.0 * x * p1 - e1 * pn) / d;
      const double p3 = ((2.0 - e1) * p1 + 4.0 * x * p2) / d;
      const double p4 = ((6.0 - e1) * p2 + 6.0 * x * p3) / d;

      // Inverse series for the root, then one Newton step on the Taylor series about x.
      const double u = pn / p1;
      const double v = p2 / p1;
      double h = -u * (1.0 + 0.5 * u * (v + u * (v * v - u * p3 / (3.0 * p1))));
      const double value = pn + h * (p1 + 0.5 * h * (p2 + (h / 3.0) * (p3 + 0.25 * h * p4)));
      const double slope = p1 + h * (p2 + 0.5 * h * (p3 + h * p4 / 3.0));
      const double step = value / slope;
      h -= step;
      x += h;

      // The weight needs (1 - x^2) times the derivative at the root, again by its series.
      const double f =
          dpn - h * e1 * (pn + 0.5 * h * (p1 + (h / 3.0) * (p2 + 0.25 * h * (p3 + 0.2 * h * p4))));
      weight = 2.0 * (1.0 - x * x) / (f * f);
      if (!refine || !(std::fabs(step) / std::fabs(x) > 1e-15)) break;
    }
    nodes[i - 1] = x;
    weights[i - 1] = weight;
    nodes[n - i] = -x;
    weights[n - i] = weight;
  }
  if (n % 2 == 1) nodes[half - 1] = 0.0;
  return true;
}

}  // namespace

bool NumericalIntegration::allocate_memory(int n) {
  if (n < 1) {
    services::print("Illegal number of abscissas %d\n", n);
    fail("Specified number of abscissas is less than 1.\n");
  }
  const auto count = static_cast<std::size_t>(n);
  try {
    services::Array<double> abscissas(count);
    services::Array<double> cosines(count);
    services::Array<double> weights(count);
    services::Array<double> gauss_abscissas(count);
    services::Array<double> gauss_weights(count);
    _npoints = n;
    _abscissas = std::move(abscissas);
    _cosines = std::move(cosines);
    _weights = std::move(weights);
    _gauss_abscissas = std::move(gauss_abscissas);
    _gauss_weights = std::move(gauss_weights);
    _gauss_known = false;
    return true;
  } catch (const Error& error) {
    if (error.kind() != ErrorKind::out_of_memory) throw;
    return false;
  }
}

bool NumericalIntegration::gauss_quadrature() {
  if (!_gauss_known) {
    _gauss_known = legendre_rule(_npoints, _gauss_abscissas.data(), _gauss_weights.data(), false);
  }
  if (!_gauss_known) return false;
  std::copy(_gauss_abscissas.begin(), _gauss_abscissas.end(), _abscissas.begin());
  std::copy(_gauss_weights.begin(), _gauss_weights.end(), _weights.begin());
  return true;
}

bool NumericalIntegration::gauss_quadrature(double a, double b) {
  if (!gauss_quadrature()) return false;
  for (double& x : _abscissas) x = x * (b - a) * 0.5 + (a + b) * 0.5;
  for (double& w : _weights) w = w * (b - a) * 0.5;
  return true;
}

bool NumericalIntegration::gauss_quadrature_cylindrical() {
  if (!gauss_quadrature()) return false;
  for (double& x : _abscissas) x = x * kPi * 0.5 + kHalfPi;
  for (double& w : _weights) w = w * kPi * 0.5;
  for (std::size_t j = 0; j < _cosines.size(); ++j) _cosines[j] = std::cos(_abscissas[j]);
  return true;
}

bool NumericalIntegration::midpoint_rule() {
  const double h = 2.0 / _npoints;
  for (int j = 0; j < _npoints; ++j) {
    const auto node = static_cast<std::size_t>(j);
    _abscissas[node] = j * h + (0.5 * h - 1.0);
    _weights[node] = h;
  }
  return true;
}

bool NumericalIntegration::midpoint_rule(double a, double b) {
  const double h = (b - a) / _npoints;
  for (int j = 0; j < _npoints; ++j) {
    const auto node = static_cast<std::size_t>(j);
    // One cell too far towards a; kept, because results of the methods that use it depend on it.
    _abscissas[node] = (j - 1) * h + (a + 0.5 * h);
    _weights[node] = h;
  }
  return true;
}

void NumericalIntegration::grule(int n, double* x, double* w) { legendre_rule(n, x, w, false); }

void NumericalIntegration::modifiedgrule(int n, double* x, double* w) {
  legendre_rule(n, x, w, true);
}

void NumericalIntegration::set_kzk_parameters(float p0, float p1, float p2, float p3, float p4) {
  _kzk_parameters[0] = p0;
  _kzk_parameters[1] = p1;
  _kzk_parameters[2] = p2;
  _kzk_parameters[3] = p3;
  _kzk_parameters[4] = p4;
}

void NumericalIntegration::cw_set_kzk_parameters(float p0, float p1, float p2, int n0, int n1) {
  _kzk_parameters[0] = p0;
  _kzk_parameters[1] = p1;
  _kzk_parameters[2] = p2;
  _kzk_counts[0] = n0;
  _kzk_counts[1] = n1;
}

}  // namespace kestrel
