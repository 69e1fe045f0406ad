#pragma once

#include <cmath>

#include "kestrel/compiler.h"

namespace kestrel {

/// A node of a circle of radius a about the axis, seen from the projection of a point at distance r
/// from the axis, psi its azimuth from there. What the radial part is divided by, and how, differs
/// between the methods.
template <class T>
struct DiscRimTerm {
  T squared;  ///< of the distance: r^2 + a^2 - 2 a r cos psi
  T radial;   ///< r cos psi - a

  KESTREL_INLINE DiscRimTerm(T r, T r_squared, T a, T a_squared, T cosine, T twice_a_r_cosine)
      : squared((r_squared + a_squared) - twice_a_r_cosine), radial(cosine * r - a) {}
};

/// A node of a cap's rim, seen from a point at distance r from the axis and at zeta along it from
/// the centre of curvature.
template <class T>
struct CapRimTerm {
  T factor;  ///< F(psi) of CapFnm
  T path;    ///< R(psi)

  /// a: aperture radius, rc: radius of curvature, h: depth of the rim below the centre.
  KESTREL_INLINE CapRimTerm(T a, T rc, T h, T r, T zeta, T cosine) {
    using std::sqrt;
    const T t1 = r * cosine * h, t2 = a * zeta, t3 = r * a * cosine, r_rc = r * rc;
    factor = (t1 + t2) / ((((zeta * (a + a)) * t1 + r_rc * r_rc) - t3 * t3) + t2 * t2);
    path = sqrt((((rc * rc + r * r) + zeta * zeta) - (a + a) * r * cosine) + (zeta + zeta) * h);
  }
};

/// The same for several nodes of one point: F(psi) is numerator / denominator, and what depends on
/// the point alone stands by itself. With h^2 = R_c^2 - a^2 the denominator is a sum of squares.
struct CapRimPoint {
  double r_h, a_zeta, r_rc_squared, squares, twice_a_r, twice_zeta_h;

  KESTREL_INLINE CapRimPoint(double a, double rc, double h, double r, double zeta)
      : r_h(r * h),
        a_zeta(a * zeta),
        r_rc_squared((r * rc) * (r * rc)),
        squares((rc * rc + r * r) + zeta * zeta),
        twice_a_r((a + a) * r),
        twice_zeta_h((zeta + zeta) * h) {}

  KESTREL_INLINE double numerator(double cosine) const { return r_h * cosine + a_zeta; }
  KESTREL_INLINE double denominator(double numerator, double sine_squared) const {
    return numerator * numerator + r_rc_squared * sine_squared;
  }
  /// To the bits of CapRimTerm, because next to the centre of curvature the last of them counts.
  KESTREL_INLINE double path(double cosine) const {
    return std::sqrt((squares - twice_a_r * cosine) + twice_zeta_h);
  }
};

/// +1 beyond the centre of curvature, -1 before it. In the focal plane the line through the centre
/// meets the sphere beside the cap, and no side is taken.
KESTREL_INLINE double side_of_centre(double zeta) {
  return zeta > 1e-10 ? 1 : zeta < -1e-10 ? -1 : 0;
}
/// The path to the sphere along the line through the centre of curvature.
template <class T>
KESTREL_INLINE T cap_direct_path(T side, T rc, T r, T zeta) {
  using std::sqrt;
  return side * sqrt(r * r + zeta * zeta) + rc;
}

}  // namespace kestrel
