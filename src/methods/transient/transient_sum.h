#pragma once

namespace kestrel::detail {

/// How the delayed copies of the signal are summed; the same lists of delays serve all.
enum class TransientSum : int {
  direct,         ///< the signal is evaluated for every delay at every sample
  decomposed,     ///< time-space decomposition in double precision
  low_precision,  ///< the same with terms, sums and trace in single precision
  four_wide,      ///< the same by the four-wide kernels
};

}  // namespace kestrel::detail
