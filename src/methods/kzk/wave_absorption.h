#pragma once

#include <algorithm>
#include <cmath>
#include <numbers>

#include "kestrel/compiler.h"
#include "kestrel/four_wide.h"
#include "methods/kzk/buffer.h"

namespace kestrel::kzk {

/// The filter exp(-loss |f| / f_r) on waveforms, by Fourier transforms of `columns` waveforms side
/// by side. Two real waveforms travel as one complex one: the filter is real and even, so they need
/// not be told apart in between. The forward transform leaves the spectrum in bit-reversed order
/// and the inverse starts from it, so only the filter's table is in that order.
class WaveAbsorption {
 public:
  /// For `samples` samples at a spacing `dtheta` of the reference phase. A quarter of zeros is
  /// added so that the filter's tails do not wrap around.
  WaveAbsorption(Index samples, double dtheta) : _samples(samples) {
    constexpr double kTwoPi = 2.0 * std::numbers::pi;
    _length = 1;
    while (_length < samples + samples / 4) _length *= 2;
    const auto length = static_cast<double>(_length);
    _cosine.resize(_length / 2 + 1);
    _sine.resize(_length / 2 + 1);
    for (Index i = 0; i <= _length / 2; ++i) {
      const double phase = kTwoPi * static_cast<double>(i) / length;
      _cosine[i] = static_cast<float>(std::cos(phase));
      _sine[i] = static_cast<float>(std::sin(phase));
    }
    // Frequency of each place of the bit-reversed spectrum, in units of the reference.
    _frequency.resize(_length);
    for (Index place = 0, bin = 0; place < _length; ++place) {
      const auto folded = static_cast<double>(bin <= _length / 2 ? bin : _length - bin);
      _frequency[place] = static_cast<float>(folded * kTwoPi / (length * dtheta));
      Index carry = _length / 2;
      for (; carry > 0 && (bin & carry); carry /= 2) bin ^= carry;
      bin |= carry;
    }
    _filter.resize(_length);
  }

  Index work_size(int columns) const { return _length * columns; }

  /// Sets the loss in Np at the reference frequency of the following calls.
  void set_loss(double loss) {
    const auto length = static_cast<double>(_length);
    for (Index i = 0; i < _length; ++i) {
      _filter[i] = static_cast<float>(std::exp(-loss * _frequency[i]) / length);
    }
  }

  template <int columns>
  KESTREL_INLINE void apply(float* wave, Index stride, float* KESTREL_RESTRICT work) const {
    constexpr int kHalf = columns / 2;
    for (Index i = 0; i < _length; ++i) {
      float* to = work + i * columns;
      const float* from = wave + i * stride;
      const bool present = i < _samples;
      for (int l = 0; l < columns; ++l) to[l] = present ? from[l] : 0.0f;
    }
    // The wide stages run over everything, the narrow ones and the filter chunk by chunk, so that
    // most of the work stays in the nearest cache.
    const Index chunk = std::min(_length, Index{512} * 16 / columns);
    for (Index span = _length / 2; span >= chunk; span /= 2) split<kHalf>(work, 0, _length, span);
    for (Index start = 0; start < _length; start += chunk) {
      for (Index span = chunk / 2; span > 0; span /= 2) split<kHalf>(work, start, chunk, span);
      for (Index i = start; i < start + chunk; ++i) {
        float* KESTREL_RESTRICT a = work + i * columns;
        const float factor = _filter[i];
        KESTREL_WHOLE_LANES
        for (int l = 0; l < columns; ++l) a[l] *= factor;
      }
      for (Index span = 1; span < chunk; span *= 2) join<kHalf>(work, start, chunk, span);
    }
    for (Index span = chunk; span < _length; span *= 2) join<kHalf>(work, 0, _length, span);
    for (Index i = 0; i < _samples; ++i) {
      const float* from = work + i * columns;
      float* to = wave + i * stride;
      for (int l = 0; l < columns; ++l) to[l] = from[l];
    }
  }

 private:
  /// One stage of a transform: `butterfly` on every pair of samples `span` apart.
  template <int half, class Butterfly>
  KESTREL_INLINE void stage(float* work, Index from, Index count, Index span,
                            const Butterfly& butterfly) const {
    const Index turn = _length / 2 / span;
    for (Index start = from; start < from + count; start += 2 * span) {
      for (Index i = 0; i < span; ++i) {
        float* KESTREL_RESTRICT a = work + (start + i) * 2 * half;
        float* KESTREL_RESTRICT b = a + span * 2 * half;
        const float c = _cosine[i * turn], s = _sine[i * turn];
        KESTREL_WHOLE_LANES
        for (int l = 0; l < half; ++l) butterfly(a[l], a[half + l], b[l], b[half + l], c, s);
      }
    }
  }

  /// One stage of the forward transform (natural to bit-reversed order).
  template <int half>
  KESTREL_INLINE void split(float* work, Index from, Index count, Index span) const {
    stage<half>(work, from, count, span,
                [](float& a_re, float& a_im, float& b_re, float& b_im, float c, float s)
                    KESTREL_INLINE_LAMBDA {
                      const float re = a_re - b_re, im = a_im - b_im;
                      a_re += b_re;
                      a_im += b_im;
                      b_re = re * c + im * s;
                      b_im = im * c - re * s;
                    });
  }

  /// One stage of the inverse transform (bit-reversed to natural order).
  template <int half>
  KESTREL_INLINE void join(float* work, Index from, Index count, Index span) const {
    stage<half>(work, from, count, span,
                [](float& a_re, float& a_im, float& b_re, float& b_im, float c, float s)
                    KESTREL_INLINE_LAMBDA {
                      const float re = b_re * c - b_im * s, im = b_im * c + b_re * s;
                      b_re = a_re - re;
                      b_im = a_im - im;
                      a_re += re;
                      a_im += im;
                    });
  }

  Index _samples;
  Index _length;
  Buffer<float> _cosine, _sine, _frequency, _filter;
};

}  // namespace kestrel::kzk
