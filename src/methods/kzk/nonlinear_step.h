#pragma once

#include <algorithm>
#include <cmath>
#include <numbers>

#include "kestrel/compiler.h"
#include "methods/kzk/buffer.h"
#include "numerics/wide_math.h"

/// The nonlinear step of harmonics with their absorption, node by node:
///
///   dP_n/dsigma = j n (N/2) [ 1/2 sum_{m<n} P_m P_{n-m} + sum_{m>n} P_m conj(P_{m-n}) ]
///                 - a_n P_n,
///
/// by the classical Runge-Kutta scheme on the convolutions, exact absorption on both sides of each
/// sub-step, and a spectral viscosity that takes up the energy a shock sends beyond the last
/// harmonic carried. Without the viscosity the truncated series keeps that energy and is useless
/// after the shock.

namespace kestrel::kzk {

/// A node whose sum of |P_n| lies below this is only absorbed.
inline constexpr double kQuietAmplitude = 1e-7;
/// Above this sum the march has blown up.
inline constexpr double kRunawayAmplitude = 1e6;
/// A harmonic below this (of the source pressure) does not extend the range worked on.
inline constexpr double kActiveAmplitude = 1e-8;
inline constexpr int kMostNonlinearSubsteps = 10000;
/// Sub-steps keep step * N * harmonics * sum|P_n| below this; the scheme is stable to 2.8.
inline constexpr double kNonlinearStepBound = 1.4;

/// The highest harmonic that the spectral viscosity leaves alone, of `harmonics` carried; equal to
/// `harmonics` when there are too few for it to act.
inline int inviscid_harmonics(int harmonics) {
  const int kept = std::max(3, harmonics / 2);
  return harmonics < kept + 3 ? harmonics : kept;
}

/// Doubles of scratch that `nonlinear_nodes` needs, for `lanes` nodes side by side. They must start
/// at zero. The losses of the latest sub-step are kept in them, so scratch serves one absorption
/// only.
constexpr Index nonlinear_scratch(int harmonics, int lanes) {
  return (Index{harmonics} + 1) * (8 * lanes + 1);
}

/// (p^2)_n of `active` harmonics into `square`. Packed: entry (n, part, lane) at
/// (2 n + part) * lanes + lane, n = 0 unused.
template <int lanes>
KESTREL_INLINE void self_convolution(const double* KESTREL_RESTRICT p, int active,
                                     double* KESTREL_RESTRICT square) {
  for (int n = 1; n <= active; ++n) {
    LaneArray<double, lanes> re = {}, im = {};
    if (n % 2 == 0) {
      const double* a = p + Index{n} * lanes;  // harmonic n / 2
      KESTREL_WHOLE_LANES
      for (int l = 0; l < lanes; ++l) {
        re[l] = 0.5 * (a[l] * a[l] - a[lanes + l] * a[lanes + l]);
        im[l] = a[l] * a[lanes + l];
      }
    }
    for (int m = 1; 2 * m < n; ++m) {
      const double* a = p + Index{2} * m * lanes;
      const double* b = p + Index{2} * (n - m) * lanes;
      KESTREL_WHOLE_LANES
      for (int l = 0; l < lanes; ++l) {
        re[l] += a[l] * b[l] - a[lanes + l] * b[lanes + l];
        im[l] += a[l] * b[lanes + l] + a[lanes + l] * b[l];
      }
    }
    for (int m = n + 1; m <= active; ++m) {
      const double* a = p + Index{2} * m * lanes;
      const double* b = p + Index{2} * (m - n) * lanes;
      KESTREL_WHOLE_LANES
      for (int l = 0; l < lanes; ++l) {
        re[l] += a[l] * b[l] + a[lanes + l] * b[lanes + l];
        im[l] += a[lanes + l] * b[l] - a[l] * b[lanes + l];
      }
    }
    double* out = square + Index{2} * n * lanes;
    KESTREL_WHOLE_LANES
    for (int l = 0; l < lanes; ++l) {
      out[l] = re[l];
      out[lanes + l] = im[l];
    }
  }
}

/// One Runge-Kutta step of length d on the packed harmonics 1 .. active.
template <int lanes>
KESTREL_INLINE void runge_kutta(double d, double nonlinearity, int active,
                                double* KESTREL_RESTRICT p, double* KESTREL_RESTRICT trial,
                                double* KESTREL_RESTRICT square, double* KESTREL_RESTRICT total) {
  constexpr double kWeight[4] = {1.0 / 6.0, 1.0 / 3.0, 1.0 / 3.0, 1.0 / 6.0};
  constexpr double kReach[4] = {0.5, 0.5, 1.0, 0.0};
  const Index last = Index{2} * (active + 1) * lanes;
  for (Index i = 2 * lanes; i < last; ++i) trial[i] = total[i] = p[i];
  for (int stage = 0; stage < 4; ++stage) {
    self_convolution<lanes>(trial, active, square);
    for (int n = 1; n <= active; ++n) {
      const double slope = 0.5 * nonlinearity * n * d;  // the rate is j slope (p^2)_n
      const double toward = kReach[stage] * slope;
      const double share = kWeight[stage] * slope;
      const Index at = Index{2} * n * lanes;
      KESTREL_WHOLE_LANES
      for (int l = 0; l < lanes; ++l) {
        const double re = square[at + l];
        const double im = square[at + lanes + l];
        total[at + l] -= share * im;
        total[at + lanes + l] += share * re;
        trial[at + l] = p[at + l] - toward * im;
        trial[at + lanes + l] = p[at + lanes + l] + toward * re;
      }
    }
  }
  for (Index i = 2 * lanes; i < last; ++i) p[i] = total[i];
}

/// e^-x for x >= 0.
template <class Math>
KESTREL_INLINE double decay(double x) {
  if constexpr (Math::wide) return Math::exponential(-std::min(x, kExponentLimit));
  return std::exp(-x);
}

/// Damps the harmonics above `inviscid_harmonics` as a shock of the wave's own strength would.
template <class Math, int lanes>
KESTREL_INLINE void shock_viscosity(double d, double nonlinearity, int harmonics, int active,
                                    double* p) {
  const int kept = inviscid_harmonics(harmonics);
  if (active <= kept) return;
  LaneArray<double, lanes> strength = {};
  for (int n = 1; n <= active; ++n) {
    const double* a = p + Index{2} * n * lanes;
    KESTREL_WHOLE_LANES
    for (int l = 0; l < lanes; ++l) strength[l] += a[l] * a[l] + a[lanes + l] * a[lanes + l];
  }
  KESTREL_WHOLE_LANES
  for (int l = 0; l < lanes; ++l) {
    strength[l] = 3.0 * std::sqrt(1.5 * strength[l]) * std::fabs(nonlinearity) * d /
                  (std::numbers::pi * harmonics);
  }
  for (int n = kept + 1; n <= active; ++n) {
    const double u = static_cast<double>(n - kept) / (harmonics - kept);
    const double weight = static_cast<double>(n) * n * u * u * (3.0 - 2.0 * u);
    double* a = p + Index{2} * n * lanes;
    KESTREL_WHOLE_LANES
    for (int l = 0; l < lanes; ++l) {
      const double factor = decay<Math>(weight * strength[l]);
      a[l] *= factor;
      a[lanes + l] *= factor;
    }
  }
}

/// What `load_nodes` finds in a pack of nodes.
struct PackLevel {
  double loudest = 0.0;  ///< largest sum of |P_n| over the lanes
  int highest = 0;       ///< highest harmonic that is active in a lane
  bool bounded = true;
};

/// Packs `count` (at most `lanes`) neighbouring nodes of the planes into `p`; further lanes get
/// zeros.
template <int lanes>
KESTREL_INLINE PackLevel load_nodes(const double* planes, int harmonics, Index nodes, int count,
                                    double* p) {
  PackLevel level;
  LaneArray<double, lanes> sum = {};
  for (int n = 1; n <= harmonics; ++n) {
    const double* plane = planes + 2 * (n - 1) * nodes;
    double* a = p + Index{2} * n * lanes;
    for (int l = 0; l < count; ++l) {
      a[l] = plane[2 * l];
      a[lanes + l] = plane[2 * l + 1];
    }
    for (int l = count; l < lanes; ++l) a[l] = a[lanes + l] = 0.0;
    long active_lanes = 0;
    KESTREL_WHOLE_LANES
    for (int l = 0; l < lanes; ++l) {
      const double magnitude = std::sqrt(a[l] * a[l] + a[lanes + l] * a[lanes + l]);
      sum[l] += magnitude;
      active_lanes += magnitude >= kActiveAmplitude ? 1 : 0;
    }
    if (active_lanes > 0) level.highest = n;
  }
  KESTREL_WHOLE_LANES
  for (int l = 0; l < lanes; ++l) {
    level.bounded = level.bounded && sum[l] < kRunawayAmplitude;  // false for NaN
    level.loudest = std::max(level.loudest, sum[l]);
  }
  return level;
}

/// Puts the packed nodes back.
template <int lanes>
KESTREL_INLINE void store_nodes(const double* p, int harmonics, Index nodes, int count,
                                double* planes) {
  for (int n = 1; n <= harmonics; ++n) {
    double* plane = planes + 2 * (n - 1) * nodes;
    const double* a = p + Index{2} * n * lanes;
    for (int l = 0; l < count; ++l) {
      plane[2 * l] = a[l];
      plane[2 * l + 1] = a[lanes + l];
    }
  }
}

/// The step for `count` (at most `lanes`) neighbouring nodes. `planes` points at the first node of
/// harmonic 1, harmonic n lies 2 * (n - 1) * nodes further; `absorption[n]` is harmonic n's decay
/// per unit of sigma. Returns non-zero on blow-up, with the planes in an unspecified state.
template <class Math, int lanes>
KESTREL_INLINE int nonlinear_nodes(double ds, double* planes, int harmonics, Index nodes, int count,
                                   const double* absorption, double nonlinearity,
                                   int least_substeps, double* scratch) {
  const Index stride = Index{2} * (harmonics + 1) * lanes;
  double* p = scratch;
  double* trial = p + stride;
  double* square = trial + stride;
  double* total = square + stride;
  double* half_loss = total + stride;

  const PackLevel level = load_nodes<lanes>(planes, harmonics, nodes, count, p);
  if (!level.bounded) return 1;

  const int active = std::min(harmonics, level.highest + level.highest / 2 + 4);
  double substeps = 1.0;
  const bool interacting = level.loudest >= kQuietAmplitude && nonlinearity != 0.0 && harmonics > 1;
  if (interacting) {
    substeps =
        std::ceil(ds * std::fabs(nonlinearity) * active * level.loudest / kNonlinearStepBound);
    substeps = std::max(substeps, static_cast<double>(std::max(1, least_substeps)));
    if (!(substeps <= kMostNonlinearSubsteps)) return 1;
  }
  const double d = ds / substeps;
  // Neighbouring nodes mostly take the same sub-steps.
  if (half_loss[0] != d || d == 0.0) {
    half_loss[0] = d;
    for (int n = 1; n <= harmonics; ++n) half_loss[n] = std::exp(-0.5 * absorption[n] * d);
  }
  const auto absorb = [&] {
    for (int n = 1; n <= harmonics; ++n) {
      double* a = p + Index{2} * n * lanes;
      for (int l = 0; l < 2 * lanes; ++l) a[l] *= half_loss[n];
    }
  };
  for (int step = 0; step < static_cast<int>(substeps); ++step) {
    absorb();
    if (interacting) {
      runge_kutta<lanes>(d, nonlinearity, active, p, trial, square, total);
      shock_viscosity<Math, lanes>(d, nonlinearity, harmonics, active, p);
    }
    absorb();
  }
  store_nodes<lanes>(p, harmonics, nodes, count, planes);
  return 0;
}

}  // namespace kestrel::kzk
