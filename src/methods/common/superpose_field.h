#pragma once

#include <array>
#include <cmath>
#include <memory>
#include <new>

#include "methods/common/element_inputs.h"
#include "methods/common/field_tile.h"
#include "numerics/interruption.h"

namespace kestrel::detail {

/// The loop that every continuous-wave method shares: turn each grid point into the element's
/// frame, ask the method for its region, collect points of equal region into tiles, evaluate full
/// tiles, add into the planes.
///
/// A method has: `static constexpr int regions`; `int region(x, y, z) const`, -1 for points that
/// receive nothing; `double wide_math_limit() const` (see Propagation); `void evaluate(FieldTile&,
/// int region) const`, which writes the pressures of the tile's points. Several methods follow one
/// another.
///
/// All memory is had before the first point is touched.
template <class Methods>
void superpose_fields(const ElementInputs& in, const Methods& methods) {
  using Method = typename Methods::value_type;
  // Two tiles per region: points too far away for the wide functions keep to themselves, so that no
  // other point's value depends on them.
  constexpr int tiles = 2 * Method::regions;
  const auto tile_of = std::make_unique_for_overwrite<FieldTile[]>(tiles);
  for (int t = 1; t < tiles; t += 2) tile_of[t].within_limit = false;

  for (const Method& method : methods) {
    bool interrupted = false;
    const auto flush = [&](FieldTile& tile, int region) {
      interrupted = interrupted || interruption_asked();
      if (interrupted) {
        tile.count = 0;
        return;
      }
      method.evaluate(tile, region);
      for (int i = 0; i < tile.count; ++i) {
        in.add_pressure(tile.index[i], {tile.re[i], tile.im[i]});
      }
      tile.count = 0;
    };
    const double limit = method.wide_math_limit();
    in.for_each_point([&](int i, const CartesianCoordinate& p) {
      const int region = method.region(p.x, p.y, p.z);
      if (region < 0) return;
      // False for NaN on either side: such points take the standard library's path.
      const bool within_limit = std::abs(p.x) + std::abs(p.y) + std::abs(p.z) <= limit;
      FieldTile& tile = tile_of[2 * region + (within_limit ? 0 : 1)];
      tile.add(i, p.x, p.y, p.z);
      if (tile.full()) flush(tile, region);
    });
    for (int t = 0; t < tiles; ++t) {
      if (tile_of[t].count > 0) flush(tile_of[t], t / 2);
    }
  }
}

/// Builds methods (a container of them) and superposes their fields in turn. When memory runs out
/// the planes are as they were.
template <class Build>
int run_field_methods(const ElementInputs& in, const Build& build) {
  try {
    superpose_fields(in, build());
  } catch (const std::bad_alloc&) {
    return kOutOfMemory;
  }
  return kSuccess;
}

/// The same for one method.
template <class Build>
int run_field_method(const ElementInputs& in, const Build& build) {
  return run_field_methods(in, [&] { return std::array{build()}; });
}

}  // namespace kestrel::detail
