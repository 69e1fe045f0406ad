#pragma once

#include <memory>
#include <variant>

#include "elements/transducer.h"
#include "inputs/cartesian_coordinate.h"

namespace kestrel::fields {

// The geometries of elements, metres. Planar faces lie in the local plane z = 0, spherical ones
// have their apex at the local origin; all radiate towards local +z.

struct Rectangle {
  double width = 0, height = 0;
  bool operator==(const Rectangle&) const = default;
};
struct Circle {
  double radius = 0;
  bool operator==(const Circle&) const = default;
};
struct Ring {
  double inner_radius = 0, outer_radius = 0;
  bool operator==(const Ring&) const = default;
};
struct Shell {
  double radius = 0, rad_curvature = 0;
  bool operator==(const Shell&) const = default;
};
struct ShellRing {
  double inner_radius = 0, outer_radius = 0, geometric_focus = 0;
  bool operator==(const ShellRing&) const = default;
};

using Geometry = std::variant<Rectangle, Circle, Ring, Shell, ShellRing>;

/// One element of an array: a plain description, from which each thread makes its own transducer.
struct Element {
  Geometry geometry;
  CartesianCoordinate center = {};  ///< metres
  CartesianCoordinate euler = {};   ///< radians, as Transducer has them
  double amplitude = 1;
  double phase = 0;       ///< radians
  double time_delay = 0;  ///< seconds
  int apodization_index = 0;

  /// amplitude e^{j phase}, as every calculation method takes it.
  std::complex<double> weight() const {
    return {amplitude * std::cos(phase), amplitude * std::sin(phase)};
  }
};

/// A transducer with the element's geometry, place and drive.
std::unique_ptr<Transducer> make_transducer(const Element& element);

/// The identifier by which structures name the shape: "rect", "circ", "ring", "shel", "sph ring".
const char* shape_name(const Geometry& geometry);

/// Fails when a number of the element is not finite or a geometry cannot be: lengths that are not
/// positive, a hole as large as its ring, a shell of more than a hemisphere. The text names the
/// element by `number`, counted from 1.
void check_element(const Element& element, std::size_t number);

/// Radius about the local origin of a sphere that holds the whole element.
double extent(const Geometry& geometry);

}  // namespace kestrel::fields
