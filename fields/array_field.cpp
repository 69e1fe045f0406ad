#include "fields/array_field.h"

#include <chrono>
#include <cmath>
#include <limits>

#include "fields/direct_field.h"
#include "fields/node_rule.h"
#include "fields/points.h"
#include "host/host.h"

namespace kestrel::fields {

namespace {

/// Every shape of the array must have the method; the first that lacks it is named.
void check_methods(const std::vector<Element>& elements, const Method& method,
                   const Medium& medium) {
  std::vector<std::size_t> seen;
  for (std::size_t i = 0; i < elements.size(); ++i) {
    const Geometry& geometry = elements[i].geometry;
    if (std::find(seen.begin(), seen.end(), geometry.index()) != seen.end()) continue;
    seen.push_back(geometry.index());
    if (has_method(geometry, method, medium)) continue;
    std::vector<Method> available;
    for (const Method& other : continuous_wave_methods()) {
      if (has_method(geometry, other, medium)) available.push_back(other);
    }
    host::fail("element %zu: the shape '%s' has no method '%s'; it has %s.", i + 1,
               shape_name(geometry), method.name, list_names(available).c_str());
  }
}

}  // namespace

Report compute_field(const std::vector<Element>& elements, const CoordinateGrid& grid,
                     const Medium& medium, const Settings& settings,
                     std::complex<double>* result) {
  const auto start = std::chrono::steady_clock::now();
  const Method& method = *settings.method;
  for (std::size_t i = 0; i < elements.size(); ++i) check_element(elements[i], i + 1);
  check_methods(elements, method, medium);

  const GridPoints points(grid);
  std::fill_n(result, points.size(), std::complex<double>{});
  TileRunner runner(settings.threads, settings.progress);
  Report report;
  report.threads = runner.threads();
  report.instruction_set = instruction_set();

  const FixedNodes rule(settings.nodes);
  NodeRange used;
  const DirectJob job{elements, points, medium, method, rule};
  runner.begin_stage(1.0);
  add_direct_field(runner, job, result, used);
  report.direct_elements = elements.size();
  report.memory = direct_memory(job, runner.threads());

  runner.messages().replay();
  report.least_nodes = used.least;
  report.greatest_nodes = used.greatest;
  report.seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  return report;
}

}  // namespace kestrel::fields
