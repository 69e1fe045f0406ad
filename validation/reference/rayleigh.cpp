#include "validation/reference/rayleigh.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>
#include <variant>
#include <vector>

#include "kestrel/quadrature.h"
#include "kestrel/special_functions.h"

namespace kestrel::reference {

namespace {

using Complex = std::complex<double>;
using std::numbers::pi;

struct Rule {
  std::vector<double> x, w;
};

const Rule& gauss(int n) {
  static std::map<int, Rule> rules;
  Rule& rule = rules[n];
  if (rule.x.empty()) {
    rule.x.resize(static_cast<std::size_t>(n));
    rule.w.resize(static_cast<std::size_t>(n));
    NumericalIntegration::modifiedgrule(n, rule.x.data(), rule.w.data());
  }
  return rule;
}

/// Integral of f over (from, to), where f may have square-root ends: they turn smooth under
/// x = middle - half cos(theta).
template <class Function>
auto integrate(double from, double to, int nodes, Function f) {
  decltype(f(from)) sum{};
  if (!(to > from)) return sum;
  const double middle = (from + to) / 2, half = (to - from) / 2;
  const Rule& rule = gauss(nodes);
  for (std::size_t i = 0; i < rule.x.size(); ++i) {
    const double theta = (rule.x[i] + 1) * (pi / 2);
    sum += rule.w[i] * (pi / 2) * half * std::sin(theta) * f(middle - half * std::cos(theta));
  }
  return sum;
}

double arc_cosine(double x) { return std::acos(std::clamp(x, -1.0, 1.0)); }

/// Nodes for a path of this length: a wave of L wavelengths needs pi^2/4 L of them before its
/// integral begins to converge. In steps, so that rules are used again.
int nodes_over(double length, Complex gamma, int nodes) {
  return nodes + 32 * static_cast<int>(std::ceil(2.5 * gamma.imag() * length / (2 * pi) / 32));
}

Complex rate(const Medium& m) { return {attenuation(m), wavenumber(m)}; }
Complex rayleigh_prefactor(const Medium& m) { return {0, m._rho_density * m._f0}; }

/// Integral of Omega(R) e^{-gamma R} dR, R = sqrt(z^2 + sigma^2), between two planar radii sigma.
template <class Angle>
Complex planar(double z, double from, double to, Complex gamma, int nodes, Angle omega) {
  const double first = std::hypot(z, from), last = std::hypot(z, to);
  return integrate(first, last, nodes_over(last - first, gamma, nodes), [&](double big_r) {
    const double sigma = std::sqrt(std::max((big_r - z) * (big_r + z), 0.0));
    return omega(sigma) * std::exp(-gamma * big_r);
  });
}

/// Quarter of the plane's arcs that lies on (0, s) x (0, l).
Complex quadrant(double s, double l, double z, Complex gamma, int nodes) {
  const double shorter = std::min(s, l), longer = std::max(s, l);
  const auto beyond = [](double side, double sigma) {
    return sigma > side ? arc_cosine(side / sigma) : 0.0;
  };
  const auto omega = [&](double sigma) {
    return pi / 2 - beyond(shorter, sigma) - beyond(longer, sigma);
  };
  return planar(z, 0, shorter, gamma, nodes, omega) +
         planar(z, shorter, longer, gamma, nodes, omega) +
         planar(z, longer, std::hypot(s, l), gamma, nodes, omega);
}

}  // namespace

double wavenumber(const Medium& m) { return 2 * pi * m._f0 / m._soundspeed; }
double attenuation(const Medium& m) {
  return m._dBcmMHz * 100 * (m._f0 / 1e6) * std::log(10.0) / 20;
}

Complex disc(double a, const Medium& medium, CartesianCoordinate p, int nodes) {
  const double r = std::hypot(p.x, p.y);
  const Complex gamma = rate(medium);
  Complex sum = 0;
  if (r < a) sum += planar(p.z, 0, a - r, gamma, nodes, [](double) { return 2 * pi; });
  if (r > 0) {
    sum += planar(p.z, std::abs(a - r), a + r, gamma, nodes, [&](double sigma) {
      return 2 * arc_cosine((sigma * sigma + (r - a) * (r + a)) / (2 * sigma * r));
    });
  }
  return rayleigh_prefactor(medium) * sum;
}

Complex rectangle(double width, double height, const Medium& medium, CartesianCoordinate p,
                  int nodes) {
  Complex sum = 0;
  for (const double s : {width / 2 + p.x, width / 2 - p.x}) {
    for (const double l : {height / 2 + p.y, height / 2 - p.y}) {
      if (s == 0 || l == 0) continue;
      const double sign = s * l > 0 ? 1 : -1;
      sum += sign * quadrant(std::abs(s), std::abs(l), p.z, rate(medium), nodes);
    }
  }
  return rayleigh_prefactor(medium) * sum;
}

Complex cap(double a, double rc, const Medium& medium, CartesianCoordinate p, int nodes) {
  const double r = std::hypot(p.x, p.y), zeta = p.z - rc, distance = std::hypot(r, zeta);
  const double h = std::sqrt((rc - a) * (rc + a));
  const Complex gamma = rate(medium);
  if (distance == 0) {
    return rayleigh_prefactor(medium) * (2 * pi * (rc - h)) * std::exp(-gamma * rc);
  }
  // R = Rc + D u: near the centre of curvature u keeps its digits where R does not.
  const auto radius_at = [&](double u) { return rc + distance * u; };
  const auto omega = [&](double u) {
    const double cosine =
        std::clamp((distance - u * (2 * rc + distance * u)) / (2 * rc), -1.0, 1.0);
    const double along = h * distance / rc + zeta * cosine;
    const double across = r * std::sqrt((1 - cosine) * (1 + cosine));
    if (along <= -across) return 2 * pi;
    if (along >= across) return 0.0;
    return 2 * arc_cosine(along / across);
  };
  const auto rim = [&](double ar) {
    const double big_r = std::hypot(zeta + h, ar < 0 ? a + r : a - r);
    return (distance + 2 * (zeta * h - ar) / distance) / (big_r + rc);
  };
  const double first = distance > rc ? 1 - 2 * rc / distance : -1.0;
  const double near_rim = std::clamp(rim(a * r), first, 1.0);
  const double far_rim = std::clamp(rim(-a * r), first, 1.0);
  const auto piece = [&](double from, double to) {
    return integrate(from, to, nodes_over((to - from) * distance, gamma, nodes),
                     [&](double u) { return omega(u) * std::exp(-gamma * radius_at(u)); });
  };
  return rayleigh_prefactor(medium) * rc *
         (piece(first, near_rim) + piece(near_rim, far_rim) + piece(far_rim, 1.0));
}

Complex face(const Geometry& geometry, const Medium& medium, CartesianCoordinate p, int nodes) {
  struct Face {
    const Medium& m;
    CartesianCoordinate p;
    int n;
    Complex operator()(const Rectangle& g) const { return rectangle(g.width, g.height, m, p, n); }
    Complex operator()(const Circle& g) const { return disc(g.radius, m, p, n); }
    Complex operator()(const Ring& g) const {
      return disc(g.outer_radius, m, p, n) - disc(g.inner_radius, m, p, n);
    }
    Complex operator()(const Shell& g) const { return cap(g.radius, g.rad_curvature, m, p, n); }
    Complex operator()(const ShellRing& g) const {
      return cap(g.outer_radius, g.geometric_focus, m, p, n) -
             cap(g.inner_radius, g.geometric_focus, m, p, n);
    }
  };
  return std::visit(Face{medium, p, nodes}, geometry);
}

Complex apodized_disc(int index, double a, const Medium& medium, CartesianCoordinate p, int nodes) {
  const double r = std::hypot(p.x, p.y);
  const auto ring = [&](double sigma) {
    return -piston_apodization::derivative(index, sigma, a) * disc(sigma, medium, p, nodes);
  };
  // A kink where sigma passes r.
  if (r >= a) return integrate(0, a, nodes, ring);
  return integrate(0, r, nodes, ring) + integrate(r, a, nodes, ring);
}

Complex disc_on_axis(double a, const Medium& medium, double z) {
  const Complex gamma = rate(medium);
  return rayleigh_prefactor(medium) * (2 * pi / gamma) *
         (std::exp(-gamma * z) - std::exp(-gamma * std::hypot(z, a)));
}

Complex cap_on_axis(double a, double rc, const Medium& medium, double z) {
  const double zeta = z - rc, h = std::sqrt((rc - a) * (rc + a));
  const Complex gamma = rate(medium);
  const Complex prefactor = rayleigh_prefactor(medium) * (2 * pi);
  if (zeta == 0) return prefactor * (rc - h) * std::exp(-gamma * rc);
  const double rim = std::hypot(a, zeta + h);
  return prefactor * (rc / zeta) / gamma *
         (std::exp(-gamma * rim) - std::exp(-gamma * std::abs(z)));
}

}  // namespace kestrel::reference
