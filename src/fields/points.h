#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include "geometry/cartesian_coordinate.h"
#include "inputs/coordinate_grid.h"

namespace kestrel::fields {

/// A smallest axis-parallel box around points.
struct Box {
  CartesianCoordinate least, greatest;
};

/// Numbered points whose coordinates are made when they are wanted, so that no list of a million
/// points is ever held.
class PointSource {
 public:
  virtual ~PointSource() = default;
  virtual std::size_t size() const = 0;
  virtual CartesianCoordinate operator[](std::size_t index) const = 0;

  /// Coordinates of `count` points from `first` on, all x, then all y, then all z; their box.
  Box copy(std::size_t first, std::size_t count, double* columns) const {
    CartesianCoordinate least = (*this)[first], greatest = least;
    for (std::size_t i = 0; i < count; ++i) {
      const CartesianCoordinate p = (*this)[first + i];
      columns[i] = p.x;
      columns[count + i] = p.y;
      columns[2 * count + i] = p.z;
      least = {std::min(least.x, p.x), std::min(least.y, p.y), std::min(least.z, p.z)};
      greatest = {std::max(greatest.x, p.x), std::max(greatest.y, p.y), std::max(greatest.z, p.z)};
    }
    return {least, greatest};
  }
};

/// All points of a grid.
class GridPoints : public PointSource {
 public:
  explicit GridPoints(const CoordinateGrid& grid) : _grid(grid) {}
  std::size_t size() const override { return static_cast<std::size_t>(_grid.npoints()); }
  CartesianCoordinate operator[](std::size_t index) const override {
    return _grid.spatial_index_value(static_cast<int>(index));
  }

 private:
  const CoordinateGrid& _grid;
};

/// Some points of another source.
class ChosenPoints : public PointSource {
 public:
  ChosenPoints(const PointSource& points, const std::vector<std::size_t>& chosen)
      : _points(points), _chosen(chosen) {}
  std::size_t size() const override { return _chosen.size(); }
  CartesianCoordinate operator[](std::size_t index) const override {
    return _points[_chosen[index]];
  }

 private:
  const PointSource& _points;
  const std::vector<std::size_t>& _chosen;
};

}  // namespace kestrel::fields
