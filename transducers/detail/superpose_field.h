#pragma once

#include <new>
#include <vector>

#include "transducers/kernels/field_tile.h"
#include "transducers/transducer.h"

namespace kestrel::detail {

/// The loop that every continuous-wave method shares: turn each grid point into the element's frame,
/// ask the method for its region, collect points of equal region into tiles, evaluate full tiles,
/// add into the planes.
///
/// A method has: `static constexpr int regions`; `int region(x, y, z) const`, -1 for points that
/// receive nothing; `double reach() const` (see Propagation); `void evaluate(FieldTile&, int region)
/// const`, which writes the pressures of the tile's points.
template <class Method>
void superpose_field(Transducer& element, const Method& method) {
  const CoordinateGrid& grid = *element.global_coordinate_grid();
  element.InitializeRotationMatrix();
  const double reach = method.reach();
  std::vector<FieldTile> tiles(Method::regions);

  const auto flush = [&](FieldTile& tile, int region) {
    method.evaluate(tile, region);
    for (int i = 0; i < tile.count; ++i) {
      element.superpose_complex_pressure(tile.index[i], {tile.re[i], tile.im[i]});
    }
    tile.clear();
  };

  for (int i = 0; i < grid.npoints(); ++i) {
    const CartesianCoordinate p = element.rotateTranslate(grid.spatial_index_value(i));
    const int region = method.region(p.x, p.y, p.z);
    if (region < 0) continue;
    FieldTile& tile = tiles[static_cast<std::size_t>(region)];
    tile.add(i, p.x, p.y, p.z, reach);
    if (tile.full()) flush(tile, region);
  }
  for (int region = 0; region < Method::regions; ++region) {
    FieldTile& tile = tiles[static_cast<std::size_t>(region)];
    if (tile.count > 0) flush(tile, region);
  }
}

/// Builds a method and superposes its field. All memory is had before the first point is touched,
/// so when it runs out the planes are as they were.
template <class Build>
int run_field_method(Transducer& element, const Build& build) {
  try {
    superpose_field(element, build());
  } catch (const std::bad_alloc&) {
    return kOutOfMemory;
  }
  return kSuccess;
}

}  // namespace kestrel::detail
