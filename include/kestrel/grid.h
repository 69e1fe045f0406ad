#pragma once

#include <span>
#include <utility>

#include "kestrel/error.h"
#include "kestrel/geometry.h"
#include "kestrel/services.h"

namespace kestrel {

/// The observation points: a regular grid, or a list of arbitrary points. All lengths in metres.
///
/// Points are numbered with x varying fastest, then y, then z, which is the host's own element
/// order for an nx-by-ny-by-nz array; pressure planes and results share this order.
///
/// An operation that fails throws kestrel::Error and leaves the grid as it was.
class CoordinateGrid {
 public:
  /// A grid without points.
  CoordinateGrid() = default;
  CoordinateGrid(const CoordinateGrid&) = delete;
  CoordinateGrid& operator=(const CoordinateGrid&) = delete;
  /// What is moved from is as made by the default constructor.
  CoordinateGrid(CoordinateGrid&& other) noexcept { swap(other); }
  CoordinateGrid& operator=(CoordinateGrid&& other) noexcept {
    CoordinateGrid(std::move(other)).swap(*this);
    return *this;
  }

  /// Reads the structure made by `set_coordinate_grid`: the field `coordinates` (m-by-3, a point
  /// list; an empty one has no points), or else `xmin`, `xmax`, `ymin`, `ymax`, `zmin`, `zmax` and
  /// `delta` (three steps). Only the first entry of a structure array counts. Returns true.
  template <HostArray T>
  bool allocate_memory_and_set_values(T const** structure);

  /// A regular grid. Along x the values are i * deltax + xmin, up to xmax; a step of zero, or equal
  /// bounds, give the single value xmin; y and z alike. Fails for a negative step or range and when
  /// an axis, or the whole grid, has more than 2147483647 points. Returns true.
  bool RegularCoordinateGrid(double xmin, double xmax, double ymin, double ymax, double zmin,
                             double zmax, double deltax, double deltay, double deltaz);

  /// A list of m points from an m-by-3 column-major array (all x, then all y, then all z). The
  /// counts per axis have no meaning for a list and stay what they were. Fails when m is negative.
  /// Returns true.
  bool CoordinateGridVector(double const* coordinates, int m);

  /// A list of one point. Returns true.
  bool SinglePoint(CartesianCoordinate point);
  bool SinglePoint(double x, double y, double z);

  /// Point number k. An index out of range gives the origin. On a regular grid the index npoints()
  /// is still taken apart into axis indices: with a single z value it gives the first point, not
  /// the origin.
  CartesianCoordinate spatial_index_value(int const& k) const;

  /// visit(k, point) for k = 0 .. npoints()-1: what spatial_index_value gives, without its
  /// divisions.
  template <class Visit>
  void for_each_point(const Visit& visit) const {
    int k = 0;
    if (!_regular) {
      for (; k < _npoints; ++k) {
        const auto i = static_cast<std::size_t>(k);
        visit(k, CartesianCoordinate(_x_values[i], _y_values[i], _z_values[i]));
      }
      return;
    }
    for (const double z : _z_values) {
      for (const double y : _y_values) {
        for (const double x : _x_values) visit(k++, CartesianCoordinate(x, y, z));
      }
    }
  }

  int npoints() const { return _npoints; }
  /// Numbers of values along the axes of a regular grid.
  int nx() const { return _nx; }
  int ny() const { return _ny; }
  int nz() const { return _nz; }
  /// False for a list of points.
  bool regular() const { return _regular; }

  double xmin() const { return _xmin; }
  double xmax() const { return _xmax; }
  double ymin() const { return _ymin; }
  double ymax() const { return _ymax; }
  double zmin() const { return _zmin; }
  double zmax() const { return _zmax; }
  /// Steps of a regular grid; zero for a list.
  double deltax() const { return _deltax; }
  double deltay() const { return _deltay; }
  double deltaz() const { return _deltaz; }

  /// Regular grid: nx(), ny() and nz() values. List: npoints() values each. Null
  /// before any points are set.
  const double* x_values() const { return _x_values.data(); }
  const double* y_values() const { return _y_values.data(); }
  const double* z_values() const { return _z_values.data(); }

 private:
  void swap(CoordinateGrid& other) noexcept {
    std::swap(_xmin, other._xmin);
    std::swap(_xmax, other._xmax);
    std::swap(_ymin, other._ymin);
    std::swap(_ymax, other._ymax);
    std::swap(_zmin, other._zmin);
    std::swap(_zmax, other._zmax);
    std::swap(_deltax, other._deltax);
    std::swap(_deltay, other._deltay);
    std::swap(_deltaz, other._deltaz);
    std::swap(_npoints, other._npoints);
    std::swap(_nx, other._nx);
    std::swap(_ny, other._ny);
    std::swap(_nz, other._nz);
    std::swap(_regular, other._regular);
    std::swap(_x_values, other._x_values);
    std::swap(_y_values, other._y_values);
    std::swap(_z_values, other._z_values);
  }

  double _xmin = 0.0, _xmax = 0.0;
  double _ymin = 0.0, _ymax = 0.0;
  double _zmin = 0.0, _zmax = 0.0;
  double _deltax = 0.0, _deltay = 0.0, _deltaz = 0.0;
  int _npoints = 0;
  int _nx = 0, _ny = 0, _nz = 0;
  bool _regular = false;
  services::Array<double> _x_values;
  services::Array<double> _y_values;
  services::Array<double> _z_values;
};

/// Values along an axis: from, from + step and so on, up to `to`, metres. A step of 0, or equal
/// bounds, give the single value `from`.
struct AxisRange {
  double from = 0, to = 0, step = 0;
};
struct GridRanges {
  AxisRange x = {}, y = {}, z = {};
};

/// A regular grid. Fails as CoordinateGrid::RegularCoordinateGrid does.
CoordinateGrid regular_grid(const GridRanges& ranges);
/// A list of points.
CoordinateGrid point_list(std::span<const CartesianCoordinate> points);

}  // namespace kestrel
