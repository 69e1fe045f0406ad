#pragma once

#include "numerics/float4.h"

namespace kestrel {

/// Prints the four lanes, lane 0 first, as "<%e %e %e %e>\n" on the host's console. A debugging
/// aid; it stands apart from the four-wide kernels because those know no host.
void debug_m128(float4 v);

}  // namespace kestrel
