#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <span>
#include <vector>

#include "fields/node_rule.h"
#include "fields/reuse_plan.h"
#include "kestrel/elements.h"
#include "kestrel/medium.h"
#include "kestrel/method.h"

namespace kestrel::fields {

/// Some neighbours among an array's elements, and the sphere and the box about a centre that hold
/// them.
struct ElementGroup {
  std::size_t first, last;  ///< of ElementTree::elements
  CartesianCoordinate center = {};
  double radius = 0;
  std::array<double, 3> half = {};  ///< sides of the box
  std::size_t halves[2] = {0, 0};   ///< the groups that it is made of; 0 for a single element
};

/// An array cut in halves again and again, until each element is alone.
class ElementTree {
 public:
  explicit ElementTree(std::span<const Element> elements);
  /// In an order in which those of a group are neighbours.
  std::span<const Element> elements() const { return _elements; }
  /// The first group is the whole array.
  std::span<const ElementGroup> groups() const { return _groups; }

 private:
  void halve(std::size_t group);
  std::vector<Element> _elements;
  std::vector<ElementGroup> _groups;
};

/// What is done with one group in a block of points.
struct GroupWork {
  std::size_t group;
  /// By axis, the numbers of places at which its field is computed and between which it is
  /// interpolated; 0: it is computed at every point.
  std::array<int, 3> nodes;
  double allowed;  ///< error of the interpolation, pascals
};

struct BlockPlan {
  std::vector<GroupWork> work;  ///< what is left out radiates nothing into the block
  double cost = 0;              ///< of all, nanoseconds
  double alone_cost = 0;        ///< if every element were computed at every point
  double direct_cost = 0;       ///< of the elements that are computed at every point
};

/// Decides how the field of an array is made in the blocks of a grid from those of groups of its
/// elements.
///
/// Once the phase e^{-jkR} of a group's centre is taken out, the field of the group is smooth: of
/// the path only its differences from that of the centre are left. At the distance D, a source that
/// lies A beside the centre adds a difference that changes by A/D of a step across. So the field is
/// computed at a few places of a block of points, the Chebyshev nodes along each axis, and
/// interpolated between them.
///
/// Along an axis the error of so many nodes follows from the ellipse on which the continued field
/// is bounded (L. N. Trefethen, "Approximation Theory and Approximation Practice", theorem 8.2):
/// waves of W radians in half the block grow as e^{W sinh l} on the ellipse with the sum e^l of its
/// semi-axes, which must not reach the group's sphere. Blocks in which an element's field jumps,
/// and blocks next to it, have it computed at every point.
class GroupPlanner {
 public:
  /// `rule` gives the nodes of the quadrature; `allowed`: error of the interpolation of all groups
  /// together, pascals.
  GroupPlanner(const ElementTree& tree, const Medium& medium, const Method& method,
               const NodeRule& rule, double allowed);

  BlockPlan plan(const GridPart& block) const;
  /// Halves the part as long as this makes it cheaper, and calls take(block, plan) for what comes
  /// of it, until that says false.
  using Take = std::function<bool(const GridPart& block, const BlockPlan& plan)>;
  void refine(const GridPart& part, const Take& take) const;

  const ElementTree& tree() const { return _tree; }
  double wavenumber() const { return _k; }

 private:
  class Block;
  bool refine(const GridPart& part, const BlockPlan& plan, const Take& take) const;

  const ElementTree& _tree;
  const Method& _method;
  const NodeRule& _rule;
  double _k, _alpha, _allowed;
  struct Source {
    CartesianCoordinate normal;
    double silent_below;  ///< no sound at that height over the element
    double smooth_above;  ///< the field does not jump
    double extent;        ///< radius
    double far = 0;       ///< pressure times distance
    double most = 0;      ///< pressure next to the face and at the focus, pascals
  };
  std::vector<Source> _sources;  ///< by element
};

/// The smallest box around a part's points.
Box box_of(const GridPart& part);
/// The parts that come of cutting the grid's longest side in halves until no part has more points,
/// nor a thousand along a side.
std::vector<GridPart> cut_into_blocks(const CoordinateGrid& grid, std::size_t most_points);

}  // namespace kestrel::fields
