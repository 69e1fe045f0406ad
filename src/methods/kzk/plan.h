#pragma once

#include <string>
#include <vector>

#include "methods/kzk/problem.h"
#include "methods/kzk/radial_operator.h"

/// What both marches decide before the first step: the scaled equation, the radial grid, the law of
/// the axial steps, and where the observation points lie among the planes.

namespace kestrel::kzk {

/// The scaled equation,
///
///   dP_n/dsigma = -j (diffraction / n) Lap P_n - n absorption P_n
///                 + j n (nonlinearity / 2) (p^2)_n,
///
/// with diffraction = 1 / (4 G), absorption the attenuation in Np of the reference frequency per
/// length, and nonlinearity the length over the plane wave's shock distance.
struct Equation {
  double diffraction = 0;
  double absorption = 0;
  double nonlinearity = 0;
};

/// Throws Error (out of memory) when `what` needs more than `kMostBytes`; `remedy` names what would
/// need less.
void check_storage(double bytes, const char* what, const char* remedy);

/// Returns `value` if in [low, high], else `fallback`. Warns if an out-of-range value is positive
/// (0, NaN and negatives mean "not set"). `low` and `high` are the float-rounded limits, since
/// parameters arrive as float.
double in_range_or_default(double value, double low, double high, double fallback, const char* what,
                           std::vector<std::string>& warnings);

/// f0 when it is set; else 1 MHz, with a warning.
double frequency_or_default(double f0, std::vector<std::string>& warnings);

/// One point of the observation list, placed on the marched grid.
struct ReceiverSample {
  std::size_t point;  ///< its number in Problem::points
  double sigma;       ///< depth to read at
  double factor;      ///< amplitude factor of that depth
  double radius;      ///< r in effective radii
  std::size_t base;   ///< first of the four planes that it is interpolated from
};

/// Everything that is decided before the first step.
struct Plan {
  Beam beam;
  double wavenumber;  ///< of the reference frequency
  double sound_speed;
  double density;
  double alpha;  ///< Np/m at the reference frequency
  double beta;
  bool true_depth;  ///< as in the problem
  RadialGrid grid = {};
  double step_factor = 1.0;
  std::vector<double> planes = {};             ///< sigma of every plane, from 0
  std::vector<ReceiverSample> receivers = {};  ///< sorted by depth

  /// Angular frequency of the reference, rad/s.
  double omega() const { return wavenumber * sound_speed; }
  /// The attenuation that the march applies per length, and what is due before its first step.
  double absorption() const {
    return alpha * beam.length() * (true_depth ? beam.path_rate() : 1.0);
  }
  double leading_loss() const { return true_depth ? alpha * beam.leading_path() : 0.0; }
  /// Length over the shock distance of a plane wave of velocity `amplitude` * `peak`.
  double nonlinearity(double amplitude, double peak = 1.0) const {
    return beam.length() * beta * omega() * amplitude * peak / (sound_speed * sound_speed);
  }
  /// Bytes of the planes and receivers.
  double storage() const {
    return static_cast<double>(planes.capacity() * sizeof(double) +
                               receivers.capacity() * sizeof(ReceiverSample));
  }
  /// Backward-Euler half steps at the start: they take out the widest-angle part of the rim's
  /// discontinuity, which Crank-Nicolson would carry along unsmoothed.
  int smoothing_half_steps() const;
};

/// Makes the plan for `problem` at the reference frequency `frequency`, where it is attenuated;
/// when that is not positive, at the medium's f0, and without attenuation when f0 is unset. Throws
/// Error for geometry or constants that no march can start from.
Plan make_plan(const Problem& problem, double frequency, std::vector<std::string>& warnings);

/// Weights of the cubic through four nodes, at `at`.
inline void lagrange_weights(const double nodes[4], double at, double weights[4]) {
  for (int i = 0; i < 4; ++i) {
    double weight = 1.0;
    for (int k = 0; k < 4; ++k) {
      if (k != i) weight *= (at - nodes[k]) / (nodes[i] - nodes[k]);
    }
    weights[i] = weight;
  }
}

/// Four neighbouring radial nodes around a receiver and their weights. The field is even about the
/// axis and zero beyond the grid.
struct RadialStencil {
  int node[4];
  double weight[4];
  RadialStencil(double radius, const RadialGrid& grid) {
    const double at = radius * grid.per_radius;
    const double nodes[4] = {-1.0, 0.0, 1.0, 2.0};
    const bool inside = at < grid.nodes;
    const int base = inside ? static_cast<int>(at) : 0;
    lagrange_weights(nodes, at - base, weight);
    for (int i = 0; i < 4; ++i) {
      const int j = base - 1 + i;
      node[i] = j < 0 ? -j : j;
      if (!inside || node[i] >= grid.nodes) {
        node[i] = 0;
        weight[i] = 0.0;
      }
    }
  }
};

}  // namespace kestrel::kzk
