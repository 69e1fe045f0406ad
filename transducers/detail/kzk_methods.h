#pragma once

#include "transducers/kernels/kzk_march.h"
#include "transducers/transducer.h"

namespace kestrel::detail {

/// The nonlinear methods of the circular piston (curvature 0) and the shell: an element's inputs
/// given to the marches of transducers/kernels, and what they deliver superposed.
///
/// Codes as from every method: kOutOfMemory and kMisuse (no start, blow-up, missing input) leave
/// the planes as they were. Warnings of the march go to the host.
int superpose_kzk_cw(Transducer& element, const kzk::Aperture& aperture);
int superpose_kzk_transient(Transducer& element, const kzk::Aperture& aperture);

}  // namespace kestrel::detail
