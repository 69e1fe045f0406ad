// Where formulas degenerate: the plane of the face, edges, corners, the axis, rims, the apex, the
// centre of curvature, behind the face. All elements stand untouched at the origin, since a turned
// one rounds such points to either side.

#include <gtest/gtest.h>

#include "kestrel/instruction_set.h"
#include "mex/standalone/standalone_host.h"
#include "tests/support/cw_methods.h"
#include "validation/reference/rayleigh.h"

namespace kestrel::test {
namespace {

bool finite(Complex p) { return std::isfinite(p.real()) && std::isfinite(p.imag()); }

/// Points of the source plane or surface, of rims and edges, and just beside them.
Points special_points(const Situation& s) {
  const double in = 1e-9;
  switch (s.shape) {
    case ShapeKind::rectangle: {
      const double a = s.a / 2, b = s.b / 2;
      return {{0, 0, 0},         {0, 0, 5e-3},  {a / 3, b / 5, 0}, {a, 0, 5e-3},
              {0, b, 5e-3},      {a, b, 5e-3},  {-a, -b, 5e-3},    {a + in, 0, 1e-3},
              {a - in, 0, 1e-3}, {2 * a, 0, 0}, {2 * a, 3 * b, 0}, {0, -2 * b, 3e-3},
              {a, 3 * b, 2e-3}};
    }
    case ShapeKind::disc:
      return {{0, 0, 0},      {0, 0, 3e-3},     {s.a / 3, 0, 0}, {s.a, 0, 0},
              {0, s.a, 4e-3}, {s.a + in, 0, 0}, {3 * s.a, 0, 0}, {s.a - in, 0, 1e-3}};
    case ShapeKind::ring:
      return {{0, 0, 0},   {0, 0, 3e-3},   {s.a / 3, 0, 0}, {s.a, 0, 0},
              {s.b, 0, 0}, {0, s.a, 4e-3}, {s.b, 0, 2e-3},  {(s.a + s.b) / 2, 0, 0}};
    case ShapeKind::shell:
    case ShapeKind::spherical_ring: {
      const bool ring = s.shape == ShapeKind::spherical_ring;
      const double a = ring ? s.b : s.a, rc = ring ? s.c : s.b;
      const double h = std::sqrt(rc * rc - a * a);
      Points points = {{0, 0, rc},           {0, 0, rc + 2e-10},      {1e-3, 0, rc},
                       {0, 0, 1e-4},         {0, 0, rc - h},          {a / 2, 0, rc - h},
                       {0, 3e-3, rc},        {2 * a, 0, rc - h + in}, {0, 0, 2 * rc},
                       {3e-3, 1e-3, 3 * rc}, {1e-3, 0, rc + 5e-11}};
      // Outside the sphere between the two rim planes only the inner cap's region test passes: such
      // a point gets minus the inner cap's field.
      if (ring) points.emplace_back(20e-3, 0, rc - (h + std::sqrt(rc * rc - s.a * s.a)) / 2);
      return points;
    }
  }
  return {};
}

std::vector<Situation> situations() {
  Situation hemisphere = typical(ShapeKind::shell);  // its rim's plane goes through the centre
  hemisphere.a = hemisphere.b;
  std::vector<Situation> list = {hemisphere};
  for (const ShapeKind shape : kShapes) list.push_back(typical(shape));
  for (Situation& s : list) s.profile = 2;
  return list;
}

// Finite where a formula could divide by zero, and the same on all instruction sets.
TEST(SpecialPoints, AreFiniteOnEveryInstructionSet) {
  const standalone::Capture quiet;
  for (Situation s : situations()) {
    const Points points = special_points(s);
    for (const double slope : {0.0, 1.0}) {
      s.medium._dBcmMHz = slope;
      for (const CwMethod& m : kCwMethods) {
        if (m.shape != s.shape) continue;
        std::vector<Complex> scalar;
        for (const InstructionSet set :
             {InstructionSet::scalar, InstructionSet::baseline, instruction_set()}) {
          const ScopedInstructionSet scope(set);
          const auto actual = field(s, m.method, points);
          if (scalar.empty()) scalar = actual;
          for (std::size_t i = 0; i < points.size(); ++i) {
            EXPECT_TRUE(finite(actual[i])) << m.name << ", point " << i;
          }
          // Next to the centre of curvature nearly equal waves are divided by what is left of them.
          EXPECT_LE(difference(actual, scalar), 1e-9) << m.name << ", " << name(set);
        }
      }
    }
  }
}

// With nodes enough the edge integrals converge there too, but for points that all but lie on an
// edge, and in the plane of a hemisphere's rim. Next to the centre of curvature digits are lost.
TEST(SpecialPoints, HaveTheFieldOfTheFace) {
  for (Situation s : situations()) {
    s.nodes = 600;
    const double ring_gap = s.shape == ShapeKind::spherical_ring ? 20e-3 : -1;
    for (const Point p : special_points(s)) {
      const double beside = std::abs(std::remainder(p.x, 1e-4));
      const bool in_rim_plane = s.shape == ShapeKind::shell && s.a == s.b && p.z > s.b - 1e-9;
      if ((beside > 0.9e-9 && beside < 1.1e-9) || (in_rim_plane && p.x > 0 && p.z < s.b + 1e-9)) {
        continue;
      }
      const bool at_centre = std::abs(p.z - 15e-3) < 1e-9 && p.x == 0;
      const Complex expected = p.x == ring_gap ? -reference::cap(s.a, s.c, s.medium, p)
                                               : reference::face(s.geometry(), s.medium, p);
      EXPECT_LE(std::abs(field(s, &Transducer::fnm_cw, {p})[0] - expected),
                at_centre ? 0.4 : 1.5e-3)
          << static_cast<int>(s.shape) << ": " << p.x << " " << p.y << " " << p.z;
    }
  }
}

// Behind a face, and for NaN (one coordinate makes all local ones NaN): planes keep what they held,
// but for the rectangle, which computes a NaN.
TEST(SpecialPoints, BehindTheFaceNothingIsAdded) {
  const standalone::Capture quiet;
  for (const CwMethod& m : kCwMethods) {
    Situation s = typical(m.shape);
    s.profile = 2;
    s.nodes = 8;
    const bool planar = m.shape != ShapeKind::shell && m.shape != ShapeKind::spherical_ring;
    const double behind = planar ? -1e-9 : -1e-3;
    Points points = {{0, 0, behind},
                     {1e-3, -2e-3, behind},
                     {20e-3, 0, -30e-3},
                     {1e-3, 0, kNan},
                     {kNan, 0, 10e-3}};
    // Before the plane of the apex, but outside the sphere.
    if (!planar) points.emplace_back(12e-3, 0, 0.3e-3);
    Bench bench(s, points);
    bench.set_planes({3, -4});
    EXPECT_EQ(bench.call(m.method), 0);
    const auto after = bench.field();
    for (std::size_t i = 0; i < points.size(); ++i) {
      if ((i == 3 || i == 4) && m.shape == ShapeKind::rectangle &&
          m.method != &Transducer::farfield_cw) {
        EXPECT_FALSE(finite(after[i])) << m.name << ", point " << i;
      } else {
        EXPECT_EQ(after[i], Complex(3, -4)) << m.name << ", point " << i;
      }
    }
    // The face itself belongs to the front.
    if (!planar || m.method == &Transducer::farfield_cw) continue;
    for (const double z : {0.0, -0.0}) {
      EXPECT_NE(field(s, m.method, {{1e-3, 1e-3, z}})[0], 0.0) << m.name;
    }
  }
}

// A Rayleigh sum at one of its own nodes takes the node's weight in both parts; a radiator at the
// centre of a cell the cell's own integral.
TEST(SpecialPoints, SumsOnTheFaceItself) {
  Situation s = typical(ShapeKind::rectangle);
  s.nodes = 3;  // the middle node is the origin
  const Points origin = {{0, 0, 0}};
  Complex sum = 0;
  const double node_at = std::sqrt(0.6), w[] = {5 / 9.0, 8 / 9.0, 5 / 9.0};
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      const double r = node_at / 2 * std::hypot((i - 1) * s.a, (j - 1) * s.b);
      sum += w[i] * w[j] * (r == 0 ? Complex(1, 1) : std::polar(1 / r, -2 * M_PI / 1.5e-3 * r));
    }
  }
  const std::vector<Complex> node = {Complex(0, 1e9) * (s.a * s.b / 4) * sum};
  {
    const standalone::Capture quiet;
    const ScopedInstructionSet scalar(InstructionSet::scalar);
    EXPECT_LE(difference(field(s, &Transducer::rayleigh_cw, origin), node), 1e-12);
    EXPECT_LE(difference(field(s, &Transducer::rayleigh_cw_sse, origin), node), 8e-3);
  }
  // Against the fast nearfield method; the sum converges as 1/n there.
  s.nodes = 81;
  EXPECT_LE(
      difference(field(s, &Transducer::radiator_cw, origin), field(s, &Transducer::fnm_cw, origin)),
      2e-2);
}

// ---- shells -------------------------------------------------------------------------------------

TEST(Shells, AnApertureWiderThanTheSphereGivesNaNInsideAndNothingOutside) {
  Situation s = typical(ShapeKind::shell);
  s.a = 16e-3;
  for (const Method method : {&Transducer::fnm_cw, &Transducer::fnm_cw_sse,
                              &Transducer::rayleigh_cw, &Transducer::rayleigh_cw_sse}) {
    const auto p = field(s, method, {{0, 0, 7e-3}, {0, 0, 15e-3}, {0, 0, 31e-3}, {0, 0, -1e-3}});
    EXPECT_FALSE(finite(p[0]));
    EXPECT_FALSE(finite(p[1]));
    EXPECT_EQ(p[2], 0.0);
    EXPECT_EQ(p[3], 0.0);
  }
}

}  // namespace
}  // namespace kestrel::test
