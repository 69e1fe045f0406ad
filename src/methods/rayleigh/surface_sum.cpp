#include "methods/rayleigh/surface_sum.h"

#include <type_traits>

#include "methods/common/wave_constants.h"
#include "numerics/interruption.h"

namespace kestrel {

template <class Distance>
void AxisymmetricSurface<Distance>::sum(FieldTile& tile, double reach) const {
  constexpr int most_surfaces = 2;
  const int count = tile.pad();
  run_tile(tile, propagation, reach, [&](const auto& wave) KESTREL_INLINE_LAMBDA {
    using Arithmetic = typename std::decay_t<decltype(wave)>::Arithmetic;
    alignas(64) double r[FieldTile::capacity];
    alignas(64) double r_squared[FieldTile::capacity];
    alignas(64) double base[most_surfaces][FieldTile::capacity];
    alignas(64) double twice_rho_r[most_surfaces][FieldTile::capacity];
    tile.clear_pressures(count);
    KESTREL_LANES
    for (int i = 0; i < count; ++i) {
      r_squared[i] = tile.x[i] * tile.x[i] + tile.y[i] * tile.y[i];
      r[i] = std::sqrt(r_squared[i]);
    }
    for (std::size_t m = 0; m < circles.size(); m += static_cast<std::size_t>(surfaces)) {
      if (interruption_asked()) return;
      for (int s = 0; s < surfaces; ++s) {
        const SurfaceCircle circle = circles[m + s];
        const double origin = axial_origin;
        KESTREL_LANES
        for (int i = 0; i < count; ++i) {
          base[s][i] = Distance::base(circle, r[i], r_squared[i], tile.z[i] - origin);
          twice_rho_r[s][i] = 2 * circle.radius * r[i];
        }
      }
      for_node_groups<Arithmetic>(azimuth.size(), [&](auto group,
                                                      std::size_t first) KESTREL_INLINE_LAMBDA {
        double angle[group];
        for (int n = 0; n < group; ++n) angle[n] = azimuth[first + n];
        for (int s = 0; s < surfaces; ++s) {
          const double weight = circles[m + s].weight;
          const auto path = [&](int n, int i) KESTREL_INLINE_LAMBDA {
            return std::sqrt(Distance::squared(base[s][i], twice_rho_r[s][i], angle[n]));
          };
          KESTREL_LANES
          for (int i = 0; i < count; ++i) {
            if constexpr (Arithmetic::wide) {
              tile.add_pressure(i, weight * sum_quotients<Arithmetic, group>(
                                                [&](int n) KESTREL_INLINE_LAMBDA -> QuotientTerm {
                                                  const double of = path(n, i);
                                                  return {1, of, wave(of, tile.reference(i))};
                                                }));
            } else {
              tile.add_pressure(i, circle_term(wave, path(0, i), weight));
            }
          }
        }
      });
    }
  });
  tile.multiply(prefactor);
}

template struct AxisymmetricSurface<PlanarDistance>;
template struct AxisymmetricSurface<SphericalDistance>;

std::complex<double> CapSurface::closed_form() const {
  // The integral of e^{gR}/R dS from the apex to the rim, g = -(alpha + jk), is
  // 2 pi (e^{g R_m} - 1)/g with R_m the chord from apex to rim.
  const double a = cap.radius, rc = cap.curvature;
  const double chord = 2 * rc * std::sin(std::asin(a / rc) / 2);
  const std::complex<double> g(propagation.attenuation, propagation.phase);
  const std::complex<double> quotient =
      g == 0.0 ? std::complex<double>(chord)
               : (smart_exp(g.real() * chord, g.imag() * chord) - 1.0) / g;
  // The prefactor stands for both mirror halves, the closed form covers the whole cap.
  return prefactor * (0.5 * detail::kTwoPi) * quotient;
}

void CapSurface::evaluate(FieldTile& tile, int region) const {
  region == 0 ? sum(tile, cap.chord()) : tile.fill(closed_form());
}

template <class Surface>
std::complex<double> SurfaceFourWide<Surface>::pressure(double x, double y, double z) const {
  const Surface& surface = this->exact;
  FourWideSum sum;
  for (const SurfaceCircle& circle : surface.circles) {
    const FourWideCircle in =
        Surface::NodeDistance::four_wide(circle, x, y, z - surface.axial_origin);
    const float4 slope = float4::splat(in.slope), of_circle = float4::splat(in.of_circle);
    const float4 of_point = float4::splat(in.of_point), weight = splat(circle.weight);
    for (std::size_t block = 0; block < azimuth.blocks(); ++block) {
      const float4 path = sqrt(azimuth[block] * slope + of_circle + of_point);
      sum += circle_term(this->wave, path, weight * lane_weight[block]);
    }
  }
  return sum.total() * surface.prefactor;
}

template struct SurfaceFourWide<PlanarSurface>;
template struct SurfaceFourWide<CapSurface>;

void RectangleSurface::evaluate(FieldTile& tile, int) const {
  const int count = tile.pad();
  run_tile(tile, propagation, extent, [&](const auto& wave) KESTREL_INLINE_LAMBDA {
    using Arithmetic = typename std::decay_t<decltype(wave)>::Arithmetic;
    tile.clear_pressures(count);
    for (std::size_t m = 0; m < x_node.size(); ++m) {
      if (interruption_asked()) return;
      for_node_groups<Arithmetic>(y_node.size(), [&](auto group,
                                                     std::size_t first) KESTREL_INLINE_LAMBDA {
        const double x = x_node[m];
        double y[group], w[group];
        for (int n = 0; n < group; ++n) {
          y[n] = y_node[first + n];
          w[n] = x_weight[m] * y_weight[first + n];
        }
        const auto path = [&](int n, int i) KESTREL_INLINE_LAMBDA {
          return node_path(tile.x[i] - x, tile.y[i] - y[n], tile.z[i]);
        };
        KESTREL_LANES
        for (int i = 0; i < count; ++i) {
          if constexpr (Arithmetic::wide) {
            tile.add_pressure(i, sum_quotients<Arithmetic, group>([&](int n) KESTREL_INLINE_LAMBDA {
                                return node_quotient(wave, path(n, i), tile.reference(i), w[n]);
                              }));
          } else {
            tile.add_pressure(i, node_term(wave, path(0, i), w[0]));
          }
        }
      });
    }
  });
  scale(tile);
}

void RectangleSurface::scale(FieldTile& tile) const {
  tile.multiply(weight);
  tile.multiply_by_j();
  tile.multiply(density);
  tile.multiply(f0);
}

RectangleSurfaceFourWide::RectangleSurfaceFourWide(const RectangleSurface& surface)
    : FourWideMethod(surface),
      x_node(surface.x_node, FourWideTable::one_a_block),
      x_weight(surface.x_weight, FourWideTable::one_a_block),
      y_node(surface.y_node, FourWideTable::repeat_last),
      y_weight(surface.y_weight, FourWideTable::pad_zero) {}

std::complex<double> RectangleSurfaceFourWide::pressure(double x, double y, double z) const {
  const float4 xf = splat(x), yf = splat(y), zf = splat(z);
  FourWideSum sum;
  for (std::size_t m = 0; m < x_node.blocks(); ++m) {
    for (std::size_t block = 0; block < y_node.blocks(); ++block) {
      const float4 path = node_path(xf - x_node[m], yf - y_node[block], zf);
      sum += node_term(wave, path, x_weight[m] * y_weight[block]);
    }
  }
  return sum.total();
}

}  // namespace kestrel
