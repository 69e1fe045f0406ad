#pragma once

#include <cstddef>
#include <utility>

#include "kestrel/error.h"
#include "kestrel/services.h"

namespace kestrel {

/// The time axis of a transient calculation, and a second, independent axis of delays (tau) for the
/// time-space decomposition. All times in seconds.
///
/// Sample i is i * deltat + tmin, one product and one sum, never accumulated. Note the order of the
/// arguments everywhere: the interval first, then the lower and the upper bound.
///
/// An operation that fails throws kestrel::Error and leaves the axes as they were.
class TimeSamples {
 public:
  /// No samples.
  TimeSamples() = default;
  /// As `generatetimevectorfromminmaxdeltat`.
  TimeSamples(double deltat, double tmin, double tmax);
  TimeSamples(const TimeSamples&) = delete;
  TimeSamples& operator=(const TimeSamples&) = delete;
  /// What is moved from is as made by the default constructor.
  TimeSamples(TimeSamples&& other) noexcept { swap(other); }
  TimeSamples& operator=(TimeSamples&& other) noexcept {
    TimeSamples(std::move(other)).swap(*this);
    return *this;
  }

  /// Reads the structure made by `set_time_samples`: the field `time_samples` (an explicit list),
  /// or else `tmin`, `tmax` and `deltat`. Only the first entry of a structure array counts. Returns
  /// true.
  template <HostArray T>
  bool allocate_memory_and_set_values(T const** structure);

  /// Samples from tmin to tmax; one sample when the bounds are equal or deltat is zero. Fails for a
  /// negative interval or span and for more than 2147483647 samples. Returns true.
  bool generatetimevectorfromminmaxdeltat(double deltat, double tmin, double tmax);

  /// Writes another axis over the first nt_local() entries of the existing one, which must be long
  /// enough; nt() and the entries behind stay. Prints both counts. Returns true.
  bool updatetimevectorfromminmaxdeltat(double deltat, double tmin, double tmax);

  /// Delays from taumin on, in steps of deltatau. Their number is that of the time axis,
  /// (tmax - tmin) / deltat of the last generated or updated one, not (taumax - taumin) / deltatau:
  /// choose the same span and interval for both. One delay when the bounds are equal or deltatau is
  /// zero. Fails when there is no time axis or it was an explicit list. Returns true.
  bool generatetauvectorfromminmaxdeltatau(double deltatau, double taumin, double taumax);

  /// Takes an explicit list of times in any order. tmin and tmax become its bounds and deltat zero.
  /// Prints one line per sample. Fails when count is negative. Returns true.
  bool vectoroftimevalues(double const* values, int count);

  double tmin() const { return _tmin; }
  double tmax() const { return _tmax; }
  double deltat() const { return _deltat; }
  double taumin() const { return _taumin; }
  double taumax() const { return _taumax; }
  double deltatau() const { return _deltatau; }

  /// Number of samples held.
  int nt() const { return _nt; }
  /// Number of samples written by the last update.
  int nt_local() const { return _nt_local; }
  /// Number of delays held.
  int ntau() const { return _ntau; }

  /// Time i, or 0.0 when i is out of range (the index nt() included).
  double time_index_value(int i) const { return value(_time_values, _nt, i); }
  /// Delay j, or 0.0 when j is out of range (the index ntau() included).
  double tau_index_value(int j) const { return value(_tau_values, _ntau, j); }

 private:
  void swap(TimeSamples& other) noexcept {
    std::swap(_nt, other._nt);
    std::swap(_nt_local, other._nt_local);
    std::swap(_ntau, other._ntau);
    std::swap(_time_values, other._time_values);
    std::swap(_tau_values, other._tau_values);
    std::swap(_tmin, other._tmin);
    std::swap(_tmax, other._tmax);
    std::swap(_deltat, other._deltat);
    std::swap(_taumin, other._taumin);
    std::swap(_taumax, other._taumax);
    std::swap(_deltatau, other._deltatau);
  }

  /// The count itself passes as an index: every filled axis has a zero behind its last sample. An
  /// axis that was never filled has no entries at all.
  static double value(const services::Array<double>& values, int count, int i) {
    return i < 0 || i > count || values.empty() ? 0.0 : values[static_cast<std::size_t>(i)];
  }

  int _nt = 0;
  int _nt_local = 0;
  int _ntau = 0;
  services::Array<double> _time_values;
  services::Array<double> _tau_values;
  double _tmin = 0.0;
  double _tmax = 0.0;
  double _deltat = 0.0;
  double _taumin = 0.0;
  double _taumax = 0.0;
  double _deltatau = 0.0;
};

}  // namespace kestrel
