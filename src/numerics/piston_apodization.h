#pragma once

namespace kestrel {

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
