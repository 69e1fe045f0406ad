#pragma once

/// Jobs of every kind that the tolerance and the estimate of the error are judged by.

#include <numbers>

#include "fields/direct_field.h"
#include "fields/node_rule.h"
#include "tests/fields/arrays.h"

namespace kestrel::fields {

struct RandomJob {
  std::vector<Element> elements;
  std::unique_ptr<CoordinateGrid> grid;
  Medium medium;
  std::string name;
};

/// Elements of all shapes from a tenth of a wavelength to thirty, hemispheres among them; alone, on
/// lattices, on bowls and scattered; steered, focused or with random phases; planes and volumes
/// from a thousandth of a wavelength off the faces to far away, and lists; with loss and without.
class RandomJobs {
 public:
  explicit RandomJobs(unsigned seed) : _random(seed) {}

  RandomJob operator()() {
    RandomJob job;
    job.medium = water(one_in(3) ? uniform(0.1, 2) : 0);
    const int layout = whole(5);  // alone, line, lattice, bowl, scattered
    const double largest = layout == 0 ? 30 : layout == 1 ? 10 : 4;
    const double size = kWavelength * logarithmic(0.1, largest);
    const int shape = whole(5);
    const Geometry geometry = draw_geometry(shape, size);
    job.elements = draw_array(layout, geometry, size);
    const double reach = array_reach(job.elements) + size;
    job.grid = draw_points(reach, depth_of(geometry), job.name);
    focus(job.elements, reach);
    static const char* const layouts[] = {"alone", "line", "lattice", "bowl", "scattered"};
    job.name = std::string(shape_facts(geometry).name) + " of " +
               std::to_string(size / kWavelength) + " wavelengths, " + layouts[layout] + " " +
               std::to_string(job.elements.size()) + ", " + job.name;
    return job;
  }

  static constexpr double kWavelength = 1.5e-3;

 private:
  double uniform(double from, double to) {
    return from + (to - from) * static_cast<double>(_random() % 1000003) / 1000003;
  }
  double logarithmic(double from, double to) { return from * std::pow(to / from, uniform(0, 1)); }
  int whole(int below) { return static_cast<int>(_random() % static_cast<unsigned>(below)); }
  bool one_in(int n) { return whole(n) == 0; }

  Geometry draw_geometry(int shape, double size) {
    const double ratio = uniform(0.05, 0.95);
    const double curved[] = {1, 1.001, 1.01 + 3 * uniform(0, 1) * uniform(0, 1)};
    const double curvature = size / 2 * curved[one_in(3) ? whole(2) : 2];
    const Geometry shapes[] = {Rectangle{size, size * ratio}, Circle{size / 2},
                               Ring{size / 2 * ratio, size / 2}, Shell{size / 2, curvature},
                               ShellRing{size / 2 * ratio, size / 2, curvature}};
    return shapes[shape];
  }

  static double depth_of(const Geometry& geometry) {
    const auto cap = [](double a, double rc) { return rc - std::sqrt(rc * rc - a * a); };
    if (const auto* s = std::get_if<Shell>(&geometry)) return cap(s->radius, s->rad_curvature);
    if (const auto* s = std::get_if<ShellRing>(&geometry)) {
      return cap(s->outer_radius, s->geometric_focus);
    }
    return 0;
  }

  std::vector<Element> draw_array(int layout, const Geometry& geometry, double size) {
    std::vector<Element> array;
    if (layout == 0) {
      array.push_back(fields::element(geometry));
    } else if (layout <= 2) {
      const int nx = 2 + whole(layout == 1 ? 40 : 7), ny = layout == 1 ? 1 : 2 + whole(7);
      array = fields::lattice(geometry, nx, ny, 1.1 * size, 1.1 * size);
      for (Element& e : array) e.amplitude = uniform(0.2, 1);
    } else {
      const int count = 3 + whole(50);
      for (int i = 0; i < count; ++i) {
        Element e = fields::element(geometry);
        const double spread = 2 * size * std::sqrt(static_cast<double>(count));
        e.center = {uniform(-spread, spread) / 2, uniform(-spread, spread) / 2, 0};
        e.euler = {uniform(-0.5, 0.5), uniform(-0.5, 0.5), 0};
        if (layout == 3) {
          const double r2 = e.center.x * e.center.x + e.center.y * e.center.y;
          e.center.z = r2 / (2 * spread);
          e.euler = {std::atan2(-e.center.y, spread), std::atan2(-e.center.x, spread), 0};
        }
        array.push_back(e);
      }
    }
    return array;
  }

  static double array_reach(const std::vector<Element>& array) {
    double reach = 0;
    for (const Element& e : array) reach = std::max(reach, std::hypot(e.center.x, e.center.y));
    return reach;
  }

  std::unique_ptr<CoordinateGrid> draw_points(double reach, double depth, std::string& name) {
    const double from = (one_in(3) ? depth : 0) + kWavelength * logarithmic(1e-3, 30);
    const double wide = reach * logarithmic(0.5, 3), deep = kWavelength * logarithmic(0.5, 50);
    if (one_in(4)) {
      auto grid = std::make_unique<CoordinateGrid>();
      const int n = 600;
      std::vector<double> columns(3 * n);
      for (int i = 0; i < n; ++i) {
        const auto at = static_cast<std::size_t>(i);
        columns[at] = uniform(-wide, wide);
        columns[at + n] = uniform(-wide, wide);
        columns[at + 2 * n] = from + deep * uniform(0, 1) * uniform(0, 1);
      }
      grid->CoordinateGridVector(columns.data(), n);
      name = "list from ";
      name += std::to_string(from / kWavelength);
      return grid;
    }
    const int kind = whole(3);
    const std::array<int, 3> n = kind == 0   ? std::array<int, 3>{61, 1, 61}
                                 : kind == 1 ? std::array<int, 3>{61, 61, 1}
                                             : std::array<int, 3>{21, 11, 16};
    const double y = one_in(2) ? 0 : uniform(-0.5, 0.5) * wide;
    name = (kind == 0   ? "plane along the axis from "
            : kind == 1 ? "plane across at "
                        : "volume from ") +
           std::to_string(from / kWavelength);
    const bool flat = n[1] == 1;
    return regular_grid(n, {-wide, flat ? y : -wide, from},
                        {2 * wide / (n[0] - 1), flat ? 1e-3 : 2 * wide / (n[1] - 1),
                         n[2] == 1 ? 1e-3 : deep / (n[2] - 1)});
  }

  void focus(std::vector<Element>& array, double reach) {
    const int kind = whole(4);  // in phase, random, focused, steered
    const double depth = reach * uniform(0.5, 4), angle = uniform(-0.6, 0.6);
    const double k = 2 * std::numbers::pi / kWavelength;
    for (Element& e : array) {
      const CartesianCoordinate c = e.center;
      e.phase = kind == 0   ? 0
                : kind == 1 ? uniform(-3, 3)
                : kind == 2 ? k * std::sqrt(c.x * c.x + c.y * c.y + (depth - c.z) * (depth - c.z))
                            : k * c.x * std::sin(angle);
    }
  }

  std::mt19937_64 _random;
};

/// The job's field, with nodes for an error of 1e-11 of rho c of an element.
inline Field converged_field(const RandomJob& job) {
  const GridPoints points(*job.grid);
  const ToleranceNodes rule(job.medium, 1e-11);
  Field field(points.size());
  NodeRange used;
  TileRunner runner(1, {});
  runner.begin_stage(1);
  add_direct_field(
      runner, {job.elements, points, job.medium, *find_continuous_wave_method("fnm_cw"), rule, 61},
      field.data(), used);
  return field;
}

}  // namespace kestrel::fields
