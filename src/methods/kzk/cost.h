#pragma once

namespace kestrel::kzk {

/// What a march carries at every radial node.
enum class Unknown { harmonic, time_sample };

/// The size of a march, known before it starts.
struct Cost {
  long planes = 0;    ///< axial steps
  long nodes = 0;     ///< radial nodes
  long unknowns = 0;  ///< per node
  double bytes = 0;   ///< storage
  Unknown unknown = Unknown::harmonic;
  double updates() const {
    return static_cast<double>(planes) * static_cast<double>(nodes) * static_cast<double>(unknowns);
  }
};

}  // namespace kestrel::kzk
