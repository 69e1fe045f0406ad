#pragma once

#include "kestrel/transducer.h"

namespace kestrel::gateway {

/// Adds the element's field by `fnm_cw_single`; fails with the plug-in's text when there is no
/// element, or when its method ends with another code than success.
void compute_element(Transducer* element);

}  // namespace kestrel::gateway
