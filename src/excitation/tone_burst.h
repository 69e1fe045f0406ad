#pragma once

#include "excitation/analytic_pulse.h"

namespace kestrel {

/// A0 sin(2 pi f0 t), cut to a pulse.
class ToneBurst final : public AnalyticPulse<ToneTerms> {
 public:
  /// Amplitude, frequency in Hz, width in seconds; B has no effect.
  ToneBurst(double A0, double f0, double pulse_width, double B, int type);

  /// The signal for 0 < t < pulse_width.
  double at(const double& t) const override;
  /// The rate for 0 <= t <= pulse_width: unlike `at`, both ends included.
  double derivative(const double& t) const override;

  using AnalyticPulse::temporal_tsd;
  /// Four samples at a time by the shortened sine and cosine of `sincos_ps`, errors up to 2.5e-3
  /// included. t_i - t0 is formed in double and then rounded, and so is omega0.
  void temporal_tsd(float* out, const TimeSamples* axis, const int& nt,
                    const float& t0) const override;
};

}  // namespace kestrel
