#pragma once

#include "excitation/analytic_pulse.h"

namespace kestrel {

/// A0 (1 - cos(2 pi t / pulse_width)) sin(2 pi f0 t) for 0 < t < pulse_width.
///
/// Both the spatial and the temporal terms carry A0: the sum of their products is A0 times the
/// signal. Divide by A0 once after summing.
class HanningPulse final : public AnalyticPulse<HanningTerms> {
 public:
  /// Amplitude, frequency in Hz, width in seconds; B has no effect.
  HanningPulse(double A0, double f0, double pulse_width, double B, int type);

  double at(const double& t) const override;
  double derivative(const double& t) const override;
};

}  // namespace kestrel
