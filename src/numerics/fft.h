#pragma once

#include <complex>
#include <span>

namespace kestrel {

/// The discrete Fourier transform, in place: X_k = sum over i of x_i exp(-2 pi j i k / n). Any
/// length n, by decimation in time with the prime factors of n as radices (Cooley and Tukey 1965,
/// doi:10.1090/S0025-5718-1965-0178586-1). The time grows as n times the sum of these factors.
void fourier_transform(std::span<std::complex<double>> values);

}  // namespace kestrel
