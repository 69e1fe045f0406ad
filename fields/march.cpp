#include "fields/march.h"

#include <algorithm>

#include "host/host.h"
#include "transducers/detail/kzk_methods.h"

namespace kestrel::fields {

namespace {

/// An element in its place, with what its march is made from.
struct Placed {
  std::unique_ptr<Transducer> transducer;
  kzk::Aperture aperture;
  std::vector<kzk::Point> points;
};

/// The marches of an array, by the number of the element.
class Marches {
 public:
  explicit Marches(const MarchJob& job) : _job(job), _medium(job.medium) {
    const kzk::Parameters& p = job.parameters;
    _rule.set_kzk_parameters(p.step_factor, p.radial_step, p.domain_radius, p.samples_per_period,
                             p.guard_periods);
    _rule.cw_set_kzk_parameters(p.step_factor, p.radial_step, p.domain_radius, p.harmonics,
                                p.harmonic);
  }
  virtual ~Marches() = default;

  virtual const char* method() const = 0;
  virtual kzk::Cost cost(std::size_t element) = 0;
  /// Marches and, when that succeeds, adds.
  virtual kzk::Report run(std::size_t element, int threads, const kzk::Progress& progress) = 0;

 protected:
  Placed place(std::size_t number) {
    const Element& element = _job.elements[number];
    Placed placed;
    placed.transducer = make_transducer(element);
    placed.transducer->set_medium(&_medium);
    placed.transducer->set_integral_pointer(&_rule);
    // An old interface's pointer: grids are only read.
    placed.transducer->set_global_coordinate_grid(const_cast<CoordinateGrid*>(&_job.grid));
    if (const auto* circle = std::get_if<Circle>(&element.geometry)) {
      placed.aperture = {circle->radius, 0};
    } else if (const auto* shell = std::get_if<Shell>(&element.geometry)) {
      placed.aperture = {shell->radius, shell->rad_curvature};
    }
    placed.points = detail::kzk_points(*placed.transducer);
    return placed;
  }

 private:
  const MarchJob& _job;
  Medium _medium;
  NumericalIntegration _rule;
};

class HarmonicMarches : public Marches {
 public:
  HarmonicMarches(const MarchJob& job, std::span<const int> harmonics, std::complex<double>* result)
      : Marches(job), _harmonics(harmonics.begin(), harmonics.end()), _result(result) {}

  const char* method() const override { return "kzk_cw"; }
  kzk::Cost cost(std::size_t element) override {
    const Placed placed = place(element);
    return kzk::estimate_cw(problem(placed));
  }
  kzk::Report run(std::size_t element, int threads, const kzk::Progress& progress) override {
    const Placed placed = place(element);
    kzk::CwProblem marched = problem(placed);
    marched.threads = threads;
    marched.progress = progress;
    kzk::CwResult beam = kzk::march_cw(marched);
    if (beam.code == kzk::Code::done) {
      for (std::size_t i = 0; i < beam.pressure.size(); ++i) _result[i] += beam.pressure[i];
    }
    return beam;
  }

 private:
  kzk::CwProblem problem(const Placed& placed) const {
    kzk::CwProblem problem =
        detail::kzk_cw_problem(*placed.transducer, placed.aperture, placed.points);
    problem.wanted = _harmonics;
    return problem;
  }

  std::vector<int> _harmonics;
  std::complex<double>* _result;
};

class PulseMarches : public Marches {
 public:
  PulseMarches(const MarchJob& job, const TimeSamples& time,
               std::span<const ExcitationFunction* const> excitations, double* result)
      : Marches(job), _time(time), _excitations(excitations), _result(result) {}

  const char* method() const override { return "kzk_transient"; }
  kzk::Cost cost(std::size_t element) override {
    const Driven driven = drive(element);
    return kzk::estimate_transient(driven.problem);
  }
  kzk::Report run(std::size_t element, int threads, const kzk::Progress& progress) override {
    Driven driven = drive(element);
    driven.problem.threads = threads;
    driven.problem.progress = progress;
    kzk::TransientResult beam = kzk::march_transient(driven.problem);
    if (beam.code == kzk::Code::done) {
      const std::size_t samples = driven.times.size(), points = driven.placed.points.size();
      for (std::size_t i = 0; i < points; ++i) {
        for (std::size_t k = 0; k < samples; ++k) {
          _result[i + k * points] += beam.pressure[i * samples + k];
        }
      }
    }
    return beam;
  }

 private:
  /// The problem refers to the points and times beside it, whose storage a move keeps.
  struct Driven {
    Placed placed;
    std::vector<double> times;
    kzk::TransientProblem problem;
  };

  Driven drive(std::size_t element) {
    Driven driven{place(element), {}, {}};
    Transducer& transducer = *driven.placed.transducer;
    // Old interfaces' pointers, likewise.
    transducer.set_time_vector(const_cast<TimeSamples*>(&_time));
    transducer._excitation_function =
        const_cast<ExcitationFunction*>(_excitations[_excitations.size() == 1 ? 0 : element]);
    driven.times = detail::kzk_times(transducer);
    driven.problem = detail::kzk_transient_problem(transducer, driven.placed.aperture,
                                                   driven.placed.points, driven.times);
    return driven;
  }

  const TimeSamples& _time;
  std::span<const ExcitationFunction* const> _excitations;
  double* _result;
};

/// All elements in their order, on one thread that has the march's other threads help it; the
/// host's thread stays free for progress.
class MarchWorker : public TileWorker {
 public:
  MarchWorker(Marches& marches, std::span<const double> shares, int threads)
      : _marches(marches), _shares(shares), _threads(threads) {}

  void run(std::size_t) override {
    double before = 0;
    for (std::size_t e = 0; e < _shares.size(); ++e) {
      const kzk::Report beam = _marches.run(e, _threads, [&](double fraction) {
        report(before + _shares[e] * fraction);
        return !stopped();
      });
      for (const std::string& warning : beam.warnings) host::warn(warning.c_str());
      if (stopped()) return;
      if (beam.code != kzk::Code::done) {
        host::fail("element %zu: the method '%s' failed: %s", e + 1, _marches.method(),
                   beam.reason.c_str());
      }
      before += _shares[e];
    }
  }

 private:
  Marches& _marches;
  std::span<const double> _shares;
  int _threads;
};

March run(TileRunner& runner, const MarchJob& job, Marches& marches) {
  kzk::Cost largest;
  std::vector<double> seconds;
  double total = 0;
  for (std::size_t e = 0; e < job.elements.size(); ++e) {
    const kzk::Cost cost = marches.cost(e);
    if (cost.updates() >= largest.updates()) largest = cost;
    seconds.push_back(kzk::estimated_seconds(cost, runner.threads()));
    total += seconds.back();
  }
  if (job.expected) job.expected(total);
  if (total > 0) {
    for (double& share : seconds) share /= total;
  }
  runner.begin_stage(1);
  runner.run(1, [&] { return std::make_unique<MarchWorker>(marches, seconds, runner.threads()); });
  return {{largest.planes, largest.nodes, largest.unknowns}, largest.bytes};
}

}  // namespace

March add_harmonics(TileRunner& runner, const MarchJob& job, std::span<const int> harmonics,
                    std::complex<double>* result) {
  HarmonicMarches marches(job, harmonics, result);
  return run(runner, job, marches);
}

March add_pulses(TileRunner& runner, const MarchJob& job, const TimeSamples& time,
                 std::span<const ExcitationFunction* const> excitations, double* result) {
  PulseMarches marches(job, time, excitations, result);
  return run(runner, job, marches);
}

}  // namespace kestrel::fields
