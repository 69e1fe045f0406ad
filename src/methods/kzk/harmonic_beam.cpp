#include "methods/kzk/harmonic_beam.h"

#include <algorithm>
#include <atomic>
#include <cmath>

#include "kestrel/compiler.h"
#include "methods/kzk/diffraction_step.h"
#include "methods/kzk/nonlinear_step.h"
#include "numerics/run_kernel.h"

namespace kestrel::kzk {

namespace {

/// Lanes of the wide paths, the same for every instruction set: the nonlinear sub-steps are chosen
/// for the loudest node of a block, so results would otherwise depend on the processor.
constexpr int kWideLanes = 8;

template <class Math>
constexpr int kLanesOf = Math::wide ? kWideLanes : 1;

constexpr int blocks(int count, int lanes) { return (count + lanes - 1) / lanes; }

}  // namespace

HarmonicBeam::HarmonicBeam(const Equation& equation, const RadialGrid& grid, int harmonics,
                           Options options)
    : _equation(equation),
      _grid(grid),
      _harmonics(harmonics),
      _lanes(instruction_set() == InstructionSet::scalar ? 1 : kWideLanes),
      _smoothing(options.smoothing_half_steps),
      _planes(plane_size() * harmonics),
      _absorption(harmonics + 1),
      _mass(Index{3} * grid.nodes),
      _laplacian(Index{3} * grid.nodes),
      _absorbing_layer(options.absorbing_layer),
      _layer(grid.nodes, 1.0),
      _packs(static_cast<std::size_t>(blocks(harmonics, _lanes))) {
  for (int n = 1; n <= harmonics; ++n) _absorption[n] = n * equation.absorption;
  for (int j = 0; j < grid.nodes; ++j) {
    const RadialRow row = radial_row(j, options.order);
    const double mass[3] = {row.mass_sub(), row.mass_diag(), row.mass_super()};
    const double laplacian[3] = {row.sub, row.diag, row.super};
    std::copy_n(mass, 3, _mass.data() + Index{3} * j);
    std::copy_n(laplacian, 3, _laplacian.data() + Index{3} * j);
  }
  for (Pack& pack : _packs) {
    pack.inverse.resize(plane_size() * _lanes);
    pack.super.resize(plane_size() * _lanes);
  }
}

double HarmonicBeam::storage(int harmonics, double nodes, int threads) {
  const double padded = blocks(harmonics, kWideLanes) * kWideLanes;
  const double state = nodes * (2.0 * harmonics + 4.0 * padded + 8.0);
  const double work =
      nodes * 2.0 * kWideLanes + static_cast<double>(nonlinear_scratch(harmonics, kWideLanes));
  return sizeof(double) * (state + threads * work);
}

Index HarmonicBeam::tasks(int harmonics, int nodes) {
  return blocks(std::max(harmonics, nodes), kWideLanes);
}

InstructionSet HarmonicBeam::kernel_set() const {
  return _lanes == 1 ? InstructionSet::scalar : instruction_set();
}

void HarmonicBeam::start(double focusing, double loss) {
  start_uniform(_harmonics, _planes.data(), _grid.nodes, _grid.per_radius, focusing);
  const double left = std::exp(-loss);
  for (Index i = 0; i < plane_size(); ++i) harmonic(1)[i] *= left;
}

template <class Math>
KESTREL_INLINE void HarmonicBeam::diffract_pack(int index, double weight, double theta, double* u) {
  constexpr int kLanes = kLanesOf<Math>;
  const int first = index * kLanes + 1;
  const int count = std::min(kLanes, _harmonics - first + 1);
  const int nodes = _grid.nodes;
  const Index size = plane_size();
  // A pack that is not full solves its last harmonic again.
  LaneArray<double*, kLanes> planes;
  for (int lane = 0; lane < kLanes; ++lane) {
    planes[lane] = harmonic(first + std::min(lane, count - 1));
  }
  const auto silent = [size](const double* plane) {
    return std::all_of(plane, plane + size, [](double value) { return value == 0.0; });
  };
  if (std::all_of(planes, planes + count, silent)) return;
  for (Index i = 0; i < size; ++i) {
    for (int lane = 0; lane < kLanes; ++lane) u[i * kLanes + lane] = planes[lane][i];
  }

  LaneArray<double, kLanes> implicit_weight, explicit_weight;
  for (int lane = 0; lane < kLanes; ++lane) {
    const int n = first + std::min(lane, count - 1);
    implicit_weight[lane] = theta * weight / n;
    explicit_weight[lane] = (1.0 - theta) * weight / n;
  }
  const SharedBands bands{_mass.data(), _laplacian.data(), implicit_weight, explicit_weight};
  Pack& pack = _packs[static_cast<std::size_t>(index)];
  if (pack.weight != weight || pack.theta != theta) {
    factor_harmonics<kLanes>(bands, nodes, pack.inverse.data(), pack.super.data());
    pack.weight = weight;
    pack.theta = theta;
  }
  solve_harmonics<kLanes>(bands, nodes, pack.inverse.data(), pack.super.data(), u);
  for (Index j = 0; j < nodes; ++j) {
    const double layer = _layer[j];
    const double* values = u + 2 * kLanes * j;
    for (int lane = 0; lane < kLanes; ++lane) {
      planes[lane][2 * j] = layer * values[lane];
      planes[lane][2 * j + 1] = layer * values[kLanes + lane];
    }
  }
}

void HarmonicBeam::diffract(double ds, Workers& workers) {
  if (_equation.diffraction == 0.0) return;
  const double theta = _smoothing > 0 ? 1.0 : 0.5;
  if (_smoothing > 0) --_smoothing;
  if (_absorbing_layer) layer_factors(_grid, _equation.diffraction, _sigma, ds, _layer.data());
  _sigma += ds;
  const double weight = ds * _equation.diffraction / (_grid.step() * _grid.step());
  workers.run(static_cast<int>(_packs.size()), [&](int pack, int worker) {
    const auto kernel = [&](auto math) KESTREL_INLINE_LAMBDA {
      double* packed = _work[static_cast<std::size_t>(worker)].packed.data();
      diffract_pack<decltype(math)>(pack, weight, theta, packed);
    };
    run_kernel(kernel_set(), kernel);
  });
}

template <class Math>
KESTREL_INLINE bool HarmonicBeam::nonlinear_block(int block, double ds, double* scratch) {
  constexpr int kLanes = kLanesOf<Math>;
  const int first = block * kLanes;
  return nonlinear_nodes<Math, kLanes>(ds, _planes.data() + Index{2} * first, _harmonics,
                                       _grid.nodes, std::min(kLanes, _grid.nodes - first),
                                       _absorption.data(), _equation.nonlinearity, 1, scratch) == 0;
}

bool HarmonicBeam::steepen(double ds, Workers& workers) {
  std::atomic<bool> bounded{true};
  workers.run(blocks(_grid.nodes, _lanes), [&](int block, int worker) {
    const auto kernel = [&](auto math) KESTREL_INLINE_LAMBDA {
      double* scratch = _work[static_cast<std::size_t>(worker)].scratch.data();
      if (!nonlinear_block<decltype(math)>(block, ds, scratch)) bounded = false;
    };
    run_kernel(kernel_set(), kernel);
  });
  return bounded;
}

bool HarmonicBeam::advance(double ds, Workers& workers) {
  while (static_cast<int>(_work.size()) < workers.size()) {
    _work.push_back({Buffer<double>(plane_size() * _lanes),
                     Buffer<double>(nonlinear_scratch(_harmonics, _lanes))});
  }
  diffract(0.5 * ds, workers);
  if (!steepen(ds, workers)) return false;
  diffract(0.5 * ds, workers);
  return true;
}

double HarmonicBeam::shock_share() const {
  if (_harmonics < 2) return 0.0;
  const int kept = _harmonics < 6 ? _harmonics / 2 : inviscid_harmonics(_harmonics);
  Buffer<double> low(_grid.nodes), high(_grid.nodes);
  for (int n = 1; n <= _harmonics; ++n) {
    const double* plane = harmonic(n);
    Buffer<double>& sum = n <= kept ? low : high;
    for (Index j = 0; j < _grid.nodes; ++j) {
      sum[j] += plane[2 * j] * plane[2 * j] + plane[2 * j + 1] * plane[2 * j + 1];
    }
  }
  double most = 0.0, share = 0.0;
  for (Index j = 0; j < _grid.nodes; ++j) most = std::max(most, low[j] + high[j]);
  for (Index j = 0; j < _grid.nodes; ++j) {
    const double power = low[j] + high[j];
    if (power > 0.01 * most) share = std::max(share, high[j] / power);
  }
  return share;
}

}  // namespace kestrel::kzk
