#include "fields/node_rule.h"

#include <cmath>
#include <complex>
#include <limits>
#include <numbers>
#include <vector>

#include "elements/circular_transducer.h"

namespace kestrel::fields {

namespace {

constexpr double kPi = std::numbers::pi;

// The constants of the rule; tests/fields/tolerance_test.cpp holds it to its promise.
constexpr double kGain = 8;        ///< C = kGain * k * (length of the edge)
constexpr double kEdgeGain = 0.1;  ///< n <= sqrt(kEdgeGain * k s / tolerance)
constexpr double kMargin = 0.9;    ///< of the way to the branch point
constexpr int kLeast = 3, kMost = 4000;
constexpr int kMostAtPole = 1000;  ///< next to the plane of a shell's rim, where the field jumps

/// The next number of few: an eighth apart at most.
int few(int n) {
  int step = 1;
  while (n > 16 * step) step *= 2;
  return (n + step - 1) / step * step;
}

/// A range of values of one coordinate in the element's frame.
struct Range {
  double least, greatest;
  double least_magnitude() const { return least > 0 ? least : greatest < 0 ? -greatest : 0; }
  double greatest_magnitude() const { return std::max(std::abs(least), std::abs(greatest)); }
  /// Distance of the range from a value.
  double distance(double value) const {
    return value < least ? least - value : value > greatest ? value - greatest : 0;
  }
};

struct FrameBox {
  Range x, y, z;
};

/// A box that holds the tile, in the element's frame.
FrameBox in_frame(const Element& element, const Box& tile) {
  CircularTransducer frame(1);
  frame.set_center(element.center);
  frame.set_euler(element.euler);
  frame.InitializeRotationMatrix();
  const CartesianCoordinate a = tile.least, b = tile.greatest;
  CartesianCoordinate least = frame.rotateTranslate(a), greatest = least;
  for (int corner = 1; corner < 8; ++corner) {
    const CartesianCoordinate p = frame.rotateTranslate(
        {corner & 1 ? b.x : a.x, corner & 2 ? b.y : a.y, corner & 4 ? b.z : a.z});
    least = {std::min(least.x, p.x), std::min(least.y, p.y), std::min(least.z, p.z)};
    greatest = {std::max(greatest.x, p.x), std::max(greatest.y, p.y), std::max(greatest.z, p.z)};
  }
  return {{least.x, greatest.x}, {least.y, greatest.y}, {least.z, greatest.z}};
}

/// Sum of the semi-axes of the ellipse with foci -1 and 1 through w.
double ellipse_through(std::complex<double> w) {
  const std::complex<double> root = std::sqrt(w * w - 1.0);
  return std::max(std::abs(w + root), std::abs(w - root));
}

/// An integral over an interval: its branch point, the wave's growth and its length on the edge.
struct Integral {
  double ellipse;  ///< through the branch point
  double kappa;
  double length;         ///< metres
  bool on_rim = false;   ///< over the angle of a rim, else along a straight edge
  bool at_pole = false;  ///< the singularity is a pole: no bound but the ellipse
};

/// The ellipses among which the rule looks for the best one.
struct Ellipse {
  double log_r;
  double growth;  ///< semi-minor axis (r - 1/r)/2: how far a path that is linear in the edge grows
  double rim_growth;  ///< the same for one that goes with the cosine of an angle over (0, pi)
  explicit Ellipse(double l)
      : log_r(l), growth(std::sinh(l)), rim_growth(std::sinh(kPi / 2 * growth) / (kPi / 2)) {}
};
const std::vector<Ellipse> kEllipses = [] {
  std::vector<Ellipse> ellipses;
  for (int i = 1; i <= 31; ++i) ellipses.emplace_back(0.08 * i);
  return ellipses;
}();

struct Rule {
  double wavenumber, tolerance;

  int nodes(const Integral& integral) const {
    const double need =
        std::max(0.0, std::log(kGain * (1 + wavenumber * integral.length) / tolerance));
    const double bound = 1 + kMargin * (std::min(integral.ellipse, 12.0) - 1);
    const double largest = std::log(std::max(bound, 1 + 1e-9));
    const auto enough_on = [&](const Ellipse& ellipse) {
      const double growth = integral.on_rim ? ellipse.rim_growth : ellipse.growth;
      return (need + integral.kappa * growth) / (2 * ellipse.log_r);
    };
    double best = enough_on(Ellipse(largest));
    for (const Ellipse& ellipse : kEllipses) {
      if (ellipse.log_r > largest) break;
      best = std::min(best, enough_on(ellipse));
    }
    const double at_the_edge =
        std::sqrt(kEdgeGain * wavenumber * integral.length / tolerance) + integral.kappa;
    const int most = integral.at_pole ? kMostAtPole : kMost;
    const double enough = integral.at_pole ? best : std::min(best, at_the_edge);
    return few(static_cast<int>(std::ceil(std::clamp<double>(enough, kLeast, most))));
  }

  /// The edges of half length a along `along`, at +-b across.
  int edges(double a, double b, const Range& along, const Range& across, double height) const {
    const double l = std::min(across.distance(b), across.distance(-b));
    const double d = std::hypot(height, l);
    const double farthest = along.greatest_magnitude();
    int n = kLeast;
    if (farthest >= a) {
      // Over the whole edge, from outside of its extent.
      const double nearest = std::max(a, along.least_magnitude());
      const double slope = (farthest + a) / std::hypot(d, farthest + a);
      n = std::max(n,
                   nodes({ellipse_through({nearest / a, d / a}), wavenumber * a * slope, 2 * a}));
    }
    if (along.least_magnitude() < a) {
      // Split at the point's projection.
      const double s = a + std::min(a, farthest);
      const double slope = s / std::hypot(d, s);
      n = std::max(n, nodes({ellipse_through({-1.0, 2 * d / s}), wavenumber * s / 2 * slope, s}));
    }
    return n;
  }

  /// Largest dR/dpsi along a rim of radius a, seen from `height` above its plane and r off its
  /// axis.
  static double steepest(double a, double r, double height) {
    const double sum = height * height + r * r + a * a, product = 2 * a * r;
    return std::sqrt((sum - std::sqrt(std::max(0.0, sum * sum - product * product))) / 2);
  }

  /// The same rim with a pole at the imaginary angle psi.
  int pole(double a, double psi, double height, double r) const {
    return nodes({ellipse_through({-1.0, psi / (kPi / 2)}),
                  wavenumber * steepest(a, r, height) * kPi / 2, kPi * a, true, true});
  }

  /// A rim of radius a about the axis, in the plane z = depth. The integral runs over half of it.
  int rim(double a, double depth, const Range& radius, const Range& z) const {
    const double d = std::hypot(radius.distance(a), z.distance(depth));
    const double slope = steepest(a, radius.greatest, z.distance(depth));
    // cos(psi) = 1 + d^2 / (2 a r) at the branch point, psi imaginary.
    const double r_near = std::max(std::clamp(a, radius.least, radius.greatest), 1e-300);
    const double psi = std::acosh(1 + std::min(1e12, d * d / (2 * a * r_near)));
    return nodes(
        {ellipse_through({-1.0, psi / (kPi / 2)}), wavenumber * slope * kPi / 2, kPi * a, true});
  }
};

Range radii(const FrameBox& box) {
  return {std::hypot(box.x.least_magnitude(), box.y.least_magnitude()),
          std::hypot(box.x.greatest_magnitude(), box.y.greatest_magnitude())};
}

struct NodesOf {
  const Rule& rule;
  const FrameBox& box;

  int operator()(const Rectangle& g) const {
    if (box.z.greatest < 0) return kLeast;
    const double height = std::max(0.0, box.z.least);
    return std::max(rule.edges(g.width / 2, g.height / 2, box.x, box.y, height),
                    rule.edges(g.height / 2, g.width / 2, box.y, box.x, height));
  }
  int disc(double a) const {
    if (box.z.greatest < 0) return kLeast;
    return rule.rim(a, 0, radii(box), {std::max(0.0, box.z.least), box.z.greatest});
  }
  int operator()(const Circle& g) const { return disc(g.radius); }
  int operator()(const Ring& g) const {
    return g.inner_radius > 0 ? std::max(disc(g.inner_radius), disc(g.outer_radius))
                              : disc(g.outer_radius);
  }
  int cap(double a, double curvature) const {
    const double h = std::sqrt(curvature * curvature - a * a), depth = curvature - h;
    const Range radius = radii(box);
    const int n = rule.rim(a, depth, radius, box.z);
    // Outside of the sphere and before the centre, the line through the centre and the point also
    // meets the sphere behind the point. Where it meets it at the rim the integrand has a pole.
    const double before = curvature - box.z.least;  // greatest distance before the centre
    if (before <= 0 || std::hypot(radius.greatest, before) <= curvature) return n;
    const Range angle{std::atan2(radius.least, before),
                      std::atan2(radius.greatest, curvature - box.z.greatest)};
    const double rim_angle = std::asin(std::min(1.0, a / curvature));
    const double apart = std::min(angle.distance(rim_angle), kPi / 2);
    const double psi = std::acosh(1 + (1 - std::cos(apart)) / std::sin(rim_angle));
    return std::max(n, rule.pole(a, psi, box.z.distance(depth), radius.greatest));
  }
  int operator()(const Shell& g) const { return cap(g.radius, g.rad_curvature); }
  int operator()(const ShellRing& g) const {
    return g.inner_radius > 0 ? std::max(cap(g.inner_radius, g.geometric_focus),
                                         cap(g.outer_radius, g.geometric_focus))
                              : cap(g.outer_radius, g.geometric_focus);
  }
};

}  // namespace

ToleranceNodes::ToleranceNodes(const Medium& medium, double tolerance)
    : _wavenumber(2 * kPi * (medium._f0 > 0 ? medium._f0 : 1e6) / medium._soundspeed),
      _tolerance(tolerance) {}

int ToleranceNodes::nodes(const Element& element, const Box& tile) const {
  const Rule rule{_wavenumber, _tolerance};
  return std::visit(NodesOf{rule, in_frame(element, tile)}, element.geometry);
}

}  // namespace kestrel::fields
