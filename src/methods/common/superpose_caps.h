#pragma once

#include <complex>
#include <vector>

#include "methods/common/superpose_field.h"

namespace kestrel::detail {

/// Superposes the outer cap, then, if there is a hole, the inner cap with the opposite sign.
template <class CapMethod>
int superpose_caps(const ShellRing& face, ElementInputs& in, const CapMethod& cap_method) {
  return run_field_methods(in, [&] {
    std::vector methods{cap_method(face.outer_radius, in.weight)};
    if (face.inner_radius > 0) methods.push_back(cap_method(face.inner_radius, -in.weight));
    return methods;
  });
}

}  // namespace kestrel::detail
