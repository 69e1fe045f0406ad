#include "methods/fnm/cap_fnm.h"

#include <algorithm>

#include "kestrel/compiler.h"

namespace kestrel {

namespace {

// Short of full double precision, like every pi of the field methods.
constexpr double kTwoPi = 2 * 3.14159265358979;

template <bool lossy>
struct CapKernel {
  const CapFnm& source;
  FieldTile& tile;
  int count;

  template <class Math>
  KESTREL_INLINE void operator()(Math) const {
    const double a = source.cap.radius, rc = source.cap.curvature, h = source.cap.rim_depth;
    const Propagation propagation = source.propagation;
    alignas(64) double r[FieldTile::capacity];
    alignas(64) double zeta[FieldTile::capacity];
    alignas(64) double direct_re[FieldTile::capacity];
    alignas(64) double direct_im[FieldTile::capacity];
    KESTREL_LANES
    for (int i = 0; i < count; ++i) {
      r[i] = std::sqrt(tile.x[i] * tile.x[i] + tile.y[i] * tile.y[i]);
      zeta[i] = tile.z[i] - rc;
      const double side = std::abs(zeta[i]) > 1e-10 ? zeta[i] / std::abs(zeta[i]) : 0;
      const double path = side * std::sqrt(r[i] * r[i] + zeta[i] * zeta[i]) + rc;
      tile.re[i] = 0;
      tile.im[i] = 0;
      Math::template attenuated_phase<lossy>(propagation.attenuation * path,
                                             propagation.phase * path, direct_re[i], direct_im[i]);
    }
    for (std::size_t j = 0; j < source.cosine.size(); ++j) {
      const double c = source.cosine[j], w = source.node_weight[j];
      KESTREL_LANES
      for (int i = 0; i < count; ++i) {
        const double t1 = r[i] * c * h, t2 = a * zeta[i], t3 = r[i] * a * c;
        const double r_rc = r[i] * rc;
        const double f =
            (t1 + t2) / ((((zeta[i] * (a + a)) * t1 + r_rc * r_rc) - t3 * t3) + t2 * t2);
        const double path =
            std::sqrt((((rc * rc + r[i] * r[i]) + zeta[i] * zeta[i]) - (a + a) * r[i] * c) +
                      (zeta[i] + zeta[i]) * h);
        double re, im;
        Math::template attenuated_phase<lossy>(propagation.attenuation * path,
                                               propagation.phase * path, re, im);
        tile.re[i] += w * (f * (re - direct_re[i]));
        tile.im[i] += w * (f * (im - direct_im[i]));
      }
    }
  }
};

}  // namespace

std::complex<double> cap_focus_pressure(const CapGeometry& cap, const Propagation& propagation,
                                        double density, double f0, std::complex<double> weight) {
  const std::complex<double> e =
      smart_exp(propagation.attenuation * cap.curvature, propagation.phase * cap.curvature);
  const double gain = cap.curvature - cap.rim_depth;
  return std::complex<double>(-kTwoPi * density * f0 * gain * e.imag(),
                              kTwoPi * density * f0 * gain * e.real()) *
         weight;
}

void CapFnm::evaluate(FieldTile& tile, int region) const {
  if (region == CapGeometry::focus) {
    const auto p = cap_focus_pressure(cap, propagation, density, f0, weight);
    std::fill_n(tile.re, tile.count, p.real());
    std::fill_n(tile.im, tile.count, p.imag());
    return;
  }
  const int count = tile.pad();
  if (propagation.lossless()) {
    run_tile(tile, CapKernel<false>{*this, tile, count});
  } else {
    run_tile(tile, CapKernel<true>{*this, tile, count});
  }
  tile.multiply(prefactor);
  tile.multiply(weight);
}

}  // namespace kestrel
