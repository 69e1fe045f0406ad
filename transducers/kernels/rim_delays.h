#pragma once

#include <vector>

#include "transducers/kernels/delay_list.h"

namespace kestrel {

/// A quadrature rule along half a rim: azimuth psi in (0, pi) measured from the observation point's
/// own. Kept by rising 1 - cos psi, that is, by rising distance.
struct RimRule {
  std::vector<double> versine;  ///< 1 - cos psi, formed without cancellation as 2 sin^2(psi / 2)
  std::vector<double> sine;
  std::vector<double> weight;

  int nodes() const { return static_cast<int>(weight.size()); }

  /// `azimuth(j)` and `weight(j)` for j = 0 .. n-1, in any order.
  template <class Azimuth, class Weight>
  static RimRule make(int n, Azimuth azimuth, Weight weight) {
    RimRule rule;
    for (int j = 0; j < n; ++j) rule.add(azimuth(j), weight(j));
    rule.sort();
    return rule;
  }

 private:
  void add(double azimuth, double w);
  void sort();
};

/// A spherical cap, or a disc as the cap without curvature, with the origin at its apex.
struct Cap {
  double radius;     ///< of the aperture
  double curvature;  ///< 1 / radius of curvature; 0 for a disc
  double slope;      ///< distance of the rim's plane from the centre, over the radius of curvature
  double depth;      ///< height of the rim's plane above the apex

  static Cap disc(double radius) { return {radius, 0, 1, 0}; }
  static Cap shell(double radius, double radius_of_curvature);

  /// Area / (2 pi radius of curvature): the height that the sphere's area fixes.
  double height() const { return depth; }
};

/// Delays of discs, flat rings, shells and spherical rings: an outer cap, less an inner one.
///
/// With dr = r - a, dz = z - depth and the rule's e = 1 - cos psi a rim point lies at
/// R^2 = dr^2 + dz^2 + 2 a r e, and its weight is (rho c a / pi) w X / (X^2 + Y^2) with
/// X = slope (dr - r e) + a dz / Rc and Y = r sin psi: X and Y are the rim point's place along two
/// orthogonal directions seen from the line point-centre, so nothing cancels near the rim. The
/// direct path is the one through the face along that line.
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
  /// A shell or a spherical ring. All radii within the radius of curvature.
  static RimDelays curved(RimRule rule, double outer_radius, double inner_radius,
                          double radius_of_curvature, double density, double soundspeed, Side side);

  Hearing hearing(double x, double y, double z) const override;
  void list(double x, double y, double z, DelayList& list) const override;
  int capacity() const override { return static_cast<int>(_caps.size()) * _rule.nodes() + 1; }
  int longest_run() const override { return _rule.nodes() + 1; }
  double focal_gain() const override;
  double focal_delay() const override { return _radius_of_curvature / _soundspeed; }
  double distance_to_focus(double x, double y, double z) const override;

 private:
  RimDelays(RimRule rule, double density, double soundspeed)
      : _rule(std::move(rule)), _density(density), _soundspeed(soundspeed) {}

  bool is_flat() const { return _radius_of_curvature == 0; }
  double direct_delay(double r, double z) const;

  RimRule _rule;
  std::vector<Cap> _caps;  ///< outer, inner
  double _radius_of_curvature = 0;
  double _density, _soundspeed;
  Side _side = Side::front;
};

}  // namespace kestrel
