#include <iostream>

#include "kestrel/elements.h"
#include "kestrel/services.h"

namespace kestrel {

void RingTransducer::debug(int level) {
  Transducer::debug(level);
  std::cout << "inner radius: " << _face.inner_radius << "\nouter radius: " << _face.outer_radius
            << "\n";
}

void RingTransducer::mex_debug(int level) {
  Transducer::mex_debug(level);
  services::print("inner radius: %f\n", _face.inner_radius);
  services::print("outer radius: %f\n\n", _face.outer_radius);
}

}  // namespace kestrel
