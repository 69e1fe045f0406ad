#include "methods/kzk/harmonic_beam.h"

#include <algorithm>
#include <atomic>
#include <cmath>

#include "methods/kzk/nonlinear_step.h"
#include "numerics/run_kernel.h"

namespace kestrel::kzk {

namespace {

/// Lanes of the wide paths, the same for every instruction set: the nonlinear sub-steps are chosen
/// for the loudest node of a block, so results would otherwise depend on the processor.
constexpr int wide_lanes = 8;

template <class Math>
constexpr int lanes_of = Math::wide ? wide_lanes : 1;

}  // namespace

HarmonicBeam::HarmonicBeam(const Equation& equation, const RadialGrid& grid, int harmonics,
                           Options options)
    : _equation(equation),
      _grid(grid),
      _harmonics(harmonics),
      _lanes(instruction_set() == InstructionSet::scalar ? 1 : wide_lanes),
      _smoothing(options.smoothing_half_steps),
      _planes(2L * harmonics * grid.nodes),
      _absorption(harmonics + 1),
      _mass(3L * grid.nodes),
      _laplacian(3L * grid.nodes),
      _absorbing_layer(options.absorbing_layer),
      _layer(grid.nodes, 1.0),
      _packs((harmonics + _lanes - 1) / _lanes) {
  for (int n = 1; n <= harmonics; ++n) _absorption[n] = n * equation.absorption;
  for (int j = 0; j < grid.nodes; ++j) {
    const RadialRow row = radial_row(j, options.order);
    const double mass[3] = {row.mass_sub(), row.mass_diag(), row.mass_super()};
    const double laplacian[3] = {row.sub, row.diag, row.super};
    for (int band = 0; band < 3; ++band) {
      _mass[3L * j + band] = mass[band];
      _laplacian[3L * j + band] = laplacian[band];
    }
  }
  for (Pack& pack : _packs) {
    pack.inverse.resize(2L * _lanes * grid.nodes);
    pack.super.resize(2L * _lanes * grid.nodes);
  }
}

double HarmonicBeam::storage(int harmonics, double nodes, int threads) {
  const double padded = (harmonics + wide_lanes - 1) / wide_lanes * wide_lanes;
  const double state = nodes * (2.0 * harmonics + 4.0 * padded + 8.0);
  const double work = nodes * 2.0 * wide_lanes + nonlinear_scratch(harmonics, wide_lanes);
  return sizeof(double) * (state + threads * work);
}

long HarmonicBeam::tasks(int harmonics, int nodes) {
  return (std::max(harmonics, nodes) + wide_lanes - 1) / wide_lanes;
}

void HarmonicBeam::start(double focusing, double loss) {
  start_uniform(_harmonics, _planes.data(), _grid.nodes, _grid.per_radius, focusing);
  const double left = std::exp(-loss);
  for (int i = 0; i < 2 * _grid.nodes; ++i) harmonic(1)[i] *= left;
}

template <class Math>
KESTREL_INLINE void HarmonicBeam::diffract_pack(int index, double weight, double theta, double* u) {
  constexpr int lanes = lanes_of<Math>;
  const int first = index * lanes + 1;
  const int count = std::min(lanes, _harmonics - first + 1);
  const int nodes = _grid.nodes;
  // A pack that is not full solves its last harmonic again.
  double* planes[lanes];
  for (int lane = 0; lane < lanes; ++lane)
    planes[lane] = harmonic(first + std::min(lane, count - 1));
  const auto silent = [nodes](const double* plane) {
    return std::all_of(plane, plane + 2L * nodes, [](double value) { return value == 0.0; });
  };
  if (std::all_of(planes, planes + count, silent)) return;
  for (int i = 0; i < 2 * nodes; ++i)
    for (int lane = 0; lane < lanes; ++lane) u[1L * i * lanes + lane] = planes[lane][i];

  double implicit_weight[lanes], explicit_weight[lanes];
  for (int lane = 0; lane < lanes; ++lane) {
    const int n = first + std::min(lane, count - 1);
    implicit_weight[lane] = theta * weight / n;
    explicit_weight[lane] = (1.0 - theta) * weight / n;
  }
  const SharedBands bands{_mass.data(), _laplacian.data(), implicit_weight, explicit_weight};
  Pack& pack = _packs[index];
  if (pack.weight != weight || pack.theta != theta) {
    factor_harmonics<lanes>(bands, nodes, pack.inverse.data(), pack.super.data());
    pack.weight = weight;
    pack.theta = theta;
  }
  solve_harmonics<lanes>(bands, nodes, pack.inverse.data(), pack.super.data(), u);
  for (int i = 0; i < 2 * nodes; ++i)
    for (int lane = 0; lane < lanes; ++lane)
      planes[lane][i] = _layer[i / 2] * u[1L * i * lanes + lane];
}

void HarmonicBeam::diffract(double ds, Workers& workers) {
  const double theta = _smoothing > 0 ? 1.0 : 0.5;
  if (_smoothing > 0) --_smoothing;
  if (_absorbing_layer) layer_factors(_grid, _equation.diffraction, _sigma, ds, _layer.data());
  _sigma += ds;
  const double weight = ds * _equation.diffraction / (_grid.step() * _grid.step());
  workers.run(static_cast<int>(_packs.size()), [&](int pack, int worker) {
    const auto kernel = [&](auto math) KESTREL_INLINE_LAMBDA {
      diffract_pack<decltype(math)>(pack, weight, theta, _packed[worker].data());
    };
    run_kernel(_lanes == 1 ? InstructionSet::scalar : instruction_set(), kernel);
  });
}

template <class Math>
KESTREL_INLINE bool HarmonicBeam::nonlinear_block(int block, double ds, double* scratch) {
  constexpr int lanes = lanes_of<Math>;
  const int first = block * lanes;
  return nonlinear_nodes<Math, lanes>(ds, _planes.data() + 2L * first, _harmonics, _grid.nodes,
                                      std::min(lanes, _grid.nodes - first), _absorption.data(),
                                      _equation.nonlinearity, 1, scratch) == 0;
}

bool HarmonicBeam::advance(double ds, Workers& workers) {
  while (static_cast<int>(_packed.size()) < workers.size()) {
    _packed.emplace_back(2L * _lanes * _grid.nodes);
    _scratch.emplace_back(nonlinear_scratch(_harmonics, _lanes));
  }
  const bool diffracting = _equation.diffraction != 0.0;
  if (diffracting) diffract(0.5 * ds, workers);
  std::atomic<bool> bounded{true};
  workers.run((_grid.nodes + _lanes - 1) / _lanes, [&](int block, int worker) {
    const auto kernel = [&](auto math) KESTREL_INLINE_LAMBDA {
      if (!nonlinear_block<decltype(math)>(block, ds, _scratch[worker].data())) bounded = false;
    };
    run_kernel(_lanes == 1 ? InstructionSet::scalar : instruction_set(), kernel);
  });
  if (!bounded) return false;
  if (diffracting) diffract(0.5 * ds, workers);
  return true;
}

double HarmonicBeam::shock_share() const {
  if (_harmonics < 2) return 0.0;
  const int kept = _harmonics < 6 ? _harmonics / 2 : inviscid_harmonics(_harmonics);
  std::vector<double> low(_grid.nodes, 0.0), high(_grid.nodes, 0.0);
  double most = 0.0;
  for (int n = 1; n <= _harmonics; ++n) {
    const double* plane = harmonic(n);
    std::vector<double>& sum = n <= kept ? low : high;
    for (int j = 0; j < _grid.nodes; ++j)
      sum[j] += plane[2 * j] * plane[2 * j] + plane[2 * j + 1] * plane[2 * j + 1];
  }
  for (int j = 0; j < _grid.nodes; ++j) most = std::max(most, low[j] + high[j]);
  double share = 0.0;
  for (int j = 0; j < _grid.nodes; ++j)
    if (low[j] + high[j] > 0.01 * most) share = std::max(share, high[j] / (low[j] + high[j]));
  return share;
}

}  // namespace kestrel::kzk
