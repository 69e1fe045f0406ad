#pragma once

#include "elements/transducer.h"
#include "services/error.h"

namespace kestrel {

/// Answers every calculation method with "not implemented for this shape", except those that a
/// placeholder shape leaves open. A shape overrides what it can do, so that its class declaration
/// reads as the list of its methods.
class PlaceholderShape : public Transducer {
 public:
  int farfield_cw() override { return kNotImplemented; }
  int fnm_cw() override { return kNotImplemented; }
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
};

/// The rest of the table for shapes that radiate: no nonlinear methods, and an error from the
/// three calls that only a rectangle answers.
class Shape : public PlaceholderShape {
 public:
  int init_fnm_tsd() override { return unsupported(); }
  int call_fnm_tsd() override { return unsupported(); }
  int free_fnm_tsd() override { return unsupported(); }
  int kzk_transient() override { return kNotImplemented; }
  int kzk_cw() override { return kNotImplemented; }

 protected:
  Shape() = default;
  /// What every shape's constructors share: a drive, or a delay.
  void drive(double amplitude, double phase) {
    Transducer::set_amplitude(amplitude);
    Transducer::set_phase(phase);
  }

 private:
  [[noreturn]] static int unsupported() {
    fail("Transducer shape not supported for this function\n");
  }
};

}  // namespace kestrel
