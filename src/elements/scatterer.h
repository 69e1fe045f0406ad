#pragma once

#include "geometry/cartesian_coordinate.h"

namespace kestrel {

/// A point scatterer: where it is, in metres, and how strongly it scatters.
class Scatterer {
 public:
  Scatterer() = default;
  Scatterer(double x, double y, double z) : Scatterer(x, y, z, 1.0) {}
  Scatterer(double x, double y, double z, double amplitude)
      : Scatterer(CartesianCoordinate(x, y, z), amplitude) {}
  explicit Scatterer(CartesianCoordinate position) : Scatterer(position, 1.0) {}
  Scatterer(CartesianCoordinate position, double amplitude)
      : _position(position), _amplitude(amplitude) {}

  void set_position(double x, double y, double z) { _position = CartesianCoordinate(x, y, z); }
  void set_position(CartesianCoordinate position) { _position = position; }
  void set_amplitude(double amplitude) { _amplitude = amplitude; }

  CartesianCoordinate get_position() const { return _position; }
  double get_amplitude() const { return _amplitude; }

 private:
  CartesianCoordinate _position;
  double _amplitude = 1.0;
};

}  // namespace kestrel
