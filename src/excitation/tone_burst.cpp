#include <algorithm>
#include <cmath>
#include <cstddef>

#include "excitation/pulse_terms.h"
#include "kestrel/excitation.h"
#include "numerics/constants.h"
#include "numerics/four_wide_kernels.h"

namespace kestrel {

ToneBurst::ToneBurst(double A0, double f0, double pulse_width, double B, int type)
    : AnalyticPulse(A0, f0, pulse_width, B, type) {
  set_terms({_a0, _omega0}, {_a0, _omega0});
}

double ToneBurst::at(const double& t) const {
  return inside(t) ? _a0 * std::sin(_omega0 * t) : 0.0;
}

double ToneBurst::derivative(const double& t) const {
  return t >= 0 && t <= _pulse_width ? 2 * _a0 * constants::kShortPi * _f0 * std::cos(_omega0 * t)
                                     : 0.0;
}

void ToneBurst::temporal_tsd(float* out, const TimeSamples* axis, const int& nt,
                             const float& t0) const {
  const float4 omega0 = float4::splat(static_cast<float>(_omega0));
  for (int first = 0; first < nt; first += 4) {
    float t[4] = {};
    const int count = std::min(4, nt - first);
    for (int i = 0; i < count; ++i) {
      t[i] = static_cast<float>(axis->time_index_value(first + i) - static_cast<double>(t0));
    }
    float4 sine, cosine;
    four_wide::sincos_ps(omega0 * float4::load(t), &sine, &cosine);
    for (int i = 0; i < count; ++i) {
      out[first + i] = sine.lane(i);
      out[std::size_t(nt) + first + i] = -cosine.lane(i);
    }
  }
}

}  // namespace kestrel
