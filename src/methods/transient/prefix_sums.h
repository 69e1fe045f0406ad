#pragma once

/// The inner loop of the time-space decomposition: at every sample the delays whose copies of the
/// signal are sounding form a window in the sorted list, and the sum over the window is a
/// difference of two cumulative sums.

#include <cstddef>

#include "kestrel/compiler.h"
#include "kestrel/four_wide.h"
#include "methods/transient/active_window.h"
#include "numerics/four_wide_kernels.h"
#include "numerics/run_kernel.h"

namespace kestrel {

/// Entries that a table of `terms` numbers takes per row, so that rows are whole registers.
template <class Scalar>
constexpr int padded_terms(int terms) {
  if constexpr (sizeof(Scalar) == sizeof(float)) return (terms + 3) / 4 * 4;
  return terms <= 8 ? terms : (terms + 7) / 8 * 8;
}

/// Sum of time[k] * (high[k] - low[k]), each precision with one fixed order of summation.
template <int terms>
KESTREL_INLINE double window_dot(const double* time, const double* high, const double* low,
                                 int /*count*/) {
  double product[terms];
  for (int k = 0; k < terms; ++k) product[k] = time[k] * (high[k] - low[k]);
  double sum = product[0];
  for (int k = 1; k < terms; ++k) sum += product[k];
  return sum;
}

/// The same for a number of terms known at run time, a multiple of eight.
template <>
KESTREL_INLINE double window_dot<0>(const double* time, const double* high, const double* low,
                                    int count) {
  double sum[8] = {};
  for (int k = 0; k < count; k += 8) {
    for (int m = 0; m < 8; ++m) sum[m] += time[k + m] * (high[k + m] - low[k + m]);
  }
  return ((sum[0] + sum[4]) + (sum[2] + sum[6])) + ((sum[1] + sum[5]) + (sum[3] + sum[7]));
}

/// Four terms at a step.
template <int terms>
KESTREL_INLINE float window_dot(const float* time, const float* high, const float* low,
                                int /*count*/) {
  static_assert(terms == 4 || terms == 8);
  const auto product = [&](int k) {
    return float4::load(time + k) * (float4::load(high + k) - float4::load(low + k));
  };
  float4 sum = product(0);
  if constexpr (terms == 8) sum = sum + product(4);
  return four_wide::horizontal_add_ps(sum).lane(0);
}

/// One run of a delay list over one block of samples.
template <class Scalar>
struct WindowSum {
  const double* delay;  ///< n delays that do not fall
  int n;
  const Scalar*
      cumulative;      ///< n + 1 rows: sums of the weighted spatial terms before entry 0, 1 ...
  const double* time;  ///< rising samples; [first, last) form the block
  int first, last;
  const Scalar* time_terms;  ///< a row for every sample from first_row on
  int first_row;
  int terms;  ///< entries of a row
  Support support;
  Scalar* trace;  ///< a sample of it for every time; added to

  /// `fixed`: number of terms known at compile time, or 0.
  template <int fixed>
  KESTREL_INLINE void sweep() const {
    const int row = fixed > 0 ? fixed : terms;
    int low = 0, high = 0;
    for (int i = first; i < last; ++i) {
      while (high < n && support.entered(time[i] - delay[high])) ++high;
      while (low < high && support.left(time[i] - delay[low])) ++low;
      if (high == low) {
        if (low == n) return;
        continue;
      }
      trace[i] += window_dot<fixed>(time_terms + std::size_t(i - first_row) * row,
                                    cumulative + std::size_t(high) * row,
                                    cumulative + std::size_t(low) * row, row);
    }
  }

  template <class Math>
  KESTREL_INLINE void operator()(Math) const {
    if constexpr (sizeof(Scalar) == sizeof(float)) {
      terms == 4 ? sweep<4>() : sweep<8>();
    } else {
      switch (terms) {
        case 2:
          return sweep<2>();
        case 4:
          return sweep<4>();
        case 6:
          return sweep<6>();
        case 8:
          return sweep<8>();
        default:
          return sweep<0>();
      }
    }
  }
};

}  // namespace kestrel
