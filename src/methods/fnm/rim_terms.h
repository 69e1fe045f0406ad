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
