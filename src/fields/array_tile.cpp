#include "fields/array_tile.h"

#include <algorithm>
#include <new>

#include "services/error.h"
#include "services/off_host_thread.h"

namespace kestrel::fields {

namespace {

void check_result(int result, const Method& method, const Geometry& geometry) {
  switch (result) {
    case kSuccess:
      return;
    case kNotImplemented:
      fail("The method '%s' is not implemented for elements of the shape '%s'.", method.name,
           shape_facts(geometry).name);
    case kOutOfMemory:
      fail("Out of memory in the method '%s' for an element of the shape '%s'.", method.name,
           shape_facts(geometry).name);
    default:
      fail(
          "The method '%s' refused an element of the shape '%s': an input is missing or out "
          "of range.",
          method.name, shape_facts(geometry).name);
  }
}

}  // namespace

ElementWorker::ElementWorker(const DirectJob& job, std::size_t tile_size, NodeRange& used)
    : _job(job), _used(used), _medium(job.medium), _tile_size(tile_size), _columns(3 * tile_size) {
  _transducers.reserve(job.elements.size());
  for (const Element& element : job.elements) {
    _transducers.push_back(make_transducer(element));
    _transducers.back()->set_medium(&_medium);
    _transducers.back()->set_global_coordinate_grid(&_grid);
  }
}

void ElementWorker::run(std::size_t tile) {
  const std::size_t first = tile * _tile_size;
  const std::size_t count = std::min(_tile_size, _job.points.size() - first);
  const Box box = _job.points.copy(first, count, _columns.data());
  _grid.CoordinateGridVector(_columns.data(), static_cast<int>(count));
  clear(count);
  for (std::size_t e = 0; e < _transducers.size(); ++e) {
    if (stopped()) return;
    const Element& element = _job.elements[e];
    NumericalIntegration& rule = rule_of(_job.rule.nodes(element, box));
    // Methods of discs and rings leave the rule over (0, pi), those of the others want (-1, 1).
    rule.gauss_quadrature();
    _transducers[e]->set_integral_pointer(&rule);
    check_result((*_transducers[e].*_job.method.compute)(), _job.method, element.geometry);
  }
  collect(first, count);
}

NumericalIntegration& ElementWorker::rule_of(int nodes) {
  NumericalIntegration& rule = _rules[nodes];
  if (rule.get_npoints() == 0) {
    if (!rule.allocate_memory(nodes)) {
      fail(ErrorKind::out_of_memory, "Out of memory: no room for a rule of %d nodes.", nodes);
    }
    _used.include(nodes);
  }
  return rule;
}

void NodeRange::include(int nodes) {
  for (int seen = least;
       (seen == 0 || nodes < seen) && !least.compare_exchange_weak(seen, nodes);) {
  }
  for (int seen = greatest; nodes > seen && !greatest.compare_exchange_weak(seen, nodes);) {
  }
}

bool has_method(const Geometry& geometry, const Method& method, const Medium& medium) {
  // Without points a method answers what it is, and costs nothing.
  services::Messages unheard;
  const services::OffHostThread scope(unheard);
  Medium own_medium = medium;
  CoordinateGrid no_points;
  NumericalIntegration rule;
  if (!rule.allocate_memory(1)) fail(ErrorKind::out_of_memory, "Out of memory.");
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

void check_methods(std::span<const Element> elements, const Method& method,
                   std::span<const Method> methods, const Medium& medium) {
  std::vector<std::size_t> seen;
  for (std::size_t i = 0; i < elements.size(); ++i) {
    const Geometry& geometry = elements[i].geometry;
    if (std::find(seen.begin(), seen.end(), geometry.index()) != seen.end()) continue;
    seen.push_back(geometry.index());
    if (has_method(geometry, method, medium)) continue;
    std::vector<Method> available;
    for (const Method& other : methods) {
      if (has_method(geometry, other, medium)) available.push_back(other);
    }
    fail("element %zu: the shape '%s' has no method '%s'; it has %s.", i + 1,
         shape_facts(geometry).name, method.name, list_names(available).c_str());
  }
}

}  // namespace kestrel::fields
