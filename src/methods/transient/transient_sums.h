#pragma once

/// The ways of summing a list of delays. Each has
///
/// - `Scalar`, of its trace;
/// - a constructor (excitation, source, samples), which has all tables for such inputs;
/// - `int begin(const RisingTimes&, const ElementInputs&)`, once per call: the number of passes;
/// - `void start_pass(int pass)`, before each walk over the points;
/// - `void add(const DelayList&, Scalar* trace)`, for one point.
///
/// What is summed is the excitation that the element has when `begin` is called; only the number of
/// its terms must be that of the excitation for which the tables were made.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

#include "kestrel/excitation.h"
#include "methods/common/element_inputs.h"
#include "methods/transient/active_window.h"
#include "methods/transient/delay_list.h"
#include "methods/transient/prefix_sums.h"
#include "numerics/run_kernel.h"

namespace kestrel::detail {

enum ExcitationType { kSampled = 0, kTone = 1, kHanning = 2, kTCubed = 3 };

/// The excitation's own test where its kind is known. One of another kind gets the wider test, and
/// its `at` decides for itself.
inline Support support_of(const ExcitationFunction& excitation) {
  const int type = excitation.get_type();
  const bool open = type == kTone || type == kHanning || type == kTCubed;
  return {excitation.get_pulse_width(), !open};
}

/// The signal itself at every delay and sample.
class DirectSum {
 public:
  using Scalar = double;

  DirectSum(const ExcitationFunction& /*excitation*/, const DelaySource& /*source*/,
            int /*samples*/) {}

  int begin(const RisingTimes& times, const ElementInputs& in) {
    _times = &times;
    _excitation = in.excitation;
    _support = support_of(*_excitation);
    return 1;
  }
  void start_pass(int /*pass*/) {}

  void add(const DelayList& list, double* trace) const {
    const RisingTimes& times = *_times;
    for (int run = 0; run < list.runs(); ++run) {
      int first = 0;
      for (int n = list.begin(run); n < list.end(run); ++n) {
        const double delay = list.delay()[n], weight = list.weight()[n];
        while (first < times.count() && !_support.entered(times[first] - delay)) ++first;
        for (int i = first; i < times.count() && !_support.left(times[i] - delay); ++i) {
          trace[i] += weight * _excitation->at(times[i] - delay);
        }
      }
    }
  }

 private:
  const ExcitationFunction* _excitation = nullptr;
  Support _support;
  const RisingTimes* _times = nullptr;
};

/// Terms in double precision: those whose products are the signal itself.
class ExactTerms {
 public:
  using Scalar = double;

  ExactTerms(const ExcitationFunction& excitation, int /*samples*/) { bind(excitation); }
  void bind(const ExcitationFunction& excitation) { _excitation = &excitation; }

  int count() const { return _excitation->number_of_exact_terms(); }
  int row() const { return padded_terms<double>(count()); }
  /// Longest block in pulse widths. The t-cubed pulse's terms hold e^{B tau} and the powers of tau,
  /// and lose digits with the cube of the distance from the block's middle.
  double block_widths() const {
    return _excitation->get_type() == kTCubed ? 4 : std::numeric_limits<double>::infinity();
  }
  double representable_time_origin(double reference, double /*delay*/) const { return reference; }

  void spatial(double* out, const double* tau, int n, double reference) const {
    _excitation->exact_spatial_terms(out, tau, n, reference);
  }
  /// `rows` gets one row per sample of [first, last).
  void temporal(double* rows, const RisingTimes& times, const ElementInputs& /*in*/, int first,
                int last, double reference) const {
    write_rows(rows, times, first, last, reference, row());
  }

  /// Goes through the samples a few at a time: the excitation's terms come term by term.
  template <class Scalar>
  void write_rows(Scalar* rows, const RisingTimes& times, int first, int last, double reference,
                  int row) const {
    constexpr int few = 32;
    std::vector<double> terms(std::size_t(count()) * few);
    for (int start = first; start < last; start += few) {
      const int n = std::min(few, last - start);
      _excitation->exact_temporal_terms(terms.data(), times.data() + start, n, reference);
      for (int i = 0; i < n; ++i, rows += row) {
        for (int k = 0; k < count(); ++k) {
          rows[k] = static_cast<Scalar>(terms[std::size_t(k) * n + i]);
        }
        std::fill(rows + count(), rows + row, Scalar{0});
      }
    }
  }

 private:
  const ExcitationFunction* _excitation;
};

/// Terms of the excitation's single-precision interface, one delay at a time.
class LowPrecisionTerms {
 public:
  using Scalar = float;

  LowPrecisionTerms(const ExcitationFunction& excitation, int samples) {
    bind(excitation);
    _scratch.resize(std::size_t(count()) * samples);
  }
  void bind(const ExcitationFunction& excitation) {
    _excitation = &excitation;
    // The Hanning pulse's terms carry its amplitude twice; silence stays silent.
    const double a0 = excitation.get_A0();
    _scale = excitation.get_type() != kHanning ? 1 : a0 == 0 ? 0 : 1 / a0;
  }

  int count() const { return _excitation->number_of_tsd_terms(); }
  int row() const { return padded_terms<float>(count()); }
  double block_widths() const { return _excitation->get_type() == kTCubed ? 1 : 8; }
  /// v(t - d) is expanded in products f(t) g(d). Both factors count from the same time rounded to
  /// float, or its rounding would not cancel.
  double representable_time_origin(double reference, double delay) const {
    return static_cast<double>(static_cast<float>(delay + reference)) - delay;
  }

  void spatial(float* out, const double* tau, int n, double reference) const {
    float terms[8];
    for (int i = 0; i < n; ++i) {
      _excitation->spatial_tsd(terms, static_cast<float>(tau[i] - reference));
      for (int k = 0; k < count(); ++k) out[std::size_t(k) * n + i] = terms[k];
    }
  }
  void temporal(float* rows, const RisingTimes& times, const ElementInputs& in, int first, int last,
                double reference) {
    const TimeSamples& axis = *in.time;
    const int nt = axis.nt();
    _excitation->temporal_tsd(_scratch.data(), &axis, nt,
                              static_cast<float>(reference + in.time_delay));
    for (int i = first; i < last; ++i) {
      float* at = rows + std::size_t(i - first) * row();
      for (int k = 0; k < count(); ++k) {
        at[k] = static_cast<float>(_scale * _scratch[std::size_t(k) * nt + times.axis_index(i)]);
      }
      std::fill(at + count(), at + row(), 0.0F);
    }
  }

 private:
  const ExcitationFunction* _excitation;
  double _scale = 1;
  std::vector<float> _scratch;  ///< terms of the whole axis
};

/// Spatial terms four delays at a time by the four-wide kernels, temporal ones rounded from double.
class FourWideTerms {
 public:
  using Scalar = float;

  FourWideTerms(const ExcitationFunction& excitation, int samples) : _exact(excitation, samples) {
    bind(excitation);
  }
  void bind(const ExcitationFunction& excitation) {
    _excitation = &excitation;
    _exact.bind(excitation);
  }

  int count() const { return _exact.count(); }
  int row() const { return padded_terms<float>(count()); }
  double block_widths() const { return _excitation->get_type() == kTCubed ? 1 : 8; }
  double representable_time_origin(double reference, double /*delay*/) const { return reference; }

  void spatial(float* out, const double* tau, int n, double reference) const {
    _excitation->four_wide_spatial_terms(out, tau, n, reference);
  }
  void temporal(float* rows, const RisingTimes& times, const ElementInputs& /*in*/, int first,
                int last, double reference) const {
    _exact.write_rows(rows, times, first, last, reference, row());
  }

 private:
  const ExcitationFunction* _excitation;
  ExactTerms _exact;
};

/// Time-space decomposition. The delays that sound at a sample are a window of each run, and their
/// sum is sum_k T_k(t) * (C_k[high] - C_k[low]), C_k the cumulative sums of weight * S_k(delay). An
/// empty window gives exactly zero, and a pulse shorter than the sampling step needs no extra care.
///
/// The samples are cut into blocks, and the terms count from a block's middle. A time axis too long
/// for the table of temporal terms is walked in several passes over the points.
template <class Terms>
class DecomposedSum {
 public:
  using Scalar = typename Terms::Scalar;

  DecomposedSum(const ExcitationFunction& excitation, const DelaySource& source, int samples)
      : _terms(excitation, samples),
        _row(_terms.row()),
        _table_samples(
            samples_within(kTableBytes / (std::max(_row, 1) * sizeof(Scalar)), samples)) {
    const std::size_t run = source.longest_run() + lane_group;
    _time_rows.resize(std::size_t(_table_samples) * _row);
    _spatial.resize(run * _terms.count());
    _cumulative.resize((run + 1) * _row);
    _blocks.reserve(samples);
    _passes.reserve(samples);
  }

  /// Delays are processed in groups of so many; lists have room for one more group, so that the
  /// last one may overrun.
  static constexpr int lane_group = 4;

  int begin(const RisingTimes& times, const ElementInputs& in) {
    _times = &times;
    _inputs = &in;
    _support = support_of(*in.excitation);
    _terms.bind(*in.excitation);
    cut_into_blocks();
    _passes.clear();
    for (int b = 0; b < static_cast<int>(_blocks.size()); ++b) {
      const bool fits = !_passes.empty() &&
                        _blocks[b].last - _blocks[_passes.back().first].first <= _table_samples;
      if (!fits) _passes.push_back({b, b});
      _passes.back().last = b + 1;
    }
    return static_cast<int>(_passes.size());
  }

  void start_pass(int pass) {
    _pass = _passes[pass];
    _first_sample = _blocks[_pass.first].first;
    for (int b = _pass.first; b < _pass.last; ++b) {
      const Block& block = _blocks[b];
      _terms.temporal(_time_rows.data() + std::size_t(block.first - _first_sample) * _row, *_times,
                      *_inputs, block.first, block.last, block.reference);
    }
  }

  void add(const DelayList& list, Scalar* trace) {
    const InstructionSet set = instruction_set();
    for (int run = 0; run < list.runs(); ++run) {
      const double* delay = list.delay() + list.begin(run);
      const double* weight = list.weight() + list.begin(run);
      const int n = list.end(run) - list.begin(run);
      if (n == 0) continue;
      for (int b = first_block(delay[0]); b < _pass.last; ++b) {
        const Block& block = _blocks[b];
        // The delays that sound within this block. No others are evaluated, which also bounds the
        // exponents of their terms.
        const double opening = (*_times)[block.first], closing = (*_times)[block.last - 1];
        const int low = leading(delay, n, [&](double d) { return _support.left(opening - d); });
        if (low == n) break;
        const int high = leading(delay, n, [&](double d) { return _support.entered(closing - d); });
        if (high <= low) continue;
        accumulate(delay + low, weight + low, high - low, block.reference);
        WindowSum<Scalar> window;
        window.delay = delay + low;
        window.n = high - low;
        window.cumulative = _cumulative.data();
        window.time = _times->data();
        window.first = _times->first_entered(_support, delay[low], block.first, block.last);
        window.last = block.last;
        window.time_terms = _time_rows.data();
        window.first_row = _first_sample;
        window.terms = _row;
        window.support = _support;
        window.trace = trace;
        run_kernel(set, window);
      }
    }
  }

 private:
  struct Block {
    int first, last;   ///< rising samples
    double reference;  ///< its middle
  };
  struct Pass {
    int first, last;  ///< blocks
  };
  static constexpr std::size_t kTableBytes = std::size_t{64} << 20;

  static int samples_within(std::size_t limit, int samples) {
    return static_cast<int>(
        std::clamp<std::size_t>(limit, 1, static_cast<std::size_t>(std::max(samples, 1))));
  }

  void cut_into_blocks() {
    const RisingTimes& times = *_times;
    const double span = _support.width > 0 ? _terms.block_widths() * _support.width
                                           : std::numeric_limits<double>::infinity();
    _blocks.clear();
    for (int first = 0, last = 0; first < times.count(); first = last) {
      const int most = std::min(times.count(), first + _table_samples);
      const double* begin = times.data();
      last = static_cast<int>(std::upper_bound(begin + first, begin + most, times[first] + span) -
                              begin);
      last = std::max(last, first + 1);
      const double middle = (times[first] + times[last - 1]) / 2;
      _blocks.push_back(
          {first, last, _terms.representable_time_origin(middle, _inputs->time_delay)});
    }
  }

  /// The first block of the pass by whose end a copy with this delay has begun.
  int first_block(double delay) const {
    const auto begin = _blocks.begin() + _pass.first, end = _blocks.begin() + _pass.last;
    const auto first = std::partition_point(begin, end, [&](const Block& block) {
      return !_support.entered((*_times)[block.last - 1] - delay);
    });
    return static_cast<int>(first - _blocks.begin());
  }

  /// How many leading delays satisfy a condition that no later one does.
  template <class Condition>
  static int leading(const double* delay, int n, Condition condition) {
    return static_cast<int>(std::partition_point(delay, delay + n, condition) - delay);
  }

  void accumulate(const double* delay, const double* weight, int n, double reference) {
    const int padded = (n + lane_group - 1) / lane_group * lane_group;
    _terms.spatial(_spatial.data(), delay, padded, reference);
    const int count = _terms.count();
    Scalar* sum = _cumulative.data();
    std::fill(sum, sum + _row, Scalar{0});
    for (int i = 0; i < n; ++i, sum += _row) {
      const auto w = static_cast<Scalar>(weight[i]);
      const Scalar* term = _spatial.data() + i;
      for (int k = 0; k < count; ++k) sum[_row + k] = sum[k] + w * term[std::size_t(k) * padded];
      for (int k = count; k < _row; ++k) sum[_row + k] = 0;
    }
  }

  Support _support;
  Terms _terms;
  int _row;
  int _table_samples;
  const RisingTimes* _times = nullptr;
  const ElementInputs* _inputs = nullptr;
  std::vector<Block> _blocks;
  std::vector<Pass> _passes;
  Pass _pass{0, 0};
  int _first_sample = 0;
  std::vector<Scalar> _time_rows, _spatial, _cumulative;
};

}  // namespace kestrel::detail
