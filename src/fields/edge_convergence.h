#pragma once

#include <cmath>

namespace kestrel::fields {

/// Wavenumber and amplitude attenuation, 1/m.
struct Wave {
  double k = 0, alpha = 0;
};

/// The integrals of the fast nearfield method, over -1 < w < 1. Lengths in metres.

/// Along a straight edge, at u = middle + half w from the point's projection, which is `across`
/// from the edge; the point is at `height` above the face.
struct StraightEdge {
  double middle, half, across, height;
};

/// Over half the rim of a disc, psi = (1 + w) pi/2; the point is r off the axis.
struct DiscRim {
  double radius, r, height;
};

/// Over half the rim of a cap; the point is r off the axis and zeta behind the centre of curvature.
struct CapRim {
  double radius, curvature, r, zeta;
};

/// Estimate of the error of Gauss's rule, relative to rho c |amplitude| of the element.
///
/// The error is a contour integral of the integrand times 2 pi r^(-2n-1), n being the number of
/// nodes and r the sum of the semi-axes of an ellipse with foci -1 and 1 (P. J. Davis and
/// P. Rabinowitz, "Methods of Numerical Integration", section 4.6). The integrand
///
///     N (E(R) - E(L)) / (R^2 - L^2),      E(R) = e^{-(alpha + jk) R},
///
/// with the path R from the edge and the direct path L, is evaluated on ellipses of many sizes, and
/// the best ellipse is taken. It may hold singularities, if what they add is added:
///
/// - R = 0 is a branch point. From there the part of the integrand that is odd in R is integrated
///   along a cut. It is small next to an edge, where the branch point is near the interval.
/// - A cap's integrand has a pole where R = L', the path through the centre of curvature to the
///   sphere's other side. For a hemisphere it comes close to the rim when the point comes close to
///   the plane of the rim. Outside of the sphere there is another where R = -L.
double quadrature_error(const Wave& wave, const StraightEdge& edge, int nodes);
double quadrature_error(const Wave& wave, const DiscRim& rim, int nodes);
double quadrature_error(const Wave& wave, const CapRim& rim, int nodes);

/// The number of nodes, at most `most`, for which that estimate is no more than `error`.
int nodes_for_error(const Wave& wave, const StraightEdge& edge, double error, int most);
int nodes_for_error(const Wave& wave, const DiscRim& rim, double error, int most);
int nodes_for_error(const Wave& wave, const CapRim& rim, double error, int most);

}  // namespace kestrel::fields
