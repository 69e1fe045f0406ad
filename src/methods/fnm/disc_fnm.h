#pragma once

#include <complex>
#include <vector>

#include "methods/common/four_wide_method.h"

namespace kestrel {

/// One circular edge of a planar source.
struct DiscEdge {
  double radius = 0;                        ///< a, metres
  double sign = 1;                          ///< -1 for the rim of a hole
  std::complex<double> prefactor;           ///< rho c a w / pi
  std::vector<double> twice_radius_cosine;  ///< 2a cos psi_j
};

/// Fast nearfield expression of a circular piston, or of a planar ring as outer disc less hole:
///
///     p = (rho c a w / pi) int_0^pi (r cos psi - a) / (r^2 + a^2 - 2 a r cos psi)
///                                   * (E(R(psi)) - E(z)) d psi,
///     R^2 = z^2 + r^2 + a^2 - 2 a r cos psi,         E(R) = e^{-(alpha + jk)R}
///
/// The Rayleigh integral in polar coordinates about the point's projection; the radial part
/// integrates in closed form and leaves the rim (G. R. Harris, "Review of transient field theory
/// for a baffled planar piston", J. Acoust. Soc. Am. 70, 10-20 (1981), has the same reduction in
/// time).
///
/// `fold_prefactor`: a ring multiplies each term by its edge's prefactor, a piston its finished
/// sum; the two round differently.
template <bool fold_prefactor>
struct DiscFnm {
  std::vector<DiscEdge> edges;
  std::vector<double> cosine, weight;  ///< of the rule's nodes psi_j on (0, pi)
  Propagation propagation;

  static constexpr int regions = 1;
  /// Behind the face, or NaN: -1.
  int region(double, double, double z) const { return z >= 0 ? 0 : -1; }
  double reach() const;  ///< the largest radius
  double wide_math_limit() const;
  void evaluate(FieldTile& tile, int region) const;
};

extern template struct DiscFnm<false>;
extern template struct DiscFnm<true>;

/// The same for a piston with a radial velocity profile: a superposition of uniform discs, weighted
/// with the derivative of the profile, so a sum over radii sigma_m of edge terms.
struct ApodizedDiscFnm {
  struct Radius {
    double sigma = 0;  ///< metres
    double sigma_squared = 0;
    double derivative = 0;  ///< of the profile at sigma
    double weight = 0;
  };
  double radius = 0;  ///< of the piston, metres
  std::vector<Radius> radii;
  std::vector<double> cosine, twice_cosine, weight;  ///< angular nodes
  std::complex<double> prefactor;
  Propagation propagation;

  static constexpr int regions = 1;
  int region(double, double, double z) const { return z >= 0 ? 0 : -1; }
  double reach() const { return 4 * radius; }
  double wide_math_limit() const { return propagation.wide_math_limit(reach(), radius); }
  void evaluate(FieldTile& tile, int region) const;
};

/// A piston in single precision, lanes over four angles. Divides by way of the processor's
/// approximate reciprocal, so results differ by some 7e-5 between makers of processors.
struct DiscFourWide : FourWideMethod<DiscFourWide, DiscFnm<false>> {
  FourWideTable cosine, twice_radius_cosine, weight;

  explicit DiscFourWide(const DiscFnm<false>& disc)
      : FourWideMethod(disc),
        cosine(disc.cosine, FourWideTable::drop),
        twice_radius_cosine(disc.edges[0].twice_radius_cosine, FourWideTable::drop),
        weight(disc.weight, FourWideTable::drop) {}
  std::complex<double> pressure(double x, double y, double z) const;
};

}  // namespace kestrel
