/// Speed of the nonlinear marches: time per node update (one harmonic, or one time sample, of one
/// radial node on one plane), and how many times as fast they are as their own plain loops on one
/// thread (instruction set `scalar`: harmonics one by one; for pulses the same loops, compiled for
/// the baseline). Processor time with one thread, elapsed time with several, so that a busy machine
/// spoils only the latter.
///
/// The march and the plain loops run in turn, each pair gives a quotient, and their median counts.

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cmath>
#include <ctime>
#include <string>
#include <thread>
#include <vector>

#include "kestrel/instruction_set.h"
#include "methods/kzk/cw_march.h"
#include "methods/kzk/transient_march.h"

namespace {

using namespace kestrel;
using namespace kestrel::kzk;

constexpr double kPi = 3.14159265358979323846;

struct Beamed {
  const char* name;
  Aperture aperture;
  Fluid fluid;
  double velocity;
  double depth;
};

// Shocks form at the shell's focus; the piston stays short of them.
constexpr Beamed kBeams[] = {
    {"unfocused", {0.01, 0}, {1e6, 1500, 1000, 3.5, 0.3}, 0.2, 0.2},
    {"focused", {0.015, 0.06}, {1e6, 1500, 1000, 3.5, 0.3}, 0.4, 0.066},
};

void state_problem(const Beamed& beamed, const std::vector<Point>& points, Problem& problem) {
  problem.aperture = beamed.aperture;
  problem.fluid = beamed.fluid;
  problem.points = points;
}

double seconds(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

template <class March>
double duration(int threads, const March& march) {
  const clockid_t clock = threads == 1 ? CLOCK_THREAD_CPUTIME_ID : CLOCK_MONOTONIC;
  const double start = seconds(clock);
  march(threads);
  return seconds(clock) - start;
}

/// Runs march() on the best instruction set with `threads` and, in turn, march() on the plain one.
template <class March>
void against_plain(benchmark::State& state, int threads, double updates, const March& march) {
  std::vector<double> ratios;
  for (auto _ : state) {
    const double own = duration(threads, march);
    const ScopedInstructionSet plain(InstructionSet::scalar);
    ratios.push_back(duration(1, march) / own);
    state.SetIterationTime(own);
  }
  std::nth_element(ratios.begin(), ratios.begin() + ratios.size() / 2, ratios.end());
  state.counters["times_plain"] = ratios[ratios.size() / 2];
  state.counters["updates/s"] =
      benchmark::Counter(updates, benchmark::Counter::kIsIterationInvariantRate);
  state.counters["update"] = benchmark::Counter(
      updates, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void continuous(benchmark::State& state, const Beamed& beamed, int harmonics, int threads) {
  const std::vector<Point> points = {{0, beamed.depth}};
  CwProblem problem;
  state_problem(beamed, points, problem);
  problem.weight = beamed.velocity;
  problem.parameters.harmonics = harmonics;
  against_plain(state, threads, estimate_cw(problem).updates(), [&](int used) {
    problem.threads = used;
    benchmark::DoNotOptimize(march_cw(problem).pressure.data());
  });
}

/// Three cycles, 60 samples a period.
void pulsed(benchmark::State& state, const Beamed& beamed, bool lossy, int threads) {
  const std::vector<Point> points = {{0, beamed.depth}};
  const double period = 1 / beamed.fluid.f0;
  std::vector<double> times;
  for (int i = 0; i < 200; ++i)
    times.push_back(beamed.depth / beamed.fluid.sound_speed + (i - 40) * 0.05 * period);
  TransientProblem problem;
  state_problem(beamed, points, problem);
  if (!lossy) problem.fluid.attenuation = 0;
  problem.parameters.samples_per_period = 60;
  problem.amplitude = beamed.velocity;
  problem.drive.at = [=](double t) {
    const double turns = t / period;
    return turns > 0 && turns < 3
               ? 0.5 * (1 - std::cos(2 * kPi * turns / 3)) * std::sin(2 * kPi * turns)
               : 0.0;
  };
  problem.drive.frequency = beamed.fluid.f0;
  problem.drive.duration = 3 * period;
  problem.times = times;
  against_plain(state, threads, estimate_transient(problem).updates(), [&](int used) {
    problem.threads = used;
    benchmark::DoNotOptimize(march_transient(problem).pressure.data());
  });
}

template <class Run>
void add(const std::string& name, const Run& run) {
  benchmark::RegisterBenchmark(name.c_str(), run)
      ->UseManualTime()
      ->Unit(benchmark::kMillisecond)
      ->MinTime(0.3);
}

const bool registered = [] {
  const int all = std::max(2, static_cast<int>(std::thread::hardware_concurrency()));
  for (const Beamed& beamed : kBeams) {
    for (const int threads : {1, all}) {
      const std::string how = std::string(beamed.name) + "/threads:" + std::to_string(threads);
      for (const int harmonics : {10, 30, 60})
        add("cw/harmonics:" + std::to_string(harmonics) + "/" + how,
            [=](benchmark::State& state) { continuous(state, beamed, harmonics, threads); });
      for (const bool lossy : {false, true})
        add(std::string("pulse/") + (lossy ? "lossy/" : "lossless/") + how,
            [=](benchmark::State& state) { pulsed(state, beamed, lossy, threads); });
    }
  }
  return true;
}();

}  // namespace
