#pragma once

#include <array>
#include <complex>
#include <span>
#include <vector>

#include "fields/direct_field.h"

namespace kestrel::fields {

/// The field at a sample of a grid's points with far more nodes than a job uses, to judge the job
/// by: how large its error and the field's peak are.
///
/// Points come in clusters of neighbours, which are computed as cheaply as a tile. Half of the
/// clusters are drawn at random. The other half are those where an element's quadrature is worst,
/// among random ones, those next to an edge and, on a regular grid, the points nearest to places on
/// the edges of some elements.
class ErrorSample {
 public:
  /// `clusters`: how many at most. `nodes`: for which the quadrature is judged. `job.rule` gives
  /// the nodes of the converged field, whose values are divided by `factor`.
  ErrorSample(TileRunner& runner, const DirectJob& job, const CoordinateGrid& grid,
              std::size_t clusters, int nodes, std::complex<double> factor);

  /// Adds clusters uphill from where the sample's field is largest.
  void climb_to_peak(int rounds);
  /// Whether it holds every point.
  bool complete() const;

  /// The largest magnitude in the sample.
  double peak() const;

  /// The largest difference from the field with another number of nodes.
  double error(const NodeRule& rule) const;
  /// The largest difference from a computed field. Goes uphill from the worst points of a regular
  /// grid for so many rounds.
  double error(const std::complex<double>* field, int rounds);

 private:
  using Cluster = std::vector<std::size_t>;

  /// Where an element stands.
  struct Frame {
    CartesianCoordinate center;
    std::array<CartesianCoordinate, 3> axis;  ///< the grid's axes, as the element sees them
    explicit Frame(const Element& element);
    CartesianCoordinate in(const CartesianCoordinate& point) const;
    CartesianCoordinate out(const CartesianCoordinate& place) const;
  };

  /// A point where an element's quadrature may be bad.
  struct Candidate {
    std::size_t point, element;
  };

  std::vector<Cluster> choose(std::size_t clusters, int nodes) const;
  std::size_t cluster_size() const;
  Cluster cluster_at(std::size_t point) const;
  /// Clusters in all directions of a regular grid, so many points away.
  std::vector<Cluster> around(std::size_t point, double distance) const;
  std::size_t nearest_point(const CartesianCoordinate& place) const;
  double hardness(const Candidate& candidate, int nodes) const;
  void add_edge_points(std::vector<Candidate>& candidates) const;
  void add_nearest_to_edges(std::vector<Candidate>& candidates, std::size_t count) const;
  std::vector<std::complex<double>> compute(const std::vector<Cluster>& clusters,
                                            const NodeRule& rule) const;
  void add(const std::vector<Cluster>& clusters);

  TileRunner& _runner;
  DirectJob _job;
  const CoordinateGrid& _grid;
  std::complex<double> _factor;
  std::vector<Frame> _frames;  ///< by element
  std::vector<Cluster> _clusters;
  std::vector<std::complex<double>> _reference;  ///< of the clusters' points, in their order
};

}  // namespace kestrel::fields
