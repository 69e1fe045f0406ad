#pragma once

#include <cstddef>

#include "excitation/excitation_function.h"
#include "excitation/pulse_terms.h"
#include "numerics/float4.h"
#include "numerics/run_kernel.h"

namespace kestrel {

/// What the three analytic pulses share: how the terms of a decomposition are written out. All
/// terms are evaluated in double; the single-precision forms round each term when it is stored.
template <class PulseTerms>
class AnalyticPulse : public ExcitationFunction {
 public:
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
  int number_of_tsd_terms() const override { return PulseTerms::count; }

  /// Terms of four delays in single precision, tau[i] - reference rounded first; n is a multiple of
  /// four and `out` is term-major.
  void four_wide_spatial_terms(float* out, const double* tau, int n,
                               double reference) const override {
    for (int i = 0; i < n; i += 4) {
      float u[4];
      for (int m = 0; m < 4; ++m) u[m] = static_cast<float>(tau[i + m] - reference);
      const auto terms = _exact.template spatial<FourDelays>(float4::load(u));
      for (int k = 0; k < PulseTerms::count; ++k) terms[k].store(out + std::size_t(k) * n + i);
    }
  }

  int number_of_exact_terms() const override { return PulseTerms::count; }
  void exact_spatial_terms(double* out, const double* tau, int n, double reference) const override {
    write_many<true>(out, tau, n, reference);
  }
  void exact_temporal_terms(double* out, const double* t, int n, double reference) const override {
    write_many<false>(out, t, n, reference);
  }

 protected:
  AnalyticPulse(double a0, double f0, double pulse_width, double b, int type)
      : ExcitationFunction(a0, f0, pulse_width, b, type) {}

  /// Open at both ends.
  bool inside(double t) const { return t > 0 && t < _pulse_width; }

  PulseTerms _tsd;    ///< the decomposition of the interface
  PulseTerms _exact;  ///< the one whose sum is the signal itself; for most pulses the same

 private:
  template <class Real>
  void write_spatial(Real* out, double tau) const {
    const auto terms = _tsd.template spatial<OneDelay<StandardMath>>(tau);
    for (int k = 0; k < PulseTerms::count; ++k) out[k] = static_cast<Real>(terms[k]);
  }
  template <class Real>
  void write_temporal(Real* out, const TimeSamples& axis, int nt, double t0) const {
    for (int i = 0; i < nt; ++i) {
      const auto terms =
          _tsd.template temporal<OneDelay<StandardMath>>(axis.time_index_value(i) - t0);
      for (int k = 0; k < PulseTerms::count; ++k) {
        out[std::size_t(k) * nt + i] = static_cast<Real>(terms[k]);
      }
    }
  }

  template <bool spatial>
  struct ManyTerms {
    PulseTerms pulse;
    double* out;
    const double* times;
    int n;
    double reference;

    template <class Math>
    KESTREL_INLINE void operator()(Math) const {
      const PulseTerms terms = pulse;
      KESTREL_LANES
      for (int i = 0; i < n; ++i) {
        const double u = times[i] - reference;
        const auto values = spatial ? terms.template spatial<OneDelay<Math>>(u)
                                    : terms.template temporal<OneDelay<Math>>(u);
        for (int k = 0; k < PulseTerms::count; ++k) out[std::size_t(k) * n + i] = values[k];
      }
    }
  };

  template <bool spatial>
  void write_many(double* out, const double* times, int n, double reference) const {
    const double reach = _exact.reach();
    bool within = true;
    for (int i = 0; i < n; ++i) within &= std::abs(times[i] - reference) <= reach;
    run_kernel(within ? instruction_set() : InstructionSet::scalar,
               ManyTerms<spatial>{_exact, out, times, n, reference});
  }
};

}  // namespace kestrel
