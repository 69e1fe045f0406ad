// Layouts, focusing, steering and apodization of arrays.

#include <cmath>
#include <gtest/gtest.h>
#include <numbers>

#include "arrays/pseudo_inverse.h"
#include "kestrel/arrays.h"
#include "kestrel/error.h"

namespace kestrel {
namespace {

constexpr double kPi = std::numbers::pi;
constexpr double kMm = 1e-3;

Medium water() {
  Medium medium;
  medium._soundspeed = 1500;
  medium._rho_density = 1000;
  return medium;
}

double distance(CartesianCoordinate a, CartesianCoordinate b) { return a.calculate_distance(b); }

template <class Call>
std::string refusal(const Call& call) {
  try {
    call();
  } catch (const Error& error) {
    return error.what();
  }
  return "(none)";
}

TEST(Builders, LatticesStandAboutTheirMiddleAndTurnAsAWhole) {
  const auto row = linear_array(3, {1 * kMm, 5 * kMm}, 2 * kMm);
  ASSERT_EQ(row.size(), 3u);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(row[i].center.x, (i - 1) * 2 * kMm);
    EXPECT_EQ(row[i].center.y, 0);
  }
  const auto plane = planar_array({3, 2}, {1 * kMm, 1 * kMm}, {1 * kMm, 2 * kMm});
  ASSERT_EQ(plane.size(), 6u);
  EXPECT_EQ(plane[4].center.x, 0);
  EXPECT_EQ(plane[4].center.y, 1 * kMm);

  // A quarter turn about y: the row along x looks along +x and lies along -z.
  const auto turned = linear_array(3, {1 * kMm, 5 * kMm}, 2 * kMm,
                                   {.center = {0, 0, 7 * kMm}, .euler = {kPi / 2, 0, 0}});
  EXPECT_NEAR(turned[2].center.z, 7 * kMm - 2 * kMm, 1e-18);
  EXPECT_NEAR(Rotation(turned[2].euler).normal().x, 1, 1e-15);
}

TEST(Builders, CurvedArraysTouchTheirCylinder) {
  for (const double radius : {60 * kMm, -60 * kMm}) {
    const auto array = curved_array(5, {1 * kMm, 5 * kMm}, 1.5 * kMm, radius);
    for (const Element& e : array) {
      EXPECT_NEAR(distance(e.center, {0, 0, radius}), 60 * kMm, 1e-16);
      const CartesianCoordinate normal = Rotation(e.euler).normal();
      // The normal meets the axis of the cylinder, in front or behind.
      EXPECT_NEAR(e.center.x + radius * normal.x, 0, 1e-16);
      EXPECT_NEAR(e.center.z + radius * normal.z, radius, 1e-16);
    }
    EXPECT_LT(array[0].center.x, array[4].center.x);
  }
}

TEST(Builders, BowlsFaceTheirCentreAndDoNotOverlap) {
  const Bowl bowl{.element_radius = 2.8 * kMm,
                  .aperture_radius = 60 * kMm,
                  .rad_curvature = 120 * kMm,
                  .inner_radius = 10 * kMm};
  const auto array = bowl_array(200, bowl);
  for (std::size_t i = 0; i < array.size(); ++i) {
    const CartesianCoordinate c = array[i].center, n = Rotation(array[i].euler).normal();
    EXPECT_NEAR(distance({c.x + 120 * kMm * n.x, c.y + 120 * kMm * n.y, c.z + 120 * kMm * n.z},
                         {0, 0, 120 * kMm}),
                0, 1e-15);
    EXPECT_LE(std::hypot(c.x, c.y), 60 * kMm);
    for (std::size_t j = 0; j < i; ++j) {
      EXPECT_GE(distance(c, array[j].center), 2 * 2.8 * kMm * (1 - 1e-3));
    }
  }
  Bowl crowded = bowl;
  crowded.element_radius = 5 * kMm;
  EXPECT_EQ(refusal([&] { bowl_array(200, crowded); }).substr(0, 37),
            "200 discs of radius 0.005 m do not fi");
}

TEST(Builders, FromPositionsLooksAlongTheNormals) {
  const std::vector<CartesianCoordinate> normals = {{0, 0, 1},  {0, 2, 0}, {0, -1, 0},
                                                    {3, 0, -4}, {1, 1, 1}, {0, 0, -1}};
  const std::vector<CartesianCoordinate> positions(normals.size(), {1, 2, 3});
  const auto array = from_positions({.geometry = Circle{1 * kMm}}, positions, normals);
  for (std::size_t i = 0; i < normals.size(); ++i) {
    const CartesianCoordinate n = Rotation(array[i].euler).normal(), wanted = normals[i];
    const double length = distance(wanted, {0, 0, 0});
    EXPECT_NEAR(distance(n, {wanted.x / length, wanted.y / length, wanted.z / length}), 0, 1e-15)
        << i;
  }
  // Of the prototype's angles the spin counts; without normals all look along z, and aim turns
  // them.
  auto spun = from_positions({.geometry = Rectangle{1, 2}, .euler = {1, 2, 0.5}}, positions);
  EXPECT_EQ(distance(spun.back().euler, {0, 0, 0.5}), 0);
  aim(spun, {4, 2, 7});
  EXPECT_NEAR(distance(Rotation(spun[0].euler).normal(), {0.6, 0, 0.8}), 0, 1e-15);
  EXPECT_EQ(spun[0].euler.z, 0.5);

  const std::vector<CartesianCoordinate> none = {{0, 0, 1}, {0, 0, 0}};
  EXPECT_EQ(refusal([&] { from_positions({}, positions, none); }),
            "normals must have 1 or 6 rows, but it has 2.");
  EXPECT_EQ(refusal([&] {
              from_positions({}, {positions.data(), 2}, none);
            }),
            "normal 2 has the length 0.");
  EXPECT_EQ(refusal([&] { aim(spun, positions[0]); }), "element 1 has its centre at the point.");
  EXPECT_NE(refusal([] { euler_towards({0, 0, 0}); }), "(none)");
}

TEST(Builders, RefuseWhatCannotBe) {
  const std::vector<double> inner = {0, 4 * kMm}, outer = {5 * kMm, 6 * kMm};
  const std::pair<std::string, std::string> cases[] = {
      {refusal([] {
         linear_array(0, {1, 1}, 1);
       }),
       "n must be a whole number of at least 1, but it is 0."},
      {refusal([] {
         linear_array(2, {1, 1}, 0.5);
       }),
       "a pitch of 0.5 m makes elements of 1 m overlap."},
      {refusal([] {
         linear_array(2, {-1, 1}, 0.5);
       }),
       "width must be positive, but it is -1."},
      {refusal([] {
         linear_array(3, {1, 1}, 1, {.phase = {1, 2}});
       }),
       "phase must have 1 or 3 entries, but it has 2."},
      {refusal([] {
         curved_array(9, {1, 1}, 1, 1);
       }),
       "9 elements at a pitch of 1 m are longer than a circle of radius 1 m."},
      {refusal([] {
         curved_array(3, {1.1, 1}, 1, 10);
       }),
       "a pitch of 1 m makes elements of 1.1 m overlap."},
      {refusal([] {
         curved_array(2, {1, 1}, 1, 0);
       }),
       "radius must not be 0."},
      {refusal([&] { annular_array(inner, outer); }), "the rings 1 and 2 overlap."},
      {refusal([&] {
         annular_array(std::vector<double>{3, 0, 1.5}, std::vector<double>{4, 2, 3});
       }),
       "the rings 2 and 3 overlap."},
      {refusal([&] { annular_array(inner, {}); }),
       "inner_radii and outer_radii must have one entry per ring, but they have 2 and 0."},
  };
  for (const auto& [text, wanted] : cases) EXPECT_EQ(text, wanted);
}

TEST(Weights, WavesMeetAtTheFocusInPhase) {
  const Medium medium = water();
  const double f0 = 1e6, k = 2 * kPi * f0 / 1500;
  auto array = linear_array(16, {0.5 * kMm, 10 * kMm}, 0.6 * kMm);
  const CartesianCoordinate point{5 * kMm, 1 * kMm, 40 * kMm};
  focus(array, point, medium, f0);
  double least = 1e9;
  std::size_t nearest = 0;
  for (std::size_t i = 0; i < array.size(); ++i) {
    if (distance(array[i].center, point) < least) {
      least = distance(array[i].center, point);
      nearest = i;
    }
  }
  EXPECT_EQ(array[nearest].phase, 0);
  for (const Element& e : array) {
    const double arrival = e.phase - k * (distance(e.center, point) - least);
    EXPECT_NEAR(std::remainder(arrival, 2 * kPi), 0, 1e-11);
    EXPECT_LE(std::abs(e.phase), kPi);
  }
  focus_delays(array, point, medium);
  for (const Element& e : array) {
    EXPECT_GE(e.time_delay, 0);
    EXPECT_NEAR(e.time_delay + distance(e.center, point) / 1500,
                array[0].time_delay + distance(array[0].center, point) / 1500, 1e-18);
  }
}

TEST(Weights, SeveralFociGetThePressuresAskedFor) {
  const Medium medium = water();
  const double f0 = 1e6, k = 2 * kPi * f0 / 1500;
  const std::vector<CartesianCoordinate> points = {
      {-6 * kMm, 0, 40 * kMm}, {5 * kMm, 1 * kMm, 45 * kMm}, {1 * kMm, -3 * kMm, 30 * kMm}};
  const std::vector<double> wanted = {1, 2, 1};
  for (const bool set_amplitude : {false, true}) {
    auto array = planar_array({24, 4}, {0.5 * kMm, 0.5 * kMm}, {0.6 * kMm, 0.6 * kMm});
    focus(array, points, medium, f0, {.set_amplitude = set_amplitude, .pressure = wanted});
    std::vector<double> reached;
    double largest = 0;
    for (const auto& point : points) {
      std::complex<double> sum = 0;
      for (const Element& e : array) {
        const double path = distance(e.center, point);
        sum += e.weight() * std::polar(1 / path, -k * path);
      }
      reached.push_back(std::abs(sum));
    }
    for (const Element& e : array) largest = std::max(largest, e.amplitude);
    EXPECT_NEAR(largest, 1, 1e-12);
    EXPECT_NEAR(reached[1] / reached[0], 2, set_amplitude ? 1e-10 : 1e-5);
    EXPECT_NEAR(reached[2] / reached[0], 1, set_amplitude ? 1e-10 : 1e-5);
  }
  auto array = linear_array(2, {0.5 * kMm, 0.5 * kMm}, 1 * kMm);
  EXPECT_EQ(refusal([&] { focus(array, array[0].center, medium, f0); }),
            "a focus must not lie on an element's centre.");
  EXPECT_EQ(array[1].phase, 0);
}

TEST(Weights, LeastNormSolutionOfADeficientMatrix) {
  // The second row is j times the first, so only the mean of the two equations can be met.
  ComplexMatrix h(3, 4);
  const std::complex<double> j(0, 1);
  for (std::size_t c = 0; c < 4; ++c) {
    h(0, c) = {1.0 + static_cast<double>(c), 0.5};
    h(1, c) = j * h(0, c);
    h(2, c) = {c % 2 == 0 ? 1.0 : -2.0, static_cast<double>(c)};
  }
  const std::vector<double> b = {2, 0, 1};
  const auto x = least_norm_solution(h, b);
  std::complex<double> first = 0, third = 0;
  for (std::size_t c = 0; c < 4; ++c) {
    first += h(0, c) * x[c];
    third += h(2, c) * x[c];
  }
  EXPECT_NEAR(std::abs(first - 1.0), 0, 1e-13);
  EXPECT_NEAR(std::abs(third - 1.0), 0, 1e-13);
}

TEST(Weights, SteeringSendsAPlaneWaveInTheArraysOwnFrame) {
  const Medium medium = water();
  const double k = 2 * kPi * 2e6 / 1500;
  auto array = linear_array(8, {0.2 * kMm, 5 * kMm}, 0.3 * kMm, {.euler = {0.3, -0.2, 0.1}});
  steer(array, 0.4, 0, medium, 2e6);
  for (std::size_t i = 1; i < array.size(); ++i) {
    const double step = array[i].phase - array[i - 1].phase + k * 0.3 * kMm * std::sin(0.4);
    EXPECT_NEAR(std::remainder(step, 2 * kPi), 0, 1e-11);
  }
  EXPECT_EQ(array.back().phase, 0);
}

TEST(Weights, WindowsReachFromOuterEdgeToOuterEdge) {
  auto array = linear_array(4, {1 * kMm, 5 * kMm}, 1 * kMm);
  apodize(array, {Window("cosine"), Window("hann")});
  for (int i = 0; i < 4; ++i) {
    EXPECT_NEAR(array[i].amplitude, std::cos(kPi * (i - 1.5) / 2 / 2), 1e-15);
  }
  struct {
    const char* window;
    double outer, inner;  // at 3/4 and 1/4 of the way to the edge
  } const values[] = {{"rect", 1, 1},
                      {"cosine", std::cos(3 * kPi / 8), std::cos(kPi / 8)},
                      {"hann", 0.5 - std::sqrt(0.125), 0.5 + std::sqrt(0.125)},
                      {"hamming", 0.54 - 0.46 * std::sqrt(0.5), 0.54 + 0.46 * std::sqrt(0.5)},
                      {"blackman", 0.42 - std::sqrt(0.125), 0.42 + std::sqrt(0.125)},
                      {"tukey", 0.5, 1},
                      {"gauss", std::exp(-0.5625 / 0.32), std::exp(-0.0625 / 0.32)}};
  for (const auto& [window, outer, inner] : values) {
    auto row = linear_array(4, {1 * kMm, 5 * kMm}, 1 * kMm);
    apodize(row, {Window(window), Window("rect")});
    for (const int i : {0, 3}) EXPECT_NEAR(row[i].amplitude, outer, 1e-15) << window;
    for (const int i : {1, 2}) EXPECT_NEAR(row[i].amplitude, inner, 1e-15) << window;
  }
  auto turned = linear_array(4, {1 * kMm, 5 * kMm}, 1 * kMm, {.euler = {1, 2, 3}});
  apodize(turned, {Window("cosine"), Window("hann")});
  for (int i = 0; i < 4; ++i) EXPECT_NEAR(turned[i].amplitude, array[i].amplitude, 1e-12);

  auto lattice = planar_array({2, 3}, {1 * kMm, 1 * kMm}, {1 * kMm, 1 * kMm});
  apodize(lattice, {Window(std::vector<double>{1, 2}), Window(std::vector<double>{3, 5, 7})});
  EXPECT_EQ(lattice[5].amplitude, 14);
  EXPECT_EQ(lattice[2].amplitude, 5);

  const std::vector<double> inner = {0, 3 * kMm}, outer = {2 * kMm, 5 * kMm};
  auto rings = annular_array(inner, outer);
  apodize_radially(rings, "hamming");
  EXPECT_NEAR(rings[0].amplitude, 1, 1e-15);
  EXPECT_NEAR(rings[1].amplitude, 0.54 + 0.46 * std::cos(kPi * 4 / 5), 1e-15);

  EXPECT_EQ(refusal([&] { apodize_radially(rings, "hanning"); }),
            "window must be one of 'rect', 'cosine', 'hann', 'hamming', 'blackman', 'tukey', "
            "'gauss', but it is 'hanning'.");
  EXPECT_EQ(refusal([&] { apodize(rings, std::vector<double>{1}); }),
            "window must have 2 entries, one for each element, but it has 1.");
}

TEST(Shapes, SupportIsTheFarthestPointOfTheFace) {
  const Geometry faces[] = {Rectangle{2 * kMm, 3 * kMm}, Circle{2 * kMm},
                            Ring{1 * kMm, 2 * kMm},      Shell{4 * kMm, 5 * kMm},
                            Shell{5 * kMm, 5 * kMm},     ShellRing{2 * kMm, 4 * kMm, 5 * kMm}};
  for (const Geometry& geometry : faces) {
    for (int i = 0; i < 24; ++i) {
      const double theta = kPi * (i % 12) / 11, phi = i;
      const CartesianCoordinate u{std::sin(theta) * std::cos(phi), std::sin(theta) * std::sin(phi),
                                  std::cos(theta)};
      double farthest = -1;
      for (int a = 0; a <= 400; ++a) {
        for (int b = 0; b < 100; ++b) {
          const double s = a / 400.0, t = 2 * kPi * b / 100;
          CartesianCoordinate p;
          if (const auto* r = std::get_if<Rectangle>(&geometry)) {
            p = {(s - 0.5) * r->width, (b / 99.0 - 0.5) * r->height, 0};
          } else {
            const RadialFace f =
                std::visit([](const auto& g) { return g.radial_face(); }, geometry);
            const double radius = f.inner_radius + s * (f.outer_radius - f.inner_radius);
            p = {radius * std::cos(t + phi), radius * std::sin(t + phi), f.height(radius)};
          }
          farthest = std::max(farthest, p.x * u.x + p.y * u.y + p.z * u.z);
        }
      }
      EXPECT_NEAR(std::visit([&](const auto& g) { return g.support(u); }, geometry), farthest,
                  2e-3 * kMm)
          << shape_facts(geometry).name << " " << i;
    }
  }
}

}  // namespace
}  // namespace kestrel
