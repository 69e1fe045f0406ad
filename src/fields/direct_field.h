#pragma once

#include <complex>

#include "fields/array_tile.h"
#include "fields/tile_runner.h"

namespace kestrel::fields {

/// Points per tile of a job of so many points. It depends on nothing else, for results must not
/// depend on the number of threads. A tile is large against what a method sets up per call (tables
/// over the nodes, its rule, a handful of point tiles) and small against a grid that several
/// threads share.
std::size_t tile_size(const DirectJob& job);

/// Bytes that add_direct_field works with.
double direct_memory(const DirectJob& job, int threads);

/// Adds the job's pressures to result[0 .. points-1]: within each tile the elements in their order,
/// so the result is the same, bit for bit, for any number of threads.
void add_direct_field(TileRunner& runner, const DirectJob& job, std::complex<double>* result,
                      NodeRange& used);

/// The same, the points of a list taken in an order in which those of a tile lie close together,
/// so that few of them want many nodes of the others. Returns the bytes that it works with.
double add_list_field(TileRunner& runner, const DirectJob& job, std::complex<double>* result,
                      NodeRange& used);

/// add_direct_field on the calling thread, which must be detached from the host.
void compute_direct_here(const DirectJob& job, std::complex<double>* result);

}  // namespace kestrel::fields
