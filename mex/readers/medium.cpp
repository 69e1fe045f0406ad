#include "kestrel/medium.h"

#include "kestrel/error.h"
#include "mex/readers/input_readers.h"
#include "mex/readers/structure_reader.h"

namespace kestrel {

namespace {

struct Property {
  const char* field;
  double Medium::*value;
};

constexpr Property kProperties[] = {
    {"soundspeed", &Medium::_soundspeed},
    {"density", &Medium::_rho_density},
    {"attenuationdBcmMHz", &Medium::_dBcmMHz},
    {"bloodperfusion", &Medium::_wb},
    {"specificheat", &Medium::_ct},
    {"specificheatofblood", &Medium::_ctb},
    {"thermalconductivity", &Medium::_kappa},
    {"nonlinearityparameter", &Medium::_beta},
    {"powerlawexponent", &Medium::_b},
};

/// A character counts by its code, as in every scalar read of the hosts.
double read_property(const mxArray* structure, const char* field) {
  const mxArray* value = field_value(structure, field);
  if (value != nullptr && mxIsChar(value) && !mxIsEmpty(value)) return mxGetScalar(value);
  return read_scalar(value, "medium", field);
}

}  // namespace

template <>
Medium::Medium(mxArray const** structure) {
  // All fields are looked for before any is read.
  for (const Property& property : kProperties) {
    if (!has_field(*structure, property.field)) {
      fail(
          "Medium object is not structured correctly. Please see the documentation for the correct "
          "structure.");
    }
  }
  for (const Property& property : kProperties) {
    this->*property.value = read_property(*structure, property.field);
  }
}

}  // namespace kestrel
