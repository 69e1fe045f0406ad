#include "transducers/pressure_field.h"

#include <cstdint>
#include <new>

#include "host/host.h"

namespace kestrel {

int PressureField::preAllocate(int n) {
  if (_values) return 1;
  try {
    _values.reset(new std::complex<double>[n]());  // a negative n is an allocation that fails
  } catch (const std::bad_alloc&) {
    return 0;
  }
  _count = n;
  return 1;
}

bool PressureField::setPoint(int i, std::complex<double> pressure) {
  if (!holds(i)) return false;
  _values[i] += pressure;
  return true;
}

std::complex<double> PressureField::readPoint(int i) const {
  if (holds(i)) return _values[i];
  host::print("index %d > %d out of bounds\n", i, _count);
  return 0.0;
}

std::complex<double> PressureField::readPoint(int i, int j) const {
  const int k = static_cast<std::int32_t>(std::int64_t{_row_length} * i + j);
  if (holds(k)) return _values[k];
  host::print("index (%d, %d) = %d > %d out of bounds\n", i, j, k, _count);
  return 0.0;
}

}  // namespace kestrel
