#pragma once

#include <algorithm>

namespace kestrel::kzk {

/// What a user may ask of a march. Every quantity is dimensionless. 0, a negative value or NaN
/// means "choose for me"; a value outside its range is replaced by the default with a warning.
/// The members are in the order in which `NumericalIntegration` holds them.
struct Parameters {
  float step_factor = 0;         ///< axial step against the default law: 0.05-4
  float radial_step = 0;         ///< in effective source radii: 0.0005-0.1
  float domain_radius = 0;       ///< in effective source radii: 1.5-100
  float samples_per_period = 0;  ///< of the reference frequency, pulses only: 20-2000
  float guard_periods = 0;       ///< before and after the signal, pulses only: 0.5-100
  int harmonics = 0;             ///< carried, continuous wave only: 1-160
  int harmonic = 0;              ///< delivered, continuous wave only: 1-harmonics

  bool operator==(const Parameters&) const = default;
};

inline constexpr int kDefaultHarmonics = 30;
inline constexpr int kMostHarmonics = 160;
inline constexpr double kDefaultSamplesPerPeriod = 100;
inline constexpr double kDefaultGuardPeriods = 3;

/// The harmonics that a march carries: those asked for, or the default.
inline int carried_harmonics(const Parameters& parameters) {
  const int asked = parameters.harmonics;
  return asked >= 1 && asked <= kMostHarmonics ? asked : kDefaultHarmonics;
}

}  // namespace kestrel::kzk

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
