#pragma once

#include <complex>
#include <cstddef>
#include <functional>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "kestrel/elements.h"
#include "kestrel/excitation.h"
#include "kestrel/grid.h"
#include "kestrel/instruction_set.h"
#include "kestrel/medium.h"
#include "kestrel/method.h"
#include "kestrel/nonlinear.h"
#include "kestrel/time_axis.h"

namespace kestrel::fields {

/// Called on the calling thread, soon after long nonlinear marches have begun, with the seconds
/// that all of them will take, roughly.
using Announcement = std::function<void(double seconds)>;

/// Asked some ten times a second, on the calling thread, with the fraction of the work that is
/// done: 0 while it is being planned, at least kBegun from then on. False ends the calculation with
/// Cancelled. May throw.
using Progress = std::function<bool(double fraction)>;

/// The least fraction of work that has begun.
inline constexpr double kBegun = 1e-9;

/// How a whole array's field, of continuous waves or of pulses, is to be computed. Several
/// calculations may run at once in one program, on threads of their own, each with its settings.
struct Settings {
  /// Null: 'fnm_cw' for continuous waves, 'fnm_tsd' for pulses.
  const Method* method = nullptr;
  /// Hz; 0: the medium's.
  double frequency = 0;
  /// Quadrature nodes per integral, of the Rayleigh integral per direction; ignored when a
  /// tolerance is given, and by 'kzk_cw' and 'kzk_transient'. 0: as many as a tolerance wants.
  int nodes = 0;
  /// Largest error wanted, relative to the field's peak; the number of nodes follows. Without it
  /// and without nodes it is 1e-4 for methods that take a tolerance, as 'fnm_cw' alone does.
  std::optional<double> tolerance = {};
  int threads = 0;  ///< 0: one per processor core
  /// Let equal elements share what they have in common and, with a tolerance, let groups of
  /// neighbours share the places at which they are computed (continuous waves).
  bool reuse = true;
  /// Bytes of working memory, besides the result, that reuse and groups may take.
  double memory = 512e6;
  bool estimate_error = true;  ///< of continuous waves
  /// The best one when not given.
  std::optional<InstructionSet> instruction_set = {};
  Progress progress = {};
  /// Grid, steps and harmonics of 'kzk_cw' and 'kzk_transient'; none for other methods.
  kzk::Parameters kzk = {};
  Announcement announce = {};
};

/// What was done.
struct Report {
  double seconds = 0;
  int least_nodes = 0, greatest_nodes = 0;
  std::size_t reused_elements = 0;   ///< of the array's elements, those computed by reuse
  std::size_t direct_elements = 0;   ///< those computed one by one
  std::size_t grouped_elements = 0;  ///< those computed in groups (docs/arrays.md)
  /// Of the pairs of such an element and a point, the share whose pressure was interpolated.
  double interpolated = 0;
  InstructionSet instruction_set = InstructionSet::scalar;
  int threads = 0;
  double memory = 0;  ///< bytes of working memory, besides the result
  /// Estimate of the largest difference between the result and a converged field, relative to the
  /// result's peak; NaN when it was not asked for or there is nothing to estimate, for 'kzk_cw' and
  /// for pulses.
  double error_estimate = std::numeric_limits<double>::quiet_NaN();
  /// The largest march of 'kzk_cw' or 'kzk_transient'.
  kzk::Cost march = {};
  /// What the user should know of the result, each text once.
  std::vector<std::string> warnings = {};
};

/// Pressure of an array on a grid: result[i] for grid point i is the sum over all elements, each in
/// its own place with its own weight.
///
/// Every element is computed by the method's slot of the table, through the same call as by hand.
/// The grid is cut into tiles that threads share; the result does not depend on their number. With
/// reuse (reuse_plan.h), elements of equal geometry and orientation whose places fit the grid's
/// lattice share one table of their common field; this changes the result by rounding only. With a
/// tolerance the fields of groups of other elements may be interpolated between the points at which
/// they are computed (element_groups.h), with an error that is part of the tolerance.
///
/// Fails for elements or settings that cannot be (naming the element, counted from 1), for a method
/// that a shape lacks, and with Cancelled when progress says so; then `result` is unspecified.
/// What the methods print comes once, on the calling thread; their warnings are in the report.
Report compute_field(const std::vector<Element>& elements, const CoordinateGrid& grid,
                     const Medium& medium, const Settings& settings, std::complex<double>* result);

/// A field, in the order of the grid's points, and what was done.
struct ContinuousField {
  std::vector<std::complex<double>> pressure;
  Report report;
};
ContinuousField continuous_field(const std::vector<Element>& elements, const CoordinateGrid& grid,
                                 const Medium& medium, const Settings& settings = {});

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
/// with Cancelled when progress says so; then `result` is unspecified. What the methods print comes
/// once, on the calling thread; their warnings are in the report.
Report compute_transient_field(const std::vector<Element>& elements, const CoordinateGrid& grid,
                               const Medium& medium, const TimeSamples& time,
                               std::span<const ExcitationFunction* const> excitations,
                               const Settings& settings, double* result);

}  // namespace kestrel::fields
