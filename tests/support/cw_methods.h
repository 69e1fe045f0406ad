#pragma once

#include "tests/support/situation.h"

namespace kestrel::test {

/// A continuous-wave method that a shape has.
struct CwMethod {
  const char* name;
  ShapeKind shape;
  Method method;
  /// Points in lanes: runs on the chosen instruction set.
  bool vectorised = true;
};

namespace listed {

using enum ShapeKind;

inline constexpr CwMethod kCwMethods[] = {
    {"rectangle fnm_cw_single", rectangle, &Transducer::fnm_cw_single},
    {"rectangle fnm_cw", rectangle, &Transducer::fnm_cw},
    {"rectangle fnm_cw_sse", rectangle, &Transducer::fnm_cw_sse, false},
    {"rectangle fnm_cw_sse2", rectangle, &Transducer::fnm_cw_sse2, false},
    {"rectangle rayleigh_cw", rectangle, &Transducer::rayleigh_cw},
    {"rectangle rayleigh_cw_sse", rectangle, &Transducer::rayleigh_cw_sse, false},
    {"rectangle farfield_cw", rectangle, &Transducer::farfield_cw, false},
    {"rectangle radiator_cw", rectangle, &Transducer::radiator_cw, false},
    {"disc fnm_cw", disc, &Transducer::fnm_cw},
    {"disc fnm_cw_apodized", disc, &Transducer::fnm_cw_apodized},
    {"disc fnm_cw_sse", disc, &Transducer::fnm_cw_sse, false},
    {"disc rayleigh_cw", disc, &Transducer::rayleigh_cw},
    {"disc rayleigh_cw_apodized", disc, &Transducer::rayleigh_cw_apodized},
    {"disc rayleigh_cw_sse", disc, &Transducer::rayleigh_cw_sse, false},
    {"ring fnm_cw", ring, &Transducer::fnm_cw},
    {"ring rayleigh_cw", ring, &Transducer::rayleigh_cw},
    {"shell fnm_cw", shell, &Transducer::fnm_cw},
    {"shell fnm_cw_sse", shell, &Transducer::fnm_cw_sse, false},
    {"shell rayleigh_cw", shell, &Transducer::rayleigh_cw},
    {"shell rayleigh_cw_sse", shell, &Transducer::rayleigh_cw_sse, false},
    {"spherical ring fnm_cw", spherical_ring, &Transducer::fnm_cw},
    {"spherical ring rayleigh_cw", spherical_ring, &Transducer::rayleigh_cw},
};

}  // namespace listed

using listed::kCwMethods;

}  // namespace kestrel::test
