/// Measures how well tolerances are kept and estimates of the error hold, on random jobs:
///
///     tolerance [JOBS [SEED]]
///
/// Prints the distribution of the true error over the tolerance, and of the estimate over the true
/// error with a fixed number of nodes; and every job that breaks its tolerance or whose estimate is
/// below half of the error. Ends with 1 when a tolerance is broken.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

#include "tests/fields/random_jobs.h"

namespace {

using namespace kestrel;
using namespace kestrel::fields;

void print_quantiles(const char* what, std::vector<double> ratios) {
  if (ratios.empty()) return;
  std::sort(ratios.begin(), ratios.end());
  std::printf("%s, %zu jobs:\n", what, ratios.size());
  for (const double q : {0.0, 0.01, 0.05, 0.1, 0.25, 0.5, 0.75, 0.9, 0.99, 1.0}) {
    const auto at = static_cast<std::size_t>(q * static_cast<double>(ratios.size() - 1));
    std::printf("  %3.0f %%  %.1e\n", 100 * q, ratios[at]);
  }
}

}  // namespace

int main(int argc, char** argv) {
  const int count = argc > 1 ? std::atoi(argv[1]) : 1000;
  const auto seed = static_cast<unsigned>(argc > 2 ? std::atoi(argv[2]) : 1);
  // Errors below this are those of rounding and of the converged field.
  constexpr double kRounding = 1e-9;
  RandomJobs jobs(seed);
  std::mt19937_64 random(seed);
  std::vector<double> used, estimated;
  int broken = 0;
  for (int i = 0; i < count; ++i) {
    const RandomJob job = jobs();
    const Field reference = converged_field(job);
    if (!(peak(reference) > 0)) continue;
    Settings settings;
    settings.threads = 1;
    const double tolerance = std::pow(10, -1 - 5 * static_cast<double>(random() % 1000) / 1000);
    settings.tolerance = tolerance;
    const Computed kept = compute(job.elements, *job.grid, job.medium, settings);
    const double error = difference(kept.field, reference);
    used.push_back(error / tolerance);
    if (!(error <= tolerance)) {
      ++broken;
      std::printf("broken: %.1e of %.1e, estimate %.1e: %s\n", error, tolerance,
                  kept.report.error_estimate, job.name.c_str());
    }
    settings.tolerance.reset();
    settings.nodes = 2 + static_cast<int>(random() % 30);
    const Computed fixed = compute(job.elements, *job.grid, job.medium, settings);
    const double truth = difference(fixed.field, reference);
    if (!(truth > kRounding)) continue;
    estimated.push_back(fixed.report.error_estimate / truth);
    if (estimated.back() < 0.5) {
      std::printf("blind: estimate %.1e, error %.1e, %d nodes: %s\n", fixed.report.error_estimate,
                  truth, settings.nodes, job.name.c_str());
    }
  }
  print_quantiles("error / tolerance", used);
  print_quantiles("estimate / error", estimated);
  std::printf("%d broken\n", broken);
  return broken == 0 ? 0 : 1;
}
