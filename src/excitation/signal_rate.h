#pragma once

#include <vector>

#include "excitation/excitation_function.h"

namespace kestrel {

/// The true rate dv/dt of an excitation, where `derivative` is not: it restores the amplitude on
/// all terms of the t-cubed pulse and the factor omega on the lines of a sampled signal. What an
/// excitation says of itself is read once, at construction; it must outlive this object.
///
/// For a sampled signal the Nyquist line counts once, so the rate is that of the samples'
/// trigonometric interpolation. A jump of the signal at an end of its support is not part of it.
class SignalRate {
 public:
  explicit SignalRate(const ExcitationFunction& excitation);

  double operator()(double t) const;

 private:
  struct Line {
    double omega;
    double sine;    ///< coefficient of sin(omega t) in the rate
    double cosine;  ///< coefficient of cos(omega t)
  };

  const ExcitationFunction& _excitation;
  std::vector<Line> _lines;
};

}  // namespace kestrel
