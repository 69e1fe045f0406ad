#include <iostream>

#include "kestrel/elements.h"
#include "kestrel/services.h"

namespace kestrel {

void SphericalRingTransducer::debug(int level) {
  Transducer::debug(level);
  std::cout << "inner radius: " << _face.inner_radius << "\nouter radius: " << _face.outer_radius
            << "\ngeometric focus: " << _face.geometric_focus << "\n";
}

void SphericalRingTransducer::mex_debug(int level) {
  Transducer::mex_debug(level);
  services::print("inner radius: %f\n", _face.inner_radius);
  services::print("outer radius: %f\n", _face.outer_radius);
  services::print("geometric focus: %f\n\n", _face.geometric_focus);
}

}  // namespace kestrel
