#include "fields/element.h"

#include <cmath>

#include "elements/circular_transducer.h"
#include "elements/rectangular_transducer.h"
#include "elements/ring_transducer.h"
#include "elements/spherical_ring_transducer.h"
#include "elements/spherical_transducer.h"
#include "services/error.h"

namespace kestrel::fields {

namespace {

struct Maker {
  double amplitude, phase;

  std::unique_ptr<Transducer> operator()(const Rectangle& g) const {
    return std::make_unique<RectangularTransducer>(g.width, g.height, amplitude, phase);
  }
  std::unique_ptr<Transducer> operator()(const Circle& g) const {
    return std::make_unique<CircularTransducer>(g.radius, amplitude, phase);
  }
  std::unique_ptr<Transducer> operator()(const Ring& g) const {
    return std::make_unique<RingTransducer>(g.inner_radius, g.outer_radius, amplitude, phase);
  }
  std::unique_ptr<Transducer> operator()(const Shell& g) const {
    return std::make_unique<SphericalTransducer>(g.radius, g.rad_curvature, amplitude, phase);
  }
  std::unique_ptr<Transducer> operator()(const ShellRing& g) const {
    return std::make_unique<SphericalRingTransducer>(g.inner_radius, g.outer_radius,
                                                     g.geometric_focus, amplitude, phase);
  }
};

/// Refuses numbers of one element, naming it.
struct Checker {
  std::size_t number;

  void finite(const char* field, double value) const {
    if (!std::isfinite(value)) {
      fail("element %zu: %s must be real and finite, but it is %g.", number, field, value);
    }
  }
  void positive(const char* field, double value) const {
    finite(field, value);
    if (!(value > 0)) {
      fail("element %zu: %s must be positive, but it is %g.", number, field, value);
    }
  }
  void hole(double inner, double outer) const {
    finite("inner_radius", inner);
    positive("outer_radius", outer);
    if (inner < 0 || inner >= outer) {
      fail(
          "element %zu: inner_radius must be at least 0 and below outer_radius = %g, but it "
          "is %g.",
          number, outer, inner);
    }
  }
  void curvature(const char* field, double curvature, const char* rim, double radius) const {
    positive(field, curvature);
    if (radius > curvature) {
      fail("element %zu: %s = %g must not be below %s = %g: a shell is at most a hemisphere.",
           number, field, curvature, rim, radius);
    }
  }

  void operator()(const Rectangle& g) const {
    positive("width", g.width);
    positive("height", g.height);
  }
  void operator()(const Circle& g) const { positive("radius", g.radius); }
  void operator()(const Ring& g) const { hole(g.inner_radius, g.outer_radius); }
  void operator()(const Shell& g) const {
    positive("radius", g.radius);
    curvature("rad_curvature", g.rad_curvature, "radius", g.radius);
  }
  void operator()(const ShellRing& g) const {
    hole(g.inner_radius, g.outer_radius);
    curvature("geometric_focus", g.geometric_focus, "outer_radius", g.outer_radius);
  }
};

struct ShapeName {
  const char* operator()(const Rectangle&) const { return "rect"; }
  const char* operator()(const Circle&) const { return "circ"; }
  const char* operator()(const Ring&) const { return "ring"; }
  const char* operator()(const Shell&) const { return "shel"; }
  const char* operator()(const ShellRing&) const { return "sph ring"; }
};

struct Extent {
  static double cap(double radius, double curvature) {
    const double depth = curvature - std::sqrt(curvature * curvature - radius * radius);
    return std::hypot(radius, depth);
  }
  double operator()(const Rectangle& g) const { return std::hypot(g.width, g.height) / 2; }
  double operator()(const Circle& g) const { return g.radius; }
  double operator()(const Ring& g) const { return g.outer_radius; }
  double operator()(const Shell& g) const { return cap(g.radius, g.rad_curvature); }
  double operator()(const ShellRing& g) const { return cap(g.outer_radius, g.geometric_focus); }
};

}  // namespace

std::unique_ptr<Transducer> make_transducer(const Element& element) {
  auto transducer = std::visit(Maker{element.amplitude, element.phase}, element.geometry);
  transducer->set_center(element.center);
  transducer->set_euler(element.euler);
  transducer->set_time_delay(element.time_delay);
  transducer->set_piston_apodization_index(element.apodization_index);
  return transducer;
}

const char* shape_name(const Geometry& geometry) { return std::visit(ShapeName{}, geometry); }

void check_element(const Element& element, std::size_t number) {
  const Checker check{number};
  std::visit(check, element.geometry);
  for (const double x : {element.center.x, element.center.y, element.center.z}) {
    check.finite("center", x);
  }
  for (const double x : {element.euler.x, element.euler.y, element.euler.z}) {
    check.finite("euler", x);
  }
  check.finite("amplitude", element.amplitude);
  check.finite("phase", element.phase);
  check.finite("time_delay", element.time_delay);
  if (element.apodization_index < 0 || element.apodization_index > 4) {
    fail(
        "element %zu: apodization_index must be 0 (none), 1 (cosine), 2 (raised cosine), "
        "3 (quadratic) or 4 (quartic), but it is %d.",
        number, element.apodization_index);
  }
}

double extent(const Geometry& geometry) { return std::visit(Extent{}, geometry); }

}  // namespace kestrel::fields
