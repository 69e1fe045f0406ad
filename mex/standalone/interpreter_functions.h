#pragma once

#include "mex/standalone/matrix.h"

namespace kestrel::standalone {

/// The functions that `mexCallMATLAB` knows by itself, under their names. They take double arrays.
///
/// fft(x), fft(x, n): along the first dimension that is not 1, for any length. As in Octave, a
/// result without imaginary parts is real. Its cost is the length times the sum of the length's
/// prime factors: meant for tests and small programs.
void fft(int nlhs, mxArray* plhs[], int nrhs, const mxArray* prhs[]);

/// real(x), imag(x): the parts of a real or complex array.
void real(int nlhs, mxArray* plhs[], int nrhs, const mxArray* prhs[]);
void imag(int nlhs, mxArray* plhs[], int nrhs, const mxArray* prhs[]);

}  // namespace kestrel::standalone
