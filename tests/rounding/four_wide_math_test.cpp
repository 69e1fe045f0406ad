#include <bit>
#include <cmath>
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "kestrel/four_wide.h"
#include "mex/standalone/standalone_host.h"
#include "numerics/four_wide_kernels.h"

namespace kestrel {
namespace {

// For float4 the library's functions are chosen, for the plain lanes the templates behind them.
using namespace four_wide;

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

template <class F>
F sincos_sine(F x) {
  F s, c;
  sincos_ps(x, &s, &c);
  return s;
}

template <class F>
F sincos_cosine(F x) {
  F s, c;
  sincos_ps(x, &s, &c);
  return c;
}

/// Every function of one variable, for one lane type.
template <class F>
std::vector<std::pair<std::string, std::function<F(F)>>> functions() {
  return {{"log_ps", [](F x) { return log_ps(x); }},
          {"exp_ps", [](F x) { return exp_ps(x); }},
          {"sin_ps", [](F x) { return sin_ps(x); }},
          {"cos_ps", [](F x) { return cos_ps(x); }},
          {"sincos_ps sine", [](F x) { return sincos_sine(x); }},
          {"sincos_ps cosine", [](F x) { return sincos_cosine(x); }},
          {"sqrt", [](F x) { return sqrt(x); }},
          {"truncated", [](F x) { return F::from_int(x.truncated()); }},
          {"horizontal_add_ps", [](F x) { return F::splat(horizontal_add_ps(x).lane(0)); }}};
}

using Function = float4 (*)(float4);

float one_lane(Function f, float x) { return f(float4::splat(x)).lane(0); }
float log1(float x) { return one_lane(log_ps, x); }
float exp1(float x) { return one_lane(exp_ps, x); }
float sin1(float x) { return one_lane(sin_ps, x); }
float cos1(float x) { return one_lane(cos_ps, x); }

TEST(FourWideMath, AccuracyBudgets) {
  // The tolerance at x is relative * |reference| + absolute.
  const struct {
    const char* name;
    Function function;
    double (*reference)(double);
    float from, to;
    double relative, absolute;
  } budgets[] = {
      {"log, near 1", log_ps, std::log, 0.5f, 2.0f, 1.0e-7, 6e-8},
      {"log, wide", log_ps, std::log, 1e-3f, 1e6f, 1.2e-7, 0},
      {"log, smallest numbers", log_ps, std::log, 1.2e-38f, 1e-36f, 1.2e-7, 0},
      {"exp", exp_ps, std::exp, -87.0f, 88.0f, 1.3e-7, 0},
      {"exp, small", exp_ps, std::exp, -1.0f, 1.0f, 1.2e-7, 0},
      {"sin, reduced interval", sin_ps, std::sin, -0.7f, 0.7f, 1.2e-7, 0},
      {"sin", sin_ps, std::sin, -100.0f, 100.0f, 0, 1.2e-7},
      {"sin, far", sin_ps, std::sin, 100.0f, 8000.0f, 0, 2e-7},
      {"cos", cos_ps, std::cos, -100.0f, 100.0f, 0, 1.2e-7},
      {"cos, far", cos_ps, std::cos, 100.0f, 8000.0f, 0, 2e-7},
      {"sincos sine", sincos_sine, std::sin, -100.0f, 100.0f, 0, kSincosPsError},
      {"sincos cosine", sincos_cosine, std::cos, -100.0f, 100.0f, 0, kSincosPsError},
  };
  std::mt19937 random(20240611);
  for (const auto& b : budgets) {
    std::uniform_real_distribution<float> inside(b.from, b.to);
    double worst = 0;  // error over tolerance
    float at = 0;
    for (int i = 0; i < 100003; ++i) {
      const float x = inside(random);
      const double exact = b.reference(x);
      const double tolerance = b.relative * std::abs(exact) + b.absolute;
      const double share = std::abs(one_lane(b.function, x) - exact) / tolerance;
      if (!(share <= worst)) worst = share, at = x;
    }
    EXPECT_LE(worst, 1.0) << b.name << " at " << at;
  }
}

// A repair of the shortened series would change every four-wide field: they must be there to the
// bit, with their errors.
TEST(FourWideMath, SincosKeepsItsShortSeries) {
  double sine_error = 0, cosine_error = 0;
  for (int i = 0; i < 2000; ++i) {
    const float x = static_cast<float>(i * 0.0003926990816987), z = x * x;  // 0 ... pi/4
    const float sine = one_lane(sincos_sine, x), cosine = one_lane(sincos_cosine, x);
    ASSERT_EQ(sine, -0.166666552f * z * x + x);
    ASSERT_EQ(cosine, 0.0416666456f * z * z - z * 0.5f + 1.0f);
    sine_error = std::max(sine_error, std::abs(sine - std::sin(double{x})));
    cosine_error = std::max(cosine_error, std::abs(cosine - std::cos(double{x})));
  }
  EXPECT_NEAR(sine_error, 2.45e-3, 0.01e-3);
  EXPECT_NEAR(cosine_error, 3.2e-4, 0.1e-4);
}

TEST(FourWideMath, ExactAndLimitingValues) {
  struct Case {
    const char* name;
    float value, expected;
  };
  const float top = exp1(88.3762589f), bottom = exp1(-88.3762589f);
  const Case cases[] = {
      {"log 1", log1(1.0f), 0.0f},
      {"log 0", log1(0.0f), kNan},
      {"log -0", log1(-0.0f), kNan},
      {"log -1", log1(-1.0f), kNan},
      {"log -inf", log1(-kInf), kNan},
      {"log subnormal", log1(1e-40f), log1(1.17549435e-38f)},
      {"log nan counts as the smallest number", log1(kNan), log1(1.17549435e-38f)},
      {"exp 0", exp1(0.0f), 1.0f},
      {"exp 100 clamped", exp1(100.0f), top},
      {"exp inf clamped", exp1(kInf), top},
      {"exp nan clamped to the top", exp1(kNan), top},
      {"exp -100 clamped", exp1(-100.0f), bottom},
      {"exp -inf clamped", exp1(-kInf), bottom},
      {"sin 0", sin1(0.0f), 0.0f},
      {"cos 0", cos1(0.0f), 1.0f},
      {"sin nan", sin1(kNan), kNan},
      {"sin inf", sin1(kInf), kNan},
      {"cos inf", cos1(kInf), kNan},
  };
  for (const Case& c : cases) {
    if (std::isnan(c.expected)) {
      EXPECT_TRUE(std::isnan(c.value)) << c.name << ": " << c.value;
    } else {
      EXPECT_EQ(c.value, c.expected) << c.name;
    }
  }
  EXPECT_GT(top, 2e38f);
  EXPECT_TRUE(std::signbit(sin1(-0.0f)));
}

TEST(FourWideMath, LanesAreIndependentAndInOrder) {
  const float x[4] = {0.25f, -3.0f, 40.0f, kNan};
  const float4 sines = sin_ps(float4::load(x));
  for (int i = 0; i < 3; ++i) EXPECT_EQ(sines.lane(i), sin1(x[i]));
  EXPECT_TRUE(std::isnan(sines.lane(3)));

  const float4 set = _mm_set_doubles(1, 2, 3, 4);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(set.lane(i), 4.0f - i);
  EXPECT_EQ(_mm_set_doubles(0.1, 0, 0, 0).lane(3), 0.1f);

  EXPECT_EQ(horizontal_add_ps(float4::of(1, 2, 3, 4)).lane(0), 10.0f);
  // (v0 + v2) + (v1 + v3): any other order gives 0 or 2 here.
  EXPECT_EQ(horizontal_add_ps(float4::of(1e8f, 1.0f, -1e8f, 1.0f)).lane(0), 2.0f);
  EXPECT_EQ(horizontal_add_ps(float4::of(1e8f, -1e8f, 1.0f, 1.0f)).lane(0), 0.0f);

  float4 re, im;
  complex_exp(float4::splat(-1.5f), float4::of(0, 1, 2, 3), &re, &im);
  const float4 e = exp_ps(float4::splat(-1.5f)), angle = float4::of(0, 1, 2, 3);
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(re.lane(i), (e * sincos_cosine(angle)).lane(i));
    EXPECT_EQ(im.lane(i), (e * sincos_sine(angle)).lane(i));
  }
}

TEST(FourWideMath, MinAndMaxTakeTheSecondOperandForNan) {
  const float4 a = float4::of(1, kNan, 2, -0.0f), b = float4::of(kNan, 3, 5, 0.0f);
  EXPECT_TRUE(std::isnan(min(a, b).lane(0)) && std::isnan(max(a, b).lane(0)));
  EXPECT_EQ(min(a, b).lane(1), 3.0f);
  EXPECT_EQ(max(a, b).lane(1), 3.0f);
  EXPECT_EQ(min(a, b).lane(2), 2.0f);
  EXPECT_EQ(max(a, b).lane(2), 5.0f);
  EXPECT_FALSE(std::signbit(min(a, b).lane(3)));
  EXPECT_EQ(less(a, b).lane(1), 0u);
  EXPECT_EQ(less(a, b).lane(2), ~0u);
  EXPECT_EQ(less_equal(a, b).lane(3), ~0u);
}

#if KESTREL_HAS_SSE2

// Programs that hold their vectors in the processor's own type call the kernels without a cast.
TEST(FourWideMath, TakesAndGivesTheProcessorsOwnType) {
  const __m128 x = _mm_setr_ps(0.5f, 1, 2, 3);
  const auto same = [](__m128 a, float4 b) { return _mm_movemask_ps(_mm_cmpeq_ps(a, b)) == 15; };
  const float4 lanes = x;
  EXPECT_TRUE(same(log_ps(x), log_ps(lanes)));
  EXPECT_TRUE(same(exp_ps(x), exp_ps(lanes)));
  EXPECT_TRUE(same(sin_ps(x), sin_ps(lanes)));
  EXPECT_TRUE(same(cos_ps(x), cos_ps(lanes)));
  EXPECT_TRUE(same(_mm_set_doubles(3, 2, 1, 0.5), x));
  EXPECT_EQ(_mm_cvtss_f32(horizontal_add_ps(x)), 6.5f);
  __m128 s, c, re, im;
  sincos_ps(x, &s, &c);
  EXPECT_TRUE(same(s, sincos_sine(lanes)) && same(c, sincos_cosine(lanes)));
  float4 lane_re, lane_im;
  complex_exp(lanes, x, &lane_re, &lane_im);
  complex_exp(x, x, &re, &im);
  EXPECT_TRUE(same(re, lane_re) && same(im, lane_im));
  const standalone::Capture console;
  debug_m128(x);
  EXPECT_EQ(console.printed(), "<5.000000e-01 1.000000e+00 2.000000e+00 3.000000e+00>\n");
}

TEST(FourWideMath, RcpIsGoodToTwelveBits) {
  for (float x : {1.0f, -3.0f, 7.77f, 1e-20f, 6.5e19f}) {
    EXPECT_NEAR(rcp(SseFloat4::splat(x)).lane(0) * x, 1.0f, 1.5 / 4096);
    EXPECT_EQ(rcp(PlainFloat4::splat(x)).lane(0), 1.0f / x);
  }
}

// Over random bit patterns (every class of float) and over ordinary angles and exponents.
TEST(FourWideMath, BothLaneTypesGiveTheSameBits) {
  const auto same = [](auto a, auto b) {
    return (a != a && b != b) || std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
  };
  const auto sse = functions<SseFloat4>();
  const auto plain = functions<PlainFloat4>();
  std::mt19937 random(1234567);
  std::uniform_real_distribution<float> ordinary(-120.0f, 120.0f);
  for (int i = 0; i < 200003; ++i) {
    float x[4];
    for (float& lane : x) {
      lane = i % 2 ? std::bit_cast<float>(static_cast<std::uint32_t>(random())) : ordinary(random);
    }
    for (std::size_t f = 0; f < sse.size(); ++f) {
      const SseFloat4 a = sse[f].second(SseFloat4::load(x));
      const PlainFloat4 b = plain[f].second(PlainFloat4::load(x));
      for (int k = 0; k < 4; ++k) {
        ASSERT_TRUE(same(a.lane(k), b.lane(k)))
            << sse[f].first << " of " << x[k] << ": " << a.lane(k) << " and " << b.lane(k);
      }
    }
    const auto both = [&](auto operation, const char* name) {
      const auto a = operation(SseFloat4::load(x), SseFloat4::of(x[1], x[0], x[3], x[2]));
      const auto b = operation(PlainFloat4::load(x), PlainFloat4::of(x[1], x[0], x[3], x[2]));
      for (int k = 0; k < 4; ++k) ASSERT_TRUE(same(a.lane(k), b.lane(k))) << name;
    };
    both([](auto u, auto v) { return min(u, v); }, "min");
    both([](auto u, auto v) { return max(u, v); }, "max");
    both([](auto u, auto v) { return u / v; }, "/");
    both([](auto u, auto v) { return less(u, v); }, "<");
    both([](auto u, auto v) { return less_equal(u, v); }, "<=");
    both([](auto u, auto v) { return equal(u, v); }, "==");
  }
}

#endif

}  // namespace
}  // namespace kestrel
