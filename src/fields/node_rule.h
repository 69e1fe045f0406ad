#pragma once

#include "fields/edge_convergence.h"
#include "fields/points.h"
#include "kestrel/elements.h"
#include "kestrel/medium.h"

namespace kestrel::fields {

/// How many quadrature nodes an element's method gets for the points of a tile.
class NodeRule {
 public:
  virtual ~NodeRule() = default;
  virtual int nodes(const Element& element, const Box& tile) const = 0;
  /// Whether parts of a tile may get other numbers.
  virtual bool depends_on_place() const { return false; }
};

/// The same number for all.
class FixedNodes : public NodeRule {
 public:
  explicit FixedNodes(int nodes) : _nodes(nodes) {}
  int nodes(const Element&, const Box&) const override { return _nodes; }

 private:
  int _nodes;
};

/// As many as the fast nearfield method needs for an error of at most `tolerance` times
/// rho c |amplitude| at every point of the tile, as edge_convergence.h estimates the error of its
/// integrals along edges and rims.
///
/// Far from an element near its axis few nodes do; obliquely it is the familiar two nodes a
/// wavelength of the side and a few more. Next to an edge many are needed. Numbers above 64 are
/// rounded up by at most a sixteenth, so that there are not too many different rules to find.
class ToleranceNodes : public NodeRule {
 public:
  /// `most_at_pole`: no more than this next to a pole of a cap's rim, where the field may jump.
  ToleranceNodes(const Medium& medium, double tolerance, int most_at_pole = 1000);
  int nodes(const Element& element, const Box& tile) const override;
  bool depends_on_place() const override { return true; }

 private:
  Wave _wave;
  double _tolerance;
  int _most_at_pole;
};

/// Estimate of the fast nearfield method's error at a point, relative to rho c |amplitude|.
double error_at(const Element& element, const Medium& medium, const CartesianCoordinate& point,
                int nodes);

/// What another rule says for the most demanding of a tile's points, each taken by itself: for few
/// points that lie far apart, whose box would say nothing.
class PointwiseNodes : public NodeRule {
 public:
  PointwiseNodes(const NodeRule& rule, const PointSource& points) : _rule(rule), _points(points) {}
  int nodes(const Element& element, const Box&) const override {
    int most = 1;
    for (std::size_t i = 0; i < _points.size(); ++i) {
      const CartesianCoordinate p = _points[i];
      most = std::max(most, _rule.nodes(element, {p, p}));
    }
    return most;
  }

 private:
  const NodeRule& _rule;
  const PointSource& _points;
};

}  // namespace kestrel::fields
