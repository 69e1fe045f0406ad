#pragma once

#include "fields/element.h"
#include "fields/points.h"
#include "inputs/medium.h"

namespace kestrel::fields {

/// How many quadrature nodes an element's method gets for the points of a tile.
class NodeRule {
 public:
  virtual ~NodeRule() = default;
  virtual int nodes(const Element& element, const Box& tile) const = 0;
};

/// The same number for all.
class FixedNodes : public NodeRule {
 public:
  explicit FixedNodes(int nodes) : _nodes(nodes) {}
  int nodes(const Element&, const Box&) const override { return _nodes; }

 private:
  int _nodes;
};

}  // namespace kestrel::fields
