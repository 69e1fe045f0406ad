#include "inputs/medium.h"

#include "mex/host/host.h"
#include "mex/readers/structure_reader.h"

namespace kestrel {

namespace {

struct Property {
  const char* field;
  double Medium::*value;
};

constexpr Property properties[] = {
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

}  // namespace

Medium::Medium(mxArray const** structure) {
  // All fields are looked for before any is read.
  for (const Property& property : properties) {
    if (!has_field(*structure, property.field)) {
      host::fail(
          "Medium object is not structured correctly. Please see the documentation for the correct "
          "structure.");
    }
  }
  for (const Property& property : properties) {
    this->*property.value =
        read_scalar(field_value(*structure, property.field), "medium", property.field);
  }
}

void Medium::mexDebug() const {
  host::print("f0 (_f0): %f\n", _f0);
  host::print("fs (_fs): %f\n", _fs);
  host::print("soundspeed (_soundspeed): %f\n", _soundspeed);
  host::print("attenuation (_dBcmMHz): %f\n", _dBcmMHz);
  host::print("power law coefficient (_powerlawcoeff): %f\n", _powerlawcoeff);
  host::print("density (_rho_density): %f\n", _rho_density);
  host::print("specific heat(_ct): %f\n", _ct);
  host::print("blood perfusion (_wb): %f\n", _wb);
  host::print("power law exponent (_b): %f\n", _b);
  host::print("thermal conductivity (_kappa): %f\n", _kappa);
  host::print("nonlinearity param (_beta): %f\n", _beta);
}

}  // namespace kestrel
