#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <span>
#include <vector>

#include "fields/node_rule.h"
#include "fields/points.h"
#include "fields/tile_runner.h"
#include "kestrel/elements.h"
#include "kestrel/grid.h"
#include "kestrel/medium.h"
#include "kestrel/method.h"
#include "kestrel/quadrature.h"
#include "methods/common/element_inputs.h"

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

/// The least and greatest number of nodes that a job used.
struct NodeRange {
  std::atomic<int> least{0}, greatest{0};
  void include(int nodes);
};

/// The rules of one thread, one for each number of nodes.
class Rules {
 public:
  NumericalIntegration& rule(int nodes, NodeRange& used);

 private:
  std::map<int, NumericalIntegration> _rules;
};

/// Adds an element's field with the nodes of a rule, which is filled anew. Fails when the method
/// does. False when it was interrupted.
bool add_element(const Method& method, const Element& element, NumericalIntegration& rule,
                 detail::ElementInputs& in);

/// One thread's own copy of everything that a method touches: on each tile it calls the method for
/// the elements in their order. What they add to is the derived worker's. A tile is halved, and its
/// halves again, where that saves nodes: next to the faces few points want many.
class ElementWorker : public TileWorker {
 public:
  void run(std::size_t tile) final;

 protected:
  ElementWorker(const DirectJob& job, std::size_t tile_size, NodeRange& used);

  /// Before the elements of a tile: its `count` points hear nothing yet.
  virtual void clear(std::size_t count) = 0;
  /// After them: the tile's sums belong to the points from `first` on.
  virtual void collect(std::size_t first, std::size_t count) = 0;

  /// What each element's method works with; the derived worker says what it adds to.
  std::span<detail::ElementInputs> inputs() { return _inputs; }
  std::size_t largest_tile() const { return _tile_size; }

 private:
  void run_part(std::size_t first, std::size_t count);
  /// Whether the part is better computed as two halves, for the sake of one of them.
  bool better_halved(std::size_t first, std::size_t count);
  Box box_of(std::size_t first, std::size_t count) const;

  const DirectJob& _job;
  NodeRange& _used;
  std::size_t _tile_size;
  std::size_t _of_tile = 0;  // points of the tile at hand
  double _added = 0;         // of it, points times elements
  CoordinateGrid _grid;
  Rules _rules;
  std::vector<double> _columns;
  std::vector<detail::ElementInputs> _inputs;
};

/// An element's place and drive, as its method wants them.
detail::ElementInputs place_inputs(const Element& element);

/// Fails when the sound speed or the density is not greater than 0 and finite.
void check_medium(const Medium& medium);

/// Fails when a shape of the array lacks the method, naming the first such element and those of
/// `methods` that its shape has.
void check_methods(std::span<const Element> elements, const Method& method,
                   std::span<const Method> methods);

}  // namespace kestrel::fields
