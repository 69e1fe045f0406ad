#pragma once

#include <atomic>
#include <complex>
#include <span>

#include "fields/element.h"
#include "fields/method.h"
#include "fields/node_rule.h"
#include "fields/points.h"
#include "fields/tile_runner.h"
#include "inputs/medium.h"

namespace kestrel::fields {

/// Every element at every point, by one method.
struct DirectJob {
  std::span<const Element> elements;
  const PointSource& points;
  const Medium& medium;
  const Method& method;
  const NodeRule& rule;
  std::size_t tile = 0;  ///< points per tile; 0: as tile_size says
};

/// Points per tile of a job of so many points. It depends on nothing else, for results must not
/// depend on the number of threads. A tile is large against what a method sets up per call (tables
/// over the nodes, its rule, a handful of point tiles) and small against a grid that several
/// threads share.
std::size_t tile_size(const DirectJob& job);

/// Bytes that add_direct_field works with.
double direct_memory(const DirectJob& job, int threads);

/// The least and greatest number of nodes that a job used.
struct NodeRange {
  std::atomic<int> least{0}, greatest{0};
  void include(int nodes);
};

/// Adds the job's pressures to result[0 .. points-1]: within each tile the elements in their order,
/// so the result is the same, bit for bit, for any number of threads.
void add_direct_field(TileRunner& runner, const DirectJob& job, std::complex<double>* result,
                      NodeRange& used);

/// The same on the calling thread, which must be detached from the host.
void compute_direct_here(const DirectJob& job, std::complex<double>* result);

/// Whether elements of this geometry have the method.
bool has_method(const Geometry& geometry, const Method& method, const Medium& medium);

}  // namespace kestrel::fields
