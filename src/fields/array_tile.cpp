#include "fields/array_tile.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "kestrel/error.h"
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
    : _job(job), _used(used), _tile_size(tile_size), _columns(3 * tile_size) {
  _inputs.reserve(job.elements.size());
  for (const Element& element : job.elements) {
    _inputs.push_back(place_inputs(element));
    _inputs.back().medium = &job.medium;
    _inputs.back().grid = &_grid;
  }
}

void ElementWorker::run(std::size_t tile) {
  const std::size_t first = tile * _tile_size;
  _of_tile = std::min(_tile_size, _job.points.size() - first);
  _added = 0;
  run_part(first, _of_tile);
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
  for (std::size_t e = 0; e < _inputs.size(); ++e) {
    if (stopped()) return;
    const Element& element = _job.elements[e];
    NumericalIntegration& rule = _rules.rule(_job.rule.nodes(element, box), _used);
    if (!add_element(_job.method, element, rule, _inputs[e])) return;
    _added += static_cast<double>(count);
    report(_added / (static_cast<double>(_of_tile) * static_cast<double>(_inputs.size())));
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

NumericalIntegration& Rules::rule(int nodes, NodeRange& used) {
  NumericalIntegration& rule = _rules[nodes];
  if (rule.get_npoints() == 0) {
    if (!rule.allocate_memory(nodes)) {
      fail(ErrorKind::out_of_memory, "Out of memory: no room for a rule of %d nodes.", nodes);
    }
    used.include(nodes);
  }
  return rule;
}

bool add_element(const Method& method, const Element& element, NumericalIntegration& rule,
                 detail::ElementInputs& in) {
  // Methods of discs and rings leave the rule over (0, pi), those of the others want (-1, 1).
  if (!rule.gauss_quadrature()) return false;
  in.rule = &rule;
  check_result(method.compute(element.geometry, in), method, element.geometry);
  return true;
}

void NodeRange::include(int nodes) {
  for (int seen = least;
       (seen == 0 || nodes < seen) && !least.compare_exchange_weak(seen, nodes);) {
  }
  for (int seen = greatest; nodes > seen && !greatest.compare_exchange_weak(seen, nodes);) {
  }
}

detail::ElementInputs place_inputs(const Element& element) {
  return {.center = element.center,
          .rotation = Rotation(element.euler),
          .amplitude = element.amplitude,
          .weight = element.weight(),
          .time_delay = element.time_delay,
          .apodization_index = element.apodization_index};
}

void check_medium(const Medium& medium) {
  const auto check = [](const char* property, double value) {
    if (!(value > 0) || !std::isfinite(value)) {
      fail("the medium's %s must be greater than 0 and finite, but it is %g.", property, value);
    }
  };
  check("sound speed", medium._soundspeed);
  check("density", medium._rho_density);
}

void check_methods(std::span<const Element> elements, const Method& method,
                   std::span<const Method> methods) {
  std::vector<std::size_t> seen;
  for (std::size_t i = 0; i < elements.size(); ++i) {
    const Geometry& geometry = elements[i].geometry;
    if (std::find(seen.begin(), seen.end(), geometry.index()) != seen.end()) continue;
    seen.push_back(geometry.index());
    if (method.is_of(geometry)) continue;
    std::vector<Method> available;
    for (const Method& other : methods) {
      if (other.is_of(geometry)) available.push_back(other);
    }
    fail("element %zu: the shape '%s' has no method '%s'; it has %s.", i + 1,
         shape_facts(geometry).name, method.name, list_names(available).c_str());
  }
}

}  // namespace kestrel::fields
