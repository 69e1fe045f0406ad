#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>

#include "kestrel/arrays.h"
#include "kestrel/error.h"

namespace kestrel {

namespace {

constexpr double kPi = std::numbers::pi;
/// Contiguous elements touch, perhaps up to rounding.
constexpr double kTouching = 1e-9;

void check_count(int n) {
  if (n < 1) fail("n must be a whole number of at least 1, but it is %d.", n);
}

double per_element(const char* name, const std::vector<double>& values, std::size_t index,
                   std::size_t count) {
  if (values.size() != 1 && values.size() != count) {
    fail("%s must have 1 or %zu entries, but it has %zu.", name, count, values.size());
  }
  return values[values.size() == 1 ? 0 : index];
}

/// Angles of an element that radiates along a direction and is spun about it.
CartesianCoordinate facing(CartesianCoordinate direction, double spin) {
  CartesianCoordinate euler = euler_towards(direction);
  euler.z = spin;
  return euler;
}

double sine_squared(double angle) { return std::sin(angle) * std::sin(angle); }

/// Unit vectors from the sphere's centre to the discs' centres; empty when not even one disc has
/// its place between the opening and the aperture.
std::vector<CartesianCoordinate> spiral(int n, const Bowl& bowl) {
  const double reach = std::hypot(bowl.rad_curvature, bowl.element_radius);
  const double half_angle = std::atan(bowl.element_radius / bowl.rad_curvature);
  // A disc at the polar angle t lies between the distances reach * sin(t -+ half_angle) from the
  // axis.
  const double outermost = std::asin(bowl.aperture_radius / reach) - half_angle;
  const bool open = bowl.inner_radius > 0;
  const double innermost = open ? std::asin(bowl.inner_radius / reach) + half_angle : 0.0;
  if (outermost < innermost) return {};

  // Equal steps of height are equal areas. The last disc touches the aperture and, around an
  // opening, the first one touches that. Without one the start of the spiral, where it is the most
  // uneven, is left out: 0.5 would be the whole, and 1.3 has room for larger discs at nearly every
  // n.
  const auto part = [&](int step) {
    if (open) return step / std::max(n - 1.0, 1.0);
    return n == 1 ? 0.0 : (step + 1.3) / (n + 0.3);
  };
  std::vector<CartesianCoordinate> directions;
  for (int step = 0; step < n; ++step) {
    const double sagitta = 2 * sine_squared(innermost / 2) * (1 - part(step)) +
                           2 * sine_squared(outermost / 2) * part(step);
    const double turn = step * kPi * (3 - std::sqrt(5.0));
    const double across = std::sqrt(sagitta * (2 - sagitta));
    directions.emplace_back(across * std::cos(turn), across * std::sin(turn), sagitta - 1);
  }
  return directions;
}

/// Whether flat discs that touch the sphere at these directions keep clear of each other: the
/// planes of two of them meet at the distance rad_curvature * tan(half the angle between).
bool fit(const std::vector<CartesianCoordinate>& directions, const Bowl& bowl) {
  if (directions.empty()) return false;
  const double nearest = std::cos(2 * std::atan(bowl.element_radius / bowl.rad_curvature));
  for (std::size_t i = 1; i < directions.size(); ++i) {
    for (std::size_t j = 0; j < i; ++j) {
      const CartesianCoordinate &a = directions[i], &b = directions[j];
      if (a.x * b.x + a.y * b.y + a.z * b.z > nearest + 1e-12) return false;
    }
  }
  return true;
}

/// The largest element radius that fits, to 0.1 micrometres, below one that does not.
double largest_radius(int n, Bowl bowl) {
  double low = 0, high = bowl.element_radius;
  for (int i = 0; i < 30; ++i) {
    bowl.element_radius = (low + high) / 2;
    (fit(spiral(n, bowl), bowl) ? low : high) = bowl.element_radius;
  }
  return std::floor(low * 1e7) / 1e7;
}

}  // namespace

std::vector<Element> place(std::vector<Element> array, const Placement& placement) {
  const Rotation rotation(placement.euler);
  for (std::size_t i = 0; i < array.size(); ++i) {
    Element& element = array[i];
    const CartesianCoordinate turned = rotation.to_global(element.center);
    element.center = {turned.x + placement.center.x, turned.y + placement.center.y,
                      turned.z + placement.center.z};
    element.euler = compose_euler(element.euler, placement.euler);
    element.amplitude = per_element("amplitude", placement.amplitude, i, array.size());
    element.phase = per_element("phase", placement.phase, i, array.size());
    check_element(element, i + 1);
  }
  return array;
}

std::vector<Element> linear_array(int n, const Rectangle& element, double pitch,
                                  const Placement& placement) {
  return planar_array({n, 1}, element, {pitch, element.height}, placement);
}

std::vector<Element> planar_array(std::array<int, 2> n, const Rectangle& element,
                                  std::array<double, 2> pitch, const Placement& placement) {
  const SizeCheck size("");
  element.check(size);
  const std::array<double, 2> extent = {element.width, element.height};
  for (std::size_t axis = 0; axis < 2; ++axis) {
    check_count(n[axis]);
    size.positive("pitch", pitch[axis]);
    if (n[axis] > 1 && pitch[axis] < extent[axis] * (1 - kTouching)) {
      fail("a pitch of %g m makes elements of %g m overlap.", pitch[axis], extent[axis]);
    }
  }
  const auto offset = [&](int i, std::size_t axis) {
    return (i - (n[axis] - 1) / 2.0) * pitch[axis];
  };
  std::vector<Element> array;
  for (int iy = 0; iy < n[1]; ++iy) {
    for (int ix = 0; ix < n[0]; ++ix) {
      array.push_back({.geometry = element, .center = {offset(ix, 0), offset(iy, 1), 0}});
    }
  }
  return place(std::move(array), placement);
}

std::vector<Element> curved_array(int n, const Rectangle& element, double pitch, double radius,
                                  const Placement& placement) {
  const SizeCheck size("");
  check_count(n);
  element.check(size);
  size.positive("pitch", pitch);
  size.finite("radius", radius);
  if (radius == 0) fail("radius must not be 0.");
  if (n * pitch > 2 * kPi * std::abs(radius) * (1 + kTouching)) {
    fail("%d elements at a pitch of %g m are longer than a circle of radius %g m.", n, pitch,
         std::abs(radius));
  }
  // Neighbouring tangents meet half-way, at this distance from the centres. From half a turn on
  // they don't.
  const double angle = pitch / std::abs(radius);
  if (n > 1 && angle < kPi &&
      element.width / 2 > std::abs(radius) * std::tan(angle / 2) * (1 + kTouching)) {
    fail("a pitch of %g m makes elements of %g m overlap.", pitch, element.width);
  }
  std::vector<Element> array;
  for (int i = 0; i < n; ++i) {
    const double turn = (i + 1 - (n + 1) / 2.0) * pitch / radius;
    array.push_back({.geometry = element,
                     .center = {radius * std::sin(turn), 0, radius * 2 * sine_squared(turn / 2)},
                     .euler = {-turn, 0, 0}});
  }
  return place(std::move(array), placement);
}

std::vector<Element> annular_array(std::span<const double> inner_radii,
                                   std::span<const double> outer_radii, double rad_curvature,
                                   const Placement& placement) {
  const std::size_t n = inner_radii.size();
  if (n < 1 || outer_radii.size() != n) {
    fail("inner_radii and outer_radii must have one entry per ring, but they have %zu and %zu.", n,
         outer_radii.size());
  }
  const SizeCheck size("");
  std::vector<Element> array;
  for (std::size_t i = 0; i < n; ++i) {
    const double inner = inner_radii[i], outer = outer_radii[i];
    size.hole(inner, outer);
    const auto make = [&]() -> Geometry {
      if (std::isinf(rad_curvature) && rad_curvature > 0) {
        return inner > 0 ? Geometry(Ring{inner, outer}) : Geometry(Circle{outer});
      }
      size.curvature("rad_curvature", rad_curvature, "outer_radius", outer);
      return inner > 0 ? Geometry(ShellRing{inner, outer, rad_curvature})
                       : Geometry(Shell{outer, rad_curvature});
    };
    array.push_back({.geometry = make()});
  }
  std::vector<std::size_t> order(n);
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::stable_sort(order.begin(), order.end(),
                   [&](std::size_t a, std::size_t b) { return inner_radii[a] < inner_radii[b]; });
  for (std::size_t i = 1; i < n; ++i) {
    const std::size_t within = order[i - 1], around = order[i];
    if (inner_radii[around] < outer_radii[within] * (1 - kTouching)) {
      fail("the rings %zu and %zu overlap.", std::min(within, around) + 1,
           std::max(within, around) + 1);
    }
  }
  return place(std::move(array), placement);
}

std::vector<Element> bowl_array(int n, const Bowl& bowl, const Placement& placement) {
  const SizeCheck size("");
  check_count(n);
  size.positive("element_radius", bowl.element_radius);
  size.positive("aperture_radius", bowl.aperture_radius);
  size.curvature("rad_curvature", bowl.rad_curvature, "aperture_radius", bowl.aperture_radius);
  size.finite("inner_radius", bowl.inner_radius);
  if (bowl.inner_radius < 0) fail("inner_radius must be at least 0.");
  if (bowl.inner_radius >= bowl.aperture_radius) {
    fail("inner_radius must be less than aperture_radius.");
  }
  const std::vector<CartesianCoordinate> directions = spiral(n, bowl);
  if (!fit(directions, bowl)) {
    fail("%d discs of radius %g m do not fit; a radius of %g m does.", n, bowl.element_radius,
         largest_radius(n, bowl));
  }
  std::vector<Element> array;
  for (const CartesianCoordinate& d : directions) {
    // The disc faces the sphere's centre, against its direction from there.
    array.push_back({.geometry = Circle{bowl.element_radius},
                     .center = {bowl.rad_curvature * d.x, bowl.rad_curvature * d.y,
                                bowl.rad_curvature * (d.z + 1)},
                     .euler = {std::atan2(-d.x, -d.z), std::asin(d.y), 0},
                     .apodization_index = bowl.apodization_index});
  }
  return place(std::move(array), placement);
}

std::vector<Element> from_positions(const Element& prototype,
                                    std::span<const CartesianCoordinate> positions,
                                    std::span<const CartesianCoordinate> normals) {
  const CartesianCoordinate kForward[] = {{0, 0, 1}};
  if (normals.empty()) normals = kForward;
  if (normals.size() != 1 && normals.size() != positions.size()) {
    fail("normals must have 1 or %zu rows, but it has %zu.", positions.size(), normals.size());
  }
  for (std::size_t i = 0; i < normals.size(); ++i) {
    const CartesianCoordinate n = normals[i];
    if (n.x == 0 && n.y == 0 && n.z == 0) fail("normal %zu has the length 0.", i + 1);
  }
  std::vector<Element> array(positions.size(), prototype);
  for (std::size_t i = 0; i < array.size(); ++i) {
    array[i].center = positions[i];
    array[i].euler = facing(normals[normals.size() == 1 ? 0 : i], prototype.euler.z);
    check_element(array[i], i + 1);
  }
  return array;
}

void aim(std::span<Element> array, CartesianCoordinate point) {
  for (std::size_t i = 0; i < array.size(); ++i) {
    const CartesianCoordinate center = array[i].center;
    const CartesianCoordinate way{point.x - center.x, point.y - center.y, point.z - center.z};
    if (way.x == 0 && way.y == 0 && way.z == 0) {
      fail("element %zu has its centre at the point.", i + 1);
    }
    array[i].euler = facing(way, array[i].euler.z);
  }
}

}  // namespace kestrel
