#include "kestrel/four_wide.h"
#include "kestrel/services.h"

namespace kestrel {

void debug_m128(float4 v) {
  services::print("<%e %e %e %e>\n", v.lane(0), v.lane(1), v.lane(2), v.lane(3));
}

}  // namespace kestrel
