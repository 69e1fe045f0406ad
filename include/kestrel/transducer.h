#pragma once

#include <complex>

#include "kestrel/geometry.h"
#include "kestrel/grid.h"
#include "kestrel/medium.h"
#include "kestrel/quadrature.h"
#include "kestrel/special_functions.h"
#include "kestrel/time_axis.h"

namespace kestrel {

/// What every calculation method returns.
enum ElementResult : int {
  kSuccess = 0,
  kNotImplemented = 1,  ///< this shape has no such method
  kOutOfMemory = 2,     ///< nothing was added to the planes
  kMisuse = 3,          ///< an input is missing or out of range; nothing was added
};

class ExcitationFunction;

namespace detail {
struct ElementInputs;
}

/// An ultrasound element: where it is, how it is turned and driven, what it radiates into, and the
/// fixed table of methods that compute its field.
///
/// An element owns none of its inputs. Its methods add into the output planes and never clear them,
/// so elements that share planes superpose. One thread uses an element at a time.
///
/// Frame. A global point p is seen at R (p - center), R = Rz(e2) Rx(e1) Ry(e0) with the Euler
/// angles (e0, e1, e2): first about y, then about x, then about z. Planar faces lie in the local
/// plane z = 0 and radiate towards +z.
class Transducer {
 public:
  // The virtual methods below stand in a fixed order: it is the method table that every shape
  // fills, and programs index it.
  virtual ~Transducer() = default;

  /// Writes the settings to the standard output stream; `level` 2 adds the inputs.
  virtual void debug(int level);
  /// The same through the host's console.
  virtual void mex_debug(int level);

  /// Centre in global coordinates, metres; the pointer forms read three consecutive doubles.
  virtual void set_center(CartesianCoordinate center);
  virtual void set_center(double* center);
  virtual void set_center(double x, double y, double z);
  /// Euler angles, radians.
  virtual void set_euler(CartesianCoordinate angles);
  virtual void set_euler(double* angles);
  virtual void set_euler(double e0, double e1, double e2);
  /// Each of the two renews the complex weight amplitude*(cos phase + j sin phase).
  virtual void set_amplitude(double amplitude);
  virtual void set_phase(double phase);
  /// Sets the weight itself and leaves amplitude and phase alone; warns, since amplitude and phase
  /// are the way to drive an element. A null imaginary part means zero.
  virtual void set_complex_weight(double* re, double* im);
  virtual void set_time_delay(double seconds);
  /// 0 none, 1 cosine, 2 raised cosine, 3 quadratic, 4 quartic (circular pistons only).
  virtual void set_piston_apodization_index(int index);
  virtual double get_amplitude() const;
  virtual double get_phase() const;
  virtual int get_piston_apodization_index() const;
  virtual void set_global_coordinate_grid(CoordinateGrid* grid);
  virtual void set_integral_pointer(NumericalIntegration* integral);
  virtual void set_medium(Medium* medium);
  virtual void set_time_vector(TimeSamples* time);
  /// Planes with one entry per grid point; detaches the transient array.
  virtual void set_complex_pressure_pointers(double* re, double* im);
  /// Array with entry p + i*npoints for point p and sample i; detaches the planes.
  virtual void set_transient_pressure_pointer(double* pressure);

  virtual int farfield_cw() = 0;
  virtual int fnm_cw() = 0;
  virtual int fnm_cw_apodized() = 0;
  virtual int fnm_cw_single() = 0;
  virtual int fnm_cw_sse() = 0;
  virtual int fnm_cw_sse2() = 0;
  virtual int radiator_cw() = 0;
  virtual int rayleigh_cw() = 0;
  virtual int rayleigh_cw_apodized() = 0;
  virtual int rayleigh_cw_sse() = 0;
  virtual int impulse_begin_and_end_times() = 0;
  virtual int impulse_response() = 0;
  virtual int fnm_transient() = 0;
  virtual int fnm_transient_behind_source() = 0;
  virtual int fnm_fdtsd() = 0;
  virtual int fnm_tsd() = 0;
  virtual int init_fnm_tsd() = 0;
  virtual int call_fnm_tsd() = 0;
  virtual int free_fnm_tsd() = 0;
  virtual int fnm_tsd_behind_source() = 0;
  virtual int fnm_tsd_low_precision() = 0;
  virtual int fnm_tsd_sse() = 0;
  virtual int rayleigh_transient() = 0;
  virtual int kzk_transient() = 0;
  virtual int kzk_cw() = 0;

  /// A global point in the element's frame; needs InitializeRotationMatrix.
  virtual CartesianCoordinate rotateTranslate(CartesianCoordinate const& point);
  // End of the method table; shapes append their own virtual methods after it.

  CartesianCoordinate get_center() const { return _center; }
  CartesianCoordinate get_euler() const { return _euler; }
  std::complex<double> get_complex_weight() const { return _complex_weight; }
  double get_time_delay() const { return _time_delay; }
  /// First and last time at which any point can hear the element; impulse_begin_and_end_times
  /// computes them. Reading the end before that warns and gives -1.
  double get_impulse_begin_time() const { return _impulse_begin_time; }
  double get_impulse_end_time() const;

  CoordinateGrid* global_coordinate_grid() const { return _global_coordinate_grid; }
  Medium* medium() const { return _medium; }
  NumericalIntegration* integral() const { return _integral; }
  TimeSamples* time_vector() const { return _time_vector; }
  double* real_pressure_plane() const { return _real_pressure; }
  double* imaginary_pressure_plane() const { return _imaginary_pressure; }
  double* transient_pressure() const { return _transient_pressure; }

  /// Rebuilds the rotation matrix from the Euler angles. Every calculation method calls it first.
  void InitializeRotationMatrix();

  /// Adds a complex pressure at point i of the planes.
  void superpose_complex_pressure(int const& i, std::complex<double> const& pressure) {
    _real_pressure[i] += pressure.real();
    _imaginary_pressure[i] += pressure.imag();
  }
  /// Adds a trace of nt samples at point i of the transient array.
  void superpose_transient_pressure(int const& i, double const* trace);
  void superpose_transient_pressure(int const& i, float const* trace);
  /// The same for the nt_local samples of the time axis's last update.
  void call_superpose_transient_pressure(int const& i, double const* trace);
  /// The same for `count` points, the first `samples` samples of each: trace j starts at
  /// traces + j*stride. The array is point-fastest, so this touches each of its lines once where
  /// point by point would touch it `count` times.
  void superpose_transient_pressures(int const* points, int count, double const* traces, int stride,
                                     int samples);
  void superpose_transient_pressures(int const* points, int count, float const* traces, int stride,
                                     int samples);
  /// Writes zeros into the planes, or into the transient array; does nothing without them.
  void zerofill_complex_pressure();
  void zerofill_transient_pressure();

  /// Drives the transient methods; not owned, set directly.
  ExcitationFunction* _excitation_function = nullptr;

 protected:
  Transducer() = default;
  Transducer(const Transducer&) = default;
  Transducer& operator=(const Transducer&) = default;

  /// What the methods work with, as set at this moment.
  detail::ElementInputs inputs() const;

  CartesianCoordinate _center;
  CartesianCoordinate _euler;
  /// (0, 0) until an amplitude or a phase is set.
  std::complex<double> _complex_weight{0.0, 0.0};
  double _amplitude = 1.0;
  double _phase = 0.0;
  double _time_delay = 0.0;
  double _impulse_begin_time = -1.0;
  double _impulse_end_time = -1.0;
  int _piston_apodization_index = 0;
  CoordinateGrid* _global_coordinate_grid = nullptr;
  Medium* _medium = nullptr;
  NumericalIntegration* _integral = nullptr;
  TimeSamples* _time_vector = nullptr;
  double* _real_pressure = nullptr;
  double* _imaginary_pressure = nullptr;
  double* _transient_pressure = nullptr;
  Rotation _rotation;
  piston_apodization _apodization;

 private:
  void renew_complex_weight();
  template <class Sample>
  void superpose_samples(int point, const Sample* trace, int samples);
};

}  // namespace kestrel
