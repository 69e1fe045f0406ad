#pragma once

/// Arrays, grids and the plain way to their fields, for the tests of fields/.

#include <algorithm>
#include <complex>
#include <memory>
#include <random>
#include <vector>

#include "kestrel/field.h"
#include "tests/support/situation.h"

namespace kestrel::fields {

using Field = std::vector<std::complex<double>>;
using test::difference;
using test::peak;

inline Medium water(double dBcmMHz = 0) {
  Medium medium = test::lossless_medium();
  medium._dBcmMHz = dBcmMHz;
  return medium;
}

/// Numbers of points per axis, least values and steps.
inline std::unique_ptr<CoordinateGrid> regular_grid(std::array<int, 3> n, std::array<double, 3> min,
                                                    std::array<double, 3> step) {
  auto grid = std::make_unique<CoordinateGrid>();
  const auto max = [&](std::size_t axis) { return min[axis] + (n[axis] - 1) * step[axis]; };
  grid->RegularCoordinateGrid(min[0], max(0), min[1], max(1), min[2], max(2), step[0], step[1],
                              step[2]);
  return grid;
}

inline Element element(Geometry geometry, CartesianCoordinate center = {},
                       CartesianCoordinate euler = {}, double amplitude = 1, double phase = 0) {
  Element e;
  e.geometry = geometry;
  e.center = center;
  e.euler = euler;
  e.amplitude = amplitude;
  e.phase = phase;
  return e;
}

/// A lattice of equal elements in the plane z = 0 with amplitudes and phases of their own.
inline std::vector<Element> lattice(Geometry geometry, int nx, int ny, double pitch_x,
                                    double pitch_y, CartesianCoordinate euler = {}) {
  std::vector<Element> array;
  for (int iy = 0; iy < ny; ++iy) {
    for (int ix = 0; ix < nx; ++ix) {
      array.push_back(element(geometry,
                              {(ix - (nx - 1) / 2.0) * pitch_x, (iy - (ny - 1) / 2.0) * pitch_y, 0},
                              euler, 1 + 0.1 * ix, 0.7 * ix - 0.3 * iy));
    }
  }
  return array;
}

/// All five shapes, turned and weighted.
inline std::vector<Element> mixed_array(int copies = 1, unsigned seed = 1) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> place(-0.01, 0.01), angle(-0.6, 0.6), phase(-3, 3);
  const Geometry shapes[] = {Rectangle{2e-3, 5e-3}, Circle{2e-3}, Ring{1e-3, 3e-3},
                             Shell{4e-3, 2e-2}, ShellRing{2e-3, 5e-3, 3e-2}};
  std::vector<Element> array;
  for (int i = 0; i < copies; ++i) {
    for (const Geometry& shape : shapes) {
      array.push_back(element(shape, {place(random), place(random), place(random)},
                              {angle(random), angle(random), angle(random)}, 1 + angle(random),
                              phase(random)));
    }
  }
  return array;
}

/// Each element by its own call on the whole grid, with a fresh rule.
inline Field sum_of_single_calls(const std::vector<Element>& array, CoordinateGrid& grid,
                                 Medium medium, int nodes,
                                 int (Transducer::*compute)() = &Transducer::fnm_cw) {
  const auto n = static_cast<std::size_t>(grid.npoints());
  std::vector<double> re(n), im(n);
  for (const Element& e : array) {
    NumericalIntegration rule = test::gauss_rule(nodes);
    const auto transducer = make_transducer(e);
    test::wire(*transducer, grid, rule, medium);
    transducer->set_complex_pressure_pointers(re.data(), im.data());
    (*transducer.*compute)();
  }
  Field field(n);
  for (std::size_t i = 0; i < n; ++i) field[i] = {re[i], im[i]};
  return field;
}

struct Computed {
  Field field;
  Report report;
};

inline Computed compute(const std::vector<Element>& array, const CoordinateGrid& grid,
                        const Medium& medium, const Settings& settings) {
  Computed computed{Field(static_cast<std::size_t>(grid.npoints())), {}};
  computed.report = compute_field(array, grid, medium, settings, computed.field.data());
  return computed;
}

inline Settings with_nodes(int nodes) {
  Settings settings;
  settings.nodes = nodes;
  settings.threads = 2;
  settings.estimate_error = false;
  return settings;
}

}  // namespace kestrel::fields
