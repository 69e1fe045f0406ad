#include <cmath>
#include <memory>

#include "kestrel/excitation.h"

namespace kestrel {

SignalRate::SignalRate(const ExcitationFunction& excitation) : _excitation(excitation) {
  if (excitation.get_type() != 0) return;
  const std::unique_ptr<double[]> real(excitation.get_frequency_domain_input_signal_real());
  const std::unique_ptr<double[]> imag(excitation.get_frequency_domain_input_signal_imag());
  const double* omega = excitation.get_omega_array();
  for (int j = 0; j < excitation.number_of_tsd_terms(); ++j) {
    const double weight = j == excitation.get_nyquist_index() ? 1.0 : 2.0;
    const double factor = -weight * omega[j] / excitation.get_nxtimesamples();
    _lines.push_back({omega[j], factor * real[j], factor * imag[j]});
  }
}

double SignalRate::operator()(double t) const {
  const double width = _excitation.get_pulse_width();
  if (_excitation.get_type() == 0) {
    if (t < 0 || t > width) return 0.0;
    double sum = 0;
    for (const Line& line : _lines) {
      sum += line.sine * std::sin(line.omega * t) + line.cosine * std::cos(line.omega * t);
    }
    return sum;
  }
  const double rate = _excitation.derivative(t);
  if (_excitation.get_type() != 3 || !(t > 0 && t < width)) return rate;
  const double b = _excitation.get_B();
  const double omega0 = 6.28318530717958 * _excitation.get_f0();
  return rate + (_excitation.get_A0() - 1) * std::exp(-b * t) * (t * t * t) *
                    (omega0 * std::cos(omega0 * t) - b * std::sin(omega0 * t));
}

}  // namespace kestrel
