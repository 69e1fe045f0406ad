#pragma once

#include <cmath>
#include <vector>

#include "methods/common/quotient_terms.h"
#include "methods/common/wave.h"
#include "methods/common/wave_constants.h"

namespace kestrel {

/// One circle of nodes on an axisymmetric surface.
struct SurfaceCircle {
  double radius = 0;  ///< rho_m, metres
  double height = 0;  ///< above the centre of curvature; unused on a plane
  double weight = 0;  ///< area element, times the profile; negative on a hole
};

/// Midpoint circles of a disc: rho_m = (m + 1/2) a/N, weighted with their cell's area over half a
/// turn of N azimuths.
inline std::vector<SurfaceCircle> midpoint_circles(double radius, int n) {
  const double radial = radius / n, angular = detail::kPi / n;
  std::vector<SurfaceCircle> circles;
  for (int m = 0; m < n; ++m) {
    const double rho = (m + 0.5) * radial;
    circles.push_back({rho, 0, radial * rho * angular});
  }
  return circles;
}
/// The cosines of the azimuths: cos((n + 1/2) pi/N).
inline std::vector<double> midpoint_cosines(int n) {
  const double step = detail::kPi / n;
  return detail::table_of(n, [&](int i) { return std::cos((i + 0.5) * step); });
}

/// R^2 from one point to the nodes of one circle in four lanes: (azimuth * slope + of_circle) +
/// of_point.
struct FourWideCircle {
  float slope, of_circle, of_point;
};

/// On a plane: R^2 = (rho^2 + z^2 + r^2) - 2 rho r cos psi, table of cos psi.
struct PlanarDistance {
  static KESTREL_INLINE double base(const SurfaceCircle& circle, double /*r*/, double r_squared,
                                    double z) {
    return circle.radius * circle.radius + (z * z + r_squared);
  }
  static KESTREL_INLINE double squared(double base, double twice_rho_r, double cosine) {
    return base - twice_rho_r * cosine;
  }
  static FourWideCircle four_wide(const SurfaceCircle& circle, double x, double y, double z) {
    const auto xf = static_cast<float>(x), yf = static_cast<float>(y), zf = static_cast<float>(z);
    const float r_squared = xf * xf + yf * yf;
    return {-2 * static_cast<float>(circle.radius) * std::sqrt(r_squared),
            static_cast<float>(circle.radius * circle.radius), zf * zf + r_squared};
  }
};

/// On a sphere: a sum of squares, R^2 = (r - rho)^2 + (zeta + height)^2 + 2 rho r (1 - cos psi),
/// which does not cancel next to the surface; table of 1 - cos psi.
struct SphericalDistance {
  static KESTREL_INLINE double base(const SurfaceCircle& circle, double r, double /*r_squared*/,
                                    double zeta) {
    const double radial = r - circle.radius, axial = zeta + circle.height;
    return radial * radial + axial * axial;
  }
  static KESTREL_INLINE double squared(double base, double twice_rho_r, double one_minus_cosine) {
    return base + twice_rho_r * one_minus_cosine;
  }
  /// The squares of short distances are formed in double and only then rounded.
  static FourWideCircle four_wide(const SurfaceCircle& circle, double x, double y, double zeta) {
    const double r = std::sqrt(x * x + y * y);
    return {static_cast<float>(2 * circle.radius * r), static_cast<float>(base(circle, r, 0, zeta)),
            0};
  }
};

/// E(R)/R of a node on a circle, times its weight; attenuation and phase are applied separately.
template <class T, class Wave>
KESTREL_INLINE LaneComplex<T> circle_term(const Wave& wave, T path, T weight) {
  return wave.decay(path) * weight / path * wave.oscillation(path);
}

/// The path from a node of a rectangular face.
template <class T>
KESTREL_INLINE T node_path(T dx, T dy, T z) {
  using std::sqrt;
  return sqrt(dy * dy + dx * dx + z * z);
}

/// E(R)/R of such a node, times its weight. A point that coincides with a node takes the node's
/// weight in both parts. In doubles each part is divided by R, in four lanes the weight is.
template <class Wave>
KESTREL_INLINE LaneComplex<double> node_term(const Wave& wave, double path, double weight) {
  const LaneComplex<double> e = wave(path);
  return {path != 0 ? weight * e.re / path : weight, path != 0 ? weight * e.im / path : weight};
}
/// The same before its division.
template <class Wave>
KESTREL_INLINE QuotientTerm node_quotient(const Wave& wave, double path, PathReference of_point,
                                          double weight) {
  const LaneComplex<double> e = wave(path, of_point);
  const bool at_node = path == 0;
  return {weight, at_node ? 1 : path, {at_node ? 1 : e.re, at_node ? 1 : e.im}};
}
KESTREL_INLINE LaneComplex<float4> node_term(const FourWideWave& wave, float4 path, float4 weight) {
  const LaneComplex<float4> term = (weight / path) * wave(path);
  const auto at_node = equal(path, float4::splat(0));
  return {select(at_node, weight, term.re), select(at_node, weight, term.im)};
}

}  // namespace kestrel
