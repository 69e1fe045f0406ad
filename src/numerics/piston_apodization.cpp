#include <cmath>

#include "kestrel/special_functions.h"
#include "numerics/constants.h"

namespace kestrel {

namespace {

constexpr double kPi = constants::kShortPi;
constexpr double kHalfPi = constants::kShortHalfPi;

bool on_face(double sigma, double a) { return a > std::abs(sigma); }

}  // namespace

double piston_apodization::cosine(double sigma, double a) {
  return on_face(sigma, a) ? std::cos((sigma * kHalfPi) / a) : 0.0;
}

double piston_apodization::raisedcosine(double sigma, double a) {
  return on_face(sigma, a) ? (std::cos((sigma * kPi) / a) + 1.0) * 0.5 : 0.0;
}

double piston_apodization::quadratic(double sigma, double a) {
  return on_face(sigma, a) ? 1.0 - (sigma / a) * (sigma / a) : 0.0;
}

double piston_apodization::quartic(double sigma, double a) {
  return on_face(sigma, a) ? 1.0 - std::pow(sigma / a, 4.0) : 0.0;
}

double piston_apodization::derivativecosine(double sigma, double a) {
  return on_face(sigma, a) ? (-kHalfPi / a) * std::sin((sigma * kHalfPi) / a) : 0.0;
}

double piston_apodization::derivativeraisedcosine(double sigma, double a) {
  return on_face(sigma, a) ? (-kHalfPi / a) * std::sin((sigma * kPi) / a) : 0.0;
}

double piston_apodization::derivativequadratic(double sigma, double a) {
  return on_face(sigma, a) ? ((sigma * -2.0) / a) / a : 0.0;
}

double piston_apodization::derivativequartic(double sigma, double a) {
  return on_face(sigma, a) ? (std::pow(sigma / a, 3.0) * -4.0) / a : 0.0;
}

double piston_apodization::evaluate(int index, double sigma, double a) {
  switch (index) {
    case 1:
      return cosine(sigma, a);
    case 2:
      return raisedcosine(sigma, a);
    case 3:
      return quadratic(sigma, a);
    case 4:
      return quartic(sigma, a);
    default:
      return 1.0;
  }
}

double piston_apodization::derivative(int index, double sigma, double a) {
  switch (index) {
    case 1:
      return derivativecosine(sigma, a);
    case 2:
      return derivativeraisedcosine(sigma, a);
    case 3:
      return derivativequadratic(sigma, a);
    case 4:
      return derivativequartic(sigma, a);
    default:
      return 0.0;
  }
}

}  // namespace kestrel
