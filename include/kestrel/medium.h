#pragma once

#include "kestrel/services.h"

namespace kestrel {

/// The properties of a medium by name, those of water without loss unless said otherwise.
struct MediumProperties {
  double density = 1000;                 ///< kg/m^3
  double sound_speed = 1500;             ///< m/s
  double attenuation_dB_per_cm_MHz = 0;  ///< grows in proportion to the frequency
  double nonlinearity = 0;               ///< the parameter beta = 1 + B/(2A)
};

/// The homogeneous propagation medium and the frequency of the excitation. A plain value: copy it.
class Medium {
 public:
  /// All properties zero.
  Medium() = default;

  /// With the frequency not set; whole arrays take it from their settings.
  explicit Medium(const MediumProperties& properties)
      : _soundspeed(properties.sound_speed),
        _dBcmMHz(properties.attenuation_dB_per_cm_MHz),
        _rho_density(properties.density),
        _beta(properties.nonlinearity) {}

  /// Reads the nine properties of the first entry of the medium structure; `_f0`, `_fs` and
  /// `_powerlawcoeff` are not in it and stay zero. The numbers are taken as they are. Fails when a
  /// field is missing, empty or not numeric.
  template <HostArray T>
  explicit Medium(T const** structure);

  /// 2 pi f / c at frequency f (Hz), in rad/m.
  double wavenumber(double f) const;
  /// Attenuation at frequency f (Hz), in nepers per metre.
  double attenuation(double f) const;

  /// Prints the properties to the host's console.
  void mexDebug() const;

  double _f0 = 0.0;             ///< excitation frequency, Hz
  double _fs = 0.0;             ///< sampling frequency, Hz
  double _soundspeed = 0.0;     ///< m/s
  double _dBcmMHz = 0.0;        ///< attenuation, dB/(cm MHz)
  double _powerlawcoeff = 0.0;  ///< power-law coefficient of the attenuation
  double _rho_density = 0.0;    ///< kg/m^3
  double _ct = 0.0;             ///< specific heat, J/(kg K)
  double _ctb = 0.0;            ///< specific heat of blood, J/(kg K)
  double _wb = 0.0;             ///< blood perfusion, kg/(m^3 s)
  double _b = 0.0;              ///< power-law exponent of the attenuation
  double _kappa = 0.0;          ///< thermal conductivity, W/(m K)
  double _beta = 0.0;           ///< nonlinearity parameter
};

}  // namespace kestrel
