#pragma once

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
