#pragma once

#include <cmath>
#include <complex>

namespace kestrel {

/// A complex sinc of a + jb with an uneven weighting: only the growing exponential carries the
/// factor one half, so on real arguments it gives 1.5*sin(a)/a with an imaginary part
/// -0.5*cos(a)/a, not sin(a)/a. Kept because results of earlier releases rest on it; a directivity
/// wants the true sinc, so no field method calls this one. (1, 0) at the origin.
std::complex<double> fast_sinc(double a, double b);
std::complex<double> fast_sinc(std::complex<double> z);

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

/// Radial velocity profiles of an apodized circular piston, and their radial derivatives.
///
/// sigma is the radial coordinate on the face, a the piston's radius, both in metres. A profile is
/// zero unless a > |sigma|: exactly zero on the rim and beyond it, and for NaN.
///
/// index  profile         v(sigma)
///   1    cosine          cos(pi sigma / 2a)
///   2    raised cosine   (1 + cos(pi sigma / a)) / 2
///   3    quadratic       1 - (sigma/a)^2
///   4    quartic         1 - (sigma/a)^4
/// other  uniform         1 everywhere, beyond the rim too; derivative 0
class piston_apodization {
 public:
  static double evaluate(int index, double sigma, double a);
  static double derivative(int index, double sigma, double a);

  static double cosine(double sigma, double a);
  static double raisedcosine(double sigma, double a);
  static double quadratic(double sigma, double a);
  static double quartic(double sigma, double a);

  static double derivativecosine(double sigma, double a);
  static double derivativeraisedcosine(double sigma, double a);
  static double derivativequadratic(double sigma, double a);
  static double derivativequartic(double sigma, double a);
};

}  // namespace kestrel
