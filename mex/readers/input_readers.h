#pragma once

/// The operations of the input classes that read a MEX host's structures. The library declares them
/// for any host's array type; these are their definitions for the host of this build.

#include <vector>

#include "kestrel/excitation.h"
#include "kestrel/grid.h"
#include "kestrel/medium.h"
#include "kestrel/time_axis.h"
#include "mex/host/mex_api.h"

namespace kestrel {

template <>
bool CoordinateGrid::allocate_memory_and_set_values(mxArray const** structure);
template <>
Medium::Medium(mxArray const** structure);
template <>
bool TimeSamples::allocate_memory_and_set_values(mxArray const** structure);
template <>
ExcitationFunction::ExcitationFunction(const mxArray* signal, double ts, double w,
                                       double clip_threshold, int type);
template <>
void ExcitationFunction::excitation_vector(std::vector<ExcitationFunction*>* out,
                                           const mxArray* structure, int nelements);

}  // namespace kestrel
