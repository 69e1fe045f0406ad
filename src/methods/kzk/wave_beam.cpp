#include "methods/kzk/wave_beam.h"

#include <algorithm>
#include <atomic>

#include "kestrel/compiler.h"
#include "methods/kzk/burgers_step.h"
#include "methods/kzk/flush_denormals.h"
#include "numerics/run_kernel.h"

namespace kestrel::kzk {

namespace {

/// Absorption is applied in portions of this many Np at the reference frequency. Ten times as much
/// at once costs 0.8 % of the fundamental at a shocked focus.
constexpr double kAbsorptionPortion = 0.001;

}  // namespace

WaveBeam::WaveBeam(const Equation& equation, const RadialGrid& grid, Index samples, double dtheta,
                   Options options)
    : _equation(equation),
      _grid(grid),
      _samples(samples),
      // Odd, so that the places of one sample do not fall into the same set of the cache.
      _stride(samples | 1),
      _dtheta(dtheta),
      _smoothing(options.smoothing_half_steps),
      // The loss due is applied in portions. Starting half a portion ahead makes the mean error
      // zero.
      _pending(0.5 * kAbsorptionPortion + options.leading_loss),
      _diffraction(grid),
      _waves(_stride * _diffraction.size()),
      _absorbing_layer(options.absorbing_layer),
      _layer(grid.nodes, 1.0),
      _layer_places(_diffraction.size(), 1.0f) {
  if (equation.absorption > 0.0) _absorption.emplace(samples, dtheta);
}

double WaveBeam::storage(const RadialGrid& grid, double samples, bool lossy, int threads) {
  double floats = (samples + 1.0) * (grid.nodes + kBlock);
  if (lossy) {
    double length = 1;
    while (length < 1.25 * samples) length *= 2;
    floats += length * (3.0 + threads * kBlock);
  }
  return sizeof(float) * floats;
}

void WaveBeam::diffract(double ds) {
  if (_equation.diffraction == 0.0) return;
  const double theta = _smoothing > 0 ? 1.0 : 0.5;
  if (_smoothing > 0) --_smoothing;
  if (_absorbing_layer) {
    layer_factors(_grid, _equation.diffraction, _sigma, ds, _layer.data());
    for (int j = 0; j < _grid.nodes; ++j) {
      _layer_places[_diffraction.place(j)] = static_cast<float>(_layer[j]);
    }
  }
  _sigma += ds;
  _diffraction.prepare(ds * _equation.diffraction / (_grid.step() * _grid.step()), theta, _dtheta);
  const auto kernel = [&](auto) KESTREL_INLINE_LAMBDA {
    _diffraction.advance(_dtheta, _layer_places.data(), _waves.data(), _samples, _stride);
  };
  const FlushDenormals flush;
  run_kernel(instruction_set(), kernel);
}

bool WaveBeam::steepen(double ds, Workers& workers) {
  std::atomic<bool> bounded{true};
  workers.run(_diffraction.run(), [&](int index, int) {
    float scratch[burgers_scratch(kBlock)];
    const auto kernel = [&](auto) KESTREL_INLINE_LAMBDA {
      if (burgers_step<kBlock>(ds, _equation.nonlinearity, _dtheta,
                               _waves.data() + index * _stride * kBlock, _samples, scratch)) {
        bounded = false;
      }
    };
    const FlushDenormals flush;
    run_kernel(instruction_set(), kernel);
  });
  return bounded;
}

void WaveBeam::absorb(double loss, Workers& workers) {
  _absorption->set_loss(loss);
  while (static_cast<int>(_work.size()) < workers.size()) {
    _work.emplace_back(_absorption->work_size(kBlock));
  }
  workers.run(_diffraction.run(), [&](int index, int worker) {
    const auto kernel = [&](auto) KESTREL_INLINE_LAMBDA {
      _absorption->apply<kBlock>(_waves.data() + index * _stride * kBlock, kBlock,
                                 _work[static_cast<std::size_t>(worker)].data());
    };
    const FlushDenormals flush;
    run_kernel(instruction_set(), kernel);
  });
}

bool WaveBeam::advance(double ds, Workers& workers) {
  diffract(0.5 * ds);
  if (!steepen(ds, workers)) return false;
  if (_absorption) {
    _pending += _equation.absorption * ds;
    if (_pending >= kAbsorptionPortion) {
      absorb(_pending, workers);
      _pending = 0.0;
    }
  }
  diffract(0.5 * ds);
  return true;
}

}  // namespace kestrel::kzk
