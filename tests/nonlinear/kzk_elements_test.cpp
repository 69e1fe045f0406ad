// The nonlinear methods as elements answer them: what they add, where, and what they refuse.

#include <algorithm>
#include <cmath>
#include <complex>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <numbers>
#include <vector>

#include "kestrel/elements.h"
#include "kestrel/excitation.h"
#include "mex/standalone/standalone_host.h"

namespace kestrel {
namespace {

struct Scene {
  Medium medium;
  CoordinateGrid grid;
  NumericalIntegration rule;
  std::vector<double> re, im;

  Scene() {
    medium._f0 = 1e6;
    medium._soundspeed = 1500;
    medium._rho_density = 1000;
    rule.allocate_memory(64);
    rule.gauss_quadrature();
  }
  void wire(Transducer& element) {
    re.assign(static_cast<std::size_t>(grid.npoints()), 1);
    im.assign(static_cast<std::size_t>(grid.npoints()), 2);
    element.set_medium(&medium);
    element.set_global_coordinate_grid(&grid);
    element.set_integral_pointer(&rule);
    element.set_complex_pressure_pointers(re.data(), im.data());
  }
  /// What a method adds to planes that hold (1, 2).
  std::vector<std::complex<double>> added(Transducer& element, int (Transducer::*method)(),
                                          int expected = kSuccess) {
    wire(element);
    const standalone::Capture capture;
    rule.gauss_quadrature();
    EXPECT_EQ((element.*method)(), expected);
    std::vector<std::complex<double>> p;
    for (std::size_t i = 0; i < re.size(); ++i) p.emplace_back(re[i] - 1, im[i] - 2);
    return p;
  }
};

double largest(const std::vector<std::complex<double>>& values) {
  double most = 0;
  for (const auto& value : values) most = std::max(most, std::abs(value));
  return most;
}

double largest_difference(const std::vector<std::complex<double>>& a,
                          const std::vector<std::complex<double>>& b) {
  double most = 0;
  for (std::size_t i = 0; i < a.size(); ++i) most = std::max(most, std::abs(a[i] - b[i]));
  return most;
}

TEST(KzkElements, AreLinearElementsWithoutNonlinearity) {
  Scene scene;
  CircularTransducer piston(10e-3, 0.2, 0.7);
  piston.set_euler(0.3, -0.2, 0.5);
  piston.set_center(1e-3, 2e-3, 3e-3);
  // Ten points on the turned axis, from 0.4 to 1.5 Rayleigh distances.
  piston.InitializeRotationMatrix();
  std::vector<double> x, y, z;
  for (int i = 0; i < 10; ++i) {
    const double depth = 0.209 * (0.4 + 0.12 * i);
    // The element's +z in global coordinates is the third row of its rotation.
    const CartesianCoordinate o = piston.rotateTranslate({0, 0, 0});
    const CartesianCoordinate ex = piston.rotateTranslate({1, 0, 0});
    const CartesianCoordinate ey = piston.rotateTranslate({0, 1, 0});
    const CartesianCoordinate ez = piston.rotateTranslate({0, 0, 1});
    x.push_back(1e-3 + depth * (ex.z - o.z));
    y.push_back(2e-3 + depth * (ey.z - o.z));
    z.push_back(3e-3 + depth * (ez.z - o.z));
  }
  std::vector<double> columns(x);
  columns.insert(columns.end(), y.begin(), y.end());
  columns.insert(columns.end(), z.begin(), z.end());
  scene.grid.CoordinateGridVector(columns.data(), 10);

  const auto exact = scene.added(piston, &Transducer::fnm_cw);
  const auto marched = scene.added(piston, &Transducer::kzk_cw);
  EXPECT_LT(largest_difference(exact, marched), 0.004 * largest(exact));
}

TEST(KzkElements, DeliverTheHarmonicThatTheRuleAsksFor) {
  Scene scene;
  scene.medium._beta = 3.5;
  scene.grid.RegularCoordinateGrid(0, 0, 0, 0, 50e-3, 60e-3, 0, 0, 5e-3);
  SphericalTransducer shell(15e-3, 60e-3, 0.1, 0.4);
  scene.rule.cw_set_kzk_parameters(0, 0, 0, 12, 1);
  const auto first = scene.added(shell, &Transducer::kzk_cw);
  scene.rule.cw_set_kzk_parameters(0, 0, 0, 12, 2);
  const auto second = scene.added(shell, &Transducer::kzk_cw);
  const double share = std::abs(second[2]) / std::abs(first[2]);
  EXPECT_GT(share, 0.01);
  EXPECT_LT(share, 0.5);
  // The source's phase turns harmonic m by m times itself.
  shell.set_phase(0.0);
  const auto unturned = scene.added(shell, &Transducer::kzk_cw);
  EXPECT_LT(std::abs(unturned[2] * std::polar(1.0, 0.8) - second[2]), 1e-12 * std::abs(second[2]));
}

TEST(KzkElements, LeaveThePlanesAloneWhenTheyCannotStart) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  Scene scene;
  scene.medium._beta = 3.5;
  scene.grid.SinglePoint(0, 0, 40e-3);
  SphericalTransducer beyond(20e-3, 15e-3, 1.0, 0.0), broken(nan, 40e-3, 1.0, 0.0);
  CircularTransducer empty(0, 1.0, 0.0), absurd(10e-3, 1e9, 0.0), silent(10e-3, 0.0, 0.0);
  for (Transducer* element :
       {static_cast<Transducer*>(&beyond), static_cast<Transducer*>(&broken),
        static_cast<Transducer*>(&empty), static_cast<Transducer*>(&absurd)}) {
    EXPECT_EQ(largest(scene.added(*element, &Transducer::kzk_cw, kMisuse)), 0);
    EXPECT_EQ(largest(scene.added(*element, &Transducer::kzk_transient, kMisuse)), 0);
  }
  EXPECT_EQ(largest(scene.added(silent, &Transducer::kzk_cw)), 0);
}

TEST(KzkElements, MarchAPulseToItsClosedFormOnTheAxis) {
  const double a = 10e-3, z = 100e-3, c = 1500, rho = 1000;
  Scene scene;
  scene.grid.SinglePoint(0, 0, z);
  TimeSamples axis(5e-8, 64e-6, 72e-6);
  HanningPulse pulse(1.0, 1e6, 3e-6, 0, 2);
  CircularTransducer piston(a, 0.05, 0.0);
  scene.wire(piston);
  std::vector<double> trace(static_cast<std::size_t>(axis.nt()), 0.0);
  piston.set_time_vector(&axis);
  piston.set_transient_pressure_pointer(trace.data());
  piston._excitation_function = &pulse;
  ASSERT_EQ(piston.kzk_transient(), kSuccess);
  double peak = 0, worst = 0;
  for (int i = 0; i < axis.nt(); ++i) {
    const double t = axis.time_index_value(i);
    const double exact =
        0.05 * rho * c * (pulse.at(t - z / c) - pulse.at(t - std::sqrt(z * z + a * a) / c));
    peak = std::max(peak, std::abs(exact));
    worst = std::max(worst, std::abs(exact - trace[static_cast<std::size_t>(i)]));
  }
  EXPECT_LT(worst, 0.01 * peak);
}

TEST(KzkElements, SolveTheirTridiagonalSystems) {
  constexpr int nodes = 7;
  CircularTransducer piston(10e-3, 1.0, 0.0);
  // Harmonics: the residual of the implicit step, with the bands as they are handed out.
  std::vector<double> lhs(6 * nodes), rhs(6 * nodes), w(2 * nodes), v(2 * nodes), u(2 * nodes);
  piston.COEFF(0.01, 0.5, lhs.data(), rhs.data(), nodes, 0.25, 2);
  for (std::size_t i = 0; i < u.size(); ++i) u[i] = std::sin(1.0 + static_cast<double>(i));
  const std::vector<double> before = u;
  piston.TRIDIA(u.data(), nodes, lhs.data(), rhs.data(), w.data(), v.data());
  const auto row = [&](const std::vector<double>& bands, const std::vector<double>& x, int j) {
    std::complex<double> sum = 0;
    for (int band = 0; band < 3; ++band) {
      const int k = j + band - 1;
      if (k < 0 || k >= nodes) continue;
      sum += std::complex<double>(bands[6 * j + 2 * band], bands[6 * j + 2 * band + 1]) *
             std::complex<double>(x[2 * k], x[2 * k + 1]);
    }
    return sum;
  };
  for (int j = 0; j < nodes; ++j) {
    EXPECT_LT(std::abs(row(lhs, u, j) - row(rhs, before, j)), 1e-13) << "row " << j;
  }
  // The source plane: a uniform piston of four radial steps, its rim node by its share of area.
  std::vector<double> plane(2 * nodes);
  piston.INIT(1, plane.data(), nodes, 4, 0);
  EXPECT_EQ(plane[0], 1.0);
  EXPECT_EQ(plane[2 * 3], 1.0);
  EXPECT_NEAR(plane[2 * 4], 0.5, 0.05);
  EXPECT_EQ(plane[2 * 5], 0.0);
}

}  // namespace
}  // namespace kestrel
