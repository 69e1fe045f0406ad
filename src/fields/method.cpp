#include "kestrel/method.h"

#include <type_traits>

#include "kestrel/error.h"
#include "methods/element_methods.h"

namespace kestrel::fields {

namespace {

using namespace detail;

template <const auto& kMethod>
int compute(const Geometry& geometry, ElementInputs& in) {
  return std::visit([&](const auto& face) { return run_method(kMethod, face, in); }, geometry);
}

template <const auto& kMethod>
bool is_of(const Geometry& geometry) {
  return std::visit(
      []<class Face>(const Face&) { return kHasMethod<std::decay_t<decltype(kMethod)>, Face>; },
      geometry);
}

/// A row of the table; what else is to be known of the method comes from `facts`.
template <const auto& kMethod>
constexpr Method row(const char* name, Method facts = {}) {
  facts.name = name;
  facts.compute = compute<kMethod>;
  facts.is_of = is_of<kMethod>;
  return facts;
}

constexpr Method kContinuousWave[] = {
    row<kFarfieldCw>(
        "farfield_cw",
        {.yardstick = Yardstick::nearfield_unlossy, .effort = Effort::point, .reusable = true}),
    row<kFnmCw>("fnm_cw",
                {.yardstick = Yardstick::nearfield, .reusable = true, .takes_tolerance = true}),
    // The apodized methods have no unapodized field to be compared with.
    row<kFnmCwApodized>("fnm_cw_apodized", {.effort = Effort::squared, .reusable = true}),
    row<kFnmCwSingle>("fnm_cw_single", {.yardstick = Yardstick::nearfield}),
    row<kFnmCwSse>("fnm_cw_sse", {.yardstick = Yardstick::nearfield}),
    row<kFnmCwSse2>("fnm_cw_sse2", {.yardstick = Yardstick::nearfield}),
    row<kRadiatorCw>(
        "radiator_cw",
        {.yardstick = Yardstick::nearfield_unlossy, .effort = Effort::squared, .reusable = true}),
    row<kRayleighCw>(
        "rayleigh_cw",
        {.yardstick = Yardstick::nearfield_unlossy, .effort = Effort::squared, .reusable = true}),
    row<kRayleighCwApodized>("rayleigh_cw_apodized", {.effort = Effort::squared, .reusable = true}),
    row<kRayleighCwSse>("rayleigh_cw_sse",
                        {.yardstick = Yardstick::nearfield_unlossy, .effort = Effort::squared}),
    row<kKzkCw>("kzk_cw", {.marched = true}),
};

constexpr Method kTransient[] = {
    row<kFnmTransient>("fnm_transient"),
    row<kFnmTransientBehindSource>("fnm_transient_behind_source"),
    row<kFnmTsd>("fnm_tsd"),
    row<kFnmTsdLowPrecision>("fnm_tsd_low_precision"),
    row<kFnmTsdSse>("fnm_tsd_sse"),
    row<kFnmTsdBehindSource>("fnm_tsd_behind_source"),
    row<kFnmTsd>("fnm_fdtsd"),
    row<kRayleighTransient>("rayleigh_transient"),
    row<kImpulseResponse>("impulse_response"),
    row<kKzkTransient>("kzk_transient", {.marched = true}),
};

}  // namespace

const Method* find_method(std::span<const Method> methods, std::string_view name) {
  for (const Method& method : methods) {
    if (name == method.name) return &method;
  }
  fail(ErrorKind::unsupported, "unknown method '%s'; the methods are %s.",
       std::string(name).c_str(), list_names(methods).c_str());
}

std::span<const Method> continuous_wave_methods() { return kContinuousWave; }

const Method* find_continuous_wave_method(std::string_view name) {
  return find_method(kContinuousWave, name);
}

std::span<const Method> transient_methods() { return kTransient; }

const Method* find_transient_method(std::string_view name) { return find_method(kTransient, name); }

void check_march_parameters(const Method& method, const kzk::Parameters& parameters) {
  if (method.marched || parameters == kzk::Parameters{}) return;
  fail("parameters of a nonlinear march were given, but the method '%s' does not march.",
       method.name);
}

std::string list_names(std::span<const Method> methods) {
  std::string list;
  for (const Method& method : methods) {
    if (!list.empty()) list += ", ";
    list += std::string("'") + method.name + "'";
  }
  return list;
}

}  // namespace kestrel::fields
