#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "kestrel/medium.h"
#include "kestrel/quadrature.h"
#include "kestrel/services.h"
#include "numerics/constants.h"

namespace kestrel::detail {

using constants::kDecibelsPerNeper;
using constants::kDefaultFrequency;
/// The field methods' own values of pi.
inline constexpr double kPi = constants::kShortPi;
inline constexpr double kTwoPi = constants::kShortTwoPi;
inline constexpr double kHalfPi = constants::kShortHalfPi;

/// An amplitude up to this radiates nothing.
inline constexpr double kNegligibleAmplitude = 1e-10;
inline bool is_negligible(double amplitude) { return std::abs(amplitude) <= kNegligibleAmplitude; }

/// -alpha in nepers per metre from the medium's dB/(cm MHz) and its stored frequency. One formula
/// in the orders of operation of the different methods, which differ in the last bit.
///
/// The frequency is always the stored one: when it was never set, the wavenumber falls back on
/// 1 MHz, but the loss stays that of a frequency of zero.
namespace negative_attenuation {
inline double scaled_first(const Medium& m) {
  return ((m._dBcmMHz * 100.0 * m._f0) / 1000000.0) / -kDecibelsPerNeper;
}
inline double nepers_first(const Medium& m) {
  return ((m._dBcmMHz / -kDecibelsPerNeper) * 100.0 * m._f0) / 1000000.0;
}
inline double frequency_first(const Medium& m) {
  return (m._f0 * (m._dBcmMHz / -kDecibelsPerNeper) * 100.0) / 1000000.0;
}
inline double left_to_right(const Medium& m) {
  return m._dBcmMHz * -100.0 * m._f0 / 1000000.0 / kDecibelsPerNeper;
}
inline double negated_last(const Medium& m) {
  return ((m._dBcmMHz / kDecibelsPerNeper) * 100.0 * m._f0) / -1000000.0;
}
}  // namespace negative_attenuation

/// -k = -2 pi / (c/f).
inline double negative_wavenumber(const Medium& medium, double frequency) {
  return -kTwoPi / (medium._soundspeed / frequency);
}

inline double default_frequency() {
  services::warn("f0 not set; using default of 1 MHz to calculate wavelength.");
  return kDefaultFrequency;
}
/// The frequency of the wavenumber, with the 1 MHz default. The rectangle takes a NaN as it is; the
/// round shapes count it as not set.
inline double frequency_or_default_keeping_nan(const Medium& medium) {
  return medium._f0 <= 1e-10 ? default_frequency() : medium._f0;
}
inline double frequency_or_default(const Medium& medium) {
  return medium._f0 > 1e-10 ? medium._f0 : default_frequency();
}

/// map(m) for m = 0 .. n-1.
template <class Map>
std::vector<double> table_of(int n, Map map) {
  std::vector<double> table(static_cast<std::size_t>(std::max(n, 0)));
  for (std::size_t m = 0; m < table.size(); ++m) table[m] = map(static_cast<int>(m));
  return table;
}
/// One value per node of the rule, from its abscissa or from its weight.
template <class Map>
std::vector<double> from_abscissas(const NumericalIntegration& rule, Map map) {
  return table_of(rule.get_npoints(), [&](int i) { return map(rule.get_abscissa(i)); });
}
template <class Map>
std::vector<double> from_weights(const NumericalIntegration& rule, Map map) {
  return table_of(rule.get_npoints(), [&](int i) { return map(rule.get_weight(i)); });
}
inline std::vector<double> abscissas(const NumericalIntegration& rule) {
  return from_abscissas(rule, [](double x) { return x; });
}
inline std::vector<double> weights(const NumericalIntegration& rule) {
  return from_weights(rule, [](double w) { return w; });
}

}  // namespace kestrel::detail
