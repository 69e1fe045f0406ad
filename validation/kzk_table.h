#pragma once

#include <functional>
#include <string>
#include <vector>

#include "validation/kzk_checks.h"

/// The marches against what is known without them: one table for the tests, which run its quick
/// rows and prove that faults are caught, and for the validation table of docs/nonlinear.md.

namespace kestrel::checks {

struct Check {
  std::string section;
  std::string name;
  std::vector<double> accepted;  ///< of each value measured (harmonics 1, 2, ...); 0: any
  std::function<std::vector<double>(const Fault&)> measure;
  std::vector<Fault> caught;  ///< with each of these a value must miss its figure
  bool slow;

  /// Whether every value is as good as accepted; never for a march without a result.
  bool holds(const std::vector<double>& measured) const;
  /// The name of value number `i`.
  std::string label(std::size_t i) const;
};

std::vector<Check> all_checks();

}  // namespace kestrel::checks
