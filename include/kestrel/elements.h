#pragma once

#include <memory>
#include <type_traits>

#include "kestrel/geometry.h"
#include "kestrel/transducer.h"

namespace kestrel {

/// An element of a shape: every slot of the method table runs the method that the shape has
/// (methods/element_methods.h), and answers kNotImplemented where it has none. With an input
/// missing it answers kMisuse and adds nothing.
template <class Face>
class Shape : public Transducer {
 public:
  /// A face without extent: all sizes are zero, and nothing but an assignment sets them.
  Shape() = default;
  explicit Shape(const Face& face) : _face(face) {}
  Shape(const Face& face, double time_delay) : _face(face) { _time_delay = time_delay; }
  Shape(const Face& face, double amplitude, double phase) : _face(face) {
    Transducer::set_amplitude(amplitude);
    Transducer::set_phase(phase);
  }

  int farfield_cw() override;
  int fnm_cw() override;
  int fnm_cw_apodized() override;
  int fnm_cw_single() override;
  int fnm_cw_sse() override;
  int fnm_cw_sse2() override;
  int radiator_cw() override;
  int rayleigh_cw() override;
  int rayleigh_cw_apodized() override;
  int rayleigh_cw_sse() override;
  /// Reads the times with get_impulse_begin_time and get_impulse_end_time.
  int impulse_begin_and_end_times() override;
  /// Spatial impulse response times amplitude, m/s.
  int impulse_response() override;
  /// Pressure of the element's excitation, lossless, by the fast nearfield method.
  int fnm_transient() override;
  int fnm_transient_behind_source() override;
  /// The same by time-space decomposition; with a sampled signal its terms are the spectral lines.
  int fnm_fdtsd() override;
  int fnm_tsd() override;
  int init_fnm_tsd() override;
  int call_fnm_tsd() override;
  int free_fnm_tsd() override;
  int fnm_tsd_behind_source() override;
  int fnm_tsd_low_precision() override;
  int fnm_tsd_sse() override;
  int rayleigh_transient() override;
  int kzk_transient() override;
  int kzk_cw() override;

 protected:
  /// Runs a method of methods/element_methods.h.
  template <class Method>
  int run(const Method& method);
  /// The same for a continuous-wave method: without its inputs nothing is computed.
  template <class Method>
  int run_wave(const Method& method);

  Face _face;
};

extern template class Shape<Rectangle>;
extern template class Shape<Circle>;
extern template class Shape<Ring>;
extern template class Shape<Shell>;
extern template class Shape<ShellRing>;

/// A flat rectangular piston: full width along local x, full height along local y, metres.
///
/// Continuous-wave methods add the pressure at every grid point with local z >= 0; a negligible
/// amplitude (|amplitude| <= 1e-10) adds nothing unless a method says otherwise. With loss the fast
/// nearfield methods differ from the Rayleigh integral by the factor 1 - j alpha/k.
class RectangularTransducer : public Shape<Rectangle> {
 public:
  using Shape::Shape;
  RectangularTransducer() = default;
  RectangularTransducer(double width, double height) : Shape(Rectangle{width, height}) {}
  RectangularTransducer(double width, double height, double time_delay)
      : Shape(Rectangle{width, height}, time_delay) {}
  RectangularTransducer(double width, double height, double amplitude, double phase)
      : Shape(Rectangle{width, height}, amplitude, phase) {}

  void debug(int level) override;
  void mex_debug(int level) override;

  /// `fnm_tsd` in three steps, for time axes that are re-ranged between calls: tables for the
  /// present rule, excitation and number of samples are made once, `call_fnm_tsd` adds the field
  /// for the samples of the axis's last update, `free_fnm_tsd` gives the tables back (without
  /// tables it does nothing). Between calls everything may change but the element's size, the
  /// rule's number of nodes, and the kind of excitation with its number of terms; and the axis must
  /// not outgrow the one present at init. A call that breaks this answers kMisuse and adds nothing.
  int init_fnm_tsd() override;
  int call_fnm_tsd() override;
  int free_fnm_tsd() override;

  // Shapes append their own methods to the table here.
  /// Fraunhofer field without attenuation.
  virtual int farfield_cw_lossless();

  double width() const { return _face.width; }
  double height() const { return _face.height; }

 private:
  struct TsdTables;
  /// While initialised. Copies of an element share it, and must then be used in turn.
  std::shared_ptr<TsdTables> _tsd;
};

/// A flat circular piston of a given radius, metres.
///
/// Points behind the face (local z < 0, or NaN) receive nothing. `fnm_cw` and `fnm_cw_apodized`,
/// like all fast nearfield methods of round planar shapes, refill the shared quadrature rule over
/// (0, pi) and leave it so: fill it again before another shape uses it.
class CircularTransducer : public Shape<Circle> {
 public:
  using Shape::Shape;
  CircularTransducer() = default;
  explicit CircularTransducer(double radius) : Shape(Circle{radius}) {}
  CircularTransducer(double radius, double time_delay) : Shape(Circle{radius}, time_delay) {}
  CircularTransducer(double radius, double amplitude, double phase)
      : Shape(Circle{radius}, amplitude, phase) {}

  void debug(int level) override;
  void mex_debug(int level) override;

  // Shapes append their own methods to the table here.
  // The steps of the nonlinear march, one harmonic's or one column's at a time.
  /// Solves (s A - t B) x = rhs for one real column of kzk_nodes() entries, B in the bands lo, di,
  /// up; s = 0 reuses the factors left in gam and inv (2 * kzk_nodes() entries).
  virtual void Tridiag(float s, float t, float* lo, float* di, float* up, float* rhs, float* x,
                       float* gam, float* inv);
  /// One harmonic's implicit diffraction step in place: u, w and v hold 2 * nodes doubles.
  virtual void TRIDIA(double* u, int nodes, double* lhs, double* rhs, double* w, double* v);
  /// Bands of harmonic n's step of length ds, 6 * nodes doubles each; theta 1 is backward Euler,
  /// 1/2 Crank-Nicolson.
  virtual void COEFF(double ds, double theta, double* lhs, double* rhs, int nodes, double step,
                     int n);
  /// Nonlinear step with absorption, see kzk::nonlinear_step; non-zero on blow-up.
  virtual int NONLIN(double ds, double* planes, int harmonics, int nodes, double* work,
                     double nonlinearity, int least_substeps);
  /// Source plane of a uniform piston (profile 0, the only one there is).
  virtual void INIT(int harmonics, double* planes, int nodes, int per_radius, int profile);

  /// Entries of the columns that Tridiag works on.
  void set_kzk_nodes(int nodes) { _kzk_nodes = nodes; }
  int kzk_nodes() const { return _kzk_nodes; }

  double radius() const { return _face.radius; }

 private:
  int _kzk_nodes = 0;
};

/// A flat ring between an inner and an outer radius, metres: the outer disc less the inner one. An
/// inner radius of zero or less (or NaN) makes it a full disc.
class RingTransducer : public Shape<Ring> {
 public:
  using Shape::Shape;
  RingTransducer() = default;
  RingTransducer(double inner_radius, double outer_radius)
      : Shape(Ring{inner_radius, outer_radius}) {}
  RingTransducer(double inner_radius, double outer_radius, double time_delay)
      : Shape(Ring{inner_radius, outer_radius}, time_delay) {}
  RingTransducer(double inner_radius, double outer_radius, double amplitude, double phase)
      : Shape(Ring{inner_radius, outer_radius}, amplitude, phase) {}

  void debug(int level) override;
  void mex_debug(int level) override;

  double inner_radius() const { return _face.inner_radius; }
  double outer_radius() const { return _face.outer_radius; }
};

/// A spherically curved, converging shell: aperture radius and radius of curvature, metres, apex at
/// the local origin, concave towards +z, centre of curvature at z = radius of curvature. At most a
/// hemisphere; a larger aperture gives NaN inside the sphere and nothing outside.
///
/// Points behind the rim plane and outside the sphere receive nothing.
class SphericalTransducer : public Shape<Shell> {
 public:
  using Shape::Shape;
  SphericalTransducer() = default;
  SphericalTransducer(double radius, double radius_of_curvature)
      : Shape(Shell{radius, radius_of_curvature}) {}
  SphericalTransducer(double radius, double radius_of_curvature, double time_delay)
      : Shape(Shell{radius, radius_of_curvature}, time_delay) {}
  SphericalTransducer(double radius, double radius_of_curvature, double amplitude, double phase)
      : Shape(Shell{radius, radius_of_curvature}, amplitude, phase) {}

  /// Prints the radius of curvature too; mex_debug leaves it out.
  void debug(int level) override;
  void mex_debug(int level) override;

  // Shapes append their own methods to the table here.
  /// Not implemented for this shape.
  virtual int farfield_cw_lossless() { return kNotImplemented; }
  // The steps of the nonlinear march, one harmonic's or one column's at a time.
  /// Solves (s A - t B) x = rhs for one real column of kzk_nodes() entries, B in the bands lo, di,
  /// up; s = 0 reuses the factors left in gam and inv (2 * kzk_nodes() entries).
  virtual void Tridiag(float s, float t, float* lo, float* di, float* up, float* rhs, float* x,
                       float* gam, float* inv);
  /// One harmonic's implicit diffraction step in place: u, w and v hold 2 * nodes doubles.
  virtual void TRIDIA(double* u, int nodes, double* lhs, double* rhs, double* w, double* v);
  /// Bands of one harmonic's step of length ds, 6 * nodes doubles each; n_gain is the harmonic's
  /// number times the focusing gain.
  virtual void COEFF(double ds, double theta, double* lhs, double* rhs, int nodes, double step,
                     double n_gain);
  /// Nonlinear step with absorption, see kzk::nonlinear_step; non-zero on blow-up.
  virtual int NONLIN(double ds, double* planes, int harmonics, int nodes, double* work,
                     double nonlinearity);
  /// Source plane of a uniformly moving cap with the focusing gain `gain`.
  virtual void INIT(int harmonics, double* planes, int nodes, int per_radius, double gain);

  /// Entries of the columns that Tridiag works on.
  void set_kzk_nodes(int nodes) { _kzk_nodes = nodes; }
  int kzk_nodes() const { return _kzk_nodes; }

  double radius() const { return _face.radius; }
  double radius_of_curvature() const { return _face.rad_curvature; }

 private:
  int _kzk_nodes = 0;
};

/// An annular zone of a spherical shell: inner and outer aperture radius and geometric focus (the
/// radius of curvature), metres. The outer cap less the inner one; an inner radius of zero or less
/// makes it a full shell.
///
/// Each cap keeps its own region test. With the inner radius below the outer one there is a thin
/// zone, outside the sphere and between the two rim planes, in which only the inner cap's test
/// passes: points there receive minus the inner cap's field alone, which is not the ring's field.
class SphericalRingTransducer : public Shape<ShellRing> {
 public:
  using Shape::Shape;
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

/// A flat triangle: a placeholder that computes nothing and cannot be created by itself, since it
/// leaves five methods of the table open.
class TriangleTransducer : public Transducer {
 public:
  TriangleTransducer() = default;

  void debug(int level) override;
  void mex_debug(int level) override;

  /// A skeleton: prints the settings and walks grid and rule, but adds nothing. Returns 0.
  int fnm_cw() override;
  int farfield_cw() override { return kNotImplemented; }
  int fnm_cw_apodized() override { return kNotImplemented; }
  int fnm_cw_single() override { return kNotImplemented; }
  int fnm_cw_sse() override { return kNotImplemented; }
  int fnm_cw_sse2() override { return kNotImplemented; }
  int radiator_cw() override { return kNotImplemented; }
  int rayleigh_cw() override { return kNotImplemented; }
  int rayleigh_cw_apodized() override { return kNotImplemented; }
  int rayleigh_cw_sse() override { return kNotImplemented; }
  int impulse_begin_and_end_times() override { return kNotImplemented; }
  int impulse_response() override { return kNotImplemented; }
  int fnm_transient() override { return kNotImplemented; }
  int fnm_transient_behind_source() override { return kNotImplemented; }
  int fnm_fdtsd() override { return kNotImplemented; }
  int fnm_tsd() override { return kNotImplemented; }
  int fnm_tsd_behind_source() override { return kNotImplemented; }
  int fnm_tsd_low_precision() override { return kNotImplemented; }
  int fnm_tsd_sse() override { return kNotImplemented; }
  int rayleigh_transient() override { return kNotImplemented; }

  // Shapes append their own methods to the table here.
  virtual int fnm_cw_cuda(int) { return kSuccess; }
  virtual int fnm_transient_cuda(int) { return kNotImplemented; }
  virtual int kzk_nonlinear() { return kNotImplemented; }
};

}  // namespace kestrel

namespace kestrel {

/// The class of a shape's elements: its own, where programs have one to index its table or to ask
/// for its sizes, and else Shape itself.
template <class Face>
struct ElementClass : std::type_identity<Shape<Face>> {};
template <>
struct ElementClass<Rectangle> : std::type_identity<RectangularTransducer> {};
template <>
struct ElementClass<Circle> : std::type_identity<CircularTransducer> {};
template <>
struct ElementClass<Ring> : std::type_identity<RingTransducer> {};
template <>
struct ElementClass<Shell> : std::type_identity<SphericalTransducer> {};
template <>
struct ElementClass<ShellRing> : std::type_identity<SphericalRingTransducer> {};

}  // namespace kestrel

namespace kestrel::fields {

using kestrel::Circle;
using kestrel::Element;
using kestrel::Geometry;
using kestrel::Rectangle;
using kestrel::Ring;
using kestrel::Shell;
using kestrel::ShellRing;

/// A transducer with the element's geometry, place and drive.
std::unique_ptr<Transducer> make_transducer(const Element& element);

}  // namespace kestrel::fields
