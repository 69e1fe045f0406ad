#include "fields/direct_field.h"

#include <map>
#include <new>
#include <vector>

#include "inputs/coordinate_grid.h"
#include "inputs/numerical_integration.h"

namespace kestrel::fields {

namespace {

void check_result(int result, const Method& method, const Geometry& geometry) {
  switch (result) {
    case kSuccess: return;
    case kNotImplemented:
      host::fail("The method '%s' is not implemented for elements of the shape '%s'.", method.name,
                 shape_name(geometry));
    case kOutOfMemory: throw std::bad_alloc();
    default:
      host::fail("The method '%s' refused an element of the shape '%s': an input is missing or out "
                 "of range.", method.name, shape_name(geometry));
  }
}

/// One thread's own copy of everything that a method touches.
class DirectWorker : public TileWorker {
 public:
  DirectWorker(const DirectJob& job, std::complex<double>* result, NodeRange& used)
      : _job(job),
        _result(result),
        _used(used),
        _medium(job.medium),
        _tile_size(tile_size(job)),
        _columns(3 * _tile_size),
        _real(_tile_size),
        _imaginary(_tile_size) {
    _transducers.reserve(job.elements.size());
    for (const Element& element : job.elements) {
      _transducers.push_back(make_transducer(element));
      Transducer& transducer = *_transducers.back();
      transducer.set_medium(&_medium);
      transducer.set_global_coordinate_grid(&_grid);
      transducer.set_complex_pressure_pointers(_real.data(), _imaginary.data());
    }
  }

  void run(std::size_t tile) override {
    const std::size_t first = tile * _tile_size;
    const std::size_t count = std::min(_tile_size, _job.points.size() - first);
    const Box box = _job.points.copy(first, count, _columns.data());
    _grid.CoordinateGridVector(_columns.data(), static_cast<int>(count));
    std::fill_n(_real.begin(), count, 0.0);
    std::fill_n(_imaginary.begin(), count, 0.0);
    for (std::size_t e = 0; e < _transducers.size(); ++e) {
      if (stopped()) return;
      const Element& element = _job.elements[e];
      NumericalIntegration& rule = rule_of(_job.rule.nodes(element, box));
      // Methods of discs and rings leave the rule over (0, pi), those of the others want (-1, 1).
      rule.gauss_quadrature();
      _transducers[e]->set_integral_pointer(&rule);
      check_result((*_transducers[e].*_job.method.compute)(), _job.method, element.geometry);
    }
    for (std::size_t i = 0; i < count; ++i) {
      _result[first + i] += std::complex<double>(_real[i], _imaginary[i]);
    }
  }

 private:
  NumericalIntegration& rule_of(int nodes) {
    NumericalIntegration& rule = _rules[nodes];
    if (rule.get_npoints() == 0) {
      rule.allocate_memory(nodes);
      _used.include(nodes);
    }
    return rule;
  }

  const DirectJob& _job;
  std::complex<double>* _result;
  NodeRange& _used;
  Medium _medium;
  std::size_t _tile_size;
  CoordinateGrid _grid;
  std::map<int, NumericalIntegration> _rules;
  std::vector<double> _columns, _real, _imaginary;
  std::vector<std::unique_ptr<Transducer>> _transducers;
};

}  // namespace

std::size_t tile_size(const DirectJob& job) {
  const std::size_t points = job.points.size();
  if (job.method.whole_grid) return std::max<std::size_t>(points, 1);
  if (job.tile > 0) return job.tile;
  return std::clamp<std::size_t>(points / 64, 512, 4096);
}

double direct_memory(const DirectJob& job, int threads) {
  const double per_point = 8 * sizeof(double);  // columns, grid, planes
  const double per_element = sizeof(void*) + 400;
  return threads * (per_point * static_cast<double>(tile_size(job)) +
                    per_element * static_cast<double>(job.elements.size()));
}

void NodeRange::include(int nodes) {
  for (int seen = least; (seen == 0 || nodes < seen) && !least.compare_exchange_weak(seen, nodes);) {
  }
  for (int seen = greatest; nodes > seen && !greatest.compare_exchange_weak(seen, nodes);) {
  }
}

void add_direct_field(TileRunner& runner, const DirectJob& job, std::complex<double>* result,
                      NodeRange& used) {
  if (job.elements.empty() || job.points.size() == 0) return;
  const std::size_t size = tile_size(job);
  runner.run((job.points.size() + size - 1) / size,
             [&] { return std::make_unique<DirectWorker>(job, result, used); });
}

void compute_direct_here(const DirectJob& job, std::complex<double>* result) {
  NodeRange unused;
  DirectWorker worker(job, result, unused);
  worker.run(0);
}

bool has_method(const Geometry& geometry, const Method& method, const Medium& medium) {
  // Without points a method answers what it is, and costs nothing.
  host::Messages unheard;
  const host::Detached scope(unheard);
  Medium own_medium = medium;
  CoordinateGrid no_points;
  NumericalIntegration rule;
  rule.allocate_memory(1);
  rule.gauss_quadrature();
  double plane = 0;
  Element element;
  element.geometry = geometry;
  const auto transducer = make_transducer(element);
  transducer->set_medium(&own_medium);
  transducer->set_global_coordinate_grid(&no_points);
  transducer->set_integral_pointer(&rule);
  transducer->set_complex_pressure_pointers(&plane, &plane);
  return (*transducer.*method.compute)() != kNotImplemented;
}

}  // namespace kestrel::fields
