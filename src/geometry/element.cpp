#include "kestrel/error.h"
#include "kestrel/geometry.h"

namespace kestrel {

void check_element(const Element& element, std::size_t number) {
  const SizeCheck check("element " + std::to_string(number) + ": ");
  std::visit([&](const auto& geometry) { geometry.check(check); }, element.geometry);
  for (const double x : {element.center.x, element.center.y, element.center.z}) {
    check.finite("center", x);
  }
  for (const double x : {element.euler.x, element.euler.y, element.euler.z}) {
    check.finite("euler", x);
  }
  check.finite("amplitude", element.amplitude);
  check.finite("phase", element.phase);
  check.finite("time_delay", element.time_delay);
  if (element.apodization_index < 0 || element.apodization_index > 4) {
    fail(
        "element %zu: apodization_index must be 0 (none), 1 (cosine), 2 (raised cosine), "
        "3 (quadratic) or 4 (quartic), but it is %d.",
        number, element.apodization_index);
  }
}

double extent(const Geometry& geometry) {
  return std::visit([](const auto& g) { return g.extent(); }, geometry);
}

}  // namespace kestrel
