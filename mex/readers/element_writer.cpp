#include "mex/readers/element_writer.h"

#include <algorithm>
#include <cstring>

#include "kestrel/error.h"

namespace kestrel::gateway {

namespace {

/// The size fields of all shapes, each once.
std::vector<const char*> size_fields() {
  std::vector<const char*> names;
  for_each_shape([&](const auto& shape) {
    for (const auto& [field, size] : shape.sizes()) {
      const bool known = std::any_of(names.begin(), names.end(), [&, name = field](const char* n) {
        return std::strcmp(n, name) == 0;
      });
      if (!known) names.push_back(field);
    }
  });
  return names;
}

}  // namespace

mxArray* made(mxArray* array) {
  if (array == nullptr) fail(ErrorKind::out_of_memory, "Out of memory: a result cannot be made.");
  return array;
}

mxArray* write_shapes() {
  const char* fields[] = {"name", "sizes"};
  mxArray* array = made(mxCreateStructMatrix(1, std::variant_size_v<Geometry>, 2, fields));
  mwIndex index = 0;
  for_each_shape([&](const auto& shape) {
    const auto sizes = shape.sizes();
    mxArray* names = made(mxCreateCellMatrix(1, sizes.size()));
    for (std::size_t i = 0; i < sizes.size(); ++i) {
      mxSetCell(names, i, made(mxCreateString(sizes[i].first)));
    }
    mxSetField(array, index, "name", made(mxCreateString(shape.kFacts.name)));
    mxSetField(array, index++, "sizes", names);
  });
  return array;
}

mxArray* write_elements(const std::vector<Element>& elements) {
  std::vector<const char*> names = {"shape"};
  const std::vector<const char*> sizes = size_fields();
  names.insert(names.end(), sizes.begin(), sizes.end());
  names.insert(names.end(), {"center", "euler", "amplitude", "phase", "apodization_index"});
  mxArray* array =
      made(mxCreateStructMatrix(1, elements.size(), static_cast<int>(names.size()), names.data()));
  for (std::size_t i = 0; i < elements.size(); ++i) {
    const Element& element = elements[i];
    const auto set = [&](const char* field, mxArray* value) { mxSetField(array, i, field, value); };
    const auto number = [](double value) { return made(mxCreateDoubleScalar(value)); };
    const auto triple = [](CartesianCoordinate p) {
      const double entries[] = {p.x, p.y, p.z};
      return write_matrix(1, 3, [&](std::size_t, std::size_t c) { return entries[c]; });
    };
    set("shape", made(mxCreateString(shape_facts(element.geometry).name)));
    std::visit(
        [&](const auto& geometry) {
          for (const auto& [field, size] : geometry.sizes()) set(field, number(geometry.*size));
        },
        element.geometry);
    for (const char* field : sizes) {
      if (mxGetField(array, i, field) == nullptr) {
        set(field, made(mxCreateDoubleMatrix(0, 0, mxREAL)));
      }
    }
    set("center", triple(element.center));
    set("euler", triple(element.euler));
    set("amplitude", number(element.amplitude));
    set("phase", number(element.phase));
    set("apodization_index", number(element.apodization_index));
  }
  return array;
}

}  // namespace kestrel::gateway
