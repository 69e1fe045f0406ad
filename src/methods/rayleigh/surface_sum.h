#pragma once

#include <complex>
#include <vector>

#include "methods/common/four_wide_method.h"
#include "methods/fnm/cap_fnm.h"
#include "methods/rayleigh/surface_terms.h"

namespace kestrel {

/// Direct sums of the Rayleigh-Sommerfeld integral p = j rho f0 w * surface integral of
/// e^{-(alpha + jk)R}/R. Slow and independent of the fast nearfield method: its yardstick.

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
  Propagation propagation;

  using NodeDistance = Distance;
  double wide_math_limit() const { return propagation.wide_math_limit(extent, extent); }
  /// `reach`: no node lies farther from the element's origin.
  void sum(FieldTile& tile, double reach) const;
};

extern template struct AxisymmetricSurface<PlanarDistance>;
extern template struct AxisymmetricSurface<SphericalDistance>;

/// Piston or ring.
struct PlanarSurface : AxisymmetricSurface<PlanarDistance> {
  static constexpr int regions = 1;
  int region(double, double, double z) const { return z >= 0 ? 0 : -1; }
  void evaluate(FieldTile& tile, int) const { sum(tile, extent); }
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
  std::complex<double> closed_form() const;
};

/// One of these surfaces in single precision, lanes over four azimuths.
template <class Surface>
struct SurfaceFourWide : FourWideMethod<SurfaceFourWide<Surface>, Surface> {
  FourWideTable azimuth;
  FourWideTable lane_weight;  ///< 1, and 0 in lanes beyond the last azimuth

  /// `packing`: what becomes of the azimuths beyond a multiple of four.
  SurfaceFourWide(const Surface& surface, FourWideTable::Packing packing)
      : FourWideMethod<SurfaceFourWide, Surface>(surface),
        azimuth(surface.azimuth, packing),
        lane_weight(std::vector(surface.azimuth.size(), 1.0), FourWideTable::pad_zero) {}
  std::complex<double> pressure(double x, double y, double z) const;
};

extern template struct SurfaceFourWide<PlanarSurface>;
extern template struct SurfaceFourWide<CapSurface>;

/// Product Gauss rule over a rectangular face.
struct RectangleSurface {
  std::vector<double> x_node, x_weight, y_node, y_weight;
  std::complex<double> weight;  ///< complex weight of the element
  double density = 0, f0 = 0;
  double extent = 0;
  Propagation propagation;

  static constexpr int regions = 1;
  int region(double, double, double z) const { return z < 0 ? -1 : 0; }
  double wide_math_limit() const { return propagation.wide_math_limit(extent, extent); }
  void evaluate(FieldTile& tile, int region) const;
  /// Turns sums over the face into pressures.
  void scale(FieldTile& tile) const;
};

/// The same in single precision, lanes over four y nodes.
struct RectangleSurfaceFourWide : FourWideMethod<RectangleSurfaceFourWide, RectangleSurface> {
  FourWideTable x_node, x_weight, y_node, y_weight;

  explicit RectangleSurfaceFourWide(const RectangleSurface& surface);
  std::complex<double> pressure(double x, double y, double z) const;
  void evaluate(FieldTile& tile, int region) const {
    FourWideMethod::evaluate(tile, region);
    exact.scale(tile);
  }
};

}  // namespace kestrel
