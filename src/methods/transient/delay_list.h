#pragma once

#include <cstddef>
#include <limits>
#include <vector>

namespace kestrel {

/// The transient pressure of one observation point as a sum of delayed copies of the signal,
///
///     p(t) = sum over n of weight[n] * v(t - delay[n]).
///
/// It is the fast nearfield expression with the phase e^{-jkR} replaced by the delay R/c: one entry
/// per node of the edge integrals, and one for the direct path. No derivative of the signal is
/// involved. Every edge entry stands against the direct path, so the weights add up to zero.
///
/// The entries form runs; within a run delays do not fall.
class DelayList {
 public:
  static constexpr int max_runs = 9;

  DelayList() = default;
  explicit DelayList(int capacity) : _delay(capacity), _weight(capacity) {}

  void clear() { _runs = 0; }
  /// Opens a run of n entries, to be filled by the caller; returns the index of its first one.
  int add_run(int n) {
    const int first = size();
    _end[_runs++] = first + n;
    return first;
  }

  int runs() const { return _runs; }
  int begin(int run) const { return run == 0 ? 0 : _end[run - 1]; }
  int end(int run) const { return _end[run]; }
  int size() const { return _runs == 0 ? 0 : _end[_runs - 1]; }

  double* delay() { return _delay.data(); }
  double* weight() { return _weight.data(); }
  const double* delay() const { return _delay.data(); }
  const double* weight() const { return _weight.data(); }

 private:
  std::vector<double> _delay, _weight;
  int _runs = 0;
  int _end[max_runs] = {};
};

/// How a source is heard at one point.
enum class Hearing {
  skipped,   ///< behind the source: nothing is computed
  by_list,   ///< by its delay list
  at_focus,  ///< in the centre of curvature, where all delays are one
};

/// An element's delay lists, point by point, in the element's own frame. Built once per call from
/// the quadrature rule; any thread may use it.
class DelaySource {
 public:
  virtual ~DelaySource() = default;

  virtual Hearing hearing(double x, double y, double z) const = 0;
  /// Replaces the entries of `list`, which has room for `capacity()` of them.
  virtual void list(double x, double y, double z, DelayList& list) const = 0;
  virtual int capacity() const = 0;
  virtual int longest_run() const = 0;

  /// Pressure in the focus: focal_gain() * dv/dt(t - focal_delay()), in Pa per m/s^2.
  virtual double focal_gain() const { return 0; }
  virtual double focal_delay() const { return 0; }
  /// Distance to the focus, metres; infinite for flat sources.
  virtual double distance_to_focus(double /*x*/, double /*y*/, double /*z*/) const {
    return std::numeric_limits<double>::infinity();
  }
};

}  // namespace kestrel
