// The driver without a fuzzer: calls by a seeded generator for some seconds of processor time.
//
//     fuzz_<entry> [--seconds n] [--calls n] [--seed s] [--verbose]
//
// Call number k has the seed s + k. What goes wrong ends the program with that number; so
// `--seed <number> --calls 1` makes the same call again.

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <string_view>

#include "mex/host/host_services.h"
#include "tests/fuzz/made_up_call.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/common_interface_defs.h>
#endif

namespace {

std::atomic<unsigned long long> seed_at_hand{0};

void say_seed() {
  std::fprintf(stderr, "in the call with --seed %llu --calls 1\n", seed_at_hand.load());
}

void end_by_signal(int number) {
  say_seed();
  std::signal(number, SIG_DFL);
  std::raise(number);
}

}  // namespace

#if defined(__SANITIZE_ADDRESS__)
// A host that cannot have memory answers null.
extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1"; }
#endif

int main(int count, char** arguments) {
  using namespace kestrel;
  double seconds = 15;
  unsigned long long seed = 1, calls = ~0ULL;
  bool verbose = false;
  for (int i = 1; i < count; ++i) {
    const std::string_view name = arguments[i];
    if (name == "--verbose") {
      verbose = true;
    } else if (i + 1 == count) {
      std::fprintf(stderr, "%s: no value, or not one of --seconds, --calls, --seed, --verbose\n",
                   arguments[i]);
      return 2;
    } else if (name == "--seconds") {
      seconds = std::atof(arguments[++i]);
    } else if (name == "--calls") {
      calls = std::strtoull(arguments[++i], nullptr, 10);
    } else if (name == "--seed") {
      seed = std::strtoull(arguments[++i], nullptr, 10);
    } else {
      std::fprintf(stderr, "unknown option %s\n", arguments[i]);
      return 2;
    }
  }
  for (const int number : {SIGABRT, SIGSEGV, SIGFPE, SIGILL}) std::signal(number, end_by_signal);
#if defined(__SANITIZE_ADDRESS__)
  __sanitizer_set_death_callback(say_seed);
#endif
  host::install_services();

  unsigned long long made = 0, outcomes[4] = {}, slowest = 0;
  double longest = 0;
  const auto used = [] { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; };
  for (; made < calls && used() < seconds; ++made, ++seed) {
    seed_at_hand = seed;
    if (verbose) say_seed();
    fuzz::Choices choices(seed);
    const auto start = std::chrono::steady_clock::now();
    try {
      ++outcomes[static_cast<int>(fuzz::run_made_up_call(choices))];
    } catch (const std::exception& error) {
      std::fprintf(stderr, "%s\n", error.what());
      say_seed();
      return 1;
    }
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    if (took.count() > longest) {
      longest = took.count();
      slowest = seed;
    }
  }
  std::printf(
      "%s: %llu calls: %llu computed, %llu refused, %llu interrupted, %llu too large to run; the "
      "longest took %.2f s, with --seed %llu\n",
      arguments[0], made, outcomes[0], outcomes[1], outcomes[2], outcomes[3], longest, slowest);
  // A generator that makes nothing right, or nothing wrong, tries nothing.
  const bool single = made == calls;
  return single || (outcomes[0] > 0 && outcomes[1] > 0) ? 0 : 1;
}
