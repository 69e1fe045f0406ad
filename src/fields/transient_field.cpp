#include <algorithm>

#include "fields/array_tile.h"
#include "fields/kzk_array.h"
#include "fields/node_rule.h"
#include "fields/points.h"
#include "fields/run.h"
#include "kestrel/error.h"
#include "kestrel/field.h"

namespace kestrel::fields {

namespace {

/// Points per tile. A call's tables over the samples cost about as much as some ten points, so
/// tiles have many more; but the traces of a tile, of which each thread holds one, stay within some
/// 32 MB. It must not depend on the number of threads: nor do the results.
std::size_t tile_size(std::size_t points, std::size_t samples) {
  const std::size_t most =
      std::clamp<std::size_t>((std::size_t{1} << 22) / std::max<std::size_t>(samples, 1), 1, 4096);
  return std::clamp(points / 32, std::min<std::size_t>(128, most), most);
}

/// Puts the tiles' traces into the result.
class TransientWorker : public ElementWorker {
 public:
  TransientWorker(const DirectJob& job, const TimeSamples& time,
                  std::span<const ExcitationFunction* const> excitations, double* result,
                  NodeRange& used)
      : ElementWorker(job, tile_size(job.points.size(), static_cast<std::size_t>(time.nt())), used),
        _samples(static_cast<std::size_t>(time.nt())),
        _points(job.points.size()),
        _result(result),
        _pressure(largest_tile() * _samples) {
    for (std::size_t e = 0; e < inputs().size(); ++e) {
      detail::ElementInputs& in = inputs()[e];
      in.time = &time;
      in.excitation = excitations[excitations.size() == 1 ? 0 : e];
      in.traces = _pressure.data();
    }
  }

 private:
  void clear(std::size_t count) override { std::fill_n(_pressure.begin(), count * _samples, 0.0); }
  void collect(std::size_t first, std::size_t count) override {
    for (std::size_t k = 0; k < _samples; ++k) {
      std::copy_n(_pressure.data() + k * count, count, _result + k * _points + first);
    }
  }

  std::size_t _samples, _points;
  double* _result;
  std::vector<double> _pressure;
};

}  // namespace

Report compute_transient_field(const std::vector<Element>& elements, const CoordinateGrid& grid,
                               const Medium& medium, const TimeSamples& time,
                               std::span<const ExcitationFunction* const> excitations,
                               const Settings& settings, double* result) {
  Run run(elements, grid, medium, settings, transient_methods(), "fnm_tsd");
  if (!elements.empty() && excitations.size() != 1 && excitations.size() != elements.size()) {
    fail("there must be one excitation, or one for each of %zu elements, but there are %zu.",
         elements.size(), excitations.size());
  }
  const GridPoints points(grid);
  const std::size_t npoints = points.size(), samples = static_cast<std::size_t>(time.nt());
  run.report.direct_elements = elements.size();
  if (run.method.marched) {
    check_march_points(run);
    std::fill_n(result, npoints * samples, 0.0);
    add_pulses(run, time, excitations, result);
  } else if (elements.empty()) {
    std::fill_n(result, npoints * samples, 0.0);
  } else if (npoints > 0 && samples > 0) {
    const FixedNodes rule(run.settings.nodes);
    const DirectJob job{elements, points, run.medium, run.method, rule};
    NodeRange used;
    const std::size_t size = tile_size(npoints, samples);
    run.runner.begin_stage(1);
    run.runner.run((npoints + size - 1) / size, [&] {
      return std::make_unique<TransientWorker>(job, time, excitations, result, used);
    });
    run.report.memory = run.runner.threads() * (sizeof(double) * static_cast<double>(size) *
                                                    static_cast<double>(samples + 6) +
                                                400.0 * static_cast<double>(elements.size()));
    run.report.least_nodes = used.least;
    run.report.greatest_nodes = used.greatest;
  }
  return run.finish();
}

}  // namespace kestrel::fields
