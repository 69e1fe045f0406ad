#pragma once

#include <stdexcept>
#include <string_view>

#include "kestrel/transducer.h"

namespace kestrel {

/// The slot of the elements' method table that has the name of a method.
inline int (Transducer::*slot_of(std::string_view method))() {
  using T = Transducer;
  static constexpr std::pair<std::string_view, int (T::*)()> kSlots[] = {
      {"farfield_cw", &T::farfield_cw},
      {"fnm_cw", &T::fnm_cw},
      {"fnm_cw_apodized", &T::fnm_cw_apodized},
      {"fnm_cw_single", &T::fnm_cw_single},
      {"fnm_cw_sse", &T::fnm_cw_sse},
      {"fnm_cw_sse2", &T::fnm_cw_sse2},
      {"radiator_cw", &T::radiator_cw},
      {"rayleigh_cw", &T::rayleigh_cw},
      {"rayleigh_cw_apodized", &T::rayleigh_cw_apodized},
      {"rayleigh_cw_sse", &T::rayleigh_cw_sse},
      {"kzk_cw", &T::kzk_cw},
      {"fnm_transient", &T::fnm_transient},
      {"fnm_transient_behind_source", &T::fnm_transient_behind_source},
      {"fnm_tsd", &T::fnm_tsd},
      {"fnm_tsd_low_precision", &T::fnm_tsd_low_precision},
      {"fnm_tsd_sse", &T::fnm_tsd_sse},
      {"fnm_tsd_behind_source", &T::fnm_tsd_behind_source},
      {"fnm_fdtsd", &T::fnm_fdtsd},
      {"rayleigh_transient", &T::rayleigh_transient},
      {"impulse_response", &T::impulse_response},
      {"kzk_transient", &T::kzk_transient},
  };
  for (const auto& [name, slot] : kSlots) {
    if (name == method) return slot;
  }
  throw std::logic_error("no slot of that name");
}

}  // namespace kestrel
