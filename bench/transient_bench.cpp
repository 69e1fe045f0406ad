/// Speed of the transient methods: processor time per observation point, and how many times the
/// direct sum each decomposition is. 64 nodes, 400 samples of 50 ns.
///
/// A ratio is taken inside one benchmark: the method and the direct sum run in turn, each pair
/// gives a quotient of processor times, and their median counts.

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cmath>
#include <ctime>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "kestrel/elements.h"
#include "kestrel/excitation.h"
#include "kestrel/grid.h"
#include "kestrel/medium.h"
#include "kestrel/quadrature.h"
#include "kestrel/time_axis.h"

namespace {

using namespace kestrel;
using Method = int (Transducer::*)();

constexpr double mm = 1e-3, us = 1e-6;
constexpr int kNodes = 64, kSamples = 400, kLines = 151;

double processor_seconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

std::unique_ptr<Transducer> make_shape(const std::string& shape) {
  if (shape == "disc") return std::make_unique<CircularTransducer>(5 * mm);
  if (shape == "ring") return std::make_unique<RingTransducer>(3 * mm, 6 * mm);
  if (shape == "rectangle") return std::make_unique<RectangularTransducer>(6 * mm, 10 * mm);
  if (shape == "shell") return std::make_unique<SphericalTransducer>(8 * mm, 15 * mm);
  return std::make_unique<SphericalRingTransducer>(4 * mm, 8 * mm, 15 * mm);
}

std::unique_ptr<ExcitationFunction> make_signal(const std::string& signal) {
  if (signal == "tone") return std::make_unique<ToneBurst>(1, 1e6, 3 * us, 0, 1);
  if (signal == "hanning") return std::make_unique<HanningPulse>(1, 1e6, 3 * us, 0, 2);
  if (signal == "t_cubed") return std::make_unique<TCubedPulse>(1e18, 1e6, 5 * us, 2.5e6, 3);
  constexpr int n = 2 * (kLines - 1);
  std::vector<double> samples(n);
  for (int i = 0; i < n; ++i) {
    const double x = 2 * M_PI * i / n;
    samples[i] = (1 - std::cos(x)) * std::sin(3 * x);
  }
  return std::make_unique<ExcitationFunction>(samples, 10e-9, n * 10e-9);
}

class Scene {
 public:
  Scene(const std::string& shape, const std::string& signal, int steps)
      : _element(make_shape(shape)), _signal(make_signal(signal)) {
    _medium._soundspeed = 1500;
    _medium._rho_density = 1000;
    _rule.allocate_memory(kNodes);
    _grid.RegularCoordinateGrid(-8 * mm, 8 * mm, 1.1 * mm, 1.1 * mm, 1 * mm, 20 * mm,
                                16 * mm / steps, 0, 19 * mm / steps);
    _pressure.assign(static_cast<std::size_t>(_grid.npoints()) * _axis.nt(), 0.0);
    _element->set_medium(&_medium);
    _element->set_integral_pointer(&_rule);
    _element->set_global_coordinate_grid(&_grid);
    _element->set_time_vector(&_axis);
    _element->set_transient_pressure_pointer(_pressure.data());
    _element->_excitation_function = _signal.get();
  }

  int points() const { return _grid.npoints(); }
  double seconds(Method method) {
    _rule.gauss_quadrature();
    const double start = processor_seconds();
    (_element.get()->*method)();
    return processor_seconds() - start;
  }

 private:
  Medium _medium;
  NumericalIntegration _rule;
  CoordinateGrid _grid;
  TimeSamples _axis{50e-9, 0, (kSamples - 0.5) * 50e-9};
  std::unique_ptr<Transducer> _element;
  std::unique_ptr<ExcitationFunction> _signal;
  std::vector<double> _pressure;
};

/// Against the direct sum on a small grid; the sampled signal's direct sum is slow.
void against_direct(benchmark::State& state, const std::string& shape, const std::string& signal,
                    Method method) {
  Scene scene(shape, signal, signal == "sampled" ? 3 : 12);
  scene.seconds(method);
  std::vector<double> ratios;
  for (auto _ : state) {
    const double own = scene.seconds(method);
    ratios.push_back(scene.seconds(&Transducer::fnm_transient) / own);
    state.SetIterationTime(own);
  }
  std::nth_element(ratios.begin(), ratios.begin() + ratios.size() / 2, ratios.end());
  state.counters["times_direct"] = ratios[ratios.size() / 2];
  state.counters["points/s"] =
      benchmark::Counter(scene.points(), benchmark::Counter::kIsIterationInvariantRate);
}

/// On a grid whose transient array does not fit into any cache.
void on_a_large_grid(benchmark::State& state, const std::string& shape, Method method) {
  Scene scene(shape, "hanning", 150);
  for (auto _ : state) state.SetIterationTime(scene.seconds(method));
  state.counters["points/s"] =
      benchmark::Counter(scene.points(), benchmark::Counter::kIsIterationInvariantRate);
}

const bool registered = [] {
  struct Named {
    const char* name;
    Method method;
  };
  constexpr Named methods[] = {{"fnm_tsd", &Transducer::fnm_tsd},
                               {"fnm_tsd_low_precision", &Transducer::fnm_tsd_low_precision},
                               {"fnm_tsd_sse", &Transducer::fnm_tsd_sse}};
  for (const std::string shape : {"disc", "ring", "rectangle", "shell", "spherical_ring"}) {
    for (const auto& [name, method] : methods) {
      if (method == &Transducer::fnm_tsd_sse && shape != "disc") continue;
      for (const std::string signal : {"tone", "hanning", "t_cubed", "sampled"}) {
        if (signal == "sampled" && method != &Transducer::fnm_tsd) continue;
        const Method run = method;
        benchmark::RegisterBenchmark(
            (shape + "/" + name + "/" + signal).c_str(),
            [=](benchmark::State& state) { against_direct(state, shape, signal, run); })
            ->UseManualTime()
            ->Unit(benchmark::kMillisecond)
            ->MinTime(0.05);
      }
    }
    benchmark::RegisterBenchmark(
        (shape + "/fnm_tsd/large_grid").c_str(),
        [=](benchmark::State& state) { on_a_large_grid(state, shape, &Transducer::fnm_tsd); })
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond)
        ->MinTime(0.05);
  }
  return true;
}();

}  // namespace
