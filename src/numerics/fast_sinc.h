#pragma once

#include <complex>

namespace kestrel {

/// A complex sinc of a + jb with an uneven weighting: only the growing exponential carries the
/// factor one half, so on real arguments it gives 1.5*sin(a)/a with an imaginary part
/// -0.5*cos(a)/a, not sin(a)/a. Kept because results of earlier releases rest on it; a directivity
/// wants the true sinc, so no field method calls this one. (1, 0) at the origin.
std::complex<double> fast_sinc(double a, double b);
std::complex<double> fast_sinc(std::complex<double> z);

}  // namespace kestrel
