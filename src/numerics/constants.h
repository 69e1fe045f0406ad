#pragma once

namespace kestrel::constants {

/// Pi and its multiples as the field methods and excitations write them: short of full double
/// precision. Published results of these methods carry the literals in their last digits, so they
/// stay.
inline constexpr double kShortPi = 3.14159265358979;
inline constexpr double kShortTwoPi = 6.28318530717958;
inline constexpr double kShortHalfPi = 1.570796326794895;

/// Decibels per neper, 20 log10(e).
inline constexpr double kDecibelsPerNeper = 8.685889638065037;

/// The frequency (Hz) of a medium for which none was set.
inline constexpr double kDefaultFrequency = 1e6;

}  // namespace kestrel::constants
