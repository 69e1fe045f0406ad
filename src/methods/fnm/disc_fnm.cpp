#include "methods/fnm/disc_fnm.h"

#include <algorithm>
#include <cmath>

#include "methods/fnm/rim_terms.h"
#include "numerics/interruption.h"

namespace kestrel {

namespace {

/// What every edge term of a planar axisymmetric source starts from, per point.
struct DiscPoints {
  alignas(64) double r[FieldTile::capacity];  ///< distance from the axis
  alignas(64) double r_squared[FieldTile::capacity];
  alignas(64) double z_squared[FieldTile::capacity];
  alignas(64) double direct_re[FieldTile::capacity];  ///< E(z)
  alignas(64) double direct_im[FieldTile::capacity];

  template <class Wave>
  KESTREL_INLINE DiscPoints(FieldTile& tile, int count, const Wave& wave) {
    tile.clear_pressures(count);
    KESTREL_LANES
    for (int i = 0; i < count; ++i) {
      const double z = tile.z[i];
      r_squared[i] = tile.x[i] * tile.x[i] + tile.y[i] * tile.y[i];
      r[i] = std::sqrt(r_squared[i]);
      z_squared[i] = z * z;
      const auto direct = wave(z);
      direct_re[i] = direct.re;
      direct_im[i] = direct.im;
    }
  }

  /// E(R) - E(z) at a distance from the projection.
  template <class Wave>
  KESTREL_INLINE LaneComplex<double> difference(int i, double squared, const Wave& wave) const {
    return wave(std::sqrt(z_squared[i] + squared)) -
           LaneComplex<double>{direct_re[i], direct_im[i]};
  }
};

}  // namespace

template <bool fold_prefactor>
double DiscFnm<fold_prefactor>::wide_math_limit() const {
  double extent = 0;
  for (const DiscEdge& edge : edges) extent = std::max(extent, std::abs(edge.radius));
  return propagation.wide_math_limit(extent);
}

template <bool fold_prefactor>
void DiscFnm<fold_prefactor>::evaluate(FieldTile& tile, int) const {
  const int count = tile.pad();
  run_tile(tile, propagation, [&](const auto& wave) KESTREL_INLINE_LAMBDA {
    const DiscPoints points(tile, count, wave);
    for (std::size_t j = 0; j < cosine.size(); ++j) {
      for (const DiscEdge& edge : edges) {
        const double a = edge.radius, a_squared = a * a;
        const double cos_psi = cosine[j], twice_a_cosine = edge.twice_radius_cosine[j];
        const double w = edge.sign * weight[j];
        const LaneComplex<double> prefactor{edge.prefactor.real(), edge.prefactor.imag()};
        KESTREL_LANES
        for (int i = 0; i < count; ++i) {
          const DiscRimTerm<double> rim(points.r[i], points.r_squared[i], a, a_squared, cos_psi,
                                        twice_a_cosine * points.r[i]);
          const double f = rim.radial / rim.squared;
          const auto difference = points.difference(i, rim.squared, wave);
          if constexpr (fold_prefactor) {
            tile.add_pressure(i, w * (difference * (f * prefactor)));
          } else {
            tile.add_pressure(i, w * (f * difference));
          }
        }
      }
    }
  });
  if constexpr (!fold_prefactor) tile.multiply(edges.front().prefactor);
}

template struct DiscFnm<false>;
template struct DiscFnm<true>;

void ApodizedDiscFnm::evaluate(FieldTile& tile, int) const {
  const int count = tile.pad();
  run_tile(tile, propagation, [&](const auto& wave) KESTREL_INLINE_LAMBDA {
    const DiscPoints points(tile, count, wave);
    for (const auto [sigma, sigma_squared, derivative, radial_weight] : radii) {
      if (interruption_asked()) return;
      for (std::size_t j = 0; j < cosine.size(); ++j) {
        const double cos_psi = cosine[j], twice_cos_psi = twice_cosine[j], w = weight[j];
        KESTREL_LANES
        for (int i = 0; i < count; ++i) {
          const DiscRimTerm<double> rim(points.r[i], points.r_squared[i], sigma, sigma_squared,
                                        cos_psi, twice_cos_psi * points.r[i] * sigma);
          const double g = derivative * rim.radial * sigma / rim.squared;
          const auto difference = points.difference(i, rim.squared, wave);
          tile.add_pressure(i, radial_weight * (w * (g * difference)));
        }
      }
    }
  });
  tile.multiply(prefactor);
}

std::complex<double> DiscFourWide::pressure(double x, double y, double z) const {
  const float4 xf = splat(x), yf = splat(y), zf = splat(z);
  const float4 r_squared = xf * xf + yf * yf, r = sqrt(r_squared), z_squared = zf * zf;
  const double radius = exact.edges[0].radius;
  const float4 a = splat(radius), a_squared = splat(radius * radius);
  const auto direct = wave(zf);
  FourWideSum sum;
  for (std::size_t block = 0; block < cosine.blocks(); ++block) {
    const DiscRimTerm<float4> rim(r, r_squared, a, a_squared, cosine[block],
                                  twice_radius_cosine[block] * r);
    const float4 f = rim.radial * rcp(rim.squared);
    sum += weight[block] * (f * (wave(sqrt(z_squared + rim.squared)) - direct));
  }
  return sum.total() * exact.edges[0].prefactor;
}

}  // namespace kestrel
