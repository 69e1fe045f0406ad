#pragma once

#include "kestrel/geometry.h"

namespace kestrel::fields {

/// The edges of a face, next to which quadrature is hardest.
struct Outline {
  bool round;            ///< the edges are the circles of `rims`
  RadialFace rims = {};  ///< an inner radius of 0 is no edge
  /// Half the sides of the rectangle around a face that is not round, along x and y.
  double half_width = 0, half_height = 0;

  explicit Outline(const Geometry& geometry)
      : round(shape_facts(geometry).symmetry == Symmetry::axial) {
    const auto of_face = [&](const auto& face) {
      rims = face.radial_face();
      if (round) return;
      half_width = face.support({1, 0, 0});
      half_height = face.support({0, 1, 0});
    };
    std::visit(of_face, geometry);
  }
};

}  // namespace kestrel::fields
