#include "kestrel/medium.h"

#include <numbers>

#include "kestrel/services.h"
#include "numerics/constants.h"

namespace kestrel {

double Medium::wavenumber(double f) const { return 2 * std::numbers::pi * f / _soundspeed; }

double Medium::attenuation(double f) const {
  return _dBcmMHz * 100 * (f / 1e6) / constants::kDecibelsPerNeper;
}

void Medium::mexDebug() const {
  services::print("f0 (_f0): %f\n", _f0);
  services::print("fs (_fs): %f\n", _fs);
  services::print("soundspeed (_soundspeed): %f\n", _soundspeed);
  services::print("attenuation (_dBcmMHz): %f\n", _dBcmMHz);
  services::print("power law coefficient (_powerlawcoeff): %f\n", _powerlawcoeff);
  services::print("density (_rho_density): %f\n", _rho_density);
  services::print("specific heat(_ct): %f\n", _ct);
  services::print("blood perfusion (_wb): %f\n", _wb);
  services::print("power law exponent (_b): %f\n", _b);
  services::print("thermal conductivity (_kappa): %f\n", _kappa);
  services::print("nonlinearity param (_beta): %f\n", _beta);
}

}  // namespace kestrel
