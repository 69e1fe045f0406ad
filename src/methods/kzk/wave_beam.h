#pragma once

#include <optional>

#include "methods/kzk/buffer.h"
#include "methods/kzk/plan.h"
#include "methods/kzk/wave_absorption.h"
#include "methods/kzk/wave_diffraction.h"
#include "numerics/threads.h"

namespace kestrel::kzk {

/// The state of a pulse's march: waveforms p(theta) at every radial node of one plane, in units of
/// the source's peak, theta = 2 pi f_r tau. The axial step is that of HarmonicBeam.
class WaveBeam {
 public:
  /// Waveforms stored and worked on side by side.
  static constexpr int kBlock = 16;

  struct Options {
    bool absorbing_layer = true;
    int smoothing_half_steps = 0;
    double leading_loss = 0;  ///< Np at the reference frequency, due before the first step
  };

  WaveBeam(const Equation& equation, const RadialGrid& grid, Index samples, double dtheta,
           Options options);

  /// Bytes that a state takes when `threads` threads work on it.
  static double storage(const RadialGrid& grid, double samples, bool lossy, int threads);
  /// The most tasks that a state shares out at a time.
  static Index tasks(const RadialGrid& grid) { return (grid.nodes + kBlock - 1) / kBlock; }

  Index samples() const { return _samples; }
  double dtheta() const { return _dtheta; }
  const RadialGrid& grid() const { return _grid; }
  /// The samples of node j: sample i lies at [wave_of(j) + i * kBlock] of `waves`.
  Index wave_of(int j) const {
    const int place = _diffraction.place(j);
    return place / kBlock * _stride * kBlock + place % kBlock;
  }
  Buffer<float>& waves() { return _waves; }
  const Buffer<float>& waves() const { return _waves; }

  void set_nonlinearity(double nonlinearity) { _equation.nonlinearity = nonlinearity; }

  /// One axial step; false when the field has blown up.
  bool advance(double ds, Workers& workers);

 private:
  void diffract(double ds);
  bool steepen(double ds, Workers& workers);
  void absorb(double loss, Workers& workers);

  Equation _equation;
  RadialGrid _grid;
  Index _samples;
  Index _stride;  // samples from one place of the diffraction step to the next
  double _dtheta;
  int _smoothing;
  double _pending = 0;  // absorption not yet applied, Np at the reference frequency
  WaveDiffraction<kBlock> _diffraction;
  Buffer<float> _waves;
  bool _absorbing_layer;
  Buffer<double> _layer;        // by node
  Buffer<float> _layer_places;  // in the order of _diffraction
  double _sigma = 0;
  std::optional<WaveAbsorption> _absorption;
  std::vector<Buffer<float>> _work;  // by worker
};

}  // namespace kestrel::kzk
