#include "mex/standalone/interpreter_functions.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <span>
#include <vector>

#include "mex/standalone/mex.h"
#include "numerics/fft.h"

namespace kestrel::standalone {
namespace {

using Complex = std::complex<double>;

Complex element(const mxArray* array, std::size_t index) {
  if (!mxIsComplex(array)) return mxGetDoubles(array)[index];
  const mxComplexDouble value = mxGetComplexDoubles(array)[index];
  return {value.real, value.imag};
}

std::vector<mwSize> dimensions_of(const mxArray* array) {
  const mwSize* first = mxGetDimensions(array);
  return {first, first + mxGetNumberOfDimensions(array)};
}

/// Real when no value has an imaginary part.
mxArray* create_result(const std::vector<mwSize>& dimensions, const std::vector<Complex>& values) {
  const bool is_real =
      std::all_of(values.begin(), values.end(), [](Complex value) { return value.imag() == 0; });
  mxArray* result = mxCreateNumericArray(dimensions.size(), dimensions.data(), mxDOUBLE_CLASS,
                                         is_real ? mxREAL : mxCOMPLEX);
  if (result == nullptr) mexErrMsgTxt("Out of memory.");
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (is_real) {
      mxGetDoubles(result)[i] = values[i].real();
    } else {
      mxGetComplexDoubles(result)[i] = {values[i].real(), values[i].imag()};
    }
  }
  return result;
}

const mxArray* double_argument(int nlhs, int nrhs, const mxArray* prhs[], int most_arguments) {
  if (nlhs > 1 || nrhs < 1 || nrhs > most_arguments) mexErrMsgTxt("Invalid call.");
  if (!mxIsDouble(prhs[0])) mexErrMsgTxt("The argument must be double.");
  return prhs[0];
}

template <class Part>
mxArray* apply(const mxArray* input, const Part& part) {
  std::vector<Complex> values(mxGetNumberOfElements(input));
  for (std::size_t i = 0; i < values.size(); ++i) values[i] = part(element(input, i));
  return create_result(dimensions_of(input), values);
}

}  // namespace

void fft(int nlhs, mxArray* plhs[], int nrhs, const mxArray* prhs[]) {
  const mxArray* input = double_argument(nlhs, nrhs, prhs, 2);
  std::vector<mwSize> dimensions = dimensions_of(input);
  const auto along =
      std::find_if(dimensions.begin(), dimensions.end(), [](mwSize extent) { return extent != 1; });
  const std::size_t axis =
      along == dimensions.end() ? 0 : static_cast<std::size_t>(along - dimensions.begin());
  const std::size_t given = dimensions[axis];
  if (nrhs == 2 && !mxIsEmpty(prhs[1])) {
    const double length = mxGetScalar(prhs[1]);
    if (!(length >= 0 && length == std::floor(length) && length < 2147483648.0)) {
      mexErrMsgTxt("fft: the number of points must be a non-negative integer.");
    }
    dimensions[axis] = static_cast<mwSize>(length);
  }
  const std::size_t length = dimensions[axis];

  // All dimensions before the axis are 1, so every transform works on consecutive elements.
  std::size_t transforms = 1;
  for (std::size_t i = axis + 1; i < dimensions.size(); ++i) transforms *= dimensions[i];
  std::vector<Complex> values(length * transforms);
  if (!values.empty()) {
    for (std::size_t t = 0; t < transforms; ++t) {
      for (std::size_t i = 0; i < length; ++i) {
        values[t * length + i] = i < given ? element(input, t * given + i) : 0;
      }
      fourier_transform(std::span(values).subspan(t * length, length));
    }
  }
  plhs[0] = create_result(dimensions, values);
}

void real(int nlhs, mxArray* plhs[], int nrhs, const mxArray* prhs[]) {
  plhs[0] = apply(double_argument(nlhs, nrhs, prhs, 1), [](Complex z) { return z.real(); });
}

void imag(int nlhs, mxArray* plhs[], int nrhs, const mxArray* prhs[]) {
  plhs[0] = apply(double_argument(nlhs, nrhs, prhs, 1), [](Complex z) { return z.imag(); });
}

}  // namespace kestrel::standalone
