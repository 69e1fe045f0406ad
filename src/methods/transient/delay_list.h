#pragma once

#include <cmath>
#include <limits>
#include <vector>

#include "kestrel/compiler.h"
#include "numerics/run_kernel.h"

namespace kestrel {

/// The transient pressure of one observation point as a sum of delayed copies of the signal,
///
///     p(t) = sum over n of weight[n] * v(t - delay[n]).
///
/// It is the fast nearfield expression with the phase e^{-jkR} replaced by the delay R/c: one entry
/// per node of the edge integrals, and one for the direct path. No derivative of the signal is
/// involved. Each edge term contributes its weight at the edge's delay and minus that weight at the
/// direct delay; hence the weights of a list add up to zero.
///
/// The entries form runs; within a run delays do not fall.
class DelayList {
 public:
  static constexpr int max_runs = 9;

  DelayList() = default;
  explicit DelayList(int capacity) : _delay(capacity), _weight(capacity) {}

  void clear() { _runs = 0; }
  /// Opens a run of n entries, yet to be filled; returns the index of its first one.
  int add_run(int n) {
    const int first = size();
    _end[_runs++] = first + n;
    return first;
  }

  /// An entry whose delay is the path's length over the speed of sound.
  struct Entry {
    double path_squared, weight;
  };
  /// Fills n entries from `first` on with entry(0), entry(1) ...
  template <class EntryOf>
  void fill(int first, int n, double soundspeed, const EntryOf& entry) {
    run_kernel(instruction_set(),
               Fill<EntryOf>{entry, n, soundspeed, _delay.data() + first, _weight.data() + first});
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
  template <class EntryOf>
  struct Fill {
    EntryOf entry;
    int n;
    double soundspeed;
    double* delay;
    double* weight;

    template <class Math>
    KESTREL_INLINE void operator()(Math) const {
      const Fill own = *this;  // so that no store can reach what the entries are made from
      KESTREL_LANES
      for (int j = 0; j < own.n; ++j) {
        const Entry e = own.entry(j);
        own.delay[j] = std::sqrt(e.path_squared) / own.soundspeed;
        own.weight[j] = e.weight;
      }
    }
  };

  std::vector<double> _delay, _weight;
  int _runs = 0;
  int _end[max_runs] = {};
};

/// How the field of a point is found.
enum class PointCase {
  skipped,      ///< not at all: on the side of the source that is not asked for
  general,      ///< from its delay list
  focal_point,  ///< in closed form: in the centre of curvature all delays are one
};

/// An element's delay lists, point by point, in the element's own frame. Built once per call from
/// the quadrature rule; any thread may use it.
class DelaySource {
 public:
  virtual ~DelaySource() = default;

  virtual PointCase point_case(double x, double y, double z) const = 0;
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
