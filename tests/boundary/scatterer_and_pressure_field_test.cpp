#include <complex>
#include <gtest/gtest.h>

#include "kestrel/four_wide.h"
#include "kestrel/pressure_field.h"
#include "mex/standalone/standalone_host.h"

namespace kestrel {
namespace {

using Complex = std::complex<double>;

TEST(PressureField, GetsItsSizeOnceAndAddsUp) {
  PressureField field;
  EXPECT_FALSE(field.setPoint(0, 1.0));
  EXPECT_EQ(field.preAllocate(4), 1);
  EXPECT_EQ(field.preAllocate(10), 1);
  EXPECT_TRUE(field.setPoint(2, Complex(1, 1)));
  EXPECT_TRUE(field.setPoint(2, Complex(1, 1)));
  EXPECT_EQ(field.readPoint(2), Complex(2, 2));
  EXPECT_EQ(field.readPoint(3), Complex(0, 0));
  EXPECT_FALSE(field.setPoint(4, 1.0)) << "the size is still 4";
  EXPECT_FALSE(field.setPoint(-1, 1.0));
}

TEST(PressureField, SaysWhichReadIsOutOfBounds) {
  PressureField field(3);
  ASSERT_EQ(field.preAllocate(6), 1);
  field.setPoint(5, 7.0);
  const standalone::Capture console;
  EXPECT_EQ(field.readPoint(6), 0.0);
  EXPECT_EQ(field.readPoint(-1), 0.0);
  EXPECT_EQ(field.readPoint(1, 2), 7.0);
  EXPECT_EQ(field.readPoint(2, 1), 0.0);
  EXPECT_EQ(field.readPoint(0, -2), 0.0);
  field.set_row_length(4);
  EXPECT_EQ(field.readPoint(1, 1), 7.0);
  field.set_row_length(0x7fffffff);
  EXPECT_EQ(field.readPoint(2, 2), 0.0);  // 2^32: zero when taken to 32 bits
  EXPECT_EQ(console.printed(),
            "index 6 > 6 out of bounds\n"
            "index -1 > 6 out of bounds\n"
            "index (2, 1) = 7 > 6 out of bounds\n"
            "index (0, -2) = -2 > 6 out of bounds\n");
}

TEST(PressureField, MemoryThatCannotBeHad) {
  PressureField field;
  EXPECT_EQ(field.preAllocate(-1), 0);
  EXPECT_FALSE(field.setPoint(0, 1.0));
  EXPECT_EQ(field.preAllocate(2), 1) << "a failure leaves it as it was";
  EXPECT_TRUE(field.setPoint(1, 1.0));
}

TEST(Scatterer, DefaultsAndSetters) {
  EXPECT_EQ(Scatterer().get_amplitude(), 1.0);
  EXPECT_EQ(Scatterer(CartesianCoordinate(1, 2, 3)).get_amplitude(), 1.0);
  Scatterer s(1, 2, 3, 4);
  EXPECT_EQ(s.get_position().calculate_distance(1, 2, 3), 0.0);
  EXPECT_EQ(s.get_amplitude(), 4.0);
  s.set_position(CartesianCoordinate(4, 5, 6));
  s.set_amplitude(-2);
  EXPECT_EQ(s.get_position().calculate_distance(4, 5, 6), 0.0);
  s.set_position(7, 8, 9);
  EXPECT_EQ(s.get_position().calculate_distance(7, 8, 9), 0.0);
  EXPECT_EQ(s.get_amplitude(), -2.0);
}

TEST(DebugM128, PrintsLaneZeroFirst) {
  const standalone::Capture console;
  debug_m128(float4::of(1, -2.5f, 0, 1e-3f));
  EXPECT_EQ(console.printed(), "<1.000000e+00 -2.500000e+00 0.000000e+00 1.000000e-03>\n");
}

}  // namespace
}  // namespace kestrel
