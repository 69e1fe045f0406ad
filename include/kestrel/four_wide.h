#pragma once

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "kestrel/compiler.h"

/// Four single-precision lanes, and the integers that share their bits.
///
/// There are two lane types with the same operations: `SseFloat4` over the processor's 128-bit
/// registers, and `PlainFloat4` over an array. The plain one is the fallback on other processors
/// and the oracle of the tests: every operation but `rcp` gives the same bits in both. Code for
/// four lanes is written once, as a template over the lane type, and called with `float4`.

#if defined(__SSE2__) || defined(_M_X64)
#define KESTREL_HAS_SSE2 1
#include <emmintrin.h>
#else
#define KESTREL_HAS_SSE2 0
#endif

namespace kestrel {

/// Four 32-bit integers with wrap-around arithmetic; also the result of lane comparisons, where
/// each lane is all ones (true) or all zeros (false).
struct PlainInt4 {
  std::array<std::uint32_t, 4> v;

  static PlainInt4 splat(std::uint32_t x) { return {{x, x, x, x}}; }
  std::uint32_t lane(int i) const { return v[i]; }

  /// op(a_i, b_i) in each lane.
  template <class Op>
  static PlainInt4 each(const PlainInt4& a, const PlainInt4& b, Op op) {
    return {{op(a.v[0], b.v[0]), op(a.v[1], b.v[1]), op(a.v[2], b.v[2]), op(a.v[3], b.v[3])}};
  }
  friend PlainInt4 operator+(const PlainInt4& a, const PlainInt4& b) {
    return each(a, b, [](auto x, auto y) { return x + y; });
  }
  friend PlainInt4 operator-(const PlainInt4& a, const PlainInt4& b) {
    return each(a, b, [](auto x, auto y) { return x - y; });
  }
  friend PlainInt4 operator&(const PlainInt4& a, const PlainInt4& b) {
    return each(a, b, [](auto x, auto y) { return x & y; });
  }
  friend PlainInt4 operator|(const PlainInt4& a, const PlainInt4& b) {
    return each(a, b, [](auto x, auto y) { return x | y; });
  }
  friend PlainInt4 operator^(const PlainInt4& a, const PlainInt4& b) {
    return each(a, b, [](auto x, auto y) { return x ^ y; });
  }
  friend PlainInt4 equal(const PlainInt4& a, const PlainInt4& b) {
    return each(a, b, [](auto x, auto y) { return x == y ? ~0u : 0u; });
  }
  template <int n>
  PlainInt4 shifted_left() const {
    return each(*this, *this, [](auto x, auto) { return x << n; });
  }
  /// Zeros come in from the left.
  template <int n>
  PlainInt4 shifted_right() const {
    return each(*this, *this, [](auto x, auto) { return x >> n; });
  }
};

/// Four floats in an array.
struct PlainFloat4 {
  using Int = PlainInt4;
  std::array<float, 4> v;

  static PlainFloat4 splat(float x) { return {{x, x, x, x}}; }
  /// Lane 0 first.
  static PlainFloat4 of(float x0, float x1, float x2, float x3) { return {{x0, x1, x2, x3}}; }
  static PlainFloat4 load(const float* p) { return {{p[0], p[1], p[2], p[3]}}; }
  void store(float* p) const { std::memcpy(p, v.data(), sizeof v); }
  float lane(int i) const { return v[i]; }

  template <class Op>
  static PlainFloat4 each(const PlainFloat4& a, const PlainFloat4& b, Op op) {
    return {{op(a.v[0], b.v[0]), op(a.v[1], b.v[1]), op(a.v[2], b.v[2]), op(a.v[3], b.v[3])}};
  }
  template <class Op>
  static Int compare(const PlainFloat4& a, const PlainFloat4& b, Op op) {
    Int mask;
    for (int i = 0; i < 4; ++i) mask.v[i] = op(a.v[i], b.v[i]) ? ~0u : 0u;
    return mask;
  }
  friend PlainFloat4 operator+(const PlainFloat4& a, const PlainFloat4& b) {
    return each(a, b, [](float x, float y) { return x + y; });
  }
  friend PlainFloat4 operator-(const PlainFloat4& a, const PlainFloat4& b) {
    return each(a, b, [](float x, float y) { return x - y; });
  }
  friend PlainFloat4 operator*(const PlainFloat4& a, const PlainFloat4& b) {
    return each(a, b, [](float x, float y) { return x * y; });
  }
  friend PlainFloat4 operator/(const PlainFloat4& a, const PlainFloat4& b) {
    return each(a, b, [](float x, float y) { return x / y; });
  }
  friend PlainFloat4 sqrt(const PlainFloat4& a) {
    return each(a, a, [](float x, float) { return std::sqrt(x); });
  }
  /// As the processor has it: the second operand when either is NaN or the two compare equal.
  friend PlainFloat4 min(const PlainFloat4& a, const PlainFloat4& b) {
    return each(a, b, [](float x, float y) { return x < y ? x : y; });
  }
  friend PlainFloat4 max(const PlainFloat4& a, const PlainFloat4& b) {
    return each(a, b, [](float x, float y) { return x > y ? x : y; });
  }
  /// 1/a rounded; the SSE twin is good to 12 bits only (relative error below 1.5 * 2^-12) and
  /// differs between makers of processors.
  friend PlainFloat4 rcp(const PlainFloat4& a) {
    return each(a, a, [](float x, float) { return 1.0f / x; });
  }
  friend Int less(const PlainFloat4& a, const PlainFloat4& b) {
    return compare(a, b, [](float x, float y) { return x < y; });
  }
  friend Int less_equal(const PlainFloat4& a, const PlainFloat4& b) {
    return compare(a, b, [](float x, float y) { return x <= y; });
  }
  friend Int equal(const PlainFloat4& a, const PlainFloat4& b) {
    return compare(a, b, [](float x, float y) { return x == y; });
  }
  /// a where the mask is set, b elsewhere.
  friend PlainFloat4 select(const Int& mask, const PlainFloat4& a, const PlainFloat4& b) {
    return from_bits((mask & a.bits()) | ((mask ^ Int::splat(~0u)) & b.bits()));
  }
  Int bits() const { return std::bit_cast<Int>(v); }
  static PlainFloat4 from_bits(const Int& i) { return {std::bit_cast<std::array<float, 4>>(i.v)}; }
  /// Towards zero; 0x80000000 where the value is NaN or does not fit.
  Int truncated() const {
    Int i;
    for (int k = 0; k < 4; ++k) {
      const bool fits = v[k] >= -2147483648.0f && v[k] < 2147483648.0f;
      i.v[k] = fits ? static_cast<std::uint32_t>(static_cast<std::int32_t>(v[k])) : 0x80000000u;
    }
    return i;
  }
  /// Lanes read as signed integers.
  static PlainFloat4 from_int(const Int& i) {
    PlainFloat4 x;
    for (int k = 0; k < 4; ++k) x.v[k] = static_cast<float>(static_cast<std::int32_t>(i.v[k]));
    return x;
  }
  /// (v0, v1, v2, v3) -> (v2, v3, v2, v3)
  PlainFloat4 upper_half() const { return {{v[2], v[3], v[2], v[3]}}; }
  PlainFloat4 broadcast_lane_1() const { return splat(v[1]); }
};

#if KESTREL_HAS_SSE2

struct SseInt4 {
  __m128i v;

  KESTREL_INLINE static SseInt4 splat(std::uint32_t x) {
    return {_mm_set1_epi32(static_cast<int>(x))};
  }
  KESTREL_INLINE std::uint32_t lane(int i) const {
    alignas(16) std::array<std::uint32_t, 4> a;
    _mm_store_si128(reinterpret_cast<__m128i*>(a.data()), v);
    return a[i];
  }
  KESTREL_INLINE friend SseInt4 operator+(SseInt4 a, SseInt4 b) {
    return {_mm_add_epi32(a.v, b.v)};
  }
  KESTREL_INLINE friend SseInt4 operator-(SseInt4 a, SseInt4 b) {
    return {_mm_sub_epi32(a.v, b.v)};
  }
  KESTREL_INLINE friend SseInt4 operator&(SseInt4 a, SseInt4 b) {
    return {_mm_and_si128(a.v, b.v)};
  }
  KESTREL_INLINE friend SseInt4 operator|(SseInt4 a, SseInt4 b) { return {_mm_or_si128(a.v, b.v)}; }
  KESTREL_INLINE friend SseInt4 operator^(SseInt4 a, SseInt4 b) {
    return {_mm_xor_si128(a.v, b.v)};
  }
  KESTREL_INLINE friend SseInt4 equal(SseInt4 a, SseInt4 b) { return {_mm_cmpeq_epi32(a.v, b.v)}; }
  template <int n>
  KESTREL_INLINE SseInt4 shifted_left() const {
    return {_mm_slli_epi32(v, n)};
  }
  template <int n>
  KESTREL_INLINE SseInt4 shifted_right() const {
    return {_mm_srli_epi32(v, n)};
  }
};

/// Four floats in a register, converted from and to the processor's own type as they are used.
/// Always inlined, so that a caller compiled for a wider instruction set keeps one set of
/// instructions and no shared copy is left for the linker to choose.
struct SseFloat4 {
  using Int = SseInt4;
  __m128 v;

  SseFloat4() = default;
  KESTREL_INLINE SseFloat4(__m128 x) : v(x) {}
  KESTREL_INLINE operator __m128() const { return v; }

  KESTREL_INLINE static SseFloat4 splat(float x) { return {_mm_set1_ps(x)}; }
  KESTREL_INLINE static SseFloat4 of(float x0, float x1, float x2, float x3) {
    return {_mm_setr_ps(x0, x1, x2, x3)};
  }
  KESTREL_INLINE static SseFloat4 load(const float* p) { return {_mm_loadu_ps(p)}; }
  KESTREL_INLINE void store(float* p) const { _mm_storeu_ps(p, v); }
  KESTREL_INLINE float lane(int i) const {
    alignas(16) std::array<float, 4> a;
    _mm_store_ps(a.data(), v);
    return a[i];
  }
  KESTREL_INLINE friend SseFloat4 operator+(SseFloat4 a, SseFloat4 b) {
    return {_mm_add_ps(a.v, b.v)};
  }
  KESTREL_INLINE friend SseFloat4 operator-(SseFloat4 a, SseFloat4 b) {
    return {_mm_sub_ps(a.v, b.v)};
  }
  KESTREL_INLINE friend SseFloat4 operator*(SseFloat4 a, SseFloat4 b) {
    return {_mm_mul_ps(a.v, b.v)};
  }
  KESTREL_INLINE friend SseFloat4 operator/(SseFloat4 a, SseFloat4 b) {
    return {_mm_div_ps(a.v, b.v)};
  }
  KESTREL_INLINE friend SseFloat4 sqrt(SseFloat4 a) { return {_mm_sqrt_ps(a.v)}; }
  KESTREL_INLINE friend SseFloat4 min(SseFloat4 a, SseFloat4 b) { return {_mm_min_ps(a.v, b.v)}; }
  KESTREL_INLINE friend SseFloat4 max(SseFloat4 a, SseFloat4 b) { return {_mm_max_ps(a.v, b.v)}; }
  KESTREL_INLINE friend SseFloat4 rcp(SseFloat4 a) { return {_mm_rcp_ps(a.v)}; }
  KESTREL_INLINE friend Int less(SseFloat4 a, SseFloat4 b) {
    return {_mm_castps_si128(_mm_cmplt_ps(a.v, b.v))};
  }
  KESTREL_INLINE friend Int less_equal(SseFloat4 a, SseFloat4 b) {
    return {_mm_castps_si128(_mm_cmple_ps(a.v, b.v))};
  }
  KESTREL_INLINE friend Int equal(SseFloat4 a, SseFloat4 b) {
    return {_mm_castps_si128(_mm_cmpeq_ps(a.v, b.v))};
  }
  KESTREL_INLINE friend SseFloat4 select(Int mask, SseFloat4 a, SseFloat4 b) {
    const __m128 m = _mm_castsi128_ps(mask.v);
    return {_mm_or_ps(_mm_and_ps(m, a.v), _mm_andnot_ps(m, b.v))};
  }
  KESTREL_INLINE Int bits() const { return {_mm_castps_si128(v)}; }
  KESTREL_INLINE static SseFloat4 from_bits(Int i) { return {_mm_castsi128_ps(i.v)}; }
  KESTREL_INLINE Int truncated() const { return {_mm_cvttps_epi32(v)}; }
  KESTREL_INLINE static SseFloat4 from_int(Int i) { return {_mm_cvtepi32_ps(i.v)}; }
  KESTREL_INLINE SseFloat4 upper_half() const { return {_mm_movehl_ps(v, v)}; }
  KESTREL_INLINE SseFloat4 broadcast_lane_1() const {
    return {_mm_shuffle_ps(v, v, _MM_SHUFFLE(1, 1, 1, 1))};
  }
};

using float4 = SseFloat4;

#else

using float4 = PlainFloat4;

#endif

}  // namespace kestrel

/// Logarithm, exponential, sine and cosine of four single-precision lanes. Every lane is computed
/// on its own, and has the same bits on every processor: the functions are compiled once, with the
/// library, whatever instruction set the calling program is compiled for.

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

/// *s = sin x and *c = cos x by shortened polynomials: absolute error up to `kSincosPsError`.
void sincos_ps(float4 x, float4* s, float4* c);

/// The largest error of `sincos_ps`, at the odd multiples of pi/4: what is left of the sine's
/// series there, (pi/4)^5/120.
inline constexpr double kSincosPsError = 2.46e-3;

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

/// Prints the four lanes, lane 0 first, as "<%e %e %e %e>\n" on the host's console. A debugging
/// aid; it stands apart from the four-wide kernels because those know no host.
void debug_m128(float4 v);

}  // namespace kestrel
