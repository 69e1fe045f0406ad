#include <cmath>
#include <gtest/gtest.h>
#include <numbers>

#include "kestrel/kestrel.h"

namespace kestrel::fields {
namespace {

constexpr double kPi = std::numbers::pi;
constexpr double kFrequency = 1e6;
const CartesianCoordinate kPoints[] = {
    {0, 0, 10e-3}, {2e-3, -1e-3, 4e-3}, {-7e-3, 3e-3, 12e-3}, {1e-3, 20e-3, 40e-3}};

Medium lossy() {
  return Medium({.density = 1000, .sound_speed = 1500, .attenuation_dB_per_cm_MHz = 0.8});
}

ContinuousField field_of(const std::vector<Element>& array, const char* method, int nodes = 80) {
  return continuous_field(
      array, point_list(kPoints), lossy(),
      {.method = find_continuous_wave_method(method), .frequency = kFrequency, .nodes = nodes});
}

/// The Rayleigh integral over strips across the face, by midpoints.
std::complex<double> sum_of_strips(const Ellipse& face, CartesianCoordinate p) {
  const Medium medium = lossy();
  const double alpha = medium._dBcmMHz * 100 * kFrequency * 1e-6 * std::log(10) / 20;
  const std::complex<double> rate(-alpha, -2 * kPi * kFrequency / medium._soundspeed);
  constexpr int kSteps = 600;
  std::complex<double> sum = 0;
  for (int i = 0; i < kSteps; ++i) {
    // x = a sin t keeps the strips' lengths smooth.
    const double t = ((i + 0.5) / kSteps - 0.5) * kPi;
    const double x = face.width / 2 * std::sin(t), dx = face.width / 2 * std::cos(t) * kPi / kSteps;
    const double length = face.height * std::cos(t), dy = length / kSteps;
    for (int j = 0; j < kSteps; ++j) {
      const double y = (j + 0.5) * dy - length / 2;
      const double r = std::hypot(p.x - x, p.y - y, p.z);
      sum += dx * dy / r * std::exp(rate * r);
    }
  }
  return std::complex<double>(0, medium._rho_density * kFrequency) * sum;
}

TEST(Ellipse, FieldIsThatOfAPlainSumOverStrips) {
  const Ellipse face{.width = 6e-3, .height = 9e-3};
  const ContinuousField field = field_of({{.geometry = face}}, "rayleigh_cw");
  for (std::size_t i = 0; i < std::size(kPoints); ++i) {
    const std::complex<double> expected = sum_of_strips(face, kPoints[i]);
    EXPECT_LT(std::abs(field.pressure[i] - expected), 1e-4 * std::abs(expected)) << i;
  }
}

TEST(Ellipse, WithEqualAxesIsACircle) {
  const CartesianCoordinate center{1e-3, 2e-3, -1e-3}, euler{0.3, -0.2, 0.7};
  const auto ellipse = field_of({{Ellipse{8e-3, 8e-3}, center, euler, 2, 0.5}}, "rayleigh_cw");
  const auto circle =
      field_of({{Circle{4e-3}, center, euler, 2, 0.5}}, "rayleigh_cw_apodized", 300);
  for (std::size_t i = 0; i < std::size(kPoints); ++i) {
    EXPECT_LT(std::abs(ellipse.pressure[i] - circle.pressure[i]),
              1e-4 * std::abs(circle.pressure[i]))
        << i;
  }
}

TEST(Ellipse, IsAShapeOfArrays) {
  const Ellipse face{.width = 2e-3, .height = 4e-3};
  EXPECT_NE(list_shapes().find("'ellipse'"), std::string::npos);
  EXPECT_THROW(check_element({.geometry = Ellipse{2e-3, 0}}, 1), Error);

  // Equal elements share their field; the sum is that of their slots of the class table.
  std::vector<Element> array(4, {.geometry = face});
  for (std::size_t i = 0; i < array.size(); ++i) array[i].center.x = 3e-3 * double(i);
  focus(array, {0, 0, 30e-3}, lossy(), kFrequency);
  CoordinateGrid grid = regular_grid({.x = {-6e-3, 6e-3, 1e-3}, .z = {5e-3, 25e-3, 5e-3}});
  const ContinuousField shared = continuous_field(
      array, grid, lossy(),
      {.method = find_continuous_wave_method("rayleigh_cw"), .frequency = kFrequency, .nodes = 20});
  EXPECT_EQ(shared.report.reused_elements, array.size());
  EXPECT_LT(shared.report.error_estimate, 1e-6);  // against more nodes of the same method

  Medium medium = lossy();
  medium._f0 = kFrequency;
  NumericalIntegration rule;
  rule.allocate_memory(20);
  rule.gauss_quadrature();
  std::vector<double> re(shared.pressure.size()), im(re);
  for (const Element& element : array) {
    const auto transducer = make_transducer(element);
    transducer->set_medium(&medium);
    transducer->set_global_coordinate_grid(&grid);
    transducer->set_integral_pointer(&rule);
    transducer->set_complex_pressure_pointers(re.data(), im.data());
    EXPECT_EQ(transducer->rayleigh_cw(), kSuccess);
    EXPECT_EQ(transducer->fnm_cw(), kNotImplemented);
    EXPECT_EQ(transducer->impulse_begin_and_end_times(), kNotImplemented);
  }
  double peak = 0, difference = 0;
  for (std::size_t i = 0; i < re.size(); ++i) {
    const std::complex<double> sum(re[i], im[i]);
    peak = std::max(peak, std::abs(sum));
    difference = std::max(difference, std::abs(sum - shared.pressure[i]));
  }
  EXPECT_LT(difference, 1e-10 * peak);

  EXPECT_THROW(field_of(array, "fnm_cw"), Error);
}

}  // namespace
}  // namespace kestrel::fields
