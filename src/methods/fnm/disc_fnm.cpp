#include "methods/fnm/disc_fnm.h"

#include <algorithm>
#include <cmath>

#include "kestrel/compiler.h"
#include "numerics/interruption.h"

namespace kestrel {

namespace {

/// What every edge term of a planar axisymmetric source starts from, per point.
template <class Math, bool lossy>
struct DiscPoints {
  alignas(64) double r[FieldTile::capacity];  ///< distance from the axis
  alignas(64) double r_squared[FieldTile::capacity];
  alignas(64) double z_squared[FieldTile::capacity];
  alignas(64) double direct_re[FieldTile::capacity];  ///< E(z)
  alignas(64) double direct_im[FieldTile::capacity];

  KESTREL_INLINE DiscPoints(FieldTile& tile, int count, const Propagation& propagation) {
    KESTREL_LANES
    for (int i = 0; i < count; ++i) {
      const double z = tile.z[i];
      r_squared[i] = tile.x[i] * tile.x[i] + tile.y[i] * tile.y[i];
      r[i] = std::sqrt(r_squared[i]);
      z_squared[i] = z * z;
      tile.re[i] = 0;
      tile.im[i] = 0;
      Math::template attenuated_phase<lossy>(propagation.attenuation * z, propagation.phase * z,
                                             direct_re[i], direct_im[i]);
    }
  }

  /// E(R) - E(z) for a path with R^2 = z^2 + d_squared.
  KESTREL_INLINE void difference(int i, double d_squared, const Propagation& propagation,
                                 double& re, double& im) const {
    const double path = std::sqrt(z_squared[i] + d_squared);
    Math::template attenuated_phase<lossy>(propagation.attenuation * path, propagation.phase * path,
                                           re, im);
    re -= direct_re[i];
    im -= direct_im[i];
  }
};

template <bool fold_prefactor, bool lossy>
struct DiscKernel {
  const DiscFnm<fold_prefactor>& disc;
  FieldTile& tile;
  int count;

  template <class Math>
  KESTREL_INLINE void operator()(Math) const {
    const DiscPoints<Math, lossy> points(tile, count, disc.propagation);
    for (std::size_t j = 0; j < disc.cosine.size(); ++j) {
      for (const DiscEdge& edge : disc.edges) add_term(points, edge, j);
    }
  }

  template <class Points>
  KESTREL_INLINE void add_term(const Points& points, const DiscEdge& edge, std::size_t j) const {
    const double a = edge.radius, a_squared = a * a;
    const double cosine = disc.cosine[j], twice_a_cosine = edge.twice_radius_cosine[j];
    const double weight = edge.sign * disc.weight[j];
    const double k_re = edge.prefactor.real(), k_im = edge.prefactor.imag();
    KESTREL_LANES
    for (int i = 0; i < count; ++i) {
      const double d = (points.r_squared[i] + a_squared) - twice_a_cosine * points.r[i];
      const double f = (cosine * points.r[i] - a) / d;
      double re, im;
      points.difference(i, d, disc.propagation, re, im);
      if constexpr (fold_prefactor) {
        const double f_re = f * k_re, f_im = f * k_im;
        tile.re[i] += weight * (re * f_re - im * f_im);
        tile.im[i] += weight * (re * f_im + im * f_re);
      } else {
        tile.re[i] += weight * (f * re);
        tile.im[i] += weight * (f * im);
      }
    }
  }
};

template <bool lossy>
struct ApodizedDiscKernel {
  const ApodizedDiscFnm& disc;
  FieldTile& tile;
  int count;

  template <class Math>
  KESTREL_INLINE void operator()(Math) const {
    const DiscPoints<Math, lossy> points(tile, count, disc.propagation);
    for (const auto& radius : disc.radii) {
      if (interruption_asked()) return;
      for (std::size_t j = 0; j < disc.cosine.size(); ++j) add_term(points, radius, j);
    }
  }

  template <class Points>
  KESTREL_INLINE void add_term(const Points& points, const ApodizedDiscFnm::Radius& radius,
                               std::size_t j) const {
    const double sigma = radius.sigma, sigma_squared = radius.sigma_squared;
    const double derivative = radius.derivative, radial_weight = radius.weight;
    const double cosine = disc.cosine[j], twice_cosine = disc.twice_cosine[j];
    const double weight = disc.weight[j];
    KESTREL_LANES
    for (int i = 0; i < count; ++i) {
      const double d = (sigma_squared + points.r_squared[i]) - twice_cosine * points.r[i] * sigma;
      const double g = derivative * (cosine * points.r[i] - sigma) * sigma / d;
      double re, im;
      points.difference(i, d, disc.propagation, re, im);
      tile.re[i] += radial_weight * (weight * (g * re));
      tile.im[i] += radial_weight * (weight * (g * im));
    }
  }
};

}  // namespace

template <bool fold_prefactor>
double DiscFnm<fold_prefactor>::reach() const {
  double extent = 0;
  for (const DiscEdge& edge : edges) extent = std::max(extent, std::abs(edge.radius));
  return propagation.reach(extent);
}

template <bool fold_prefactor>
void DiscFnm<fold_prefactor>::evaluate(FieldTile& tile, int) const {
  const int count = tile.pad();
  if (propagation.lossless()) {
    run_tile(tile, DiscKernel<fold_prefactor, false>{*this, tile, count});
  } else {
    run_tile(tile, DiscKernel<fold_prefactor, true>{*this, tile, count});
  }
  if constexpr (!fold_prefactor) tile.multiply(edges.front().prefactor);
}

template struct DiscFnm<false>;
template struct DiscFnm<true>;

void ApodizedDiscFnm::evaluate(FieldTile& tile, int) const {
  const int count = tile.pad();
  if (propagation.lossless()) {
    run_tile(tile, ApodizedDiscKernel<false>{*this, tile, count});
  } else {
    run_tile(tile, ApodizedDiscKernel<true>{*this, tile, count});
  }
  tile.multiply(prefactor);
}

}  // namespace kestrel
