#pragma once

/// The time-space decompositions of the analytic pulses,
///
///     f(t - tau) = sum over k of spatial_k(tau) * temporal_k(t),
///
/// by the addition theorems of sine and cosine. Written over `Math` (numerics/wide_math.h), so the
/// same formulas serve single values and loops over many delays. A decomposition knows nothing of
/// the pulse's support: whoever sums terms applies it.

#include <algorithm>
#include <array>
#include <cmath>

#include "numerics/wide_math.h"

namespace kestrel {

/// A0 sin(omega0 (t - tau)).
struct ToneTerms {
  static constexpr int count = 2;
  using Terms = std::array<double, count>;
  double a0 = 0, omega0 = 0;

  template <class Math>
  KESTREL_INLINE Terms spatial(double tau) const {
    double s, c;
    Math::sine_cosine(omega0 * tau, s, c);
    return {a0 * c, a0 * s};
  }
  template <class Math>
  KESTREL_INLINE Terms temporal(double t) const {
    double s, c;
    Math::sine_cosine(omega0 * t, s, c);
    return {s, -c};
  }
  /// Largest |tau| or |t| that the wide functions take.
  double reach() const { return kPhaseLimit / std::abs(omega0); }
};

/// A0 (1 - cos(omegaw (t - tau))) sin(omega0 (t - tau)), times `temporal_scale`.
struct HanningTerms {
  static constexpr int count = 6;
  using Terms = std::array<double, count>;
  double a0 = 0, omega0 = 0, omegaw = 0, temporal_scale = 1;

  template <class Math>
  KESTREL_INLINE Terms spatial(double tau) const {
    double s, c, sw, cw;
    Math::sine_cosine(omega0 * tau, s, c);
    Math::sine_cosine(omegaw * tau, sw, cw);
    return {a0 * c, a0 * s, a0 * cw * c, a0 * cw * s, a0 * sw * c, a0 * sw * s};
  }
  template <class Math>
  KESTREL_INLINE Terms temporal(double t) const {
    double s, c, sw, cw;
    Math::sine_cosine(omega0 * t, s, c);
    Math::sine_cosine(omegaw * t, sw, cw);
    const double a = temporal_scale;
    return {a * s, -a * c, -a * cw * s, a * cw * c, -a * sw * s, a * sw * c};
  }
  double reach() const { return kPhaseLimit / std::max(std::abs(omega0), std::abs(omegaw)); }
};

/// A0 (t - tau)^3 e^(-B (t - tau)) sin(omega0 (t - tau)); the cube by the binomial theorem.
struct TCubedTerms {
  static constexpr int count = 8;
  using Terms = std::array<double, count>;
  double a0 = 0, omega0 = 0, b = 0;

  template <class Math>
  KESTREL_INLINE Terms spatial(double tau) const {
    double s, c;
    Math::sine_cosine(omega0 * tau, s, c);
    const double e0 = a0 * Math::exponential(b * tau);
    const double e1 = e0 * tau, e2 = e1 * tau, e3 = e2 * tau;
    return {e0 * c, e1 * c, e2 * c, e3 * c, e0 * s, e1 * s, e2 * s, e3 * s};
  }
  template <class Math>
  KESTREL_INLINE Terms temporal(double t) const {
    double s, c;
    Math::sine_cosine(omega0 * t, s, c);
    const double e3 = Math::exponential(-b * t);
    const double e2 = e3 * t, e1 = e2 * t, e0 = e1 * t;
    return {e0 * s, -3 * e1 * s, 3 * e2 * s, -e3 * s, -e0 * c, 3 * e1 * c, -3 * e2 * c, e3 * c};
  }
  double reach() const {
    return std::min(kPhaseLimit / std::abs(omega0), kExponentLimit / std::abs(b));
  }
};

}  // namespace kestrel
