#include <algorithm>
#include <cmath>
#include <numbers>

#include "kestrel/error.h"
#include "kestrel/geometry.h"

namespace kestrel {

namespace {

constexpr double kPi = std::numbers::pi;

/// Height of a spherical face's rim over its apex.
double depth(double radius, double curvature) {
  return curvature - std::sqrt(curvature * curvature - radius * radius);
}

}  // namespace

double RadialFace::height(double radius) const {
  return curvature > 0 ? depth(radius, curvature) : 0.0;
}

double support_of(const RadialFace& face, CartesianCoordinate direction) {
  const double across = std::hypot(direction.x, direction.y);
  const auto rim = [&](double radius) {
    return radius * across + face.height(radius) * direction.z;
  };
  const double of_rims = std::max(rim(face.inner_radius), rim(face.outer_radius));
  if (!(face.curvature > 0)) return of_rims;
  // The sphere's own farthest point, where it belongs to the face: the lower half of a sphere about
  // (0, 0, curvature) is what faces +z.
  const double from_axis = face.curvature * across;
  const bool on_face =
      direction.z <= 0 && from_axis >= face.inner_radius && from_axis <= face.outer_radius;
  return on_face ? std::max(of_rims, face.curvature * (1 + direction.z)) : of_rims;
}

void SizeCheck::finite(const char* field, double value) const {
  if (!std::isfinite(value)) {
    fail("%s%s must be real and finite, but it is %g.", _prefix.c_str(), field, value);
  }
}

void SizeCheck::positive(const char* field, double value) const {
  finite(field, value);
  if (!(value > 0)) fail("%s%s must be positive, but it is %g.", _prefix.c_str(), field, value);
}

void SizeCheck::hole(double inner, double outer) const {
  finite("inner_radius", inner);
  positive("outer_radius", outer);
  if (inner < 0 || inner >= outer) {
    fail("%sinner_radius must be at least 0 and below outer_radius = %g, but it is %g.",
         _prefix.c_str(), outer, inner);
  }
}

void SizeCheck::curvature(const char* field, double curvature, const char* rim,
                          double radius) const {
  positive(field, curvature);
  if (radius > curvature) {
    fail("%s%s = %g must not be below %s = %g: a shell is at most a hemisphere.", _prefix.c_str(),
         field, curvature, rim, radius);
  }
}

void Rectangle::check(const SizeCheck& size) const {
  size.positive("width", width);
  size.positive("height", height);
}
double Rectangle::support(CartesianCoordinate direction) const {
  return std::abs(direction.x) * width / 2 + std::abs(direction.y) * height / 2;
}
double Rectangle::extent() const { return std::hypot(width, height) / 2; }

void Circle::check(const SizeCheck& size) const { size.positive("radius", radius); }
double Circle::area() const { return kPi * radius * radius; }

void Ring::check(const SizeCheck& size) const { size.hole(inner_radius, outer_radius); }
double Ring::area() const {
  return kPi * (outer_radius * outer_radius - inner_radius * inner_radius);
}

void Shell::check(const SizeCheck& size) const {
  size.positive("radius", radius);
  size.curvature("rad_curvature", rad_curvature, "radius", radius);
}
double Shell::extent() const { return std::hypot(radius, depth(radius, rad_curvature)); }
double Shell::area() const { return 2 * kPi * rad_curvature * depth(radius, rad_curvature); }
FieldJumps Shell::jumps() const { return {{0.0, depth(radius, rad_curvature)}, rad_curvature}; }

void ShellRing::check(const SizeCheck& size) const {
  size.hole(inner_radius, outer_radius);
  size.curvature("geometric_focus", geometric_focus, "outer_radius", outer_radius);
}
double ShellRing::extent() const {
  return std::hypot(outer_radius, depth(outer_radius, geometric_focus));
}
double ShellRing::area() const {
  return 2 * kPi * geometric_focus *
         (depth(outer_radius, geometric_focus) - depth(inner_radius, geometric_focus));
}
FieldJumps ShellRing::jumps() const {
  FieldJumps jumps{{0.0, depth(outer_radius, geometric_focus)}, geometric_focus};
  // The inner cap is superposed with its own rim plane.
  if (inner_radius > 0) jumps.planes.push_back(depth(inner_radius, geometric_focus));
  return jumps;
}

const ShapeFacts& shape_facts(const Geometry& geometry) {
  return std::visit([](const auto& g) -> const ShapeFacts& { return g.kFacts; }, geometry);
}

std::string list_shapes() {
  std::string text;
  for_each_shape([&](const auto& shape) {
    text += (text.empty() ? "'" : ", '") + std::string(shape.kFacts.name) + "'";
  });
  return text;
}

}  // namespace kestrel
