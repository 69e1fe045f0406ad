#include "fields/cost.h"

#include <algorithm>

namespace kestrel::fields {

double cost_per_point(const Method& method, const Geometry& geometry, int nodes) {
  constexpr double kPoint = 15, kTerm = 1.6;
  if (method.effort == Effort::point) return kPoint;
  const double terms = method.effort == Effort::squared
                           ? static_cast<double>(nodes) * nodes
                           : static_cast<double>(shape_facts(geometry).edge_integrals) * nodes;
  return kPoint + kTerm * terms;
}

double cost_per_cluster(const CoordinateGrid& grid) { return grid.regular() ? 4000 : 2000; }

std::size_t affordable_clusters(const CoordinateGrid& grid, std::size_t elements, double work_cost,
                                double share, double least) {
  constexpr double kLeastCost = 4e6, kMost = 100;
  const double affordable =
      std::max(share * work_cost, kLeastCost) /
      (cost_per_cluster(grid) * static_cast<double>(std::max<std::size_t>(elements, 1)));
  return static_cast<std::size_t>(std::clamp(affordable, least, kMost));
}

}  // namespace kestrel::fields
