#pragma once

#include <complex>
#include <vector>

#include "fields/direct_field.h"

namespace kestrel::fields {

/// `count` different indices below `size`, or all of them, ascending, from a fixed seed.
std::vector<std::size_t> draw_points(std::size_t size, std::size_t count);

/// The job's field at some of its points, in their order. Points are computed in small groups, each
/// with the nodes of its most demanding point, so like points should be neighbours.
std::vector<std::complex<double>> compute_points(TileRunner& runner, const DirectJob& job,
                                                 const std::vector<std::size_t>& chosen);

}  // namespace kestrel::fields
