#include "mex/host/complex_array.h"

#include <algorithm>
#include <limits>

namespace kestrel::host {
namespace {

std::size_t count_of(std::span<const std::size_t> extents) {
  constexpr std::size_t most =
      static_cast<std::size_t>(std::numeric_limits<std::ptrdiff_t>::max()) /
      sizeof(mxComplexDouble);
  std::size_t count = 1;
  for (const std::size_t extent : extents) {
    if (extent == 0) return 0;
  }
  for (const std::size_t extent : extents) {
    if (count > most / extent) fail("Out of memory: the result has too many points.");
    count *= extent;
  }
  return count;
}

// Not mxCreateNumericArray or mxCreateNumericMatrix with the full size: under interleaved complex
// Octave 7.3 reserves half of the bytes there, and whoever fills the array writes past its end. An
// empty complex array that gets its dimensions and its storage afterwards is valid on every host.
// In Octave even an empty array has a block of its own, which setting the storage would lose.
mxArray* create(std::span<const std::size_t> extents) {
  constexpr std::size_t kMost = 4;
  if (extents.size() > kMost) fail("A result has at most %zu dimensions.", kMost);
  const std::size_t count = count_of(extents);
  mxArray* result = mxCreateDoubleMatrix(0, 0, mxCOMPLEX);
  if (result == nullptr) fail("Out of memory: the result cannot be created.");

  mwSize dimensions[kMost] = {1, 1, 1, 1};
  for (std::size_t i = 0; i < extents.size(); ++i) dimensions[i] = static_cast<mwSize>(extents[i]);
  const int refused = mxSetDimensions(
      result, dimensions, static_cast<mwSize>(std::max<std::size_t>(extents.size(), 2)));

  mxComplexDouble* storage = nullptr;
  if (refused == 0 && count > 0) {
    storage = static_cast<mxComplexDouble*>(mxCalloc(count, sizeof(mxComplexDouble)));
    if (storage != nullptr) {
      mxFree(mxGetComplexDoubles(result));
      mxSetComplexDoubles(result, storage);
    }
  }
  // What mxSetComplexDoubles returns for success differs between hosts; what it did does not.
  if (refused != 0 ||
      (count > 0 && (storage == nullptr || mxGetComplexDoubles(result) != storage))) {
    mxDestroyArray(result);
    fail("Out of memory: the result of %zu points cannot be created.", count);
  }
  return result;
}

}  // namespace

mxArray* create_complex_result(std::size_t rows) { return create({&rows, 1}); }

mxArray* create_complex_result(std::size_t nx, std::size_t ny, std::size_t nz) {
  const std::size_t extents[] = {nx, ny, nz};
  return create(extents);
}

mxArray* create_complex_result(std::span<const std::size_t> extents) { return create(extents); }

}  // namespace kestrel::host
