#include <cmath>
#include <gtest/gtest.h>
#include <limits>

#include "inputs/coordinate_grid.h"

namespace kestrel {
namespace {

void expect_point(CartesianCoordinate point, double x, double y, double z) {
  EXPECT_EQ(point.x, x);
  EXPECT_EQ(point.y, y);
  EXPECT_EQ(point.z, z);
}

TEST(RegularGrid, KeepsEndPointsThatRoundingWouldDrop) {
  struct Case {
    double upper, step;
    int count;
  };
  constexpr Case cases[] = {
      {0.3, 0.1, 4},                        // the quotient is 2.9999999999999996
      {0.06, 0.0003, 201},                  //
      {1.0, 0.3, 4},                        // the upper bound is not a value
      {1.0 - 1e-9, 0.5, 2},                 // short of the bound by more than rounding
      {1.0, 2.0, 1},        {1.0, 0.0, 1},  // no step fits, no step
      {0.0, 0.1, 1},                        // no range
  };
  for (const Case& c : cases) {
    CoordinateGrid grid;
    grid.RegularCoordinateGrid(0.0, c.upper, 0.0, c.upper, 0.0, 0.0, c.step, c.step, c.step);
    EXPECT_EQ(grid.nx(), c.count) << c.upper << " in steps of " << c.step;
    EXPECT_EQ(grid.ny(), c.count);
    EXPECT_EQ(grid.nz(), 1);
    EXPECT_EQ(grid.npoints(), c.count * c.count);
  }
}

// One product and one sum per value: a running sum or a fused form would differ in the last bits.
TEST(RegularGrid, ComputesEveryValueAfresh) {
  CoordinateGrid grid;
  grid.RegularCoordinateGrid(-0.02, 0.02, 0.1, 0.7, 0.0005, 0.06, 0.0002, 0.1, 0.0001);
  ASSERT_EQ(grid.nx(), 201);
  double accumulated = -0.02;
  int differing = 0;
  for (int i = 0; i < grid.nx(); ++i) {
    const volatile double product = i * 0.0002;
    EXPECT_EQ(grid.x_values()[i], product + -0.02);
    differing += accumulated != grid.x_values()[i] ? 1 : 0;
    accumulated += 0.0002;
  }
  EXPECT_GT(differing, 0);  // so this grid can tell
}

TEST(RegularGrid, NumbersPointsWithXFastest) {
  CoordinateGrid grid;
  grid.RegularCoordinateGrid(0, 2, 10, 11, 20, 21, 1, 1, 1);
  int k = 0;
  for (int iz = 0; iz < 2; ++iz) {
    for (int iy = 0; iy < 2; ++iy) {
      for (int ix = 0; ix < 3; ++ix) {
        expect_point(grid.spatial_index_value(k++), ix, 10 + iy, 20 + iz);
      }
    }
  }
  EXPECT_EQ(k, grid.npoints());
}

TEST(RegularGrid, IndicesOutOfRangeGiveTheOrigin) {
  CoordinateGrid volume;
  volume.RegularCoordinateGrid(1, 3, 10, 11, 20, 21, 1, 1, 1);
  for (const int k : {-1, 12, 13, std::numeric_limits<int>::max()}) {
    expect_point(volume.spatial_index_value(k), 0, 0, 0);
  }
  // The count itself is admitted, and a single z value makes it the first point again.
  CoordinateGrid plane;
  plane.RegularCoordinateGrid(1, 3, 10, 11, 20, 20, 1, 1, 1);
  ASSERT_EQ(plane.npoints(), 6);
  expect_point(plane.spatial_index_value(6), 1, 10, 20);
  expect_point(plane.spatial_index_value(7), 0, 0, 0);
}

TEST(PointList, KeepsItsPointsAndTheirBounds) {
  constexpr double coordinates[] = {3, 1, 2, /* y */ -4, -6, -5, /* z */ 9, 9, 9};
  CoordinateGrid grid;
  grid.RegularCoordinateGrid(0, 2, 0, 2, 0, 2, 1, 1, 1);
  EXPECT_TRUE(grid.CoordinateGridVector(coordinates, 3));
  EXPECT_FALSE(grid.regular());
  EXPECT_EQ(grid.npoints(), 3);
  expect_point(grid.spatial_index_value(0), 3, -4, 9);
  expect_point(grid.spatial_index_value(2), 2, -5, 9);
  expect_point(grid.spatial_index_value(3), 0, 0, 0);
  expect_point(grid.spatial_index_value(-1), 0, 0, 0);
  expect_point({grid.xmin(), grid.ymin(), grid.zmin()}, 1, -6, 9);
  expect_point({grid.xmax(), grid.ymax(), grid.zmax()}, 3, -4, 9);
  expect_point({grid.deltax(), grid.deltay(), grid.deltaz()}, 0, 0, 0);
  EXPECT_TRUE(grid.SinglePoint(CartesianCoordinate(1, 2, 3)));
  expect_point(grid.spatial_index_value(0), 1, 2, 3);
  EXPECT_TRUE(grid.SinglePoint(4, 5, 6));
  expect_point(grid.spatial_index_value(0), 4, 5, 6);
  EXPECT_EQ(grid.npoints(), 1);
}

TEST(Coordinates, DistanceAndSign) {
  const CartesianCoordinate point(1, 2, 3);
  EXPECT_EQ(point.calculate_distance(CartesianCoordinate(3, 5, -3)), 7.0);
  EXPECT_EQ(point.calculate_distance(3, 5, -3), 7.0);
  const double above = std::nextafter(1e-10, 1.0);
  EXPECT_EQ(sign(1e-10), 0.0);
  EXPECT_EQ(sign(-1e-10), 0.0);
  EXPECT_EQ(sign(above), 1.0);
  EXPECT_EQ(sign(-above), -1.0);
}

}  // namespace
}  // namespace kestrel
