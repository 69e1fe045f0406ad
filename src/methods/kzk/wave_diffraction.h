#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "methods/kzk/diffraction_step.h"

/// The implicit diffraction step of waveforms, in single precision.
///
///   dp/dsigma = (1/4G) integral Lap_xi p dtheta
///
/// is solved sample after sample with trapezoid running integrals, each sample one tridiagonal
/// system with the same matrix s A - t B. Nothing in it is parallel over time or radius as it
/// stands. So the radius is cut into `lanes` equal runs of nodes that are eliminated side by side;
/// the few values by which the runs are coupled then follow from one small dense product, and a
/// last sweep adds their influence. With one lane this is the plain elimination.

namespace kestrel::kzk {

/// Where node j lies when the radius is cut into runs of `run` nodes: place (j % run), lane
/// (j / run).
template <int lanes>
struct Lanes {
  /// The factors of s A - t B from the rows of B, node j of lane l at [j * lanes + l], each run cut
  /// off from its neighbours. A = I + D B with D from `compact`.
  static void factor(double s, double t, const float* lo, const float* di, const float* up,
                     const float* compact, int run, float* inverse, float* scaled_lo,
                     float* scaled_up) {
    for (int l = 0; l < lanes; ++l) {
      double last = 0.0;
      for (int j = 0; j < run; ++j) {
        const int i = j * lanes + l;
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

  /// Solves the cut-off runs: `rhs(i)` is the right side at [i].
  template <class Rhs>
  static KESTREL_INLINE void solve(int run, const float* KESTREL_RESTRICT inverse,
                                   const float* KESTREL_RESTRICT scaled_lo,
                                   const float* KESTREL_RESTRICT scaled_up,
                                   float* KESTREL_RESTRICT x, const Rhs& rhs) {
    for (int l = 0; l < lanes; ++l) x[l] = rhs(l) * inverse[l];
    for (int j = 1; j < run; ++j) {
      const int at = j * lanes;
      KESTREL_LANES
      for (int l = 0; l < lanes; ++l)
        x[at + l] = rhs(at + l) * inverse[at + l] - scaled_lo[at + l] * x[at - lanes + l];
    }
    substitute_back(run, scaled_up, x);
  }

  static KESTREL_INLINE void substitute_back(int run, const float* KESTREL_RESTRICT scaled_up,
                                             float* KESTREL_RESTRICT x) {
    float next[lanes];  // carried in registers: the way through memory takes twice as long
    for (int l = 0; l < lanes; ++l) next[l] = x[(run - 1) * lanes + l];
    for (int j = run - 2; j >= 0; --j) {
      float* KESTREL_RESTRICT here = x + j * lanes;
      const float* KESTREL_RESTRICT up = scaled_up + j * lanes;
      KESTREL_WHOLE_LANES
      for (int l = 0; l < lanes; ++l) here[l] = next[l] = here[l] - up[l] * next[l];
    }
  }
};

/// Solves (s A - t B) x = rhs for one real column, with the rows of B in `lo`, `di`, `up`. The
/// factors are left in `gam` (nodes) and `inv` (2 * nodes); s = 0 reuses them.
inline void solve_column(float s, float t, const float* lo, const float* di, const float* up,
                         const float* rhs, float* x, float* gam, float* inv, int nodes) {
  if (s != 0.0f) {
    std::vector<float> compact(nodes);
    for (int j = 0; j < nodes; ++j) compact[j] = static_cast<float>(radial_row(j).compact);
    Lanes<1>::factor(s, t, lo, di, up, compact.data(), nodes, inv, inv + nodes, gam);
  }
  Lanes<1>::solve(nodes, inv, inv + nodes, gam, x, [rhs](int i) { return rhs[i]; });
}

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
        _reach(size() + 2 * lanes),
        _x(size() + lanes) {
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
  KESTREL_INLINE void advance(double dtheta, const float* layer, float* wave, long samples,
                              long stride) {
    const int run = _run;
    const auto kappa = static_cast<float>(_kappa);
    const auto theta = static_cast<float>(_theta);
    const auto full = static_cast<float>(dtheta);
    const auto half = static_cast<float>(0.5 * dtheta);
    constexpr auto compact = static_cast<float>(1.0 / 12.0);
    std::fill(_old_integral.begin(), _old_integral.end(), 0.0f);
    std::fill(_new_integral.begin(), _new_integral.end(), 0.0f);
    std::fill(_reach.begin(), _reach.end(), 0.0f);
    float* KESTREL_RESTRICT old_integral = _old_integral.data();
    float* KESTREL_RESTRICT new_integral = _new_integral.data();
    float* KESTREL_RESTRICT x = _x.data() + lanes;  // a row of zeros stands before the first
    float* KESTREL_RESTRICT reach = _reach.data() + lanes;
    const float* KESTREL_RESTRICT lo = _lo.data();
    const float* KESTREL_RESTRICT di = _di.data();
    const float* KESTREL_RESTRICT up = _up.data();
    const float* KESTREL_RESTRICT inverse = _inverse.data();
    const float* KESTREL_RESTRICT scaled_lo = _scaled_lo.data();
    const float* KESTREL_RESTRICT scaled_up = _scaled_up.data();
    const float* KESTREL_RESTRICT from_before = _from_before.data();
    const float* KESTREL_RESTRICT from_after = _from_after.data();
    for (long i = 0; i < samples; ++i) {
      float* KESTREL_RESTRICT sample = wave + i * lanes;
      // What B acts on: the integrals, of the old field up to this sample and of the new one as far
      // as it is known, and the compact scheme's share of the field. Both integrals are kept as the
      // part that the next sample's trapezoid starts from.
      for (int j = 0; j < run; ++j) {
        const float* now = sample + j * stride * lanes;
        const int at = j * lanes;
        KESTREL_LANES
        for (int l = 0; l < lanes; ++l) {
          const float old_now = old_integral[at + l] + half * now[l];
          old_integral[at + l] += full * now[l];
          reach[at + l] =
              compact * now[l] + kappa * (theta * new_integral[at + l] + (1.0f - theta) * old_now);
        }
      }
      // Each run's neighbours lie in the lanes beside it.
      for (int l = 1; l < lanes; ++l) {
        reach[l - lanes] = reach[size() - lanes + l - 1];
        reach[size() + l - 1] = reach[l];
      }
      // The axis row has a larger share, 1/16.
      const int beside = place(1);
      const float axis =
          _axis_compact *
          (di[0] * sample[0] +
           up[0] * (size() > 1 ? sample[beside / lanes * stride * lanes + beside % lanes] : 0.0f));
      const auto own = [&](int j, int l) KESTREL_INLINE_LAMBDA {
        const int at = j * lanes + l;
        return sample[j * stride * lanes + l] +
               (lo[at] * reach[at - lanes] + di[at] * reach[at] + up[at] * reach[at + lanes]);
      };
      float last[lanes];
      KESTREL_WHOLE_LANES
      for (int l = 0; l < lanes; ++l) x[l] = last[l] = own(0, l) * inverse[l];
      x[0] = last[0] += axis * inverse[0];
      for (int j = 1; j < run; ++j) {
        const int at = j * lanes;
        KESTREL_WHOLE_LANES
        for (int l = 0; l < lanes; ++l)
          x[at + l] = last[l] = own(j, l) * inverse[at + l] - scaled_lo[at + l] * last[l];
      }
      Lanes<lanes>::substitute_back(run, scaled_up, x);
      if constexpr (lanes > 1) neighbours(x);
      const float* KESTREL_RESTRICT after = _neighbours.data();
      const float* KESTREL_RESTRICT before = _neighbours.data() + lanes;
      for (int j = 0; j < run; ++j) {
        float* KESTREL_RESTRICT now = sample + j * stride * lanes;
        const int at = j * lanes;
        KESTREL_LANES
        for (int l = 0; l < lanes; ++l) {
          const float fresh =
              x[at + l] - from_after[at + l] * after[l] - from_before[at + l] * before[l];
          new_integral[at + l] += full * fresh;
          now[l] = layer[at + l] * fresh;
        }
      }
    }
  }

 private:
  /// The first value of the next run and the last one of the previous, for every run, from the
  /// first and last values that the runs have when cut off.
  KESTREL_INLINE void neighbours(const float* KESTREL_RESTRICT x) {
    const float* first = x;
    const float* last = x + size() - lanes;
    float sum[2 * lanes] = {};
    for (int k = 0; k < lanes; k += 2) {
      const float* KESTREL_RESTRICT a = _coupling.data() + 2 * lanes * k;
      const float* KESTREL_RESTRICT b = a + 2 * lanes;
      const float* KESTREL_RESTRICT c = a + 2 * lanes * lanes;
      const float* KESTREL_RESTRICT d = b + 2 * lanes * lanes;
      const float first_a = first[k], first_b = first[k + 1];
      const float last_a = last[k], last_b = last[k + 1];
      KESTREL_WHOLE_LANES
      for (int l = 0; l < 2 * lanes; ++l)
        sum[l] += (a[l] * first_a + b[l] * first_b) + (c[l] * last_a + d[l] * last_b);
    }
    std::copy_n(sum, 2 * lanes, _neighbours.data());
  }

  /// How each run answers to its neighbours' values, and the dense matrix that gives those.
  void couple(double t) {
    std::vector<float> unit(size(), 0.0f);
    const int end = size() - lanes;
    for (int l = 0; l < lanes; ++l)
      unit[end + l] = static_cast<float>((_compact[end + l] - t) * _up[end + l]);
    const auto rhs = [&](int i) { return unit[i]; };
    Lanes<lanes>::solve(_run, _inverse.data(), _scaled_lo.data(), _scaled_up.data(),
                        _from_after.data(), rhs);
    std::fill(unit.begin(), unit.end(), 0.0f);
    for (int l = 0; l < lanes; ++l) unit[l] = static_cast<float>((_compact[l] - t) * _lo[l]);
    Lanes<lanes>::solve(_run, _inverse.data(), _scaled_lo.data(), _scaled_up.data(),
                        _from_before.data(), rhs);

    // first_l + from_after first_{l+1} + from_before last_{l-1} = cut-off first_l, and likewise for
    // the last values; inverted by Gauss-Jordan (the matrix is strongly diagonal).
    constexpr int n = 2 * lanes;
    std::vector<double> matrix(n * n, 0.0), inverse(n * n, 0.0);
    for (int l = 0; l < lanes; ++l) {
      for (const int part : {0, 1}) {
        const int row = part * lanes + l;
        const int at = part * end + l;
        matrix[row * n + row] = inverse[row * n + row] = 1.0;
        if (l + 1 < lanes) matrix[row * n + l + 1] += _from_after[at];
        if (l > 0) matrix[row * n + lanes + l - 1] += _from_before[at];
      }
    }
    for (int p = 0; p < n; ++p) {
      const double pivot = 1.0 / matrix[p * n + p];
      for (int k = 0; k < n; ++k) {
        matrix[p * n + k] *= pivot;
        inverse[p * n + k] *= pivot;
      }
      for (int r = 0; r < n; ++r) {
        const double factor = matrix[r * n + p];
        if (r == p || factor == 0.0) continue;
        for (int k = 0; k < n; ++k) {
          matrix[r * n + k] -= factor * matrix[p * n + k];
          inverse[r * n + k] -= factor * inverse[p * n + k];
        }
      }
    }
    for (int k = 0; k < n; ++k) {
      for (int l = 0; l < lanes; ++l) {
        _coupling[k * n + l] = l + 1 < lanes ? static_cast<float>(inverse[(l + 1) * n + k]) : 0.0f;
        _coupling[k * n + lanes + l] =
            l > 0 ? static_cast<float>(inverse[(lanes + l - 1) * n + k]) : 0.0f;
      }
    }
  }

  int _run;
  double _kappa = -1;
  double _theta = -1;
  float _axis_compact;
  // All by place.
  std::vector<float> _lo, _di, _up, _compact;
  std::vector<float> _inverse, _scaled_lo, _scaled_up;
  std::vector<float> _from_before, _from_after;
  std::vector<float> _coupling, _neighbours;
  std::vector<float> _old_integral, _new_integral, _reach, _x;
};

}  // namespace kestrel::kzk
