#pragma once

#include <complex>
#include <cstddef>
#include <span>

#include "kestrel/error.h"
#include "mex/host/mex_api.h"

namespace kestrel::host {

/// A zero-filled complex double array in interleaved storage, `rows`-by-1, owned by the host as the
/// result of a call. Throws kestrel::Error when the memory cannot be had. A count of 0 gives an
/// empty array.
mxArray* create_complex_result(std::size_t rows);

/// The same, `nx`-by-`ny`-by-`nz`. Hosts drop a third dimension of 1.
mxArray* create_complex_result(std::size_t nx, std::size_t ny, std::size_t nz);

/// The same with one to four extents; one alone is a column's.
mxArray* create_complex_result(std::span<const std::size_t> extents);

}  // namespace kestrel::host
