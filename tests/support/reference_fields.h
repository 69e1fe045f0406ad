#pragma once

/// Plain evaluations of the continuous-wave methods: one point after the other, std::complex and
/// library functions. Of the kernels under test they share the terms of rectangles' edges and caps'
/// rims alone, which the comparisons with surface integrals check. Every float step is written out,
/// so on the scalar path the fields agree to the bit where a method's tolerance is zero.

#include <algorithm>
#include <array>
#include <cmath>

#include "kestrel/special_functions.h"
#include "methods/fnm/rectangle_edges.h"
#include "methods/fnm/rim_terms.h"
#include "numerics/four_wide_kernels.h"
#include "tests/support/situation.h"

namespace kestrel::test {

namespace reference {

constexpr double kPi = 3.14159265358979, kTwoPi = 6.28318530717958, kHalfPi = 1.570796326794895;
constexpr double kNeper = 8.685889638065037;

struct Rule {
  std::vector<double> x, w;
  explicit Rule(const Situation& s, bool half_turn = false) {
    NumericalIntegration rule;
    rule.allocate_memory(s.nodes);
    half_turn ? rule.gauss_quadrature(0, kPi) : rule.gauss_quadrature();
    for (int i = 0; i < s.nodes; ++i) {
      x.push_back(rule.get_abscissa(i));
      w.push_back(rule.get_weight(i));
    }
  }
};

inline float narrow(double x) { return static_cast<float>(x); }

/// -k, and -alpha in nepers per metre in five orders of operation.
inline double wavenumber(const Medium& m) { return -kTwoPi / (m._soundspeed / m._f0); }
inline double loss_scaled(const Medium& m) { return m._dBcmMHz * 100 * m._f0 / 1e6 / -kNeper; }
inline double loss_nepers(const Medium& m) { return m._dBcmMHz / -kNeper * 100 * m._f0 / 1e6; }
inline double loss_frequency(const Medium& m) { return m._f0 * (m._dBcmMHz / -kNeper) * 100 / 1e6; }
inline double loss_negated(const Medium& m) { return m._dBcmMHz / kNeper * 100 * m._f0 / -1e6; }
inline double loss_in_line(const Medium& m) { return m._dBcmMHz * -100 * m._f0 / 1e6 / kNeper; }

/// e^{x + jy} with the shortcuts for exact zeros.
inline Complex exponential(double x, double y) {
  if (x == 0 && y == 0) return 1;
  if (x == 0) return {std::cos(y), std::sin(y)};
  if (y == 0) return {std::exp(x), 0};
  return {std::exp(x) * std::cos(y), std::exp(x) * std::sin(y)};
}
/// E(r) of a double-precision method.
struct Wave {
  double alpha, k;
  Complex operator()(double r) const { return exponential(alpha * r, k * r); }
};

/// One lane of the four-wide functions, from the plain lanes.
struct LaneComplex {
  float re, im;
};
struct LaneWave {
  float alpha, k;
  LaneWave(double loss, double wavenumber) : alpha(narrow(loss)), k(narrow(wavenumber)) {}
  LaneComplex operator()(float r) const {
    PlainFloat4 re, im;
    four_wide::complex_exp(PlainFloat4::splat(alpha * r), PlainFloat4::splat(k * r), &re, &im);
    return {re.lane(0), im.lane(0)};
  }
  float decay(float r) const { return four_wide::exp_ps(PlainFloat4::splat(alpha * r)).lane(0); }
};

/// Four partial sums; node i of an integral adds to lane 3 - i mod 4.
struct LaneSums {
  float re[4] = {}, im[4] = {};
  void add(int lane, float r, float i) {
    re[lane] += r;
    im[lane] += i;
  }
  Complex total() const {
    return {double{(re[0] + re[2]) + (re[1] + re[3])}, double{(im[0] + im[2]) + (im[1] + im[3])}};
  }
};

// ---- rectangle ----------------------------------------------------------------------------------

/// One edge integral. Over the face's extent an edge is split at the projection of the point and
/// runs along one distance at another one across; beside it the edge is taken whole.
template <class T>
struct Edge {
  int axis;  ///< 0 along the width, 1 along the height
  bool split;
  T along, across;
  T offset;  ///< of the point from the middle of the whole edge

  /// q at a squared node of (0, 1) when split, at a node of the whole edge otherwise.
  T squared(T unit_node_squared, T node) const {
    return split ? split_edge_squared(unit_node_squared, along * along, across * across)
                 : whole_edge_squared(node, offset, across * across);
  }
  template <class Product>
  Product factor() const {
    return split ? Product{along} * Product{across} : Product{across};
  }
};

/// Visits every node of every edge integral in the order of summation, `block` nodes of an integral
/// at a time: visit(node, number of the integral, edge).
template <class T, class Visit>
void visit_edges(int nodes, T a, T b, T x, T y, int block, const Visit& visit) {
  const T dxp = a + x, dxm = a - x, dyp = b + y, dym = b - y;
  const auto direction = [&](int axis, T one, T other, T plus, T minus, T offset) {
    const bool split = one > 0 && other > 0;
    const Edge<T> halves[] = {{axis, split, one, plus, offset},
                              {axis, split, one, minus, offset},
                              {axis, split, other, plus, offset},
                              {axis, split, other, minus, offset}};
    for (int first = 0; first < nodes; first += block) {
      for (int k = 0; k < (split ? 4 : 2); ++k) {
        for (int i = first; i < std::min(first + block, nodes); ++i) visit(i, k, halves[k]);
      }
    }
  };
  direction(0, dxp, dxm, dyp, dym, x);
  direction(1, dym, dyp, dxp, dxm, y);
}

inline Complex rectangle_single(const Situation& s, Point p) {
  const Medium& m = s.medium;
  const float x = narrow(p.x), y = narrow(p.y), z = narrow(p.z);
  if (z < 0) return 0;
  const Wave wave{narrow(loss_in_line(m)), -6.2831855f / narrow(m._soundspeed / m._f0)};
  const Complex e0 = wave(z);
  const double half[] = {s.a * 0.5, s.b * 0.5};
  const Rule rule(s);
  Complex sum;
  visit_edges(s.nodes, narrow(half[0]), narrow(half[1]), x, y, 1, [&](int i, int, auto edge) {
    const double node = narrow(rule.x[i]), t = (node + 1) * 0.5;
    const float q = edge.squared(narrow(t * t), narrow(node * half[edge.axis]));
    const double weight = narrow(rule.w[i]) * (edge.split ? 0.5 : half[edge.axis]);
    const double factor = edge.template factor<double>();
    const Complex d = wave(std::sqrt(z * z + q)) - e0;
    sum += Complex(weight * (d.real() * factor / q), weight * (d.imag() * factor / q));
  });
  const float rho = narrow(m._rho_density), c = narrow(m._soundspeed);
  return sum * Complex(s.weight().real() * rho * c / -6.2831854820251465,
                       s.weight().imag() * rho * c / -6.2831854820251465);
}

/// w c rho / (-2 pi).
inline Complex rectangle_gain(const Situation& s) {
  const Complex w = s.weight();
  return {w.real() * s.medium._soundspeed * s.medium._rho_density / -kTwoPi,
          w.imag() * s.medium._soundspeed * s.medium._rho_density / -kTwoPi};
}

inline Complex rectangle_double(const Situation& s, Point p) {
  if (p.z < 0) return 0;
  const Wave wave{loss_scaled(s.medium), wavenumber(s.medium)};
  const Complex e0 = wave(p.z);
  const double half[] = {s.a * 0.5, s.b * 0.5};
  const Rule rule(s);
  double re = 0, im = 0;
  visit_edges(s.nodes, half[0], half[1], p.x, p.y, 1, [&](int i, int, auto edge) {
    const double t = (rule.x[i] + 1) * 0.5;
    const double q = edge.squared(t * t, rule.x[i] * half[edge.axis]);
    const double weight = rule.w[i] * (edge.split ? 0.5 : half[edge.axis]);
    const double factor = edge.template factor<double>();
    const Complex e = wave(std::sqrt(p.z * p.z + q));
    re += weight * (1 / q) * (e.real() - e0.real()) * factor;
    im += weight * (1 / q) * (e.imag() - e0.imag()) * factor;
  });
  return Complex(re, im) * rectangle_gain(s);
}

inline Complex rectangle_sse(const Situation& s, Point p) {
  if (p.z < 0) return 0;
  const LaneWave wave(loss_frequency(s.medium), wavenumber(s.medium));
  const float x = narrow(p.x), y = narrow(p.y), z = narrow(p.z);
  const LaneComplex e0 = wave(z);
  const float half[] = {narrow(s.a * 0.5), narrow(s.b * 0.5)};
  const Rule rule(s);
  LaneSums sums;
  visit_edges(s.nodes, half[0], half[1], x, y, 4, [&](int i, int, auto edge) {
    const double t = (rule.x[i] + 1) * 0.5, side = half[edge.axis];
    const float q = edge.squared(narrow(t * t), narrow(rule.x[i] * side));
    const float weight = narrow(rule.w[i] * (edge.split ? 0.5 : side));
    const float factor = edge.template factor<float>();
    const LaneComplex e = wave(std::sqrt(z * z + q));
    sums.add(3 - i % 4, ((e.re - e0.re) * factor) * weight / q,
             ((e.im - e0.im) * factor) * weight / q);
  });
  return sums.total() * rectangle_gain(s);
}

/// Lanes are integrals: the four of the split case, or the two edges in the first two.
inline Complex rectangle_sse2(const Situation& s, Point p) {
  const Medium& m = s.medium;
  const float x = narrow(p.x), y = narrow(p.y), z = narrow(p.z);
  if (z < 0) return 0;
  const float k = 6.2831855f / narrow(m._soundspeed / m._f0);
  const std::complex<float> e0 = smart_exp(narrow(loss_in_line(m)) * z, -k * z);
  const float half[] = {narrow(s.a * 0.5), narrow(s.b * 0.5)};
  const Rule rule(s);
  LaneSums sums;
  visit_edges(s.nodes, half[0], half[1], x, y, 1, [&](int i, int lane, auto edge) {
    const double t = (rule.x[i] + 1) * 0.5;
    const float side = half[edge.axis];
    const float q = edge.squared(narrow(t * t), narrow(rule.x[i]) * side);
    const float weight = edge.split ? narrow(rule.w[i] * 0.5) : narrow(rule.w[i]) * side;
    const float factor = edge.template factor<float>();
    PlainFloat4 sine, cosine;
    four_wide::sincos_ps(PlainFloat4::splat(k * std::sqrt(z * z + q)), &sine, &cosine);
    sums.add(lane, ((cosine.lane(0) - e0.real()) * factor) * weight / q,
             ((-sine.lane(0) - e0.imag()) * factor) * weight / q);
  });
  const double impedance = narrow(m._rho_density) * narrow(m._soundspeed);
  const Complex w = s.weight();
  return sums.total() * Complex(w.real() * impedance / -kTwoPi, w.imag() * impedance / -kTwoPi);
}

inline Complex rectangle_rayleigh(const Situation& s, Point p) {
  const Medium& m = s.medium;
  if (p.z < 0) return 0;
  const Wave wave{loss_frequency(m), wavenumber(m)};
  const Rule rule(s);
  Complex sum;
  for (int i = 0; i < s.nodes; ++i) {
    for (int j = 0; j < s.nodes; ++j) {
      const double dx = p.x - rule.x[i] * (s.a * 0.5), dy = p.y - rule.x[j] * (s.b * 0.5);
      const double weight = rule.w[i] * (s.a * 0.5) * (rule.w[j] * (s.b * 0.5));
      const double r = std::sqrt(dy * dy + dx * dx + p.z * p.z);
      const Complex e = wave(r);
      sum +=
          r == 0 ? Complex(weight, weight) : Complex(weight * e.real() / r, weight * e.imag() / r);
    }
  }
  return sum * s.weight() * Complex(0, 1) * m._rho_density * m._f0;
}

inline Complex rectangle_farfield(const Situation& s, Point p) {
  const Medium& m = s.medium;
  const double r = std::sqrt(p.z * p.z + p.x * p.x + p.y * p.y);
  if (p.z < 0 || !(r > 0)) return 0;
  const double k = -wavenumber(m), a = s.a * 0.5, b = s.b * 0.5;
  const Complex amplitude = s.weight() * Complex(0, m._f0 * m._rho_density * 4 * a * b);
  Complex pressure = Wave{loss_nepers(m), -k}(r)*amplitude / r;
  const double u = p.x * (a * k) / r, v = p.y * (b * k) / r;
  if (p.x != 0) pressure = pressure * std::sin(u) / u;
  if (p.y != 0) pressure = pressure * std::sin(v) / v;
  return pressure;
}

/// n-by-n little far fields, with the complex wavenumber in their directivities.
inline Complex rectangle_radiator(const Situation& s, Point p) {
  const Medium& m = s.medium;
  if (p.z < 0) return 0;
  const Complex k(-wavenumber(m), loss_scaled(m));
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

inline double radius(Point p) { return std::sqrt(p.x * p.x + p.y * p.y); }

/// Term of the circle of radius a at an angle of this cosine.
template <class Gain>
Complex disc_term(Point p, double a, double cosine, const Wave& wave, Gain gain) {
  const double r = radius(p), r2 = p.x * p.x + p.y * p.y;
  const double d = (r2 + a * a) - ((a + a) * cosine) * r, path = std::sqrt(p.z * p.z + d);
  return (wave(path) - wave(p.z)) * ((cosine * r - a) / d * gain);
}
inline Complex disc_fnm_gain(const Situation& s) {
  return s.medium._rho_density * (s.medium._soundspeed * ((s.a / kPi) * s.weight()));
}

inline Complex disc_fnm(const Situation& s, Point p) {
  if (!(p.z >= 0)) return 0;
  const Wave wave{loss_scaled(s.medium), wavenumber(s.medium)};
  const Rule rule(s, true);
  Complex sum;
  for (int j = 0; j < s.nodes; ++j) {
    sum += rule.w[j] * disc_term(p, s.a, std::cos(rule.x[j]), wave, 1.0);
  }
  return sum * disc_fnm_gain(s);
}

inline Complex ring_fnm(const Situation& s, Point p) {
  const Medium& m = s.medium;
  if (!(p.z >= 0)) return 0;
  const Wave wave{loss_nepers(m), wavenumber(m)};
  const Rule rule(s, true);
  Complex sum;
  for (int j = 0; j < s.nodes; ++j) {
    const auto edge = [&](double a) {
      const Complex gain = ((a / kPi) * s.weight()) * m._soundspeed * m._rho_density;
      return rule.w[j] * disc_term(p, a, std::cos(rule.x[j]), wave, gain);
    };
    sum += edge(s.b);
    if (s.a > 0) sum -= edge(s.a);
  }
  return sum;
}

/// Radial nodes over (0, pi a), angular weights with a further pi.
inline Complex disc_fnm_apodized(const Situation& s, Point p) {
  if (!(p.z >= 0)) return 0;
  const Wave wave{loss_nepers(s.medium), wavenumber(s.medium)};
  const double r2 = p.x * p.x + p.y * p.y, r = std::sqrt(r2);
  const Complex e0 = wave(p.z);
  const Rule rule(s, true);
  Complex sum;
  for (int i = 0; i < s.nodes; ++i) {
    const double sigma = rule.x[i] * s.a;
    const double slope = piston_apodization::derivative(s.profile, sigma, s.a);
    for (int j = 0; j < s.nodes; ++j) {
      const double c = std::cos(rule.x[j]), d = (sigma * sigma + r2) - 2 * c * r * sigma;
      const double g = slope * (c * r - sigma) * sigma / d;
      sum += rule.w[i] * s.a * (rule.w[j] * kPi * (g * (wave(std::sqrt(p.z * p.z + d)) - e0)));
    }
  }
  return sum * disc_fnm_gain(s);
}

inline Complex disc_sse(const Situation& s, Point p) {
  if (!(p.z >= 0)) return 0;
  const LaneWave wave(loss_negated(s.medium), wavenumber(s.medium));
  const float x = narrow(p.x), y = narrow(p.y), z = narrow(p.z), a = narrow(s.a);
  const float r2 = x * x + y * y, q = narrow(s.a * s.a) + r2, r = std::sqrt(r2);
  const LaneComplex e0 = wave(z);
  const Rule rule(s, true);
  LaneSums sums;
  for (int j = 0; j < s.nodes / 4 * 4; ++j) {
    const double cosine = std::cos(rule.x[j]);
    const float d = q - narrow((s.a + s.a) * cosine) * r, weight = narrow(rule.w[j]);
    // This processor's own approximate reciprocal: no two makers agree on it.
    const float f = (narrow(cosine) * r - a) * rcp(float4::splat(d)).lane(0);
    const LaneComplex e = wave(std::sqrt(z * z + d));
    sums.add(3 - j % 4, (e.re - e0.re) * f * weight, (e.im - e0.im) * f * weight);
  }
  return sums.total() * disc_fnm_gain(s);
}

/// Midpoint sum over a disc of radius a with a velocity profile, less a hole's node by node; the
/// loss is a factor of its own.
inline Complex disc_sum(const Situation& s, Point p, double a, const Wave& wave, int profile,
                        double hole = 0) {
  if (!(p.z >= 0)) return 0;
  const double angular = kPi / s.nodes;
  const double r2 = p.x * p.x + p.y * p.y, r = std::sqrt(r2), z2r2 = p.z * p.z + r2;
  Complex sum;
  for (int i = 0; i < s.nodes; ++i) {
    for (int j = 0; j < s.nodes; ++j) {
      for (const double radius : {a, hole}) {
        if (radius == hole && !(hole > 0)) continue;
        const double radial = radius / s.nodes, rho = (i + 0.5) * radial;
        const double path =
            std::sqrt((rho * rho + z2r2) - 2 * rho * r * std::cos((j + 0.5) * angular));
        const double v = radius == hole ? -1 : piston_apodization::evaluate(profile, rho, a);
        const double g = v * (radial * rho * angular) * std::exp(wave.alpha * path) / path;
        sum += g * exponential(0, wave.k * path);
      }
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
  const Wave growing{-loss_scaled(m), m._f0 * -kTwoPi / m._soundspeed};
  return disc_sum(s, p, s.a, growing, 0) * disc_gain(s);
}
inline Complex disc_rayleigh_apodized(const Situation& s, Point p) {
  const Wave wave{loss_scaled(s.medium), wavenumber(s.medium)};
  return disc_sum(s, p, s.a, wave, s.profile) * disc_gain(s);
}
inline Complex ring_rayleigh(const Situation& s, Point p) {
  const Wave wave{loss_nepers(s.medium), wavenumber(s.medium)};
  return disc_sum(s, p, s.b, wave, 0, s.a) * disc_gain(s);
}

inline Complex disc_rayleigh_sse(const Situation& s, Point p) {
  if (!(p.z >= 0)) return 0;
  const LaneWave loss(loss_nepers(s.medium), 0), wave(0, wavenumber(s.medium));
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
      const float g = loss.decay(path) * (rho * narrow(radial) * narrow(angular)) / path;
      const LaneComplex e = wave(path);
      sums.add(3 - j % 4, g * e.re, g * e.im);
    }
  }
  return sums.total() * disc_gain(s);
}

// ---- shell and spherical ring -------------------------------------------------------------------

inline bool cap_hears(double a, double rc, Point p) {
  const double h = std::sqrt(rc * rc - a * a), zeta = p.z - rc;
  return zeta >= -h || p.x * p.x + p.y * p.y + zeta * zeta <= rc * rc;
}
inline bool in_focus(double rc, Point p) {
  return std::abs(radius(p)) < 1e-10 && std::abs(p.z - rc) < 1e-10;
}
inline Complex cap_fnm(const Situation& s, Point p, double a, double rc, double alpha,
                       double prefactor, Complex weight) {
  const Medium& m = s.medium;
  if (!cap_hears(a, rc, p)) return 0;
  const double h = std::sqrt(rc * rc - a * a), zeta = p.z - rc, r = radius(p);
  const Wave wave{alpha, wavenumber(m)};
  if (in_focus(rc, p)) {
    const Complex e = wave(rc);
    return Complex(-kTwoPi * m._rho_density * m._f0 * (rc - h) * e.imag(),
                   kTwoPi * m._rho_density * m._f0 * (rc - h) * e.real()) *
           weight;
  }
  const Complex e0 = wave(side_of_centre(zeta) * std::sqrt(r * r + zeta * zeta) + rc);
  const Rule rule(s);
  Complex sum;
  for (int j = 0; j < s.nodes; ++j) {
    const CapRimTerm<double> term(a, rc, h, r, zeta, std::cos(rule.x[j] * kHalfPi + kHalfPi));
    sum += rule.w[j] * kHalfPi * (term.factor * (wave(term.path) - e0));
  }
  return (sum * prefactor) * weight;
}

inline double shell_gain(const Situation& s) {
  return ((s.medium._rho_density * s.medium._soundspeed * s.b) * s.a) / kPi;
}
inline Complex shell_fnm(const Situation& s, Point p) {
  return cap_fnm(s, p, s.a, s.b, loss_scaled(s.medium), shell_gain(s), s.weight());
}

inline Complex spherical_ring_fnm(const Situation& s, Point p) {
  const Medium& m = s.medium;
  const double impedance = (m._rho_density * m._soundspeed) * s.c;
  const auto cap = [&](double a, Complex weight) {
    return cap_fnm(s, p, a, s.c, loss_frequency(m), (a * impedance) / kPi, weight);
  };
  const Complex outer = cap(s.b, s.weight());
  return s.a > 0 ? outer + cap(s.a, -s.weight()) : outer;
}

inline Complex shell_sse(const Situation& s, Point p) {
  if (!cap_hears(s.a, s.b, p)) return 0;
  if (in_focus(s.b, p)) return shell_fnm(s, p);
  const LaneWave wave(loss_scaled(s.medium), wavenumber(s.medium));
  const float a = narrow(s.a), rc = narrow(s.b), h = narrow(std::sqrt(s.b * s.b - s.a * s.a));
  const float r = narrow(radius(p)), zeta = narrow(p.z - s.b);
  const LaneComplex e0 =
      wave(narrow(side_of_centre(p.z - s.b)) * std::sqrt(r * r + zeta * zeta) + rc);
  const Rule rule(s);
  LaneSums sums;
  for (int j = 0; j < s.nodes / 4 * 4; ++j) {
    const CapRimTerm<float> term(a, rc, h, r, zeta,
                                 narrow(std::cos(rule.x[j] * kHalfPi + kHalfPi)));
    const float w = narrow(rule.w[j] * kHalfPi);
    const LaneComplex e = wave(term.path);
    sums.add(3 - j % 4, w * (term.factor * (e.re - e0.re)), w * (term.factor * (e.im - e0.im)));
  }
  return sums.total() * shell_gain(s) * s.weight();
}

/// Midpoint sum over a cap, its distances by the law of cosines.
inline Complex cap_rayleigh(const Situation& s, Point p, double a, double rc, Complex weight) {
  if (!cap_hears(a, rc, p)) return 0;
  const double zeta = p.z - rc, r = radius(p);
  const Complex rate(loss_scaled(s.medium), wavenumber(s.medium));
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
  return Complex(0, 2 * s.medium._f0) * s.medium._rho_density * weight * sum;
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

namespace reference {

using enum ShapeKind;
using T = Transducer;

inline constexpr CwMethod kCwMethods[] = {
    {"rectangle fnm_cw_single", rectangle, &T::fnm_cw_single, rectangle_single, 0, true},
    {"rectangle fnm_cw", rectangle, &T::fnm_cw, rectangle_double, 0, true},
    {"rectangle fnm_cw_sse", rectangle, &T::fnm_cw_sse, rectangle_sse, 0, false},
    {"rectangle fnm_cw_sse2", rectangle, &T::fnm_cw_sse2, rectangle_sse2, 0, false},
    {"rectangle rayleigh_cw", rectangle, &T::rayleigh_cw, rectangle_rayleigh, 0, true},
    {"rectangle rayleigh_cw_sse", rectangle, &T::rayleigh_cw_sse, rectangle_rayleigh, 4e-3, false},
    {"rectangle farfield_cw", rectangle, &T::farfield_cw, rectangle_farfield, 0, false},
    {"rectangle radiator_cw", rectangle, &T::radiator_cw, rectangle_radiator, 1e-12, false},
    {"disc fnm_cw", disc, &T::fnm_cw, disc_fnm, 0, true},
    {"disc fnm_cw_apodized", disc, &T::fnm_cw_apodized, disc_fnm_apodized, 0, true},
    {"disc fnm_cw_sse", disc, &T::fnm_cw_sse, disc_sse, 0, false},
    {"disc rayleigh_cw", disc, &T::rayleigh_cw, disc_rayleigh, 0, true},
    {"disc rayleigh_cw_apodized", disc, &T::rayleigh_cw_apodized, disc_rayleigh_apodized, 0, true},
    {"disc rayleigh_cw_sse", disc, &T::rayleigh_cw_sse, disc_rayleigh_sse, 0, false},
    {"ring fnm_cw", ring, &T::fnm_cw, ring_fnm, 0, true},
    {"ring rayleigh_cw", ring, &T::rayleigh_cw, ring_rayleigh, 0, true},
    {"shell fnm_cw", shell, &T::fnm_cw, shell_fnm, 0, true},
    {"shell fnm_cw_sse", shell, &T::fnm_cw_sse, shell_sse, 0, false},
    {"shell rayleigh_cw", shell, &T::rayleigh_cw, shell_rayleigh, 1e-12, true},
    {"shell rayleigh_cw_sse", shell, &T::rayleigh_cw_sse, shell_rayleigh, 8e-3, false},
    {"spherical ring fnm_cw", spherical_ring, &T::fnm_cw, spherical_ring_fnm, 0, true},
    // Phases of up to 1100 rad are uncertain by two roundings of their path, 2.5e-13 rad, and outer
    // and inner cap cancel to some tenth of their size; how much is met depends on the library.
    {"spherical ring rayleigh_cw", spherical_ring, &T::rayleigh_cw, spherical_ring_rayleigh, 5e-12,
     true},
};

}  // namespace reference

using reference::kCwMethods;

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
