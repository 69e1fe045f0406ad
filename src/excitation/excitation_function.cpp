#include <algorithm>
#include <cmath>
#include <cstddef>

#include "kestrel/compiler.h"
#include "kestrel/error.h"
#include "kestrel/excitation.h"
#include "kestrel/services.h"
#include "numerics/constants.h"
#include "numerics/fft.h"
#include "numerics/run_kernel.h"

namespace kestrel {

namespace {

constexpr double kPi = constants::kShortPi;
constexpr double kTwoPi = constants::kShortTwoPi;
constexpr double kHalfPi = constants::kShortHalfPi;

/// The angle of x, in (-pi, pi].
double phase_of(std::complex<double> x) {
  const double a = x.real(), b = x.imag();
  if (a > 0) return std::atan(b / a);
  if (a < 0) return std::atan(b / a) + (b >= 0 ? kPi : -kPi);
  if (a == 0 && b > 0) return kHalfPi;
  if (a == 0 && b < 0) return -kHalfPi;
  return 0.0;  // a zero line, or NaN
}

}  // namespace

ExcitationFunction::ExcitationFunction(double a0, double f0, double pulse_width, double b, int type)
    : _type(type),
      _a0(a0),
      _f0(f0),
      _b(b),
      _pulse_width(pulse_width),
      _omega0(kTwoPi * f0),
      _omegaw(kTwoPi / pulse_width) {}

namespace {

ExcitationFunction::Transform transform_of(std::span<const double> samples) {
  ExcitationFunction::Transform transform;
  transform.lines = services::Array<std::complex<double>>(samples.size());
  std::copy(samples.begin(), samples.end(), transform.lines.begin());
  fourier_transform({transform.lines.data(), samples.size()});
  transform.real = std::all_of(transform.lines.begin(), transform.lines.end(),
                               [](std::complex<double> line) { return line.imag() == 0; });
  return transform;
}

}  // namespace

ExcitationFunction::ExcitationFunction(std::span<const double> samples, double ts, double w,
                                       double clip_threshold)
    : ExcitationFunction(samples, transform_of(samples), ts, w, clip_threshold, 0) {}

ExcitationFunction::ExcitationFunction(std::span<const double> samples, const Transform& transform,
                                       double ts, double w, double clip_threshold, int type)
    : _type(type), _pulse_width(w), _ts(ts) {
  if (samples.size() > 0x7fffffff) {
    fail("The signal of the excitation function has more than 2147483647 samples.\n");
  }
  _nxtimesamples = static_cast<int>(samples.size());
  _samples = services::Array<double>(samples.size());
  std::copy(samples.begin(), samples.end(), _samples.begin());

  _dc_index = -1;
  _nyquist_index = _nxtimesamples / 2;
  _nterms = _nxtimesamples / 2 + 1;
  if (_nxtimesamples % 2 != 0) --_nterms;
  // Without a sample there is no line.
  _nterms = std::min(_nterms, _nxtimesamples);

  services::Array<double> magnitudes(_nterms);
  for (int k = 0; k < _nterms; ++k) {
    const std::complex<double> line = transform.lines[k];
    magnitudes[k] = transform.real ? line.real() : std::abs(line);
  }
  keep_lines(transform.lines, magnitudes, clip_threshold);
}

void ExcitationFunction::keep_lines(const services::Array<std::complex<double>>& lines,
                                    const services::Array<double>& magnitudes,
                                    double clip_threshold) {
  const double threshold =
      clip_threshold < 0 ? std::pow(10.0, clip_threshold / 10) : clip_threshold;
  double largest = 0;
  for (const double m : magnitudes) {
    if (m > largest) largest = m;
  }
  const auto kept = [&](double magnitude) { return threshold < magnitude / largest; };

  // A threshold of zero makes room for all lines, though the strict test below still leaves out
  // those without magnitude: their places at the end stay zero.
  const int lines_before = _nterms;
  if (threshold == 0) {
    _dc_index = 0;
  } else {
    _nterms = static_cast<int>(std::count_if(magnitudes.begin(), magnitudes.end(), kept));
  }

  _spectrum = services::Array<std::complex<double>>(_nterms);
  _omega = services::Array<double>(_nterms);
  const double n = _nxtimesamples;
  const double step = ((1 / n + 1 / n) * kPi) / _ts;
  int j = 0;
  for (int k = 0; k < lines_before; ++k) {
    if (!kept(magnitudes[k])) {
      _dropped_negative_lines |= -magnitudes[k] > 1e-9 * largest && kept(-magnitudes[k]);
      continue;
    }
    _spectrum[j] = lines[k];
    _omega[j] = k * step;
    if (k == _nyquist_index) {
      _nyquist_index = j;
    } else if (k == _dc_index) {
      _dc_index = j;
    }
    ++j;
  }

  _line_amplitude = services::Array<double>(_nterms);
  _line_phase = services::Array<double>(_nterms);
  for (j = 0; j < _nterms; ++j) {
    _line_amplitude[j] = 2 * std::abs(_spectrum[j]) / n;
    _line_phase[j] = phase_of(_spectrum[j]);
  }
}

double ExcitationFunction::exact_at(double t) const {
  if (_type != 0) return at(t);
  if (t < 0 || t > _pulse_width) return 0.0;
  double sum = 0;
  for (int j = 0; j < _nterms; ++j) {
    sum += exact_line_weight(j) / 2 * _line_amplitude[j] * std::cos(_omega[j] * t + _line_phase[j]);
  }
  return sum;
}

double ExcitationFunction::mean_frequency() const {
  if (_type != 0) return get_f0();
  double power = 0, moment = 0;
  for (int j = 0; j < _nterms; ++j) {
    power += _line_amplitude[j] * _line_amplitude[j];
    moment += _line_amplitude[j] * _line_amplitude[j] * _omega[j] / kTwoPi;
  }
  return power > 0 ? std::max(moment / power, 1 / _pulse_width) : 0.0;
}

double ExcitationFunction::sum_of_lines(double t, double (*wave)(double)) const {
  if (t < 0 || t > _pulse_width) return 0.0;
  double sum = 0;
  for (int j = 0; j < _nterms; ++j) {
    sum += wave(_omega[j] * t + _line_phase[j]) * _line_amplitude[j];
  }
  return sum;
}

double ExcitationFunction::at(const double& t) const { return sum_of_lines(t, std::cos); }

double ExcitationFunction::derivative(const double& t) const { return -sum_of_lines(t, std::sin); }

int ExcitationFunction::number_of_tsd_terms() const { return _nterms; }

template <class Real>
void ExcitationFunction::write_spatial_terms(Real* out, double tau) const {
  for (int j = 0; j < _nterms; ++j) {
    const double angle = -_omega[j] * tau;
    out[j] = static_cast<Real>(line_weight(j) * (std::cos(angle) - std::sin(angle)));
  }
}

template <class Real>
void ExcitationFunction::write_temporal_terms(Real* out, const TimeSamples& axis, int nt,
                                              double t0) const {
  for (int i = 0; i < nt; ++i) {
    const double t = axis.time_index_value(i) - t0;
    for (int j = 0; j < _nterms; ++j) {
      const double c = std::cos(_omega[j] * t), s = std::sin(_omega[j] * t);
      const std::complex<double> line = _spectrum[j];
      out[std::size_t(j) * nt + i] =
          static_cast<Real>((line.real() * (c + s) + line.imag() * (c - s)) / _nxtimesamples);
    }
  }
}

void ExcitationFunction::spatial_tsd(double* out, const double& tau) const {
  write_spatial_terms(out, tau);
}

void ExcitationFunction::spatial_tsd(float* out, const float& tau) const {
  write_spatial_terms(out, tau);
}

void ExcitationFunction::temporal_tsd(double* out, const TimeSamples* axis, const int& nt,
                                      const double& t0) const {
  write_temporal_terms(out, *axis, nt, t0);
}

void ExcitationFunction::temporal_tsd(float* out, const TimeSamples* axis, const int& nt,
                                      const float& t0) const {
  write_temporal_terms(out, *axis, nt, t0);
}

void ExcitationFunction::spatial_tsd(std::complex<double>* out, const double& tau) const {
  for (int j = 0; j < _nterms; ++j) {
    const double angle = -_omega[j] * tau;
    out[j] = line_weight(j) * std::complex<double>(std::cos(angle), std::sin(angle));
  }
}

void ExcitationFunction::temporal_tsd(std::complex<double>* out, const TimeSamples* axis,
                                      const int& nt, const double& t0) const {
  for (int i = 0; i < nt; ++i) {
    const double t = axis->time_index_value(i) - t0;
    for (int j = 0; j < _nterms; ++j) {
      const double c = std::cos(_omega[j] * t), s = std::sin(_omega[j] * t);
      const std::complex<double> line = _spectrum[j];
      out[std::size_t(j) * nt + i] = {(line.real() * c - line.imag() * s) / _nxtimesamples,
                                      (line.real() * s + line.imag() * c) / _nxtimesamples};
    }
  }
}

// Re(S T) = Re S Re T - Im S Im T: the minus goes with the temporal terms.

namespace {

/// x_k = re[k] cos(omega_k u) + im[k] sin(omega_k u) and its quadrature, for many u.
struct LineTerms {
  double* out;
  const double* times;
  int n;
  double reference;
  double omega, cosine_1, sine_1, cosine_2, sine_2;

  template <class Math>
  KESTREL_INLINE void operator()(Math) const {
    KESTREL_LANES
    for (int i = 0; i < n; ++i) {
      double s, c;
      Math::sine_cosine(omega * (times[i] - reference), s, c);
      out[i] = cosine_1 * c + sine_1 * s;
      out[n + i] = cosine_2 * c + sine_2 * s;
    }
  }
};

/// The wide functions where all arguments allow, the library's elsewhere.
void run_line(const LineTerms& line) {
  bool within = true;
  const double reach = kPhaseLimit / std::abs(line.omega);
  for (int i = 0; i < line.n; ++i) within &= std::abs(line.times[i] - line.reference) <= reach;
  run_kernel(within ? instruction_set() : InstructionSet::scalar, line);
}

}  // namespace

int ExcitationFunction::number_of_exact_terms() const { return 2 * _nterms; }

void ExcitationFunction::exact_spatial_terms(double* out, const double* tau, int n,
                                             double reference) const {
  for (int j = 0; j < _nterms; ++j) {
    const double g = exact_line_weight(j);
    run_line({out + 2 * std::size_t(j) * n, tau, n, reference, _omega[j], g, 0, 0, -g});
  }
}

void ExcitationFunction::exact_temporal_terms(double* out, const double* t, int n,
                                              double reference) const {
  for (int j = 0; j < _nterms; ++j) {
    const double a = _spectrum[j].real() / _nxtimesamples, b = _spectrum[j].imag() / _nxtimesamples;
    run_line({out + 2 * std::size_t(j) * n, t, n, reference, _omega[j], a, -b, -b, -a});
  }
}

void ExcitationFunction::four_wide_spatial_terms(float* /*out*/, const double* /*tau*/, int /*n*/,
                                                 double /*reference*/) const {
  fail("A sampled signal has no four-wide terms.\n");
}

double* ExcitationFunction::get_frequency_domain_input_signal_real() const {
  double* parts = new double[_nterms];
  for (int j = 0; j < _nterms; ++j) parts[j] = _spectrum[j].real();
  return parts;
}

double* ExcitationFunction::get_frequency_domain_input_signal_imag() const {
  double* parts = new double[_nterms];
  for (int j = 0; j < _nterms; ++j) parts[j] = _spectrum[j].imag();
  return parts;
}

bool isPowerOfTwo(int n) {
  if (n == 1) return true;
  while (n != 0 && n != 2 && n % 2 == 0) n /= 2;
  return n == 2;
}

}  // namespace kestrel
