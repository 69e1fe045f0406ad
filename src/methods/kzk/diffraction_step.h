#pragma once

#include "kestrel/compiler.h"
#include "kestrel/four_wide.h"
#include "methods/kzk/radial_operator.h"

/// The implicit diffraction step of harmonics: (A - theta g B) u_new = (A + (1 - theta) g B) u_old
/// with g = -j ds diffraction / (n step^2). The elimination is written once, for `lanes` harmonics
/// side by side; lanes hold different harmonics at the same node, so each harmonic's arithmetic is
/// the same for every number of lanes.
///
/// Packed values: entry (node j, part, lane) lies at (2 j + part) * lanes + lane, part 0 the real
/// and 1 the imaginary one. With one lane this is the interleaved complex array.

namespace kestrel::kzk {

/// A complex number without the special cases of std::complex's product, so that loops over lanes
/// become plain multiply and add instructions.
struct Cartesian {
  double re, im;
};
KESTREL_INLINE Cartesian operator+(Cartesian a, Cartesian b) { return {a.re + b.re, a.im + b.im}; }
KESTREL_INLINE Cartesian operator-(Cartesian a, Cartesian b) { return {a.re - b.re, a.im - b.im}; }
KESTREL_INLINE Cartesian operator*(Cartesian a, Cartesian b) {
  return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
}
KESTREL_INLINE Cartesian reciprocal(Cartesian a) {
  const double scale = 1.0 / (a.re * a.re + a.im * a.im);
  return {a.re * scale, -a.im * scale};
}

/// Bands formed on the fly from the real rows of A and B, which all harmonics share:
/// A + j implicit[lane] B on the left, A - j explicit[lane] B on the right.
struct SharedBands {
  const double* mass;       // three reals a row
  const double* laplacian;  // three reals a row
  const double* implicit_weight;
  const double* explicit_weight;
  KESTREL_INLINE Cartesian left(Index j, int band, int lane) const {
    return {mass[3 * j + band], implicit_weight[lane] * laplacian[3 * j + band]};
  }
  KESTREL_INLINE Cartesian right(Index j, int band, int lane) const {
    return {mass[3 * j + band], -(explicit_weight[lane] * laplacian[3 * j + band])};
  }
};

/// Gaussian elimination of the left-hand bands: the reciprocal pivots and the scaled
/// super-diagonal, both packed.
template <int lanes, class Bands>
KESTREL_INLINE void factor_harmonics(const Bands& bands, Index nodes,
                                     double* KESTREL_RESTRICT inverse,
                                     double* KESTREL_RESTRICT super) {
  LaneArray<double, lanes> last_re = {}, last_im = {};
  for (Index j = 0; j < nodes; ++j) {
    double* inv = inverse + 2 * lanes * j;
    double* sup = super + 2 * lanes * j;
    KESTREL_WHOLE_LANES
    for (int lane = 0; lane < lanes; ++lane) {
      const Cartesian last = {last_re[lane], last_im[lane]};
      const Cartesian pivot = reciprocal(bands.left(j, 1, lane) - bands.left(j, 0, lane) * last);
      const Cartesian next = bands.left(j, 2, lane) * pivot;
      inv[lane] = pivot.re;
      inv[lanes + lane] = pivot.im;
      sup[lane] = last_re[lane] = next.re;
      sup[lanes + lane] = last_im[lane] = next.im;
    }
  }
}

/// Advances the packed harmonics `u` in place with the factors of `factor_harmonics`.
template <int lanes, class Bands>
KESTREL_INLINE void solve_harmonics(const Bands& bands, Index nodes,
                                    const double* KESTREL_RESTRICT inverse,
                                    const double* KESTREL_RESTRICT super,
                                    double* KESTREL_RESTRICT u) {
  LaneArray<double, lanes> old_re = {}, old_im = {};  // u_old at the previous node
  LaneArray<double, lanes> done_re = {},
                           done_im = {};  // eliminated right side at the previous node
  for (Index j = 0; j < nodes; ++j) {
    const double* inv = inverse + 2 * lanes * j;
    double* here = u + 2 * lanes * j;
    // Beyond the last node the field is zero. There the last node's own value is read, and
    // multiplied by zero.
    const double* next = j + 1 < nodes ? here + 2 * lanes : here;
    const double beyond = j + 1 < nodes ? 1.0 : 0.0;
    KESTREL_WHOLE_LANES
    for (int lane = 0; lane < lanes; ++lane) {
      const Cartesian old = {old_re[lane], old_im[lane]};
      const Cartesian now = {here[lane], here[lanes + lane]};
      const Cartesian then = {beyond * next[lane], beyond * next[lanes + lane]};
      const Cartesian source = bands.right(j, 0, lane) * old + bands.right(j, 1, lane) * now +
                               bands.right(j, 2, lane) * then;
      const Cartesian done = {done_re[lane], done_im[lane]};
      const Cartesian pivot = {inv[lane], inv[lanes + lane]};
      const Cartesian result = (source - bands.left(j, 0, lane) * done) * pivot;
      old_re[lane] = now.re;
      old_im[lane] = now.im;
      here[lane] = done_re[lane] = result.re;
      here[lanes + lane] = done_im[lane] = result.im;
    }
  }
  for (Index j = nodes - 2; j >= 0; --j) {
    const double* sup = super + 2 * lanes * j;
    double* here = u + 2 * lanes * j;
    KESTREL_WHOLE_LANES
    for (int lane = 0; lane < lanes; ++lane) {
      const Cartesian up = {sup[lane], sup[lanes + lane]};
      const Cartesian next = {here[2 * lanes + lane], here[3 * lanes + lane]};
      const Cartesian now = Cartesian{here[lane], here[lanes + lane]} - up * next;
      here[lane] = now.re;
      here[lanes + lane] = now.im;
    }
  }
}

}  // namespace kestrel::kzk
