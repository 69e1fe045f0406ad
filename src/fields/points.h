#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "kestrel/geometry.h"
#include "kestrel/grid.h"

namespace kestrel::fields {

/// A smallest axis-parallel box around points.
struct Box {
  CartesianCoordinate least, greatest;
};

/// The smallest box that holds two.
inline Box united(const Box& a, const Box& b) {
  return {{std::min(a.least.x, b.least.x), std::min(a.least.y, b.least.y),
           std::min(a.least.z, b.least.z)},
          {std::max(a.greatest.x, b.greatest.x), std::max(a.greatest.y, b.greatest.y),
           std::max(a.greatest.z, b.greatest.z)}};
}

/// Numbered points whose coordinates are made when they are wanted, so that no list of a million
/// points is ever held.
class PointSource {
 public:
  virtual ~PointSource() = default;
  virtual std::size_t size() const = 0;
  virtual CartesianCoordinate operator[](std::size_t index) const = 0;

  /// Coordinates of `count` points from `first` on, all x, then all y, then all z; their box.
  Box copy(std::size_t first, std::size_t count, double* columns) const {
    Box box{(*this)[first], (*this)[first]};
    for (std::size_t i = 0; i < count; ++i) {
      const CartesianCoordinate p = (*this)[first + i];
      columns[i] = p.x;
      columns[count + i] = p.y;
      columns[2 * count + i] = p.z;
      box = united(box, {p, p});
    }
    return box;
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

/// All points of a list in an order in which neighbours lie close together: along Morton's curve
/// through the cube that holds them.
inline std::vector<std::size_t> neighbours_order(const PointSource& points) {
  const std::size_t n = points.size();
  std::vector<std::pair<std::uint64_t, std::size_t>> keys(n);
  if (n == 0) return {};
  Box box{points[0], points[0]};
  for (std::size_t i = 0; i < n; ++i) box = united(box, {points[i], points[i]});
  const double side = std::max({box.greatest.x - box.least.x, box.greatest.y - box.least.y,
                                box.greatest.z - box.least.z, 1e-300});
  constexpr std::uint64_t kBits = 21, kCells = std::uint64_t{1} << kBits;
  const auto cell = [&](double value, double least) {
    const double at = (value - least) / side * static_cast<double>(kCells);
    return at >= 0 ? std::min<std::uint64_t>(kCells - 1,
                                             static_cast<std::uint64_t>(std::min(at, 2e6 + 1e5)))
                   : 0;
  };
  for (std::size_t i = 0; i < n; ++i) {
    const CartesianCoordinate p = points[i];
    const std::uint64_t cells[] = {cell(p.x, box.least.x), cell(p.y, box.least.y),
                                   cell(p.z, box.least.z)};
    std::uint64_t key = 0;
    for (std::uint64_t bit = kBits; bit-- > 0;) {
      for (const std::uint64_t c : cells) key = key << 1 | (c >> bit & 1);
    }
    keys[i] = {key, i};
  }
  std::sort(keys.begin(), keys.end());
  std::vector<std::size_t> order(n);
  for (std::size_t i = 0; i < n; ++i) order[i] = keys[i].second;
  return order;
}

}  // namespace kestrel::fields
