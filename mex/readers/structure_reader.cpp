#include "mex/readers/structure_reader.h"

#include <string>

#include "services/error.h"

namespace kestrel {

namespace {

[[noreturn]] void refuse(const char* owner, const char* field, int element, const char* wanted,
                         const char* found) {
  const std::string of_element = element > 0 ? " of element " + std::to_string(element) : "";
  fail("Field '%s'%s of the %s must be %s, but it is %s.\n", field, of_element.c_str(), owner,
       wanted, found);
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
  if (mxIsSparse(value)) refuse(owner, field, element, wanted, "sparse");
  return mxGetScalar(value);
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
