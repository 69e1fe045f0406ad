#include "fields/kzk_array.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <variant>

#include "fields/array_tile.h"
#include "kestrel/error.h"
#include "kestrel/services.h"
#include "methods/common/wave_constants.h"
#include "methods/kzk/element_methods.h"
#include "methods/kzk/plan.h"

namespace kestrel::fields {

namespace {

kzk::Aperture aperture_of(const Geometry& geometry) {
  const auto face = std::visit([](const auto& g) { return g.parabolic_aperture(); }, geometry);
  if (!face) fail(ErrorKind::unsupported, "only circles and shells can be marched.");
  return {face->radius, face->curvature};
}

/// An element on a grid, with what its march is made from.
struct PlacedElement {
  detail::ElementInputs inputs;
  kzk::Aperture aperture;
  std::vector<kzk::Point> points;
};

/// The marches of an array, by the number of the element.
class ArrayMarch {
 public:
  explicit ArrayMarch(const Run& run) : _run(run) {}
  virtual ~ArrayMarch() = default;

  /// The size of the element's march to the points of `grid`.
  virtual kzk::Cost cost(std::size_t element, const CoordinateGrid& grid) = 0;
  struct Marched {
    kzk::Report report;
    kzk::Cost cost;
    std::function<void()> add;  ///< adds the beam to the result
  };
  /// Called by several threads at a time, for different elements.
  virtual Marched march(std::size_t element, int threads, const kzk::Progress& progress) = 0;

 protected:
  PlacedElement place(std::size_t number, const CoordinateGrid& grid) {
    const Element& element = _run.elements[number];
    PlacedElement placed;
    placed.inputs = place_inputs(element);
    placed.inputs.medium = &_run.medium;
    placed.inputs.grid = &grid;
    placed.aperture = aperture_of(element.geometry);
    placed.points = detail::kzk_points(placed.inputs);
    return placed;
  }

  const Run& _run;
};

class HarmonicMarch : public ArrayMarch {
 public:
  HarmonicMarch(const Run& run, std::span<const int> harmonics, std::complex<double>* result)
      : ArrayMarch(run), _harmonics(harmonics.begin(), harmonics.end()), _result(result) {}

  kzk::Cost cost(std::size_t element, const CoordinateGrid& grid) override {
    const PlacedElement placed = place(element, grid);
    return kzk::estimate_cw(problem(placed));
  }
  Marched march(std::size_t element, int threads, const kzk::Progress& progress) override {
    const PlacedElement placed = place(element, _run.grid);
    kzk::CwProblem marched = problem(placed);
    marched.threads = threads;
    marched.progress = progress;
    const auto beam = std::make_shared<const kzk::CwResult>(kzk::march_cw(marched));
    return {*beam, beam->cost, [this, beam] {
              for (std::size_t i = 0; i < beam->pressure.size(); ++i) {
                _result[i] += beam->pressure[i];
              }
            }};
  }

 private:
  kzk::CwProblem problem(const PlacedElement& placed) const {
    kzk::CwProblem problem = detail::kzk_cw_problem(placed.inputs, placed.aperture, placed.points);
    problem.parameters = _run.settings.kzk;
    problem.wanted = _harmonics;
    return problem;
  }

  std::vector<int> _harmonics;
  std::complex<double>* _result;
};

class PulseMarch : public ArrayMarch {
 public:
  PulseMarch(const Run& run, const TimeSamples& time,
             std::span<const ExcitationFunction* const> excitations, double* result)
      : ArrayMarch(run), _time(time), _excitations(excitations), _result(result) {}

  kzk::Cost cost(std::size_t element, const CoordinateGrid& grid) override {
    const DrivenElement driven = drive(element, grid);
    return kzk::estimate_transient(driven.problem);
  }
  /// On one thread: most of a pulse's work, diffraction, goes from sample to sample, and what other
  /// threads take of the rest they lose in fetching the wave from each other.
  Marched march(std::size_t element, int /*threads*/, const kzk::Progress& progress) override {
    DrivenElement driven = drive(element, _run.grid);
    driven.problem.progress = progress;
    const auto beam =
        std::make_shared<const kzk::TransientResult>(kzk::march_transient(driven.problem));
    return {*beam, beam->cost,
            [this, beam, samples = driven.times.size(), points = driven.placed.points.size()] {
              for (std::size_t i = 0; i < points; ++i) {
                for (std::size_t k = 0; k < samples; ++k) {
                  _result[i + k * points] += beam->pressure[i * samples + k];
                }
              }
            }};
  }

 private:
  /// The problem refers to the points and times beside it, whose storage a move keeps.
  struct DrivenElement {
    PlacedElement placed;
    std::vector<double> times;
    kzk::TransientProblem problem;
  };

  DrivenElement drive(std::size_t element, const CoordinateGrid& grid) {
    DrivenElement driven{place(element, grid), {}, {}};
    detail::ElementInputs& in = driven.placed.inputs;
    in.time = &_time;
    in.excitation = _excitations[_excitations.size() == 1 ? 0 : element];
    driven.times = detail::kzk_times(in);
    driven.problem = detail::kzk_transient_problem(in, driven.placed.aperture, driven.placed.points,
                                                   driven.times);
    driven.problem.parameters = _run.settings.kzk;
    return driven;
  }

  const TimeSamples& _time;
  std::span<const ExcitationFunction* const> _excitations;
  double* _result;
};

/// Some points of a grid that lie as far apart as all of them: its corners when it is regular,
/// otherwise up to a few thousand of the list. Enough to tell the size of a march.
class SparseGrid {
 public:
  explicit SparseGrid(const CoordinateGrid& grid) {
    constexpr int kMost = 4096;
    const int n = grid.npoints(), step = std::max(1, n / kMost);
    std::vector<CartesianCoordinate> points;
    if (grid.regular() && n > 0) {
      for (const double x : {grid.xmin(), grid.xmax()}) {
        for (const double y : {grid.ymin(), grid.ymax()}) {
          for (const double z : {grid.zmin(), grid.zmax()}) points.push_back({x, y, z});
        }
      }
    }
    for (int i = 0; i < n; i += step) points.push_back(grid.spatial_index_value(i));
    _columns.resize(3 * points.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
      _columns[i] = points[i].x;
      _columns[points.size() + i] = points[i].y;
      _columns[2 * points.size() + i] = points[i].z;
    }
    _grid.CoordinateGridVector(_columns.data(), static_cast<int>(points.size()));
  }
  const CoordinateGrid& grid() const { return _grid; }

 private:
  std::vector<double> _columns;
  CoordinateGrid _grid;
};

/// Lets threads that work on elements out of order do the last of it in order.
class OrderedCompletion {
 public:
  /// Waits until all elements before this one are done; false when the work is to stop.
  bool wait_for(std::size_t element, const std::stop_token& stop) {
    std::unique_lock lock(_mutex);
    return _next_came.wait(lock, stop, [&] { return _next == element; });
  }
  void done(std::size_t element) {
    {
      const std::lock_guard lock(_mutex);
      _next = element + 1;
    }
    _next_came.notify_all();
  }

 private:
  std::mutex _mutex;
  std::condition_variable_any _next_came;
  std::size_t _next = 0;
};

/// What the threads that march an array share. The beams are added, and their warnings passed on,
/// in the order of the elements.
struct MarchState {
  std::atomic<double> seconds{-1};  ///< expected; negative while that is not known
  OrderedCompletion completion;
  kzk::Cost largest;
  std::set<std::string> issued_warnings;
};

/// One thread of those that share out the elements.
class MarchWorker : public TileWorker {
 public:
  /// `at_once` elements are marched side by side, each by `threads` threads.
  MarchWorker(const Run& run, ArrayMarch& array, MarchState& state, int at_once, int threads)
      : _run(run), _array(array), _state(state), _at_once(at_once), _threads(threads) {}

  void run(std::size_t element) override {
    if (element == 0) _state.seconds = expected_seconds();
    const ArrayMarch::Marched marched = _array.march(element, _threads, [&](double fraction) {
      report(fraction);
      return !stopped();
    });
    if (stopped() || !_state.completion.wait_for(element, stop())) return;
    pass_on(marched.report, element + 1);
    marched.add();
    if (marched.cost.updates() >= _state.largest.updates()) _state.largest = marched.cost;
    _state.completion.done(element);
  }

 private:
  double expected_seconds() {
    constexpr double kSecondsPerPoint = 5e-7;  // to place it and to read its pressure
    const SparseGrid sparse(_run.grid);
    double seconds = 0;
    for (std::size_t e = 0; e < _run.elements.size() && !stopped(); ++e) {
      const kzk::Cost cost = _array.cost(e, sparse.grid());
      if (cost.bytes > kzk::kMostBytes) continue;  // it will not be marched
      seconds += kzk::estimated_seconds(cost, _threads) + kSecondsPerPoint * _run.grid.npoints();
    }
    return seconds / _at_once;
  }

  void pass_on(const kzk::Report& march, std::size_t number) {
    const std::string element = "element " + std::to_string(number) + ": ";
    for (const std::string& warning : march.warnings) {
      if (!_state.issued_warnings.insert(warning).second) continue;
      services::warn(((_run.elements.size() > 1 ? element : "") + warning).c_str());
    }
    if (!march.error) return;
    fail(march.error->kind(), "%sthe method '%s' failed. %s", element.c_str(), _run.method.name,
         march.error->what());
  }

  const Run& _run;
  ArrayMarch& _array;
  MarchState& _state;
  int _at_once, _threads;
};

void march_all(Run& run, ArrayMarch& array) {
  const std::vector<Element>& elements = run.elements;
  for (std::size_t e = 0; e < elements.size(); ++e) {
    if (elements[e].apodization_index == 0) continue;
    fail("element %zu: the method '%s' marches uniform faces only, but apodization_index is %d.",
         e + 1, run.method.name, elements[e].apodization_index);
  }
  // Elements side by side need not wait for each other as the threads of one march must.
  const int threads = run.runner.threads();
  const int at_once =
      static_cast<int>(std::clamp<std::size_t>(elements.size(), 1, std::size_t(threads)));
  MarchState state;
  bool announced = false;
  TileRunner runner(at_once, [&](double fraction) {
    if (!announced && state.seconds >= 0) {
      announced = true;
      if (run.settings.announce) run.settings.announce(state.seconds);
    }
    return !run.settings.progress || run.settings.progress(fraction);
  });
  runner.begin_stage(1);
  runner.run(elements.size(), [&] {
    return std::make_unique<MarchWorker>(run, array, state, at_once, threads / at_once);
  });
  run.runner.messages().absorb(runner.messages());
  run.report.march = state.largest;
  run.report.march.bytes *= at_once;
  run.report.memory = run.report.march.bytes;
}

}  // namespace

void check_march_points(const Run& run) {
  for (std::size_t e = 0; e < run.elements.size(); ++e) {
    if (detail::is_negligible(run.elements[e].amplitude)) continue;
    try {
      kzk::check_storage(sizeof(kzk::ReceiverSample) * static_cast<double>(run.grid.npoints()),
                         "The list of points", "fewer points");
    } catch (const Error& error) {
      fail(error.kind(), "element %zu: the method '%s' failed. %s", e + 1, run.method.name,
           error.what());
    }
    return;
  }
}

void add_harmonics(Run& run, std::span<const int> harmonics, std::complex<double>* result) {
  HarmonicMarch array(run, harmonics, result);
  march_all(run, array);
}

void add_pulses(Run& run, const TimeSamples& time,
                std::span<const ExcitationFunction* const> excitations, double* result) {
  PulseMarch array(run, time, excitations, result);
  march_all(run, array);
}

}  // namespace kestrel::fields
