#pragma once

#include <algorithm>
#include <cmath>

#include "kestrel/compiler.h"
#include "kestrel/four_wide.h"
#include "methods/kzk/buffer.h"

/// The nonlinear step in the time domain: dp/dsigma = (N/2) d(p^2)/dtheta, that is Burgers'
/// equation v_sigma + (N v^2 / 2)_theta = 0 for v = -p. Conservative and second order away from
/// shocks: piecewise linear reconstruction with monotonised-central slopes, half a step of
/// prediction, the exact Riemann flux. Shocks need no special care and do not ring.

namespace kestrel::kzk {

inline constexpr float kCourantBound = 0.8f;

/// The slope of a cell between its neighbours: the central one, limited to twice the one-sided
/// ones, and zero at an extremum.
KESTREL_INLINE float limited_slope(float before, float here, float after) {
  const float back = here - before;
  const float ahead = after - here;
  const float least = 2.0f * std::min(std::fabs(back), std::fabs(ahead));
  const float central = 0.5f * (after - before);
  const float size = std::min(std::fabs(central), least);
  return back * ahead > 0.0f ? (central < 0.0f ? -size : size) : 0.0f;
}

/// The flux v^2/2 through a face with `left` and `right` on its sides.
KESTREL_INLINE float riemann_flux(float left, float right) {
  const float from_left = std::max(left, 0.0f);
  const float from_right = std::min(right, 0.0f);
  return 0.5f * std::max(from_left * from_left, from_right * from_right);
}

/// Floats of scratch that `burgers_step` needs.
constexpr int burgers_scratch(int columns) { return 4 * columns; }

/// One sub-step of `columns` neighbouring waveforms in place. Sample i of column l is
/// wave[i * columns + l]; `ratio` is N d / dtheta. The signal is zero before the window. After
/// the window it keeps its last value, because a drop to zero would be a shock where a signal is
/// cut short. The state carried from sample to sample lies in `scratch`, not in local arrays: the
/// compiler would pull those apart into scalars and lose the vector loop.
template <int columns>
KESTREL_INLINE void burgers_substep(float ratio, float* KESTREL_RESTRICT wave, Index samples,
                                    float* KESTREL_RESTRICT scratch) {
  float* KESTREL_RESTRICT before = scratch;          // v at i, before its update
  float* KESTREL_RESTRICT here = before + columns;   // v at i + 1
  float* KESTREL_RESTRICT right = here + columns;    // predicted right-hand face value of cell i
  float* KESTREL_RESTRICT inflow = right + columns;  // flux through the face before cell i
  std::fill(scratch, scratch + burgers_scratch(columns), 0.0f);
  // Cell i is finished when the faces of cell i + 1 are known, which takes the value at i + 2.
  for (Index i = -2; i < samples; ++i) {
    const float* next = wave + std::min(i + 2, samples - 1) * columns;
    const auto lane = [&](int l) KESTREL_INLINE_LAMBDA {
      const float after = -next[l];
      const float slope = 0.5f * limited_slope(before[l], here[l], after);
      // The prediction -(ratio/2) (f(here + slope) - f(here - slope)), f = v^2/2, multiplied out.
      const float middle = here[l] - ratio * here[l] * slope;
      const float flux = riemann_flux(right[l], middle - slope);
      const float updated = before[l] - ratio * (flux - inflow[l]);
      inflow[l] = flux;
      right[l] = middle + slope;
      before[l] = here[l];
      here[l] = after;
      return -updated;
    };
    if (i < 0) {
      for (int l = 0; l < columns; ++l) lane(l);
    } else {
      float* out = wave + i * columns;
      KESTREL_LANES
      for (int l = 0; l < columns; ++l) out[l] = lane(l);
    }
  }
}

/// The whole step of `columns` waveforms, in as many sub-steps as their largest value needs.
/// Returns non-zero when that is not a sensible number.
template <int columns>
KESTREL_INLINE int burgers_step(double ds, double nonlinearity, double dtheta,
                                float* KESTREL_RESTRICT wave, Index samples,
                                float* KESTREL_RESTRICT scratch) {
  float* KESTREL_RESTRICT peaks = scratch;
  float* KESTREL_RESTRICT sums = scratch + columns;
  std::fill(scratch, scratch + 2 * columns, 0.0f);
  for (Index i = 0; i < samples; ++i) {
    const float* KESTREL_RESTRICT value = wave + i * columns;
    KESTREL_LANES
    for (int l = 0; l < columns; ++l) {
      peaks[l] = std::max(peaks[l], std::fabs(value[l]));
      sums[l] += 0.0f * value[l];  // zero unless a value is not finite
    }
  }
  float peak = 0.0f;
  for (int l = 0; l < columns; ++l) {
    peak = std::max(peak, peaks[l]);
    if (!(sums[l] == 0.0f)) return 1;
  }
  if (!(peak < 1e6f)) return 1;
  const double reach = ds * nonlinearity * peak / dtheta;
  if (reach == 0.0) return 0;
  const double substeps = std::max(1.0, std::ceil(reach / kCourantBound));
  if (!(substeps <= 10000.0)) return 1;
  const auto ratio = static_cast<float>(nonlinearity * ds / (substeps * dtheta));
  for (int step = 0; step < static_cast<int>(substeps); ++step) {
    burgers_substep<columns>(ratio, wave, samples, scratch);
  }
  return 0;
}

}  // namespace kestrel::kzk
