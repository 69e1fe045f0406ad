#pragma once

/// Sine, cosine and exponential for loops over many points.
///
/// Straight-line double-precision code without calls, branches or tables, so that a loop around it
/// vectorises. Accuracy (tests/rounding/wide_math_test.cpp holds the budgets): sine and cosine to
/// 1.7e-16 absolute (2.1e-16 without fused multiply-add) for |y| <= kPhaseLimit, the exponential to
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
/// quarter turns times the 33-bit leading part of pi/2 must be exact.
inline constexpr double kPhaseLimit = 8.0e5;
/// Largest magnitude of exponent for the wide exponential: results stay normal numbers.
inline constexpr double kExponentLimit = 700;

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
/// pi/2; without it three parts are needed to keep the same accuracy.
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
    // Adding 1.5*2^52 rounds to the nearest whole number of quarter turns and leaves that number
    // in the low bits.
    constexpr double to_integer = 0x1.8p52;
    const double shifted = mul_add(y, 0x1.45f306dc9c883p-1, to_integer);
    const double turns = shifted - to_integer;
    const std::uint64_t quadrant = std::bit_cast<std::uint64_t>(shifted);
    double r;
    if constexpr (fused) {
      r = mul_add(-turns, 0x1.921fb54442d18p0, y);
      r = mul_add(-turns, 0x1.1a62633145c07p-54, r);
    } else {
      r = y - turns * 0x1.921fb544p0;
      r = r - turns * 0x1.0b4611a6p-34;
      r = r - turns * 0x1.3198a2e037073p-69;
    }
    const double z = r * r;
    double s = mul_add(z, 1.58969099521155010221e-10, -2.50507602534068634195e-08);
    s = mul_add(z, s, 2.75573137070700676789e-06);
    s = mul_add(z, s, -1.98412698298579493134e-04);
    s = mul_add(z, s, 8.33333333332248946124e-03);
    s = mul_add(z, s, -1.66666666666666324348e-01);
    s = mul_add(z * r, s, r);
    double c = mul_add(z, -1.13596475577881948265e-11, 2.08757232129817482790e-09);
    c = mul_add(z, c, -2.75573143513906633035e-07);
    c = mul_add(z, c, 2.48015872894767294178e-05);
    c = mul_add(z, c, -1.38888888888741095749e-03);
    c = mul_add(z, c, 4.16666666666666019037e-02);
    c = mul_add(z * z, c, 1.0 - 0.5 * z);

    // Odd quarter turns swap the two; the signs follow from the quadrant.
    const std::uint64_t swap = 0 - (quadrant & 1);
    const std::uint64_t s_bits = std::bit_cast<std::uint64_t>(s);
    const std::uint64_t c_bits = std::bit_cast<std::uint64_t>(c);
    const std::uint64_t exchange = (s_bits ^ c_bits) & swap;
    const std::uint64_t s_sign = (quadrant & 2) << 62;
    const std::uint64_t c_sign = ((quadrant + 1) & 2) << 62;
    sine = std::bit_cast<double>((s_bits ^ exchange) ^ s_sign);
    cosine = std::bit_cast<double>((c_bits ^ exchange) ^ c_sign);
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
