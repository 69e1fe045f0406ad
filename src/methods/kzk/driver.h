#pragma once

#include <functional>
#include <span>
#include <string>
#include <vector>

#include "methods/kzk/beam.h"
#include "methods/kzk/cost.h"
#include "methods/kzk/parameters.h"
#include "methods/kzk/radial_operator.h"

/// What the continuous-wave march (kzk_cw_march.h) and the pulse march (kzk_transient_march.h) have
/// in common: the problem as a user states it, the answer's code, and the law of the axial steps.

namespace kestrel::kzk {

/// The fluid as the medium stores it. Unset or senseless values are replaced with a warning, as by
/// the linear methods.
struct Fluid {
  double f0 = 0;           ///< Hz; only its attenuation keeps an unset value
  double sound_speed = 0;  ///< m/s
  double density = 0;      ///< kg/m^3
  double beta = 0;         ///< coefficient of nonlinearity (3.5 for water), not B/A
  double attenuation = 0;  ///< dB/(cm MHz)
};

/// The element: aperture radius (m), and radius of curvature (m) for the shell, 0 for the piston.
struct Aperture {
  double radius = 0;
  double curvature = 0;
};

/// The numbers are the element methods' result codes; `cancelled` never leaves the C++ interface.
enum class Code { done = 0, out_of_memory = 2, failed = 3, cancelled = 4 };

/// What came of a march, in words. `warnings` are for the caller to issue, in any case.
struct Report {
  Code code = Code::done;
  std::string reason;  ///< why the code is not `done`
  std::vector<std::string> warnings;
};

/// Called with the fraction done, on the caller's thread; returning false cancels the march.
using Progress = std::function<bool(double)>;

/// Roughly how long a march will take, in seconds: to tell a user before it starts, not to compare.
/// See the definition for what it was calibrated on.
double estimated_seconds(const Cost& cost, int threads);

/// No march takes more storage than this, its list of points and its result included.
inline constexpr double most_bytes = 1024.0 * 1024.0 * 1024.0;
/// Nor more axial steps; it would never end.
inline constexpr double most_planes = 1e7;

/// The problem that both marches share.
struct Problem {
  Aperture aperture;
  Fluid fluid;
  Parameters parameters;
  std::span<const Point> points;
  /// Read the solution at the depth that makes the linear axial field exact (Beam::reading);
  /// otherwise at the parabolic equation's own depth.
  bool true_depth = true;
  int threads = 1;
  Progress progress;
};

/// The scaled equation,
///   dP_n/dsigma = -j (diffraction / n) Lap P_n - n absorption P_n + j n (nonlinearity / 2) (p^2)_n
///   ,
/// with diffraction = 1 / (4 G), absorption the attenuation in Np of the reference frequency per
/// length, and nonlinearity the length over the plane wave's shock distance.
struct Equation {
  double diffraction = 0;
  double absorption = 0;
  double nonlinearity = 0;
};

/// Thrown inside a march, turned into its report at the entry.
struct Refusal {
  Code code;
  std::string reason;
};

/// Throws Refusal when `what` needs more than `most_bytes`; `remedy` names what would need less.
void check_storage(double bytes, const char* what, const char* remedy);

/// `value` when it lies in [low, high]; otherwise `fallback`, with a warning when `value` is a
/// positive number, which somebody must have meant. Limits of a float are given as floats, so that
/// a limit itself is in range.
double asked_or(double value, double low, double high, double fallback, const char* what,
                std::vector<std::string>& warnings);

/// f0 when it is set; else 1 MHz, with a warning.
double frequency_or_default(double f0, std::vector<std::string>& warnings);

/// One point of the observation list, placed on the marched grid.
struct Reader {
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
  RadialGrid grid;
  double step_factor;
  bool true_depth;              ///< as in the problem
  std::vector<double> planes;   ///< sigma of every plane, from 0
  std::vector<Reader> readers;  ///< sorted by depth

  /// The attenuation that the march applies per length, and what is due before its first step.
  double absorption() const {
    return alpha * beam.length() * (true_depth ? beam.path_rate() : 1.0);
  }
  double leading_loss() const { return true_depth ? alpha * beam.leading_path() : 0.0; }
  /// Bytes of the planes and readers.
  double storage() const {
    return static_cast<double>(planes.capacity() * sizeof(double) +
                               readers.capacity() * sizeof(Reader));
  }

  double sigma_end() const { return planes.empty() ? 0.0 : planes.back(); }
  /// Backward-Euler half steps at the start: they take out the widest-angle part of the rim's
  /// discontinuity, which Crank-Nicolson would carry along unsmoothed.
  int smoothing_half_steps() const;
};

/// Makes the plan for `problem` at the reference frequency `frequency`, where it is attenuated;
/// when that is not positive, at the medium's f0, and without attenuation when f0 is unset. Throws
/// Refusal for geometry or constants that no march can start from.
Plan make_plan(const Problem& problem, double frequency, std::vector<std::string>& warnings);

/// What the axial step law depends on.
struct StepLaw {
  double gain;
  bool focused;
  double radial_step;
  double factor;  ///< the user's
  double widest;  ///< transverse wavenumber, times a_e, of the widest observation angle
};

/// The planes from 0 to the first one beyond the interval that contains `deepest`; at least four.
std::vector<double> axial_planes(const StepLaw& law, double deepest);

/// Weights of the cubic through four nodes, at `at`.
inline void lagrange_weights(const double nodes[4], double at, double weights[4]) {
  for (int i = 0; i < 4; ++i) {
    double weight = 1.0;
    for (int k = 0; k < 4; ++k)
      if (k != i) weight *= (at - nodes[k]) / (nodes[i] - nodes[k]);
    weights[i] = weight;
  }
}

/// Four neighbouring radial nodes around a reader and their weights. The field is even about the
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
