#pragma once

#include <cmath>
#include <complex>

namespace kestrel {

namespace detail {

/// e^{x + jy}, leaving out what an exact zero makes superfluous: a lossless medium has x = 0 in
/// every term, the source plane has y = 0. A NaN in x or y takes the full path and stays NaN.
template <class Real>
inline void exp_skipping_zeros(Real x, Real y, Real& re, Real& im) {
  const Real magnitude = x == 0 ? Real(1) : std::exp(x);
  if (y == 0) {
    re = magnitude;
    im = 0;
    return;
  }
  const Real s = std::sin(y);
  const Real c = std::cos(y);
  if (x == 0) {
    re = c;
    im = s;
  } else {
    re = magnitude * c;
    im = magnitude * s;
  }
}

}  // namespace detail

/// e^{x + jy} as (re, im): the attenuated phase of every propagation term, with x = -alpha*R and
/// y = -k*R. Exactly (1, 0) at the origin, (e^x, 0) for y = 0, (cos y, sin y) for x = 0.
inline void smart_exp(double x, double y, double& re, double& im) {
  detail::exp_skipping_zeros(x, y, re, im);
}
inline std::complex<double> smart_exp(double x, double y) {
  double re, im;
  detail::exp_skipping_zeros(x, y, re, im);
  return {re, im};
}
inline std::complex<double> smart_exp(std::complex<double> z) {
  return smart_exp(z.real(), z.imag());
}

/// The same with the single-precision exponential, sine and cosine.
inline std::complex<float> smart_exp(float x, float y) {
  float re, im;
  detail::exp_skipping_zeros(x, y, re, im);
  return {re, im};
}
inline std::complex<float> smart_exp(std::complex<float> z) {
  return smart_exp(z.real(), z.imag());
}

}  // namespace kestrel
