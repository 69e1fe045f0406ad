#pragma once

#include <complex>
#include <memory>
#include <span>
#include <vector>

#include "kestrel/four_wide.h"
#include "kestrel/services.h"
#include "kestrel/time_axis.h"

namespace kestrel {

/// The signal that drives one element: its value and rate at a time, and its time-space
/// decomposition (TSD)
///
///     f(t - tau) = sum over k of spatial_k(tau) * temporal_k(t),
///
/// by which the terms of all delays of a field can be summed before the time axis is walked.
/// Spatial terms are one value per term; temporal terms are term-major, out[k * nt + i] for term k
/// and sample i.
///
/// This class is the signal given by samples, held as the one-sided lines of its discrete Fourier
/// transform; `ToneBurst`, `HanningPulse` and `TCubedPulse` are analytic. All times in seconds.
///
/// What a user of the sampled signal must know (results depend on it, so it stays):
///   - `at` gives every line the factor 2, the zero-frequency and the Nyquist line included: a mean
///     counts twice. The complex TSD terms weigh those two lines once where they are marked.
///   - `derivative` lacks the factor omega of each line. `signal_rate` has the true rate.
///   - The real TSD terms are not a decomposition of f(t - tau); the complex ones are (real part).
class ExcitationFunction {
 public:
  /// No signal: zero everywhere.
  ExcitationFunction() = default;

  /// A signal of samples `ts` apart, zero outside 0 <= t <= w. With an odd number of samples the
  /// highest line of its transform is dropped (so one sample has no line at all).
  ///
  /// A line is kept when its magnitude over the largest exceeds `clip_threshold`. A negative
  /// threshold is in decibels, 10^(clip_threshold / 10). Threshold 0 makes room for all lines and
  /// sets dc_index = 0; lines of zero magnitude are skipped and the arrays end in zeros. When the
  /// transform is purely real, signed values are compared, so negative lines are skipped too. If
  /// the zero-frequency line itself is skipped, dc_index still points at the first kept line. Any
  /// other threshold: dc_index = -1.
  ///
  /// Fails for more than 2147483647 samples.
  ExcitationFunction(std::span<const double> samples, double ts, double w,
                     double clip_threshold = 0);

  /// The discrete Fourier transform of a signal, lines 0 .. n-1.
  struct Transform {
    services::Array<std::complex<double>> lines;
    bool real = false;  ///< no line has an imaginary part
  };

  /// The same, with the transform of all samples made elsewhere.
  ExcitationFunction(std::span<const double> samples, const Transform& transform, double ts,
                     double w, double clip_threshold, int type);

  /// The same from a row of a host's real doubles: the number of samples is its number of columns,
  /// so a column is one sample. Its transform is taken by the host's own "fft", so that it has the
  /// rounding of the user's own.
  template <HostArray T>
  ExcitationFunction(const T* signal, double ts, double w, double clip_threshold, int type);

  ExcitationFunction(const ExcitationFunction&) = delete;
  ExcitationFunction& operator=(const ExcitationFunction&) = delete;

  // The order of the virtual functions is part of the interface.
  virtual void spatial_tsd(double* out, const double& tau) const;
  virtual void spatial_tsd(float* out, const float& tau) const;
  /// Terms at t_i - t0 for the first `nt` samples of the axis.
  virtual void temporal_tsd(double* out, const TimeSamples* axis, const int& nt,
                            const double& t0) const;
  virtual void temporal_tsd(float* out, const TimeSamples* axis, const int& nt,
                            const float& t0) const;
  virtual double at(const double& t) const;
  virtual double derivative(const double& t) const;
  virtual int number_of_tsd_terms() const;
  virtual int get_nxtimesamples() const { return _nxtimesamples; }
  virtual double get_pulse_width() const { return _pulse_width; }
  virtual double get_A0() const { return _a0; }
  virtual double get_f0() const { return _f0; }
  virtual double get_B() const { return _b; }
  /// 0 samples, 1 tone burst, 2 Hanning pulse, 3 t-cubed pulse.
  virtual int get_type() const { return _type; }
  /// Position of the zero-frequency line among the kept lines; -1 when not marked.
  virtual int get_dc_index() const { return _dc_index; }
  /// Position of the Nyquist line; not a position of any line when that was not kept.
  virtual int get_nyquist_index() const { return _nyquist_index; }
  /// Angular frequencies of the lines, rad/s; the object's own array.
  virtual const double* get_omega_array() const { return _omega.data(); }
  /// A new array with the real (imaginary) parts of the lines. The caller deletes it (`delete[]`).
  virtual double* get_frequency_domain_input_signal_real() const;
  virtual double* get_frequency_domain_input_signal_imag() const;
  virtual ~ExcitationFunction() = default;

  /// Whether the transform of a sampled signal came back real and lost lines because they were
  /// negative: the field is then not that of the samples.
  bool dropped_negative_lines() const { return _dropped_negative_lines; }
  /// Of a sampled signal, seconds; 0 for an analytic one.
  double sampling_interval() const { return _ts; }

  /// The signal that the exact terms below give: `at`, but with the zero-frequency and Nyquist
  /// lines of a sampled signal counted once, marked or not.
  double exact_at(double t) const;

  /// Where the signal's power lies, Hz: f0 of an analytic pulse, of a sampled signal the mean
  /// frequency of its lines weighed by their power, but at least one period in its support. 0
  /// without a signal.
  double mean_frequency() const;

  // What the field methods sum: a decomposition whose products give the signal itself, once, many
  // delays or times in a call. Sampled signals give the real and the imaginary part of each complex
  // term as two real ones. Output is term-major, out[k * n + i], at tau[i] - reference or
  // t[i] - reference.
  virtual int number_of_exact_terms() const;
  virtual void exact_spatial_terms(double* out, const double* tau, int n, double reference) const;
  virtual void exact_temporal_terms(double* out, const double* t, int n, double reference) const;
  /// The spatial terms of an analytic pulse in single precision, four delays at a time (n a
  /// multiple of four). A sampled signal has none and fails.
  virtual void four_wide_spatial_terms(float* out, const double* tau, int n,
                                       double reference) const;

  /// The TSD of a sampled signal in complex form: f(t - tau) is the real part of the sum.
  void spatial_tsd(std::complex<double>* out, const double& tau) const;
  void temporal_tsd(std::complex<double>* out, const TimeSamples* axis, const int& nt,
                    const double& t0) const;

  /// Appends one new object per element, which the caller deletes, from the structure made by
  /// `set_excitation_function`: its one row serves all elements, or row i serves element i. Appends
  /// nothing when it fails.
  template <HostArray T>
  static void excitation_vector(std::vector<ExcitationFunction*>* out, const T* structure,
                                int nelements);

 protected:
  /// An analytic pulse.
  ExcitationFunction(double a0, double f0, double pulse_width, double b, int type);

  int _type = 0;
  double _a0 = 0.0;           ///< amplitude
  double _f0 = 0.0;           ///< centre frequency, Hz
  double _b = 0.0;            ///< decay rate of the t-cubed pulse, 1/s
  double _pulse_width = 0.0;  ///< support of the signal, s
  double _omega0 = 0.0;       ///< 2 pi f0
  double _omegaw = 0.0;       ///< 2 pi / pulse_width

 private:
  /// The weights of the TSD terms go by the marks: 1 for a marked zero-frequency or Nyquist line, 2
  /// for a line that stands for a pair.
  double line_weight(int j) const { return j == _dc_index || j == _nyquist_index ? 1.0 : 2.0; }
  /// What the line truly stands for: the zero-frequency line and the Nyquist line have no mirror
  /// image.
  double exact_line_weight(int j) const {
    return _omega[j] == 0 || j == _nyquist_index ? 1.0 : 2.0;
  }
  void keep_lines(const services::Array<std::complex<double>>& lines,
                  const services::Array<double>& magnitudes, double clip_threshold);
  double sum_of_lines(double t, double (*wave)(double)) const;
  template <class Real>
  void write_spatial_terms(Real* out, double tau) const;
  template <class Real>
  void write_temporal_terms(Real* out, const TimeSamples& axis, int nt, double t0) const;

  int _nxtimesamples = 0;
  int _nterms = 0;  ///< kept lines
  int _nyquist_index = 0;
  int _dc_index = 0;
  bool _dropped_negative_lines = false;
  services::Array<std::complex<double>> _spectrum;
  services::Array<double> _samples;
  services::Array<double> _omega;
  services::Array<double> _line_amplitude;  ///< 2 |X_j| / N
  services::Array<double> _line_phase;
  double _ts = 0.0;
};

/// True for 1, 2, 4, 8 and so on.
bool isPowerOfTwo(int n);

/// What the three analytic pulses share: how the terms of a decomposition are written out. All
/// terms are evaluated in double; the single-precision forms round each term when it is stored.
template <class PulseTerms>
class AnalyticPulse : public ExcitationFunction {
 public:
  ~AnalyticPulse() override;

  void spatial_tsd(double* out, const double& tau) const override;
  void spatial_tsd(float* out, const float& tau) const override;
  /// Computes nothing and leaves `out` alone; the four-wide field methods form their own terms.
  void spatial_tsd(float4* /*out*/, const float4& /*tau*/) const {}

  void temporal_tsd(double* out, const TimeSamples* axis, const int& nt,
                    const double& t0) const override;
  void temporal_tsd(float* out, const TimeSamples* axis, const int& nt,
                    const float& t0) const override;
  int number_of_tsd_terms() const override;

  /// Terms of four delays in single precision, tau[i] - reference rounded first; n is a multiple of
  /// four and `out` is term-major.
  void four_wide_spatial_terms(float* out, const double* tau, int n,
                               double reference) const override;

  int number_of_exact_terms() const override;
  void exact_spatial_terms(double* out, const double* tau, int n, double reference) const override;
  void exact_temporal_terms(double* out, const double* t, int n, double reference) const override;

 protected:
  AnalyticPulse(double a0, double f0, double pulse_width, double b, int type);
  /// `interface`: the decomposition that the functions of the interface give; `exact`: the one
  /// whose sum is the signal itself. For most pulses they are the same.
  void set_terms(const PulseTerms& interface, const PulseTerms& exact);

  /// Open at both ends.
  bool inside(double t) const { return t > 0 && t < _pulse_width; }

 private:
  struct Terms;
  std::unique_ptr<const Terms> _terms;
};

struct ToneTerms;
struct HanningTerms;
struct TCubedTerms;
extern template class AnalyticPulse<ToneTerms>;
extern template class AnalyticPulse<HanningTerms>;
extern template class AnalyticPulse<TCubedTerms>;

/// A0 sin(2 pi f0 t), cut to a pulse.
class ToneBurst final : public AnalyticPulse<ToneTerms> {
 public:
  /// Amplitude, frequency in Hz, width in seconds; B has no effect.
  ToneBurst(double A0, double f0, double pulse_width, double B, int type);

  /// The signal for 0 < t < pulse_width.
  double at(const double& t) const override;
  /// The rate for 0 <= t <= pulse_width: unlike `at`, both ends included.
  double derivative(const double& t) const override;

  using AnalyticPulse::temporal_tsd;
  /// Four samples at a time by the shortened sine and cosine of `sincos_ps`, errors up to 2.5e-3
  /// included. t_i - t0 is formed in double and then rounded, and so is omega0.
  void temporal_tsd(float* out, const TimeSamples* axis, const int& nt,
                    const float& t0) const override;
};

/// A0 (1 - cos(2 pi t / pulse_width)) sin(2 pi f0 t) for 0 < t < pulse_width.
///
/// Both the spatial and the temporal terms carry A0: the sum of their products is A0 times the
/// signal. Divide by A0 once after summing.
class HanningPulse final : public AnalyticPulse<HanningTerms> {
 public:
  /// Amplitude, frequency in Hz, width in seconds; B has no effect.
  HanningPulse(double A0, double f0, double pulse_width, double B, int type);

  double at(const double& t) const override;
  double derivative(const double& t) const override;
};

/// A0 t^3 e^(-B t) sin(2 pi f0 t) for 0 < t < pulse_width; the gentle start and the long tail of a
/// damped transducer.
///
/// `derivative` carries A0 on its first term only, so it is the true rate only for A0 = 1.
/// `signal_rate` has the true one for every A0.
class TCubedPulse final : public AnalyticPulse<TCubedTerms> {
 public:
  /// Amplitude in 1/s^3, frequency in Hz, width in seconds, decay rate B in 1/s.
  TCubedPulse(double A0, double f0, double pulse_width, double B, int type);

  double at(const double& t) const override;
  double derivative(const double& t) const override;
};

/// The true rate dv/dt of an excitation, where `derivative` is not: it restores the amplitude on
/// all terms of the t-cubed pulse and the factor omega on the lines of a sampled signal. What an
/// excitation says of itself is read once, at construction; it must outlive this object.
///
/// For a sampled signal the Nyquist line counts once, so the rate is that of the samples'
/// trigonometric interpolation. A jump of the signal at an end of its support is not part of it.
class SignalRate {
 public:
  explicit SignalRate(const ExcitationFunction& excitation);

  double operator()(double t) const;

 private:
  struct Line {
    double omega;
    double sine;    ///< coefficient of sin(omega t) in the rate
    double cosine;  ///< coefficient of cos(omega t)
  };

  const ExcitationFunction& _excitation;
  std::vector<Line> _lines;
};

}  // namespace kestrel
