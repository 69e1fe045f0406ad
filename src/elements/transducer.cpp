#include "kestrel/transducer.h"

#include <algorithm>
#include <cmath>
#include <iostream>

#include "kestrel/services.h"
#include "methods/common/element_inputs.h"

namespace kestrel {

void Transducer::debug(int level) {
  const auto line = [](const char* label, const auto& value) {
    std::cout << label << value << std::endl;
  };
  line("Center Coordinates Address:", static_cast<const void*>(&_center));
  line("center.x:", _center.x);
  line("center.y:", _center.y);
  line("center.z:", _center.z);
  line("Euler Angles Address:", static_cast<const void*>(&_euler));
  line("euler.x:", _euler.x);
  line("euler.y:", _euler.y);
  line("euler.z:", _euler.z);
  line("Main obs grid address: ", static_cast<const void*>(_global_coordinate_grid));
  line("Parameters address: ", static_cast<const void*>(_medium));
  line("Amplitude: ", _amplitude);
  line("Phase: ", _phase);
  if (level < 2) return;

  line("Parameters Used:", "");
  if (_medium != nullptr) {
    line("FS:", _medium->_fs);
    line("F0:", _medium->_f0);
    line("c_sound:", _medium->_soundspeed);
    line("atten:", _medium->_dBcmMHz);
    line("rho_den:", _medium->_rho_density);
  }
  line("Local information", "");
  line("Global information", "");
  if (const CoordinateGrid* grid = _global_coordinate_grid) {
    line("Number of obs points:", grid->npoints());
    std::cout << "X-range:" << grid->xmin() << " to " << grid->xmax() << std::endl;
    std::cout << "Y-range:" << grid->ymin() << " to " << grid->ymax() << std::endl;
    std::cout << "Z-range:" << grid->zmin() << " to " << grid->zmax() << std::endl;
  }
  line("Integral info", "");
  if (level < 3) return;
  line("Coordinates to calculate", "");
}

void Transducer::mex_debug(int level) {
  services::print("Element center: (%e, %e, %e)\n", _center.x, _center.y, _center.z);
  services::print("Element Euler angles: (%e, %e, %e)\n", _euler.x, _euler.y, _euler.z);
  services::print("Amplitude: %e\n", _amplitude);
  services::print("Phase: %e\n", _phase);
  services::print("Time Delay: %e\n", _time_delay);
  services::print("Complex Weight: %e + %e i\n", _complex_weight.real(), _complex_weight.imag());
  if (level < 2) return;

  services::print("Parameters:\n");
  if (_medium != nullptr) {
    services::print("fs: %f\n", _medium->_fs);
    services::print("f0: %f\n", _medium->_f0);
    services::print("c: %f\n", _medium->_soundspeed);
    services::print("attenuation: %f\n", _medium->_dBcmMHz);
    services::print("density: %f\n", _medium->_rho_density);
  }
  services::print("\nCoordinate grid:\n");
  if (const CoordinateGrid* grid = _global_coordinate_grid) {
    services::print("x range: %f to %f\n", grid->xmin(), grid->xmax());
    services::print("y range: %f to %f\n", grid->ymin(), grid->ymax());
    services::print("z range: %f to %f\n", grid->zmin(), grid->zmax());
  }
}

void Transducer::set_center(CartesianCoordinate center) { _center = center; }
void Transducer::set_center(double* center) { _center = {center[0], center[1], center[2]}; }
void Transducer::set_center(double x, double y, double z) { _center = {x, y, z}; }

void Transducer::set_euler(CartesianCoordinate angles) { _euler = angles; }
void Transducer::set_euler(double* angles) { _euler = {angles[0], angles[1], angles[2]}; }
void Transducer::set_euler(double e0, double e1, double e2) { _euler = {e0, e1, e2}; }

void Transducer::renew_complex_weight() {
  _complex_weight = {_amplitude * std::cos(_phase), _amplitude * std::sin(_phase)};
}

void Transducer::set_amplitude(double amplitude) {
  _amplitude = amplitude;
  renew_complex_weight();
}

void Transducer::set_phase(double phase) {
  _phase = phase;
  renew_complex_weight();
}

void Transducer::set_complex_weight(double* re, double* im) {
  _complex_weight = {*re, im == nullptr ? 0.0 : *im};
  services::warn(
      "KESTREL no longer uses the complex_weight property. Please use phase and amplitude "
      "instead.");
}

void Transducer::set_time_delay(double seconds) { _time_delay = seconds; }
void Transducer::set_piston_apodization_index(int index) { _piston_apodization_index = index; }
double Transducer::get_amplitude() const { return _amplitude; }
double Transducer::get_phase() const { return _phase; }
int Transducer::get_piston_apodization_index() const { return _piston_apodization_index; }

double Transducer::get_impulse_end_time() const {
  if (_impulse_end_time < 0.0) {
    services::warn("Impulse end time used before impulse_begin_and_end_times was called.\n");
  }
  return _impulse_end_time;
}

void Transducer::set_global_coordinate_grid(CoordinateGrid* grid) {
  _global_coordinate_grid = grid;
}
void Transducer::set_integral_pointer(NumericalIntegration* integral) { _integral = integral; }
void Transducer::set_medium(Medium* medium) { _medium = medium; }
void Transducer::set_time_vector(TimeSamples* time) { _time_vector = time; }

void Transducer::set_complex_pressure_pointers(double* re, double* im) {
  _real_pressure = re;
  _imaginary_pressure = im;
  _transient_pressure = nullptr;
}

void Transducer::set_transient_pressure_pointer(double* pressure) {
  _transient_pressure = pressure;
  _real_pressure = nullptr;
  _imaginary_pressure = nullptr;
}

detail::ElementInputs Transducer::inputs() const {
  return {.center = _center,
          .rotation = Rotation(_euler),
          .amplitude = _amplitude,
          .weight = _complex_weight,
          .time_delay = _time_delay,
          .apodization_index = _piston_apodization_index,
          .grid = _global_coordinate_grid,
          .medium = _medium,
          .rule = _integral,
          .time = _time_vector,
          .excitation = _excitation_function,
          .real_plane = _real_pressure,
          .imaginary_plane = _imaginary_pressure,
          .traces = _transient_pressure};
}

void Transducer::InitializeRotationMatrix() { _rotation = Rotation(_euler); }

CartesianCoordinate Transducer::rotateTranslate(CartesianCoordinate const& point) {
  return _rotation.to_local({point.x - _center.x, point.y - _center.y, point.z - _center.z});
}

template <class Sample>
void Transducer::superpose_samples(int point, const Sample* trace, int samples) {
  const auto npoints = static_cast<std::size_t>(_global_coordinate_grid->npoints());
  double* entry = _transient_pressure + point;
  for (int k = 0; k < samples; ++k, entry += npoints) *entry += static_cast<double>(trace[k]);
}

void Transducer::superpose_transient_pressure(int const& i, double const* trace) {
  superpose_samples(i, trace, _time_vector->nt());
}
void Transducer::superpose_transient_pressure(int const& i, float const* trace) {
  superpose_samples(i, trace, _time_vector->nt());
}
void Transducer::call_superpose_transient_pressure(int const& i, double const* trace) {
  superpose_samples(i, trace, _time_vector->nt_local());
}

void Transducer::superpose_transient_pressures(int const* points, int count, double const* traces,
                                               int stride, int samples) {
  inputs().add_traces(points, count, traces, stride, samples);
}
void Transducer::superpose_transient_pressures(int const* points, int count, float const* traces,
                                               int stride, int samples) {
  inputs().add_traces(points, count, traces, stride, samples);
}

void Transducer::zerofill_complex_pressure() {
  if (!_global_coordinate_grid || !_real_pressure || !_imaginary_pressure) return;
  const auto npoints = static_cast<std::size_t>(_global_coordinate_grid->npoints());
  std::fill_n(_real_pressure, npoints, 0.0);
  std::fill_n(_imaginary_pressure, npoints, 0.0);
}

void Transducer::zerofill_transient_pressure() {
  if (!_global_coordinate_grid || !_time_vector || !_transient_pressure) return;
  const auto npoints = static_cast<std::size_t>(_global_coordinate_grid->npoints());
  std::fill_n(_transient_pressure, npoints * static_cast<std::size_t>(_time_vector->nt()), 0.0);
}

}  // namespace kestrel
