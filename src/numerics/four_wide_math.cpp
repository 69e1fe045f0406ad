#include "kestrel/four_wide.h"
#include "numerics/four_wide_kernels.h"

namespace kestrel {

float4 log_ps(float4 x) { return four_wide::log_ps(x); }
float4 exp_ps(float4 x) { return four_wide::exp_ps(x); }
float4 sin_ps(float4 x) { return four_wide::sin_ps(x); }
float4 cos_ps(float4 x) { return four_wide::cos_ps(x); }
void sincos_ps(float4 x, float4* s, float4* c) { four_wide::sincos_ps(x, s, c); }
void complex_exp(float4 a, float4 b, float4* re, float4* im) {
  four_wide::complex_exp(a, b, re, im);
}
float4 _mm_set_doubles(double d0, double d1, double d2, double d3) {
  return four_wide::_mm_set_doubles<float4>(d0, d1, d2, d3);
}
float4 horizontal_add_ps(float4 v) { return four_wide::horizontal_add_ps(v); }

}  // namespace kestrel
