#pragma once

#include <span>
#include <vector>

#include "excitation/excitation_function.h"
#include "fields/element.h"
#include "fields/kzk_announcement.h"
#include "fields/method.h"
#include "fields/tile_runner.h"
#include "inputs/coordinate_grid.h"
#include "inputs/medium.h"
#include "inputs/time_samples.h"
#include "methods/kzk/cost.h"
#include "numerics/instruction_set.h"

namespace kestrel::fields {

/// How a whole array's transient field is to be computed.
struct TransientSettings {
  const Method* method = find_transient_method("fnm_tsd");
  /// Quadrature nodes per integral; per direction for the Rayleigh integral. Ignored by
  /// 'kzk_transient'.
  int nodes = 0;
  int threads = 0;  ///< 0: one per processor core
  /// See TileRunner::Progress.
  TileRunner::Progress progress = {};
  /// Grid and steps of 'kzk_transient'; none for other methods.
  kzk::Parameters kzk = {};
  Announcement announce = {};
};

/// What was done.
struct TransientReport {
  double seconds = 0;
  InstructionSet instruction_set = InstructionSet::scalar;
  int threads = 0;
  double memory = 0;  ///< bytes of working memory, besides the result and the methods' own tables
  /// The largest march of 'kzk_transient'.
  kzk::Cost march = {};
};

/// Transient pressure of an array: result[i + k * grid.npoints()] for grid point i and sample k of
/// `time` is the sum over all elements, each in its own place with its own amplitude and delay. The
/// method 'impulse_response' gives the velocity potential's impulse response, m/s, instead. By the
/// nonlinear 'kzk_transient' each element is marched alone: how the beams of different elements
/// distort each other is not modelled.
///
/// `excitations` drive the elements, one for all or one for each. They and `time` are only read,
/// and threads share them; each thread has everything else of its own. The result is the same, bit
/// for bit, for any number of threads.
///
/// Fails for elements, excitations or settings that cannot be (naming the element, counted from 1),
/// for a method that a shape lacks, when memory runs out (naming the method and the shape), and
/// with Cancelled when progress says so; then `result` is unspecified. Texts of the methods come
/// once each, on the calling thread, which must be the host's.
TransientReport compute_transient_field(const std::vector<Element>& elements,
                                        const CoordinateGrid& grid, const Medium& medium,
                                        const TimeSamples& time,
                                        std::span<const ExcitationFunction* const> excitations,
                                        const TransientSettings& settings, double* result);

}  // namespace kestrel::fields
