// The threads of a run: nothing left out, no failure lost, and an end as soon as one is asked for.

#include "numerics/threads.h"

#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>
#include <stdexcept>
#include <thread>
#include <vector>

#include "fields/tile_runner.h"
#include "kestrel/instruction_set.h"
#include "numerics/interruption.h"

namespace kestrel {
namespace {

TEST(Threads, TilesRunOnceEach) {
  for (const int threads : {1, 2, 5}) {
    std::vector<std::atomic<int>> runs(1013);
    fields::TileRunner runner(threads, {});
    runner.run(runs.size(), [&](std::size_t tile) { ++runs[tile]; });
    EXPECT_TRUE(std::all_of(runs.begin(), runs.end(), [](const auto& n) { return n == 1; }));
    runner.run(0, [](std::size_t) { FAIL(); });
  }
}

TEST(Threads, WorkersRunEveryTaskOnce) {
  for (const int threads : {1, 2, 5}) {
    Workers workers(threads);
    for (int round = 0; round < 3000; ++round) {
      std::vector<int> runs(static_cast<std::size_t>(round % 17));
      workers.run(round % 17, [&](int task, int worker) {
        runs[static_cast<std::size_t>(task)] += 0 <= worker && worker < workers.size() ? 1 : 100;
      });
      ASSERT_EQ(runs, std::vector<int>(runs.size(), 1)) << threads << " " << round;
    }
  }
}

TEST(Threads, WorkersAreNoMoreThanCanBeUsed) {
  const int cores = static_cast<int>(std::thread::hardware_concurrency());
  EXPECT_EQ(Workers::useful(1000, 1), 1);
  EXPECT_EQ(Workers::useful(0, 1000), 1);
  EXPECT_EQ(Workers::useful(2, 1000), 2);
  if (cores > 0) {
    EXPECT_EQ(Workers::useful(1000 * cores, 1000 * cores), 2 * cores);
  }
}

TEST(Threads, AFailedTaskIsThrownWhenTheRoundHasEnded) {
  for (const int threads : {1, 2, 5}) {
    Workers workers(threads);
    for (int round = 0; round < 300; ++round) {
      std::atomic<int> at_work{0};
      const auto task = [&](int i, int) {
        ++at_work;
        const bool fails = i % 20 == round % 20;
        --at_work;
        if (fails) throw std::out_of_range("task");
      };
      EXPECT_THROW(workers.run(40, task), std::out_of_range);
      EXPECT_EQ(at_work, 0);
    }
    std::atomic<int> after{0};
    workers.run(40, [&](int, int) { ++after; });
    EXPECT_EQ(after, 40);
  }
}

TEST(Threads, AnInterruptionLeavesOutTheRestOfARound) {
  for (const int threads : {1, 3}) {
    Workers workers(threads);
    std::atomic<int> ran{0};
    // The caller's thread hears it; the others begin nothing new once it has.
    const auto task = [&](int, int worker) {
      ++ran;
      if (worker > 0) std::this_thread::yield();
    };
    {
      const InterruptionScope asked([] { return true; });
      workers.run(1 << 20, task);
    }
    EXPECT_LT(ran, 1 << 20);
    // What a host throws instead of an answer passes through.
    {
      const InterruptionScope asked([]() -> bool { throw std::out_of_range("interrupt"); });
      EXPECT_THROW(workers.run(7, task), std::out_of_range);
    }
    ran = 0;
    workers.run(7, task);
    EXPECT_EQ(ran, 7);
  }
}

TEST(Threads, OneFailureEndsAllOthers) {
  const auto until_stopped = [](const std::stop_token& stop) {
    // A stop is heard by loops that only ask for interruptions, too.
    while (!interruption_asked()) std::this_thread::yield();
    EXPECT_TRUE(stop.stop_requested());
  };
  {
    ThreadGroup idle;
    idle.start(3, [&](int, const std::stop_token& stop) { until_stopped(stop); });
    EXPECT_FALSE(idle.wait_for(std::chrono::milliseconds(1)));
  }
  ThreadGroup group;
  group.start(3, [&](int number, const std::stop_token& stop) {
    if (number == 2) throw std::out_of_range("body");
    until_stopped(stop);
  });
  while (!group.wait_for(std::chrono::seconds(1))) continue;
  EXPECT_THROW(group.rethrow_failure(), std::out_of_range);
}

TEST(Threads, TheyUseTheInstructionSetOfWhoStartsThem) {
  const ScopedInstructionSet chosen(InstructionSet::scalar);
  std::atomic<int> others{0};
  const auto look = [&](int, auto) { others += instruction_set() != InstructionSet::scalar; };
  Workers workers(3);
  for (int round = 0; round < 100; ++round) workers.run(9, [&](int i, int w) { look(i, w); });
  ThreadGroup group;
  group.start(3, [&](int number, const std::stop_token&) { look(number, 0); });
  while (!group.wait_for(std::chrono::seconds(1))) continue;
  EXPECT_EQ(others, 0);
}

}  // namespace
}  // namespace kestrel
