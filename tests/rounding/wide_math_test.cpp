// Error budgets of the wide sine, cosine and exponential against long double, and the values that
// the scalar helpers promise exactly.

#include "numerics/wide_math.h"

#include <cmath>
#include <complex>
#include <cstdio>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <random>

#include "kestrel/special_functions.h"

namespace kestrel {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

template <class Math>
double sine(double x) {
  double s, c;
  Math::sine_cosine(x, s, c);
  return s;
}
template <class Math>
double cosine(double x) {
  double s, c;
  Math::sine_cosine(x, s, c);
  return c;
}
template <class Math>
double exponential(double x) {
  return Math::exponential(x);
}

template <class Math>
double small_exponential(double x) {
  return Math::small_exponential(x);
}

using Fused = WideMath<true>;  // std::fma in software is exact too, only slow
using Plain = WideMath<false>;

template <class Math>
void expect_budgets(double scale) {
  const struct {
    const char* name;
    double (*function)(double);
    long double (*exact)(long double);
    double from, to;
    double absolute, relative;
  } budgets[] = {
      {"sine, first quarter", sine<Math>, std::sin, 0, 0.7854, 0, 2.3e-16},
      {"sine, near", sine<Math>, std::sin, -100, 100, 2.7e-16, 0},
      {"sine, all", sine<Math>, std::sin, -kPhaseLimit, kPhaseLimit, 2.7e-16, 0},
      {"sine, last turn", sine<Math>, std::sin, kPhaseLimit - 7, kPhaseLimit, 2.7e-16, 0},
      {"cosine, near", cosine<Math>, std::cos, -100, 100, 2.7e-16, 0},
      {"cosine, all", cosine<Math>, std::cos, -kPhaseLimit, kPhaseLimit, 2.7e-16, 0},
      {"exponential, decay", exponential<Math>, std::exp, -40, 0, 0, 4.4e-16},
      {"small exponential", small_exponential<Math>, std::exp, -kSmallExponentLimit,
       kSmallExponentLimit, 0, 2.3e-16},
      {"exponential, all", exponential<Math>, std::exp, -kExponentLimit, kExponentLimit, 0,
       4.4e-16},
  };
  std::mt19937_64 random(20250117);
  for (const auto& b : budgets) {
#if defined(__MINGW32__)
    // Its long double sine and cosine divide by a pi of 66 bits: not exact enough for large phases.
    if (b.absolute > 0 && b.to > 100) {
      std::printf("left out: %s\n", b.name);
      continue;
    }
#endif
    std::uniform_real_distribution<double> inside(b.from, b.to);
    double worst = 0, at = 0;
    const auto try_at = [&](double x) {
      const long double exact = b.exact(x), error = std::abs(b.function(x) - exact);
      const long double allowed = b.relative * std::abs(exact) + scale * b.absolute;
      const auto share = static_cast<double>(error / allowed);
      if (!(share <= worst)) worst = share, at = x;
    };
    for (int i = 0; i < 100003; ++i) try_at(inside(random));
    // The hardest for a reduction: next to whole numbers of quarter turns.
    for (int n = 1; b.absolute > 0 && n * M_PI_2 < b.to; n += 1 + n / 64) {
      if (n * M_PI_2 > b.from) try_at(n * M_PI_2);
    }
    EXPECT_LE(worst, 1) << b.name << " at " << at;
  }
}

TEST(WideMath, FusedAccuracyBudgets) {
#if defined(__MINGW32__)
  GTEST_SKIP() << "this library's fma rounds twice where the processor's instruction is not used";
#endif
  expect_budgets<Fused>(1);
}
// Three short parts of pi in place of two long ones cost a last rounding.
TEST(WideMath, PlainAccuracyBudgets) { expect_budgets<Plain>(3.8 / 2.7); }

template <class Math>
void expect_exact_values() {
  for (const double zero : {0.0, -0.0}) {
    EXPECT_EQ(sine<Math>(zero), 0);
    EXPECT_EQ(cosine<Math>(zero), 1);
    EXPECT_EQ(exponential<Math>(zero), 1);
  }
}

TEST(WideMath, ExactValues) {
  expect_exact_values<Fused>();
  expect_exact_values<Plain>();
}

template <class Real>
void expect_smart_exp_shortcuts() {
  using Complex = std::complex<Real>;
  for (const Real zero : {Real(0), -Real(0)}) {
    EXPECT_EQ(smart_exp(zero, zero), Complex(1, 0));
    for (const Real v : {Real(-2.5), Real(0.3), Real(40)}) {
      EXPECT_EQ(smart_exp(v, zero), Complex(std::exp(v), 0));
      EXPECT_FALSE(std::signbit(smart_exp(v, zero).imag()));
      EXPECT_EQ(smart_exp(zero, v), Complex(std::cos(v), std::sin(v)));
      EXPECT_EQ(smart_exp(Complex(v, 1)),
                Complex(std::exp(v) * std::cos(Real(1)), std::exp(v) * std::sin(Real(1))));
    }
  }
  constexpr auto nan = std::numeric_limits<Real>::quiet_NaN();
  EXPECT_TRUE(std::isnan(smart_exp(Complex(nan, 0)).real()));
  EXPECT_TRUE(std::isnan(smart_exp(Complex(0, nan)).real()));
}

TEST(SmartExp, LeavesOutWhatAZeroMakesSuperfluous) {
  expect_smart_exp_shortcuts<double>();
  expect_smart_exp_shortcuts<float>();
}

// Only the growing exponential carries a half: not the sine of a complex number.
TEST(FastSinc, KeepsItsUnevenWeighting) {
  EXPECT_EQ(fast_sinc(0, 0), 1.0);
  EXPECT_EQ(fast_sinc(-0.0, 0), 1.0);
  for (const double a : {-3.0, -0.2, 0.7, 5.0}) {
    EXPECT_NEAR(fast_sinc(a, 0).real(), 1.5 * std::sin(a) / a, 1e-15);
    EXPECT_NEAR(fast_sinc(a, 0).imag(), -0.5 * std::cos(a) / a, 3e-16 / std::abs(a));
    for (const double b : {-1.5, 0.4, 2.0}) {
      const std::complex<double> s(std::sin(a) * (std::exp(-b) + 0.5 * std::exp(b)),
                                   std::cos(a) * (0.5 * std::exp(b) - std::exp(-b)));
      EXPECT_NEAR(std::abs(fast_sinc({a, b}) - s / std::complex<double>(a, b)), 0, 4e-15);
    }
  }
}

TEST(PistonApodization, ProfilesAndDerivatives) {
  using Apodization = piston_apodization;
  constexpr double pi = 3.14159265358979323846, a = 5e-3;
  struct Profile {
    int index;
    double (*value)(double, double);
    double (*derivative)(double, double);
    std::function<double(double)> exact;  // of sigma/a
  };
  const Profile profiles[] = {
      {1, Apodization::cosine, Apodization::derivativecosine,
       [](double u) { return std::cos(pi * u / 2); }},
      {2, Apodization::raisedcosine, Apodization::derivativeraisedcosine,
       [](double u) { return (1 + std::cos(pi * u)) / 2; }},
      {3, Apodization::quadratic, Apodization::derivativequadratic,
       [](double u) { return 1 - u * u; }},
      {4, Apodization::quartic, Apodization::derivativequartic,
       [](double u) { return 1 - u * u * u * u; }},
  };
  for (const Profile& p : profiles) {
    for (const double u : {-0.99, -0.3, 0.0, 0.25, 0.5, 0.875}) {
      EXPECT_NEAR(p.value(u * a, a), p.exact(u), 4e-15) << p.index;
      EXPECT_EQ(Apodization::evaluate(p.index, u * a, a), p.value(u * a, a));
      constexpr double h = 1e-5;
      EXPECT_NEAR(p.derivative(u * a, a) * a, (p.exact(u + h) - p.exact(u - h)) / (2 * h), 1e-8);
      EXPECT_EQ(Apodization::derivative(p.index, u * a, a), p.derivative(u * a, a));
      EXPECT_EQ(p.derivative(-u * a, a), -p.derivative(u * a, a));
    }
    // Zero on the rim and beyond, for NaN, and for a piston without a face.
    for (const auto& [sigma, radius] :
         {std::pair{a, a}, {-a, a}, {2 * a, a}, {kNan, a}, {1e-3, kNan}, {0.0, 0.0}, {1e-3, -a}}) {
      EXPECT_EQ(p.value(sigma, radius), 0);
      EXPECT_EQ(p.derivative(sigma, radius), 0);
    }
  }
  for (const int index : {0, -1, 5}) {
    EXPECT_EQ(Apodization::evaluate(index, 2 * a, a), 1);
    EXPECT_EQ(Apodization::evaluate(index, 0, -1), 1);
    EXPECT_EQ(Apodization::derivative(index, a / 2, a), 0);
  }
}

}  // namespace
}  // namespace kestrel
