#pragma once

#include <complex>
#include <vector>

#include "kestrel/geometry.h"

namespace kestrel {

/// A store of complex pressures by point index, with reads that test their bounds. It gets its size
/// once; writes add up, so several sources superpose.
class PressureField {
 public:
  /// `row_length` is the number of points that one step of the first index of `readPoint(i, j)`
  /// passes over.
  explicit PressureField(int row_length = 0) : _row_length(row_length) {}

  void set_row_length(int row_length) { _row_length = row_length; }

  /// Makes room for n zeros. Returns 1, also when there is room already (the size then stays); 0
  /// when the memory cannot be had.
  int preAllocate(int n);

  /// Adds to value i. False, and nothing added, when there is no such value.
  bool setPoint(int i, std::complex<double> pressure);

  /// Value i. Out of bounds: prints a line and returns 0.
  std::complex<double> readPoint(int i) const;
  /// Value row length * i + j, taken to 32 bits. Out of bounds: prints a line and returns 0.
  std::complex<double> readPoint(int i, int j) const;

 private:
  int count() const { return static_cast<int>(_values.size()); }
  bool holds(int i) const { return i >= 0 && i < count(); }

  bool _allocated = false;
  std::vector<std::complex<double>> _values;
  int _row_length;
};

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
