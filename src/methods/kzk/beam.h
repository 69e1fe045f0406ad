#pragma once

#include <cmath>

namespace kestrel::kzk {

/// A place in the element's own frame: distance r from the axis and depth z from the face (the apex
/// of a shell), in metres.
struct Point {
  double r;
  double z;
};

/// The round source as the parabolic equation sees it.
///
/// The equation is marched in xi = r / effective_radius and sigma = z / length. For the flat piston
/// these are the radius a and the Rayleigh distance k a^2 / 2. For the shell they are the chord
/// from the apex to the rim and the radius of curvature: with the chord in place of the aperture
/// radius the source power and the complex pressure at the focus are exactly those of the uniformly
/// moving cap, which the aperture radius misses by several percent at 20 degrees.
class Beam {
 public:
  /// A flat piston of radius `radius` (m).
  static Beam piston(double radius, double wavenumber) {
    return {radius, 0.0, radius, 0.5 * wavenumber * radius * radius, 1.0, 0.0};
  }

  /// A cap of aperture radius `radius` cut from a sphere of radius `curvature` (m).
  static Beam shell(double radius, double curvature, double wavenumber) {
    // The rim's depth above the apex, in the form that does not cancel for slightly curved caps.
    const double rim_depth =
        radius * radius / (curvature + std::sqrt(curvature * curvature - radius * radius));
    const double chord = std::sqrt(2.0 * curvature * rim_depth);
    return {radius,   curvature, chord, curvature, 0.5 * wavenumber * chord * chord / curvature,
            rim_depth};
  }

  /// False for a radius that is not positive, a cap that is wider than its sphere, or NaN.
  bool valid() const {
    return _radius > 0.0 && _effective_radius > 0.0 && _length > 0.0 && _gain > 0.0 &&
           std::isfinite(_effective_radius) && std::isfinite(_length) && std::isfinite(_gain);
  }

  bool focused() const { return _curvature > 0.0; }
  double effective_radius() const { return _effective_radius; }
  double length() const { return _length; }
  /// The linear focusing gain G of the shell; 1 for the piston, whose scaled equation is the same
  /// with that value.
  double gain() const { return _gain; }
  /// The source's phase is this number times xi^2: a shell's rim is ahead of its apex.
  double focusing() const { return focused() ? _gain : 0.0; }
  /// Half the opening angle of the cap, in radians; 0 for the piston.
  double half_angle() const { return focused() ? std::asin(_radius / _curvature) : 0.0; }

  /// Whether the element has a field at the point: in front of the piston's plane; for the shell
  /// inside its sphere or beyond the plane of its rim, as for the shell's linear methods. False for
  /// NaN.
  bool insonifies(Point p) const {
    if (!(p.r >= 0.0 && p.z >= 0.0 && std::isfinite(p.r) && std::isfinite(p.z))) return false;
    if (!focused()) return true;
    const double from_focus = p.z - _curvature;
    return p.z >= _rim_depth || p.r * p.r + from_focus * from_focus <= _curvature * _curvature;
  }

  /// Where to read the marched solution for an observation point, and the factor to apply.
  struct DepthCorrection {
    double depth;
    double factor;
  };

  /// The parabolic phase is wrong close to a source: it replaces the path from the rim to the axis
  /// by its second-order expansion. The solution is therefore read at the depth where the
  /// *parabolic* path difference between rim and centre equals the *true* one. That removes the
  /// error on the axis, for every depth, and turns the far wave fronts of the piston into spheres.
  DepthCorrection corrected_depth(Point p) const {
    if (!focused()) {
      const double path = std::sqrt(p.z * p.z + _radius * _radius + p.r * p.r);
      return {0.5 * (p.z + path), 1.0};
    }
    const double rim_path = std::sqrt(p.z * p.z + 2.0 * _rim_depth * (_curvature - p.z));
    const double span = rim_path + 2.0 * _curvature - p.z;
    return {_curvature * (rim_path + p.z) / span, 2.0 * _curvature / span};
  }

  /// Mean propagation distance to depth z: the average of the path from the rim and the path from
  /// the apex. It is linear in z: leading_path() + path_rate() * z. Absorption is applied over this
  /// distance.
  double leading_path() const { return 0.25 * _effective_radius * _effective_radius * _bend; }
  double path_rate() const { return 1.0 - leading_path() * _bend; }

 private:
  Beam(double radius, double curvature, double effective_radius, double length, double gain,
       double rim_depth)
      : _radius(radius),
        _curvature(curvature),
        _effective_radius(effective_radius),
        _length(length),
        _gain(gain),
        _rim_depth(rim_depth),
        _bend(curvature > 0.0 ? 1.0 / curvature : 0.0) {}

  double _radius;
  double _curvature;  // 0 for the piston
  double _effective_radius;
  double _length;
  double _gain;
  double _rim_depth;
  double _bend;  // 1 / curvature; 0 for the piston
};

}  // namespace kestrel::kzk
