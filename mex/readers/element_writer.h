#pragma once

#include <vector>

#include "kestrel/geometry.h"
#include "mex/host/mex_api.h"

namespace kestrel::gateway {

/// A 1-by-n structure array of elements, as kestrel.rectangle makes one. Every element has the size
/// fields of all shapes, empty where they are not its own, so that elements of different shapes
/// join in one array. Fails when memory runs out.
mxArray* write_elements(const std::vector<Element>& elements);

/// A 1-by-n structure array of the shapes that there are: `name`, and `sizes`, a row of cells with
/// the names of the fields.
mxArray* write_shapes();

/// `array` itself; fails when the host had no memory to make it.
mxArray* made(mxArray* array);

/// A matrix of doubles, rows by columns, whose entry (r, c) is value(r, c).
template <class Value>
mxArray* write_matrix(std::size_t rows, std::size_t columns, const Value& value) {
  mxArray* matrix = made(mxCreateDoubleMatrix(rows, columns, mxREAL));
  double* entries = mxGetDoubles(matrix);
  for (std::size_t c = 0; c < columns; ++c) {
    for (std::size_t r = 0; r < rows; ++r) entries[c * rows + r] = value(r, c);
  }
  return matrix;
}

}  // namespace kestrel::gateway
