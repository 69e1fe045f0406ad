#pragma once

/// The kernels of "kestrel/four_wide.h" as templates over the lane type, after the
/// single-precision functions of the Cephes library (S. L. Moshier): range reduction, then a short
/// polynomial. No branches and no calls; every lane is computed on its own.
///
/// For the library's own loops, which inline them, and for tests, which compare the two lane types.
/// They are compiled with the flags of their caller, so programs call the plain functions instead,
/// where what each one computes is told.

#include "kestrel/compiler.h"
#include "kestrel/four_wide.h"

namespace kestrel::four_wide {

/// A lane type of "kestrel/four_wide.h".
template <class F>
concept Lanes = requires {
  typename F::Int;
};

/// Coefficients from the highest power down: ((c0 x + c1) x + c2) ..., each step rounded twice.
template <class F, class... Rest>
KESTREL_INLINE F horner(F x, float c0, Rest... rest) {
  F y = F::splat(c0);
  ((y = y * x + F::splat(rest)), ...);
  return y;
}

/// An angle brought into [-pi/4, pi/4] by a multiple of pi/2, in three parts (Cody and Waite).
template <class F>
struct ReducedAngle {
  F angle;
  typename F::Int octant;  ///< even; bit 1: sine and cosine swap roles, bit 2: half a turn

  KESTREL_INLINE explicit ReducedAngle(F x) {
    using I = typename F::Int;
    const F magnitude = F::from_bits(x.bits() & I::splat(0x7fffffffu));
    octant = ((magnitude * F::splat(1.27323949f)).truncated() + I::splat(1)) & I::splat(~1u);
    const F y = F::from_int(octant);
    angle = magnitude + y * F::splat(-0.78515625f);
    angle = angle + y * F::splat(-0.000241875648f);
    angle = angle + y * F::splat(-3.77489506e-08f);
  }
  KESTREL_INLINE typename F::Int roles_kept() const {
    using I = typename F::Int;
    return equal(octant & I::splat(2), I::splat(0));
  }
  /// The sign bit of sin x, given x for its own sign.
  KESTREL_INLINE typename F::Int sine_sign(F x) const {
    using I = typename F::Int;
    return (x.bits() & I::splat(0x80000000u)) ^ (octant & I::splat(4)).template shifted_left<29>();
  }
  KESTREL_INLINE typename F::Int cosine_sign() const {
    using I = typename F::Int;
    return (((octant - I::splat(2)) ^ I::splat(~0u)) & I::splat(4)).template shifted_left<29>();
  }
};

/// The full polynomials of Cephes: a few units in the last place.
struct FullSeries {
  template <class F>
  KESTREL_INLINE static F cosine(F z) {
    const F y = horner(z, 2.44331568e-05f, -0.00138873165f, 0.0416666456f);
    return y * z * z - z * F::splat(0.5f) + F::splat(1.0f);
  }
  template <class F>
  KESTREL_INLINE static F sine(F z, F angle) {
    const F y = horner(z, -0.000195152956f, 0.00833216123f, -0.166666552f);
    return y * z * angle + angle;
  }
};

/// Two terms of the sine and three of the cosine: off by up to 2.45e-3 at the ends of the reduced
/// interval, for speed. Results of the four-wide methods depend on it: not to be "repaired" here.
struct ShortSeries {
  template <class F>
  KESTREL_INLINE static F cosine(F z) {
    return F::splat(0.0416666456f) * z * z - z * F::splat(0.5f) + F::splat(1.0f);
  }
  template <class F>
  KESTREL_INLINE static F sine(F z, F angle) {
    return F::splat(-0.166666552f) * z * angle + angle;
  }
};

template <class F>
KESTREL_INLINE F with_sign_flipped(F x, typename F::Int sign) {
  return F::from_bits(x.bits() ^ sign);
}

template <Lanes F>
KESTREL_INLINE F log_ps(F x) {
  using I = typename F::Int;
  const F one = F::splat(1.0f);
  const I not_positive = less_equal(x, F::splat(0.0f));
  x = max(x, F::splat(1.17549435e-38f));

  F e = F::from_int(x.bits().template shifted_right<23>() - I::splat(127)) + one;
  F m = F::from_bits((x.bits() & I::splat(0x807fffffu)) | F::splat(0.5f).bits());

  const I small = less(m, F::splat(0.707106769f));
  e = select(small, e - one, e);
  m = (m - one) + select(small, m, F::splat(0.0f));

  const F z = m * m;
  F y = horner(m, 0.0703768358f, -0.115146101f, 0.116769984f, -0.12420141f, 0.142493233f,
               -0.166680574f, 0.200007141f, -0.24999994f, 0.333333313f);
  y = y * m * z;
  y = y + e * F::splat(-0.000212194442f);
  y = y - z * F::splat(0.5f);
  const F result = (m + y) + e * F::splat(0.693359375f);
  return F::from_bits(result.bits() | not_positive);
}

template <Lanes F>
KESTREL_INLINE F exp_ps(F x) {
  using I = typename F::Int;
  const F one = F::splat(1.0f);
  x = min(x, F::splat(88.3762589f));
  x = max(x, F::splat(-88.3762589f));

  const F fx = x * F::splat(1.44269502f) + F::splat(0.5f);
  F n = F::from_int(fx.truncated());
  n = select(less(fx, n), n - one, n);

  const F r = (x - n * F::splat(0.693359375f)) + n * F::splat(0.000212194442f);
  F y =
      horner(r, 0.000198756912f, 0.00139819994f, 0.00833345205f, 0.0416657962f, 0.166666657f, 0.5f);
  y = y * (r * r) + r + one;
  const I power_of_two = (n.truncated() + I::splat(127)).template shifted_left<23>();
  return y * F::from_bits(power_of_two);
}

template <Lanes F>
KESTREL_INLINE F sin_ps(F x) {
  const ReducedAngle<F> r(x);
  const F z = r.angle * r.angle;
  const F y = select(r.roles_kept(), FullSeries::sine(z, r.angle), FullSeries::cosine(z));
  return with_sign_flipped(y, r.sine_sign(x));
}

template <Lanes F>
KESTREL_INLINE F cos_ps(F x) {
  const ReducedAngle<F> r(x);
  const F z = r.angle * r.angle;
  const F y = select(r.roles_kept(), FullSeries::cosine(z), FullSeries::sine(z, r.angle));
  return with_sign_flipped(y, r.cosine_sign());
}

template <Lanes F>
KESTREL_INLINE void sincos_ps(F x, F* s, F* c) {
  const ReducedAngle<F> r(x);
  const F z = r.angle * r.angle;
  const F cosine = ShortSeries::cosine(z);
  const F sine = ShortSeries::sine(z, r.angle);
  const auto kept = r.roles_kept();
  *s = with_sign_flipped(select(kept, sine, cosine), r.sine_sign(x));
  *c = with_sign_flipped(select(kept, cosine, sine), r.cosine_sign());
}

template <Lanes F>
KESTREL_INLINE void complex_exp(F a, F b, F* re, F* im) {
  const F e = exp_ps(a);
  F s, c;
  sincos_ps(b, &s, &c);
  *re = e * c;
  *im = e * s;
}

template <Lanes F>
KESTREL_INLINE F _mm_set_doubles(double d0, double d1, double d2, double d3) {
  return F::of(static_cast<float>(d3), static_cast<float>(d2), static_cast<float>(d1),
               static_cast<float>(d0));
}

template <Lanes F>
KESTREL_INLINE F horizontal_add_ps(F v) {
  const F pairs = v + v.upper_half();
  return pairs + pairs.broadcast_lane_1();
}

}  // namespace kestrel::four_wide
