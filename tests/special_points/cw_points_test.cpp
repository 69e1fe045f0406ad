// Where formulas degenerate: the plane of the face, edges, corners, the axis, rims, the apex, the
// centre of curvature, behind the face. All elements stand untouched at the origin, since a turned
// one rounds such points to either side.

#include <gtest/gtest.h>

#include "kestrel/instruction_set.h"
#include "mex/standalone/standalone_host.h"
#include "tests/support/reference_fields.h"
#include "tests/support/surface_integral.h"

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
      Points points = {{0, 0, rc},     {0, 0, rc + 2e-10},  {1e-3, 0, rc}, {0, 0, 1e-4},
                       {0, 0, rc - h}, {a / 2, 0, rc - h},  {0, 3e-3, rc}, {2 * a, 0, rc - h + in},
                       {0, 0, 2 * rc}, {3e-3, 1e-3, 3 * rc}};
      // Outside the sphere between the two rim planes only the inner cap's region test passes: such
      // a point gets minus the inner cap's field.
      if (ring) points.emplace_back(20e-3, 0, rc - (h + std::sqrt(rc * rc - s.a * s.a)) / 2);
      return points;
    }
  }
  return {};
}

// Finite where a formula could divide by zero, the same on all instruction sets, and as the plain
// evaluation has it.
TEST(SpecialPoints, AreFiniteAndAsThePlainEvaluationHasThem) {
  Situation hemisphere = typical(ShapeKind::shell);  // its rim's plane goes through the centre
  hemisphere.a = hemisphere.b;
  std::vector<Situation> situations = {hemisphere};
  for (const ShapeKind shape : kShapes) situations.push_back(typical(shape));
  for (Situation s : situations) {
    s.profile = 2;
    const Points points = special_points(s);
    for (const double slope : {0.0, 1.0}) {
      s.medium._dBcmMHz = slope;
      for (const CwMethod& m : kCwMethods) {
        if (m.shape != s.shape || m.tolerance > 1e-9) continue;
        const auto expected = reference_field(m, s, points);
        for (const InstructionSet set :
             {InstructionSet::scalar, InstructionSet::baseline, instruction_set()}) {
          const ScopedInstructionSet scope(set);
          const auto actual = field(s, m.method, points);
          for (std::size_t i = 0; i < points.size(); ++i) {
            EXPECT_TRUE(finite(actual[i])) << m.name << ", point " << i;
          }
          // Next to the centre of curvature nearly equal waves are divided by what is left of them.
          EXPECT_LE(difference(actual, expected),
                    set == InstructionSet::scalar && m.tolerance == 0 ? 0 : 1e-9)
              << m.name << ", " << name(set);
        }
      }
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
  const std::vector<Complex> node = {reference::rectangle_rayleigh(s, origin[0])};
  {
    const standalone::Capture quiet;
    const ScopedInstructionSet scalar(InstructionSet::scalar);
    EXPECT_EQ(field(s, &Transducer::rayleigh_cw, origin), node);
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
