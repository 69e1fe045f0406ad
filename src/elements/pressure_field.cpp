#include "kestrel/pressure_field.h"

#include <cstdint>
#include <new>
#include <stdexcept>

#include "kestrel/services.h"

namespace kestrel {

int PressureField::preAllocate(int n) {
  if (_allocated) return 1;
  try {
    _values.resize(n);  // a negative n is a length that cannot be had
  } catch (const std::bad_alloc&) {
    return 0;
  } catch (const std::length_error&) {
    return 0;
  }
  _allocated = true;
  return 1;
}

bool PressureField::setPoint(int i, std::complex<double> pressure) {
  if (!holds(i)) return false;
  _values[i] += pressure;
  return true;
}

std::complex<double> PressureField::readPoint(int i) const {
  if (holds(i)) return _values[i];
  services::print("index %d > %d out of bounds\n", i, count());
  return 0.0;
}

std::complex<double> PressureField::readPoint(int i, int j) const {
  const int k = static_cast<std::int32_t>(std::int64_t{_row_length} * i + j);
  if (holds(k)) return _values[k];
  services::print("index (%d, %d) = %d > %d out of bounds\n", i, j, k, count());
  return 0.0;
}

}  // namespace kestrel
