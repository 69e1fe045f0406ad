#pragma once

#include <vector>

#include "kestrel/instruction_set.h"
#include "methods/kzk/buffer.h"
#include "methods/kzk/plan.h"
#include "numerics/threads.h"

namespace kestrel::kzk {

/// The state of a continuous-wave march: the harmonics P_n(xi) on one plane,
/// p = Re sum P_n exp(j n w tau), in units of the source pressure.
///
/// An axial step is half a step of diffraction, a whole one of nonlinearity with absorption, and
/// another half of diffraction (second order; closed form checked to 6e-5).
class HarmonicBeam {
 public:
  struct Options {
    RadialOrder order = RadialOrder::fourth;
    bool absorbing_layer = true;
    int smoothing_half_steps = 0;  ///< backward Euler before Crank-Nicolson
  };

  HarmonicBeam(const Equation& equation, const RadialGrid& grid, int harmonics, Options options);

  /// Bytes that a state takes when `threads` threads work on it.
  static double storage(int harmonics, double nodes, int threads);
  /// The most tasks that a state shares out at a time.
  static Index tasks(int harmonics, int nodes);

  int harmonics() const { return _harmonics; }
  const RadialGrid& grid() const { return _grid; }
  /// Harmonic n >= 1: 2 * nodes doubles, real and imaginary part interleaved.
  double* harmonic(int n) { return _planes.data() + plane_size() * (n - 1); }
  const double* harmonic(int n) const { return _planes.data() + plane_size() * (n - 1); }

  /// The plane of a uniformly moving piston (focusing 0) or cap (its gain), that `loss` Np have
  /// already acted on.
  void start(double focusing, double loss = 0);
  /// One axial step; false when the field has blown up.
  bool advance(double ds, Workers& workers);
  /// The largest share of the wave's power, over the nodes that carry much of it, above the
  /// harmonic where the spectral viscosity sets in: how much more shock there is than the series
  /// can hold.
  double shock_share() const;

 private:
  // A SIMD pack of harmonics and its cached LU factors. The tridiagonal matrix depends only on the
  // step size, so the factors are reused until the step changes.
  struct Pack {
    double weight = -1;
    double theta = -1;
    Buffer<double> inverse, super;
  };

  template <class Math>
  void diffract_pack(int pack, double weight, double theta, double* u);
  template <class Math>
  bool nonlinear_block(int block, double ds, double* scratch);
  void diffract(double ds, Workers& workers);
  bool steepen(double ds, Workers& workers);
  InstructionSet kernel_set() const;
  Index plane_size() const { return Index{2} * _grid.nodes; }

  Equation _equation;
  RadialGrid _grid;
  int _harmonics;
  int _lanes;
  int _smoothing;
  Buffer<double> _planes;
  Buffer<double> _absorption;        // by harmonic, per unit of sigma
  Buffer<double> _mass, _laplacian;  // rows of A and B
  bool _absorbing_layer;
  Buffer<double> _layer;  // by node
  double _sigma = 0;
  std::vector<Pack> _packs;
  struct Work {
    Buffer<double> packed, scratch;
  };
  std::vector<Work> _work;  // by worker
};

}  // namespace kestrel::kzk
