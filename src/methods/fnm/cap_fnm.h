#pragma once

#include <algorithm>
#include <cmath>
#include <complex>
#include <vector>

#include "methods/common/four_wide_method.h"

namespace kestrel {

/// A spherical cap: aperture radius a cut from a sphere of radius R_c, apex at the origin, concave
/// towards +z, centre of curvature at z = R_c. At most a hemisphere.
struct CapGeometry {
  double radius = 0;     ///< a, metres
  double curvature = 0;  ///< R_c, metres
  double rim_depth = 0;  ///< h = sqrt(R_c^2 - a^2), from the centre back to the rim plane

  CapGeometry(double a, double rc)
      : radius(a), curvature(rc), rim_depth(std::sqrt(rc * rc - a * a)) {}

  enum Region { outside = -1, general = 0, focus = 1 };

  /// Points on the focal side of the rim plane or inside the sphere are computed; the centre of
  /// curvature has a closed form. A NaN fails both tests.
  int region(double x, double y, double z) const {
    const double r = std::sqrt(x * x + y * y), zeta = z - curvature;
    if (!(zeta >= -rim_depth || r * r + zeta * zeta <= curvature * curvature)) return outside;
    return r < 1e-10 && std::abs(zeta) < 1e-10 ? focus : general;
  }

  /// From the apex to the rim, which is as far as the cap gets.
  double chord() const { return std::hypot(radius, curvature - rim_depth); }
  /// Bounds every path's excess over |x| + |y| + |z|, the one along the line through the centre of
  /// curvature included.
  double extent() const { return 3 * curvature; }
};

/// Fast nearfield expression of a uniformly vibrating spherical cap:
///
///     p = (rho c R_c a w / pi) int_0^pi F(psi) (E(R(psi)) - E(L)) d psi
///
/// with zeta = z - R_c, R^2 = R_c^2 + r^2 + zeta^2 - 2 a r cos psi + 2 zeta h, L the path along the
/// line through the centre of curvature, and F the solid-angle element of the rim seen along that
/// line. The surface integral over the cap (H. T. O'Neil, "Theory of focusing radiators", J.
/// Acoust. Soc. Am. 21, 516-526 (1949)) in polar coordinates about that line leaves only the rim.
struct CapFnm {
  CapGeometry cap;
  double prefactor = 0;         ///< rho c R_c a / pi
  std::complex<double> weight;  ///< complex weight of the element, negated for a hole
  double density = 0, f0 = 0;   ///< of the closed form at the focus
  std::vector<double> cosine, node_weight;
  Propagation propagation;

  static constexpr int regions = 2;
  int region(double x, double y, double z) const { return cap.region(x, y, z); }
  double wide_math_limit() const {
    return propagation.wide_math_limit(cap.extent(), std::min(cap.radius, cap.curvature));
  }
  void evaluate(FieldTile& tile, int region) const;
  /// Value at the centre of curvature, where every path has the length R_c:
  /// p = j 2 pi rho f0 (R_c - h) e^{-(alpha + jk)R_c} w.
  std::complex<double> closed_form() const;
};

/// The same in single precision, lanes over four angles. Loses all accuracy near the centre of
/// curvature, where nearly equal path lengths are subtracted.
struct CapFourWide : FourWideMethod<CapFourWide, CapFnm> {
  FourWideTable cosine, weight;

  explicit CapFourWide(const CapFnm& cap)
      : FourWideMethod(cap),
        cosine(cap.cosine, FourWideTable::drop),
        weight(cap.node_weight, FourWideTable::drop) {}
  std::complex<double> pressure(double x, double y, double z) const;
};

}  // namespace kestrel
