#include "kestrel/excitation.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "kestrel/four_wide.h"
#include "kestrel/time_axis.h"
#include "mex/standalone/standalone_host.h"

namespace kestrel {
namespace {

using Complex = std::complex<double>;

constexpr double two_pi = 6.28318530717958;  // as the excitations have it
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

std::unique_ptr<ExcitationFunction> sampled(const std::vector<double>& signal, double ts, double w,
                                            double clip_threshold = 0) {
  return std::make_unique<ExcitationFunction>(signal, ts, w, clip_threshold);
}

std::vector<double> random_signal(int n, unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> inside(-1, 1);
  std::vector<double> signal(n);
  for (double& x : signal) x = inside(random);
  return signal;
}

std::vector<Complex> spectrum_of(const ExcitationFunction& e) {
  const std::unique_ptr<double[]> re(e.get_frequency_domain_input_signal_real());
  const std::unique_ptr<double[]> im(e.get_frequency_domain_input_signal_imag());
  std::vector<Complex> lines;
  for (int j = 0; j < e.number_of_tsd_terms(); ++j) lines.emplace_back(re[j], im[j]);
  return lines;
}

struct NamedPulse {
  std::string name;
  std::unique_ptr<ExcitationFunction> pulse;
  double terms_scale;  // the sum of terms over the signal
};

/// Amplitudes other than 1, peaks of order 1.
std::array<NamedPulse, 3> pulses() {
  return {{{"tone", std::make_unique<ToneBurst>(1.5, 1e6, 3e-6, 0, 1), 1},
           {"hanning", std::make_unique<HanningPulse>(2.5, 1e6, 3e-6, 0, 2), 2.5},
           {"t-cubed", std::make_unique<TCubedPulse>(9e18, 1e6, 5e-6, 2.5e6, 3), 1}}};
}

/// The signal that an excitation's terms sum to, for one delay, at every time of an axis.
template <class Value, class Real>
std::vector<Value> sum_of_terms(const ExcitationFunction& e, Real tau, Real t0,
                                const TimeSamples& axis) {
  const int n = e.number_of_tsd_terms(), nt = axis.nt();
  std::vector<Value> spatial(n), temporal(n * nt), sum(nt);
  e.spatial_tsd(spatial.data(), tau);
  e.temporal_tsd(temporal.data(), &axis, nt, t0);
  for (int i = 0; i < nt; ++i) {
    for (int k = 0; k < n; ++k) sum[i] += spatial[k] * temporal[k * nt + i];
  }
  return sum;
}

TEST(AnalyticPulses, TermsSumToTheDelayedSignal) {
  const double t0 = 0.4e-6;
  const TimeSamples axis(37e-9, 0, 6e-6);
  for (const auto& [name, pulse, scale] : pulses()) {
    double peak = 0, worst = 0;
    for (const double tau : {0.0, 0.3e-6, 1.7e-6}) {
      const auto sum = sum_of_terms<double>(*pulse, tau, t0, axis);
      for (int i = 0; i < axis.nt(); ++i) {
        const double u = axis.time_index_value(i) - t0 - tau;
        if (!(u > 0 && u < pulse->get_pulse_width())) continue;
        const double exact = scale * pulse->at(u);
        peak = std::max(peak, std::abs(exact));
        worst = std::max(worst, std::abs(sum[i] - exact));
      }
    }
    ASSERT_GT(peak, 0.5) << name;
    EXPECT_LT(worst / peak, 2e-13) << name;
  }
}

double central_difference(const ExcitationFunction& e, double t, double h) {
  return (8 * (e.at(t + h) - e.at(t - h)) - (e.at(t + 2 * h) - e.at(t - 2 * h))) / (12 * h);
}

/// The signal that the terms of the field methods sum to, at a time and a delay.
double sum_of_exact_terms(const ExcitationFunction& e, double t, double tau) {
  const int terms = e.number_of_exact_terms();
  std::vector<double> spatial(terms), temporal(terms);
  e.exact_spatial_terms(spatial.data(), &tau, 1, 0);
  e.exact_temporal_terms(temporal.data(), &t, 1, 0);
  double sum = 0;
  for (int k = 0; k < terms; ++k) sum += spatial[k] * temporal[k];
  return sum;
}

// The lines of a signal on the imaginary axis: a phase of -90 degrees must keep its sign.
TEST(SampledSignal, KeepsTheSignOfAPurelyImaginaryLine) {
  EXPECT_NEAR(sampled({0, -1, 0, 1}, 1, 4)->at(1), -1, 1e-14);
  EXPECT_NEAR(sampled({0, 1, 0, -1}, 1, 4)->at(1), 1, 1e-14);
}

// With a mean and without one, of whole numbers (so that the zero-frequency line is exactly zero),
// and with every line kept or only those above a threshold: the field methods meet the samples.
TEST(SampledSignal, MeetsItsSamplesInTheFieldMethods) {
  const std::vector<double> signals[] = {
      {1, 1, 1, 1, 1, 1, -1, -1, -1, -1, -1, -1},
      {3, 1, 4, -1, -5, -2, 0, 7, -7, 0},
      {3, 1, 4, -1, -5, -2, 0, 7, -7, 2},
      {0, 1, 2, 1, 0, -1, -2, -1},
      // Even about its first sample but for the zero that is put before it.
      {0, -1, 0, 1, 0, -1, 0, 1, 0, 0},
  };
  for (std::size_t s = 0; s < std::size(signals); ++s) {
    for (const double clip : {0.0, 1e-9}) {
      const std::vector<double>& signal = signals[s];
      const auto e = sampled(signal, 0.5, 0.5 * static_cast<double>(signal.size()), clip);
      EXPECT_FALSE(e->dropped_negative_lines());
      for (std::size_t i = 0; i < signal.size(); ++i) {
        const double t = 0.5 * static_cast<double>(i), tau = 0.25;
        EXPECT_NEAR(e->exact_at(t), signal[i], 1e-12) << s << ", " << clip << ", " << i;
        EXPECT_NEAR(sum_of_exact_terms(*e, t + tau, tau), signal[i], 1e-12) << s << ", " << clip;
      }
    }
  }
  EXPECT_TRUE(sampled({-1, 0, 1, 0, -1, 0, 1, 0}, 1, 8)->dropped_negative_lines());
  EXPECT_FALSE(sampled({1, 0, -1, 0, 1, 0, -1, 0}, 1, 8)->dropped_negative_lines());
}

TEST(AnalyticPulses, RateIsTheSlopeOfTheSignal) {
  for (const auto& [name, pulse, scale] : pulses()) {
    const SignalRate rate(*pulse);
    double peak = 0, worst = 0;
    for (double t = 0.1e-6; t < 2.9e-6; t += 0.0137e-6) {
      const double slope = central_difference(*pulse, t, 1e-9);
      peak = std::max(peak, std::abs(slope));
      worst = std::max(worst, std::abs(rate(t) - slope));
    }
    EXPECT_LT(worst / peak, 1e-8) << name;
    EXPECT_EQ(rate(-1e-9), 0) << name;
    EXPECT_EQ(rate(pulse->get_pulse_width() + 1e-9), 0) << name;
  }
}

// Only the first of its three terms carries the amplitude: right for amplitude 1 alone.
TEST(AnalyticPulses, TCubedDerivativeScalesItsFirstTermOnly) {
  const double f0 = 1e6, b = 2.5e6, a0 = 2.5e18;
  const TCubedPulse unit(1, f0, 5e-6, b, 3), scaled(a0, f0, 5e-6, b, 3);
  for (double t = 0.1e-6; t < 4.9e-6; t += 0.3e-6) {
    const double first = std::exp(-b * t) * 3 * t * t * std::sin(two_pi * f0 * t);
    const double rest = unit.derivative(t) - first;
    EXPECT_NEAR(scaled.derivative(t), a0 * first + rest, 1e-12 * a0 * std::abs(first)) << t;
    EXPECT_NEAR(unit.derivative(t), SignalRate(unit)(t), 1e-30) << t;
  }
}

TEST(AnalyticPulses, EndsOfTheSupport) {
  const double w = 3e-6, f0 = 1e6, slope = two_pi * f0;
  const ToneBurst tone(1, f0, w, 0, 1);
  const HanningPulse hanning(1, f0 / 3, w, 0, 2);  // not at a zero at its end
  const TCubedPulse cubed(1e18, 0.26e6, w, 1e5, 3);

  // The tone is zero at both ends, its derivative is not.
  EXPECT_EQ(tone.at(0), 0);
  EXPECT_EQ(tone.at(w), 0);
  EXPECT_NEAR(tone.derivative(0), slope, 1e-8 * slope);
  EXPECT_NEAR(tone.derivative(w), slope, 1e-8 * slope);
  EXPECT_EQ(tone.derivative(std::nextafter(w, 1.0)), 0);
  EXPECT_EQ(tone.derivative(-1e-20), 0);

  for (const ExcitationFunction* pulse :
       std::initializer_list<const ExcitationFunction*>{&hanning, &cubed}) {
    for (const double t : {0.0, w, kNan}) {
      EXPECT_EQ(pulse->at(t), 0);
      EXPECT_EQ(pulse->derivative(t), 0);
    }
    EXPECT_NE(pulse->derivative(std::nextafter(w, 0.0)), 0);
  }

  const ToneBurst endless(1, f0, 0, 0, 1);  // no width: no signal, though omegaw is infinite
  EXPECT_EQ(endless.at(1e-7), 0);
}

// The single-precision tone: omega0 and t - t0 are each rounded once, the difference after it was
// taken in double; the shortened kernel; nothing past the last sample of the second term.
TEST(AnalyticPulses, SinglePrecisionToneTerms) {
  const double f0 = 1.3e6;
  const float t0 = 47.3e-6f, untouched = 123.0f;
  const ToneBurst tone(2, f0, 3e-6, 0, 1);
  for (const int nt : {1, 2, 3, 4, 5, 7, 8, 9}) {
    TimeSamples axis(0.1e-6, 47e-6, 47e-6 + (nt - 0.5) * 0.1e-6);
    ASSERT_EQ(axis.nt(), nt);
    std::vector<float> out(2 * nt + 8, untouched);
    tone.temporal_tsd(out.data() + 4, &axis, nt, t0);
    for (int i = 0; i < nt; ++i) {
      const float t = static_cast<float>(axis.time_index_value(i) - double{t0});
      float4 s, c;
      sincos_ps(float4::splat(static_cast<float>(two_pi * f0) * t), &s, &c);
      EXPECT_EQ(out[4 + i], s.lane(0)) << nt;
      EXPECT_EQ(out[4 + nt + i], -c.lane(0)) << nt;
    }
    for (int i = 0; i < 4; ++i) {
      EXPECT_EQ(out[i], untouched);
      EXPECT_EQ(out[4 + 2 * nt + i], untouched) << nt;
    }
  }
}

// ---- sampled signals ---------------------------------------------------------------------------

TEST(SampledSignal, LinesAreThoseOfTheTransform) {
  const double ts = 50e-9;
  for (const int n : {1, 3, 7, 8, 9, 12, 16, 31, 45, 100, 127}) {
    SCOPED_TRACE(n);
    const std::vector<double> signal = random_signal(n, n);
    const auto e = sampled(signal, ts, n * ts);
    // Odd lengths lose their highest line, a single sample its only one.
    const std::vector<Complex> spectrum = spectrum_of(*e);
    ASSERT_EQ(spectrum.size(), static_cast<std::size_t>(n % 2 ? n / 2 : n / 2 + 1));
    EXPECT_EQ(e->get_dc_index(), 0);
    EXPECT_EQ(e->get_nyquist_index(), n / 2);
    for (std::size_t k = 0; k < spectrum.size(); ++k) {
      Complex exact = 0;
      for (int m = 0; m < n; ++m) exact += signal[m] * std::polar(1.0, -2 * M_PI * (k * m % n) / n);
      EXPECT_LT(std::abs(spectrum[k] - exact), 1e-13 * n) << "line " << k;
      EXPECT_NEAR(e->get_omega_array()[k], 2 * M_PI * k / (n * ts), 1e-14 * M_PI / ts);
    }
  }
}

/// A band-limited signal: without a mean, what every form of the sampled signal agrees upon.
std::vector<double> wave(int n, double mean = 0) {
  std::vector<double> signal(n);
  for (int m = 0; m < n; ++m) {
    const double x = 2 * M_PI * m / n;
    signal[m] = mean + std::cos(x + 0.3) - 0.7 * std::sin(2 * x + 2.9) + 0.4 * std::cos(3 * x - 2);
  }
  return signal;
}

TEST(SampledSignal, GoesThroughItsSamplesAndCountsTheMeanTwice) {
  const double ts = 50e-9;
  for (const int n : {16, 25}) {
    for (const double mean : {0.0, 0.3}) {
      const std::vector<double> signal = wave(n, mean);
      const auto e = sampled(signal, ts, n * ts);
      // Both ends belong to the support; the interpolation is periodic.
      for (int m = 0; m <= n; ++m) {
        EXPECT_NEAR(e->at(m * ts), signal[m % n] + mean, 1e-12) << n << " sample " << m;
      }
      EXPECT_EQ(e->at(std::nextafter(n * ts, 1.0)), 0);
      EXPECT_EQ(e->at(-1e-20), 0);
    }
  }
}

TEST(SampledSignal, RateHasTheFactorOmegaAndDerivativeHasNot) {
  const int n = 20;
  const double ts = 50e-9, w = n * ts, omega1 = 2 * M_PI / w;
  const auto e = sampled(wave(n), ts, w);
  const SignalRate rate(*e);
  for (double t = 0.05 * w; t < 0.95 * w; t += 0.031 * w) {
    const double x = omega1 * t;
    EXPECT_NEAR(e->derivative(t),
                -std::sin(x + 0.3) - 0.7 * std::cos(2 * x + 2.9) - 0.4 * std::sin(3 * x - 2),
                1e-12);
    EXPECT_NEAR(rate(t) / omega1, central_difference(*e, t, 1e-10) / omega1, 1e-8);
  }
  EXPECT_EQ(e->derivative(1.01 * w), 0);
  EXPECT_EQ(rate(1.01 * w), 0);
  EXPECT_EQ(rate(-1e-12), 0);
  // The Nyquist line counts once: cos(pi t / ts) goes through these samples.
  const auto alternating = sampled({1, -1, 1, -1}, ts, 4 * ts);
  EXPECT_NEAR(SignalRate(*alternating)(ts / 2), -M_PI / ts, 1e-9 * M_PI / ts);
}

TEST(SampledSignal, ComplexTermsDecomposeADelayAndRealOnesDoNot) {
  const int n = 24;
  const double ts = 50e-9, t0 = 0.1e-6;
  const TimeSamples axis(29e-9, 0, 1.15e-6);
  for (const double mean : {0.0, 0.3}) {
    const auto e = sampled(wave(n, mean), ts, n * ts);
    double worst = 0, real_worst = 0;
    for (const double tau : {0.0, 0.17e-6, 0.4e-6}) {
      const auto sum = sum_of_terms<Complex>(*e, tau, t0, axis);
      const auto real_sum = sum_of_terms<double>(*e, tau, t0, axis);
      for (int i = 0; i < axis.nt(); ++i) {
        const double u = axis.time_index_value(i) - t0 - tau;
        if (u < 0 || u > e->get_pulse_width()) continue;
        // The marked zero-frequency line counts once here and twice in `at`.
        worst = std::max(worst, std::abs(sum[i].real() - (e->at(u) - mean)));
        real_worst = std::max(real_worst, std::abs(real_sum[i] - e->at(u)));
      }
    }
    EXPECT_LT(worst, 2e-14) << mean;
    EXPECT_GT(real_worst, 0.5) << mean;
  }
}

TEST(SampledSignal, RealTermsAsStated) {
  const int n = 8;
  const auto e = sampled(random_signal(n, 3), 1e-7, n * 1e-7);
  const std::vector<Complex> x = spectrum_of(*e);
  const double tau = 1.3e-7;
  double spatial[5], temporal[5];
  e->spatial_tsd(spatial, tau);
  TimeSamples axis(0, 2.7e-7, 2.7e-7);
  e->temporal_tsd(temporal, &axis, 1, 0.2e-7);
  for (int j = 0; j < 5; ++j) {
    const double omega = e->get_omega_array()[j], a = omega * 2.5e-7;
    const double weight = j == 0 || j == 4 ? 1 : 2;
    EXPECT_NEAR(spatial[j], weight * (std::cos(omega * tau) + std::sin(omega * tau)), 1e-14);
    EXPECT_NEAR(
        temporal[j],
        (x[j].real() * (std::cos(a) + std::sin(a)) + x[j].imag() * (std::cos(a) - std::sin(a))) / n,
        1e-14);
  }
}

TEST(SampledSignal, ClippingKeepsTheLinesAboveTheThreshold) {
  const int n = 32;
  std::vector<double> signal(n);
  for (int m = 0; m < n; ++m) {
    const double x = 2 * M_PI * m / n;
    signal[m] = 0.05 + std::sin(3 * x) + 0.011 * std::cos(5 * x) + 0.009 * std::cos(7 * x) +
                0.006 * std::cos(n / 2 * x);
  }
  const double ts = 1e-7, step = 2 * M_PI / (n * ts);
  struct Case {
    double threshold;
    std::vector<int> kept;
    int nyquist;
  };
  // In units of the largest line: zero frequency 0.1, Nyquist 0.012. Where the Nyquist line is not
  // kept its index stays that of the whole spectrum.
  const Case cases[] = {{-20, {0, 3, 5, 16}, 3}, {0.01, {0, 3, 5, 16}, 3},
                        {0.0115, {0, 3, 16}, 2}, {0.05, {0, 3}, 16},
                        {-3, {3}, 16},           {1, {}, 16}};
  for (const Case& c : cases) {
    const auto e = sampled(signal, ts, n * ts, c.threshold);
    ASSERT_EQ(e->number_of_tsd_terms(), static_cast<int>(c.kept.size())) << c.threshold;
    for (std::size_t j = 0; j < c.kept.size(); ++j) {
      EXPECT_NEAR(e->get_omega_array()[j] / step, c.kept[j], 1e-12) << c.threshold;
    }
    EXPECT_EQ(e->get_dc_index(), -1) << "the zero-frequency line is never marked when clipping";
    EXPECT_EQ(e->get_nyquist_index(), c.nyquist) << c.threshold;
  }
}

// [0 -2 -1 -2] has the real transform -5, 1, 3, exactly on every host: with a threshold of zero the
// negative zero-frequency line is left out, its place at the end stays empty, and the first line
// kept is weighed once in its stead.
TEST(SampledSignal, ThresholdZeroDropsNegativeLinesOfARealTransform) {
  const auto e = sampled({0, -2, -1, -2}, 1e-7, 4e-7, 0);
  EXPECT_EQ(spectrum_of(*e), (std::vector<Complex>{1, 3, 0}));
  EXPECT_EQ(e->get_dc_index(), 0);
  EXPECT_EQ(e->get_nyquist_index(), 1);
  EXPECT_EQ(e->get_omega_array()[1], 2 * e->get_omega_array()[0]);
  EXPECT_EQ(e->get_omega_array()[2], 0);
  double weights[3];
  e->spatial_tsd(weights, 0.0);
  EXPECT_EQ(std::vector(weights, weights + 3), (std::vector<double>{1, 1, 2}));
}

// A threshold of -0 and one of minus infinite decibels are zero; one that is no number keeps
// nothing.
TEST(SampledSignal, OddThresholds) {
  const std::vector<double> signal = random_signal(16, 2);
  for (const double threshold : {0.0, -0.0, -HUGE_VAL}) {
    const auto e = sampled(signal, 1e-7, 16e-7, threshold);
    EXPECT_EQ(e->number_of_tsd_terms(), 9) << threshold;
    EXPECT_EQ(e->get_dc_index(), 0) << threshold;
  }
  EXPECT_EQ(sampled(signal, 1e-7, 16e-7, kNan)->number_of_tsd_terms(), 0);
}

TEST(SampledSignal, NothingToKeep) {
  for (const double threshold : {0.0, 0.5, -20.0}) {
    for (const auto& signal : {std::vector<double>{0, 0, 0, 0}, std::vector<double>{2}}) {
      const auto e = sampled(signal, 1e-7, 4e-7, threshold);
      EXPECT_EQ(e->at(1e-7), 0) << signal.size() << " samples, threshold " << threshold;
      EXPECT_EQ(e->derivative(1e-7), 0);
    }
  }
}

TEST(PowerOfTwo, OnlyPowersOfTwo) {
  std::vector<int> found;
  for (int n = -70; n <= 70; ++n) {
    if (isPowerOfTwo(n)) found.push_back(n);
  }
  EXPECT_EQ(found, (std::vector<int>{1, 2, 4, 8, 16, 32, 64}));
  EXPECT_FALSE(isPowerOfTwo(std::numeric_limits<int>::min()));
}

}  // namespace
}  // namespace kestrel
