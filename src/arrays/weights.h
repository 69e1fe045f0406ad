#pragma once

/// Phases, amplitudes and delays of an array: focusing, steering, apodization. Elements count as
/// simple sources here: with their area, the distance and the attenuation, but without the beam
/// that each forms. All functions change the array in place and fail with kestrel::Error, the array
/// as it was.

#include <array>
#include <optional>
#include <span>
#include <string_view>
#include <variant>
#include <vector>

#include "geometry/element.h"
#include "inputs/medium.h"

namespace kestrel {

/// How the waves of an array meet at several points.
struct FocusOptions {
  /// false: only phases change. They are those of a sum of the single foci's phases whose weights
  /// are adapted until the foci are as strong as asked for (the weighted Gerchberg-Saxton
  /// iteration). true: amplitudes change too: the pseudo-inverse of the matrix of what each element
  /// sends to each focus gives the weakest drive (Ebbini and Cain 1989, doi:10.1109/58.31798); it
  /// is scaled so that the largest amplitude stays what it was.
  bool set_amplitude = false;
  /// Magnitudes wanted, relative to each other, one for each point; none: all equal.
  std::vector<double> pressure = {};
};

/// Sets the phases so that, at the frequency f0 (Hz), the waves of all elements arrive at the
/// points in phase. The path from a rectangle is that from its centre; from a disc, ring or shell
/// the mean of those from its inner and outer edge (for a disc or shell, from its centre and its
/// edge), which is exact on its axis. An element whose two paths differ by 1 to 2 wavelengths has
/// the opposite sign there, so pi is added. The element nearest to the first point has phase 0;
/// phases lie between -pi and pi.
void focus(std::span<Element> array, std::span<const CartesianCoordinate> points,
           const Medium& medium, double f0, const FocusOptions& options = {});
void focus(std::span<Element> array, CartesianCoordinate point, const Medium& medium, double f0);

/// Sets the phases so that the elements' centres send a plane wave in the direction
/// (sin theta cos phi, sin theta sin phi, cos theta). The axes are those of `euler`; without it,
/// those of the elements when all have the same angles, else the global ones. The element that lies
/// farthest in the direction has phase 0.
void steer(std::span<Element> array, double theta, double phi, const Medium& medium, double f0,
           std::optional<CartesianCoordinate> euler = {});

/// A window over the aperture by its name, 'rect', 'cosine', 'hann', 'hamming', 'blackman', 'tukey'
/// or 'gauss', or numbers.
using Window = std::variant<std::string_view, std::vector<double>>;

/// Multiplies amplitudes by windows along x and y; numbers are one for each place that the centres
/// have on that axis, from the smallest. The aperture reaches from outer edge to outer edge. Along
/// an axis on which all centres have the same place a named window is 1. The axes are as for
/// `steer`.
void apodize(std::span<Element> array, const std::array<Window, 2>& windows,
             std::optional<CartesianCoordinate> euler = {});

/// The same by the distance from the z axis through the middle of the array, relative to the
/// aperture's radius; that of a ring is the mean of its radii.
void apodize_radially(std::span<Element> array, std::string_view window,
                      std::optional<CartesianCoordinate> euler = {});

/// Multiplies amplitudes by one weight for each element.
void apodize(std::span<Element> array, std::span<const double> weights);

/// Sets time delays (s) so that the pulses of all elements arrive together at `point`. The element
/// with the longest path has the delay 0.
void focus_delays(std::span<Element> array, CartesianCoordinate point, const Medium& medium);

}  // namespace kestrel
