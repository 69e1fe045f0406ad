#pragma once

#include <array>
#include <cstddef>

#include "excitation/excitation_function.h"
#include "numerics/float4.h"

namespace kestrel {

/// What the three analytic pulses share: how their terms are written out. A pulse gives
///
///     std::array<double, n> spatial_terms(double tau) const;
///     std::array<double, n> temporal_terms(double t) const;
///
/// both evaluated in double; the single-precision forms round each term when it is stored. The
/// decomposition knows nothing of the pulse's support: whoever sums terms applies it.
template <class Pulse, std::size_t n>
class AnalyticPulse : public ExcitationFunction {
 public:
  using Terms = std::array<double, n>;

  void spatial_tsd(double* out, const double& tau) const override { write_spatial(out, tau); }
  void spatial_tsd(float* out, const float& tau) const override { write_spatial(out, tau); }
  /// Computes nothing and leaves `out` alone; the four-wide field methods form their own terms.
  void spatial_tsd(float4* /*out*/, const float4& /*tau*/) const {}

  void temporal_tsd(double* out, const TimeSamples* axis, const int& nt,
                    const double& t0) const override {
    write_temporal(out, *axis, nt, t0);
  }
  void temporal_tsd(float* out, const TimeSamples* axis, const int& nt,
                    const float& t0) const override {
    write_temporal(out, *axis, nt, t0);
  }
  int number_of_tsd_terms() const override { return static_cast<int>(n); }

 protected:
  using ExcitationFunction::ExcitationFunction;

  /// Open at both ends.
  bool inside(double t) const { return t > 0 && t < _pulse_width; }

 private:
  const Pulse& pulse() const { return static_cast<const Pulse&>(*this); }

  template <class Real>
  void write_spatial(Real* out, double tau) const {
    const Terms terms = pulse().spatial_terms(tau);
    for (std::size_t k = 0; k < n; ++k) out[k] = static_cast<Real>(terms[k]);
  }
  template <class Real>
  void write_temporal(Real* out, const TimeSamples& axis, int nt, double t0) const {
    for (int i = 0; i < nt; ++i) {
      const Terms terms = pulse().temporal_terms(axis.time_index_value(i) - t0);
      for (std::size_t k = 0; k < n; ++k) out[k * nt + i] = static_cast<Real>(terms[k]);
    }
  }
};

}  // namespace kestrel
