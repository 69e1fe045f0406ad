#pragma once

#include <complex>
#include <cstddef>

#include "kestrel/geometry.h"
#include "kestrel/grid.h"
#include "kestrel/medium.h"
#include "kestrel/quadrature.h"
#include "kestrel/time_axis.h"
#include "kestrel/transducer.h"

namespace kestrel {

class ExcitationFunction;

namespace detail {

/// Everything that a method of an element works with, besides the sizes of its shape. The methods
/// are free functions of the shape and of this.
struct ElementInputs {
  // Where the element is and how it is driven.
  CartesianCoordinate center;
  Rotation rotation;
  double amplitude = 1;
  std::complex<double> weight;
  double time_delay = 0;
  int apodization_index = 0;

  // What it radiates into. Null where it was not given.
  const CoordinateGrid* grid = nullptr;
  const Medium* medium = nullptr;
  NumericalIntegration* rule = nullptr;  ///< methods of flat round shapes refill it over (0, pi)
  const TimeSamples* time = nullptr;
  const ExcitationFunction* excitation = nullptr;

  // What the methods add to: planes with one entry per grid point, or an array with entry
  // p + i * npoints for point p and sample i.
  double* real_plane = nullptr;
  double* imaginary_plane = nullptr;
  double* traces = nullptr;

  /// Grid, medium, rule and planes, which a grid without points does not need.
  bool has_wave_inputs() const {
    return grid != nullptr && medium != nullptr && rule != nullptr &&
           (grid->npoints() == 0 || (real_plane != nullptr && imaginary_plane != nullptr));
  }
  /// Grid, medium, rule, time axis, excitation and array, likewise.
  bool has_transient_inputs() const {
    return grid != nullptr && medium != nullptr && rule != nullptr && time != nullptr &&
           excitation != nullptr && has_traces();
  }
  /// The array, where there is anything to add.
  bool has_traces() const { return traces != nullptr || grid->npoints() == 0 || time->nt() == 0; }

  /// A global point in the element's frame.
  CartesianCoordinate to_local(CartesianCoordinate point) const {
    return rotation.to_local({point.x - center.x, point.y - center.y, point.z - center.z});
  }
  /// visit(k, point in the element's frame) for every point of the grid.
  template <class Visit>
  void for_each_point(const Visit& visit) const {
    grid->for_each_point(
        [&](int k, const CartesianCoordinate& point) { visit(k, to_local(point)); });
  }
  void add_pressure(int point, std::complex<double> pressure) const {
    real_plane[point] += pressure.real();
    imaginary_plane[point] += pressure.imag();
  }
  /// Adds the first `samples` samples of `count` points' traces; trace j starts at traces +
  /// j*stride. The array is point-fastest, so this touches each of its lines once where point by
  /// point would touch it `count` times.
  template <class Sample>
  void add_traces(const int* points, int count, const Sample* first, int stride,
                  int samples) const {
    const auto npoints = static_cast<std::size_t>(grid->npoints());
    double* sample = traces;
    for (int k = 0; k < samples; ++k, sample += npoints) {
      const Sample* trace = first + k;
      for (int j = 0; j < count; ++j, trace += stride) {
        sample[points[j]] += static_cast<double>(*trace);
      }
    }
  }
  /// One point's trace of all samples of the axis.
  template <class Sample>
  void add_trace(int point, const Sample* trace) const {
    add_traces(&point, 1, trace, 0, time->nt());
  }
};

}  // namespace detail

}  // namespace kestrel
