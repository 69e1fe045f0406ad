// Whole arrays: the direct way against the kernel's own speed, threads, loss, reuse. The counter
// `pair` is the processor time for one element at one point.

#include <benchmark/benchmark.h>
#include <cmath>
#include <complex>
#include <vector>

#include "kestrel/arrays.h"
#include "kestrel/field.h"
#include "kestrel/quadrature.h"

namespace {

using namespace kestrel;
using namespace kestrel::fields;

constexpr int kNodes = 12;

Medium water(bool lossy) {
  Medium medium;
  medium._soundspeed = 1500;
  medium._rho_density = 1000;
  medium._dBcmMHz = lossy ? 0.5 : 0;
  medium._f0 = 1e6;
  return medium;
}

/// 64 bars of 0.5 by 10 mm, focused at 40 mm; `tilt` about y takes them off the grid's axes.
std::vector<Element> bars(double tilt) {
  std::vector<Element> array;
  for (int i = 0; i < 64; ++i) {
    const double x = (i - 31.5) * 0.6e-3;
    Element e;
    e.geometry = Rectangle{0.5e-3, 10e-3};
    e.center = {x, 0, 0};
    e.euler = {tilt, 0, 0};
    e.phase = 2 * M_PI / 1.5e-3 * (std::hypot(x, 40e-3) - 40e-3);
    array.push_back(e);
  }
  return array;
}

/// 201 by 201 points in y = 0.
void set_plane(CoordinateGrid& grid) {
  grid.RegularCoordinateGrid(-20e-3, 20e-3, 0, 0, 0.5e-3, 60e-3, 0.2e-3, 0, 59.5e-3 / 200);
}

void set_pair_counter(benchmark::State& state, double pairs) {
  state.counters["pair"] = benchmark::Counter(
      pairs, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

/// One element by its own call on the whole grid.
void BM_Kernel(benchmark::State& state) {
  Medium medium = water(state.range(0) != 0);
  CoordinateGrid grid;
  set_plane(grid);
  NumericalIntegration rule;
  rule.allocate_memory(kNodes);
  rule.gauss_quadrature();
  const auto n = static_cast<std::size_t>(grid.npoints());
  std::vector<double> re(n), im(n);
  const auto element = make_transducer(bars(0.1)[20]);
  element->set_medium(&medium);
  element->set_global_coordinate_grid(&grid);
  element->set_integral_pointer(&rule);
  element->set_complex_pressure_pointers(re.data(), im.data());
  for (auto _ : state) benchmark::DoNotOptimize(element->fnm_cw());
  set_pair_counter(state, static_cast<double>(n));
}
BENCHMARK(BM_Kernel)->ArgName("lossy")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void run_array(benchmark::State& state, double tilt, bool lossy, bool reuse, int threads) {
  CoordinateGrid grid;
  set_plane(grid);
  const std::vector<Element> array = bars(tilt);
  Settings settings;
  settings.nodes = kNodes;
  settings.threads = threads;
  settings.reuse = reuse;
  settings.estimate_error = false;
  std::vector<std::complex<double>> field(static_cast<std::size_t>(grid.npoints()));
  for (auto _ : state) compute_field(array, grid, water(lossy), settings, field.data());
  set_pair_counter(state, 64.0 * grid.npoints());
}

/// Elements that are turned off the grid's axes: every element at every point.
void BM_Direct(benchmark::State& state) {
  run_array(state, 0.1, state.range(0) != 0, true, static_cast<int>(state.range(1)));
}
BENCHMARK(BM_Direct)
    ->ArgNames({"lossy", "threads"})
    ->ArgsProduct({{0, 1}, {1, 2}})
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime();

void BM_DirectAligned(benchmark::State& state) { run_array(state, 0, false, false, 1); }
BENCHMARK(BM_DirectAligned)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();

void BM_Reuse(benchmark::State& state) { run_array(state, 0, false, true, 1); }
BENCHMARK(BM_Reuse)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();

/// 256 discs on a bowl, to a tolerance of 10^-digits on 10^6 points about the focus, with loss: in
/// groups, or every element at every point.
void BM_Bowl(benchmark::State& state) {
  CoordinateGrid grid;
  const double step = 40e-3 / 99;
  grid.RegularCoordinateGrid(-20e-3, 20e-3, -20e-3, 20e-3, 70e-3, 110e-3, step, step, step);
  const std::vector<Element> array =
      bowl_array(256, {.element_radius = 2e-3, .aperture_radius = 50e-3, .rad_curvature = 100e-3});
  Settings settings;
  settings.tolerance = std::pow(10, -static_cast<double>(state.range(0)));
  settings.threads = 1;
  settings.reuse = state.range(1) != 0;
  std::vector<std::complex<double>> field(static_cast<std::size_t>(grid.npoints()));
  for (auto _ : state) compute_field(array, grid, water(true), settings, field.data());
  set_pair_counter(state, static_cast<double>(array.size()) * grid.npoints());
}
BENCHMARK(BM_Bowl)
    ->ArgNames({"digits", "groups"})
    ->ArgsProduct({{4, 6}, {0, 1}})
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime();

}  // namespace
