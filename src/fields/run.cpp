#include "fields/run.h"

#include <cmath>

#include "fields/array_tile.h"
#include "kestrel/error.h"

namespace kestrel::fields {

namespace {

Settings completed(Settings settings, std::span<const Method> methods, const char* usual) {
  constexpr double kDefaultTolerance = 1e-4;
  settings.method = find_method(methods, settings.method ? settings.method->name : usual);
  const Method& method = *settings.method;
  check_march_parameters(method, settings.kzk);
  if (method.marched) {
    if (settings.tolerance) {
      fail("'%s' takes no tolerance: its steps decide how accurate it is.", method.name);
    }
    return settings;
  }
  if (!settings.tolerance && settings.nodes == 0 && method.takes_tolerance) {
    settings.tolerance = kDefaultTolerance;
  }
  if (!settings.tolerance) {
    if (settings.nodes < 1) fail("the number of nodes must be at least 1.");
    return settings;
  }
  if (!method.takes_tolerance) {
    fail("a tolerance chooses the nodes of the method 'fnm_cw'; for '%s' give their number.",
         method.name);
  }
  if (!(*settings.tolerance >= 1e-10 && *settings.tolerance < 1)) {
    fail("the tolerance must be at least 1e-10 and below 1, but it is %g.", *settings.tolerance);
  }
  return settings;
}

Medium tuned(Medium medium, double frequency) {
  if (!(frequency >= 0) || !std::isfinite(frequency)) {
    fail("the frequency must be greater than 0 and finite, but it is %g.", frequency);
  }
  if (frequency > 0) medium._f0 = frequency;
  check_medium(medium);
  return medium;
}

}  // namespace

Run::Run(const std::vector<Element>& array, const CoordinateGrid& points, const Medium& given,
         const Settings& asked, std::span<const Method> methods, const char* usual)
    : elements(array),
      grid(points),
      settings(completed(asked, methods, usual)),
      method(*settings.method),
      medium(tuned(given, settings.frequency)),
      runner(settings.threads, settings.progress) {
  for (std::size_t i = 0; i < elements.size(); ++i) check_element(elements[i], i + 1);
  check_methods(elements, method, methods);
  if (settings.instruction_set) {
    _chosen_set.emplace(*settings.instruction_set);
    if (!_chosen_set->chosen()) {
      fail("this processor has no instruction set '%s'.", name(*settings.instruction_set));
    }
  }
  report.threads = runner.threads();
  report.instruction_set = instruction_set();
}

Report Run::finish() {
  for (std::string& warning : runner.messages().take_warnings()) {
    report.warnings.push_back(std::move(warning));
  }
  runner.messages().replay();
  report.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - _start).count();
  return std::move(report);
}

}  // namespace kestrel::fields
