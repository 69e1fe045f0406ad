#include "values.h"

#include <bit>
#include <complex>
#include <kestrel/kestrel.h>

using namespace kestrel;

std::vector<std::uint64_t> values() {
  std::vector<std::uint64_t> bits;
  const auto keep = [&](double value) { bits.push_back(std::bit_cast<std::uint64_t>(value)); };
  const auto keep_lanes = [&](float4 value) {
    for (int i = 0; i < 4; ++i) keep(value.lane(i));
  };
  for (int i = 1; i < 2000; ++i) {
    const double t = 0.0137 * i;
    const float4 x = _mm_set_doubles(t, 1.1 * t, 1.7 * t, 2.3 * t);
    keep_lanes(log_ps(x));
    keep_lanes(exp_ps(x));
    keep_lanes(sin_ps(x));
    keep_lanes(cos_ps(x));
    float4 a, b;
    sincos_ps(x, &a, &b);
    keep_lanes(a);
    keep_lanes(b);
    complex_exp(x, x, &a, &b);
    keep_lanes(a);
    keep_lanes(b);
    keep(horizontal_add_ps(x).lane(0));
    keep(CartesianCoordinate(t, 1 / t, 0.3).calculate_distance(0.1, t, 1.9 * t));
    const std::complex<double> wave = smart_exp(-0.01 * t, t), sinc = fast_sinc(t, 0.1);
    keep(wave.real());
    keep(sinc.imag());
    keep(piston_apodization::evaluate(4, t, 30));
  }
  return bits;
}
