#pragma once

/// The methods of the elements: which shape has which. Every method is a function of a shape and of
/// ElementInputs; it adds to the planes or traces and answers with an ElementResult. A shape
/// without an overload here lacks the method.

#include <type_traits>
#include <utility>

#include "methods/common/element_inputs.h"
#include "methods/transient/transient_sum.h"

namespace kestrel::detail {

// ---- continuous waves
// ----------------------------------------------------------------------------

// Fast nearfield method (methods/fnm).
/// Fast nearfield method in double precision.
int fnm_cw(const Rectangle& face, ElementInputs& in);
/// Fast nearfield method in double precision.
int fnm_cw(const Circle& face, ElementInputs& in);
/// Fast nearfield method. No default frequency. Refills the shared rule over (0, pi).
int fnm_cw(const Ring& face, ElementInputs& in);
/// Fast nearfield method in double precision, closed form at the centre of curvature.
int fnm_cw(const Shell& face, ElementInputs& in);
/// Fast nearfield method in double precision.
int fnm_cw(const ShellRing& face, ElementInputs& in);
/// Fast nearfield method with a radial velocity profile. Its radial nodes run over (0, pi a)
/// instead of (0, a) and its angular weights carry a further pi, so that the result is -pi a
/// times the pressure; `rayleigh_cw_apodized` gives the pressure itself.
int fnm_cw_apodized(const Circle& face, ElementInputs& in);
/// Fast nearfield method with the geometry in single precision: some 2e-5 of the peak.
int fnm_cw_single(const Rectangle& face, ElementInputs& in);
/// Four nodes at a time in single precision: some 1e-3 of the peak. Has no amplitude gate.
int fnm_cw_sse(const Rectangle& face, ElementInputs& in);
/// Four nodes at a time in single precision: some 4e-4 of the peak, up to 2e-3 on the axis. The
/// last n mod 4 nodes do not count; no amplitude gate.
int fnm_cw_sse(const Circle& face, ElementInputs& in);
/// Four nodes at a time in single precision: some 1e-2 of the peak. Close to the centre of
/// curvature it loses all accuracy (1e-2 within a few tenths of a micrometre, in a 15 mm shell).
/// The last n mod 4 nodes do not count.
int fnm_cw_sse(const Shell& face, ElementInputs& in);
/// Four integrals at a time in single precision; right in lossless media only, since its
/// integrand carries no attenuation.
int fnm_cw_sse2(const Rectangle& face, ElementInputs& in);

// Rayleigh integral and far field (methods/rayleigh).
/// Rayleigh integral by the product Gauss rule: n^2 terms per point, the independent check.
int rayleigh_cw(const Rectangle& face, ElementInputs& in);
/// Rayleigh integral by the midpoint rule, n by n. With attenuation its waves GROW with distance:
/// for a lossy medium use `rayleigh_cw_apodized` with profile 0.
int rayleigh_cw(const Circle& face, ElementInputs& in);
/// Rayleigh integral by the midpoint rule, n by n on each of the two discs.
int rayleigh_cw(const Ring& face, ElementInputs& in);
/// Rayleigh integral over the cap by the midpoint rule, n by n; closed form at the apex.
int rayleigh_cw(const Shell& face, ElementInputs& in);
/// Rayleigh integral by the midpoint rule, n by n on each of the two caps.
int rayleigh_cw(const ShellRing& face, ElementInputs& in);
/// Rayleigh integral with a radial velocity profile and decaying waves.
int rayleigh_cw_apodized(const Circle& face, ElementInputs& in);
/// The same four nodes at a time in single precision: some 2e-3 of the peak.
int rayleigh_cw_sse(const Rectangle& face, ElementInputs& in);
/// The uniform piston's, four azimuths at a time in single precision.
int rayleigh_cw_sse(const Circle& face, ElementInputs& in);
/// The same, four azimuths at a time in single precision: some 4e-3 relative.
int rayleigh_cw_sse(const Shell& face, ElementInputs& in);
/// Fraunhofer field.
int farfield_cw(const Rectangle& face, ElementInputs& in);
/// Without attenuation.
int farfield_cw_lossless(const Rectangle& face, ElementInputs& in);
/// Face cut into n-by-n Fraunhofer radiators, n the rule's number of points.
int radiator_cw(const Rectangle& face, ElementInputs& in);

// Nonlinear beams by the parabolic equation (methods/kzk).
/// Nonlinear beam by the parabolic (KZK) equation, docs/nonlinear.md: continuous wave, one
/// harmonic (parameters of the rule), and pulses. kMisuse when the march cannot start or blows
/// up.
int kzk_cw(const Circle& face, ElementInputs& in);
/// Nonlinear beam by the parabolic (KZK) equation, docs/nonlinear.md: continuous wave, one
/// harmonic (parameters of the rule), and pulses. kMisuse when the march cannot start or blows
/// up.
int kzk_cw(const Shell& face, ElementInputs& in);
int kzk_transient(const Circle& face, ElementInputs& in);
int kzk_transient(const Shell& face, ElementInputs& in);

// ---- pulses (methods/transient)
// ------------------------------------------------------------------

/// The pressure of the element's excitation, by one of the ways of summing its delays.
int transient(const Rectangle& face, ElementInputs& in, TransientSum sum);
int transient(const Circle& face, ElementInputs& in, TransientSum sum);
int transient(const Ring& face, ElementInputs& in, TransientSum sum);
int transient(const Shell& face, ElementInputs& in, TransientSum sum);
int transient(const ShellRing& face, ElementInputs& in, TransientSum sum);
template <class Face>
concept HasTransient = requires(const Face& face, ElementInputs& in, TransientSum sum) {
  transient(face, in, sum);
};
template <HasTransient Face>
int fnm_transient(const Face& face, ElementInputs& in) {
  return transient(face, in, TransientSum::direct);
}
/// As time-space decomposition, and as its frequency-domain form: with a sampled signal the terms
/// are the spectral lines.
template <HasTransient Face>
int fnm_tsd(const Face& face, ElementInputs& in) {
  return transient(face, in, TransientSum::decomposed);
}
template <HasTransient Face>
int fnm_tsd_low_precision(const Face& face, ElementInputs& in) {
  return transient(face, in, TransientSum::low_precision);
}
/// Delays and terms by the four-wide kernels.
int fnm_tsd_sse(const Circle& face, ElementInputs& in);
/// The points that the others leave out, behind the shell: the field of the shell's two sides in
/// free space, without a baffle and without the shell's own shadow.
int fnm_transient_behind_source(const Shell& face, ElementInputs& in);
int fnm_tsd_behind_source(const Shell& face, ElementInputs& in);
/// Rayleigh integral over the face, n by n midpoints: slow, the independent check.
int rayleigh_transient(const Circle& face, ElementInputs& in);

/// Spatial impulse response times amplitude, m/s.
int impulse_response(const Rectangle& face, ElementInputs& in);
/// Spatial impulse response times amplitude, m/s.
int impulse_response(const Circle& face, ElementInputs& in);
/// Spatial impulse response times amplitude, m/s.
int impulse_response(const Ring& face, ElementInputs& in);
/// Spatial impulse response times amplitude, m/s.
int impulse_response(const Shell& face, ElementInputs& in);
/// Spatial impulse response times amplitude, m/s.
int impulse_response(const ShellRing& face, ElementInputs& in);

/// First and last time at which any grid point hears the element, seconds, all points counted.
/// Without points the values stay as they were; a rectangle's are then the largest double and 0.
struct ImpulseSpan {
  double begin = 0, end = 0;
};
int find_impulse_span(const Rectangle& face, const ElementInputs& in, ImpulseSpan& span);
int find_impulse_span(const Circle& face, const ElementInputs& in, ImpulseSpan& span);
int find_impulse_span(const Ring& face, const ElementInputs& in, ImpulseSpan& span);
int find_impulse_span(const Shell& face, const ElementInputs& in, ImpulseSpan& span);
int find_impulse_span(const ShellRing& face, const ElementInputs& in, ImpulseSpan& span);

// ---- by shape
// ------------------------------------------------------------------------------------

// A method as an object, for tables over methods and shapes. It can be invoked for those shapes
// that have it.
#define KESTREL_METHOD_OBJECT(object, function)                               \
  inline constexpr auto object =                                              \
      []<class Face>(const Face& face, ElementInputs& in) requires requires { \
    function(face, in);                                                       \
  }                                                                           \
  { return function(face, in); }

KESTREL_METHOD_OBJECT(kFnmCw, fnm_cw);
KESTREL_METHOD_OBJECT(kFnmCwApodized, fnm_cw_apodized);
KESTREL_METHOD_OBJECT(kFnmCwSingle, fnm_cw_single);
KESTREL_METHOD_OBJECT(kFnmCwSse, fnm_cw_sse);
KESTREL_METHOD_OBJECT(kFnmCwSse2, fnm_cw_sse2);
KESTREL_METHOD_OBJECT(kRayleighCw, rayleigh_cw);
KESTREL_METHOD_OBJECT(kRayleighCwApodized, rayleigh_cw_apodized);
KESTREL_METHOD_OBJECT(kRayleighCwSse, rayleigh_cw_sse);
KESTREL_METHOD_OBJECT(kFarfieldCw, farfield_cw);
KESTREL_METHOD_OBJECT(kRadiatorCw, radiator_cw);
KESTREL_METHOD_OBJECT(kKzkCw, kzk_cw);
KESTREL_METHOD_OBJECT(kKzkTransient, kzk_transient);
KESTREL_METHOD_OBJECT(kFnmTransient, fnm_transient);
KESTREL_METHOD_OBJECT(kFnmTsd, fnm_tsd);
KESTREL_METHOD_OBJECT(kFnmTsdLowPrecision, fnm_tsd_low_precision);
KESTREL_METHOD_OBJECT(kFnmTsdSse, fnm_tsd_sse);
KESTREL_METHOD_OBJECT(kFnmTransientBehindSource, fnm_transient_behind_source);
KESTREL_METHOD_OBJECT(kFnmTsdBehindSource, fnm_tsd_behind_source);
KESTREL_METHOD_OBJECT(kRayleighTransient, rayleigh_transient);
KESTREL_METHOD_OBJECT(kImpulseResponse, impulse_response);

#undef KESTREL_METHOD_OBJECT

/// Whether a shape has a method.
template <class Method, class Face>
inline constexpr bool kHasMethod = std::is_invocable_v<const Method&, const Face&, ElementInputs&>;

/// Runs a method for the shape; kNotImplemented where the shape lacks it.
template <class Method, class Face>
int run_method(const Method& method, const Face& face, ElementInputs& in) {
  if constexpr (kHasMethod<Method, Face>) {
    return method(face, in);
  } else {
    return kNotImplemented;
  }
}

}  // namespace kestrel::detail
