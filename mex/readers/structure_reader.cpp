#include "mex/readers/structure_reader.h"

#include <algorithm>
#include <string>

#include "kestrel/error.h"

namespace kestrel {

namespace {

/// "Field 'width' of element 3 of the transducer", or "Argument 'ndiv'".
std::string place(const char* owner, const char* field, int element) {
  const std::string name = std::string("'") + field + "'";
  if (owner == nullptr) return "Argument " + name;
  const std::string of_element = element > 0 ? " of element " + std::to_string(element) : "";
  return "Field " + name + of_element + " of the " + owner;
}

[[noreturn]] void refuse(const char* owner, const char* field, int element, const char* wanted,
                         const char* found) {
  fail("%s must be %s, but it is %s.\n", place(owner, field, element).c_str(), wanted, found);
}

}  // namespace

bool has_field(const mxArray* structure, const char* name) {
  return structure != nullptr && mxIsStruct(structure) && mxGetNumberOfElements(structure) > 0 &&
         mxGetFieldNumber(structure, name) >= 0;
}

const mxArray* field_value(const mxArray* structure, const char* name, int index) {
  const bool within = index >= 0 && has_field(structure, name) &&
                      static_cast<size_t>(index) < mxGetNumberOfElements(structure);
  return within ? mxGetField(structure, index, name) : nullptr;
}

double read_scalar(const mxArray* value, const char* owner, const char* field, int element) {
  constexpr const char* wanted = "a number";
  if (value == nullptr || mxIsEmpty(value)) refuse(owner, field, element, wanted, "empty");
  if (!mxIsNumeric(value) && !mxIsLogical(value)) {
    refuse(owner, field, element, wanted,
           (std::string("of class ") + mxGetClassName(value)).c_str());
  }
  // Of a sparse array one host reads the first entry, the other the first that is not zero.
  if (mxIsSparse(value) && mxGetNumberOfElements(value) != 1) {
    refuse(owner, field, element, wanted, "a sparse matrix");
  }
  return mxGetScalar(value);
}

void require_field(const mxArray* structure, const char* field, const char* owner, int element) {
  if (!has_field(structure, field)) fail("%s is missing.\n", place(owner, field, element).c_str());
}

double read_number(const mxArray* structure, const char* field, const char* owner, int element) {
  require_field(structure, field, owner, element);
  return read_scalar(field_value(structure, field, std::max(element - 1, 0)), owner, field,
                     element);
}

const double* read_real_doubles(const mxArray* value, const char* owner, const char* field,
                                int element) {
  constexpr const char* wanted = "a full array of real doubles";
  if (value == nullptr) return nullptr;
  if (!mxIsDouble(value)) {
    refuse(owner, field, element, wanted,
           (std::string("of class ") + mxGetClassName(value)).c_str());
  }
  if (mxIsSparse(value)) refuse(owner, field, element, wanted, "sparse");
  if (mxIsComplex(value)) refuse(owner, field, element, wanted, "complex");
  return mxIsEmpty(value) ? nullptr : mxGetDoubles(value);
}

}  // namespace kestrel
