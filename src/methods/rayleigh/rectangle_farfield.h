#pragma once

#include <complex>

#include "methods/common/field_tile.h"

namespace kestrel {

/// Fraunhofer field of a rectangular face: a spherical wave from its centre times one sinc
/// directivity per side (A. D. Pierce, "Acoustics", chapter 5).
struct RectangleFarfield {
  double half_width_k = 0;         ///< a k
  double half_height_k = 0;        ///< b k
  std::complex<double> amplitude;  ///< j 4ab rho f0 w
  Propagation propagation;

  static constexpr int regions = 1;
  /// Behind the face, and at its centre: -1.
  int region(double x, double y, double z) const {
    return z < 0 || !(distance(x, y, z) > 0) ? -1 : 0;
  }
  double wide_math_limit() const { return propagation.wide_math_limit(0); }
  void evaluate(FieldTile& tile, int region) const;

  static double distance(double x, double y, double z) { return std::sqrt(z * z + x * x + y * y); }
};

/// The face cut into n-by-n equal sub-rectangles, each a Fraunhofer radiator of its own. Converges
/// as n^-2, with an error some 15 times smaller than the midpoint rule's because every
/// sub-rectangle carries its tilt of phase exactly; n = 1 in a lossless medium is the far field.
struct RectangleRadiators {
  int n = 0;
  double half_width = 0, half_height = 0;  ///< of the whole face, metres
  std::complex<double> prefactor;          ///< j rho f0 w
  Propagation propagation;

  static constexpr int regions = 1;
  int region(double, double, double z) const { return z < 0 ? -1 : 0; }
  double wide_math_limit() const { return propagation.wide_math_limit(half_width + half_height); }
  void evaluate(FieldTile& tile, int region) const;
};

}  // namespace kestrel
