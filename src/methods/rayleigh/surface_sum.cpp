#include "methods/rayleigh/surface_sum.h"

#include <algorithm>

#include "kestrel/compiler.h"
#include "numerics/interruption.h"

namespace kestrel {

namespace {

constexpr double kTwoPi = 2 * 3.14159265358979;

template <class Distance, bool lossy>
struct AxisymmetricKernel {
  const AxisymmetricSurface<Distance>& surface;
  FieldTile& tile;
  int count;

  template <class Math>
  KESTREL_INLINE void operator()(Math) const {
    constexpr int most_surfaces = 2;
    alignas(64) double r[FieldTile::capacity];
    alignas(64) double r_squared[FieldTile::capacity];
    alignas(64) double base[most_surfaces][FieldTile::capacity];
    alignas(64) double twice_rho_r[most_surfaces][FieldTile::capacity];
    KESTREL_LANES
    for (int i = 0; i < count; ++i) {
      r_squared[i] = tile.x[i] * tile.x[i] + tile.y[i] * tile.y[i];
      r[i] = std::sqrt(r_squared[i]);
      tile.re[i] = 0;
      tile.im[i] = 0;
    }
    const int surfaces = surface.surfaces;
    for (std::size_t m = 0; m < surface.circles.size(); m += static_cast<std::size_t>(surfaces)) {
      if (interruption_asked()) return;
      const SurfaceCircle* circles = surface.circles.data() + m;
      for (int s = 0; s < surfaces; ++s) {
        const SurfaceCircle circle = circles[s];
        KESTREL_LANES
        for (int i = 0; i < count; ++i) {
          base[s][i] = Distance::base(circle, r[i], r_squared[i], tile.z[i] - surface.axial_origin);
          twice_rho_r[s][i] = 2 * circle.radius * r[i];
        }
      }
      for (const double azimuth : surface.azimuth) {
        for (int s = 0; s < surfaces; ++s) {
          add_term<Math>(base[s], twice_rho_r[s], azimuth, circles[s].weight);
        }
      }
    }
  }

  template <class Math>
  KESTREL_INLINE void add_term(const double* base, const double* twice_rho_r, double azimuth,
                               double weight) const {
    const Propagation propagation = surface.propagation;
    KESTREL_LANES
    for (int i = 0; i < count; ++i) {
      const double path = std::sqrt(Distance::squared(base[i], twice_rho_r[i], azimuth));
      const double g =
          Math::template attenuation<lossy>(propagation.attenuation * path) * weight / path;
      double re, im;
      Math::template attenuated_phase<false>(0, propagation.phase * path, re, im);
      tile.re[i] += g * re;
      tile.im[i] += g * im;
    }
  }
};

template <bool lossy>
struct RectangleSurfaceKernel {
  const RectangleSurface& surface;
  FieldTile& tile;
  int count;

  template <class Math>
  KESTREL_INLINE void operator()(Math) const {
    std::fill_n(tile.re, count, 0.0);
    std::fill_n(tile.im, count, 0.0);
    for (std::size_t m = 0; m < surface.x_node.size(); ++m) {
      if (interruption_asked()) return;
      for (std::size_t n = 0; n < surface.y_node.size(); ++n) {
        add_term<Math>(surface.x_node[m], surface.y_node[n],
                       surface.x_weight[m] * surface.y_weight[n]);
      }
    }
  }

  template <class Math>
  KESTREL_INLINE void add_term(double x, double y, double weight) const {
    const Propagation propagation = surface.propagation;
    KESTREL_LANES
    for (int i = 0; i < count; ++i) {
      const double dx = tile.x[i] - x, dy = tile.y[i] - y, z = tile.z[i];
      const double path = std::sqrt(dy * dy + dx * dx + z * z);
      double re, im;
      Math::template attenuated_phase<lossy>(propagation.attenuation * path,
                                             propagation.phase * path, re, im);
      // A point that coincides with a node takes the node's weight in both parts.
      tile.re[i] += path != 0 ? weight * re / path : weight;
      tile.im[i] += path != 0 ? weight * im / path : weight;
    }
  }
};

}  // namespace

template <class Distance>
void AxisymmetricSurface<Distance>::sum(FieldTile& tile) const {
  const int count = tile.pad();
  if (propagation.lossless()) {
    run_tile(tile, AxisymmetricKernel<Distance, false>{*this, tile, count});
  } else {
    run_tile(tile, AxisymmetricKernel<Distance, true>{*this, tile, count});
  }
  tile.multiply(prefactor);
}

template struct AxisymmetricSurface<PlanarDistance>;
template struct AxisymmetricSurface<SphericalDistance>;

std::complex<double> CapSurface::apex_pressure() const {
  // The integral of e^{gR}/R dS from the apex to the rim, g = -(alpha + jk), is
  // 2 pi (e^{g R_m} - 1)/g with R_m the chord from apex to rim.
  const double a = cap.radius, rc = cap.curvature;
  const double chord = 2 * rc * std::sin(std::asin(a / rc) / 2);
  const std::complex<double> g(propagation.attenuation, propagation.phase);
  const std::complex<double> quotient =
      g == 0.0 ? std::complex<double>(chord)
               : (smart_exp(g.real() * chord, g.imag() * chord) - 1.0) / g;
  // The prefactor stands for both mirror halves, the closed form covers the whole cap.
  return prefactor * (0.5 * kTwoPi) * quotient;
}

void CapSurface::evaluate(FieldTile& tile, int region) const {
  if (region == 0) return sum(tile);
  const auto p = apex_pressure();
  std::fill_n(tile.re, tile.count, p.real());
  std::fill_n(tile.im, tile.count, p.imag());
}

void RectangleSurface::evaluate(FieldTile& tile, int) const {
  const int count = tile.pad();
  if (propagation.lossless()) {
    run_tile(tile, RectangleSurfaceKernel<false>{*this, tile, count});
  } else {
    run_tile(tile, RectangleSurfaceKernel<true>{*this, tile, count});
  }
  scale(tile);
}

void RectangleSurface::scale(FieldTile& tile) const {
  tile.multiply(weight);
  tile.multiply_by_j();
  tile.multiply(density);
  tile.multiply(f0);
}

}  // namespace kestrel
