#pragma once

#include <complex>
#include <vector>

#include "kestrel/compiler.h"
#include "methods/common/field_tile.h"
#include "methods/fnm/cap_fnm.h"

namespace kestrel {

/// Direct sums of the Rayleigh-Sommerfeld integral p = j rho f0 w * surface integral of
/// e^{-(alpha + jk)R}/R. Slow and independent of the fast nearfield method: its yardstick.

/// One circle of nodes on an axisymmetric surface.
struct SurfaceCircle {
  double radius = 0;  ///< rho_m, metres
  double height = 0;  ///< above the centre of curvature; unused on a plane
  double weight = 0;  ///< area element, times the profile; negative on a hole
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
};

/// Midpoint sum over circles m and half-turn azimuths n (the prefactor counts the mirror half).
/// With a hole, its circles follow those of the outer disc one by one, as the terms are added.
template <class Distance>
struct AxisymmetricSurface {
  std::vector<SurfaceCircle> circles;
  int surfaces = 1;             ///< 2: circles alternate between outer disc and hole
  std::vector<double> azimuth;  ///< table that Distance wants
  double axial_origin = 0;      ///< local z of the plane, or of the centre of curvature
  double extent = 0;            ///< metres
  std::complex<double> prefactor;
  Propagation propagation;  ///< attenuation and phase are applied separately

  double reach() const { return propagation.reach(extent); }
  void sum(FieldTile& tile) const;
};

extern template struct AxisymmetricSurface<PlanarDistance>;
extern template struct AxisymmetricSurface<SphericalDistance>;

/// Piston or ring.
struct PlanarSurface : AxisymmetricSurface<PlanarDistance> {
  static constexpr int regions = 1;
  int region(double, double, double z) const { return z >= 0 ? 0 : -1; }
  void evaluate(FieldTile& tile, int) const { sum(tile); }
};

/// Shell, or one of the two caps of a spherical ring. The apex has a closed form: seen from there
/// the sphere's area element is 2 pi R dR.
struct CapSurface : AxisymmetricSurface<SphericalDistance> {
  CapGeometry cap;
  explicit CapSurface(const CapGeometry& geometry) : cap(geometry) {}

  static constexpr int regions = 2;
  int region(double x, double y, double z) const {
    if (cap.region(x, y, z) == CapGeometry::outside) return -1;
    return std::sqrt(x * x + y * y) < 1e-10 && std::abs(z) < 1e-10 ? 1 : 0;
  }
  void evaluate(FieldTile& tile, int region) const;
  std::complex<double> apex_pressure() const;
};

/// Product Gauss rule over a rectangular face.
struct RectangleSurface {
  std::vector<double> x_node, x_weight, y_node, y_weight;
  std::complex<double> weight;  ///< complex weight of the element
  double density = 0, f0 = 0;
  double extent = 0;
  Propagation propagation;

  static constexpr int regions = 1;
  int region(double, double, double z) const { return z < 0 ? -1 : 0; }
  double reach() const { return propagation.reach(extent); }
  void evaluate(FieldTile& tile, int region) const;
  /// Turns sums over the face into pressures.
  void scale(FieldTile& tile) const;
};

}  // namespace kestrel
