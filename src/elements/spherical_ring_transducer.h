#pragma once

#include "elements/shape.h"

namespace kestrel {

/// An annular zone of a spherical shell: inner and outer aperture radius and geometric focus (the
/// radius of curvature), metres. The outer cap less the inner one; an inner radius of zero or less
/// makes it a full shell.
///
/// Each cap keeps its own region test. With the inner radius below the outer one there is a thin
/// zone, outside the sphere and between the two rim planes, in which only the inner cap's test
/// passes: points there receive minus the inner cap's field alone, which is not the ring's field.
class SphericalRingTransducer : public Shape<ShellRing> {
 public:
  SphericalRingTransducer() = default;
  SphericalRingTransducer(double inner_radius, double outer_radius, double geometric_focus)
      : Shape(ShellRing{inner_radius, outer_radius, geometric_focus}) {}
  SphericalRingTransducer(double inner_radius, double outer_radius, double geometric_focus,
                          double time_delay)
      : Shape(ShellRing{inner_radius, outer_radius, geometric_focus}, time_delay) {}
  SphericalRingTransducer(double inner_radius, double outer_radius, double geometric_focus,
                          double amplitude, double phase)
      : Shape(ShellRing{inner_radius, outer_radius, geometric_focus}, amplitude, phase) {}

  void debug(int level) override;
  void mex_debug(int level) override;

  double inner_radius() const { return _face.inner_radius; }
  double outer_radius() const { return _face.outer_radius; }
  double geometric_focus() const { return _face.geometric_focus; }
};

}  // namespace kestrel
