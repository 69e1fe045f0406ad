#pragma once

#include <complex>
#include <cstddef>
#include <functional>
#include <optional>
#include <span>
#include <vector>

#include "fields/element.h"
#include "fields/kzk_announcement.h"
#include "fields/method.h"
#include "fields/tile_runner.h"
#include "inputs/coordinate_grid.h"
#include "inputs/medium.h"
#include "methods/kzk/cost.h"
#include "numerics/instruction_set.h"

namespace kestrel::fields {

/// How a whole array's field is to be computed.
struct Settings {
  const Method* method = find_continuous_wave_method("fnm_cw");
  /// Quadrature nodes per integral; ignored when a tolerance is given, and by 'kzk_cw'.
  int nodes = 0;
  /// Largest error wanted, relative to the field's peak; the number of nodes follows.
  std::optional<double> tolerance = {};
  int threads = 0;    ///< 0: one per processor core
  bool reuse = true;  ///< let equal elements share what they have in common
  /// Bytes of working memory, besides the result, that reuse may take.
  double memory = 512e6;
  bool estimate_error = true;
  /// The best one when not given.
  std::optional<InstructionSet> instruction_set = {};
  /// See TileRunner::Progress.
  TileRunner::Progress progress = {};
  /// Grid, steps and harmonics of 'kzk_cw'; none for other methods.
  kzk::Parameters kzk = {};
  Announcement announce = {};
};

/// What was done.
struct Report {
  double seconds = 0;
  int least_nodes = 0, greatest_nodes = 0;
  std::size_t reused_elements = 0;  ///< of the array's elements, those computed by reuse
  std::size_t direct_elements = 0;  ///< those computed one by one
  InstructionSet instruction_set = InstructionSet::scalar;
  int threads = 0;
  double memory = 0;  ///< bytes of working memory, besides the result
  /// Estimate of the largest difference between the result and a converged field, relative to the
  /// result's peak; NaN when it was not asked for or there is nothing to estimate, and for
  /// 'kzk_cw'.
  double error_estimate = 0;
  /// The largest march of 'kzk_cw'.
  kzk::Cost march = {};
};

/// Pressure of an array on a grid: result[i] for grid point i is the sum over all elements, each in
/// its own place with its own weight.
///
/// Every element is computed by the method's slot of the table, through the same call as by hand.
/// The grid is cut into tiles that threads share; the result does not depend on their number. With
/// reuse (reuse_plan.h), elements of equal geometry and orientation whose places fit the grid's
/// lattice share one table of their common field; this changes the result by rounding only.
///
/// Fails for elements or settings that cannot be (naming the element, counted from 1), for a method
/// that a shape lacks, and with Cancelled when progress says so; then `result` is unspecified.
/// Texts of the methods come once each, on the calling thread, which must be the host's.
Report compute_field(const std::vector<Element>& elements, const CoordinateGrid& grid,
                     const Medium& medium, const Settings& settings, std::complex<double>* result);

/// Harmonics of a nonlinear beam by 'kzk_cw', all from one march of each element: harmonic
/// harmonics[h] at point i is result[h * points + i]; without harmonics, the one that settings.kzk
/// names (the fundamental, if none) is result[i]. Each element is marched alone and
/// their fields are added: how the beams of different elements distort each other is not modelled.
///
/// Fails as compute_field does, for a harmonic that the march does not carry, and when a march
/// fails, with its reason.
Report compute_harmonics(const std::vector<Element>& elements, const CoordinateGrid& grid,
                         const Medium& medium, std::span<const int> harmonics,
                         const Settings& settings, std::complex<double>* result);

}  // namespace kestrel::fields
