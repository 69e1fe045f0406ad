#include "numerics/threads.h"

#include <algorithm>
#include <utility>

#include "kestrel/instruction_set.h"
#include "numerics/interruption.h"

namespace kestrel {

ThreadGroup::~ThreadGroup() {
  _stop.request_stop();
  for (std::thread& thread : _threads) thread.join();
}

void ThreadGroup::start(int count, Body body) {
  _body = std::move(body);
  const InstructionSet set = instruction_set();
  try {
    _threads.reserve(static_cast<std::size_t>(std::max(count, 0)));
    for (int number = 0; number < count; ++number) {
      _threads.emplace_back([this, number, set] {
        const ScopedInstructionSet same_set(set);
        run(number);
      });
      const std::lock_guard lock(_mutex);
      ++_running;
    }
  } catch (...) {
    // Those that run do the work.
  }
}

void ThreadGroup::run_here() {
  ++_running;
  run(0);
}

void ThreadGroup::run(int number) {
  std::exception_ptr failure;
  try {
    const InterruptionScope listening([this] { return _stop.stop_requested(); });
    _body(number, _stop.get_token());
  } catch (...) {
    failure = std::current_exception();
    _stop.request_stop();
  }
  const std::lock_guard lock(_mutex);
  if (!_failure) _failure = std::move(failure);
  --_running;
  _ended.notify_one();
}

bool ThreadGroup::wait_for(std::chrono::milliseconds most) {
  std::unique_lock lock(_mutex);
  return _ended.wait_for(lock, most, [this] { return _running == 0; });
}

void ThreadGroup::rethrow_failure() const {
  if (_failure) std::rethrow_exception(_failure);
}

int Workers::useful(int threads, long tasks) {
  const int cores = static_cast<int>(std::thread::hardware_concurrency());  // 0 when unknown
  const int most = cores > 0 ? std::min(threads, 2 * cores) : threads;
  return static_cast<int>(std::clamp(tasks, 1L, std::max(1L, static_cast<long>(most))));
}

Workers::Workers(int threads) {
  _threads.start(threads - 1,
                 [this](int number, const std::stop_token& stop) { serve(number + 1, stop); });
}

void Workers::run(int count, const std::function<void(int, int)>& task) {
  _task = &task;
  _skipping = false;
  if (size() == 1 || count <= 1) {
    for (int i = 0; i < count; ++i) run_task(i, 0);
  } else {
    _unfinished = count;
    _open = static_cast<std::uint64_t>(count) << 32;
    call_for_help();
    const int own = take_tasks(0);
    wait_patiently([this] { return _unfinished == 0; },
                   [this] {
                     const int left = _unfinished;
                     if (left != 0) _unfinished.wait(left);
                   });
    _unhelped = own < count ? 0 : std::min(_unhelped + 1, kMostUnhelped);
  }
  if (_failure) std::rethrow_exception(std::exchange(_failure, nullptr));
}

/// Leaves the core to the thread that it shares it with, if there is one: two processors are often
/// the two halves of a core, and a waiting one would halve the speed of the working one.
static void pause() {
#if defined(__x86_64__)
  __builtin_ia32_pause();
#else
  std::this_thread::yield();
#endif
}

/// Returns when `done()`; `sleep()` blocks until that may have changed.
template <class Done, class Sleep>
void Workers::wait_patiently(const Done& done, const Sleep& sleep) {
  for (int i = 0; i < kSpins; ++i) {
    if (done()) return;
    pause();
  }
  for (int i = 0; i < kYields; ++i) {
    if (done()) return;
    std::this_thread::yield();
  }
  while (!done()) sleep();
}

bool Workers::has_tasks() const {
  const std::uint64_t open = _open;
  return next_of(open) < count_of(open);
}

void Workers::wake() {
  ++_round;
  _round.notify_all();
}

void Workers::call_for_help() {
  const unsigned every = 1U << _unhelped;
  if (++_calls % every == 0) wake();
}

/// Runs tasks until none is left to begin. Returns how many it ran.
int Workers::take_tasks(int worker) {
  int taken = 0;
  for (std::uint64_t open = _open; next_of(open) < count_of(open);) {
    if (!_open.compare_exchange_weak(open, open + 1)) continue;
    // From here to the end of this task the caller waits: the round cannot change.
    run_task(static_cast<int>(next_of(open)), worker);
    ++taken;
    if (--_unfinished == 0) _unfinished.notify_one();
    open = _open;
  }
  return taken;
}

void Workers::run_task(int i, int worker) {
  try {
    // Only the caller's thread can hear an interruption.
    if (worker == 0 && !_skipping && interruption_asked()) _skipping = true;
    if (!_skipping) (*_task)(i, worker);
  } catch (...) {
    _skipping = true;
    const std::lock_guard lock(_mutex);
    if (!_failure) _failure = std::current_exception();
  }
}

void Workers::serve(int worker, const std::stop_token& stop) {
  const std::stop_callback wake_up(stop, [this] { wake(); });
  while (!stop.stop_requested()) {
    const unsigned seen = _round;
    wait_patiently([&] { return stop.stop_requested() || has_tasks() || _round != seen; },
                   [&] { _round.wait(seen); });
    take_tasks(worker);
  }
}

}  // namespace kestrel
