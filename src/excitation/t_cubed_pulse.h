#pragma once

#include "excitation/analytic_pulse.h"

namespace kestrel {

/// A0 t^3 e^(-B t) sin(2 pi f0 t) for 0 < t < pulse_width; the gentle start and the long tail of a
/// damped transducer.
///
/// `derivative` carries A0 on its first term only, so it is the true rate only for A0 = 1.
/// `signal_rate` has the true one for every A0.
class TCubedPulse final : public AnalyticPulse<TCubedTerms> {
 public:
  /// Amplitude in 1/s^3, frequency in Hz, width in seconds, decay rate B in 1/s.
  TCubedPulse(double A0, double f0, double pulse_width, double B, int type);

  double at(const double& t) const override;
  double derivative(const double& t) const override;
};

}  // namespace kestrel
