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

/// The samples of a time axis, less the element's delay, in rising order. Times that are not numbers
/// come last, and `count` leaves them out.
class RisingTimes {
 public:
  RisingTimes() = default;

  /// `time(i)` for i = 0 .. n-1. Allocates only when n exceeds what it held before.
  template <class Time>
  void assign(int n, Time time, double delay) {
    _value.resize(n);
    _count = 0;
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

  /// Writes a trace over rising times into the order of the axis; the entries of times that are not
  /// numbers become zero.
  template <class Sample>
  const Sample* in_axis_order(const Sample* trace, std::vector<Sample>& scratch) const {
    if (_in_order) return trace;
    std::fill(scratch.begin(), scratch.end(), Sample{0});
    for (int i = 0; i < _count; ++i) scratch[_order[i]] = trace[i];
    return scratch.data();
  }

 private:
  std::vector<double> _value, _scratch;
  std::vector<int> _order;
  int _count = 0;
  bool _in_order = true;
};

}  // namespace kestrel
