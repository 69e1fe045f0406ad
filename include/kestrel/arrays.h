#pragma once

/// Arrays of equal elements in the usual layouts. Every array stands in a frame of its own, with
/// its middle at the origin and radiating into z > 0; a Placement moves and turns it as a whole.
/// All lengths are metres, all angles radians. What cannot be is refused with kestrel::Error, whose
/// text names the argument.

#include <array>
#include <limits>
#include <optional>
#include <span>
#include <string_view>
#include <variant>
#include <vector>

#include "kestrel/geometry.h"
#include "kestrel/medium.h"

namespace kestrel {

/// Where an array stands, and the drive of its elements.
struct Placement {
  CartesianCoordinate center = {};
  CartesianCoordinate euler = {};         ///< turns positions and faces, see Rotation
  std::vector<double> amplitude = {1.0};  ///< one for all elements or one each, m/s
  std::vector<double> phase = {0.0};      ///< likewise
};

/// Moves and turns `array` as a whole and sets its weights.
std::vector<Element> place(std::vector<Element> array, const Placement& placement);

/// A row of `n` rectangles along x, centres `pitch` apart. Element 0 has the smallest x. Fails for
/// elements that would overlap.
std::vector<Element> linear_array(int n, const Rectangle& element, double pitch,
                                  const Placement& placement = {});

/// A lattice of n[0] by n[1] rectangles in the plane z = 0, centres pitch[0] apart along x and
/// pitch[1] along y; the index along x runs fastest.
std::vector<Element> planar_array(std::array<int, 2> n, const Rectangle& element,
                                  std::array<double, 2> pitch, const Placement& placement = {});

/// A row of `n` rectangles that touch a cylinder about an axis parallel to y, centres `pitch` apart
/// along the arc. The middle of the arc is at the origin. radius > 0: hollow, the axis is at
/// z = radius, in front of the array; radius < 0: bulging, as abdominal probes are.
std::vector<Element> curved_array(int n, const Rectangle& element, double pitch, double radius,
                                  const Placement& placement = {});

/// Concentric rings between inner_radii[i] and outer_radii[i]; one whose inner radius is 0 is a
/// disc. With a finite `rad_curvature` they are cut from a bowl of that radius with its apex at the
/// origin.
std::vector<Element> annular_array(std::span<const double> inner_radii,
                                   std::span<const double> outer_radii,
                                   double rad_curvature = std::numeric_limits<double>::infinity(),
                                   const Placement& placement = {});

/// What a bowl of discs is made of.
struct Bowl {
  double element_radius = 0;
  double aperture_radius = 0;  ///< no part of an element is farther from the z axis
  double rad_curvature = 0;    ///< of the sphere on which the centres lie
  double inner_radius = 0;     ///< of an opening around the axis
  int apodization_index = 0;   ///< of every disc
};

/// `n` flat discs on a sphere with its lowest point at the origin, all facing its centre. The
/// centres follow a spiral that turns by the golden angle from element to element and rises so that
/// every element has the same area of the sphere (Vogel 1979, doi:10.1016/0025-5564(79)90080-4):
/// it has no rows, which keeps grating lobes low. Fails when the discs do not fit, naming the
/// largest element radius that does.
std::vector<Element> bowl_array(int n, const Bowl& bowl, const Placement& placement = {});

/// Copies of `prototype` at `positions`, each radiating along its normal, which need not have
/// length 1: one for each position, one for all, or none for +z. The prototype's third angle, by
/// which it is spun about its own axis, holds for all; its other angles and its centre do not
/// count.
std::vector<Element> from_positions(const Element& prototype,
                                    std::span<const CartesianCoordinate> positions,
                                    std::span<const CartesianCoordinate> normals = {});

/// Turns every element where it stands, so that it radiates towards `point`. Its third angle stays.
void aim(std::span<Element> array, CartesianCoordinate point);

}  // namespace kestrel

/// Phases, amplitudes and delays of an array: focusing, steering, apodization. Elements count as
/// simple sources here: with their area, the distance and the attenuation, but without the beam
/// that each forms. All functions change the array in place and fail with kestrel::Error, the array
/// as it was.

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

/// Sets time delays (s) so that the pulses of the elements' centres add up to a plane wave in the
/// direction of `steer`. Relative to the array's middle, so that earlier and later ones are alike.
void plane_wave_delays(std::span<Element> array, double theta, double phi, const Medium& medium,
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
