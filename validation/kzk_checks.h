#pragma once

#include <complex>
#include <string_view>
#include <vector>

#include "methods/kzk/cw_march.h"
#include "methods/kzk/harmonic_beam.h"
#include "methods/kzk/transient_march.h"

/// The measurements behind the rows of kzk_table.h. Each returns what was measured; the table knows
/// what is acceptable.

namespace kestrel::checks {

using Complex = std::complex<double>;

/// Deliberate errors. They enter through the numbers that the march's parts take anyway.
struct Fault {
  std::string_view name = "none";
  double nonlinearity = 1;
  double diffraction = 1;
  double focusing = 1;  ///< 0: none at all
  double absorption = 1;
  bool inverted_factor = false;  ///< of the reading depth
  bool loss_over_depth = false;  ///< absorbed over the reading depth, not over the mean path
  bool axial_depth = false;      ///< the reading depth of the axis everywhere
  bool backward_euler = false;   ///< throughout
  kzk::RadialOrder order = kzk::RadialOrder::fourth;
  bool operator==(const Fault&) const = default;
};

/// A lossless, linear problem: unit velocity, density 1000, 1500 m/s.
kzk::CwProblem linear_piston(double ka, const std::vector<kzk::Point>& points);
kzk::CwProblem linear_shell(double half_angle_degrees, double gain,
                            const std::vector<kzk::Point>& points);
/// The piston and the shell of the nonlinear checks: 1 MHz, 10 mm, 0.3 MPa, water; and 2 MHz, 15
/// mm, 60 mm, 0.15 MPa, 0.3 dB/(cm MHz).
kzk::CwProblem unfocused(const std::vector<kzk::Point>& points);
kzk::CwProblem focused(const std::vector<kzk::Point>& points);

double wavenumber(const kzk::Problem& problem);
/// The shell's chord and gain, the piston's Rayleigh distance, as the march uses them.
kzk::Beam beam_of(const kzk::Problem& problem);
/// Points at `fractions` of the beam's length, at distance r from the axis.
std::vector<kzk::Point> at_depths(double length, const std::vector<double>& fractions,
                                  double r = 0);
std::vector<double> range(double from, double to, int count);

/// The march of `problem`, built from the parts of the product but driven from here: planes land on
/// the points exactly, one point after the other (which must be sorted by reading depth), and
/// faults can be put in. Harmonics 1 .. wanted; harmonic h at point i lies at (h - 1) * points + i.
std::vector<Complex> landed_march(const kzk::CwProblem& problem, int wanted,
                                  const Fault& fault = {});

/// Largest |pressure - exact| over 2 p0 (piston) or over the largest exact value (shell); exact is
/// the closed form on the axis, the Rayleigh integral elsewhere. A fault takes the march from
/// `landed_march`.
double field_error(const kzk::CwProblem& problem, const Fault& fault = {});

/// Largest deviation of harmonics 1-5 of a plane wave from the exact solution, at `sigma`.
double plane_wave_error(double sigma, int harmonics, const Fault& fault = {});
double thermoviscous_error(double sigma, double goldberg, int harmonics, const Fault& fault = {});
double wave_step_error(double sigma, int samples_per_period, const Fault& fault = {});
/// Of the Gaussian beam's second harmonic, over its largest value, up to one Rayleigh distance.
double gaussian_error(const Fault& fault = {});

/// Amplitudes over p0 of harmonics 1-5 at one point.
std::vector<double> harmonic_amplitudes(kzk::CwProblem problem);

/// |burst - continuous| / |continuous| of harmonics 1-3 at the one point of `problem`: a long tone
/// burst, marched as a pulse, against the continuous wave.
std::vector<double> burst_errors(const kzk::CwProblem& problem, double samples_per_period,
                                 int cw_harmonics, const Fault& fault = {});

/// A three-cycle raised-cosine pulse, or 2.5 abrupt cycles with a mean, through the linear march,
/// against the exact solution on the axis and the Rayleigh integral elsewhere, over the exact peak.
/// Faults: focusing 0 marches a flat source of the same radius; a wrong diffraction or another
/// focusing is put into a march on the axis, to the first point, that is driven from here.
enum class PulseShape { raised_cosine, abrupt };
struct PulseError {
  double largest = 0;
  double rms = 0;
};
PulseError pulse_error(const kzk::CwProblem& problem, PulseShape shape, const Fault& fault = {});

/// How far from 1 the power of a beam is after a march that should conserve it: by diffraction
/// alone, or by the nonlinearity of a Gaussian beam over one Rayleigh distance.
double diffracted_power_error(const Fault& fault = {});
double nonlinear_power_error(double nonlinearity, const Fault& fault = {});
/// Largest deviation of an absorbed linear beam from the lossless one times exp(-alpha z).
double absorbed_field_error(const Fault& fault = {});
/// The same of a linear pulse's spectral components at 0.7, 1 and 1.5 times its frequency.
double absorbed_pulse_error(const Fault& fault = {});
/// Of the amplitude of a linear beam in an absorbing fluid on the axis, from its closed form.
double lossy_axis_error(const kzk::CwProblem& problem, const Fault& fault = {});
/// Of a three-cycle pulse in an absorbing fluid on the axis, from its closed form, over its peak.
double lossy_pulse_error(const kzk::CwProblem& problem);

}  // namespace kestrel::checks
