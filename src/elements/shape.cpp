#include "kestrel/elements.h"
#include "kestrel/error.h"
#include "methods/element_methods.h"

namespace kestrel {

using namespace detail;

namespace {

[[noreturn]] int unsupported() {
  fail(ErrorKind::unsupported, "Transducer shape not supported for this function\n");
}

}  // namespace

template <class Face>
template <class Method>
int Shape<Face>::run(const Method& method) {
  InitializeRotationMatrix();
  ElementInputs in = inputs();
  return run_method(method, _face, in);
}

template <class Face>
template <class Method>
int Shape<Face>::run_wave(const Method& method) {
  if constexpr (kHasMethod<Method, Face>) {
    if (!inputs().has_wave_inputs()) return kMisuse;
  }
  return run(method);
}

// One line for each slot of the table.
// clang-format off
template <class Face> int Shape<Face>::farfield_cw() { return run_wave(kFarfieldCw); }
template <class Face> int Shape<Face>::fnm_cw() { return run_wave(kFnmCw); }
template <class Face> int Shape<Face>::fnm_cw_apodized() { return run_wave(kFnmCwApodized); }
template <class Face> int Shape<Face>::fnm_cw_single() { return run_wave(kFnmCwSingle); }
template <class Face> int Shape<Face>::fnm_cw_sse() { return run_wave(kFnmCwSse); }
template <class Face> int Shape<Face>::fnm_cw_sse2() { return run_wave(kFnmCwSse2); }
template <class Face> int Shape<Face>::radiator_cw() { return run_wave(kRadiatorCw); }
template <class Face> int Shape<Face>::rayleigh_cw() { return run_wave(kRayleighCw); }
template <class Face> int Shape<Face>::rayleigh_cw_apodized() { return run_wave(kRayleighCwApodized); }
template <class Face> int Shape<Face>::rayleigh_cw_sse() { return run_wave(kRayleighCwSse); }
template <class Face> int Shape<Face>::impulse_response() { return run(kImpulseResponse); }
template <class Face> int Shape<Face>::fnm_transient() { return run(kFnmTransient); }
template <class Face> int Shape<Face>::fnm_transient_behind_source() { return run(kFnmTransientBehindSource); }
template <class Face> int Shape<Face>::fnm_fdtsd() { return run(kFnmTsd); }
template <class Face> int Shape<Face>::fnm_tsd() { return run(kFnmTsd); }
template <class Face> int Shape<Face>::fnm_tsd_behind_source() { return run(kFnmTsdBehindSource); }
template <class Face> int Shape<Face>::fnm_tsd_low_precision() { return run(kFnmTsdLowPrecision); }
template <class Face> int Shape<Face>::fnm_tsd_sse() { return run(kFnmTsdSse); }
template <class Face> int Shape<Face>::rayleigh_transient() { return run(kRayleighTransient); }
template <class Face> int Shape<Face>::kzk_transient() { return run(kKzkTransient); }
template <class Face> int Shape<Face>::kzk_cw() { return run(kKzkCw); }
template <class Face> int Shape<Face>::init_fnm_tsd() { return unsupported(); }
template <class Face> int Shape<Face>::call_fnm_tsd() { return unsupported(); }
template <class Face> int Shape<Face>::free_fnm_tsd() { return unsupported(); }
// clang-format on

template <class Face>
int Shape<Face>::impulse_begin_and_end_times() {
  ImpulseSpan span{_impulse_begin_time, _impulse_end_time};
  int result = kNotImplemented;
  if constexpr (requires { find_impulse_span(_face, inputs(), span); }) {
    result = find_impulse_span(_face, inputs(), span);
  }
  _impulse_begin_time = span.begin;
  _impulse_end_time = span.end;
  return result;
}

template class Shape<Rectangle>;
template class Shape<Circle>;
template class Shape<Ring>;
template class Shape<Shell>;
template class Shape<ShellRing>;

// Here, where a shape without a class of its own gets its slots.
std::unique_ptr<Transducer> fields::make_transducer(const Element& element) {
  auto transducer = std::visit(
      [&]<class Face>(const Face& face) -> std::unique_ptr<Transducer> {
        using Class = typename ElementClass<Face>::type;
        return std::make_unique<Class>(face, element.amplitude, element.phase);
      },
      element.geometry);
  transducer->set_center(element.center);
  transducer->set_euler(element.euler);
  transducer->set_time_delay(element.time_delay);
  transducer->set_piston_apodization_index(element.apodization_index);
  return transducer;
}

}  // namespace kestrel
