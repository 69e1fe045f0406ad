#include "fields/method.h"

#include "services/error.h"

namespace kestrel::fields {

namespace {

using enum Yardstick;

constexpr Method kContinuousWave[] = {
    // name, slot, yardstick, reusable, takes_tolerance, marched
    {"farfield_cw", &Transducer::farfield_cw, nearfield_unlossy, true, false, false},
    {"fnm_cw", &Transducer::fnm_cw, nearfield, true, true, false},
    // The apodized methods have no unapodized field to be compared with.
    {"fnm_cw_apodized", &Transducer::fnm_cw_apodized, more_nodes, true, false, false},
    {"fnm_cw_single", &Transducer::fnm_cw_single, nearfield, false, false, false},
    {"fnm_cw_sse", &Transducer::fnm_cw_sse, nearfield, false, false, false},
    {"fnm_cw_sse2", &Transducer::fnm_cw_sse2, nearfield, false, false, false},
    {"radiator_cw", &Transducer::radiator_cw, nearfield_unlossy, true, false, false},
    {"rayleigh_cw", &Transducer::rayleigh_cw, nearfield_unlossy, true, false, false},
    {"rayleigh_cw_apodized", &Transducer::rayleigh_cw_apodized, more_nodes, true, false, false},
    {"rayleigh_cw_sse", &Transducer::rayleigh_cw_sse, nearfield_unlossy, false, false, false},
    {"kzk_cw", &Transducer::kzk_cw, more_nodes, false, false, true},
};

constexpr Method kTransient[] = {
    {"fnm_transient", &Transducer::fnm_transient, more_nodes, false, false, false},
    {"fnm_transient_behind_source", &Transducer::fnm_transient_behind_source, more_nodes, false,
     false, false},
    {"fnm_tsd", &Transducer::fnm_tsd, more_nodes, false, false, false},
    {"fnm_tsd_low_precision", &Transducer::fnm_tsd_low_precision, more_nodes, false, false, false},
    {"fnm_tsd_sse", &Transducer::fnm_tsd_sse, more_nodes, false, false, false},
    {"fnm_tsd_behind_source", &Transducer::fnm_tsd_behind_source, more_nodes, false, false, false},
    {"fnm_fdtsd", &Transducer::fnm_fdtsd, more_nodes, false, false, false},
    {"rayleigh_transient", &Transducer::rayleigh_transient, more_nodes, false, false, false},
    {"impulse_response", &Transducer::impulse_response, more_nodes, false, false, false},
    {"kzk_transient", &Transducer::kzk_transient, more_nodes, false, false, true},
};

const Method* find(std::span<const Method> methods, std::string_view name) {
  for (const Method& method : methods) {
    if (name == method.name) return &method;
  }
  return nullptr;
}

}  // namespace

std::span<const Method> continuous_wave_methods() { return kContinuousWave; }

const Method* find_continuous_wave_method(std::string_view name) {
  return find(kContinuousWave, name);
}

std::span<const Method> transient_methods() { return kTransient; }

const Method* find_transient_method(std::string_view name) { return find(kTransient, name); }

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
