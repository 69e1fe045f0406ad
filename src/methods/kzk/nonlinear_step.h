#pragma once

#include <algorithm>
#include <cmath>

#include "methods/kzk/diffraction_step.h"

/// The nonlinear step of harmonics with their absorption, node by node:
///
///   dP_n/dsigma = j n (N/2) [ 1/2 sum_{m<n} P_m P_{n-m} + sum_{m>n} P_m conj(P_{m-n}) ] - a_n P_n
///   ,
///
/// by the classical Runge-Kutta scheme on the convolutions, exact absorption on both sides of each
/// sub-step, and a spectral viscosity that takes up the energy a shock sends beyond the last
/// harmonic carried. Without the viscosity the truncated series keeps that energy and is useless
/// after the shock.

namespace kestrel::kzk {

/// Sum of |P_n| below which a node is only absorbed, and above which the march has blown up.
inline constexpr double quiet_amplitude = 1e-7;
inline constexpr double runaway_amplitude = 1e6;
/// A harmonic below this (of the source pressure) does not extend the range worked on.
inline constexpr double active_amplitude = 1e-8;
inline constexpr int most_nonlinear_substeps = 10000;
/// Sub-steps keep step * N * harmonics * sum|P_n| below this; the scheme is stable to 2.8.
inline constexpr double nonlinear_step_bound = 1.4;

/// The highest harmonic that the spectral viscosity leaves alone, of `harmonics` carried; equal to
/// `harmonics` when there are too few for it to act.
inline int inviscid_harmonics(int harmonics) {
  const int kept = std::max(3, harmonics / 2);
  return harmonics < kept + 3 ? harmonics : kept;
}

/// Doubles of scratch that `nonlinear_nodes` needs, for `lanes` nodes side by side. They must start
/// at zero, and serve one absorption only: the losses of the latest sub-step are kept in them.
constexpr long nonlinear_scratch(int harmonics, int lanes) {
  return (harmonics + 1L) * (8L * lanes + 1L);
}

/// (p^2)_n of `active` harmonics into `square`. Packed: entry (n, part, lane) at
/// (2 n + part) * lanes + lane, n = 0 unused.
template <int lanes>
KESTREL_INLINE void self_convolution(const double* KESTREL_RESTRICT p, int active,
                                     double* KESTREL_RESTRICT square) {
  for (int n = 1; n <= active; ++n) {
    double re[lanes] = {}, im[lanes] = {};
    if (n % 2 == 0) {
      const double* a = p + 1L * n * lanes;  // harmonic n / 2
      KESTREL_WHOLE_LANES
      for (int l = 0; l < lanes; ++l) {
        re[l] = 0.5 * (a[l] * a[l] - a[lanes + l] * a[lanes + l]);
        im[l] = a[l] * a[lanes + l];
      }
    }
    for (int m = 1; 2 * m < n; ++m) {
      const double* a = p + 2L * m * lanes;
      const double* b = p + 2L * (n - m) * lanes;
      KESTREL_WHOLE_LANES
      for (int l = 0; l < lanes; ++l) {
        re[l] += a[l] * b[l] - a[lanes + l] * b[lanes + l];
        im[l] += a[l] * b[lanes + l] + a[lanes + l] * b[l];
      }
    }
    for (int m = n + 1; m <= active; ++m) {
      const double* a = p + 2L * m * lanes;
      const double* b = p + 2L * (m - n) * lanes;
      KESTREL_WHOLE_LANES
      for (int l = 0; l < lanes; ++l) {
        re[l] += a[l] * b[l] + a[lanes + l] * b[lanes + l];
        im[l] += a[lanes + l] * b[l] - a[l] * b[lanes + l];
      }
    }
    double* out = square + 2L * n * lanes;
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
  constexpr double weight[4] = {1.0 / 6.0, 1.0 / 3.0, 1.0 / 3.0, 1.0 / 6.0};
  constexpr double reach[4] = {0.5, 0.5, 1.0, 0.0};
  const long last = 2L * (active + 1) * lanes;
  for (long i = 2L * lanes; i < last; ++i) trial[i] = total[i] = p[i];
  for (int stage = 0; stage < 4; ++stage) {
    self_convolution<lanes>(trial, active, square);
    for (int n = 1; n <= active; ++n) {
      const double slope = 0.5 * nonlinearity * n * d;  // the rate is j slope (p^2)_n
      const double toward = reach[stage] * slope;
      const double share = weight[stage] * slope;
      const long at = 2L * n * lanes;
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
  for (long i = 2L * lanes; i < last; ++i) p[i] = total[i];
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
  double strength[lanes] = {};
  for (int n = 1; n <= active; ++n) {
    const double* a = p + 2L * n * lanes;
    KESTREL_WHOLE_LANES
    for (int l = 0; l < lanes; ++l) strength[l] += a[l] * a[l] + a[lanes + l] * a[lanes + l];
  }
  KESTREL_WHOLE_LANES
  for (int l = 0; l < lanes; ++l)
    strength[l] = 3.0 * std::sqrt(1.5 * strength[l]) * std::fabs(nonlinearity) * d /
                  (3.14159265358979323846 * harmonics);
  for (int n = kept + 1; n <= active; ++n) {
    const double u = static_cast<double>(n - kept) / (harmonics - kept);
    const double weight = static_cast<double>(n) * n * u * u * (3.0 - 2.0 * u);
    double* a = p + 2L * n * lanes;
    KESTREL_WHOLE_LANES
    for (int l = 0; l < lanes; ++l) {
      const double factor = decay<Math>(weight * strength[l]);
      a[l] *= factor;
      a[lanes + l] *= factor;
    }
  }
}

/// The step for `count` (at most `lanes`) neighbouring nodes. `planes` points at the first node of
/// harmonic 1, harmonic n lies 2 * (n - 1) * nodes further; `absorption[n]` is harmonic n's decay
/// per unit of sigma. Returns non-zero on blow-up, with the planes in an unspecified state.
template <class Math, int lanes>
KESTREL_INLINE int nonlinear_nodes(double ds, double* planes, int harmonics, long nodes, int count,
                                   const double* absorption, double nonlinearity,
                                   int least_substeps, double* scratch) {
  const long stride = 2L * (harmonics + 1) * lanes;
  double* p = scratch;
  double* trial = p + stride;
  double* square = trial + stride;
  double* total = square + stride;
  double* half_loss = total + stride;

  double sum[lanes] = {};
  int top = 0;
  for (int n = 1; n <= harmonics; ++n) {
    const double* plane = planes + 2 * (n - 1) * nodes;
    double* a = p + 2L * n * lanes;
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
      active_lanes += magnitude >= active_amplitude ? 1 : 0;
    }
    if (active_lanes > 0) top = n;
  }
  double loudest = 0.0;
  bool bounded = true;
  KESTREL_WHOLE_LANES
  for (int l = 0; l < lanes; ++l) {
    bounded = bounded && sum[l] < runaway_amplitude;  // false for NaN
    loudest = std::max(loudest, sum[l]);
  }
  if (!bounded) return 1;

  const int active = std::min(harmonics, top + top / 2 + 4);
  double substeps = 1.0;
  const bool interacting = loudest >= quiet_amplitude && nonlinearity != 0.0 && harmonics > 1;
  if (interacting) {
    substeps = std::ceil(ds * std::fabs(nonlinearity) * active * loudest / nonlinear_step_bound);
    substeps = std::max(substeps, static_cast<double>(std::max(1, least_substeps)));
    if (!(substeps <= most_nonlinear_substeps)) return 1;
  }
  const double d = ds / substeps;
  // Neighbouring nodes mostly take the same sub-steps.
  if (half_loss[0] != d || d == 0.0) {
    half_loss[0] = d;
    for (int n = 1; n <= harmonics; ++n) half_loss[n] = std::exp(-0.5 * absorption[n] * d);
  }
  const auto absorb = [&] {
    for (int n = 1; n <= harmonics; ++n) {
      double* a = p + 2L * n * lanes;
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
  for (int n = 1; n <= harmonics; ++n) {
    double* plane = planes + 2 * (n - 1) * nodes;
    const double* a = p + 2L * n * lanes;
    for (int l = 0; l < count; ++l) {
      plane[2 * l] = a[l];
      plane[2 * l + 1] = a[lanes + l];
    }
  }
  return 0;
}

/// The step for all nodes of harmonic-major, interleaved planes. `work` holds the absorption of
/// harmonic n per unit of sigma in work[n], n = 1 .. harmonics, followed by scratch: 10 (harmonics
/// + 2) doubles in all. Returns non-zero on blow-up.
inline int nonlinear_step(double ds, double* planes, int harmonics, int nodes, double* work,
                          double nonlinearity, int least_substeps = 1) {
  static_assert(nonlinear_scratch(160, 1) + 161 <= 10 * 162);
  std::fill_n(work + harmonics + 1, nonlinear_scratch(harmonics, 1), 0.0);
  for (int j = 0; j < nodes; ++j)
    if (nonlinear_nodes<StandardMath, 1>(ds, planes + 2L * j, harmonics, nodes, 1, work,
                                         nonlinearity, least_substeps, work + harmonics + 1))
      return 1;
  return 0;
}

}  // namespace kestrel::kzk
