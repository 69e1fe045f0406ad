#include "mex/readers/element_reader.h"

#include <cmath>
#include <cstring>

#include "kestrel/error.h"
#include "kestrel/services.h"
#include "mex/readers/structure_reader.h"

namespace kestrel::gateway {

namespace {

constexpr char kOwner[] = "transducer";

/// Of longer lists the first three entries.
double* read_triple(const mxArray* array, int index, const char* field) {
  require_field(array, field, kOwner, index + 1);
  const mxArray* value = field_value(array, field, index);
  const double* entries = read_real_doubles(value, kOwner, field, index + 1);
  if (entries == nullptr || mxGetNumberOfElements(value) < 3) {
    fail("Field '%s' of element %d of the transducer must have 3 entries.\n", field, index + 1);
  }
  // The setters take the pointer of old interfaces and only read through it.
  return const_cast<double*>(entries);
}

/// The geometry that `shape` names; `length` reads a field.
template <class Length>
std::optional<fields::Geometry> geometry_of(const ShapeText& shape, const Length& length) {
  std::optional<Geometry> geometry;
  for_each_shape([&](auto candidate) {
    if (std::strcmp(shape.text, candidate.kFacts.name) != 0) return;
    for (const auto& [field, size] : candidate.sizes()) candidate.*size = length(field);
    geometry = candidate;
  });
  return geometry;
}

[[noreturn]] void refuse_field(int index, const char* field, const char* wanted) {
  fail("element %d: %s must be %s.", index + 1, field, wanted);
}

}  // namespace

ShapeText read_shape_text(const mxArray* array, int index) {
  ShapeText shape{};
  const mxArray* value = field_value(array, "shape", index);
  if (value == nullptr || !mxIsChar(value) ||
      mxGetString(value, shape.text, sizeof shape.text) != 0) {
    fail("Unable to read transducer shape, abort.\n");
  }
  return shape;
}

std::optional<fields::Geometry> read_geometry(const mxArray* array, int index,
                                              const ShapeText& shape) {
  return geometry_of(
      shape, [&](const char* field) { return read_number(array, field, kOwner, index + 1); });
}

std::unique_ptr<Transducer> make_element(const mxArray* array, int index, const ShapeText& shape,
                                         double amplitude, double phase) {
  const std::optional<fields::Geometry> geometry = read_geometry(array, index, shape);
  if (!geometry) return nullptr;
  fields::Element element;
  element.geometry = *geometry;
  element.amplitude = amplitude;
  element.phase = phase;
  return fields::make_transducer(element);
}

fields::Element read_element(const mxArray* array, int index) {
  const auto number = [&](const char* field) {
    const mxArray* value = field_value(array, field, index);
    if (value == nullptr || mxGetNumberOfElements(value) != 1 || !mxIsNumeric(value) ||
        mxIsComplex(value)) {
      refuse_field(index, field, "one real, finite number");
    }
    return mxGetScalar(value);
  };
  const auto number_or = [&](const char* field, double absent) {
    return mxGetFieldNumber(array, field) < 0 ? absent : number(field);
  };
  const auto triple = [&](const char* field) {
    const mxArray* value = field_value(array, field, index);
    if (value == nullptr || mxGetNumberOfElements(value) != 3 || !mxIsDouble(value) ||
        mxIsComplex(value) || mxIsSparse(value)) {
      refuse_field(index, field, "three real, finite doubles");
    }
    const double* entries = mxGetDoubles(value);
    return CartesianCoordinate(entries[0], entries[1], entries[2]);
  };
  ShapeText shape{};
  const mxArray* name = field_value(array, "shape", index);
  if (name != nullptr && mxIsChar(name)) mxGetString(name, shape.text, sizeof shape.text);
  const std::optional<fields::Geometry> geometry = geometry_of(shape, number);
  if (!geometry) {
    fail("element %d: the shape must be one of %s.", index + 1, list_shapes().c_str());
  }
  fields::Element element;
  element.geometry = *geometry;
  element.center = triple("center");
  element.euler = triple("euler");
  element.amplitude = number_or("amplitude", 1.0);
  element.phase = number_or("phase", 0.0);
  element.time_delay = number_or("time_delay", 0.0);
  const double apodization = number_or("apodization_index", 0.0);
  // Indices that are no such thing stay outside of the range that check_element allows.
  element.apodization_index =
      apodization == std::floor(apodization) && std::abs(apodization) < 1000.0
          ? static_cast<int>(apodization)
          : -1;
  return element;
}

double read_optional_scalar(const mxArray* array, int index, const char* field, double absent) {
  if (mxGetFieldNumber(array, field) < 0) return absent;
  return read_number(array, field, kOwner, index + 1);
}

void place_element(Transducer& element, const mxArray* array, int index) {
  element.set_center(read_triple(array, index, "center"));
  element.set_euler(read_triple(array, index, "euler"));
}

void refuse_complex_weight(const mxArray* array, int index) {
  if (field_value(array, "complex_weight", index) != nullptr) {
    fail(
        "KESTREL no longer uses the complex_weight property. Please use phase and amplitude "
        "instead.");
  }
}

void fail_invalid_shape(const ShapeText& shape, int index) {
  services::print("*** %s is not a valid transducer shape (element %i) ***\n", shape.text,
                  index + 1);
  fail("Invalid transducer shape identifier.\n");
}

}  // namespace kestrel::gateway
