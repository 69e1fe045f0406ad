#pragma once

#include <algorithm>
#include <cmath>
#include <complex>
#include <vector>

#include "methods/common/four_wide_method.h"
#include "methods/fnm/rectangle_edges.h"

namespace kestrel {

/// A quadrature rule along the edges: squared nodes on (0, 1) with their weights, and nodes with
/// weights on (-a, a) [0] and (-b, b) [1].
template <class Table>
struct EdgeTables {
  Table unit_node_squared, unit_weight;
  Table node[2], weight[2];
};

/// Fast nearfield expression of a rectangular piston, many observation points at a time.
///
///     p = P * sum over the four sub-rectangles (s, l) at the point's projection of
///         s*l int_0^1 (E(sqrt(z^2 + l^2 + s^2 t^2)) - E(z)) / (l^2 + s^2 t^2) dt
///         + (s and l exchanged),                 E(R) = e^{-(alpha + jk)R}, P = -rho c w / 2 pi
///
/// The Rayleigh integral over each sub-rectangle in polar coordinates about the projection: its
/// radial part integrates in closed form and leaves the boundary, and taking E(z) off the integrand
/// removes the singularity there (A. D. Pierce, "Acoustics", chapter 5, for the Rayleigh integral).
/// `Precision` says in which type the geometry is carried and in which order a term is multiplied
/// out.
///
/// Built once per call, then evaluated for any number of tiles, from any thread.
template <class Precision>
struct RectangleFnm {
  using Real = typename Precision::Real;

  double half_width = 0;   ///< a, metres
  double half_height = 0;  ///< b, metres
  EdgeTables<std::vector<double>> rule;
  Propagation propagation;
  std::complex<double> prefactor;

  /// Three projections in x times three in y.
  static constexpr int regions = 9;

  /// Which case the local point belongs to, or -1 behind the face. The tests are made in the
  /// variant's own precision: a point that rounds onto an edge is on the edge.
  int region(double x, double y, double z) const {
    if (static_cast<Real>(z) < 0) return -1;
    const auto a = static_cast<Real>(half_width), b = static_cast<Real>(half_height);
    const auto xr = static_cast<Real>(x), yr = static_cast<Real>(y);
    return 3 * static_cast<int>(projection<Real>(a + xr, a - xr)) +
           static_cast<int>(projection<Real>(b + yr, b - yr));
  }

  /// How far the nodes lie from the origin at most.
  double reach() const {
    return extent_of_nodes(half_width, rule.node[0]) + extent_of_nodes(half_height, rule.node[1]);
  }
  double wide_math_limit() const {
    return propagation.wide_math_limit(reach(),
                                       std::min(std::abs(half_width), std::abs(half_height)));
  }

  /// Writes the pressures of the tile's points, all of `region`, into its re and im.
  void evaluate(FieldTile& tile, int region) const;
};

/// Geometry carried in floats; factor, quotient, weight and sum in doubles.
struct SinglePrecision {
  using Real = float;
  static KESTREL_INLINE LaneComplex<double> contribution(LaneComplex<double> difference,
                                                         double factor, double q, double weight) {
    return weight * (factor * difference / q);
  }
};

/// Everything in doubles; one reciprocal of q serves both parts.
struct DoublePrecision {
  using Real = double;
  static KESTREL_INLINE LaneComplex<double> contribution(LaneComplex<double> difference,
                                                         double factor, double q, double weight) {
    return factor * (weight * (1 / q) * difference);
  }
};

extern template struct RectangleFnm<SinglePrecision>;
extern template struct RectangleFnm<DoublePrecision>;

/// The same in four lanes of single precision.
template <class Precision, bool nodes_in_lanes>
struct RectangleFourWide
    : FourWideMethod<RectangleFourWide<Precision, nodes_in_lanes>, RectangleFnm<Precision>> {
  EdgeTables<FourWideTable> rule;

  explicit RectangleFourWide(const RectangleFnm<Precision>& face);
  std::complex<double> pressure(double x, double y, double z) const;
};

/// Lanes over four nodes of one integral.
using RectangleFourNodes = RectangleFourWide<DoublePrecision, true>;
/// Lanes over the integrals of one node. Only the direct term E(z) is attenuated, so the method is
/// right in lossless media only.
using RectangleFourIntegrals = RectangleFourWide<SinglePrecision, false>;

extern template struct RectangleFourWide<DoublePrecision, true>;
extern template struct RectangleFourWide<SinglePrecision, false>;

}  // namespace kestrel
