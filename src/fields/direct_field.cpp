#include "fields/direct_field.h"

#include <algorithm>
#include <vector>

namespace kestrel::fields {

namespace {

/// Adds the tiles' complex planes to the result.
class DirectWorker : public ElementWorker {
 public:
  DirectWorker(const DirectJob& job, std::complex<double>* result, NodeRange& used)
      : ElementWorker(job, tile_size(job), used),
        _result(result),
        _real(largest_tile()),
        _imaginary(largest_tile()) {
    for (detail::ElementInputs& in : inputs()) {
      in.real_plane = _real.data();
      in.imaginary_plane = _imaginary.data();
    }
  }

 private:
  void clear(std::size_t count) override {
    std::fill_n(_real.begin(), count, 0.0);
    std::fill_n(_imaginary.begin(), count, 0.0);
  }
  void collect(std::size_t first, std::size_t count) override {
    for (std::size_t i = 0; i < count; ++i) {
      _result[first + i] += std::complex<double>(_real[i], _imaginary[i]);
    }
  }

  std::complex<double>* _result;
  std::vector<double> _real, _imaginary;
};

}  // namespace

std::size_t tile_size(const DirectJob& job) {
  const std::size_t points = job.points.size();
  if (job.tile > 0) return job.tile;
  return std::clamp<std::size_t>(points / 64, 512, 4096);
}

void add_direct_field(TileRunner& runner, const DirectJob& job, std::complex<double>* result,
                      NodeRange& used) {
  if (job.elements.empty() || job.points.size() == 0) return;
  const std::size_t size = tile_size(job);
  runner.run((job.points.size() + size - 1) / size,
             [&] { return std::make_unique<DirectWorker>(job, result, used); });
}

double add_list_field(TileRunner& runner, const DirectJob& job, std::complex<double>* result,
                      NodeRange& used) {
  const std::vector<std::size_t> order = neighbours_order(job.points);
  const ChosenPoints points(job.points, order);
  std::vector<std::complex<double>> field(order.size());
  const DirectJob ordered{job.elements, points, job.medium, job.method, job.rule};
  add_direct_field(runner, ordered, field.data(), used);
  for (std::size_t i = 0; i < order.size(); ++i) result[order[i]] += field[i];
  constexpr double kPerPoint = sizeof(std::complex<double>) + 3 * sizeof(std::size_t);
  return direct_memory(ordered, runner.threads()) + kPerPoint * static_cast<double>(order.size());
}

double direct_memory(const DirectJob& job, int threads) {
  const double per_point = 8 * sizeof(double);  // columns, grid, planes
  const double per_element = sizeof(void*) + 400;
  return threads * (per_point * static_cast<double>(tile_size(job)) +
                    per_element * static_cast<double>(job.elements.size()));
}

void compute_direct_here(const DirectJob& job, std::complex<double>* result) {
  NodeRange unused;
  DirectWorker worker(job, result, unused);
  worker.run(0);
}

}  // namespace kestrel::fields
