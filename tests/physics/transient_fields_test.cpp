// What the transient methods compute, against physics and against each other. Errors are fractions
// of the peak of each point's own trace.

#include <gtest/gtest.h>

#include "tests/support/transient_situation.h"

namespace kestrel::test {
namespace {

/// On the axis, under the face, in the planes of its edges, beside, beyond, near and far.
const Points kPoints = {{0, 0, 12e-3},        {0, 0, 40e-3},        {1e-3, -1.5e-3, 5e-3},
                        {3e-3, 4.5e-3, 9e-3}, {3e-3, 5e-3, 9e-3},   {5e-3, 0, 6e-3},
                        {7e-3, 2e-3, 11e-3},  {0, 9e-3, 12e-3},     {15e-3, -9e-3, 25e-3},
                        {4e-3, 4e-3, 17e-3},  {-3e-3, 1e-3, 60e-3}, {0.5e-3, 0, 1e-3}};

TEST(TimeSpaceDecomposition, IsTheDirectSum) {
  const struct {
    const char* name;
    Method method;
    bool disc_only;
    double tolerances[4];  ///< in the order of `excitations`
  } methods[] = {
      {"fnm_tsd", &Transducer::fnm_tsd, false, {1e-12, 1e-12, 1e-10, 1e-12}},
      {"fnm_fdtsd", &Transducer::fnm_fdtsd, false, {1e-12, 1e-12, 1e-10, 1e-12}},
      {"low precision", &Transducer::fnm_tsd_low_precision, false, {1e-2, 3e-5, 1e-3, 1e-12}},
      {"fnm_tsd_sse", &Transducer::fnm_tsd_sse, true, {5e-5, 5e-5, 5e-4, 1e-12}},
  };
  TimeSamples axis(47e-9, 0, 60e-6);
  const auto signals = excitations();
  for (const ShapeKind shape : kShapes) {
    Situation s = typical(shape);
    s.amplitude = 1.3;
    for (const int nodes : {1, 7, 66}) {
      s.nodes = nodes;
      for (std::size_t e = 0; e < signals.size(); ++e) {
        const auto by = [&](Method method) {
          return transient(s, method, kPoints, axis, *signals[e].signal, 1.7e-6);
        };
        const Traces direct = by(&Transducer::fnm_transient);
        for (const auto& m : methods) {
          if (m.disc_only && shape != ShapeKind::disc) continue;
          EXPECT_LE(difference(by(m.method), direct), m.tolerances[e])
              << m.name << " of shape " << static_cast<int>(shape) << ", " << signals[e].name
              << ", " << nodes << " nodes";
        }
      }
    }
  }
}

// Signals of one to ten spectral lines: a row of the tables has two terms for each.
TEST(TimeSpaceDecomposition, TakesAnyNumberOfLines) {
  TimeSamples axis(47e-9, 0, 60e-6);
  const Situation s = typical(ShapeKind::ring);
  for (int n = 3; n <= 21; n += 2) {  // odd, so that no line is counted once
    std::vector<double> samples(n);
    double mean = 0;
    for (int i = 0; i < n; ++i) mean += (samples[i] = std::cos(i * i + 0.3 * n)) / n;
    for (double& x : samples) x -= mean;
    const ExcitationFunction signal(samples, 0.3e-6, n * 0.3e-6, 1e-9);
    const Traces direct = transient(s, &Transducer::fnm_transient, kPoints, axis, signal);
    const Traces decomposed = transient(s, &Transducer::fnm_tsd, kPoints, axis, signal);
    EXPECT_LE(difference(decomposed, direct), 1e-12) << n << " samples";
  }
}

// A t-cubed pulse that decays by so much over its width that floats would not hold its terms.
TEST(TimeSpaceDecomposition, GoesBackToDoublesWhereFloatsWouldOverflow) {
  const TCubedPulse steep(2.5e18, 1e6, 7e-6, 2e7, 3);
  TimeSamples axis(47e-9, 0, 60e-6);
  const Situation s = typical(ShapeKind::disc);
  const Traces direct = transient(s, &Transducer::fnm_transient, kPoints, axis, steep);
  for (const Method method : {&Transducer::fnm_tsd_sse, &Transducer::fnm_tsd_low_precision}) {
    EXPECT_LE(difference(transient(s, method, kPoints, axis, steep), direct), 1e-8);
  }
}

// Unsorted, uneven, with doubles, and with a time that is not a number.
TEST(TimeSpaceDecomposition, TakesTimesInAnyOrder) {
  std::vector<double> times;
  for (int i = 0; i < 500; ++i) times.push_back(((i * 173) % 500) * 61e-9);
  times[7] = times[8];
  times[100] = kNan;
  const standalone::Capture quiet;
  TimeSamples axis;
  axis.vectoroftimevalues(times.data(), static_cast<int>(times.size()));
  for (const auto& [name, signal] : excitations()) {
    const Situation s = typical(ShapeKind::rectangle);
    const Traces direct = transient(s, &Transducer::fnm_transient, kPoints, axis, *signal);
    const Traces decomposed = transient(s, &Transducer::fnm_tsd, kPoints, axis, *signal);
    const Traces single = transient(s, &Transducer::fnm_tsd_low_precision, kPoints, axis, *signal);
    EXPECT_LE(difference(decomposed, direct), 1e-10) << name;
    EXPECT_LE(difference(single, direct), 1e-2) << name;
    EXPECT_EQ(decomposed[0][100], 0);
    EXPECT_EQ(direct[0][7], direct[0][8]);
  }
}

// The t-cubed pulse's terms grow with e^{B t}: without blocks they overflow on such an axis. And a
// sampled signal's table of lines is larger than what is held at a time.
TEST(TimeSpaceDecomposition, WalksLongAxes) {
  const Points points = {{1e-3, 0, 20e-3}, {0, 0, 1.4}};
  Situation s = typical(ShapeKind::disc);
  s.nodes = 16;
  TimeSamples axis(25e-9, 0, 1e-3);
  for (const auto& [name, signal] : excitations()) {
    TimeSamples longer(1e-3 / 120000, 0, 1e-3);
    TimeSamples& used = name == "sampled" ? longer : axis;
    const Traces direct = transient(s, &Transducer::fnm_transient, points, used, *signal);
    ASSERT_GT(peak(direct[1]), 0);
    EXPECT_LE(difference(transient(s, &Transducer::fnm_tsd, points, used, *signal), direct), 1e-9)
        << name;
  }
  // A pulse that dies within a nanosecond of its width of 3 us: summed directly.
  const TCubedPulse sharp(1e27, 1e6, 3e-6, 1e9, 3);
  EXPECT_LE(difference(transient(s, &Transducer::fnm_tsd, points, axis, sharp),
                       transient(s, &Transducer::fnm_transient, points, axis, sharp)),
            1e-12);
}

TEST(TimeSpaceDecomposition, FindsPulsesShorterThanAStep) {
  Situation s = typical(ShapeKind::disc);
  s.nodes = 200;
  TimeSamples axis(50e-9, 0, 40e-6);
  const HanningPulse pulse(1, 200e6, 20e-9, 0, 2);
  const Traces direct = transient(s, &Transducer::fnm_transient, kPoints, axis, pulse);
  EXPECT_LE(difference(transient(s, &Transducer::fnm_tsd, kPoints, axis, pulse), direct), 1e-10);
}

TEST(TransientField, OfALongToneIsTheContinuousWave) {
  const double f0 = 1e6, omega = 6.28318530717958 * f0;
  const ToneBurst tone(0.8, f0, 400e-6, 0, 1);
  TimeSamples axis(0.137e-6, 120e-6, 122e-6);
  for (const ShapeKind shape : kShapes) {
    Situation s = typical(shape);
    s.amplitude = 1.3;
    Situation driven = s;
    driven.amplitude *= 0.8;
    const std::vector<Complex> wave = field(driven, &Transducer::fnm_cw, kPoints);
    const Traces traces = transient(s, &Transducer::fnm_tsd, kPoints, axis, tone, 0.3e-6);
    Traces expected = traces;
    for (std::size_t p = 0; p < kPoints.size(); ++p) {
      for (int i = 0; i < axis.nt(); ++i) {
        const double angle = omega * (axis.time_index_value(i) - 0.3e-6);
        expected[p][i] = std::imag(wave[p] * Complex(std::cos(angle), std::sin(angle)));
      }
    }
    EXPECT_LE(difference(traces, expected), 2e-11) << static_cast<int>(shape);
  }
}

/// Some samples of the trace by convolution.
double error_against_convolution(const Situation& s, Method method, const Points& points,
                                 const ExcitationFunction& signal) {
  TimeSamples axis(0.173e-6, 0, 55e-6);
  const ImpulseConvolution convolution(s);
  const Traces traces = transient(s, method, points, axis, signal);
  double worst = 0;
  for (std::size_t p = 0; p < points.size(); ++p) {
    double error = 0, largest = peak(traces[p]);
    for (int i = 0; i < axis.nt(); ++i) {
      const double exact = convolution(points[p], signal, axis.time_index_value(i));
      largest = std::max(largest, std::abs(exact));
      error = std::max(error, std::abs(traces[p][i] - exact));
    }
    if (error > 0) worst = std::max(worst, error / largest);
  }
  return worst;
}

TEST(TransientField, IsTheRateOfSignalAndImpulseResponseConvolved) {
  for (const ShapeKind shape : kShapes) {
    Situation s = typical(shape);
    s.amplitude = 1.3;
    s.nodes = 512;
    const auto error = [&](const Excitation& signal) {
      return error_against_convolution(s, &Transducer::fnm_tsd, kPoints, *signal);
    };
    const int k = static_cast<int>(shape);
    EXPECT_LE(error(hanning()), 2e-7) << k;
    EXPECT_LE(error(t_cubed()), 1e-6) << k;
    EXPECT_LE(error(tone()), 5e-4) << k;
    EXPECT_LE(error(tone(2.75e-6)), 2e-2) << "cut in mid-cycle, " << k;
  }
}

TEST(TransientField, HoldsAtSpecialPoints) {
  const double rim = 15e-3 - std::sqrt(15e-3 * 15e-3 - 8e-3 * 8e-3);  // height of the shells' rims
  struct Case {
    ShapeKind shape;
    double tolerance;
    Points points;
  };
  // In the plane: on the rim and a micron beside it, in the middle, outside. Rectangle: corner,
  // edges, the edges' lines. Shells: apex, rim, focal plane, the edge of the shadow beyond the
  // focus.
  const Points disc = {{5e-3, 0, 0}, {5.001e-3, 0, 0}, {4.999e-3, 0, 0}, {0, 0, 0}, {0, 7e-3, 0}};
  const Points ring = {{0, 3e-3, 0}, {6e-3, 0, 0}, {0, 0, 0}, {4e-3, 0, 0}, {2.999e-3, 0, 0}};
  const Points rectangle = {{3e-3, 5e-3, 0}, {-3e-3, 1e-3, 0}, {1e-3, 5e-3, 0},
                            {3e-3, 8e-3, 0}, {0, 0, 0},        {3e-3, 5e-3, 4e-3}};
  const Points cap = {{0, 0, 0},        {8e-3, 0, rim},   {10e-3, 0, 15e-3}, {0, 8e-3, 30e-3 - rim},
                      {1e-6, 0, 15e-3}, {0, 0, 15.001e-3}};
  const Case cases[] = {{ShapeKind::disc, 2e-6, disc},
                        {ShapeKind::ring, 2e-6, ring},
                        {ShapeKind::rectangle, 2e-8, rectangle},
                        {ShapeKind::shell, 5e-6, cap},
                        {ShapeKind::spherical_ring, 5e-6, cap}};
  for (const Case& c : cases) {
    Situation s = typical(c.shape);
    s.nodes = 512;
    EXPECT_LE(error_against_convolution(s, &Transducer::fnm_tsd, c.points, *hanning()), c.tolerance)
        << static_cast<int>(c.shape);
  }
  Situation hemisphere = typical(ShapeKind::shell);
  hemisphere.a = hemisphere.b;
  hemisphere.nodes = 512;
  EXPECT_LE(error_against_convolution(hemisphere, &Transducer::fnm_tsd,
                                      {{1e-3, 0, 12e-3}, {4e-3, 2e-3, 25e-3}}, *hanning()),
            5e-6);
}

TEST(TransientField, ByTheRayleighIntegralConverges) {
  const Points points = {{0.5e-3, 0, 8e-3}, {6e-3, 0, 10e-3}};
  Situation s = typical(ShapeKind::disc);
  s.amplitude = 1.3;
  const auto error = [&](int nodes, const Excitation& signal) {
    s.nodes = nodes;
    return error_against_convolution(s, &Transducer::rayleigh_transient, points, *signal);
  };
  EXPECT_LE(error(128, hanning()), 5e-4);
  EXPECT_LE(error(128, tone()), 3e-2);
  EXPECT_LE(error(128, tone(2.75e-6)), 5e-2) << "a tone cut in mid-cycle: its jump";
  EXPECT_LE(error(64, sampled()), 3e-3);
  EXPECT_LE(error(64, t_cubed()), 3e-3) << "the true rate, not the pulse's own derivative";
  EXPECT_LE(error(128, hanning()), error(32, hanning()) / 8) << "second order";
}

TEST(TransientField, BehindTheShellIsTheOtherPartOfSpace) {
  const Situation s = typical(ShapeKind::shell);
  const Points behind = {{0, 0, -1e-3},     {3e-3, 1e-3, -5e-3}, {9e-3, 0, -2e-3},
                         {2e-3, 0, 0.1e-3}, {20e-3, 0, -30e-3},  {7.9e-3, 0, 2.0e-3}};
  const double depth = 15e-3 - std::sqrt(15e-3 * 15e-3 - 8e-3 * 8e-3);
  const Points front = {{0, 0, 1e-3}, {9e-3, 0, depth + 1e-6}, {2e-3, 0, 0.2e-3}, {0, 20e-3, 9e-3}};
  const Points lost = {{kNan, 0, -1e-3}, {0, 0, kNan}};
  TimeSamples axis(0.1e-6, 0, 60e-6);
  for (const auto& [points, first, second] :
       {std::tuple{front, true, false}, {behind, false, true}, {lost, false, false}}) {
    for (const auto& [method, heard] : {std::pair<Method, bool>{&Transducer::fnm_transient, first},
                                        {&Transducer::fnm_tsd, first},
                                        {&Transducer::fnm_transient_behind_source, second},
                                        {&Transducer::fnm_tsd_behind_source, second}}) {
      for (const auto& trace : transient(s, method, points, axis, *hanning())) {
        EXPECT_EQ(peak(trace) > 0, heard);
      }
    }
  }
  Situation fine = s;
  fine.nodes = 512;
  for (const Method method :
       {&Transducer::fnm_transient_behind_source, &Transducer::fnm_tsd_behind_source}) {
    EXPECT_LE(error_against_convolution(fine, method, behind, *hanning()), 1e-6);
  }
}

TEST(TransientField, InTheFocusIsTheRateOfTheSignal) {
  TimeSamples axis(0.05e-6, 0, 20e-6);
  for (const ShapeKind shape : {ShapeKind::shell, ShapeKind::spherical_ring}) {
    Situation s = typical(shape);
    s.nodes = 64;
    const auto height = [](double a) { return 15e-3 - std::sqrt(15e-3 * 15e-3 - a * a); };
    const double gain = height(8e-3) - (shape == ShapeKind::shell ? 0 : height(4e-3));
    for (const auto& [name, signal] : excitations()) {
      const SignalRate rate(*signal);
      Traces expected(1);
      for (int i = 0; i < axis.nt(); ++i) {
        expected[0].push_back(1000 * gain * rate(axis.time_index_value(i) - 15e-3 / 1500));
      }
      for (const Method method :
           {&Transducer::fnm_transient, &Transducer::fnm_tsd, &Transducer::fnm_tsd_low_precision}) {
        const Traces at = transient(s, method, {{0, 0, 15e-3}}, axis, *signal);
        EXPECT_LE(difference(at, expected), 1e-12) << name;
        // The tone's rate jumps at its ends, where a point off the focus has a slope.
        if (name == "tone") continue;
        const Traces off = transient(s, method, {{0.6e-7, 0, 15e-3 + 0.8e-7}}, axis, *signal);
        EXPECT_LE(difference(off, at), 1e-3) << name;
      }
    }
  }
}

TEST(TransientField, OfRingsWithoutAHoleIsTheFullFace) {
  TimeSamples axis(0.1e-6, 0, 50e-6);
  for (const double inner : {0.0, -1e-3}) {
    Situation ring = typical(ShapeKind::ring), disc = typical(ShapeKind::disc);
    ring.a = inner, ring.b = disc.a;
    Situation zone = typical(ShapeKind::spherical_ring), shell = typical(ShapeKind::shell);
    zone.a = inner, zone.b = shell.a, zone.c = shell.b;
    for (const Method method :
         {&Transducer::fnm_transient, &Transducer::fnm_tsd, &Transducer::fnm_tsd_low_precision,
          &Transducer::impulse_response}) {
      EXPECT_EQ(transient(ring, method, kPoints, axis, *hanning()),
                transient(disc, method, kPoints, axis, *hanning()));
      EXPECT_EQ(transient(zone, method, kPoints, axis, *hanning()),
                transient(shell, method, kPoints, axis, *hanning()));
    }
  }
}

TEST(TransientField, SuperposesTurnsAndScales) {
  TimeSamples axis(0.1e-6, 0, 50e-6);
  const auto signal = hanning();
  Points turned;  // 90 degrees about y: the axis is x
  for (const Point& p : kPoints) turned.emplace_back(0.1 + p.z, 0.2 + p.y, 0.3 - p.x);
  for (const ShapeKind shape : kShapes) {
    Situation s = typical(shape);
    const Traces once = transient(s, &Transducer::fnm_tsd, kPoints, axis, *signal);
    s.euler = {M_PI / 2, 0, 0};
    s.center = {0.1, 0.2, 0.3};
    EXPECT_LE(difference(transient(s, &Transducer::fnm_tsd, turned, axis, *signal), once), 1e-9);

    // Phase and complex weight have no meaning for a pulse, nor has loss; the amplitude has.
    s = typical(shape);
    s.amplitude = -2, s.phase = 1;
    s.medium._dBcmMHz = 1;
    TransientBench bench(s, kPoints, axis, *signal);
    bench.call(&Transducer::fnm_tsd);
    bench.rule().gauss_quadrature();
    bench.element().set_amplitude(5);
    bench.call(&Transducer::fnm_tsd);
    Traces expected = once;
    for (auto& trace : expected) {
      for (double& p : trace) p *= 3;
    }
    EXPECT_LE(difference(bench.traces(), expected), 1e-14);
  }
}

// Next to the centre of curvature the delays all but coincide, and their large weights cancel.
TEST(TransientFields, KeepTheirDigitsInSinglePrecisionNextToTheCentreOfCurvature) {
  Situation shell = typical(ShapeKind::shell);
  shell.a = 10e-3;
  shell.b = 30e-3;
  shell.nodes = 64;
  Points points;
  for (const double distance : {1e-6, 1e-5, 1e-4}) {
    points.emplace_back(distance, 0, shell.b);
    points.emplace_back(0, 0, shell.b + distance);
  }
  TimeSamples axis(0.05e-6, 18e-6, 28e-6);
  for (const auto& [name, signal] :
       {NamedExcitation{"hanning", hanning()}, {"tone", tone()}, {"t-cubed", t_cubed()}}) {
    const Traces twice = transient(shell, &Transducer::fnm_tsd, points, axis, *signal);
    const Traces once = transient(shell, &Transducer::fnm_tsd_low_precision, points, axis, *signal);
    EXPECT_LT(difference(once, twice), 1e-5) << name;
  }
}

}  // namespace
}  // namespace kestrel::test
