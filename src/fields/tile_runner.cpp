#include "fields/tile_runner.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

#include "kestrel/field.h"
#include "kestrel/instruction_set.h"
#include "numerics/interruption.h"
#include "services/off_host_thread.h"

namespace kestrel::fields {

/// How long the calling thread sleeps between two looks at the progress.
static constexpr std::chrono::milliseconds kPollInterval{100};

/// One job on all of its threads.
class Job {
 public:
  Job(std::size_t count, const std::function<std::unique_ptr<TileWorker>()>& make_worker)
      : _count(count), _make_worker(make_worker) {}

  ~Job() {
    _stop = true;
    for (std::thread& thread : _threads) thread.join();
  }

  /// Starts up to `threads` threads, fewer when the system has no more.
  void start(int threads) {
    const std::size_t useful = std::min(static_cast<std::size_t>(threads), _count);
    _threads.reserve(useful);
    while (_threads.size() < useful) {
      {
        const std::lock_guard lock(_mutex);
        ++_running;
      }
      try {
        _threads.emplace_back([this] { work(); });
      } catch (...) {  // no more threads, or no memory for another: those that run do the work
        const std::lock_guard lock(_mutex);
        --_running;
        break;
      }
    }
    if (_threads.empty() && _count > 0) {
      _running = 1;
      work();
    }
  }

  /// Waits for the end or for one poll interval; true at the end.
  bool wait() {
    std::unique_lock lock(_mutex);
    return _changed.wait_for(lock, kPollInterval, [this] { return _running == 0; });
  }

  double fraction() const { return _count == 0 ? 1.0 : _done / static_cast<double>(_count); }

  /// After the end.
  void finish(services::Messages& messages) {
    messages.absorb(_messages);
    if (_failure) std::rethrow_exception(_failure);
  }

 private:
  void work() {
    std::exception_ptr failure;
    try {
      services::Messages latest, distinct;
      const services::OffHostThread scope(latest);
      const ScopedInstructionSet same_set(_instruction_set);
      const InterruptionScope listening([this] { return _stop.load(std::memory_order_relaxed); });
      const std::unique_ptr<TileWorker> worker = _make_worker();
      worker->_stop = &_stop;
      worker->_done = &_done;
      distinct.absorb(latest);
      while (!_stop) {
        const std::size_t tile = _next++;
        if (tile >= _count) break;
        worker->run(tile);
        distinct.absorb(latest);
        worker->report(1);
        worker->_reported = 0;
      }
      const std::lock_guard lock(_mutex);
      _messages.absorb(distinct);
    } catch (...) {  // nothing of the host can be thrown here: the thread is detached from it
      failure = std::current_exception();
      _stop = true;
    }
    const std::lock_guard lock(_mutex);
    if (!_failure) _failure = failure;
    --_running;
    _changed.notify_one();
  }

  const InstructionSet _instruction_set = instruction_set();  // of the calling thread
  const std::size_t _count;
  const std::function<std::unique_ptr<TileWorker>()>& _make_worker;
  std::atomic<std::size_t> _next{0};
  std::atomic<double> _done{0};  // tiles, with fractions
  std::atomic<bool> _stop{false};
  std::mutex _mutex;  // guards what follows
  std::condition_variable _changed;
  int _running = 0;
  std::exception_ptr _failure;
  services::Messages _messages;
  std::vector<std::thread> _threads;
};

void end_if_cancelled() {
  if (interruption_asked()) throw Cancelled();
}

int thread_count(int ordered) {
  return ordered > 0 ? ordered : std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
}

TileRunner::TileRunner(int threads, Progress progress)
    : _threads(thread_count(threads)), _progress(std::move(progress)) {}

void TileRunner::begin_stage(double share) {
  _finished_share = std::min(1.0, _finished_share + _share);
  _share = share;
}

double TileRunner::fraction(double of_stage) const {
  const double done = _finished_share + _share * of_stage;
  return _share > 0 ? std::max(done, kBegun) : done;
}

void TileRunner::run(std::size_t count,
                     const std::function<std::unique_ptr<TileWorker>()>& make_worker) {
  Job job(count, make_worker);
  job.start(_threads);
  while (!job.wait()) {
    if (_progress && !_progress(fraction(job.fraction()))) throw Cancelled();
  }
  job.finish(_messages);
}

void TileRunner::run(std::size_t count, const std::function<void(std::size_t tile)>& work) {
  struct Worker : TileWorker {
    const std::function<void(std::size_t)>& work;
    explicit Worker(const std::function<void(std::size_t)>& w) : work(w) {}
    void run(std::size_t tile) override { work(tile); }
  };
  run(count,
      std::function<std::unique_ptr<TileWorker>()>([&] { return std::make_unique<Worker>(work); }));
}

}  // namespace kestrel::fields
