#pragma once

#include <algorithm>
#include <cmath>
#include <complex>
#include <vector>

#include "kestrel/instruction_set.h"
#include "numerics/run_kernel.h"

namespace kestrel {

/// Observation points of one case (all inside the extent in x and outside in y, say) in an
/// element's frame, with room for their pressures. Kernels run their lanes over such a tile.
struct FieldTile {
  static constexpr int capacity = 256;
  /// Lane counts of every instruction set divide this; `pad` fills up to it.
  static constexpr int lane_block = 16;

  int count = 0;
  /// All points lie where the wide sine, cosine and exponential hold (see Propagation::reach).
  bool within_reach = true;
  int index[capacity];
  alignas(64) double x[capacity];
  alignas(64) double y[capacity];
  alignas(64) double z[capacity];
  alignas(64) double re[capacity];
  alignas(64) double im[capacity];

  bool full() const { return count == capacity; }

  void add(int point, double px, double py, double pz) {
    index[count] = point;
    x[count] = px;
    y[count] = py;
    z[count] = pz;
    ++count;
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

/// Attenuation and phase of a path of length R: e^{attenuation*R + j*phase*R}, both rates negative
/// for an outgoing, decaying wave.
struct Propagation {
  double attenuation = 0;  ///< -alpha, nepers per metre
  double phase = 0;        ///< -k, radians per metre

  bool lossless() const { return attenuation == 0; }

  /// How far from the element's origin, as |x| + |y| + |z|, a point may lie so that every path from
  /// an element that stays within `extent` of the origin is short enough for the wide functions.
  /// NaN when the phase is NaN; then no point counts as within reach. (A loss that is NaN makes
  /// every pressure NaN on either path.)
  double reach(double extent) const {
    const double by_phase = kPhaseLimit / std::abs(phase);
    const double by_loss = lossless() ? by_phase : kExponentLimit / std::abs(attenuation);
    return (by_loss < by_phase ? by_loss : by_phase) - std::abs(extent);
  }
};

/// The larger of half a side and the farthest node of a rule scaled to it: a rule that is not on
/// (-1, 1) reaches beyond the face.
inline double reach_of_nodes(double half_side, const std::vector<double>& nodes) {
  double farthest = std::abs(half_side);
  for (const double node : nodes) farthest = std::max(farthest, std::abs(node));
  return farthest;
}

/// Runs a tile kernel on the instruction set in use, or on the plain path when the tile holds
/// points that the wide functions cannot take.
template <class Kernel>
void run_tile(const FieldTile& tile, const Kernel& kernel) {
  run_kernel(tile.within_reach ? instruction_set() : InstructionSet::scalar, kernel);
}

}  // namespace kestrel
