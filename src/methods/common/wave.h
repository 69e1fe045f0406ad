#pragma once

/// The wave E(R) = e^{-(alpha + jk)R} in the arithmetics of the methods. Their terms are templates
/// over a value type T: a double in loops over points, or float4 where four nodes or integrals of
/// one point run side by side.

#include <algorithm>
#include <cmath>
#include <complex>

#include "kestrel/compiler.h"
#include "numerics/four_wide_kernels.h"
#include "numerics/wide_math.h"

namespace kestrel {

/// A complex value of T. Each part is computed by itself, in the order in which it is written.
template <class T>
struct LaneComplex {
  T re, im;

  KESTREL_INLINE void operator+=(LaneComplex other) {
    re = re + other.re;
    im = im + other.im;
  }
  KESTREL_INLINE friend LaneComplex operator-(LaneComplex a, LaneComplex b) {
    return {a.re - b.re, a.im - b.im};
  }
  KESTREL_INLINE friend LaneComplex operator*(LaneComplex a, LaneComplex b) {
    return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
  }
  KESTREL_INLINE friend LaneComplex operator*(T factor, LaneComplex a) {
    return {factor * a.re, factor * a.im};
  }
  KESTREL_INLINE friend LaneComplex operator/(LaneComplex a, T divisor) {
    return {a.re / divisor, a.im / divisor};
  }
};

/// Attenuation and phase of a path of length R: e^{attenuation*R + j*phase*R}, both rates negative
/// for an outgoing, decaying wave.
struct Propagation {
  double attenuation = 0;  ///< -alpha, nepers per metre
  double phase = 0;        ///< -k, radians per metre

  bool lossless() const { return attenuation == 0; }

  /// How far from the element's origin, as |x| + |y| + |z|, a point may lie so that every path from
  /// an element that stays within `extent` of the origin is short enough for the wide functions.
  /// NaN when the phase is NaN; then no point counts as within the limit. (A loss that is NaN makes
  /// every pressure NaN on either path.)
  ///
  /// `smallest`: the smallest size of the element. The wide paths divide once by the product of
  /// four denominators, which are fourth powers of lengths at most. Lengths between 1e-15 and 1e15
  /// metres keep such a product a normal number; of an element outside that range, no point counts.
  double wide_math_limit(double extent, double smallest = 1) const {
    constexpr double shortest = 1e-15, longest = 1e15;
    if (!(std::abs(smallest) >= shortest)) return -1;
    const double by_phase = kPhaseLimit / std::abs(phase);
    const double by_loss = lossless() ? by_phase : kExponentLimit / std::abs(attenuation);
    return std::min(std::min(by_phase, by_loss), longest) - std::abs(extent);
  }
};

/// How a wave's loss is computed.
enum class Loss {
  none,
  full,   ///< an exponential a path
  small,  ///< an exponential a point, times a short polynomial a path
};

/// A path length of a point and its loss e^{-alpha length}. With Loss::small, the point's other
/// paths through the element have almost the same length.
struct PathReference {
  double length = 0, decay = 1;
};

/// E(R) in doubles, with the sine, cosine and exponential of an instruction set.
template <class Math, Loss loss>
struct Wave {
  using Arithmetic = Math;
  static constexpr bool lossy = loss != Loss::none;
  Propagation rates;

  // By way of local variables: written to members, sine and cosine take GCC two calls.
  KESTREL_INLINE LaneComplex<double> operator()(double path) const {
    double re, im;
    Math::template attenuated_phase<lossy>(rates.attenuation * path, rates.phase * path, re, im);
    return {re, im};
  }
  /// E(R) of a path from a node of the element.
  KESTREL_INLINE LaneComplex<double> operator()(double path, PathReference of_point) const {
    if constexpr (loss == Loss::small) {
      const double excess = path - of_point.length;
      return (of_point.decay * Math::small_exponential(rates.attenuation * excess)) *
             oscillation(path);
    } else {
      return (*this)(path);
    }
  }
  /// The two factors of E(R) by themselves.
  KESTREL_INLINE double decay(double path) const {
    return Math::template attenuation<lossy>(rates.attenuation * path);
  }
  KESTREL_INLINE LaneComplex<double> oscillation(double path) const {
    double re, im;
    Math::template attenuated_phase<false>(0, rates.phase * path, re, im);
    return {re, im};
  }
};

/// E(R) in four single-precision lanes.
struct FourWideWave {
  float4 attenuation, phase;

  explicit FourWideWave(const Propagation& rates)
      : attenuation(float4::splat(static_cast<float>(rates.attenuation))),
        phase(float4::splat(static_cast<float>(rates.phase))) {}

  KESTREL_INLINE LaneComplex<float4> operator()(float4 path) const {
    LaneComplex<float4> e;
    four_wide::complex_exp(attenuation * path, phase * path, &e.re, &e.im);
    return e;
  }
  KESTREL_INLINE float4 decay(float4 path) const { return four_wide::exp_ps(attenuation * path); }
  KESTREL_INLINE LaneComplex<float4> oscillation(float4 path) const {
    LaneComplex<float4> e;
    four_wide::sincos_ps(phase * path, &e.im, &e.re);
    return e;
  }
};

}  // namespace kestrel
