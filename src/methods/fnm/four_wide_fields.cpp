#include "methods/fnm/four_wide_fields.h"

#include <cmath>

#include "kestrel/compiler.h"
#include "kestrel/special_functions.h"
#include "methods/fnm/rectangle_edges.h"

namespace kestrel {

namespace {

float4 splat(double x) { return float4::splat(static_cast<float>(x)); }

/// E(R) in four lanes.
KESTREL_INLINE void propagate(const FloatPropagation& propagation, float4 path, float4* re,
                              float4* im) {
  four_wide::complex_exp(float4::splat(propagation.attenuation) * path,
                         float4::splat(propagation.phase) * path, re, im);
}

/// The signed distances from a point's projection to the four edges, in single precision.
struct EdgeDistances {
  float d[4];
  EdgeDistances(float a, float b, float x, float y) : d{a + x, a - x, b + y, b - y} {}
  float operator[](RectangleDistance which) const { return d[which]; }
  bool inside_x() const { return projection(d[dxp], d[dxm]) != Projection::outside; }
  bool inside_y() const { return projection(d[dyp], d[dym]) != Projection::outside; }
};

}  // namespace

FourWideTable::FourWideTable(const std::vector<double>& entries, Tail tail) {
  const std::size_t n = entries.size();
  const std::size_t blocks = tail == drop ? n / 4 : (n + 3) / 4;
  const auto entry = [&](std::size_t i) {
    if (i < n) return entries[i];
    return tail == repeat_last ? entries.back() : 0.0;
  };
  _blocks.reserve(blocks);
  for (std::size_t i = 0; i < 4 * blocks; i += 4) {
    _blocks.push_back(
        four_wide::_mm_set_doubles<float4>(entry(i), entry(i + 1), entry(i + 2), entry(i + 3)));
  }
}

std::complex<double> RectangleFourNodes::pressure(double x, double y, double z, int) const {
  const auto zf = static_cast<float>(z);
  const float4 z_squared = float4::splat(zf * zf);
  float4 direct_re, direct_im;
  propagate(propagation, float4::splat(zf), &direct_re, &direct_im);
  const EdgeDistances distance(half_width, half_height, static_cast<float>(x),
                               static_cast<float>(y));
  FourWideSum sum;
  const auto add = [&](float4 q, float factor, float4 weight) {
    float4 re, im;
    propagate(propagation, sqrt(z_squared + q), &re, &im);
    const float4 f = float4::splat(factor);
    sum.re = sum.re + ((re - direct_re) * f) * weight / q;
    sum.im = sum.im + ((im - direct_im) * f) * weight / q;
  };
  const auto add_direction = [&](const RectangleDirection& direction, bool inside, double offset,
                                 const FourWideTable& node, const FourWideTable& weight) {
    for (std::size_t block = 0; block < node.blocks(); ++block) {
      if (inside) {
        for (const SplitIntegral& integral : direction.split) {
          const float s = distance[integral.along], l = distance[integral.across];
          add(unit_node_squared[block] * float4::splat(s * s) + float4::splat(l * l), s * l,
              unit_weight[block]);
        }
      } else {
        const float4 along = node[block] + splat(offset);
        for (const RectangleDistance edge : direction.whole) {
          const float l = distance[edge];
          add(float4::splat(l * l) + along * along, l, weight[block]);
        }
      }
    }
  };
  add_direction(kAlongX, distance.inside_x(), x, x_node, x_weight);
  add_direction(kAlongY, distance.inside_y(), y, y_node, y_weight);
  return sum.total() * prefactor;
}

std::complex<double> RectangleFourIntegrals::pressure(double x, double y, double z, int) const {
  const auto zf = static_cast<float>(z);
  const float4 z_squared = float4::splat(zf * zf);
  const std::complex<float> direct = smart_exp(attenuation * zf, -wavenumber * zf);
  const float4 direct_re = float4::splat(direct.real()), direct_im = float4::splat(direct.imag());
  const EdgeDistances distance(half_width, half_height, static_cast<float>(x),
                               static_cast<float>(y));
  FourWideSum sum;
  const auto add = [&](float4 q, float4 factor, float4 weight) {
    // The path's phase without its loss: only the direct term is attenuated.
    float4 s, c;
    four_wide::sincos_ps(float4::splat(wavenumber) * sqrt(z_squared + q), &s, &c);
    sum.re = sum.re + ((c - direct_re) * factor) * weight / q;
    sum.im = sum.im + (((float4::splat(0) - s) - direct_im) * factor) * weight / q;
  };
  const auto add_direction = [&](const RectangleDirection& direction, bool inside, double offset,
                                 const std::vector<float>& node, const std::vector<float>& weight) {
    if (inside) {
      const auto& split = direction.split;
      const auto lanes = [&](RectangleDistance SplitIntegral::*side) {
        return float4::of(distance[split[0].*side], distance[split[1].*side],
                          distance[split[2].*side], distance[split[3].*side]);
      };
      const float4 s = lanes(&SplitIntegral::along), l = lanes(&SplitIntegral::across);
      for (std::size_t i = 0; i < unit_weight.size(); ++i) {
        add(float4::splat(unit_node_squared[i]) * (s * s) + l * l, s * l,
            float4::splat(unit_weight[i]));
      }
      return;
    }
    // Two edges in lanes 0 and 1; the other lanes repeat them with no weight, so that they are
    // singular only where an edge itself is.
    const float l0 = distance[direction.whole[0]], l1 = distance[direction.whole[1]];
    const float4 l = float4::of(l0, l1, l0, l1);
    for (std::size_t i = 0; i < weight.size(); ++i) {
      const float along = node[i] + static_cast<float>(offset);
      add(l * l + float4::splat(along * along), l, float4::of(weight[i], weight[i], 0, 0));
    }
  };
  add_direction(kAlongX, distance.inside_x(), x, x_node, x_weight);
  add_direction(kAlongY, distance.inside_y(), y, y_node, y_weight);
  return sum.total() * prefactor;
}

std::complex<double> RectangleSurfaceFourWide::pressure(double x, double y, double z, int) const {
  const auto xf = static_cast<float>(x), zf = static_cast<float>(z);
  const float4 yf = splat(y), zero = float4::splat(0);
  FourWideSum sum;
  for (std::size_t m = 0; m < x_node.size(); ++m) {
    const float dx = xf - x_node[m];
    for (std::size_t block = 0; block < y_node.blocks(); ++block) {
      const float4 dy = yf - y_node[block];
      const float4 path = sqrt(dy * dy + float4::splat(dx * dx) + float4::splat(zf * zf));
      const float4 weight = float4::splat(x_weight[m]) * y_weight[block];
      float4 re, im;
      propagate(propagation, path, &re, &im);
      // A point that coincides with a node takes the node's weight in both parts.
      const auto at_node = equal(path, zero);
      const float4 scale = weight / path;
      sum.re = sum.re + select(at_node, weight, re * scale);
      sum.im = sum.im + select(at_node, weight, im * scale);
    }
  }
  return sum.total();
}

std::complex<double> DiscFourWide::pressure(double x, double y, double z, int) const {
  const auto zf = static_cast<float>(z);
  const float x_squared = static_cast<float>(x) * static_cast<float>(x);
  const float y_squared = static_cast<float>(y) * static_cast<float>(y);
  const float r_squared = x_squared + y_squared;
  const float4 q = float4::splat(radius_squared + r_squared);
  const float4 r = float4::splat(std::sqrt(r_squared)), a = float4::splat(radius);
  const float4 z_squared = float4::splat(zf * zf);
  float4 direct_re, direct_im;
  propagate(propagation, float4::splat(zf), &direct_re, &direct_im);
  FourWideSum sum;
  for (std::size_t block = 0; block < cosine.blocks(); ++block) {
    const float4 d = q - twice_radius_cosine[block] * r;
    const float4 f = (cosine[block] * r - a) * rcp(d);
    float4 re, im;
    propagate(propagation, sqrt(z_squared + d), &re, &im);
    sum.re = sum.re + (re - direct_re) * f * weight[block];
    sum.im = sum.im + (im - direct_im) * f * weight[block];
  }
  return sum.total() * prefactor;
}

std::complex<double> DiscSurfaceFourWide::pressure(double x, double y, double z, int) const {
  const auto xf = static_cast<float>(x), yf = static_cast<float>(y), zf = static_cast<float>(z);
  const float r_squared = xf * xf + yf * yf;
  const float4 s = float4::splat(zf * zf + r_squared);
  const float r = std::sqrt(r_squared);
  FourWideSum sum;
  for (const Circle& circle : circles) {
    const float4 slope = float4::splat(-2 * circle.radius * r);
    const float4 radius_squared = float4::splat(circle.radius_squared);
    for (std::size_t block = 0; block < cosine.blocks(); ++block) {
      const float4 path = sqrt(cosine[block] * slope + radius_squared + s);
      const float4 g = four_wide::exp_ps(float4::splat(propagation.attenuation) * path) *
                       float4::splat(circle.area) / path;
      float4 re, im;
      four_wide::complex_exp(float4::splat(0), float4::splat(propagation.phase) * path, &re, &im);
      sum.re = sum.re + g * re;
      sum.im = sum.im + g * im;
    }
  }
  return sum.total() * prefactor;
}

std::complex<double> CapFourWide::pressure(double x, double y, double z, int region) const {
  if (region == CapGeometry::focus) {
    return cap_focus_pressure(cap.cap, cap.propagation, cap.density, cap.f0, cap.weight);
  }
  const double zeta_exact = z - cap.cap.curvature;
  const auto rf = static_cast<float>(std::sqrt(x * x + y * y));
  const auto zf = static_cast<float>(zeta_exact);
  const float d = std::sqrt(rf * rf + zf * zf);
  const float side = zeta_exact > 1e-10 ? d : zeta_exact < -1e-10 ? -d : 0.0f;
  const auto rcf = static_cast<float>(cap.cap.curvature);
  const float4 r = float4::splat(rf), zeta = float4::splat(zf);
  const float4 a = splat(cap.cap.radius), rc = float4::splat(rcf), h = splat(cap.cap.rim_depth);
  float4 direct_re, direct_im;
  propagate(propagation, float4::splat(side + rcf), &direct_re, &direct_im);
  const float4 t2 = a * zeta, r_rc = r * rc;
  FourWideSum sum;
  for (std::size_t block = 0; block < cosine.blocks(); ++block) {
    const float4 c = cosine[block];
    const float4 t1 = r * c * h, t3 = r * a * c;
    const float4 f = (t1 + t2) / ((((zeta * (a + a)) * t1 + r_rc * r_rc) - t3 * t3) + t2 * t2);
    const float4 path =
        sqrt((((rc * rc + r * r) + zeta * zeta) - (a + a) * r * c) + (zeta + zeta) * h);
    float4 re, im;
    propagate(propagation, path, &re, &im);
    sum.re = sum.re + weight[block] * (f * (re - direct_re));
    sum.im = sum.im + weight[block] * (f * (im - direct_im));
  }
  return sum.total() * cap.prefactor * cap.weight;
}

std::complex<double> CapSurfaceFourWide::pressure(double x, double y, double z, int region) const {
  if (region != 0) return surface.apex_pressure();
  const double r_squared = x * x + y * y, r = std::sqrt(r_squared);
  const double zeta = z - surface.axial_origin;
  FourWideSum sum;
  for (const SurfaceCircle& circle : surface.circles) {
    // The squares of short distances are formed in double and only then rounded.
    const float4 base = splat(SphericalDistance::base(circle, r, r_squared, zeta));
    const float4 twice_rho_r = splat(2 * circle.radius * r);
    const float4 area = splat(circle.weight);
    for (std::size_t block = 0; block < one_minus_cosine.blocks(); ++block) {
      const float4 path = sqrt(base + twice_rho_r * one_minus_cosine[block]);
      const float4 g = four_wide::exp_ps(float4::splat(propagation.attenuation) * path) *
                       (area * lane_weight[block]) / path;
      float4 re, im;
      four_wide::complex_exp(float4::splat(0), float4::splat(propagation.phase) * path, &re, &im);
      sum.re = sum.re + g * re;
      sum.im = sum.im + g * im;
    }
  }
  return sum.total() * surface.prefactor;
}

}  // namespace kestrel
