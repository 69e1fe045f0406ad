#pragma once

#include <optional>
#include <utility>
#include <vector>

#include "methods/fnm/cap_fnm.h"
#include "methods/transient/delay_list.h"

namespace kestrel {

/// A quadrature rule along half a rim: azimuth psi in (0, pi) measured from the observation point's
/// own. Kept by rising 1 - cos psi, that is, by rising distance.
struct RimRule {
  std::vector<double> versine;  ///< 1 - cos psi, formed without cancellation as 2 sin^2(psi / 2)
  std::vector<double> sine;
  std::vector<double> weight;

  /// Nodes in any order.
  RimRule(const std::vector<double>& azimuths, const std::vector<double>& weights);

  int nodes() const { return static_cast<int>(weight.size()); }
};

/// A circular rim: the edge of a spherical cap with its apex at the origin, or of a disc, which is
/// the cap without curvature.
struct Rim {
  double radius;     ///< a
  double curvature;  ///< 1 / R_c
  double slope;      ///< h / R_c, h the distance of the rim's plane from the centre
  double depth;      ///< R_c - h, the height of the rim's plane over the apex

  static Rim of_disc(double radius) { return {radius, 0, 1, 0}; }
  static Rim of_cap(const CapGeometry& cap) {
    return {cap.radius, 1 / cap.curvature, cap.rim_depth / cap.curvature,
            cap.radius * cap.radius / (cap.curvature + cap.rim_depth)};
  }
};

/// Delays of discs, flat rings, shells and spherical rings: an outer cap, less an inner one.
///
/// With dr = r - a, dz = z - depth and the rule's e = 1 - cos psi a rim point lies at
/// R^2 = dr^2 + dz^2 + 2 a r e, and its weight is (rho c a / pi) w X / (X^2 + Y^2) with
/// X = slope (dr - r e) + a dz / Rc and Y = r sin psi: X and Y are the rim point's place along two
/// orthogonal directions seen from the line point-centre, so nothing cancels near the rim, as it
/// does in the terms of the continuous-wave methods. The direct path is the one through the face
/// along that line.
class RimDelays final : public DelaySource {
 public:
  /// Which points are computed.
  enum class Side {
    front,   ///< discs: z >= 0; caps: before the rim's plane or inside the sphere
    behind,  ///< caps: exactly the other points
  };

  /// A disc or a flat ring; no inner radius (<= 0) means no hole.
  static RimDelays flat(RimRule rule, double outer_radius, double inner_radius, double density,
                        double soundspeed);
  /// A shell or a spherical ring, both radii at most the radius of curvature.
  static RimDelays curved(RimRule rule, const CapGeometry& outer, double inner_radius,
                          double density, double soundspeed, Side side = Side::front);

  PointCase point_case(double x, double y, double z) const override;
  void list(double x, double y, double z, DelayList& list) const override;
  int capacity() const override { return static_cast<int>(_rims.size()) * _rule.nodes() + 1; }
  int longest_run() const override { return _rule.nodes() + 1; }
  double focal_gain() const override;
  double focal_delay() const override { return _sphere ? _sphere->curvature / _soundspeed : 0; }
  double distance_to_focus(double x, double y, double z) const override;

 private:
  RimDelays(RimRule rule, double density, double soundspeed)
      : _rule(std::move(rule)), _density(density), _soundspeed(soundspeed) {}

  double direct_delay(double r, double z) const;

  RimRule _rule;
  std::vector<Rim> _rims;  ///< outer, inner
  std::optional<CapGeometry>
      _sphere;  ///< the outer cap, which decides what is behind; none if flat
  double _density, _soundspeed;
  Side _side = Side::front;
};

/// The disc's delays in single precision, four nodes at a time: the same formulas in float lanes,
/// kept as the doubles that they round to. Nodes are filled up to a multiple of four with weight 0.
class FourWideDiscDelays final : public DelaySource {
 public:
  FourWideDiscDelays(const RimRule& rule, double radius, double density, double soundspeed);

  PointCase point_case(double /*x*/, double /*y*/, double z) const override {
    return z >= 0 ? PointCase::general : PointCase::skipped;
  }
  void list(double x, double y, double z, DelayList& list) const override;
  int capacity() const override { return static_cast<int>(_weight.size()) + 1; }
  int longest_run() const override { return capacity(); }

 private:
  double _radius;
  float _inverse_soundspeed;
  std::vector<float> _versine, _spread, _weight;  ///< e; 2 a e; (rho c a / pi) w
};

}  // namespace kestrel
