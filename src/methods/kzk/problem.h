#pragma once

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "kestrel/error.h"
#include "kestrel/nonlinear.h"
#include "methods/kzk/beam.h"

/// What the continuous-wave march (cw_march.h) and the pulse march (transient_march.h) have in
/// common for who calls them: the problem as a user states it, and the report.

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

/// How a march went. `warnings` are for the caller to issue, in any case.
struct Report {
  std::optional<Error> error;  ///< why there is no result
  std::vector<std::string> warnings;
};

/// Called with the fraction done, on the caller's thread; returning false cancels the march.
using Progress = std::function<bool(double)>;

/// No march takes more storage than this, its list of points and its result included.
inline constexpr double kMostBytes = 1024.0 * 1024.0 * 1024.0;
/// Nor more axial steps; it would never end.
inline constexpr double kMostPlanes = 1e7;

/// The problem that both marches share.
struct Problem {
  Aperture aperture;
  Fluid fluid;
  Parameters parameters;
  std::span<const Point> points;
  /// Read the solution at the depth that makes the linear axial field exact
  /// (Beam::corrected_depth); otherwise at the parabolic equation's own depth.
  bool true_depth = true;
  int threads = 1;
  Progress progress;
};

}  // namespace kestrel::kzk
