#pragma once

/// Logarithm, exponential, sine and cosine of four single-precision lanes. Every lane is computed
/// on its own, and has the same bits on every processor: the functions are compiled once, with the
/// library, whatever instruction set the calling program is compiled for.

#include "numerics/float4.h"

namespace kestrel {

/// Natural logarithm. NaN for x <= 0, zero of either sign included. Subnormal numbers count as the
/// smallest normal one, and so does NaN; infinity gives 128 ln 2.
float4 log_ps(float4 x);

/// e^x, x clamped to [-88.3762589, 88.3762589] first. NaN is clamped to the upper end: it does not
/// pass through.
float4 exp_ps(float4 x);

/// sin x; sin(-x) = -sin(x) to the bit. Good for |x| up to some 8000, after which the reduction
/// runs out of digits; NaN for NaN and infinity.
float4 sin_ps(float4 x);

/// cos x; cos(-x) = cos(x) to the bit. Range as for `sin_ps`.
float4 cos_ps(float4 x);

/// *s = sin x and *c = cos x by shortened polynomials: absolute error up to `sincos_ps_error`.
void sincos_ps(float4 x, float4* s, float4* c);

/// The largest error of `sincos_ps`, at the odd multiples of pi/4: what is left of the sine's
/// series there, (pi/4)^5/120.
inline constexpr double sincos_ps_error = 2.46e-3;

/// *re + i *im = e^(a + ib), with the accuracy of `sincos_ps`.
void complex_exp(float4 a, float4 b, float4* re, float4* im);

/// Lanes from the highest down: the first argument goes to lane 3, the last to lane 0, each rounded
/// to single precision.
float4 _mm_set_doubles(double d0, double d1, double d2, double d3);

/// (v0 + v2) + (v1 + v3) in lane 0; the other lanes mean nothing.
float4 horizontal_add_ps(float4 v);

#if KESTREL_HAS_SSE2

/// The same where the results are kept in the processor's own type.
inline void sincos_ps(float4 x, __m128* s, __m128* c) {
  float4 sine, cosine;
  sincos_ps(x, &sine, &cosine);
  *s = sine;
  *c = cosine;
}
inline void complex_exp(float4 a, float4 b, __m128* re, __m128* im) {
  float4 real, imaginary;
  complex_exp(a, b, &real, &imaginary);
  *re = real;
  *im = imaginary;
}

#endif

}  // namespace kestrel
