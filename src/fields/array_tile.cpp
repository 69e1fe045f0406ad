#include "fields/array_tile.h"

#include <algorithm>
#include <new>

#include "mex/host/host.h"

namespace kestrel::fields {

namespace {

void check_result(int result, const Method& method, const Geometry& geometry) {
  switch (result) {
    case kSuccess:
      return;
    case kNotImplemented:
      host::fail("The method '%s' is not implemented for elements of the shape '%s'.", method.name,
                 shape_name(geometry));
    case kOutOfMemory:
      host::fail("Out of memory in the method '%s' for an element of the shape '%s'.", method.name,
                 shape_name(geometry));
    default:
      host::fail(
          "The method '%s' refused an element of the shape '%s': an input is missing or out "
          "of range.",
          method.name, shape_name(geometry));
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
  run_part(first, std::min(_tile_size, _job.points.size() - first));
}

void ElementWorker::run_part(std::size_t first, std::size_t count) {
  if (better_halved(first, count)) {
    run_part(first, count / 2);
    run_part(first + count / 2, count - count / 2);
    return;
  }
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

bool ElementWorker::better_halved(std::size_t first, std::size_t count) {
  // Rough costs in nanoseconds, for an element: of the choice of nodes with the call, of a point
  // and of a node at a point.
  constexpr double kCall = 5000, kPoint = 15, kNode = 4;
  constexpr std::size_t kLeast = 64, kAsked = 6;
  if (!_job.rule.depends_on_place() || count < kLeast || _job.elements.empty()) return false;
  const std::size_t half = count / 2;
  const Box one = box_of(first, half), other = box_of(first + half, count - half);
  const Box both = united(one, other);
  const std::size_t stride = (_job.elements.size() + kAsked - 1) / kAsked;
  double together = 0, apart = 0;
  const auto cost = [&](const Element& e, const Box& box, std::size_t points) {
    return kCall + static_cast<double>(points) * (kPoint + kNode * _job.rule.nodes(e, box));
  };
  for (std::size_t e = 0; e < _job.elements.size(); e += stride) {
    const Element& element = _job.elements[e];
    together += cost(element, both, count);
    apart += cost(element, one, half) + cost(element, other, count - half);
  }
  return apart < 0.9 * together;
}

Box ElementWorker::box_of(std::size_t first, std::size_t count) const {
  Box box{_job.points[first], _job.points[first]};
  for (std::size_t i = 1; i < count; ++i) {
    const CartesianCoordinate p = _job.points[first + i];
    box = united(box, {p, p});
  }
  return box;
}

NumericalIntegration& ElementWorker::rule_of(int nodes) {
  NumericalIntegration& rule = _rules[nodes];
  if (rule.get_npoints() == 0) {
    rule.allocate_memory(nodes);
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
    host::fail("element %zu: the shape '%s' has no method '%s'; it has %s.", i + 1,
               shape_name(geometry), method.name, list_names(available).c_str());
  }
}

}  // namespace kestrel::fields
