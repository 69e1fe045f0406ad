#include "fields/tile_runner.h"

#include <algorithm>
#include <chrono>
#include <mutex>
#include <thread>

#include "kestrel/field.h"
#include "numerics/interruption.h"
#include "numerics/threads.h"

namespace kestrel::fields {

/// How long the calling thread sleeps between two looks at the progress.
static constexpr std::chrono::milliseconds kPollInterval{100};

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
  if (count == 0) return;
  std::atomic<std::size_t> next{0};
  std::atomic<double> done{0};  // tiles, with fractions
  std::mutex mutex;             // guards the messages
  const auto take_tiles = [&](int, const std::stop_token& stop) {
    services::Messages latest, distinct;
    const services::OffHostThread scope(latest);
    const std::unique_ptr<TileWorker> worker = make_worker();
    worker->_stop = stop;
    worker->_done = &done;
    distinct.absorb(latest);
    for (std::size_t tile; !stop.stop_requested() && (tile = next++) < count;) {
      worker->run(tile);
      distinct.absorb(latest);
      worker->report(1);
      worker->_reported = 0;
    }
    const std::lock_guard lock(mutex);
    _messages.absorb(distinct);
  };
  ThreadGroup threads;
  threads.start(static_cast<int>(std::min(static_cast<std::size_t>(_threads), count)), take_tiles);
  if (threads.size() == 0) threads.run_here();
  while (!threads.wait_for(kPollInterval)) {
    if (_progress && !_progress(fraction(done / static_cast<double>(count)))) throw Cancelled();
  }
  threads.rethrow_failure();
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
