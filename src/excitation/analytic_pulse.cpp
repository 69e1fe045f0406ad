#include <cstddef>

#include "excitation/pulse_terms.h"
#include "kestrel/compiler.h"
#include "kestrel/excitation.h"
#include "numerics/run_kernel.h"

namespace kestrel {

template <class PulseTerms>
struct AnalyticPulse<PulseTerms>::Terms {
  PulseTerms tsd, exact;
};

namespace {

template <class Real, class PulseTerms>
void write_spatial(const PulseTerms& pulse, Real* out, double tau) {
  const auto terms = pulse.template spatial<OneDelay<StandardMath>>(tau);
  for (int k = 0; k < PulseTerms::count; ++k) out[k] = static_cast<Real>(terms[k]);
}

template <class Real, class PulseTerms>
void write_temporal(const PulseTerms& pulse, Real* out, const TimeSamples& axis, int nt,
                    double t0) {
  for (int i = 0; i < nt; ++i) {
    const auto terms =
        pulse.template temporal<OneDelay<StandardMath>>(axis.time_index_value(i) - t0);
    for (int k = 0; k < PulseTerms::count; ++k) {
      out[std::size_t(k) * nt + i] = static_cast<Real>(terms[k]);
    }
  }
}

template <class PulseTerms, bool spatial>
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

template <bool spatial, class PulseTerms>
void write_many(const PulseTerms& pulse, double* out, const double* times, int n,
                double reference) {
  const double reach = pulse.reach();
  bool within = true;
  for (int i = 0; i < n; ++i) within &= std::abs(times[i] - reference) <= reach;
  run_kernel(within ? instruction_set() : InstructionSet::scalar,
             ManyTerms<PulseTerms, spatial>{pulse, out, times, n, reference});
}

}  // namespace

template <class PulseTerms>
AnalyticPulse<PulseTerms>::AnalyticPulse(double a0, double f0, double pulse_width, double b,
                                         int type)
    : ExcitationFunction(a0, f0, pulse_width, b, type) {}

template <class PulseTerms>
AnalyticPulse<PulseTerms>::~AnalyticPulse() = default;

template <class PulseTerms>
void AnalyticPulse<PulseTerms>::set_terms(const PulseTerms& interface, const PulseTerms& exact) {
  _terms = std::make_unique<Terms>(Terms{interface, exact});
}

template <class PulseTerms>
void AnalyticPulse<PulseTerms>::spatial_tsd(double* out, const double& tau) const {
  write_spatial(_terms->tsd, out, tau);
}
template <class PulseTerms>
void AnalyticPulse<PulseTerms>::spatial_tsd(float* out, const float& tau) const {
  write_spatial(_terms->tsd, out, tau);
}

template <class PulseTerms>
void AnalyticPulse<PulseTerms>::temporal_tsd(double* out, const TimeSamples* axis, const int& nt,
                                             const double& t0) const {
  write_temporal(_terms->tsd, out, *axis, nt, t0);
}
template <class PulseTerms>
void AnalyticPulse<PulseTerms>::temporal_tsd(float* out, const TimeSamples* axis, const int& nt,
                                             const float& t0) const {
  write_temporal(_terms->tsd, out, *axis, nt, t0);
}

template <class PulseTerms>
int AnalyticPulse<PulseTerms>::number_of_tsd_terms() const {
  return PulseTerms::count;
}
template <class PulseTerms>
int AnalyticPulse<PulseTerms>::number_of_exact_terms() const {
  return PulseTerms::count;
}

template <class PulseTerms>
void AnalyticPulse<PulseTerms>::four_wide_spatial_terms(float* out, const double* tau, int n,
                                                        double reference) const {
  for (int i = 0; i < n; i += 4) {
    float u[4];
    for (int m = 0; m < 4; ++m) u[m] = static_cast<float>(tau[i + m] - reference);
    const auto terms = _terms->exact.template spatial<FourDelays>(float4::load(u));
    for (int k = 0; k < PulseTerms::count; ++k) terms[k].store(out + std::size_t(k) * n + i);
  }
}

template <class PulseTerms>
void AnalyticPulse<PulseTerms>::exact_spatial_terms(double* out, const double* tau, int n,
                                                    double reference) const {
  write_many<true>(_terms->exact, out, tau, n, reference);
}
template <class PulseTerms>
void AnalyticPulse<PulseTerms>::exact_temporal_terms(double* out, const double* t, int n,
                                                     double reference) const {
  write_many<false>(_terms->exact, out, t, n, reference);
}

template class AnalyticPulse<ToneTerms>;
template class AnalyticPulse<HanningTerms>;
template class AnalyticPulse<TCubedTerms>;

}  // namespace kestrel
