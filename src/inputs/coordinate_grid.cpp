#include <algorithm>
#include <cstddef>
#include <limits>
#include <tuple>
#include <utility>
#include <vector>

#include "inputs/sample_count.h"
#include "kestrel/error.h"
#include "kestrel/grid.h"
#include "kestrel/services.h"

namespace kestrel {

namespace {

/// Number of values along one axis, after its checks. `axis` is 'x', 'y' or 'z'.
int checked_count(char axis, double lower, double upper, double step) {
  if (step < 0) fail("delta%c must be greater than or equal to 0.\n", axis);
  if (upper - lower < 0) {
    fail("%cmax - %cmin must be greater than or equal to 0.\n", axis, axis);
  }
  if (single_value(lower, upper, step)) return 1;
  const int steps = whole_steps(lower, upper, step);
  if (steps < 0 || steps == std::numeric_limits<int>::max()) {
    fail(
        "Computed number of %c coordinate values is less than 1.\n  Check values of %cmin, %cmax, "
        "and delta%c.\n",
        axis, axis, axis, axis);
  }
  return steps + 1;
}

services::Array<double> axis_values(int count, double lower, double step) {
  services::Array<double> values(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    values[static_cast<std::size_t>(i)] = static_cast<double>(i) * step + lower;
  }
  return values;
}

services::Array<double> copied(const double* values, std::size_t count) {
  services::Array<double> copy(count);
  std::copy_n(values, count, copy.begin());
  return copy;
}

/// Smallest and largest of the values; zeros when there are none. NaN compares with nothing: it
/// counts only in the first place, and there it stays.
std::pair<double, double> bounds(const services::Array<double>& values) {
  if (values.empty()) return {0.0, 0.0};
  double least = values[0], greatest = values[0];
  for (const double value : values) {
    if (value < least) least = value;
    if (value > greatest) greatest = value;
  }
  return {least, greatest};
}

}  // namespace

bool CoordinateGrid::RegularCoordinateGrid(double xmin, double xmax, double ymin, double ymax,
                                           double zmin, double zmax, double deltax, double deltay,
                                           double deltaz) {
  const int nx = checked_count('x', xmin, xmax, deltax);
  const int ny = checked_count('y', ymin, ymax, deltay);
  const int nz = checked_count('z', zmin, zmax, deltaz);
  const long long most = std::numeric_limits<int>::max();
  const long long plane = static_cast<long long>(nx) * ny;
  if (plane > most || plane * nz > most) {
    fail(
        "The coordinate grid has %d by %d by %d points, more than 2147483647.\n  Check values of "
        "deltax, deltay, and deltaz.\n",
        nx, ny, nz);
  }
  services::Array<double> x_values = axis_values(nx, xmin, deltax);
  services::Array<double> y_values = axis_values(ny, ymin, deltay);
  services::Array<double> z_values = axis_values(nz, zmin, deltaz);

  _xmin = xmin;
  _xmax = xmax;
  _ymin = ymin;
  _ymax = ymax;
  _zmin = zmin;
  _zmax = zmax;
  _deltax = deltax;
  _deltay = deltay;
  _deltaz = deltaz;
  _npoints = nx * ny * nz;
  _nx = nx;
  _ny = ny;
  _nz = nz;
  _regular = true;
  _x_values = std::move(x_values);
  _y_values = std::move(y_values);
  _z_values = std::move(z_values);
  return true;
}

bool CoordinateGrid::CoordinateGridVector(double const* coordinates, int m) {
  if (m < 0) fail("The number of points in the coordinate list is %d.\n", m);
  const std::size_t count = static_cast<std::size_t>(m);
  services::Array<double> x_values = copied(coordinates, count);
  services::Array<double> y_values = copied(coordinates + count, count);
  services::Array<double> z_values = copied(coordinates + 2 * count, count);

  std::tie(_xmin, _xmax) = bounds(x_values);
  std::tie(_ymin, _ymax) = bounds(y_values);
  std::tie(_zmin, _zmax) = bounds(z_values);
  _deltax = _deltay = _deltaz = 0.0;
  _npoints = m;
  _regular = false;
  _x_values = std::move(x_values);
  _y_values = std::move(y_values);
  _z_values = std::move(z_values);
  return true;
}

bool CoordinateGrid::SinglePoint(CartesianCoordinate point) {
  return SinglePoint(point.x, point.y, point.z);
}

bool CoordinateGrid::SinglePoint(double x, double y, double z) {
  const double point[] = {x, y, z};
  return CoordinateGridVector(point, 1);
}

CartesianCoordinate CoordinateGrid::spatial_index_value(int const& k) const {
  if (k < 0 || k > _npoints) return {};  // the count itself is admitted; see the header
  if (!_regular) {
    if (k == _npoints) return {};
    const auto i = static_cast<std::size_t>(k);
    return {_x_values[i], _y_values[i], _z_values[i]};
  }
  const int plane = _nx * _ny;
  const int rest = k % plane;
  const int ix = _nx == 1 ? 0 : rest % _nx;
  const int iy = _ny == 1 ? 0 : rest / _nx;
  const int iz = _nz == 1 ? 0 : k / plane;
  if (iz >= _nz) return {};
  return {_x_values[static_cast<std::size_t>(ix)], _y_values[static_cast<std::size_t>(iy)],
          _z_values[static_cast<std::size_t>(iz)]};
}

CoordinateGrid regular_grid(const GridRanges& ranges) {
  const auto& [x, y, z] = ranges;
  CoordinateGrid grid;
  grid.RegularCoordinateGrid(x.from, x.to, y.from, y.to, z.from, z.to, x.step, y.step, z.step);
  return grid;
}

CoordinateGrid point_list(std::span<const CartesianCoordinate> points) {
  if (points.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
    fail("The list has %zu points, more than 2147483647.", points.size());
  }
  std::vector<double> columns(3 * points.size());
  for (std::size_t i = 0; i < points.size(); ++i) {
    columns[i] = points[i].x;
    columns[points.size() + i] = points[i].y;
    columns[2 * points.size() + i] = points[i].z;
  }
  CoordinateGrid grid;
  grid.CoordinateGridVector(columns.data(), static_cast<int>(points.size()));
  return grid;
}

}  // namespace kestrel
