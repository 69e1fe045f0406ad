#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <functional>
#include <mutex>
#include <stop_token>
#include <thread>
#include <vector>

/// The threads of a run: of a field's tiles (fields/tile_runner.h) and of the tasks of a nonlinear
/// march (methods/kzk).

namespace kestrel {

/// Threads that run one function each. They take over the instruction set of the thread that starts
/// them, and their long loops hear it (interruption.h) when they are to stop.
class ThreadGroup {
 public:
  /// What a thread does: its number, from 0, and whether it is to stop.
  using Body = std::function<void(int number, const std::stop_token& stop)>;

  ThreadGroup() = default;
  /// Asks the threads to stop and waits for their end.
  ~ThreadGroup();
  ThreadGroup(const ThreadGroup&) = delete;
  ThreadGroup& operator=(const ThreadGroup&) = delete;

  /// Starts `count` threads. Fewer, down to none, when the system refuses more or has no memory for
  /// them. To be called once.
  void start(int count, Body body);
  /// Runs the body of `start` on the calling thread, for a caller that was granted no thread.
  void run_here();

  int size() const { return static_cast<int>(_threads.size()); }
  /// Waits for the end of all bodies, at most so long. Returns whether they have ended.
  bool wait_for(std::chrono::milliseconds most);
  /// After the end: throws what the first body threw that failed. The others were asked to stop.
  void rethrow_failure() const;

 private:
  void run(int number);

  Body _body;
  std::stop_source _stop;
  std::mutex _mutex;  // guards what follows
  std::condition_variable _ended;
  int _running = 0;
  std::exception_ptr _failure;
  std::vector<std::thread> _threads;
};

/// A few threads that share out the independent tasks of one march, thousands of times in a row.
/// Which thread runs which task is left to chance; tasks must not depend on it, and then the result
/// does not depend on the number of threads.
///
/// The caller never waits for a thread that has not come: it takes tasks itself until none is left,
/// and then waits only for tasks that others have begun. So on a machine that is busy with other
/// programs, where a thread gets its core late, a march goes on about as fast as on one thread.
/// Whoever waits spins for some microseconds, then yields its core, then sleeps.
class Workers {
 public:
  /// How many of `threads` threads `tasks` tasks at a time can use; no more than two on each of the
  /// machine's cores.
  static int useful(int threads, long tasks);

  /// `threads` including the caller's; fewer when the system refuses more.
  explicit Workers(int threads);

  int size() const { return _threads.size() + 1; }

  /// Calls task(i, worker) once for each i in [0, count), with worker in [0, size()), and returns
  /// when all are done. Throws what the first task threw that failed, when all have ended. After an
  /// interruption (interruption.h) that the calling thread hears, the tasks not yet begun are left
  /// out: the caller asks for it before it uses the result.
  void run(int count, const std::function<void(int i, int worker)>& task);

 private:
  // A march calls at intervals of tens of microseconds, about what it takes to wake a thread that
  // sleeps. So a waiting thread first spins for about as long; then it yields some times, which
  // takes less than a microsecond each unless somebody else wants the core; then it sleeps.
  static constexpr int kSpins = 400, kYields = 100;

  /// While nobody came in time for the last rounds, sleepers are called in vain: they are called at
  /// every 2^n-th round only, up to this n.
  static constexpr int kMostUnhelped = 7;

  template <class Done, class Sleep>
  static void wait_patiently(const Done& done, const Sleep& sleep);

  static std::uint64_t count_of(std::uint64_t open) { return open >> 32; }
  static std::uint64_t next_of(std::uint64_t open) { return open & 0xffffffffU; }
  bool has_tasks() const;

  void wake();
  void call_for_help();
  int take_tasks(int worker);
  void run_task(int i, int worker);
  void serve(int worker, const std::stop_token& stop);

  std::atomic<unsigned> _round{0};
  /// The tasks of the round (upper half) and the next one to begin (lower half), in one number so
  /// that nobody begins a task of a round that is over.
  std::atomic<std::uint64_t> _open{0};
  std::atomic<int> _unfinished{0};
  std::atomic<const std::function<void(int, int)>*> _task{nullptr};
  std::atomic<bool> _skipping{false};  ///< what is left of the round
  std::mutex _mutex;                   // guards the failure
  std::exception_ptr _failure;         ///< the round's first
  unsigned _calls = 0;
  int _unhelped = 0;
  ThreadGroup _threads;  // the last member: its threads use the others
};

}  // namespace kestrel
