#pragma once

/// Plain evaluations of the continuous-wave methods: one point after the other, std::complex and
/// library functions, nothing shared with the kernels under test. Every float step is written out,
/// so on the scalar path the fields agree to the bit where a method's tolerance is zero.

#include <algorithm>
#include <array>
#include <cmath>

#include "numerics/four_wide_math.h"
#include "numerics/smart_exp.h"
#include "tests/support/situation.h"

namespace kestrel::test {

namespace reference {

constexpr double kPi = 3.14159265358979, kTwoPi = 6.28318530717958, kHalfPi = 1.570796326794895;
constexpr double kNeper = 8.685889638065037;

struct Rule {
  std::vector<double> x, w;
  Rule(int n, double from, double to, bool mapped) {
    NumericalIntegration rule;
    rule.allocate_memory(n);
    mapped ? rule.gauss_quadrature(from, to) : rule.gauss_quadrature();
    for (int i = 0; i < n; ++i) x.push_back(rule.get_abscissa(i)), w.push_back(rule.get_weight(i));
  }
};
inline Rule unit_rule(const Situation& s) { return {s.nodes, -1, 1, false}; }
inline Rule angle_rule(const Situation& s) { return {s.nodes, 0, kPi, true}; }

/// e^{x + jy} with the shortcuts for exact zeros.
inline Complex wave(double x, double y) {
  if (x == 0 && y == 0) return 1;
  if (x == 0) return {std::cos(y), std::sin(y)};
  if (y == 0) return {std::exp(x), 0};
  return {std::exp(x) * std::cos(y), std::exp(x) * std::sin(y)};
}

inline float narrow(double x) { return static_cast<float>(x); }
inline double frequency(const Situation& s) { return s.medium._f0 <= 1e-10 ? 1e6 : s.medium._f0; }

// ---- rectangle ----------------------------------------------------------------------------------

inline Complex rectangle_single(const Situation& s, Point p) {
  const Medium& m = s.medium;
  const float x = narrow(p.x), y = narrow(p.y), z = narrow(p.z);
  if (z < 0) return 0;
  const float wavelength = narrow(m._soundspeed / frequency(s));
  const double k = -6.2831855f / wavelength;
  const double alpha = narrow(m._dBcmMHz * -100 * m._f0 / 1e6 / kNeper);
  const double rho = narrow(m._rho_density), c = narrow(m._soundspeed);
  const Complex prefactor(s.weight().real() * rho * c / -6.2831854820251465,
                          s.weight().imag() * rho * c / -6.2831854820251465);
  const double a = s.a * 0.5, b = s.b * 0.5;
  const float dxp = narrow(a) + x, dxm = narrow(a) - x;
  const float dyp = narrow(b) + y, dym = narrow(b) - y;
  const float z2 = z * z;
  const Complex e0 = wave(alpha * z, k * z);
  Complex sum;
  const auto add = [&](float q, double factor, double weight) {
    const double r = std::sqrt(z2 + q);
    const Complex d = wave(alpha * r, k * r) - e0;
    sum += Complex(weight * (d.real() * factor / q), weight * (d.imag() * factor / q));
  };
  const Rule rule = unit_rule(s);
  // The side that the integration runs along, and the distance across it.
  const auto split = [&](std::array<std::array<float, 2>, 4> pairs, double node, double weight) {
    const double t = (double{narrow(node)} + 1) * 0.5;
    const float t2 = narrow(t * t);
    for (const auto& [along, across] : pairs) {
      const float q = t2 * (along * along) + across * across;
      add(q, double{along} * double{across}, double{narrow(weight)} * 0.5);
    }
  };
  const auto whole = [&](std::array<float, 2> edges, double half, float offset, double node,
                         double weight) {
    const float u = narrow(double{narrow(node)} * half) + offset;
    for (const float edge : edges) add(edge * edge + u * u, edge, double{narrow(weight)} * half);
  };
  for (int i = 0; i < s.nodes; ++i) {
    if (dxp > 0 && dxm > 0) {
      split({{{dxp, dyp}, {dxp, dym}, {dxm, dyp}, {dxm, dym}}}, rule.x[i], rule.w[i]);
    } else {
      whole({dyp, dym}, a, x, rule.x[i], rule.w[i]);
    }
  }
  for (int i = 0; i < s.nodes; ++i) {
    if (dyp > 0 && dym > 0) {
      split({{{dym, dxp}, {dym, dxm}, {dyp, dxp}, {dyp, dxm}}}, rule.x[i], rule.w[i]);
    } else {
      whole({dxp, dxm}, b, y, rule.x[i], rule.w[i]);
    }
  }
  return sum * prefactor;
}

inline Complex rectangle_double(const Situation& s, Point p) {
  const Medium& m = s.medium;
  if (p.z < 0) return 0;
  const double k = -kTwoPi / (m._soundspeed / frequency(s));
  const double alpha = (m._dBcmMHz * 100 * m._f0 / 1e6) / -kNeper;
  const double a = s.a * 0.5, b = s.b * 0.5;
  const double dxp = a + p.x, dxm = a - p.x, dyp = b + p.y, dym = b - p.y;
  const Complex e0 = wave(alpha * p.z, k * p.z);
  double re = 0, im = 0;
  const auto add = [&](double q, double factor, double weight) {
    const double r = std::sqrt(p.z * p.z + q);
    const Complex e = wave(alpha * r, k * r);
    re += weight * (1 / q) * (e.real() - e0.real()) * factor;
    im += weight * (1 / q) * (e.imag() - e0.imag()) * factor;
  };
  const Rule rule = unit_rule(s);
  const auto split = [&](double along, double across, int i) {
    const double t = (rule.x[i] + 1) * 0.5;
    add(t * t * (along * along) + across * across, along * across, rule.w[i] * 0.5);
  };
  for (int i = 0; i < s.nodes; ++i) {
    const double u = rule.x[i] * a + p.x;
    if (dxp > 0 && dxm > 0) {
      split(dxp, dyp, i), split(dxp, dym, i), split(dxm, dyp, i), split(dxm, dym, i);
    } else {
      add(dyp * dyp + u * u, dyp, rule.w[i] * a), add(dym * dym + u * u, dym, rule.w[i] * a);
    }
  }
  for (int i = 0; i < s.nodes; ++i) {
    const double u = rule.x[i] * b + p.y;
    if (dyp > 0 && dym > 0) {
      split(dym, dxp, i), split(dym, dxm, i), split(dyp, dxp, i), split(dyp, dxm, i);
    } else {
      add(dxp * dxp + u * u, dxp, rule.w[i] * b), add(dxm * dxm + u * u, dxm, rule.w[i] * b);
    }
  }
  const Complex w = s.weight();
  return Complex(re, im) * Complex(w.real() * m._soundspeed * m._rho_density / -kTwoPi,
                                   w.imag() * m._soundspeed * m._rho_density / -kTwoPi);
}

/// One lane of the four-wide functions, from the plain lanes.
struct LaneComplex {
  float re, im;
};
inline LaneComplex lane_exp(float x, float y) {
  PlainFloat4 re, im;
  complex_exp(PlainFloat4::splat(x), PlainFloat4::splat(y), &re, &im);
  return {re.lane(0), im.lane(0)};
}
inline float lane_exp_real(float x) { return exp_ps(PlainFloat4::splat(x)).lane(0); }

/// Four partial sums; node i of an integral adds to lane 3 - i mod 4.
struct LaneSums {
  float re[4] = {}, im[4] = {};
  void add(int lane, float r, float i) { re[lane] += r, im[lane] += i; }
  Complex total() const {
    return {double{(re[0] + re[2]) + (re[1] + re[3])}, double{(im[0] + im[2]) + (im[1] + im[3])}};
  }
};

inline Complex rectangle_sse(const Situation& s, Point p) {
  const Medium& m = s.medium;
  if (p.z < 0) return 0;
  const float k = narrow(-kTwoPi / (m._soundspeed / frequency(s)));
  const float alpha = narrow(m._f0 * (m._dBcmMHz / -kNeper) * 100 / 1e6);
  const float a = narrow(s.a * 0.5), b = narrow(s.b * 0.5);
  const float x = narrow(p.x), y = narrow(p.y), z = narrow(p.z);
  const float dxp = a + x, dxm = a - x, dyp = b + y, dym = b - y;
  const LaneComplex e0 = lane_exp(alpha * z, k * z);
  LaneSums sums;
  const auto add = [&](int i, float q, float factor, float weight) {
    const float r = std::sqrt(z * z + q);
    const LaneComplex e = lane_exp(alpha * r, k * r);
    sums.add(3 - i % 4, ((e.re - e0.re) * factor) * weight / q,
             ((e.im - e0.im) * factor) * weight / q);
  };
  const Rule rule = unit_rule(s);
  const auto direction = [&](bool inside, std::array<std::array<float, 2>, 4> pairs,
                             std::array<float, 2> edges, float half, float offset) {
    for (int block = 0; block < s.nodes; block += 4) {
      // Blocks of four nodes of one integral; the order within a lane is what counts.
      const int end = std::min(block + 4, s.nodes);
      if (inside) {
        for (const auto& [along, across] : pairs) {
          for (int i = block; i < end; ++i) {
            const double t = (rule.x[i] + 1) * 0.5;
            add(i, narrow(t * t) * (along * along) + across * across, along * across,
                narrow(rule.w[i] * 0.5));
          }
        }
      } else {
        for (const float edge : edges) {
          for (int i = block; i < end; ++i) {
            const float u = narrow(rule.x[i] * double{half}) + offset;
            add(i, edge * edge + u * u, edge, narrow(rule.w[i] * double{half}));
          }
        }
      }
    }
  };
  direction(dxp > 0 && dxm > 0, {{{dxp, dyp}, {dxp, dym}, {dxm, dyp}, {dxm, dym}}}, {dyp, dym}, a,
            x);
  direction(dyp > 0 && dym > 0, {{{dym, dxp}, {dym, dxm}, {dyp, dxp}, {dyp, dxm}}}, {dxp, dxm}, b,
            y);
  const Complex w = s.weight();
  return sums.total() * Complex(w.real() * m._soundspeed * m._rho_density / -kTwoPi,
                                w.imag() * m._soundspeed * m._rho_density / -kTwoPi);
}

/// Lanes are integrals: the four of the split case, or the two edges in the first two.
inline Complex rectangle_sse2(const Situation& s, Point p) {
  const Medium& m = s.medium;
  const float x = narrow(p.x), y = narrow(p.y), z = narrow(p.z);
  if (z < 0) return 0;
  const float k = 6.2831855f / narrow(m._soundspeed / frequency(s));
  const float alpha = narrow(m._dBcmMHz * -100 * m._f0 / 1e6 / kNeper);
  const float a = narrow(s.a * 0.5), b = narrow(s.b * 0.5);
  const float dxp = a + x, dxm = a - x, dyp = b + y, dym = b - y;
  const std::complex<float> e0 = smart_exp(alpha * z, -k * z);
  LaneSums sums;
  const auto add = [&](int lane, float q, float factor, float weight) {
    PlainFloat4 sine, cosine;
    sincos_ps(PlainFloat4::splat(k * std::sqrt(z * z + q)), &sine, &cosine);
    sums.add(lane, ((cosine.lane(0) - e0.real()) * factor) * weight / q,
             ((-sine.lane(0) - e0.imag()) * factor) * weight / q);
  };
  const Rule rule = unit_rule(s);
  const auto direction = [&](bool inside, std::array<std::array<float, 2>, 4> pairs,
                             std::array<float, 2> edges, float half, float offset) {
    for (int i = 0; i < s.nodes; ++i) {
      const double t = (rule.x[i] + 1) * 0.5;
      const float u = narrow(rule.x[i]) * half + offset;
      for (int lane = 0; lane < (inside ? 4 : 2); ++lane) {
        const auto [along, across] = pairs[lane];
        if (inside) {
          add(lane, narrow(t * t) * (along * along) + across * across, along * across,
              narrow(rule.w[i] * 0.5));
        } else {
          add(lane, edges[lane] * edges[lane] + u * u, edges[lane], narrow(rule.w[i]) * half);
        }
      }
    }
  };
  direction(dxp > 0 && dxm > 0, {{{dxp, dyp}, {dxp, dym}, {dxm, dyp}, {dxm, dym}}}, {dyp, dym}, a,
            x);
  direction(dyp > 0 && dym > 0, {{{dym, dxp}, {dym, dxm}, {dyp, dxp}, {dyp, dxm}}}, {dxp, dxm}, b,
            y);
  const double impedance = narrow(m._rho_density) * narrow(m._soundspeed);
  const Complex w = s.weight();
  return sums.total() * Complex(w.real() * impedance / -kTwoPi, w.imag() * impedance / -kTwoPi);
}

inline Complex rectangle_rayleigh(const Situation& s, Point p) {
  const Medium& m = s.medium;
  if (p.z < 0) return 0;
  const double k = -kTwoPi / (m._soundspeed / frequency(s));
  const double alpha = (m._f0 * (m._dBcmMHz / -kNeper) * 100) / 1e6;
  const Rule rule = unit_rule(s);
  Complex sum;
  for (int i = 0; i < s.nodes; ++i) {
    for (int j = 0; j < s.nodes; ++j) {
      const double dx = p.x - rule.x[i] * (s.a * 0.5), dy = p.y - rule.x[j] * (s.b * 0.5);
      const double weight = rule.w[i] * (s.a * 0.5) * (rule.w[j] * (s.b * 0.5));
      const double r = std::sqrt(dy * dy + dx * dx + p.z * p.z);
      const Complex e = wave(alpha * r, k * r);
      sum +=
          r == 0 ? Complex(weight, weight) : Complex(weight * e.real() / r, weight * e.imag() / r);
    }
  }
  return sum * s.weight() * Complex(0, 1) * m._rho_density * m._f0;
}

inline Complex rectangle_farfield(const Situation& s, Point p, double dBcmMHz) {
  const Medium& m = s.medium;
  const double r = std::sqrt(p.z * p.z + p.x * p.x + p.y * p.y);
  if (p.z < 0 || !(r > 0)) return 0;
  const double k = kTwoPi / (m._soundspeed / frequency(s)), a = s.a * 0.5, b = s.b * 0.5;
  const double alpha = ((dBcmMHz / -kNeper) * 100 * m._f0) / 1e6;
  const Complex amplitude = s.weight() * Complex(0, m._f0 * m._rho_density * 4 * a * b);
  Complex pressure = wave(alpha * r, -k * r) * amplitude / r;
  const double u = p.x * (a * k) / r, v = p.y * (b * k) / r;
  if (p.x != 0) pressure = pressure * std::sin(u) / u;
  if (p.y != 0) pressure = pressure * std::sin(v) / v;
  return pressure;
}
inline Complex rectangle_farfield(const Situation& s, Point p) {
  return rectangle_farfield(s, p, s.medium._dBcmMHz);
}
inline Complex rectangle_farfield_lossless(const Situation& s, Point p) {
  return rectangle_farfield(s, p, 0);
}

/// n-by-n little far fields, with the complex wavenumber in their directivities.
inline Complex rectangle_radiator(const Situation& s, Point p) {
  const Medium& m = s.medium;
  if (p.z < 0) return 0;
  const Complex k(kTwoPi * frequency(s) / m._soundspeed, -m._dBcmMHz * 100 * m._f0 / 1e6 / kNeper);
  const double half_width = s.a / 2 / s.nodes, half_height = s.b / 2 / s.nodes;
  const auto sinc = [](Complex u) {
    return std::abs(u) < 1e-3 ? 1.0 - u * u / 6.0 : std::sin(u) / u;
  };
  Complex sum;
  for (int i = 0; i < s.nodes; ++i) {
    for (int j = 0; j < s.nodes; ++j) {
      const double dx = p.x - (-s.a / 2 + (2 * i + 1) * half_width);
      const double dy = p.y - (-s.b / 2 + (2 * j + 1) * half_height);
      const double r = std::sqrt(dx * dx + dy * dy + p.z * p.z);
      sum += 4 * half_width * half_height * std::exp(Complex(0, -1) * k * r) / r *
             sinc(k * half_width * dx / r) * sinc(k * half_height * dy / r);
    }
  }
  return Complex(0, m._rho_density * m._f0) * s.weight() * sum;
}

// ---- disc and ring ------------------------------------------------------------------------------

inline Complex disc_fnm(const Situation& s, Point p) {
  const Medium& m = s.medium;
  if (!(p.z >= 0)) return 0;
  const double k = -kTwoPi / (m._soundspeed / frequency(s)), a = s.a;
  const double alpha = ((m._dBcmMHz * 100 * m._f0) / 1e6) / -kNeper;
  const double r2 = p.x * p.x + p.y * p.y, r = std::sqrt(r2);
  const Complex e0 = wave(alpha * p.z, k * p.z);
  const Rule rule = angle_rule(s);
  Complex sum;
  for (int j = 0; j < s.nodes; ++j) {
    const double c = std::cos(rule.x[j]);
    const double d = (r2 + a * a) - ((a + a) * c) * r, path = std::sqrt(p.z * p.z + d);
    sum += rule.w[j] * (((c * r - a) / d) * (wave(alpha * path, k * path) - e0));
  }
  return sum * (m._rho_density * (m._soundspeed * ((a / kPi) * s.weight())));
}

/// Radial nodes over (0, pi a), angular weights with a further pi.
inline Complex disc_fnm_apodized(const Situation& s, Point p) {
  const Medium& m = s.medium;
  if (!(p.z >= 0)) return 0;
  const double k = -kTwoPi / (m._soundspeed / m._f0), a = s.a;
  const double alpha = ((m._dBcmMHz / -kNeper) * 100 * m._f0) / 1e6;
  const double r2 = p.x * p.x + p.y * p.y, r = std::sqrt(r2);
  const Complex e0 = wave(alpha * p.z, k * p.z);
  const Rule rule = angle_rule(s);
  Complex sum;
  for (int i = 0; i < s.nodes; ++i) {
    const double sigma = rule.x[i] * a;
    const double slope = piston_apodization::derivative(s.profile, sigma, a);
    for (int j = 0; j < s.nodes; ++j) {
      const double c = std::cos(rule.x[j]);
      const double d = (sigma * sigma + r2) - 2 * c * r * sigma, path = std::sqrt(p.z * p.z + d);
      const double g = slope * (c * r - sigma) * sigma / d;
      sum += rule.w[i] * a * (rule.w[j] * kPi * (g * (wave(alpha * path, k * path) - e0)));
    }
  }
  return sum * (m._rho_density * (m._soundspeed * ((a / kPi) * s.weight())));
}

inline Complex disc_sse(const Situation& s, Point p) {
  const Medium& m = s.medium;
  if (!(p.z >= 0)) return 0;
  const float k = narrow(-kTwoPi / (m._soundspeed / m._f0)), a = narrow(s.a);
  const float alpha = narrow(((m._dBcmMHz / kNeper) * 100 * m._f0) / -1e6);
  const float x = narrow(p.x), y = narrow(p.y), z = narrow(p.z);
  const float r2 = x * x + y * y, q = narrow(s.a * s.a) + r2, r = std::sqrt(r2);
  const LaneComplex e0 = lane_exp(alpha * z, k * z);
  const Rule rule = angle_rule(s);
  LaneSums sums;
  for (int j = 0; j < s.nodes / 4 * 4; ++j) {
    const double cosine = std::cos(rule.x[j]);
    const float d = q - narrow((s.a + s.a) * cosine) * r, path = std::sqrt(z * z + d);
    // This processor's own approximate reciprocal: no two makers agree on it.
    const float f = (narrow(cosine) * r - a) * rcp(float4::splat(d)).lane(0);
    const LaneComplex e = lane_exp(alpha * path, k * path);
    sums.add(3 - j % 4, (e.re - e0.re) * f * narrow(rule.w[j]),
             (e.im - e0.im) * f * narrow(rule.w[j]));
  }
  return sums.total() * (m._rho_density * (m._soundspeed * ((s.a / kPi) * s.weight())));
}

/// Midpoint sum over a disc; `rate` is the real exponent per metre, `profile` the velocity profile.
inline Complex disc_sum(const Situation& s, Point p, double a, double rate, double k, int profile) {
  if (!(p.z >= 0)) return 0;
  const double radial = a / s.nodes, angular = kPi / s.nodes;
  const double r2 = p.x * p.x + p.y * p.y, r = std::sqrt(r2), z2r2 = p.z * p.z + r2;
  Complex sum;
  for (int i = 0; i < s.nodes; ++i) {
    const double rho = (i + 0.5) * radial;
    for (int j = 0; j < s.nodes; ++j) {
      const double path =
          std::sqrt((rho * rho + z2r2) - 2 * rho * r * std::cos((j + 0.5) * angular));
      const double v = piston_apodization::evaluate(profile, rho, a);
      const double g = v * (radial * rho * angular) * std::exp(rate * path) / path;
      sum += g * wave(0, k * path);
    }
  }
  return sum;
}
inline Complex disc_gain(const Situation& s) {
  return Complex(0, 2 * s.medium._f0) * s.medium._rho_density * s.weight();
}
/// The loss has the wrong sign here: waves grow.
inline Complex disc_rayleigh(const Situation& s, Point p) {
  const Medium& m = s.medium;
  return disc_sum(s, p, s.a, (m._dBcmMHz * 100 * m._f0 / 1e6) / kNeper,
                  m._f0 * -kTwoPi / m._soundspeed, 0) *
         disc_gain(s);
}
inline Complex disc_rayleigh_apodized(const Situation& s, Point p) {
  const Medium& m = s.medium;
  return disc_sum(s, p, s.a, ((m._dBcmMHz * 100 * m._f0) / 1e6) / -kNeper,
                  -kTwoPi / (m._soundspeed / m._f0), s.profile) *
         disc_gain(s);
}

inline Complex disc_rayleigh_sse(const Situation& s, Point p) {
  const Medium& m = s.medium;
  if (!(p.z >= 0)) return 0;
  const float k = narrow(-kTwoPi / (m._soundspeed / m._f0));
  const float alpha = narrow(((m._dBcmMHz / -kNeper) * 100 * m._f0) / 1e6);
  const double radial = s.a / s.nodes, angular = kPi / s.nodes;
  const float x = narrow(p.x), y = narrow(p.y), z = narrow(p.z);
  const float r2 = x * x + y * y, z2r2 = z * z + r2, r = std::sqrt(r2);
  LaneSums sums;
  for (int i = 0; i < s.nodes; ++i) {
    const double rho_double = (i + 0.5) * radial;
    const float rho = narrow(rho_double);
    for (int j = 0; j < s.nodes / 4 * 4; ++j) {
      const float cosine = narrow(std::cos((j + 0.5) * angular));
      const float path =
          std::sqrt(cosine * (-2 * rho * r) + narrow(rho_double * rho_double) + z2r2);
      const float g = lane_exp_real(alpha * path) * (rho * narrow(radial) * narrow(angular)) / path;
      const LaneComplex e = lane_exp(0, k * path);
      sums.add(3 - j % 4, g * e.re, g * e.im);
    }
  }
  return sums.total() * disc_gain(s);
}

inline Complex ring_fnm(const Situation& s, Point p) {
  const Medium& m = s.medium;
  if (!(p.z >= 0)) return 0;
  const double k = -kTwoPi / (m._soundspeed / m._f0);
  const double alpha = ((m._dBcmMHz / -kNeper) * 100 * m._f0) / 1e6;
  const double r2 = p.x * p.x + p.y * p.y, r = std::sqrt(r2);
  const Complex e0 = wave(alpha * p.z, k * p.z);
  const Rule rule = angle_rule(s);
  Complex sum;
  for (int j = 0; j < s.nodes; ++j) {
    const double c = std::cos(rule.x[j]);
    const auto edge = [&](double a) {
      const Complex gain = ((a / kPi) * s.weight()) * m._soundspeed * m._rho_density;
      const double d = (a * a + r2) - ((a + a) * c) * r, path = std::sqrt(p.z * p.z + d);
      const double f = (c * r - a) / d;
      return rule.w[j] * ((wave(alpha * path, k * path) - e0) * (f * gain));
    };
    sum += edge(s.b);
    if (s.a > 0) sum -= edge(s.a);
  }
  return sum;
}

inline Complex ring_rayleigh(const Situation& s, Point p) {
  const Medium& m = s.medium;
  const double alpha = ((m._dBcmMHz / -kNeper) * 100 * m._f0) / 1e6;
  const double k = -kTwoPi / (m._soundspeed / m._f0);
  const Complex hole = s.a > 0 ? disc_sum(s, p, s.a, alpha, k, 0) : 0.0;
  return (disc_sum(s, p, s.b, alpha, k, 0) - hole) * disc_gain(s);
}

// ---- shell and spherical ring -------------------------------------------------------------------

inline bool cap_hears(double a, double rc, Point p) {
  const double h = std::sqrt(rc * rc - a * a), zeta = p.z - rc;
  return zeta >= -h || p.x * p.x + p.y * p.y + zeta * zeta <= rc * rc;
}

inline Complex cap_fnm(const Situation& s, Point p, double a, double rc, double alpha,
                       double prefactor, Complex weight) {
  const Medium& m = s.medium;
  if (!cap_hears(a, rc, p)) return 0;
  const double h = std::sqrt(rc * rc - a * a), zeta = p.z - rc;
  const double k = -kTwoPi / (m._soundspeed / frequency(s));
  const double r = std::sqrt(p.x * p.x + p.y * p.y);
  if (std::abs(r) < 1e-10 && std::abs(zeta) < 1e-10) {
    const Complex e = wave(alpha * rc, k * rc);
    return Complex(-kTwoPi * m._rho_density * m._f0 * (rc - h) * e.imag(),
                   kTwoPi * m._rho_density * m._f0 * (rc - h) * e.real()) *
           weight;
  }
  const double side = std::abs(zeta) > 1e-10 ? zeta / std::abs(zeta) : 0;
  const double direct = side * std::sqrt(r * r + zeta * zeta) + rc;
  const Complex e0 = wave(alpha * direct, k * direct);
  const Rule rule = unit_rule(s);
  Complex sum;
  for (int j = 0; j < s.nodes; ++j) {
    const double c = std::cos(rule.x[j] * kHalfPi + kHalfPi), w = rule.w[j] * kHalfPi;
    const double t1 = r * c * h, t2 = a * zeta, t3 = r * a * c;
    const double f =
        (t1 + t2) / ((((zeta * (a + a)) * t1 + (r * rc) * (r * rc)) - t3 * t3) + t2 * t2);
    const double path =
        std::sqrt((((rc * rc + r * r) + zeta * zeta) - (a + a) * r * c) + (zeta + zeta) * h);
    sum += w * (f * (wave(alpha * path, k * path) - e0));
  }
  return (sum * prefactor) * weight;
}

inline Complex shell_fnm(const Situation& s, Point p) {
  const Medium& m = s.medium;
  return cap_fnm(s, p, s.a, s.b, ((m._dBcmMHz * 100 * m._f0) / 1e6) / -kNeper,
                 ((m._rho_density * m._soundspeed * s.b) * s.a) / kPi, s.weight());
}

inline Complex spherical_ring_fnm(const Situation& s, Point p) {
  const Medium& m = s.medium;
  const double alpha = ((m._f0 * (m._dBcmMHz / -kNeper)) * 100) / 1e6;
  const double impedance = (m._rho_density * m._soundspeed) * s.c;
  const auto cap = [&](double a, Complex weight) {
    return cap_fnm(s, p, a, s.c, alpha, (a * impedance) / kPi, weight);
  };
  const Complex outer = cap(s.b, s.weight());
  return s.a > 0 ? outer + cap(s.a, -s.weight()) : outer;
}

inline Complex shell_sse(const Situation& s, Point p) {
  const Medium& m = s.medium;
  const double zeta_double = p.z - s.b, h_double = std::sqrt(s.b * s.b - s.a * s.a);
  const double r_double = std::sqrt(p.x * p.x + p.y * p.y);
  if (!cap_hears(s.a, s.b, p)) return 0;
  if (r_double < 1e-10 && std::abs(zeta_double) < 1e-10) return shell_fnm(s, p);
  const float k = narrow(-kTwoPi / (m._soundspeed / frequency(s)));
  const float alpha = narrow(((m._dBcmMHz * 100 * m._f0) / 1e6) / -kNeper);
  const float a = narrow(s.a), rc = narrow(s.b), h = narrow(h_double);
  const float r = narrow(r_double), zeta = narrow(zeta_double);
  const float d = std::sqrt(r * r + zeta * zeta);
  const float direct = (zeta_double > 1e-10 ? d : zeta_double < -1e-10 ? -d : 0) + rc;
  const LaneComplex e0 = lane_exp(alpha * direct, k * direct);
  const Rule rule = unit_rule(s);
  LaneSums sums;
  for (int j = 0; j < s.nodes / 4 * 4; ++j) {
    const float c = narrow(std::cos(rule.x[j] * kHalfPi + kHalfPi));
    const float w = narrow(rule.w[j] * kHalfPi);
    const float t1 = r * c * h, t2 = a * zeta, t3 = r * a * c;
    const float f =
        (t1 + t2) / ((((zeta * (a + a)) * t1 + (r * rc) * (r * rc)) - t3 * t3) + t2 * t2);
    const float path =
        std::sqrt((((rc * rc + r * r) + zeta * zeta) - (a + a) * r * c) + (zeta + zeta) * h);
    const LaneComplex e = lane_exp(alpha * path, k * path);
    sums.add(3 - j % 4, w * (f * (e.re - e0.re)), w * (f * (e.im - e0.im)));
  }
  return sums.total() * (((m._rho_density * m._soundspeed * s.b) * s.a) / kPi) * s.weight();
}

/// Midpoint sum over a cap, its distances by the law of cosines.
inline Complex cap_rayleigh(const Situation& s, Point p, double a, double rc, Complex weight) {
  const Medium& m = s.medium;
  if (!cap_hears(a, rc, p)) return 0;
  const double zeta = p.z - rc, r = std::hypot(p.x, p.y);
  const Complex rate(-m._dBcmMHz * 100 * m._f0 / 1e6 / kNeper, -kTwoPi * m._f0 / m._soundspeed);
  const double polar = std::asin(a / rc) / s.nodes, azimuth = kPi / s.nodes;
  Complex sum;
  for (int i = 0; i < s.nodes; ++i) {
    const double theta = (i + 0.5) * polar;
    for (int j = 0; j < s.nodes; ++j) {
      const double path = std::sqrt(r * r + zeta * zeta + rc * rc -
                                    2 * r * rc * std::sin(theta) * std::cos((j + 0.5) * azimuth) +
                                    2 * zeta * rc * std::cos(theta));
      sum += rc * rc * std::sin(theta) * polar * azimuth * std::exp(rate * path) / path;
    }
  }
  return Complex(0, 2 * m._f0) * m._rho_density * weight * sum;
}
inline Complex shell_rayleigh(const Situation& s, Point p) {
  return cap_rayleigh(s, p, s.a, s.b, s.weight());
}
inline Complex spherical_ring_rayleigh(const Situation& s, Point p) {
  const Complex outer = cap_rayleigh(s, p, s.b, s.c, s.weight());
  return s.a > 0 ? outer + cap_rayleigh(s, p, s.a, s.c, -s.weight()) : outer;
}

}  // namespace reference

/// A continuous-wave method that a shape has, and what it must give.
struct CwMethod {
  const char* name;
  ShapeKind shape;
  Method method;
  /// Pressure at a point of the element's frame.
  Complex (*reference)(const Situation&, Point);
  /// Of the peak, on the scalar path; 0 asks for the same bits.
  double tolerance;
  /// Points in lanes: runs on the chosen instruction set.
  bool vectorised;
};

inline constexpr CwMethod kCwMethods[] = {
    {"rectangle fnm_cw_single", ShapeKind::rectangle, &Transducer::fnm_cw_single,
     reference::rectangle_single, 0, true},
    {"rectangle fnm_cw", ShapeKind::rectangle, &Transducer::fnm_cw, reference::rectangle_double, 0,
     true},
    {"rectangle fnm_cw_sse", ShapeKind::rectangle, &Transducer::fnm_cw_sse,
     reference::rectangle_sse, 0, false},
    {"rectangle fnm_cw_sse2", ShapeKind::rectangle, &Transducer::fnm_cw_sse2,
     reference::rectangle_sse2, 0, false},
    {"rectangle rayleigh_cw", ShapeKind::rectangle, &Transducer::rayleigh_cw,
     reference::rectangle_rayleigh, 0, true},
    {"rectangle rayleigh_cw_sse", ShapeKind::rectangle, &Transducer::rayleigh_cw_sse,
     reference::rectangle_rayleigh, 4e-3, false},
    {"rectangle farfield_cw", ShapeKind::rectangle, &Transducer::farfield_cw,
     reference::rectangle_farfield, 0, false},
    {"rectangle radiator_cw", ShapeKind::rectangle, &Transducer::radiator_cw,
     reference::rectangle_radiator, 1e-12, false},
    {"disc fnm_cw", ShapeKind::disc, &Transducer::fnm_cw, reference::disc_fnm, 0, true},
    {"disc fnm_cw_apodized", ShapeKind::disc, &Transducer::fnm_cw_apodized,
     reference::disc_fnm_apodized, 0, true},
    {"disc fnm_cw_sse", ShapeKind::disc, &Transducer::fnm_cw_sse, reference::disc_sse, 0, false},
    {"disc rayleigh_cw", ShapeKind::disc, &Transducer::rayleigh_cw, reference::disc_rayleigh, 0,
     true},
    {"disc rayleigh_cw_apodized", ShapeKind::disc, &Transducer::rayleigh_cw_apodized,
     reference::disc_rayleigh_apodized, 0, true},
    {"disc rayleigh_cw_sse", ShapeKind::disc, &Transducer::rayleigh_cw_sse,
     reference::disc_rayleigh_sse, 0, false},
    {"ring fnm_cw", ShapeKind::ring, &Transducer::fnm_cw, reference::ring_fnm, 0, true},
    // The reference sums disc and hole apart.
    {"ring rayleigh_cw", ShapeKind::ring, &Transducer::rayleigh_cw, reference::ring_rayleigh, 1e-12,
     true},
    {"shell fnm_cw", ShapeKind::shell, &Transducer::fnm_cw, reference::shell_fnm, 0, true},
    {"shell fnm_cw_sse", ShapeKind::shell, &Transducer::fnm_cw_sse, reference::shell_sse, 0, false},
    {"shell rayleigh_cw", ShapeKind::shell, &Transducer::rayleigh_cw, reference::shell_rayleigh,
     1e-12, true},
    {"shell rayleigh_cw_sse", ShapeKind::shell, &Transducer::rayleigh_cw_sse,
     reference::shell_rayleigh, 8e-3, false},
    {"spherical ring fnm_cw", ShapeKind::spherical_ring, &Transducer::fnm_cw,
     reference::spherical_ring_fnm, 0, true},
    {"spherical ring rayleigh_cw", ShapeKind::spherical_ring, &Transducer::rayleigh_cw,
     reference::spherical_ring_rayleigh, 1e-12, true},
};

/// The point in the element's frame: about y, then x, then z.
inline Point local_point(const Situation& s, Point p) {
  const double s0 = std::sin(s.euler.x), c0 = std::cos(s.euler.x);
  const double s1 = std::sin(s.euler.y), c1 = std::cos(s.euler.y);
  const double s2 = std::sin(s.euler.z), c2 = std::cos(s.euler.z);
  const double dx = p.x - s.center.x, dy = p.y - s.center.y, dz = p.z - s.center.z;
  return {(c0 * c2 + s0 * s1 * s2) * dx + c1 * s2 * dy + (c0 * s1 * s2 - s0 * c2) * dz,
          (s0 * s1 * c2 - c0 * s2) * dx + c1 * c2 * dy + (s0 * s2 + c0 * s1 * c2) * dz,
          s0 * c1 * dx + -s1 * dy + c0 * c1 * dz};
}

inline std::vector<Complex> reference_field(const CwMethod& method, const Situation& s,
                                            const Points& points) {
  std::vector<Complex> field;
  for (const Point p : points) field.push_back(method.reference(s, local_point(s, p)));
  return field;
}

}  // namespace kestrel::test
