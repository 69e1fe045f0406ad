#pragma once

/// Sine, cosine and exponential for loops over many points.
///
/// Straight-line double-precision code without calls, branches or tables, so that a loop around it
/// vectorises. Accuracy (tests/rounding/wide_math_test.cpp holds the budgets): sine and cosine to
/// 2.7e-16 absolute (3.8e-16 without fused multiply-add) for |y| <= kPhaseLimit, the exponential to
/// 2 units in the last place for |x| <= kExponentLimit. Outside those ranges callers use
/// StandardMath.

#include <bit>
#include <cmath>
#include <cstdint>

#include "kestrel/compiler.h"
#include "kestrel/four_wide.h"
#include "kestrel/special_functions.h"

namespace kestrel {

/// Largest phase, in radians, that the wide sine and cosine reduce without loss: the number of
/// half turns times the 33-bit leading part of pi must be exact.
inline constexpr double kPhaseLimit = 8.0e5;
/// Largest magnitude of exponent for the wide exponential: results stay normal numbers.
inline constexpr double kExponentLimit = 700;

/// Largest magnitude of exponent for the short polynomial.
inline constexpr double kSmallExponentLimit = 0.2;

/// body(0) to body(n - 1), written out, so that a loop around it still vectorises and small local
/// arrays stay in registers.
template <int n, class Body>
KESTREL_INLINE void unrolled(const Body& body) {
  if constexpr (n > 1) unrolled<n - 1>(body);
  if constexpr (n > 0) body(n - 1);
}

/// The plain path: the standard library's functions, with the shortcuts for exact zeros.
struct StandardMath {
  static constexpr bool wide = false;
  /// e^{x + jy}; `lossy` false promises x = 0.
  template <bool lossy>
  static KESTREL_INLINE void attenuated_phase(double x, double y, double& re, double& im) {
    smart_exp(lossy ? x : 0, y, re, im);
  }
  /// e^x; `lossy` false promises x = 0.
  template <bool lossy>
  static KESTREL_INLINE double attenuation(double x) {
    return lossy ? std::exp(x) : 1.0;
  }
  static KESTREL_INLINE void sine_cosine(double y, double& sine, double& cosine) {
    sine = std::sin(y);
    cosine = std::cos(y);
  }
  static KESTREL_INLINE double exponential(double x) { return std::exp(x); }
};

/// `fused`: with a fused multiply-add, which lets the argument reduction get by with two parts of
/// pi; without it three parts are needed to keep the same accuracy.
template <bool fused>
struct WideMath {
  static constexpr bool wide = true;

  template <bool lossy>
  static KESTREL_INLINE void attenuated_phase(double x, double y, double& re, double& im) {
    double s, c;
    sine_cosine(y, s, c);
    if constexpr (lossy) {
      const double e = exponential(x);
      re = e * c;
      im = e * s;
    } else {
      re = c;
      im = s;
    }
  }

  template <bool lossy>
  static KESTREL_INLINE double attenuation(double x) {
    return lossy ? exponential(x) : 1.0;
  }

  static KESTREL_INLINE double mul_add(double a, double b, double c) {
    if constexpr (fused) return std::fma(a, b, c);
    return a * b + c;
  }

  static KESTREL_INLINE void sine_cosine(double y, double& sine, double& cosine) {
    // Adding 1.5*2^52 rounds to the nearest whole number of half turns and leaves that number in
    // the low bits. Half turns, because an odd one then merely turns both signs. Quarter turns
    // would allow shorter polynomials, but an exchange of sine and cosine costs more than that.
    constexpr double to_integer = 0x1.8p52;
    const double shifted = mul_add(y, 0x1.45f306dc9c883p-2, to_integer);
    const double turns = shifted - to_integer;
    const std::uint64_t sign = std::bit_cast<std::uint64_t>(shifted) << 63;
    double r;
    if constexpr (fused) {
      r = mul_add(-turns, 0x1.921fb54442d18p1, y);
      r = mul_add(-turns, 0x1.1a62633145c07p-53, r);
    } else {
      r = y - turns * 0x1.921fb544p1;
      r = r - turns * 0x1.0b4611a6p-33;
      r = r - turns * 0x1.3198a2e037073p-68;
    }
    // (sin r - r)/r^3 and (cos r - 1 + r^2/2)/r^4 in powers of r^2, which interpolate at the
    // Chebyshev points of |r| <= pi/2 to 7e-17.
    const double z = r * r;
    double s = mul_add(z, 0x1.89a43bea5b135p-49, -0x1.ae51366b753a9p-41);
    s = mul_add(z, s, 0x1.612401540ed0fp-33);
    s = mul_add(z, s, -0x1.ae6455a1c0795p-26);
    s = mul_add(z, s, 0x1.71de3a54564dfp-19);
    s = mul_add(z, s, -0x1.a01a01a018aaap-13);
    s = mul_add(z, s, 0x1.1111111111107p-7);
    s = mul_add(z, s, -0x1.5555555555555p-3);
    s = mul_add(z * r, s, r);
    double c = mul_add(z, 0x1.a2833757d771cp-45, -0x1.936ecf8fc484ap-37);
    c = mul_add(z, c, 0x1.1eed4b09a06f0p-29);
    c = mul_add(z, c, -0x1.27e4fb02497bap-22);
    c = mul_add(z, c, 0x1.a01a019f593f1p-16);
    c = mul_add(z, c, -0x1.6c16c16c164a9p-10);
    c = mul_add(z, c, 0x1.5555555555554p-5);
    c = mul_add(z * z, c, mul_add(z, -0.5, 1.0));
    sine = std::bit_cast<double>(std::bit_cast<std::uint64_t>(s) ^ sign);
    cosine = std::bit_cast<double>(std::bit_cast<std::uint64_t>(c) ^ sign);
  }

  /// Replaces each of n values, a power of two, by its reciprocal at the price of one division.
  /// The product of all must be a normal number. Each result is right to 2n units in the last
  /// place.
  template <int n>
  static KESTREL_INLINE void invert(double (&q)[n]) {
    if constexpr (n == 1) {
      q[0] = 1 / q[0];
    } else {
      double pairs[n / 2];
      unrolled<n / 2>([&](int m) KESTREL_INLINE_LAMBDA { pairs[m] = q[2 * m] * q[2 * m + 1]; });
      invert(pairs);
      unrolled<n / 2>([&](int m) KESTREL_INLINE_LAMBDA {
        const double first = q[2 * m];
        q[2 * m] = pairs[m] * q[2 * m + 1];
        q[2 * m + 1] = pairs[m] * first;
      });
    }
  }

  /// e^x for |x| <= kSmallExponentLimit: interpolates at the Chebyshev points to 1.1e-16.
  static KESTREL_INLINE double small_exponential(double x) {
    double p = mul_add(x, 0x1.722bba6c99132p-19, 0x1.a08493a862917p-16);
    p = mul_add(x, p, 0x1.a019f85300a12p-13);
    p = mul_add(x, p, 0x1.6c16b4a1c6cbep-10);
    p = mul_add(x, p, 0x1.111111117ae61p-7);
    p = mul_add(x, p, 0x1.555555567866bp-5);
    p = mul_add(x, p, 0x1.5555555555504p-3);
    p = mul_add(x, p, 0x1.ffffffffffe41p-2);
    p = mul_add(x, p, 0x1.0000000000000p+0);
    return mul_add(x, p, 1.0);
  }

  static KESTREL_INLINE double exponential(double x) {
    constexpr double to_integer = 0x1.8p52;
    const double shifted = mul_add(x, 0x1.71547652b82fep0, to_integer);
    const double n = shifted - to_integer;
    double r = mul_add(-n, 0x1.62e42feep-1, x);
    r = mul_add(-n, 0x1.a39ef35793c76p-33, r);
    // e^r on |r| <= ln(2)/2 by its Taylor polynomial; the first term left out is 4e-18.
    double p = mul_add(r, 1.0 / 6227020800.0, 1.0 / 479001600.0);
    p = mul_add(r, p, 1.0 / 39916800.0);
    p = mul_add(r, p, 1.0 / 3628800.0);
    p = mul_add(r, p, 1.0 / 362880.0);
    p = mul_add(r, p, 1.0 / 40320.0);
    p = mul_add(r, p, 1.0 / 5040.0);
    p = mul_add(r, p, 1.0 / 720.0);
    p = mul_add(r, p, 1.0 / 120.0);
    p = mul_add(r, p, 1.0 / 24.0);
    p = mul_add(r, p, 1.0 / 6.0);
    p = mul_add(r, p, 0.5);
    p = mul_add(r * r, p, r);
    const std::uint64_t exponent = (std::bit_cast<std::uint64_t>(shifted) + 1023) << 52;
    return mul_add(p, std::bit_cast<double>(exponent), std::bit_cast<double>(exponent));
  }
};

}  // namespace kestrel
