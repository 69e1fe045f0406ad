#pragma once

#include <complex>
#include <vector>

#include "kestrel/compiler.h"
#include "methods/common/field_tile.h"
#include "methods/fnm/rectangle_edges.h"

namespace kestrel {

/// Fast nearfield expression of a rectangular piston, many observation points at a time.
///
///     p = P * sum over the four sub-rectangles (s, l) at the point's projection of
///         s*l int_0^1 (E(sqrt(z^2 + l^2 + s^2 t^2)) - E(z)) / (l^2 + s^2 t^2) dt
///         + (s and l exchanged),                 E(R) = e^{-(alpha + jk)R}, P = -rho c w / 2 pi
///
/// The Rayleigh integral over each sub-rectangle in polar coordinates about the projection: its
/// radial part integrates in closed form and leaves the boundary, and taking E(z) off the integrand
/// removes the singularity there (A. D. Pierce, "Acoustics", chapter 5, for the Rayleigh integral).
/// `Precision` says in which type the
/// geometry is carried and in which order a term is multiplied out.
///
/// Built once per call, then evaluated for any number of tiles, from any thread.
template <class Precision>
struct RectangleFnm {
  using Real = typename Precision::Real;

  double half_width = 0;   ///< a, metres
  double half_height = 0;  ///< b, metres
  Propagation propagation;
  std::complex<double> prefactor;

  /// Tables of the rule, one entry per node: squared node on (0, 1) and its weight; node and
  /// weight on (-a, a); node and weight on (-b, b).
  std::vector<double> unit_node_squared, unit_weight;
  std::vector<double> x_node, x_weight;
  std::vector<double> y_node, y_weight;

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

  double reach() const {
    return propagation.reach(reach_of_nodes(half_width, x_node) +
                             reach_of_nodes(half_height, y_node));
  }

  /// Writes the pressures of the tile's points, all of `region`, into its re and im.
  void evaluate(FieldTile& tile, int region) const;
};

/// Geometry carried in floats; quotient, weight and sum in doubles: ((E - E0)*(s*l)/q), then the
/// weight.
struct SinglePrecision {
  using Real = float;
  static KESTREL_INLINE double contribution(double difference, double factor, double q,
                                            double weight) {
    return weight * (difference * factor / q);
  }
};

/// Everything in doubles; one reciprocal of q serves both parts.
struct DoublePrecision {
  using Real = double;
  static KESTREL_INLINE double contribution(double difference, double factor, double q,
                                            double weight) {
    return weight * (1 / q) * difference * factor;
  }
};

extern template struct RectangleFnm<SinglePrecision>;
extern template struct RectangleFnm<DoublePrecision>;

}  // namespace kestrel
