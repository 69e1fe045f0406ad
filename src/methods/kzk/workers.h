#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <functional>
#include <thread>
#include <vector>

#include "kestrel/instruction_set.h"
#include "numerics/interruption.h"

namespace kestrel::kzk {

/// A few threads that share out the independent tasks of one march, thousands of times in a row.
/// Which thread runs which task is left to chance; tasks must not depend on it, and then the result
/// does not depend on the number of threads. Tasks must not throw.
///
/// The caller never waits for a thread that has not come: it takes tasks itself until none is left,
/// and then waits only for tasks that others have begun. So on a machine that is busy with other
/// programs, where a thread gets its core late, a march goes on about as fast as on one thread.
/// Whoever waits spins for some microseconds, then yields its core, then sleeps.
class Workers {
 public:
  /// How many of `threads` threads `tasks` tasks at a time can use; no more than two on each of the
  /// machine's cores.
  static int useful(int threads, long tasks) {
    const int cores = static_cast<int>(std::thread::hardware_concurrency());  // 0 when unknown
    const int most = cores > 0 ? std::min(threads, 2 * cores) : threads;
    return static_cast<int>(std::clamp(tasks, 1L, std::max(1L, static_cast<long>(most))));
  }

  /// `threads` including the caller's. Fewer are made, down to none, when the system refuses more
  /// or has no memory for them; that gives the same answer later.
  explicit Workers(int threads) {
    try {
      if (threads > 1) _threads.reserve(static_cast<std::size_t>(threads - 1));
      for (int i = 1; i < threads; ++i) {
        // The threads take over the caller's instruction set.
        _threads.emplace_back([this, i, set = instruction_set()] {
          const ScopedInstructionSet same_set(set);
          serve(i);
        });
      }
    } catch (...) {
      // Those that run are kept, and joined at the end.
    }
  }
  ~Workers() {
    _stop = true;
    wake();
    for (std::thread& thread : _threads) thread.join();
  }
  Workers(const Workers&) = delete;
  Workers& operator=(const Workers&) = delete;

  int size() const { return static_cast<int>(_threads.size()) + 1; }

  /// Calls task(i, worker) once for each i in [0, count), with worker in [0, size()), and returns
  /// when all are done.
  void run(int count, const std::function<void(int, int)>& task) {
    if (_threads.empty() || count <= 1) {
      for (int i = 0; i < count; ++i) task(i, 0);
      return;
    }
    _task = &task;
    _unfinished = count;
    _open = static_cast<std::uint64_t>(count) << 32;
    call_for_help();
    const int own = take_tasks(0);
    patiently([this] { return _unfinished == 0; },
              [this] {
                const int left = _unfinished;
                if (left != 0) _unfinished.wait(left);
              });
    _unhelped = own < count ? 0 : std::min(_unhelped + 1, most_unhelped);
  }

 private:
  // A march calls at intervals of tens of microseconds, about what it takes to wake a thread that
  // sleeps. So a waiting thread first spins for about as long; then it yields some times, which
  // takes less than a microsecond each unless somebody else wants the core; then it sleeps.
  static constexpr int spins = 400, yields = 100;

  /// While nobody came in time for the last rounds, sleepers are called in vain: they are called at
  /// every 2^n-th round only, up to this n.
  static constexpr int most_unhelped = 7;

  /// Leaves the core to the thread that it shares it with, if there is one: two processors are
  /// often the two halves of a core, and a waiting one would halve the speed of the working one.
  static void pause() {
#if defined(__x86_64__)
    __builtin_ia32_pause();
#else
    std::this_thread::yield();
#endif
  }

  /// Returns when `done()`; `sleep()` blocks until that may have changed.
  template <class Done, class Sleep>
  static void patiently(const Done& done, const Sleep& sleep) {
    for (int i = 0; i < spins; ++i) {
      if (done()) return;
      pause();
    }
    for (int i = 0; i < yields; ++i) {
      if (done()) return;
      std::this_thread::yield();
    }
    while (!done()) sleep();
  }

  void wake() {
    ++_round;
    _round.notify_all();
  }
  void call_for_help() {
    const unsigned every = 1U << _unhelped;
    if (++_calls % every == 0) wake();
  }

  static std::uint64_t count_of(std::uint64_t open) { return open >> 32; }
  static std::uint64_t next_of(std::uint64_t open) { return open & 0xffffffffU; }
  bool has_tasks() const {
    const std::uint64_t open = _open;
    return next_of(open) < count_of(open);
  }

  /// Runs tasks until none is left to begin; how many it ran.
  int take_tasks(int worker) {
    int taken = 0;
    for (std::uint64_t open = _open; next_of(open) < count_of(open);) {
      if (!_open.compare_exchange_weak(open, open + 1)) continue;
      // From here to the end of this task the caller waits: the round cannot change.
      (*_task)(static_cast<int>(next_of(open)), worker);
      ++taken;
      if (--_unfinished == 0) _unfinished.notify_one();
      open = _open;
    }
    return taken;
  }

  void serve(int worker) {
    while (!_stop) {
      const unsigned seen = _round;
      patiently([&] { return _stop || has_tasks() || _round != seen; }, [&] { _round.wait(seen); });
      take_tasks(worker);
    }
  }

  std::vector<std::thread> _threads;
  std::atomic<bool> _stop{false};
  std::atomic<unsigned> _round{0};
  /// The tasks of the round (upper half) and the next one to begin (lower half), in one number so
  /// that nobody begins a task of a round that is over.
  std::atomic<std::uint64_t> _open{0};
  std::atomic<int> _unfinished{0};
  std::atomic<const std::function<void(int, int)>*> _task{nullptr};
  unsigned _calls = 0;
  int _unhelped = 0;
};

/// Whether what is left of a round of tasks need not be done, because an interruption is asked for:
/// only the caller's thread, worker 0, hears that. `ended` is the round's own.
inline bool unwanted(int worker, std::atomic<bool>& ended) {
  if (worker == 0 && !ended && interruption_asked()) ended = true;
  return ended;
}

}  // namespace kestrel::kzk
