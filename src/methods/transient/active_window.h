#pragma once

#include <algorithm>
#include <cmath>
#include <numeric>
#include <vector>

namespace kestrel {

/// Where an excitation may differ from zero: 0 < u < width, or 0 <= u <= width when closed. Every
/// method decides with these two tests which delays count at a sample.
struct Support {
  double width = 0;
  bool closed = false;

  bool entered(double u) const { return closed ? u >= 0 : u > 0; }
  bool left(double u) const { return closed ? !(u <= width) : !(u < width); }
};

/// The samples of a time axis, less the element's delay, in rising order. Times that are not
/// numbers come last, and `count` leaves them out.
class RisingTimes {
 public:
  /// Room for n samples, so that `assign` does not allocate.
  explicit RisingTimes(int n) {
    _value.reserve(n);
    _scratch.reserve(n);
    _order.reserve(n);
  }

  /// `time(i)` for i = 0 .. n-1.
  template <class Time>
  void assign(int n, Time time, double delay) {
    _value.resize(n);
    bool rising = true;
    for (int i = 0; i < n; ++i) {
      _value[i] = time(i) - delay;
      rising = rising && (i == 0 ? !std::isnan(_value[i]) : _value[i - 1] <= _value[i]);
    }
    _in_order = rising;
    _count = n;
    if (rising) return;
    _order.resize(n);
    _scratch.resize(n);
    std::iota(_order.begin(), _order.end(), 0);
    const auto last =
        std::partition(_order.begin(), _order.end(), [&](int i) { return !std::isnan(_value[i]); });
    _count = static_cast<int>(last - _order.begin());
    std::sort(_order.begin(), last, [&](int i, int j) { return _value[i] < _value[j]; });
    for (int i = 0; i < n; ++i) _scratch[i] = _value[_order[i]];
    _value.swap(_scratch);
  }

  int count() const { return _count; }
  const double* data() const { return _value.data(); }
  double operator[](int i) const { return _value[i]; }
  /// Index on the axis of rising sample i.
  int axis_index(int i) const { return _in_order ? i : _order[i]; }

  /// The first of the samples [first, last) for which a copy of the signal delayed by `delay` has
  /// begun.
  int first_entered(const Support& support, double delay, int first, int last) const {
    const double* begin = _value.data();
    return static_cast<int>(
        std::partition_point(begin + first, begin + last,
                             [&](double t) { return !support.entered(t - delay); }) -
        begin);
  }

  /// Brings a trace over rising times into the order of the axis. Times that are not numbers have a
  /// pressure of zero.
  template <class Sample>
  void put_in_axis_order(Sample* trace) {
    if (_in_order) return;
    std::copy(trace, trace + _count, _scratch.begin());
    std::fill(trace, trace + _value.size(), Sample{0});
    for (int i = 0; i < _count; ++i) trace[_order[i]] = static_cast<Sample>(_scratch[i]);
  }

 private:
  std::vector<double> _value, _scratch;
  std::vector<int> _order;
  int _count = 0;
  bool _in_order = true;
};

}  // namespace kestrel
