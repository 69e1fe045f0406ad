#pragma once

#include <algorithm>
#include <cmath>
#include <complex>
#include <vector>

#include "kestrel/instruction_set.h"
#include "methods/common/wave.h"
#include "numerics/run_kernel.h"

namespace kestrel {

/// Observation points of one case (all inside the extent in x and outside in y, say) in an
/// element's frame, with room for their pressures. Kernels run their lanes over such a tile.
struct FieldTile {
  static constexpr int capacity = 256;
  /// Lane counts of every instruction set divide this; `pad` fills up to it.
  static constexpr int lane_block = 16;

  int count = 0;
  /// All points lie where the wide functions hold (see Propagation::wide_math_limit).
  bool within_limit = true;
  int index[capacity];
  alignas(64) double x[capacity];
  alignas(64) double y[capacity];
  alignas(64) double z[capacity];
  alignas(64) double re[capacity];
  alignas(64) double im[capacity];
  /// Of each point, where the loss is small (see run_tile).
  alignas(64) double reference_length[capacity];
  alignas(64) double reference_decay[capacity];

  KESTREL_INLINE PathReference reference(int i) const {
    return {reference_length[i], reference_decay[i]};
  }

  bool full() const { return count == capacity; }

  void add(int point, double px, double py, double pz) {
    index[count] = point;
    x[count] = px;
    y[count] = py;
    z[count] = pz;
    ++count;
  }

  /// The pressures of the first `n` points: to zero, and one of them added to.
  KESTREL_INLINE void clear_pressures(int n) {
    std::fill_n(re, n, 0.0);
    std::fill_n(im, n, 0.0);
  }
  KESTREL_INLINE void add_pressure(int i, LaneComplex<double> p) {
    re[i] += p.re;
    im[i] += p.im;
  }
  /// Gives every point this pressure.
  void fill(std::complex<double> p) {
    std::fill_n(re, count, p.real());
    std::fill_n(im, count, p.imag());
  }

  /// Multiplies the pressures by a real, a complex, or the imaginary unit.
  void multiply(double factor) {
    for (int i = 0; i < count; ++i) {
      re[i] *= factor;
      im[i] *= factor;
    }
  }
  void multiply(std::complex<double> factor) {
    const double f_re = factor.real(), f_im = factor.imag();
    for (int i = 0; i < count; ++i) {
      const double before = re[i];
      re[i] = before * f_re - im[i] * f_im;
      im[i] = before * f_im + im[i] * f_re;
    }
  }
  void multiply_by_j() {
    for (int i = 0; i < count; ++i) {
      const double before = re[i];
      re[i] = -im[i];
      im[i] = before;
    }
  }

  /// Repeats the last point up to a whole number of lanes and returns that number of points: the
  /// tail runs through the same code as all others, so a point's value cannot depend on its place.
  int pad() {
    const int padded = (count + lane_block - 1) / lane_block * lane_block;
    for (int i = count; i < padded; ++i) {
      x[i] = x[count - 1];
      y[i] = y[count - 1];
      z[i] = z[count - 1];
    }
    return padded;
  }
};

/// The larger of half a side and the farthest node of a rule scaled to it: a rule that is not on
/// (-1, 1) reaches beyond the face.
inline double extent_of_nodes(double half_side, const std::vector<double>& nodes) {
  double farthest = std::abs(half_side);
  for (const double node : nodes) farthest = std::max(farthest, std::abs(node));
  return farthest;
}

/// A kernel over a tile, `template <class Wave> KESTREL_INLINE void operator()(const Wave&) const`,
/// with the wave of one instruction set.
template <class Kernel, Loss loss>
struct TileKernel {
  const Kernel& kernel;
  FieldTile& tile;
  Propagation propagation;

  template <class Math>
  KESTREL_INLINE void operator()(Math) const {
    if constexpr (loss != Loss::small) {
      kernel(Wave<Math, loss>{propagation});
    } else if constexpr (Math::wide) {
      const int count = tile.pad();
      KESTREL_LANES
      for (int i = 0; i < count; ++i) {
        const double x = tile.x[i], y = tile.y[i], z = tile.z[i];
        const double length = std::sqrt(x * x + y * y + z * z);
        tile.reference_length[i] = length;
        tile.reference_decay[i] = Math::exponential(propagation.attenuation * length);
      }
      kernel(Wave<Math, loss>{propagation});
    }
  }
};

/// Runs such a kernel on the instruction set in use, or on the plain path when the tile holds
/// points that the wide functions cannot take. `reach`: no node of the element lies farther from
/// its origin. By the triangle inequality a point's paths then differ from its distance to the
/// origin by at most as much, which decides for the whole element, and so for a point in any
/// company, whether the loss counts as small.
template <class Kernel>
void run_tile(FieldTile& tile, const Propagation& propagation, double reach, const Kernel& kernel) {
  const InstructionSet set = tile.within_limit ? instruction_set() : InstructionSet::scalar;
  if (propagation.lossless()) {
    run_kernel(set, TileKernel<Kernel, Loss::none>{kernel, tile, propagation});
  } else if (set != InstructionSet::scalar &&
             std::abs(propagation.attenuation) * std::abs(reach) <= kSmallExponentLimit) {
    run_kernel(set, TileKernel<Kernel, Loss::small>{kernel, tile, propagation});
  } else {
    run_kernel(set, TileKernel<Kernel, Loss::full>{kernel, tile, propagation});
  }
}

}  // namespace kestrel
