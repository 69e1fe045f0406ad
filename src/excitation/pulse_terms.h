#pragma once

/// The time-space decompositions of the analytic pulses,
///
///     f(t - tau) = sum over k of spatial_k(tau) * temporal_k(t),
///
/// by the addition theorems of sine and cosine. Written over an arithmetic, so the same formulas
/// serve single values, loops over many delays and four single-precision delays at once. A
/// decomposition knows nothing of the pulse's support: whoever sums terms applies it.

#include <algorithm>
#include <array>
#include <cmath>

#include "kestrel/compiler.h"
#include "numerics/four_wide_kernels.h"
#include "numerics/wide_math.h"

namespace kestrel {

/// One delay in double precision; `Math` as for the field kernels (numerics/wide_math.h).
template <class Math>
struct OneDelay {
  using Value = double;
  static KESTREL_INLINE Value splat(double x) { return x; }
  static KESTREL_INLINE void sine_cosine(Value y, Value& s, Value& c) {
    Math::sine_cosine(y, s, c);
  }
  static KESTREL_INLINE Value exponential(Value x) { return Math::exponential(x); }
};

/// Four delays in single precision, by the full four-wide polynomials.
struct FourDelays {
  using Value = float4;
  static KESTREL_INLINE Value splat(double x) { return float4::splat(static_cast<float>(x)); }
  static KESTREL_INLINE void sine_cosine(Value y, Value& s, Value& c) {
    s = four_wide::sin_ps(y);
    c = four_wide::cos_ps(y);
  }
  static KESTREL_INLINE Value exponential(Value x) { return four_wide::exp_ps(x); }
};

/// A0 sin(omega0 (t - tau)).
struct ToneTerms {
  static constexpr int count = 2;
  template <class Value>
  using Terms = std::array<Value, count>;
  double a0 = 0, omega0 = 0;

  template <class Arithmetic, class Value = typename Arithmetic::Value>
  KESTREL_INLINE Terms<Value> spatial(Value tau) const {
    const Value a = Arithmetic::splat(a0);
    Value s, c;
    Arithmetic::sine_cosine(Arithmetic::splat(omega0) * tau, s, c);
    return {a * c, a * s};
  }
  template <class Arithmetic>
  KESTREL_INLINE Terms<double> temporal(double t) const {
    double s, c;
    Arithmetic::sine_cosine(omega0 * t, s, c);
    return {s, -c};
  }
  /// Largest |tau| or |t| that the wide functions take.
  double reach() const { return kPhaseLimit / std::abs(omega0); }
};

/// A0 (1 - cos(omegaw (t - tau))) sin(omega0 (t - tau)), times `temporal_scale`.
struct HanningTerms {
  static constexpr int count = 6;
  template <class Value>
  using Terms = std::array<Value, count>;
  double a0 = 0, omega0 = 0, omegaw = 0, temporal_scale = 1;

  template <class Arithmetic, class Value = typename Arithmetic::Value>
  KESTREL_INLINE Terms<Value> spatial(Value tau) const {
    const Value a = Arithmetic::splat(a0);
    Value s, c, sw, cw;
    Arithmetic::sine_cosine(Arithmetic::splat(omega0) * tau, s, c);
    Arithmetic::sine_cosine(Arithmetic::splat(omegaw) * tau, sw, cw);
    return {a * c, a * s, a * cw * c, a * cw * s, a * sw * c, a * sw * s};
  }
  template <class Arithmetic>
  KESTREL_INLINE Terms<double> temporal(double t) const {
    double s, c, sw, cw;
    Arithmetic::sine_cosine(omega0 * t, s, c);
    Arithmetic::sine_cosine(omegaw * t, sw, cw);
    const double a = temporal_scale;
    return {a * s, -a * c, -a * cw * s, a * cw * c, -a * sw * s, a * sw * c};
  }
  double reach() const { return kPhaseLimit / std::max(std::abs(omega0), std::abs(omegaw)); }
};

/// A0 (t - tau)^3 e^(-B (t - tau)) sin(omega0 (t - tau)); the cube by the binomial theorem.
struct TCubedTerms {
  static constexpr int count = 8;
  template <class Value>
  using Terms = std::array<Value, count>;
  double a0 = 0, omega0 = 0, b = 0;

  template <class Arithmetic, class Value = typename Arithmetic::Value>
  KESTREL_INLINE Terms<Value> spatial(Value tau) const {
    Value s, c;
    Arithmetic::sine_cosine(Arithmetic::splat(omega0) * tau, s, c);
    const Value e0 = Arithmetic::splat(a0) * Arithmetic::exponential(Arithmetic::splat(b) * tau);
    const Value e1 = e0 * tau, e2 = e1 * tau, e3 = e2 * tau;
    return {e0 * c, e1 * c, e2 * c, e3 * c, e0 * s, e1 * s, e2 * s, e3 * s};
  }
  template <class Arithmetic>
  KESTREL_INLINE Terms<double> temporal(double t) const {
    double s, c;
    Arithmetic::sine_cosine(omega0 * t, s, c);
    const double e3 = Arithmetic::exponential(-b * t);
    const double e2 = e3 * t, e1 = e2 * t, e0 = e1 * t;
    return {e0 * s, -3 * e1 * s, 3 * e2 * s, -e3 * s, -e0 * c, 3 * e1 * c, -3 * e2 * c, e3 * c};
  }
  double reach() const {
    return std::min(kPhaseLimit / std::abs(omega0), kExponentLimit / std::abs(b));
  }
};

}  // namespace kestrel
