#include "methods/fnm/disc_fnm.h"

#include <algorithm>
#include <cmath>
#include <type_traits>

#include "methods/common/quotient_terms.h"
#include "methods/fnm/rim_terms.h"
#include "numerics/interruption.h"

namespace kestrel {

namespace {

/// What every edge term of a planar axisymmetric source starts from, per point.
struct DiscPoints {
  const FieldTile& tile;
  alignas(64) double r[FieldTile::capacity];  ///< distance from the axis
  alignas(64) double r_squared[FieldTile::capacity];
  alignas(64) double z_squared[FieldTile::capacity];
  alignas(64) double direct_re[FieldTile::capacity];  ///< E(z)
  alignas(64) double direct_im[FieldTile::capacity];

  template <class Wave>
  KESTREL_INLINE DiscPoints(FieldTile& of, int count, const Wave& wave) : tile(of) {
    of.clear_pressures(count);
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
    return wave(std::sqrt(z_squared[i] + squared), tile.reference(i)) -
           LaneComplex<double>{direct_re[i], direct_im[i]};
  }

  /// The sum of w_m radial_m / squared_m (E(R_m) - E(z)) over a group of nodes, on a wide path;
  /// rim(m, i) is the DiscRimTerm of node m.
  template <std::size_t group, class Rim, class Wave>
  KESTREL_INLINE LaneComplex<double> sum(int i, const Rim& rim, const double (&w)[group],
                                         const Wave& wave) const {
    return sum_quotients<typename Wave::Arithmetic, static_cast<int>(group)>(
        [&](int m) KESTREL_INLINE_LAMBDA -> QuotientTerm {
          const DiscRimTerm<double> of = rim(m, i);
          return {w[m] * of.radial, of.squared, difference(i, of.squared, wave)};
        });
  }
};

}  // namespace

template <bool fold_prefactor>
double DiscFnm<fold_prefactor>::reach() const {
  double largest = 0;
  for (const DiscEdge& edge : edges) largest = std::max(largest, std::abs(edge.radius));
  return largest;
}

template <bool fold_prefactor>
double DiscFnm<fold_prefactor>::wide_math_limit() const {
  double smallest = reach();
  for (const DiscEdge& edge : edges) smallest = std::min(smallest, std::abs(edge.radius));
  return propagation.wide_math_limit(reach(), smallest);
}

template <bool fold_prefactor>
void DiscFnm<fold_prefactor>::evaluate(FieldTile& tile, int) const {
  const int count = tile.pad();
  run_tile(tile, propagation, reach(), [&](const auto& wave) KESTREL_INLINE_LAMBDA {
    using Wave = std::decay_t<decltype(wave)>;
    const DiscPoints points(tile, count, wave);
    for_node_groups<typename Wave::Arithmetic>(
        cosine.size(), [&](auto group, std::size_t first) KESTREL_INLINE_LAMBDA {
          for (const DiscEdge& edge : edges) {
            const double a = edge.radius, a_squared = a * a;
            const LaneComplex<double> prefactor{edge.prefactor.real(), edge.prefactor.imag()};
            double cos_psi[group], twice_a_cosine[group], w[group];
            for (int m = 0; m < group; ++m) {
              cos_psi[m] = cosine[first + m];
              twice_a_cosine[m] = edge.twice_radius_cosine[first + m];
              w[m] = edge.sign * weight[first + m];
            }
            const auto rim = [&](int m, int i) KESTREL_INLINE_LAMBDA {
              return DiscRimTerm<double>(points.r[i], points.r_squared[i], a, a_squared, cos_psi[m],
                                         twice_a_cosine[m] * points.r[i]);
            };
            KESTREL_LANES
            for (int i = 0; i < count; ++i) {
              if constexpr (Wave::Arithmetic::wide) {
                const auto sum = points.sum(i, rim, w, wave);
                tile.add_pressure(i, fold_prefactor ? sum * prefactor : sum);
              } else {
                const auto of = rim(0, i);
                const double f = of.radial / of.squared;
                const auto difference = points.difference(i, of.squared, wave);
                if constexpr (fold_prefactor) {
                  tile.add_pressure(i, w[0] * (difference * (f * prefactor)));
                } else {
                  tile.add_pressure(i, w[0] * (f * difference));
                }
              }
            }
          }
        });
  });
  if constexpr (!fold_prefactor) tile.multiply(edges.front().prefactor);
}

template struct DiscFnm<false>;
template struct DiscFnm<true>;

void ApodizedDiscFnm::evaluate(FieldTile& tile, int) const {
  const int count = tile.pad();
  run_tile(tile, propagation, reach(), [&](const auto& wave) KESTREL_INLINE_LAMBDA {
    using Wave = std::decay_t<decltype(wave)>;
    const DiscPoints points(tile, count, wave);
    for (const auto [sigma, sigma_squared, derivative, radial_weight] : radii) {
      if (interruption_asked()) return;
      for_node_groups<typename Wave::Arithmetic>(
          cosine.size(),
          [&, sigma = sigma, sigma_squared = sigma_squared, derivative = derivative,
           radial_weight = radial_weight](auto group, std::size_t first) KESTREL_INLINE_LAMBDA {
            double cos_psi[group], twice_cos_psi[group], w[group];
            for (int m = 0; m < group; ++m) {
              cos_psi[m] = cosine[first + m];
              twice_cos_psi[m] = twice_cosine[first + m];
              w[m] = weight[first + m];
            }
            const auto rim = [&](int m, int i) KESTREL_INLINE_LAMBDA {
              return DiscRimTerm<double>(points.r[i], points.r_squared[i], sigma, sigma_squared,
                                         cos_psi[m], twice_cos_psi[m] * points.r[i] * sigma);
            };
            const double scale = radial_weight * (derivative * sigma);
            KESTREL_LANES
            for (int i = 0; i < count; ++i) {
              if constexpr (Wave::Arithmetic::wide) {
                const auto sum = points.sum(i, rim, w, wave);
                tile.add_pressure(i, scale * sum);
              } else {
                const auto of = rim(0, i);
                const double g = derivative * of.radial * sigma / of.squared;
                const auto difference = points.difference(i, of.squared, wave);
                tile.add_pressure(i, radial_weight * (w[0] * (g * difference)));
              }
            }
          });
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
