#pragma once

#include <complex>

#include "methods/kzk/problem.h"

namespace kestrel::kzk {

/// A continuous beam of one element: harmonics of the pressure at a list of points.
///
/// The parabolic equation for a thermoviscous-like fluid whose attenuation is linear in frequency,
/// marched from the source plane; see docs/nonlinear.md for the model, its validation and limits.
struct CwProblem : Problem {
  /// Normal velocity of the face, m/s: the source pressure is density * sound speed * |weight|.
  std::complex<double> weight;
  /// The harmonics wanted, all from one march; empty: the one that the parameters name.
  std::vector<int> wanted;
};

struct CwResult : Report {
  std::vector<int> harmonics;
  /// Complex pressure, Pa: harmonic `harmonics[h]` at point i lies at h * points + i. Empty
  /// after an error; points that the element does not reach are zero.
  std::vector<std::complex<double>> pressure;
  Cost cost;
};

/// Marches. Never throws; what goes wrong is the report's error.
CwResult march_cw(const CwProblem& problem);

/// The size of the march that `march_cw` would make; zero when it would not march.
Cost estimate_cw(const CwProblem& problem);

}  // namespace kestrel::kzk
