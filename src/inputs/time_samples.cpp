#include <algorithm>
#include <limits>
#include <utility>

#include "inputs/sample_count.h"
#include "kestrel/error.h"
#include "kestrel/services.h"
#include "kestrel/time_axis.h"

namespace kestrel {

namespace {

/// The messages speak of deltat, tmin and tmax for both axes.
void check_range(double interval, double lower, double upper) {
  if (0 > interval) {
    services::print("Input value of deltat is %g\n", interval);
    fail("deltat must be greater or equal to 0.\n");
  }
  if (0 > upper - lower) {
    services::print("Input value of tmax - tmin is %g\n", upper - lower);
    fail("tmax - tmin must be greater than or equal to 0.\n");
  }
}

/// Number of samples from the whole steps between the bounds; below 1 when it cannot be held.
int count_from_steps(double interval, double lower, double upper) {
  const int steps = whole_steps(lower, upper, interval);
  constexpr int most = std::numeric_limits<int>::max();
  return steps == most ? std::numeric_limits<int>::min() : steps + 1;
}

int sample_count(double interval, double lower, double upper) {
  return single_value(lower, upper, interval) ? 1 : count_from_steps(interval, lower, upper);
}

[[noreturn]] void fail_for_count(int printed) {
  services::print("Illegal number of time samples %d\n", printed);
  fail(
      "Computed number of time samples is less than 1.\n  Check values of tmin, tmax, and "
      "deltat.\n");
}

/// Room for `count` samples and the zero that follows them.
services::Array<double> room_for(int count) {
  return services::Array<double>(static_cast<std::size_t>(count) + 1);
}

void fill(services::Array<double>& values, int count, double interval, double lower) {
  for (int i = 0; i < count; ++i) {
    values[static_cast<std::size_t>(i)] = static_cast<double>(i) * interval + lower;
  }
}

}  // namespace

TimeSamples::TimeSamples(double deltat, double tmin, double tmax) {
  generatetimevectorfromminmaxdeltat(deltat, tmin, tmax);
}

bool TimeSamples::generatetimevectorfromminmaxdeltat(double deltat, double tmin, double tmax) {
  check_range(deltat, tmin, tmax);
  const int count = sample_count(deltat, tmin, tmax);
  if (count < 1) fail_for_count(count);
  services::Array<double> values = room_for(count);
  fill(values, count, deltat, tmin);

  _nt = count;
  _time_values = std::move(values);
  _tmin = tmin;
  _tmax = tmax;
  _deltat = deltat;
  return true;
}

bool TimeSamples::updatetimevectorfromminmaxdeltat(double deltat, double tmin, double tmax) {
  check_range(deltat, tmin, tmax);
  const int count = sample_count(deltat, tmin, tmax);
  if (count < 1) fail_for_count(_nt);  // the size of the axis that would be updated
  if (_nt < count) {
    services::print(
        "The generated time vector is too small for an update with the provided tmin, tmax, and "
        "deltat values.\n");
    fail(
        "Out of bounds error. Either generate a larger time vector, or generate, not update a time "
        "vector. \n");
  }
  services::print("nt: %d\n", _nt);
  services::print("nt_local: %d\n", count);

  _nt_local = count;
  fill(_time_values, count, deltat, tmin);
  _tmin = tmin;
  _tmax = tmax;
  _deltat = deltat;
  return true;
}

bool TimeSamples::generatetauvectorfromminmaxdeltatau(double deltatau, double taumin,
                                                      double taumax) {
  check_range(deltatau, taumin, taumax);
  // The length comes from the time axis, so that every delay has its sample.
  const int count =
      single_value(taumin, taumax, deltatau) ? 1 : count_from_steps(_deltat, _tmin, _tmax);
  // An explicit list of times has no interval: its count cannot be computed.
  if (_nt < 1 || count < 1) fail_for_count(count);
  services::Array<double> values = room_for(count);
  fill(values, count, deltatau, taumin);

  _ntau = count;
  _tau_values = std::move(values);
  _taumin = taumin;
  _taumax = taumax;
  _deltatau = deltatau;
  return true;
}

bool TimeSamples::vectoroftimevalues(double const* values, int count) {
  if (count < 0) fail("The number of time samples in the list is %d.\n", count);
  services::Array<double> times = room_for(count);
  double tmin = count > 0 ? values[0] : 0.0;
  double tmax = tmin;
  for (int i = 0; i < count; ++i) {
    double& time = times[static_cast<std::size_t>(i)];
    time = values[i];
    tmin = std::min(time, tmin);
    tmax = std::max(tmax, time);
    services::print("%i: %e, %e, %e => %e\n", i, tmin, tmax, values[i], time);
  }

  _nt = count;
  _time_values = std::move(times);
  _tmin = tmin;
  _tmax = tmax;
  _deltat = 0.0;
  return true;
}

}  // namespace kestrel
