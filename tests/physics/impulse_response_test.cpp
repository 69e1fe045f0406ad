// Spatial impulse responses and the span of their arrivals.

#include <gtest/gtest.h>

#include "tests/support/transient_situation.h"
#include "validation/reference/rayleigh.h"

namespace kestrel::test {
namespace {

constexpr double c = 1500;

/// h at one point, for every sample of the axis.
std::vector<double> response(const Situation& s, Point p, TimeSamples& axis, double delay = 0) {
  return transient(s, &Transducer::impulse_response, {p}, axis, *tone(), delay)[0];
}

TEST(ImpulseResponse, OfTheDiscOnItsAxisIsAPlateau) {
  Situation s = typical(ShapeKind::disc);
  s.amplitude = 2;
  TimeSamples axis(1e-9, 33.2e-6, 33.6e-6);
  const std::vector<double> h = response(s, {0, 0, 0.05}, axis);
  for (int i = 0; i < axis.nt(); ++i) {
    const double t = axis.time_index_value(i);
    const bool heard = t >= 0.05 / c && t <= std::hypot(0.05, 5e-3) / c;
    EXPECT_EQ(h[i], heard ? 2 * c : 0) << t;
  }
}

// Numbers without rounding: c = 1 and z a power of two, so that the direct arrival is met exactly.
TEST(ImpulseResponse, OfTheDiscOnItsRimAtTheDirectArrival) {
  const DiscImpulse disc{1, 1};
  const double time[] = {0.5, 0.25, 2};
  double h[3];
  disc.respond(1, 0, 0.5, time, 3, h);
  EXPECT_EQ(h[0], 1);
  EXPECT_EQ(h[1], 0);
  EXPECT_GT(h[2], 0);
  // On the axis, from the direct arrival to the rim's, both included.
  const double arrivals[] = {0.75, 1.25, 1.2500001};
  disc.respond(0, 0, 0.75, arrivals, 3, h);
  EXPECT_EQ(h[0], 1);
  EXPECT_EQ(h[1], 1);
  EXPECT_EQ(h[2], 0);
  // Beside the axis, however near, the plateau ends with the nearest of the rim.
  disc.respond(1e-13, 0, 0.75, arrivals, 3, h);
  EXPECT_EQ(h[0], 1);
  EXPECT_NEAR(h[1], 0.5, 0.1);
  // Inside, the plateau ends inclusively, and the face's own plane begins at zero.
  const double ends[] = {0, 0.5, 1.5};
  disc.respond(0.5, 0, 0, ends, 3, h);
  EXPECT_EQ(h[0], 1);
  EXPECT_EQ(h[1], 1);
}

TEST(ImpulseResponse, OfTheRectangleBeginsWithItsShareOfTheSphere) {
  const RectangleImpulse face{6e-3, 10e-3, c};
  struct Case {
    Point p;
    double share;
  };
  const Case cases[] = {{{0, 0, 7e-3}, 1},          {{2.9e-3, -4.9e-3, 7e-3}, 1},
                        {{3e-3, 0, 7e-3}, 0.5},     {{1e-3, 5e-3, 7e-3}, 0.5},
                        {{3e-3, 5e-3, 7e-3}, 0.25}, {{3.1e-3, 0, 7e-3}, 0},
                        {{0, -8e-3, 7e-3}, 0}};
  for (const Case& k : cases) {
    const double time[] = {7e-3 / c * (1 - 1e-9), 7e-3 / c * (1 + 1e-9), 1e-3, -7.001e-3 / c};
    double h[4];
    face.respond(k.p.x, k.p.y, k.p.z, time, 4, h);
    EXPECT_EQ(h[0], 0);
    EXPECT_NEAR(h[1], k.share * c, 1e-6 * c);
    EXPECT_EQ(h[2], 0);
    EXPECT_EQ(h[3], 0) << "a negative time";
  }
}

// Its integral over time is the potential of the face at rest: the integral of 1 / (2 pi R).
TEST(ImpulseResponse, HasTheAreaOfTheFaceSeenFromThePoint) {
  const Points points = {{0, 0, 12e-3},       {1e-3, -1.5e-3, 5e-3}, {5e-3, 0, 6e-3},
                         {7e-3, 2e-3, 11e-3}, {15e-3, -9e-3, 25e-3}, {4e-3, 4e-3, 17e-3}};
  for (const ShapeKind shape : kShapes) {
    Situation s = typical(shape);
    s.medium._f0 = 1e-9;  // no phase left; the integral brings j rho f0 with it
    const ImpulseConvolution convolution(s);
    for (const Point& p : points) {
      const double expected = std::abs(reference::face(s.geometry(), s.medium, p)) /
                              (s.medium._rho_density * s.medium._f0) / (2 * M_PI);
      EXPECT_NEAR(convolution.area(p), expected, 1e-9 * expected)
          << static_cast<int>(shape) << " at z = " << p.z;
    }
  }
}

// In the focus the response is an impulse: one sample of the same area on any axis.
TEST(ImpulseResponse, InTheFocusIsOneSample) {
  const Situation s = typical(ShapeKind::shell);
  const double gain = 15e-3 - std::sqrt(15e-3 * 15e-3 - 8e-3 * 8e-3);
  const Point focus{0, 0, 15e-3};              // heard at 10 us
  TimeSamples regular(0.3e-6, 9.1e-6, 11e-6);  // 10.0 is the fourth sample
  std::vector<double> h = response(s, focus, regular);
  for (int i = 0; i < regular.nt(); ++i) {
    EXPECT_NEAR(h[i], i == 3 ? gain / 0.3e-6 : 0, 1e-6 * gain / 0.3e-6) << i;
  }
  const standalone::Capture quiet;
  const auto on = [&](std::vector<double> times) {
    TimeSamples list;
    list.vectoroftimevalues(times.data(), static_cast<int>(times.size()));
    return response(s, focus, list, 1e-6);
  };
  // 11 us with the delay; neighbours 1 us before and 3 us after: (1 + 3) / 2.
  EXPECT_EQ(
      on({14e-6, 11.1e-6, 10.1e-6, 3e-6}),
      (std::vector<double>{
          0,
          gain / (((14e-6 - 1e-6) - (11.1e-6 - 1e-6) + ((11.1e-6 - 1e-6) - (10.1e-6 - 1e-6))) / 2),
          0, 0}));
  EXPECT_GT(on({11e-6, 12e-6})[0], 0) << "at an end: the one neighbour's distance";
  EXPECT_EQ(on({12e-6, 13e-6}), (std::vector<double>{0, 0})) << "outside of the list";
  EXPECT_EQ(on({11e-6}), (std::vector<double>{0})) << "a single time has no width";

  Situation ring = typical(ShapeKind::spherical_ring);
  const double hole = 15e-3 - std::sqrt(15e-3 * 15e-3 - 4e-3 * 4e-3);
  h = response(ring, focus, regular);
  EXPECT_NEAR(h[3], (gain - hole) / 0.3e-6, 1e-9 * gain / 0.3e-6);
}

TEST(ImpulseResponse, OfARingIsTheOuterFaceLessTheInner) {
  TimeSamples axis(0.01e-6, 0, 20e-6);
  const Points points = {{0, 0, 10e-3}, {4e-3, 1e-3, 10e-3}, {9e-3, 0, 2e-3}};
  Situation ring = typical(ShapeKind::ring), outer = typical(ShapeKind::disc), inner = outer;
  outer.a = ring.b, inner.a = ring.a;
  for (const Point& p : points) {
    const auto whole = response(outer, p, axis), hole = response(inner, p, axis);
    const auto h = response(ring, p, axis);
    for (int i = 0; i < axis.nt(); ++i) EXPECT_EQ(h[i], whole[i] - hole[i]);
  }
}

TEST(ImpulseResponse, IsHeardBehindRoundFlatFacesAndFromASilentDisc) {
  TimeSamples axis(0.1e-6, -20e-6, 20e-6);
  for (const ShapeKind shape : kShapes) {
    Situation s = typical(shape);
    // The circular faces have no test for it; what they give lies at negative times.
    const bool behind = shape == ShapeKind::disc || shape == ShapeKind::ring;
    EXPECT_EQ(peak(response(s, {4.5e-3, 0, -9e-3}, axis)) > 0, behind);
    // The disc alone does not test its amplitude.
    s.amplitude = 1e-11;
    EXPECT_EQ(peak(response(s, {4.5e-3, 0, 9e-3}, axis)) > 0, shape == ShapeKind::disc);
  }
}

/// Distances to the nearest and the farthest point of a fine net on the face.
std::pair<double, double> net_range(const Situation& s, Point p) {
  const bool curved = s.shape == ShapeKind::shell || s.shape == ShapeKind::spherical_ring;
  const bool hole = s.shape == ShapeKind::ring || s.shape == ShapeKind::spherical_ring;
  const double inner = hole ? s.a : 0, outer = hole ? s.b : s.a, rc = hole ? s.c : s.b;
  double nearest = HUGE_VAL, farthest = 0;
  constexpr int n = 400;
  for (int i = 0; i <= n; ++i) {
    for (int j = 0; j <= n; ++j) {
      const double u = double(i) / n, v = double(j) / n;
      const double r = inner + u * (outer - inner), angle = 2 * M_PI * v;
      const double depth = curved ? rc - std::sqrt(rc * rc - r * r) : 0;
      const double d = s.shape == ShapeKind::rectangle
                           ? p.calculate_distance((u - 0.5) * s.a, (v - 0.5) * s.b, 0)
                           : p.calculate_distance(r * std::cos(angle), r * std::sin(angle), depth);
      nearest = std::min(nearest, d);
      farthest = std::max(farthest, d);
    }
  }
  return {nearest, farthest};
}

TEST(ImpulseSpan, ReachesFromTheNearestToTheFarthestPointOfTheFace) {
  RandomSituations random(31);
  TimeSamples axis(0, 0, 0);
  const Excitation signal = tone();
  for (const ShapeKind shape : kShapes) {
    const Situation s = typical(shape);
    const auto span = [&](const Points& points) {
      TransientBench bench(s, points, axis, *signal);
      bench.element().set_time_delay(2e-6);
      EXPECT_EQ(bench.call(&Transducer::impulse_begin_and_end_times), kSuccess);
      return std::pair((bench.element().get_impulse_begin_time() - 2e-6) * c,
                       (bench.element().get_impulse_end_time() - 2e-6) * c);
    };
    Points points = {{0, 0, 5e-3}, {0, 0, 15e-3}};
    for (int i = 0; i < 25; ++i) {
      points.emplace_back(random.between(-12e-3, 12e-3), random.between(-12e-3, 12e-3),
                          random.between(-15e-3, 40e-3));
    }
    double first = HUGE_VAL, last = 0;
    for (const Point& p : points) {
      const auto [begin, end] = span({p});
      first = std::min(first, begin);
      last = std::max(last, end);
      const auto [nearest, farthest] = net_range(s, p);
      const double slack = 50e-6;  // what a net of this spacing misses at most
      EXPECT_LE(end, farthest + slack);
      EXPECT_GE(end, farthest - 1e-12);
      if (shape == ShapeKind::disc && p.z < 0 && std::hypot(p.x, p.y) <= s.a) {
        EXPECT_NEAR(begin, p.z, 1e-12) << "the disc takes z with its sign";
        continue;
      }
      EXPECT_LE(begin, nearest + 1e-12) << static_cast<int>(shape);
      EXPECT_GE(begin, nearest - slack);
    }
    EXPECT_EQ(span(points), std::pair(first, last));
  }
}

}  // namespace
}  // namespace kestrel::test
