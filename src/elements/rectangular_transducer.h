#pragma once

#include <memory>

#include "elements/shape.h"

namespace kestrel {

namespace detail {
enum class TransientSum : int;
}

struct RectangleSurface;

/// A flat rectangular piston: full width along local x, full height along local y, metres.
///
/// Continuous-wave methods add the pressure at every grid point with local z >= 0; a negligible
/// amplitude (|amplitude| <= 1e-10) adds nothing unless a method says otherwise. With loss the fast
/// nearfield methods differ from the Rayleigh integral by the factor 1 - j alpha/k.
class RectangularTransducer : public Shape {
 public:
  RectangularTransducer() = default;
  RectangularTransducer(double width, double height) : _width(width), _height(height) {}
  RectangularTransducer(double width, double height, double time_delay)
      : RectangularTransducer(width, height) {
    _time_delay = time_delay;
  }
  RectangularTransducer(double width, double height, double amplitude, double phase)
      : RectangularTransducer(width, height) {
    drive(amplitude, phase);
  }

  void debug(int level) override;
  void mex_debug(int level) override;

  /// Fraunhofer field.
  int farfield_cw() override;
  /// Fast nearfield method in double precision.
  int fnm_cw() override;
  /// Fast nearfield method with the geometry in single precision: some 2e-5 of the peak.
  int fnm_cw_single() override;
  /// Four nodes at a time in single precision: some 1e-3 of the peak. Has no amplitude gate.
  int fnm_cw_sse() override;
  /// Four integrals at a time in single precision; right in lossless media only, since its
  /// integrand carries no attenuation.
  int fnm_cw_sse2() override;
  /// Face cut into n-by-n Fraunhofer radiators, n the rule's number of points.
  int radiator_cw() override;
  /// Rayleigh integral by the product Gauss rule: n^2 terms per point, the independent check.
  int rayleigh_cw() override;
  /// The same four nodes at a time in single precision: some 2e-3 of the peak.
  int rayleigh_cw_sse() override;

  int impulse_begin_and_end_times() override;
  /// Spatial impulse response times amplitude, m/s.
  int impulse_response() override;
  /// Pressure of the element's excitation, lossless, by the fast nearfield method; and the same by
  /// time-space decomposition, tens of times faster, in double and in single precision.
  int fnm_transient() override;
  int fnm_tsd() override;
  int fnm_tsd_low_precision() override;
  /// As `fnm_tsd`: with a sampled signal its terms are the spectral lines.
  int fnm_fdtsd() override;

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

  double width() const { return _width; }
  double height() const { return _height; }

 private:
  int farfield(bool lossless);
  /// The product rule over the face, phases at `frequency`.
  RectangleSurface surface(double frequency) const;
  int transient(detail::TransientSum sum);

  double _width = 0.0;
  double _height = 0.0;
  struct TsdTables;
  /// While initialised. Copies of an element share it, and must then be used in turn.
  std::shared_ptr<TsdTables> _tsd;
};

}  // namespace kestrel
