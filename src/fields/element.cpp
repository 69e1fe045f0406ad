#include "kestrel/elements.h"

namespace kestrel::fields {

namespace {

struct Maker {
  double amplitude, phase;

  std::unique_ptr<Transducer> operator()(const Rectangle& g) const {
    return std::make_unique<RectangularTransducer>(g.width, g.height, amplitude, phase);
  }
  std::unique_ptr<Transducer> operator()(const Circle& g) const {
    return std::make_unique<CircularTransducer>(g.radius, amplitude, phase);
  }
  std::unique_ptr<Transducer> operator()(const Ring& g) const {
    return std::make_unique<RingTransducer>(g.inner_radius, g.outer_radius, amplitude, phase);
  }
  std::unique_ptr<Transducer> operator()(const Shell& g) const {
    return std::make_unique<SphericalTransducer>(g.radius, g.rad_curvature, amplitude, phase);
  }
  std::unique_ptr<Transducer> operator()(const ShellRing& g) const {
    return std::make_unique<SphericalRingTransducer>(g.inner_radius, g.outer_radius,
                                                     g.geometric_focus, amplitude, phase);
  }
};

}  // namespace

std::unique_ptr<Transducer> make_transducer(const Element& element) {
  auto transducer = std::visit(Maker{element.amplitude, element.phase}, element.geometry);
  transducer->set_center(element.center);
  transducer->set_euler(element.euler);
  transducer->set_time_delay(element.time_delay);
  transducer->set_piston_apodization_index(element.apodization_index);
  return transducer;
}

}  // namespace kestrel::fields
