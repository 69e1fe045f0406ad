#include "mex/entries/compute_element.h"

#include "kestrel/error.h"

namespace kestrel::gateway {

void compute_element(Transducer* element) {
  if (element == nullptr) fail("A transducer was not allocated.\n");
  switch (element->fnm_cw_single()) {
    case kSuccess:
      return;
    case kNotImplemented:
      fail("This function is not implemented for this transducer shape.");
    case kOutOfMemory:
      fail("Out of memory.");
    default:
      fail("An unspecified error occurred. See this function's documentation for details.");
  }
}

}  // namespace kestrel::gateway
