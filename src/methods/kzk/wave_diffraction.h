#pragma once

#include <algorithm>
#include <cmath>

#include "kestrel/compiler.h"
#include "kestrel/four_wide.h"
#include "methods/kzk/radial_operator.h"

/// The implicit diffraction step of waveforms, in single precision.
///
///   dp/dsigma = (1/4G) integral Lap_xi p dtheta
///
/// is solved sample after sample with trapezoid running integrals. Each sample is one tridiagonal
/// system over the radius, with the same matrix s A - t B. As it stands, this is parallel neither
/// over time nor over radius. So the radius is cut into `lanes` equal runs of nodes that are
/// eliminated side by side. A small dense product then gives the values at the ends of the runs,
/// by which they are coupled, and a last sweep adds the influence of these on each run. With one
/// lane this is the plain elimination.

namespace kestrel::kzk {

/// Elimination in `lanes` runs of `run` nodes: node j of lane l lies at [j * lanes + l].
template <int lanes>
struct Lanes {
  /// The factors of s A - t B from the rows of B, each run cut off from its neighbours. A = I + D B
  /// with D from `compact`.
  static void factor(double s, double t, const float* lo, const float* di, const float* up,
                     const float* compact, Index run, float* inverse, float* scaled_lo,
                     float* scaled_up) {
    for (int l = 0; l < lanes; ++l) {
      double last = 0.0;
      for (Index j = 0; j < run; ++j) {
        const Index i = j * lanes + l;
        const double share = s * compact[i] - t;
        const double sub = j > 0 ? share * lo[i] : 0.0;
        const double pivot = 1.0 / (s + share * di[i] - sub * last);
        last = j + 1 < run ? share * up[i] * pivot : 0.0;
        inverse[i] = static_cast<float>(pivot);
        scaled_lo[i] = static_cast<float>(sub * pivot);
        scaled_up[i] = static_cast<float>(last);
      }
    }
  }

  /// Solves the cut-off runs.
  static KESTREL_INLINE void solve(Index run, const float* KESTREL_RESTRICT inverse,
                                   const float* KESTREL_RESTRICT scaled_lo,
                                   const float* KESTREL_RESTRICT scaled_up, const float* rhs,
                                   float* KESTREL_RESTRICT x) {
    for (int l = 0; l < lanes; ++l) x[l] = rhs[l] * inverse[l];
    for (Index j = 1; j < run; ++j) {
      const Index at = j * lanes;
      KESTREL_LANES
      for (int l = 0; l < lanes; ++l) {
        x[at + l] = rhs[at + l] * inverse[at + l] - scaled_lo[at + l] * x[at - lanes + l];
      }
    }
    substitute_back(run, scaled_up, x);
  }

  static KESTREL_INLINE void substitute_back(Index run, const float* KESTREL_RESTRICT scaled_up,
                                             float* KESTREL_RESTRICT x) {
    LaneArray<float, lanes>
        next;  // carried in registers: the way through memory takes twice as long
    for (int l = 0; l < lanes; ++l) next[l] = x[(run - 1) * lanes + l];
    for (Index j = run - 2; j >= 0; --j) {
      float* KESTREL_RESTRICT here = x + j * lanes;
      const float* KESTREL_RESTRICT up = scaled_up + j * lanes;
      KESTREL_WHOLE_LANES
      for (int l = 0; l < lanes; ++l) here[l] = next[l] = here[l] - up[l] * next[l];
    }
  }
};

/// One plane of waveforms, and the diffraction step on it. The storage order serves the vector
/// loops: sample i of node j lies at ((j % run) * stride + i) * lanes + j / run.
template <int lanes>
class WaveDiffraction {
 public:
  explicit WaveDiffraction(const RadialGrid& grid)
      : _run((grid.nodes + lanes - 1) / lanes),
        _lo(size()),
        _di(size()),
        _up(size()),
        _compact(size()),
        _inverse(size()),
        _scaled_lo(size()),
        _scaled_up(size()),
        _from_before(size()),
        _from_after(size()),
        _coupling(4 * lanes * lanes),
        _neighbours(2 * lanes),
        _old_integral(size()),
        _new_integral(size()),
        _source(size() + 2 * lanes),
        _x(size()) {
    // Places beyond the last node keep rows of zeros: their value stays the zero that it starts as.
    for (int j = 0; j < grid.nodes; ++j) {
      const RadialRow row = radial_row(j);
      const int i = place(j);
      _lo[i] = static_cast<float>(row.sub);
      _di[i] = static_cast<float>(row.diag);
      _up[i] = j + 1 < grid.nodes ? static_cast<float>(row.super) : 0.0f;
      _compact[i] = static_cast<float>(row.compact);
    }
    _axis_compact = static_cast<float>(radial_row(0).compact - 1.0 / 12.0);
  }

  int run() const { return _run; }
  int size() const { return _run * lanes; }
  /// The place of node j within one sample.
  int place(int j) const { return j % _run * lanes + j / _run; }

  /// Prepares steps with kappa = ds diffraction / step^2; theta 1 is backward Euler.
  void prepare(double kappa, double theta, double dtheta) {
    if (kappa == _kappa && theta == _theta) return;
    _kappa = kappa;
    _theta = theta;
    const double t = kappa * theta * 0.5 * dtheta;
    Lanes<lanes>::factor(1.0, t, _lo.data(), _di.data(), _up.data(), _compact.data(), _run,
                         _inverse.data(), _scaled_lo.data(), _scaled_up.data());
    if constexpr (lanes > 1) couple(t);
  }

  /// The step on `samples` samples; `layer` is multiplied into the new field.
  KESTREL_INLINE void advance(double dtheta, const float* layer, float* wave, Index samples,
                              Index stride) {
    std::fill(_old_integral.begin(), _old_integral.end(), 0.0f);
    std::fill(_new_integral.begin(), _new_integral.end(), 0.0f);
    std::fill(_source.begin(), _source.end(), 0.0f);
    for (Index i = 0; i < samples; ++i) {
      float* sample = wave + i * lanes;
      accumulate(dtheta, sample, stride);
      join_runs();
      eliminate(sample, stride);
      update(dtheta, layer, sample, stride);
    }
  }

 private:
  /// First step of a sample: what B acts on. These are the integrals, of the old field up to this
  /// sample and of the new one as far as it is known, and the compact scheme's share of the field.
  /// Both integrals are kept as the part that the next sample's trapezoid starts from.
  KESTREL_INLINE void accumulate(double dtheta, const float* sample, Index stride) {
    const auto kappa = static_cast<float>(_kappa);
    const auto theta = static_cast<float>(_theta);
    const auto full = static_cast<float>(dtheta);
    const auto half = static_cast<float>(0.5 * dtheta);
    constexpr auto kCompact = static_cast<float>(1.0 / 12.0);
    float* KESTREL_RESTRICT old_integral = _old_integral.data();
    const float* KESTREL_RESTRICT new_integral = _new_integral.data();
    float* KESTREL_RESTRICT source = _source.data() + lanes;
    for (Index j = 0; j < _run; ++j) {
      const float* KESTREL_RESTRICT now = sample + j * stride * lanes;
      const Index at = j * lanes;
      KESTREL_LANES
      for (int l = 0; l < lanes; ++l) {
        const float old_now = old_integral[at + l] + half * now[l];
        old_integral[at + l] += full * now[l];
        source[at + l] =
            kCompact * now[l] + kappa * (theta * new_integral[at + l] + (1.0f - theta) * old_now);
      }
    }
  }

  /// Second step: puts the end of each run beside the start of the next, in the rows of guard
  /// places before and after the source.
  KESTREL_INLINE void join_runs() {
    float* source = _source.data() + lanes;
    for (int l = 1; l < lanes; ++l) {
      source[l - lanes] = source[size() - lanes + l - 1];
      source[size() + l - 1] = source[l];
    }
  }

  /// Third step: the right side, and its elimination in the cut-off runs.
  KESTREL_INLINE void eliminate(const float* sample, Index stride) {
    const float* KESTREL_RESTRICT lo = _lo.data();
    const float* KESTREL_RESTRICT di = _di.data();
    const float* KESTREL_RESTRICT up = _up.data();
    const float* KESTREL_RESTRICT inverse = _inverse.data();
    const float* KESTREL_RESTRICT scaled_lo = _scaled_lo.data();
    const float* KESTREL_RESTRICT source = _source.data() + lanes;
    float* KESTREL_RESTRICT x = _x.data();
    const auto right_side = [&](Index j, int l) KESTREL_INLINE_LAMBDA {
      const Index at = j * lanes + l;
      return sample[j * stride * lanes + l] +
             (lo[at] * source[at - lanes] + di[at] * source[at] + up[at] * source[at + lanes]);
    };
    // The compact scheme's share is 1/16 on the axis, 1/12 elsewhere.
    const Index beside = place(1);
    const float axis =
        _axis_compact *
        (di[0] * sample[0] +
         up[0] * (size() > 1 ? sample[beside / lanes * stride * lanes + beside % lanes] : 0.0f));
    LaneArray<float, lanes> last;
    KESTREL_WHOLE_LANES
    for (int l = 0; l < lanes; ++l) x[l] = last[l] = right_side(0, l) * inverse[l];
    x[0] = last[0] += axis * inverse[0];
    for (Index j = 1; j < _run; ++j) {
      const Index at = j * lanes;
      KESTREL_WHOLE_LANES
      for (int l = 0; l < lanes; ++l) {
        x[at + l] = last[l] = right_side(j, l) * inverse[at + l] - scaled_lo[at + l] * last[l];
      }
    }
    Lanes<lanes>::substitute_back(_run, _scaled_up.data(), x);
  }

  /// Fourth step: adds what the runs do to each other, which gives the new field and its integral.
  KESTREL_INLINE void update(double dtheta, const float* KESTREL_RESTRICT layer, float* sample,
                             Index stride) {
    if constexpr (lanes > 1) find_neighbours();
    const auto full = static_cast<float>(dtheta);
    const float* KESTREL_RESTRICT x = _x.data();
    const float* KESTREL_RESTRICT from_before = _from_before.data();
    const float* KESTREL_RESTRICT from_after = _from_after.data();
    const float* KESTREL_RESTRICT after = _neighbours.data();
    const float* KESTREL_RESTRICT before = _neighbours.data() + lanes;
    float* KESTREL_RESTRICT new_integral = _new_integral.data();
    for (Index j = 0; j < _run; ++j) {
      float* KESTREL_RESTRICT now = sample + j * stride * lanes;
      const Index at = j * lanes;
      KESTREL_LANES
      for (int l = 0; l < lanes; ++l) {
        const float fresh =
            x[at + l] - from_after[at + l] * after[l] - from_before[at + l] * before[l];
        new_integral[at + l] += full * fresh;
        now[l] = layer[at + l] * fresh;
      }
    }
  }

  /// The first value of the next run and the last one of the previous, for every run, from the
  /// first and last values that the runs have when cut off.
  KESTREL_INLINE void find_neighbours() {
    const float* first = _x.data();
    const float* last = first + size() - lanes;
    LaneArray<float, 2 * lanes> sum = {};
    for (int k = 0; k < lanes; k += 2) {
      const float* KESTREL_RESTRICT a = _coupling.data() + 2 * lanes * k;
      const float* KESTREL_RESTRICT b = a + 2 * lanes;
      const float* KESTREL_RESTRICT c = a + 2 * lanes * lanes;
      const float* KESTREL_RESTRICT d = b + 2 * lanes * lanes;
      const float first_a = first[k], first_b = first[k + 1];
      const float last_a = last[k], last_b = last[k + 1];
      KESTREL_WHOLE_LANES
      for (int l = 0; l < 2 * lanes; ++l) {
        sum[l] += (a[l] * first_a + b[l] * first_b) + (c[l] * last_a + d[l] * last_b);
      }
    }
    std::copy_n(sum, 2 * lanes, _neighbours.data());
  }

  // ---- the coupling of the runs, once per step size

  static constexpr int kEnds = 2 * lanes;  // first values of all runs, then last values
  using Square = Buffer<double>;           // kEnds x kEnds

  void couple(double t) {
    const int end = size() - lanes;
    find_influence(t, end, _up, _from_after);
    find_influence(t, 0, _lo, _from_before);
    const Square inverse = inverted(end_equations(end));
    for (int k = 0; k < kEnds; ++k) {
      const auto weight = [&](int row) { return static_cast<float>(inverse[row * kEnds + k]); };
      for (int l = 0; l < lanes; ++l) {
        _coupling[k * kEnds + l] = l + 1 < lanes ? weight(l + 1) : 0.0f;
        _coupling[k * kEnds + lanes + l] = l > 0 ? weight(lanes + l - 1) : 0.0f;
      }
    }
  }

  /// The answer of each cut-off run to a neighbour of value 1, which enters by the matrix element
  /// in `band` of the row at `from`.
  void find_influence(double t, int from, const Buffer<float>& band, Buffer<float>& influence) {
    Buffer<float> unit(size());
    for (int i = from; i < from + lanes; ++i) {
      unit[i] = static_cast<float>((_compact[i] - t) * band[i]);
    }
    Lanes<lanes>::solve(_run, _inverse.data(), _scaled_lo.data(), _scaled_up.data(), unit.data(),
                        influence.data());
  }

  /// The equations for the values at the ends of the runs,
  ///   first_l + from_after first_{l+1} + from_before last_{l-1} = cut-off first_l,
  /// and likewise for the last values, which lie at `end`.
  Square end_equations(int end) const {
    Square matrix(kEnds * kEnds);
    for (int l = 0; l < lanes; ++l) {
      for (const int part : {0, 1}) {
        const int row = part * lanes + l;
        const int at = part * end + l;
        matrix[row * kEnds + row] = 1.0;
        if (l + 1 < lanes) matrix[row * kEnds + l + 1] += _from_after[at];
        if (l > 0) matrix[row * kEnds + lanes + l - 1] += _from_before[at];
      }
    }
    return matrix;
  }

  /// By Gauss-Jordan without pivoting: the matrix is strongly diagonal.
  static Square inverted(Square matrix) {
    Square inverse(kEnds * kEnds);
    for (int p = 0; p < kEnds; ++p) inverse[p * kEnds + p] = 1.0;
    for (int p = 0; p < kEnds; ++p) {
      const double pivot = 1.0 / matrix[p * kEnds + p];
      for (int k = 0; k < kEnds; ++k) {
        matrix[p * kEnds + k] *= pivot;
        inverse[p * kEnds + k] *= pivot;
      }
      for (int r = 0; r < kEnds; ++r) {
        const double factor = matrix[r * kEnds + p];
        if (r == p || factor == 0.0) continue;
        for (int k = 0; k < kEnds; ++k) {
          matrix[r * kEnds + k] -= factor * matrix[p * kEnds + k];
          inverse[r * kEnds + k] -= factor * inverse[p * kEnds + k];
        }
      }
    }
    return inverse;
  }

  int _run;
  double _kappa = -1;
  double _theta = -1;
  float _axis_compact;
  // All by place.
  Buffer<float> _lo, _di, _up, _compact;
  Buffer<float> _inverse, _scaled_lo, _scaled_up;
  Buffer<float> _from_before, _from_after;
  Buffer<float> _coupling, _neighbours;
  Buffer<float> _old_integral, _new_integral;
  Buffer<float> _source;  // between two rows of guard places
  Buffer<float> _x;
};

}  // namespace kestrel::kzk
