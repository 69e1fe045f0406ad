#pragma once

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace kestrel::kzk {

/// A few threads that share out the independent tasks of one march, thousands of times in a row.
/// Which thread runs which task is left to chance; tasks must not depend on it, and then the result
/// does not depend on the number of threads. Tasks must not throw.
class Workers {
 public:
  /// How many of `threads` threads `tasks` tasks at a time can use. Waiting threads spin: more than
  /// two on each of the machine's cores only take turns at it.
  static int useful(int threads, long tasks) {
    const int cores = static_cast<int>(std::thread::hardware_concurrency());  // 0 when unknown
    const int most = cores > 0 ? std::min(threads, 2 * cores) : threads;
    return static_cast<int>(std::clamp(tasks, 1L, std::max(1L, static_cast<long>(most))));
  }

  /// `threads` including the caller's; with 1 (or when the system refuses more) no thread is made.
  explicit Workers(int threads) {
    if (threads > 1) _threads.reserve(static_cast<std::size_t>(threads));
    try {
      for (int i = 1; i < threads; ++i) _threads.emplace_back([this, i] { serve(i); });
    } catch (const std::system_error&) {
      // Fewer threads give the same answer later.
    }
  }
  ~Workers() {
    publish([this] { _stop = true; });
    for (auto& thread : _threads) thread.join();
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
    publish([&] {
      _task = &task;
      _count = count;
      _next.store(0, std::memory_order_relaxed);
      _busy.store(static_cast<int>(_threads.size()), std::memory_order_relaxed);
    });
    take_tasks(0);
    for (int spin = 0; _busy.load(std::memory_order_acquire) != 0; ++spin) {
      if (spin < spins) {
        pause();
      } else {
        std::this_thread::yield();
      }
    }
  }

 private:
  // A march calls at intervals of tens of microseconds, about what it takes to wake a thread that
  // sleeps; so a waiting thread first spins for some such intervals.
  static constexpr int spins = 4000;

  /// Leaves the core to the thread that it shares it with, if there is one: two processors are
  /// often the two halves of a core, and a waiting one would halve the speed of the working one.
  static void pause() {
#if defined(__x86_64__)
    __builtin_ia32_pause();
#else
    std::this_thread::yield();
#endif
  }

  template <class Change>
  void publish(const Change& change) {
    {
      const std::lock_guard lock(_mutex);
      change();
      _round.fetch_add(1, std::memory_order_release);
    }
    _wake.notify_all();
  }

  void take_tasks(int worker) {
    for (int i = _next.fetch_add(1); i < _count; i = _next.fetch_add(1)) (*_task)(i, worker);
  }

  void serve(int worker) {
    unsigned seen = 0;
    for (;;) {
      for (int spin = 0; spin < spins && _round.load(std::memory_order_acquire) == seen; ++spin)
        pause();
      {
        std::unique_lock lock(_mutex);
        _wake.wait(lock, [&] { return _round.load(std::memory_order_relaxed) != seen; });
        seen = _round.load(std::memory_order_relaxed);
        if (_stop) return;
      }
      take_tasks(worker);
      _busy.fetch_sub(1, std::memory_order_release);
    }
  }

  std::vector<std::thread> _threads;
  std::mutex _mutex;
  std::condition_variable _wake;
  std::atomic<unsigned> _round{0};
  bool _stop = false;
  const std::function<void(int, int)>* _task = nullptr;
  int _count = 0;
  std::atomic<int> _next{0};
  std::atomic<int> _busy{0};
};

}  // namespace kestrel::kzk
