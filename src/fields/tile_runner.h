#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <stop_token>

#include "kestrel/error.h"
#include "services/off_host_thread.h"

namespace kestrel::fields {

/// What one thread of a job owns. It is made, used and destroyed on its thread, without the host.
class TileWorker {
 public:
  virtual ~TileWorker() = default;
  virtual void run(std::size_t tile) = 0;

 protected:
  /// The job is to end and its result will not be read: return soon.
  bool stopped() const { return _stop.stop_requested(); }
  const std::stop_token& stop() const { return _stop; }
  /// This fraction of the tile at hand is done: for tiles that take long.
  void report(double fraction) {
    if (_done != nullptr) *_done += fraction - _reported;
    _reported = fraction;
  }

 private:
  friend class TileRunner;
  std::stop_token _stop;
  std::atomic<double>* _done = nullptr;
  double _reported = 0;
};

using kestrel::Cancelled;

/// Throws Cancelled when an interruption is asked for (numerics/interruption.h).
void end_if_cancelled();

/// Threads for an order of so many; 0 orders one per processor core.
int thread_count(int ordered);

/// Runs jobs that are cut into tiles on a number of threads. Which thread runs which tile is left
/// open, so a job's result must depend on the tiles alone.
class TileRunner {
 public:
  /// Asked some ten times a second, on the calling thread, with the fraction of the work that is
  /// done: 0 while it is being planned, at least kBegun (kestrel/field.h) from then
  /// on. False stops it. May throw.
  using Progress = std::function<bool(double fraction)>;

  /// See thread_count.
  TileRunner(int threads, Progress progress);

  /// Runs the tiles 0 .. count-1, each once. The calling thread waits, and stays free for progress.
  /// When a worker throws, or progress stops the work or throws, all threads are ended first; then
  /// the exception (Cancelled for progress) leaves this function.
  void run(std::size_t count, const std::function<std::unique_ptr<TileWorker>()>& make_worker);

  /// The same for work that needs nothing of its own on a thread.
  void run(std::size_t count, const std::function<void(std::size_t tile)>& work);

  /// The following jobs together are this fraction of the whole work, as progress reports it; 0 for
  /// what prepares or checks it.
  void begin_stage(double share);

  int threads() const { return _threads; }

  /// Texts that the workers printed or warned about, equal ones once.
  services::Messages& messages() { return _messages; }

 private:
  double fraction(double of_stage) const;

  int _threads;
  Progress _progress;
  double _finished_share = 0;
  double _share = 0;
  services::Messages _messages;
};

}  // namespace kestrel::fields
