#pragma once

#include <chrono>
#include <optional>
#include <span>
#include <vector>

#include "fields/tile_runner.h"
#include "kestrel/field.h"

namespace kestrel::fields {

/// One calculation of a whole array, from its checked inputs to its report. The instruction set,
/// the threads, the limits and the progress belong to it, and to nothing else in the program.
class Run {
  std::chrono::steady_clock::time_point _start = std::chrono::steady_clock::now();
  std::optional<ScopedInstructionSet> _chosen_set;

 public:
  /// `methods`: those to choose from; `usual`: the one that settings without a method mean. Fails
  /// for elements, a medium or settings that cannot be, and for a method that a shape lacks.
  Run(const std::vector<Element>& elements, const CoordinateGrid& grid, const Medium& medium,
      const Settings& settings, std::span<const Method> methods, const char* usual);

  /// Completes the report, and prints what the methods printed.
  Report finish();

  const std::vector<Element>& elements;
  const CoordinateGrid& grid;
  const Settings settings;  ///< with what was left open
  const Method& method;
  const Medium medium;  ///< at the settings' frequency
  TileRunner runner;
  Report report;
};

}  // namespace kestrel::fields
