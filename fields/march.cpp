#include "fields/march.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <set>
#include <string>
#include <variant>

#include "host/host.h"
#include "transducers/detail/kzk_methods.h"

namespace kestrel::fields {

namespace {

struct ApertureOf {
  kzk::Aperture operator()(const Circle& circle) const { return {circle.radius, 0}; }
  kzk::Aperture operator()(const Shell& shell) const { return {shell.radius, shell.rad_curvature}; }
  template <class Other>
  kzk::Aperture operator()(const Other&) const {
    host::fail("only circles and shells can be marched.");
  }
};

/// An element on a grid, with what its march is made from.
struct PlacedElement {
  std::unique_ptr<Transducer> transducer;
  kzk::Aperture aperture;
  std::vector<kzk::Point> points;
};

/// The marches of an array, by the number of the element.
class ArrayMarch {
 public:
  explicit ArrayMarch(const MarchJob& job) : _job(job), _medium(job.medium) {}
  virtual ~ArrayMarch() = default;

  virtual const char* method() const = 0;
  /// The size of the element's march to the points of `grid`.
  virtual kzk::Cost cost(std::size_t element, const CoordinateGrid& grid) = 0;
  /// Marches and, when that succeeds, adds.
  struct Marched {
    kzk::Report report;
    kzk::Cost cost;
  };
  virtual Marched march(std::size_t element, int threads, const kzk::Progress& progress) = 0;

 protected:
  PlacedElement place(std::size_t number, const CoordinateGrid& grid) {
    const Element& element = _job.elements[number];
    PlacedElement placed;
    placed.transducer = make_transducer(element);
    placed.transducer->set_medium(&_medium);
    // An old interface's pointer: grids are only read.
    placed.transducer->set_global_coordinate_grid(const_cast<CoordinateGrid*>(&grid));
    placed.aperture = std::visit(ApertureOf{}, element.geometry);
    placed.points = detail::kzk_points(*placed.transducer);
    return placed;
  }
  const CoordinateGrid& grid() const { return _job.grid; }
  const kzk::Parameters& parameters() const { return _job.parameters; }

 private:
  const MarchJob& _job;
  Medium _medium;
};

class HarmonicMarch : public ArrayMarch {
 public:
  HarmonicMarch(const MarchJob& job, std::span<const int> harmonics, std::complex<double>* result)
      : ArrayMarch(job), _harmonics(harmonics.begin(), harmonics.end()), _result(result) {}

  const char* method() const override { return "kzk_cw"; }
  kzk::Cost cost(std::size_t element, const CoordinateGrid& grid) override {
    const PlacedElement placed = place(element, grid);
    return kzk::estimate_cw(problem(placed));
  }
  Marched march(std::size_t element, int threads, const kzk::Progress& progress) override {
    const PlacedElement placed = place(element, grid());
    kzk::CwProblem marched = problem(placed);
    marched.threads = threads;
    marched.progress = progress;
    const kzk::CwResult beam = kzk::march_cw(marched);
    if (beam.code == kzk::Code::done) {
      for (std::size_t i = 0; i < beam.pressure.size(); ++i) _result[i] += beam.pressure[i];
    }
    return {beam, beam.cost};
  }

 private:
  kzk::CwProblem problem(const PlacedElement& placed) const {
    kzk::CwProblem problem =
        detail::kzk_cw_problem(*placed.transducer, placed.aperture, placed.points);
    problem.parameters = parameters();
    problem.wanted = _harmonics;
    return problem;
  }

  std::vector<int> _harmonics;
  std::complex<double>* _result;
};

class PulseMarch : public ArrayMarch {
 public:
  PulseMarch(const MarchJob& job, const TimeSamples& time,
             std::span<const ExcitationFunction* const> excitations, double* result)
      : ArrayMarch(job), _time(time), _excitations(excitations), _result(result) {}

  const char* method() const override { return "kzk_transient"; }
  kzk::Cost cost(std::size_t element, const CoordinateGrid& grid) override {
    const DrivenElement driven = drive(element, grid);
    return kzk::estimate_transient(driven.problem);
  }
  Marched march(std::size_t element, int threads, const kzk::Progress& progress) override {
    DrivenElement driven = drive(element, grid());
    driven.problem.threads = threads;
    driven.problem.progress = progress;
    const kzk::TransientResult beam = kzk::march_transient(driven.problem);
    if (beam.code == kzk::Code::done) {
      const std::size_t samples = driven.times.size(), points = driven.placed.points.size();
      for (std::size_t i = 0; i < points; ++i) {
        for (std::size_t k = 0; k < samples; ++k) {
          _result[i + k * points] += beam.pressure[i * samples + k];
        }
      }
    }
    return {beam, beam.cost};
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
    Transducer& transducer = *driven.placed.transducer;
    // Old interfaces' pointers, likewise.
    transducer.set_time_vector(const_cast<TimeSamples*>(&_time));
    transducer._excitation_function =
        const_cast<ExcitationFunction*>(_excitations[_excitations.size() == 1 ? 0 : element]);
    driven.times = detail::kzk_times(transducer);
    driven.problem = detail::kzk_transient_problem(transducer, driven.placed.aperture,
                                                   driven.placed.points, driven.times);
    driven.problem.parameters = parameters();
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

/// All elements in their order, on one thread that has the march's other threads help it; the
/// host's thread stays free for progress.
class MarchWorker : public TileWorker {
 public:
  struct Outcome {
    std::atomic<double> seconds{-1};  ///< expected; negative while that is not known
    kzk::Cost largest;
  };

  MarchWorker(const MarchJob& job, ArrayMarch& array, Outcome& outcome)
      : _job(job), _array(array), _outcome(outcome), _threads(thread_count(job.threads)) {}

  void run(std::size_t) override {
    const std::vector<double> shares = expected_shares();
    double before = 0;
    for (std::size_t e = 0; e < shares.size() && !stopped(); ++e) {
      const ArrayMarch::Marched marched = _array.march(e, _threads, [&](double fraction) {
        report(before + shares[e] * fraction);
        return !stopped();
      });
      if (stopped()) return;
      pass_on(marched.report, e + 1);
      if (marched.cost.updates() >= _outcome.largest.updates()) _outcome.largest = marched.cost;
      before += shares[e];
    }
  }

 private:
  /// Of the whole work, by element.
  std::vector<double> expected_shares() {
    constexpr double kSecondsPerPoint = 5e-7;  // to place it and to read its pressure
    const double reading = kSecondsPerPoint * _job.grid.npoints();
    const SparseGrid sparse(_job.grid);
    std::vector<double> seconds;
    double total = 0;
    for (std::size_t e = 0; e < _job.elements.size() && !stopped(); ++e) {
      const kzk::Cost cost = _array.cost(e, sparse.grid());
      const bool allowed = cost.bytes <= kzk::most_bytes;  // otherwise it will not be marched
      seconds.push_back(reading + (allowed ? kzk::estimated_seconds(cost, _threads) : 0));
      total += seconds.back();
    }
    _outcome.seconds = total;
    if (total > 0) {
      for (double& share : seconds) share /= total;
    }
    return seconds;
  }

  void pass_on(const kzk::Report& march, std::size_t number) {
    const std::string element = "element " + std::to_string(number) + ": ";
    for (const std::string& warning : march.warnings) {
      if (!_said.insert(warning).second) continue;
      host::warn(((_job.elements.size() > 1 ? element : "") + warning).c_str());
    }
    if (march.code == kzk::Code::done) return;
    host::fail("%sthe method '%s' failed. %s", element.c_str(), _array.method(),
               march.reason.c_str());
  }

  const MarchJob& _job;
  ArrayMarch& _array;
  Outcome& _outcome;
  int _threads;
  std::set<std::string> _said;
};

kzk::Cost march_all(const MarchJob& job, ArrayMarch& array) {
  for (std::size_t e = 0; e < job.elements.size(); ++e) {
    if (job.elements[e].apodization_index == 0) continue;
    host::fail(
        "element %zu: the method '%s' marches uniform faces only, but apodization_index is "
        "%d.",
        e + 1, array.method(), job.elements[e].apodization_index);
  }
  MarchWorker::Outcome outcome;
  bool announced = false;
  TileRunner runner(job.threads, [&](double fraction) {
    if (!announced && outcome.seconds >= 0) {
      announced = true;
      if (job.announce) job.announce(outcome.seconds);
    }
    return !job.progress || job.progress(fraction);
  });
  runner.begin_stage(1);
  runner.run(1, [&] { return std::make_unique<MarchWorker>(job, array, outcome); });
  runner.messages().replay();
  return outcome.largest;
}

}  // namespace

kzk::Cost add_harmonics(const MarchJob& job, std::span<const int> harmonics,
                        std::complex<double>* result) {
  HarmonicMarch array(job, harmonics, result);
  return march_all(job, array);
}

kzk::Cost add_pulses(const MarchJob& job, const TimeSamples& time,
                     std::span<const ExcitationFunction* const> excitations, double* result) {
  PulseMarch array(job, time, excitations, result);
  return march_all(job, array);
}

}  // namespace kestrel::fields
