#include "methods/fnm/cap_fnm.h"

#include <limits>
#include <type_traits>

#include "methods/common/quotient_terms.h"
#include "methods/common/wave_constants.h"
#include "methods/fnm/rim_terms.h"

namespace kestrel {

std::complex<double> CapFnm::closed_form() const {
  const std::complex<double> e =
      smart_exp(propagation.attenuation * cap.curvature, propagation.phase * cap.curvature);
  const double gain = cap.curvature - cap.rim_depth;
  return std::complex<double>(-detail::kTwoPi * density * f0 * gain * e.imag(),
                              detail::kTwoPi * density * f0 * gain * e.real()) *
         weight;
}

void CapFnm::evaluate(FieldTile& tile, int region) const {
  if (region == CapGeometry::focus) return tile.fill(closed_form());
  const int count = tile.pad();
  // Next to the centre of curvature what is left of nearly equal waves hangs on their last bits,
  // and so on those of the loss: it is never taken for small.
  constexpr double reach = std::numeric_limits<double>::infinity();
  run_tile(tile, propagation, reach, [&](const auto& wave) KESTREL_INLINE_LAMBDA {
    const double a = cap.radius, rc = cap.curvature, h = cap.rim_depth;
    alignas(64) double r[FieldTile::capacity];
    alignas(64) double zeta[FieldTile::capacity];
    alignas(64) double direct_re[FieldTile::capacity];
    alignas(64) double direct_im[FieldTile::capacity];
    tile.clear_pressures(count);
    KESTREL_LANES
    for (int i = 0; i < count; ++i) {
      r[i] = std::sqrt(tile.x[i] * tile.x[i] + tile.y[i] * tile.y[i]);
      zeta[i] = tile.z[i] - rc;
      const auto direct = wave(cap_direct_path(side_of_centre(zeta[i]), rc, r[i], zeta[i]));
      direct_re[i] = direct.re;
      direct_im[i] = direct.im;
    }
    using Arithmetic = typename std::decay_t<decltype(wave)>::Arithmetic;
    for_node_groups<Arithmetic>(cosine.size(), [&](auto group,
                                                   std::size_t first) KESTREL_INLINE_LAMBDA {
      double cos_psi[group], sine_squared[group], w[group];
      for (int m = 0; m < group; ++m) {
        cos_psi[m] = cosine[first + m];
        sine_squared[m] = (1 - cos_psi[m]) * (1 + cos_psi[m]);
        w[m] = node_weight[first + m];
      }
      KESTREL_LANES
      for (int i = 0; i < count; ++i) {
        const LaneComplex<double> direct{direct_re[i], direct_im[i]};
        if constexpr (Arithmetic::wide) {
          const CapRimPoint point(a, rc, h, r[i], zeta[i]);
          tile.add_pressure(
              i, sum_quotients<Arithmetic, group>([&](int m) KESTREL_INLINE_LAMBDA -> QuotientTerm {
                const double t = point.numerator(cos_psi[m]);
                return {w[m] * t, point.denominator(t, sine_squared[m]),
                        wave(point.path(cos_psi[m])) - direct};
              }));
        } else {
          const CapRimTerm<double> rim(a, rc, h, r[i], zeta[i], cos_psi[0]);
          tile.add_pressure(i, w[0] * (rim.factor * (wave(rim.path) - direct)));
        }
      }
    });
  });
  tile.multiply(prefactor);
  tile.multiply(weight);
}

std::complex<double> CapFourWide::pressure(double x, double y, double z) const {
  const double height = z - exact.cap.curvature;
  const float4 r = splat(std::sqrt(x * x + y * y)), zeta = splat(height);
  const float4 a = splat(exact.cap.radius), rc = splat(exact.cap.curvature);
  const float4 h = splat(exact.cap.rim_depth);
  const auto direct = wave(cap_direct_path(splat(side_of_centre(height)), rc, r, zeta));
  FourWideSum sum;
  for (std::size_t block = 0; block < cosine.blocks(); ++block) {
    const CapRimTerm<float4> rim(a, rc, h, r, zeta, cosine[block]);
    sum += weight[block] * (rim.factor * (wave(rim.path) - direct));
  }
  return sum.total() * exact.prefactor * exact.weight;
}

}  // namespace kestrel
