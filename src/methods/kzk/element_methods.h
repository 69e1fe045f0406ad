#pragma once

#include <span>
#include <vector>

#include "methods/common/element_inputs.h"
#include "methods/kzk/cw_march.h"
#include "methods/kzk/transient_march.h"

namespace kestrel::detail {

/// The nonlinear methods of the circular piston (curvature 0) and the shell. They give an element's
/// inputs to the march and superpose what it delivers.
///
/// Codes as from every method: kOutOfMemory and kMisuse (no start, blow-up, missing input) leave
/// the planes as they were. Warnings of the march are issued by services::warn.
int superpose_kzk_cw(const ElementInputs& in, const kzk::Aperture& aperture);
int superpose_kzk_transient(const ElementInputs& in, const kzk::Aperture& aperture);

/// The same in pieces, for whoever wants more of a march than its method can say: several
/// harmonics, several threads, progress. First the element's grid in its own cylindrical
/// coordinates.
std::vector<kzk::Point> kzk_points(const ElementInputs& in);
/// The samples of its time axis, s.
std::vector<double> kzk_times(const ElementInputs& in);
/// Then the march that its medium, weight, rule (if it has one) and, for a pulse, excitation and
/// delay ask for. The problem refers to the points and times. A pulse is driven by the signal's
/// exact lines; its reference frequency is where the signal's power lies.
kzk::CwProblem kzk_cw_problem(const ElementInputs& in, const kzk::Aperture& aperture,
                              std::span<const kzk::Point> points);
kzk::TransientProblem kzk_transient_problem(const ElementInputs& in, const kzk::Aperture& aperture,
                                            std::span<const kzk::Point> points,
                                            std::span<const double> times);

}  // namespace kestrel::detail
