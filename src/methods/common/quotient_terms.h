#pragma once

#include <cstddef>
#include <type_traits>

#include "methods/common/wave.h"

namespace kestrel {

/// One node's or edge's contribution to a point, before weights: numerator / denominator * value.
struct QuotientTerm {
  double numerator, denominator;
  LaneComplex<double> value;
};

/// The sum of term(0) to term(n - 1) on a wide path: side by side in registers, with one division
/// for all. The product of the denominators must be a normal number.
template <class Arithmetic, int n, class Term>
KESTREL_INLINE LaneComplex<double> sum_quotients(const Term& term) {
  double numerator[n], scale[n];
  LaneComplex<double> value[n];
  unrolled<n>([&](int m) KESTREL_INLINE_LAMBDA {
    const QuotientTerm of = term(m);
    numerator[m] = of.numerator;
    scale[m] = of.denominator;
    value[m] = of.value;
  });
  Arithmetic::invert(scale);
  LaneComplex<double> sum{0, 0};
  unrolled<n>([&](int m) KESTREL_INLINE_LAMBDA {
    const double factor = numerator[m] * scale[m];
    sum.re = m == 0 ? factor * value[m].re : Arithmetic::mul_add(factor, value[m].re, sum.re);
    sum.im = m == 0 ? factor * value[m].im : Arithmetic::mul_add(factor, value[m].im, sum.im);
  });
  return sum;
}

/// add(group, first) for the nodes first to first + group - 1, `group` a constant: four at a time
/// on the wide paths, then and on the plain path one by one.
template <class Arithmetic, class Add>
KESTREL_INLINE void for_node_groups(std::size_t nodes, const Add& add) {
  std::size_t first = 0;
  if constexpr (Arithmetic::wide) {
    for (; first + 4 <= nodes; first += 4) add(std::integral_constant<int, 4>{}, first);
  }
  for (; first < nodes; ++first) add(std::integral_constant<int, 1>{}, first);
}

}  // namespace kestrel
