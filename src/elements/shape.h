#pragma once

#include "elements/transducer.h"
#include "geometry/shapes.h"

namespace kestrel {

/// An element of a shape: every slot of the method table runs the method that the shape has
/// (methods/element_methods.h), and answers kNotImplemented where it has none. With an input
/// missing it answers kMisuse and adds nothing.
template <class Face>
class Shape : public Transducer {
 public:
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
  /// A face without extent: all sizes are zero, and nothing but an assignment sets them.
  Shape() = default;
  explicit Shape(const Face& face) : _face(face) {}
  Shape(const Face& face, double time_delay) : _face(face) { _time_delay = time_delay; }
  Shape(const Face& face, double amplitude, double phase) : _face(face) {
    Transducer::set_amplitude(amplitude);
    Transducer::set_phase(phase);
  }

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

}  // namespace kestrel
