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

/// As many as the fast nearfield method needs for an error of at most `tolerance` times
/// rho c |amplitude| at every point of the tile.
///
/// Every integral of that method runs along an edge or a rim, and its integrand is analytic but for
/// the branch points where the path R from the point to the edge, continued to complex places on
/// the edge, vanishes. Gauss's rule with n nodes errs by no more than C M r^(-2n) for any ellipse
/// about the interval, of sum of semi-axes r, on which the integrand stays below M (Davis and
/// Rabinowitz, "Methods of Numerical Integration", section 4.6). Along the imaginary axis the wave
/// grows with the rate k dR/du, so M = e^{kappa (r - 1/r)/2}, kappa being half the interval times
/// the largest rate; on a rim, where R goes with the cosine of an angle, sinh takes the place of
/// the linear growth. And r must stay inside the nearest branch point. The number of nodes is the
/// least that the best ellipse allows:
///
///     2 n ln r >= ln(C / tolerance) + kappa (r - 1/r)/2
///
/// Far from an element near its axis kappa is small; obliquely it is pi times the side in
/// wavelengths, and with r = 3 the rule is the familiar two nodes a wavelength and a few more. Next
/// to an edge the branch point comes close and many are needed, but no more than
/// sqrt(k s / tolerance) times a constant, for an edge of length s: the part of the integrand that
/// the nodes miss there is as small as its distance from the edge. Numbers above 16 are rounded up
/// by at most an eighth, so that there are few different rules to find.
class ToleranceNodes : public NodeRule {
 public:
  ToleranceNodes(const Medium& medium, double tolerance);
  int nodes(const Element& element, const Box& tile) const override;

 private:
  double _wavenumber;
  double _tolerance;
};

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
