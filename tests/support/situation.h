#pragma once

#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>
#include <memory>
#include <random>
#include <utility>
#include <vector>

#include "kestrel/elements.h"
#include "kestrel/grid.h"
#include "kestrel/medium.h"
#include "kestrel/quadrature.h"

namespace kestrel::test {

inline constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

using Complex = std::complex<double>;
using Point = CartesianCoordinate;
using Points = std::vector<Point>;
/// One entry of the method table.
using Method = int (Transducer::*)();

enum class ShapeKind { rectangle, disc, ring, shell, spherical_ring };
inline constexpr ShapeKind kShapes[] = {ShapeKind::rectangle, ShapeKind::disc, ShapeKind::ring,
                                        ShapeKind::shell, ShapeKind::spherical_ring};

/// Water without loss at 1 MHz: wavelength 1.5 mm.
inline Medium lossless_medium() {
  Medium medium;
  medium._f0 = 1e6;
  medium._soundspeed = 1500;
  medium._rho_density = 1000;
  return medium;
}

/// One element with everything that its field depends on, but the points.
struct Situation {
  ShapeKind shape = ShapeKind::rectangle;
  /// Metres. Rectangle: width, height. Disc: radius. Ring: inner, outer radius. Shell: aperture
  /// radius, curvature. Spherical ring: inner, outer radius, curvature.
  double a = 0, b = 0, c = 0;
  double amplitude = 1, phase = 0;
  Point center, euler;
  int profile = 0;
  Medium medium = lossless_medium();
  int nodes = 32;

  Complex weight() const { return {amplitude * std::cos(phase), amplitude * std::sin(phase)}; }

  Geometry geometry() const {
    switch (shape) {
      case ShapeKind::rectangle:
        return Rectangle{a, b};
      case ShapeKind::disc:
        return Circle{a};
      case ShapeKind::ring:
        return Ring{a, b};
      case ShapeKind::shell:
        return Shell{a, b};
      default:
        return ShellRing{a, b, c};
    }
  }
  std::unique_ptr<Transducer> element() const {
    return fields::make_transducer({.geometry = geometry(),
                                    .center = center,
                                    .euler = euler,
                                    .amplitude = amplitude,
                                    .phase = phase,
                                    .apodization_index = profile});
  }
};

/// The element sizes that the accuracy figures speak of.
inline Situation typical(ShapeKind shape) {
  constexpr double sizes[][3] = {
      {6e-3, 10e-3, 0}, {5e-3, 0, 0}, {3e-3, 6e-3, 0}, {8e-3, 15e-3, 0}, {4e-3, 8e-3, 15e-3}};
  const auto& [a, b, c] = sizes[static_cast<int>(shape)];
  Situation s;
  s.shape = shape;
  s.a = a;
  s.b = b;
  s.c = c;
  return s;
}

inline void fill_grid(CoordinateGrid& grid, const Points& points) {
  std::vector<double> columns(3 * points.size());
  for (std::size_t i = 0; i < points.size(); ++i) {
    columns[i] = points[i].x;
    columns[i + points.size()] = points[i].y;
    columns[i + 2 * points.size()] = points[i].z;
  }
  grid.CoordinateGridVector(columns.data(), static_cast<int>(points.size()));
}

/// Gives an element what every method needs.
inline void wire(Transducer& element, CoordinateGrid& grid, NumericalIntegration& rule,
                 Medium& medium) {
  element.set_global_coordinate_grid(&grid);
  element.set_integral_pointer(&rule);
  element.set_medium(&medium);
}

inline NumericalIntegration gauss_rule(int nodes) {
  NumericalIntegration rule;
  rule.allocate_memory(nodes);
  rule.gauss_quadrature();
  return rule;
}

/// An element with its medium, rule and grid.
class Setup {
 public:
  Setup(std::unique_ptr<Transducer> element, const Medium& medium, const Points& points, int nodes)
      : _element(std::move(element)), _medium(medium), _rule(gauss_rule(nodes)) {
    set_points(points);
    wire(*_element, _grid, _rule, _medium);
  }
  Setup(const Situation& s, const Points& points) : Setup(s.element(), s.medium, points, s.nodes) {}

  void set_points(const Points& points) { fill_grid(_grid, points); }
  int call(Method method) { return (*_element.*method)(); }
  Transducer& element() { return *_element; }
  Medium& medium() { return _medium; }
  NumericalIntegration& rule() { return _rule; }

 private:
  std::unique_ptr<Transducer> _element;
  Medium _medium;
  CoordinateGrid _grid;
  NumericalIntegration _rule;
};

/// With planes for its field, which start at zero.
class Bench : public Setup {
 public:
  template <class... Arguments>
  explicit Bench(Arguments&&... arguments) : Setup(std::forward<Arguments>(arguments)...) {
    const auto n = static_cast<std::size_t>(element().global_coordinate_grid()->npoints());
    _re.resize(n);
    _im.resize(n);
    element().set_complex_pressure_pointers(_re.data(), _im.data());
  }
  void set_planes(Complex value) {
    _re.assign(_re.size(), value.real());
    _im.assign(_im.size(), value.imag());
  }
  std::vector<Complex> field() const {
    std::vector<Complex> field;
    for (std::size_t i = 0; i < _re.size(); ++i) field.emplace_back(_re[i], _im[i]);
    return field;
  }

 private:
  std::vector<double> _re, _im;
};

/// The field of `method` at global points.
inline std::vector<Complex> field(const Situation& situation, Method method, const Points& points) {
  Bench bench(situation, points);
  bench.call(method);
  return bench.field();
}

inline double peak(const std::vector<Complex>& field) {
  double largest = 0;
  for (const Complex p : field) largest = std::max(largest, std::abs(p));
  return largest;
}

/// Largest difference as a fraction of the peak of `expected`; infinite when only one is NaN.
inline double difference(const std::vector<Complex>& actual, const std::vector<Complex>& expected) {
  const auto nan = [](Complex p) { return std::isnan(p.real()) || std::isnan(p.imag()); };
  double worst = 0, largest = 0;
  for (std::size_t i = 0; i < expected.size(); ++i) {
    if (nan(actual[i]) && nan(expected[i])) continue;
    const double d = std::abs(actual[i] - expected[i]);
    worst = std::isnan(d) ? HUGE_VAL : std::max(worst, d);
    largest = std::max(largest, std::abs(expected[i]));
  }
  return worst == 0 ? 0 : worst / largest;
}

/// An element in random place and attitude, of random size and drive, in a random medium; and
/// points around it, before and behind, next to and far from it.
class RandomSituations {
 public:
  explicit RandomSituations(std::uint32_t seed) : _random(seed) {}

  double between(double from, double to) {
    return std::uniform_real_distribution<double>(from, to)(_random);
  }

  Situation next(ShapeKind shape, bool lossy) {
    Situation s;
    s.shape = shape;
    s.a = between(2e-3, 9e-3);
    s.b = shape == ShapeKind::rectangle ? between(2e-3, 14e-3) : s.a * between(1.2, 2.4);
    s.c = s.b * between(1.1, 2.0);
    s.amplitude = between(0.3, 2.0);
    s.phase = between(-4, 4);
    s.center = {between(-5e-3, 5e-3), between(-5e-3, 5e-3), between(-5e-3, 5e-3)};
    s.euler = {between(-3, 3), between(-3, 3), between(-3, 3)};
    s.profile = static_cast<int>(between(0, 5.99));
    s.medium._f0 = between(0.4e6, 2.5e6);
    s.medium._soundspeed = between(1400, 1650);
    s.medium._rho_density = between(900, 1100);
    s.medium._dBcmMHz = lossy ? between(0.1, 2.0) : 0;
    s.nodes = static_cast<int>(between(3, 23.99));
    return s;
  }

  Points points(const Situation& s, int count) {
    Points points;
    for (int i = 0; i < count; ++i) {
      const double spread = i % 3 == 0 ? 6e-3 : 25e-3;
      points.emplace_back(s.center.x + between(-spread, spread),
                          s.center.y + between(-spread, spread),
                          s.center.z + between(-spread, spread));
    }
    return points;
  }

 private:
  std::mt19937 _random;
};

}  // namespace kestrel::test
