#include "gateway/element_reader.h"

#include <cstring>

#include "host/host.h"
#include "inputs/structure_reader.h"
#include "transducers/circular_transducer.h"
#include "transducers/rectangular_transducer.h"
#include "transducers/ring_transducer.h"
#include "transducers/spherical_ring_transducer.h"
#include "transducers/spherical_transducer.h"

namespace kestrel::gateway {

namespace {

constexpr char kOwner[] = "transducer";

double* read_triple(const mxArray* array, int index, const char* field) {
  const mxArray* value = field_value(array, field, index);
  const double* entries = read_real_doubles(value, kOwner, field, index + 1);
  if (entries == nullptr || mxGetNumberOfElements(value) != 3) {
    host::fail("Field '%s' of transducer element %d must have 3 entries.\n", field, index + 1);
  }
  // The setters take the pointer of old interfaces and only read through it.
  return const_cast<double*>(entries);
}

}  // namespace

ShapeText read_shape_text(const mxArray* array, int index) {
  ShapeText shape{};
  const mxArray* value = field_value(array, "shape", index);
  if (value == nullptr || !mxIsChar(value) ||
      mxGetString(value, shape.text, sizeof shape.text) != 0) {
    host::fail("Unable to read transducer shape, abort.\n");
  }
  return shape;
}

std::unique_ptr<Transducer> make_element(const mxArray* array, int index, const ShapeText& shape,
                                         double amplitude, double phase) {
  const auto is = [&](const char* name) { return std::strcmp(shape.text, name) == 0; };
  const auto length = [&](const char* field) {
    return read_scalar(field_value(array, field, index), kOwner, field, index + 1);
  };
  if (is("circ")) {
    return std::make_unique<CircularTransducer>(length("radius"), amplitude, phase);
  }
  if (is("ring")) {
    const double inner = length("inner_radius"), outer = length("outer_radius");
    return std::make_unique<RingTransducer>(inner, outer, amplitude, phase);
  }
  if (is("rect")) {
    const double width = length("width"), height = length("height");
    return std::make_unique<RectangularTransducer>(width, height, amplitude, phase);
  }
  if (is("shel")) {
    const double radius = length("radius"), curvature = length("rad_curvature");
    return std::make_unique<SphericalTransducer>(radius, curvature, amplitude, phase);
  }
  if (is("sph ring")) {
    const double inner = length("inner_radius"), outer = length("outer_radius");
    const double focus = length("geometric_focus");
    return std::make_unique<SphericalRingTransducer>(inner, outer, focus, amplitude, phase);
  }
  return nullptr;
}

double read_optional_scalar(const mxArray* array, int index, const char* field, double absent) {
  if (mxGetFieldNumber(array, field) < 0) return absent;
  return read_scalar(field_value(array, field, index), kOwner, field, index + 1);
}

void place_element(Transducer& element, const mxArray* array, int index) {
  element.set_center(read_triple(array, index, "center"));
  element.set_euler(read_triple(array, index, "euler"));
}

void refuse_complex_weight(const mxArray* array, int index) {
  if (field_value(array, "complex_weight", index) != nullptr) {
    host::fail(
        "KESTREL no longer uses the complex_weight property. Please use phase and amplitude "
        "instead.");
  }
}

void fail_invalid_shape(const ShapeText& shape, int index) {
  host::print("*** %s is not a valid transducer shape (element %i) ***\n", shape.text, index + 1);
  host::fail("Invalid transducer shape identifier.\n");
}

}  // namespace kestrel::gateway
