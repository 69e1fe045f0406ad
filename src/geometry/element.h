#pragma once

#include <complex>
#include <cstddef>

#include "geometry/cartesian_coordinate.h"
#include "geometry/rotation.h"
#include "geometry/shapes.h"

namespace kestrel {

/// One element of an array: its shape, its place and its drive. A plain value.
struct Element {
  Geometry geometry;
  CartesianCoordinate center = {};  ///< metres
  CartesianCoordinate euler = {};   ///< radians, see Rotation
  double amplitude = 1;             ///< of the normal velocity of the face, m/s
  double phase = 0;                 ///< of that velocity, radians; time runs as e^{+jwt}
  double time_delay = 0;            ///< of pulses, seconds
  int apodization_index = 0;        ///< radial velocity profile of a circle, 0 (uniform) to 4

  /// amplitude e^{j phase}, as every calculation method takes it.
  std::complex<double> weight() const {
    return {amplitude * std::cos(phase), amplitude * std::sin(phase)};
  }
};

/// Fails when a number of the element is not finite or its sizes cannot be. The text names the
/// element by `number`, counted from 1.
void check_element(const Element& element, std::size_t number);

/// Radius about the local origin of a sphere that holds the whole element.
double extent(const Geometry& geometry);

}  // namespace kestrel
