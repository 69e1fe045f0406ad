#pragma once

/// Arrays of equal elements in the usual layouts. Every array stands in a frame of its own, with
/// its middle at the origin and radiating into z > 0; a Placement moves and turns it as a whole.
/// All lengths are metres, all angles radians. What cannot be is refused with kestrel::Error, whose
/// text names the argument.

#include <array>
#include <limits>
#include <span>
#include <vector>

#include "geometry/element.h"

namespace kestrel {

/// Where an array stands, and the drive of its elements.
struct Placement {
  CartesianCoordinate center = {};
  CartesianCoordinate euler = {};         ///< turns positions and faces, see Rotation
  std::vector<double> amplitude = {1.0};  ///< one for all elements or one each, m/s
  std::vector<double> phase = {0.0};      ///< likewise
};

/// Moves and turns `array` as a whole and sets its weights.
std::vector<Element> place(std::vector<Element> array, const Placement& placement);

/// A row of `n` rectangles along x, centres `pitch` apart. Element 0 has the smallest x. Fails for
/// elements that would overlap.
std::vector<Element> linear_array(int n, const Rectangle& element, double pitch,
                                  const Placement& placement = {});

/// A lattice of n[0] by n[1] rectangles in the plane z = 0, centres pitch[0] apart along x and
/// pitch[1] along y; the index along x runs fastest.
std::vector<Element> planar_array(std::array<int, 2> n, const Rectangle& element,
                                  std::array<double, 2> pitch, const Placement& placement = {});

/// A row of `n` rectangles that touch a cylinder about an axis parallel to y, centres `pitch` apart
/// along the arc. The middle of the arc is at the origin. radius > 0: hollow, the axis is at
/// z = radius, in front of the array; radius < 0: bulging, as abdominal probes are.
std::vector<Element> curved_array(int n, const Rectangle& element, double pitch, double radius,
                                  const Placement& placement = {});

/// Concentric rings between inner_radii[i] and outer_radii[i]; one whose inner radius is 0 is a
/// disc. With a finite `rad_curvature` they are cut from a bowl of that radius with its apex at the
/// origin.
std::vector<Element> annular_array(std::span<const double> inner_radii,
                                   std::span<const double> outer_radii,
                                   double rad_curvature = std::numeric_limits<double>::infinity(),
                                   const Placement& placement = {});

/// What a bowl of discs is made of.
struct Bowl {
  double element_radius = 0;
  double aperture_radius = 0;  ///< no part of an element is farther from the z axis
  double rad_curvature = 0;    ///< of the sphere on which the centres lie
  double inner_radius = 0;     ///< of an opening around the axis
  int apodization_index = 0;   ///< of every disc
};

/// `n` flat discs on a sphere with its lowest point at the origin, all facing its centre. The
/// centres follow a spiral that turns by the golden angle from element to element and rises so that
/// every element has the same area of the sphere (Vogel 1979, doi:10.1016/0025-5564(79)90080-4):
/// it has no rows, which keeps grating lobes low. Fails when the discs do not fit, naming the
/// largest element radius that does.
std::vector<Element> bowl_array(int n, const Bowl& bowl, const Placement& placement = {});

/// Copies of `prototype` at `positions`, each radiating along its `normal`, which need not have
/// length 1. The prototype's own angles turn it before; its centre is not used.
std::vector<Element> from_positions(const Element& prototype,
                                    std::span<const CartesianCoordinate> positions,
                                    std::span<const CartesianCoordinate> normals);

}  // namespace kestrel
