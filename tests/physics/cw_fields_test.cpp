// What the continuous-wave methods compute, against physics: converged surface integrals, closed
// forms, limits, symmetries. Errors are fractions of the peak over the points.

#include <gtest/gtest.h>

#include "mex/standalone/standalone_host.h"
#include "tests/support/situation.h"
#include "validation/reference/rayleigh.h"

namespace kestrel::test {
namespace {

/// On the axis, under the face, beside and beyond it; a millimetre or more from every face, and two
/// from the centre of curvature of the shells.
const Points kPoints = {{0, 0, 12e-3},        {0, 0, 40e-3},       {1e-3, -1.5e-3, 5e-3},
                        {2.2e-3, 3e-3, 8e-3}, {3e-3, 5e-3, 9e-3},  {5e-3, 0, 6e-3},
                        {7e-3, 2e-3, 11e-3},  {0, 9e-3, 12e-3},    {15e-3, -9e-3, 25e-3},
                        {4e-3, 4e-3, 17e-3},  {-3e-3, 1e-3, 60e-3}};

/// alpha + jk.
Complex propagation_constant(const Medium& m) {
  return {reference::attenuation(m), reference::wavenumber(m)};
}

/// At points of the element's frame.
std::vector<Complex> converged(const Situation& s, const Points& points) {
  std::vector<Complex> field;
  for (const Point p : points) {
    field.push_back(s.weight() * reference::face(s.geometry(), s.medium, p));
  }
  return field;
}

/// The same points where the element stands: turned about z, then x, then y.
Points placed(const Situation& s, Points points) {
  const auto turn = [](double angle, double& from, double& to) {
    const double x = from, y = to;
    from = std::cos(angle) * x - std::sin(angle) * y;
    to = std::sin(angle) * x + std::cos(angle) * y;
  };
  for (Point& p : points) {
    turn(s.euler.z, p.x, p.y);
    turn(s.euler.y, p.y, p.z);
    turn(s.euler.x, p.z, p.x);
    p = {p.x + s.center.x, p.y + s.center.y, p.z + s.center.z};
  }
  return points;
}

enum class Convention {
  exact,
  nearfield,  ///< with loss, off by the factor 1 - j alpha/k
  no_loss     ///< wrong in lossy media
};

struct Accuracy {
  const char* name;
  ShapeKind shape;
  Method method;
  int nodes;
  double tolerance;
  Convention convention;
};

class ConvergedIntegral : public testing::TestWithParam<Accuracy> {};

TEST_P(ConvergedIntegral, IsReached) {
  const standalone::Capture quiet;
  const Accuracy& c = GetParam();
  for (const double slope : {0.0, 1.5}) {
    if (slope > 0 && c.convention == Convention::no_loss) continue;
    Situation s = typical(c.shape);
    s.nodes = c.nodes;
    s.amplitude = 1.3;
    s.phase = 0.7;
    s.medium._dBcmMHz = slope;
    if (slope > 0) s.center = {1e-3, -2e-3, 3e-3}, s.euler = {0.4, -0.7, 1.9};
    std::vector<Complex> expected = converged(s, kPoints);
    const Complex g = propagation_constant(s.medium);
    if (c.convention == Convention::nearfield) {
      for (Complex& p : expected) p *= g / Complex(0, g.imag());
    }
    const double error = difference(field(s, c.method, placed(s, kPoints)), expected);
    EXPECT_LE(error, c.tolerance) << slope << " dB/(cm MHz)";
    EXPECT_GE(error, c.tolerance / 100) << "the budget is too wide to watch anything";
  }
}

// The four-wide methods that fill their last block up have a node more than whole blocks.
std::vector<Accuracy> accuracies() {
  using enum ShapeKind;
  using enum Convention;
  using T = Transducer;
  return {
      {"rectangle", rectangle, &T::fnm_cw, 64, 1e-12, nearfield},
      {"rectangle_single", rectangle, &T::fnm_cw_single, 64, 2e-5, nearfield},
      {"rectangle_sse", rectangle, &T::fnm_cw_sse, 65, 1.5e-3, nearfield},
      {"rectangle_sse2", rectangle, &T::fnm_cw_sse2, 64, 1.5e-3, no_loss},
      {"rectangle_rayleigh", rectangle, &T::rayleigh_cw, 32, 1e-12, exact},
      {"rectangle_rayleigh_sse", rectangle, &T::rayleigh_cw_sse, 33, 2e-3, exact},
      {"rectangle_radiator", rectangle, &T::radiator_cw, 32, 6e-3, exact},
      {"disc", disc, &T::fnm_cw, 64, 1e-12, nearfield},
      {"disc_sse", disc, &T::fnm_cw_sse, 64, 2e-3, nearfield},
      {"disc_rayleigh", disc, &T::rayleigh_cw, 256, 1e-4, no_loss},
      {"disc_rayleigh_uniform", disc, &T::rayleigh_cw_apodized, 256, 1e-4, exact},
      {"disc_rayleigh_sse", disc, &T::rayleigh_cw_sse, 256, 2e-3, exact},
      {"ring", ring, &T::fnm_cw, 64, 1e-12, nearfield},
      {"ring_rayleigh", ring, &T::rayleigh_cw, 256, 1e-4, exact},
      {"shell", shell, &T::fnm_cw, 96, 1e-12, nearfield},
      {"shell_sse", shell, &T::fnm_cw_sse, 96, 1e-2, nearfield},
      {"shell_rayleigh", shell, &T::rayleigh_cw, 256, 1e-4, exact},
      {"shell_rayleigh_sse", shell, &T::rayleigh_cw_sse, 257, 4e-3, exact},
      {"spherical_ring", spherical_ring, &T::fnm_cw, 96, 1e-12, nearfield},
      {"spherical_ring_rayleigh", spherical_ring, &T::rayleigh_cw, 256, 1e-4, exact},
  };
}

INSTANTIATE_TEST_SUITE_P(All, ConvergedIntegral, testing::ValuesIn(accuracies()),
                         [](const auto& accuracy) { return std::string(accuracy.param.name); });

/// e^{-(alpha + jk)R}.
Complex wave(const Medium& m, double r) { return std::exp(-propagation_constant(m) * r); }

TEST(ClosedForms, DiscAndShellOnTheirAxis) {
  for (const double slope : {0.0, 1.0}) {
    Situation disc = typical(ShapeKind::disc), shell = typical(ShapeKind::shell);
    disc.medium._dBcmMHz = shell.medium._dBcmMHz = slope;
    const Medium& m = disc.medium;
    const double rc = shell.b, h = std::sqrt(rc * rc - shell.a * shell.a);
    Points points;
    std::vector<Complex> flat, curved;
    for (const double z : {0.0, 1e-4, 2e-3, 14e-3, 16e-3, 80e-3}) {
      const double zeta = z - rc, rim = std::hypot(shell.a, zeta + h);
      points.emplace_back(0, 0, z);
      flat.push_back(1.5e6 * (wave(m, z) - wave(m, std::hypot(z, disc.a))));
      curved.push_back(1.5e6 * rc / zeta * (wave(m, rim) - wave(m, z)));
    }
    EXPECT_LE(difference(field(disc, &Transducer::fnm_cw, points), flat), 2e-13);
    EXPECT_LE(difference(field(shell, &Transducer::fnm_cw, points), curved), 3e-13);
    const Points centre = {{0, 0, rc}};
    const Complex focal = Complex(0, 2 * M_PI * 1000 * 1e6 * (rc - h)) * wave(m, rc);
    EXPECT_LE(difference(field(shell, &Transducer::fnm_cw, centre), {focal}), 3e-13);
    EXPECT_EQ(field(shell, &Transducer::fnm_cw_sse, centre),
              field(shell, &Transducer::fnm_cw, centre));
  }
}

// From the apex the sphere's area element is 2 pi R dR; exact with loss too.
TEST(ClosedForms, RayleighAtTheApexOfAShell) {
  Situation s = typical(ShapeKind::shell);
  s.medium._dBcmMHz = 2;
  s.medium._f0 = 3e6;
  const Complex g = propagation_constant(s.medium);
  const double chord = 2 * s.b * std::sin(std::asin(s.a / s.b) / 2);
  const Complex expected = Complex(0, 3e6 * 1000) * (2 * M_PI * (1.0 - std::exp(-g * chord)) / g);
  for (const Method method : {&Transducer::rayleigh_cw, &Transducer::rayleigh_cw_sse}) {
    EXPECT_LE(difference(field(s, method, {{0, 0, 0}}), {expected}), 3e-13);
  }
}

// The Fraunhofer field's error falls as 1/r.
TEST(Limits, FarFieldOfARectangle) {
  Situation s = typical(ShapeKind::rectangle);
  s.nodes = 64;
  std::vector<double> errors;
  for (const double r : {0.5, 1.0, 2.0}) {
    Points points;
    for (const double theta : {0.0, 0.1, 0.25, 0.5, 1.0}) {
      for (const double phi : {0.0, 0.6, 1.57}) {
        points.emplace_back(r * std::sin(theta) * std::cos(phi),
                            r * std::sin(theta) * std::sin(phi), r * std::cos(theta));
      }
    }
    errors.push_back(difference(field(s, &Transducer::farfield_cw, points),
                                field(s, &Transducer::fnm_cw, points)));
  }
  EXPECT_NEAR(errors[1], 2.4e-2, 0.3e-2);
  EXPECT_NEAR(errors[0] / errors[1], 2, 0.1);
  EXPECT_NEAR(errors[1] / errors[2], 2, 0.1);
}

TEST(Limits, OneRadiatorIsTheFarField) {
  Situation s = typical(ShapeKind::rectangle);
  s.nodes = 1;
  EXPECT_LE(difference(field(s, &Transducer::radiator_cw, kPoints),
                       field(s, &Transducer::farfield_cw, kPoints)),
            1e-14);
}

// Directivities of real and of complex argument.
TEST(Limits, RadiatorsInATraceOfLossAreThoseWithout) {
  Situation s = typical(ShapeKind::rectangle), trace = s;
  trace.medium._dBcmMHz = 1e-9;
  EXPECT_LE(difference(field(trace, &Transducer::radiator_cw, kPoints),
                       field(s, &Transducer::radiator_cw, kPoints)),
            1e-9);
}

// The plain sum over a disc has the loss with the other sign, so that waves grow.
TEST(Limits, RayleighSumOfADiscGrowsByTheLoss) {
  Situation s = typical(ShapeKind::disc), gain = s;
  s.medium._dBcmMHz = 1;
  gain.medium._dBcmMHz = -1;
  EXPECT_LE(difference(field(s, &Transducer::rayleigh_cw, kPoints),
                       field(gain, &Transducer::rayleigh_cw_apodized, kPoints)),
            1e-12);
}

TEST(Apodization, RayleighSumMatchesTheProfile) {
  Situation s = typical(ShapeKind::disc);
  s.nodes = 256;
  for (const int profile : {1, 2, 3, 4}) {
    s.profile = profile;
    std::vector<Complex> expected;
    for (const Point p : kPoints) {
      expected.push_back(reference::apodized_disc(profile, s.a, s.medium, p, 96));
    }
    EXPECT_LE(difference(field(s, &Transducer::rayleigh_cw_apodized, kPoints), expected), 1e-4);
    if (profile != 2) continue;
    // The nearfield form carries -pi a; only the raised cosine, which has no corner on the rim,
    // converges fast enough to show it.
    for (Complex& p : expected) p *= -M_PI * s.a;
    EXPECT_LE(difference(field(s, &Transducer::fnm_cw_apodized, kPoints), expected), 7.5e-5);
  }
  for (const int uniform : {0, 5, -1}) {
    s.profile = uniform;
    EXPECT_EQ(peak(field(s, &Transducer::fnm_cw_apodized, kPoints)), 0);
    EXPECT_LE(difference(field(s, &Transducer::rayleigh_cw_apodized, kPoints),
                         field(s, &Transducer::rayleigh_cw, kPoints)),
              1e-13);
  }
}

// An element adds to what the planes hold, so parts of a face sum to the whole.
TEST(Superposition, PartsMakeTheWhole) {
  const auto with = [](Situation s, double a, double b, double x = 0) {
    s.a = a;
    s.b = b;
    s.center.x = x;
    s.nodes = 64;
    return s;
  };
  const Situation rectangle = typical(ShapeKind::rectangle), disc = typical(ShapeKind::disc);
  const Situation shell = typical(ShapeKind::shell), ring = typical(ShapeKind::ring);
  const Situation zone = with(typical(ShapeKind::spherical_ring), 4e-3, 8e-3);
  const struct {
    Situation whole, one, other;
  } cases[] = {
      {with(rectangle, 6e-3, 10e-3), with(rectangle, 2e-3, 10e-3, -2e-3),
       with(rectangle, 4e-3, 10e-3, 1e-3)},
      {with(disc, 6e-3, 0), with(disc, 3e-3, 0), with(ring, 3e-3, 6e-3)},
      {with(shell, 8e-3, 15e-3), with(shell, 4e-3, 15e-3), zone},
      {with(ring, 0, 6e-3), with(disc, 6e-3, 0), with(ring, 4e-3, 4e-3)},
      {with(ring, -1e-3, 6e-3), with(disc, 6e-3, 0), with(ring, 4e-3, 4e-3)},
      {with(zone, 0, 8e-3), with(shell, 8e-3, 15e-3), with(zone, 4e-3, 4e-3)},
  };
  for (auto [whole, one, other] : cases) {
    whole.medium._dBcmMHz = one.medium._dBcmMHz = other.medium._dBcmMHz = 1;
    Bench bench(one, kPoints);
    bench.set_planes({2, -3});
    bench.call(&Transducer::fnm_cw);
    std::vector<Complex> sum = bench.field();
    const auto rest = field(other, &Transducer::fnm_cw, kPoints);
    for (std::size_t i = 0; i < sum.size(); ++i) sum[i] += rest[i] - Complex(2, -3);
    EXPECT_LE(difference(sum, field(whole, &Transducer::fnm_cw, kPoints)), 2e-12);
  }
}

}  // namespace
}  // namespace kestrel::test
