#pragma once

#include <complex>
#include <cstddef>
#include <span>
#include <vector>

namespace kestrel {

/// A dense complex matrix, rows by columns, row by row.
class ComplexMatrix {
 public:
  ComplexMatrix(std::size_t rows, std::size_t columns)
      : _columns(columns), _values(rows * columns) {}
  std::size_t rows() const { return _columns == 0 ? 0 : _values.size() / _columns; }
  std::size_t columns() const { return _columns; }
  std::complex<double>& operator()(std::size_t r, std::size_t c) {
    return _values[r * _columns + c];
  }
  const std::complex<double>& operator()(std::size_t r, std::size_t c) const {
    return _values[r * _columns + c];
  }
  void scale(double factor) {
    for (auto& value : _values) value *= factor;
  }

 private:
  std::size_t _columns;
  std::vector<std::complex<double>> _values;
};

/// x of the least norm with the least |h x - b|: the pseudo-inverse of h applied to b. Singular
/// values below max(rows, columns) epsilon of the largest count as zero. For few rows: the time
/// grows as rows^2 columns (one-sided Jacobi rotations, Demmel and Veselic 1992,
/// doi:10.1137/0613074).
std::vector<std::complex<double>> least_norm_solution(const ComplexMatrix& h,
                                                      std::span<const double> b);

}  // namespace kestrel
