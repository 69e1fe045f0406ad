#pragma once

#include <array>
#include <vector>

#include "methods/transient/delay_list.h"

namespace kestrel {

/// Delays of a rectangular piston of half sides a and b, by the same edge integrals as its
/// continuous-wave field (see "methods/fnm/rectangle_edges.h"): seen from the projection of
/// the point, four sub-rectangles with signed sides, each with two edges. An edge at distance l,
/// where u runs along it, has delays sqrt(z^2 + l^2 + u^2) / c and weights
/// -(rho c / 2 pi) l du / (l^2 + u^2).
class RectangleDelays final : public DelaySource {
 public:
  /// `nodes` and `weights`: a rule on (-1, 1), in any order.
  RectangleDelays(double width, double height, const std::vector<double>& nodes,
                  const std::vector<double>& weights, double density, double soundspeed);

  void set_medium(double density, double soundspeed);

  PointCase point_case(double /*x*/, double /*y*/, double z) const override {
    return z >= 0 ? PointCase::general : PointCase::skipped;
  }
  void list(double x, double y, double z, DelayList& list) const override;
  int capacity() const override { return 8 * nodes() + 1; }
  int longest_run() const override { return nodes() + 1; }

 private:
  int nodes() const { return static_cast<int>(_unit_weight.size()); }

  double _half_width, _half_height;
  double _prefactor, _soundspeed;
  /// The rule on (0, 1): squared nodes, rising.
  std::vector<double> _unit_squared, _unit_weight;
  /// The rule on (-a, a) [0] and (-b, b) [1], rising; and the same seen from the other side.
  struct Side {
    std::vector<double> node, weight;
  };
  std::array<Side, 2> _side, _mirrored;
};

}  // namespace kestrel
