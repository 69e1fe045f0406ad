// Calculations at once in one program, each on a thread of its own: nothing of one may reach
// another.

#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

#include "arrays.h"
#include "boundary/outcome.h"
#include "kestrel/field.h"
#include "kestrel/services.h"
#include "support/transient_situation.h"

namespace kestrel::fields {
namespace {

/// Runs all of them at once.
void at_once(const std::vector<std::function<void()>>& bodies) {
  std::vector<std::thread> callers;
  for (const auto& body : bodies) callers.emplace_back(body);
  for (std::thread& caller : callers) caller.join();
}

TEST(RunsAtOnce, KeepTheirInstructionSetsThreadsLimitsAndEnds) {
  const std::vector<Element> array = lattice(Rectangle{0.5e-3, 2e-3}, 9, 3, 0.6e-3, 2.4e-3);
  const auto grid = regular_grid({31, 21, 9}, {-4.5e-3, -3e-3, 1e-3}, {0.3e-3, 0.3e-3, 2e-3});
  const Medium medium = water(0.3);
  const auto run = [&](InstructionSet set, int threads, double memory) {
    return compute(array, *grid, medium,
                   {.nodes = 8,
                    .threads = threads,
                    .memory = memory,
                    .estimate_error = false,
                    .instruction_set = set});
  };
  const struct {
    InstructionSet set;
    int threads;
    double memory;
    std::size_t reused;
  } cases[] = {{InstructionSet::scalar, 1, 1e9, 27},
               {InstructionSet::baseline, 3, 1e9, 27},
               {InstructionSet::scalar, 2, 1e3, 0}};
  std::vector<Field> alone;
  for (const auto& c : cases) alone.push_back(run(c.set, c.threads, c.memory).field);
  for (std::size_t i = 0; i < 3; ++i) {
    ASSERT_NE(alone[i], alone[(i + 1) % 3]) << "equal bits: this test could not see a mix-up";
  }

  const auto tone = test::tone();
  const ExcitationFunction* drives[] = {tone.get()};
  const TimeSamples time(200e-9, 0, 10e-6);
  for (int repeat = 0; repeat < 4; ++repeat) {
    std::vector<std::function<void()>> bodies;
    for (std::size_t i = 0; i < 3; ++i) {
      bodies.emplace_back([&, i] {
        const Computed computed = run(cases[i].set, cases[i].threads, cases[i].memory);
        EXPECT_EQ(computed.field, alone[i]) << i;
        EXPECT_EQ(computed.report.instruction_set, cases[i].set);
        EXPECT_EQ(computed.report.threads, cases[i].threads);
        EXPECT_EQ(computed.report.reused_elements, cases[i].reused);
      });
    }
    // One that ends early, by pulses.
    bodies.emplace_back([&] {
      std::vector<double> pressure(static_cast<std::size_t>(grid->npoints()) * time.nt());
      const Settings cancelled{.nodes = 40,
                               .threads = 2,
                               .instruction_set = InstructionSet::baseline,
                               .progress = [](double) { return false; }};
      EXPECT_THROW(compute_transient_field(mixed_array(40), *grid, medium, time, drives, cancelled,
                                           pressure.data()),
                   Cancelled);
    });
    at_once(bodies);
  }
}

TEST(RunsAtOnce, APulseRunsOnTheInstructionSetOfItsSettings) {
  const auto grid = regular_grid({5, 1, 3}, {-2e-3, 0, 20e-3}, {1e-3, 0, 5e-3});
  const TimeSamples time(100e-9, 10e-6, 25e-6);
  const auto pulse = test::hanning();
  const ExcitationFunction* drives[] = {pulse.get()};
  std::vector<double> pressure(static_cast<std::size_t>(grid->npoints()) * time.nt());
  for (const InstructionSet set : {InstructionSet::scalar, InstructionSet::baseline}) {
    const Report report =
        compute_transient_field({element(Circle{4e-3})}, *grid, water(), time, drives,
                                {.nodes = 8, .instruction_set = set}, pressure.data());
    EXPECT_EQ(report.instruction_set, set);
    EXPECT_EQ(report.greatest_nodes, 8);
  }
  const std::string refused =
      outcome_of([&] {
        compute_transient_field({element(Circle{4e-3})}, *grid, water(), time, drives,
                                {.tolerance = 1e-3}, pressure.data());
      }).error.value_or("");
  EXPECT_EQ(refused.rfind("a tolerance chooses the nodes of the method 'fnm_cw'; for 'fnm_tsd'", 0),
            0U)
      << refused;
}

thread_local std::vector<std::string> printed;

TEST(RunsAtOnce, ServicesBelongToTheThreadThatInstallsThem) {
  Medium unset = water();
  unset._f0 = 0;
  const auto caller = [&](bool grudging) {
    services::Services own = services::kStandardServices;
    own.print = [](const char* text) { printed.emplace_back(text); };
    if (grudging) own.allocate = [](std::size_t) -> void* { return nullptr; };
    services::install(own);
    printed.clear();
    const auto coarse = [] { return kestrel::regular_grid({.z = {1e-3, 9e-3, 4e-3}}); };
    if (grudging) {
      // This thread has no memory to give, and no other one notices.
      try {
        coarse();
        ADD_FAILURE() << "a grid without memory";
      } catch (const Error& error) {
        EXPECT_EQ(error.kind(), ErrorKind::out_of_memory);
      }
      return;
    }
    const CoordinateGrid grid = coarse();
    const Settings settings{
        .method = find_continuous_wave_method("rayleigh_cw_sse"), .nodes = 2, .threads = 2};
    continuous_field({element(Rectangle{1e-3, 1e-3})}, grid, unset, settings);
    EXPECT_EQ(printed, std::vector<std::string>{"rayleigh_cw_sse: 2 abscissas\n"});
  };
  for (int repeat = 0; repeat < 5; ++repeat) {
    at_once({[&] { caller(false); }, [&] { caller(true); }, [&] { caller(false); }});
  }
}

}  // namespace
}  // namespace kestrel::fields
