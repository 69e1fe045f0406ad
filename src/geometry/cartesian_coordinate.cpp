#include <cmath>

#include "kestrel/geometry.h"

namespace kestrel {

// Not in the header, where a program compiled for fused multiply-adds would round it otherwise.
double CartesianCoordinate::calculate_distance(double x2, double y2, double z2) const {
  return std::sqrt((x - x2) * (x - x2) + (y - y2) * (y - y2) + (z - z2) * (z - z2));
}

double CartesianCoordinate::calculate_distance(CartesianCoordinate other) const {
  return calculate_distance(other.x, other.y, other.z);
}

}  // namespace kestrel
