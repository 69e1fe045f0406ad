#pragma once

#include <algorithm>

namespace kestrel::kzk {

/// What a march carries at every radial node.
enum class UnknownKind { harmonic, time_sample };

/// The size of a march, known before it starts.
struct Cost {
  long planes = 0;    ///< axial steps
  long nodes = 0;     ///< radial nodes
  long unknowns = 0;  ///< per node
  double bytes = 0;   ///< storage
  UnknownKind unknown = UnknownKind::harmonic;
  double updates() const {
    return static_cast<double>(planes) * static_cast<double>(nodes) * static_cast<double>(unknowns);
  }
};

/// Roughly how long a march will take, in seconds: to tell a user before it starts, not to compare.
///
/// Calibrated on one 2.4 GHz processor core with AVX2: pistons to 1 and 4 Rayleigh distances,
/// shells of gain 6 and 16, linear to 1.5 MPa at the source, 1 to 120 harmonics, 30 and 100 samples
/// a period. Samples took 2.6 to 7.1 ns an update, absorption included. Harmonics are solved in
/// packs of eight and took 12 to 37 ns each; where a strong shock fills more than 30 of them, up to
/// 130 ns. Two threads took 0.7 of the time for harmonics, 0.9 for samples.
inline double estimated_seconds(const Cost& cost, int threads) {
  const double places = static_cast<double>(cost.planes) * static_cast<double>(cost.nodes);
  const bool pulse = cost.unknown == UnknownKind::time_sample;
  const double each = pulse ? 4.2e-9 * static_cast<double>(cost.unknowns)
                            : 19e-9 * static_cast<double>((cost.unknowns + 7) / 8 * 8);
  const double single = pulse ? 0.8 : 0.4;  // share of the work that one thread does alone
  return places * each * (single + (1.0 - single) / std::max(1, threads));
}

}  // namespace kestrel::kzk
