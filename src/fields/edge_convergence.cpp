#include "fields/edge_convergence.h"

#include <algorithm>
#include <array>
#include <bit>
#include <complex>
#include <cstdint>
#include <limits>
#include <numbers>

namespace kestrel::fields {

namespace {

constexpr double kPi = std::numbers::pi;

/// The estimate's constant: tests/fields/tolerance_test.cpp holds it to what it says.
constexpr double kGain = 2.5;

constexpr int kEllipses = 14;
constexpr int kPlaces = 6;  ///< on each ellipse's upper half; the lower one mirrors it

struct Complex {
  double re, im;
};

/// log x to 6 %, without a branch or a call.
double rough_log(double x) {
  constexpr double kScale = std::numbers::ln2 / 4503599627370496.0;  // 2^52
  constexpr double kBias = 1022.957 * std::numbers::ln2;
  return static_cast<double>(std::bit_cast<std::int64_t>(x)) * kScale - kBias;
}

/// log of the sum of the semi-axes of the ellipse with foci -1 and 1 through w.
double log_ellipse(std::complex<double> w) {
  const double sum = std::abs(w - 1.0) + std::abs(w + 1.0);  // twice the semi-major axis
  return std::acosh(std::max(1.0, sum / 2));
}

/// A place w on an ellipse, and cos((1 + w) pi/2), of the angle to which it stands on a rim.
struct Places {
  std::array<double, kEllipses> log_r;
  std::array<Complex, kEllipses * kPlaces> w, cosine;
  Places() {
    for (std::size_t i = 0; i < kEllipses; ++i) {
      log_r[i] = 0.05 * std::pow(1.38, static_cast<double>(i));
      for (std::size_t j = 0; j < kPlaces; ++j) {
        const double angle = kPi * (static_cast<double>(j) + 0.5) / kPlaces;
        const std::complex<double> place{std::cosh(log_r[i]) * std::cos(angle),
                                         std::sinh(log_r[i]) * std::sin(angle)};
        const std::complex<double> c = std::cos((1.0 + place) * (kPi / 2));
        w[i * kPlaces + j] = {place.real(), place.imag()};
        cosine[i * kPlaces + j] = {c.real(), c.imag()};
      }
    }
  }
};
const Places kOnEllipses;

/// What an integrand is made of at a place: R^2, R^2 - L^2 and |N|^2.
struct Parts {
  Complex path_squared, difference;
  double top_squared;
};

struct BranchPoint {
  double re, im;  ///< in w
};

/// The angle i beta of a rim at which the cosine is so much above 1.
double beyond_one(double excess) {
  const double e = std::min(excess, 1e12);
  return std::log1p(e + std::sqrt(e * (e + 2)));
}

struct StraightIntegrand {
  double middle, half, across, height, top, direct;

  explicit StraightIntegrand(const StraightEdge& e)
      : middle(e.middle),
        half(e.half),
        across(e.across),
        height(e.height),
        top(e.half * e.across / (2 * kPi)),
        direct(e.height) {}

  Parts at(Complex w, Complex) const {
    const double u = middle + half * w.re, v = half * w.im;
    const double re = u * u - v * v + across * across, im = 2 * u * v;
    return {{re + height * height, im}, {re, im}, top * top};
  }
  BranchPoint branch() const { return {-middle / half, std::hypot(across, height) / half}; }
  template <class Take>
  void poles(const Wave&, Take&&) const {}
};

struct DiscIntegrand {
  double radius, r, height, sum, product, direct;

  explicit DiscIntegrand(const DiscRim& d)
      : radius(d.radius),
        r(d.r),
        height(d.height),
        sum(d.r * d.r + d.radius * d.radius),
        product(2 * d.radius * d.r),
        direct(d.height) {}

  Parts at(Complex, Complex c) const {
    const double re = sum - product * c.re, im = -product * c.im;
    const double top_re = radius / 2 * (r * c.re - radius), top_im = radius / 2 * r * c.im;
    return {{re + height * height, im}, {re, im}, top_re * top_re + top_im * top_im};
  }
  BranchPoint branch() const {
    const double beside = r - radius;
    const double d_squared = height * height + beside * beside;
    return {-1, beyond_one(d_squared / std::max(product, 1e-300)) * 2 / kPi};
  }
  template <class Take>
  void poles(const Wave&, Take&&) const {}
};

struct CapIntegrand {
  double radius, curvature, r, zeta;
  double rim_depth;  ///< the rim's, before the centre
  double rho, product;
  double side_path;  ///< 2 R_c rho, with the sign of zeta
  double direct;     ///< L; negative outside of the sphere before the centre

  explicit CapIntegrand(const CapRim& c)
      : radius(c.radius),
        curvature(c.curvature),
        r(c.r),
        zeta(c.zeta),
        rim_depth(std::sqrt(std::max(0.0, c.curvature * c.curvature - c.radius * c.radius))),
        rho(std::hypot(c.r, c.zeta)),
        product(2 * c.radius * c.r),
        side_path((c.zeta < 0 ? -2 : 2) * c.curvature * rho),
        direct((c.zeta < 0 ? -rho : rho) + c.curvature) {}

  Parts at(Complex, Complex c) const {
    const double fixed = 2 * zeta * rim_depth, im = -product * c.im;
    const double re = fixed - product * c.re;
    const Complex other{re + side_path, im};  // R^2 - L'^2
    const double top_re = r * c.re * rim_depth + radius * zeta, top_im = r * c.im * rim_depth;
    const double factor = 2 * curvature * radius;
    const double top = factor * factor * (top_re * top_re + top_im * top_im) /
                       (other.re * other.re + other.im * other.im);
    return {{curvature * curvature + rho * rho + re, im}, {re - side_path, im}, top};
  }
  BranchPoint branch() const {
    const double above = zeta + rim_depth, beside = r - radius;
    const double d_squared = above * above + beside * beside;
    return {-1, beyond_one(d_squared / std::max(product, 1e-300)) * 2 / kPi};
  }
  template <class Take>
  void poles(const Wave& wave, Take&& take) const {
    if (!(product > 0)) return;
    pole(wave, (2 * zeta * rim_depth + side_path) / product, take);
    if (direct < 0) pole(wave, (2 * zeta * rim_depth - side_path) / product, take);
  }

 private:
  /// Where the cosine is so. With D = (R^2 - L^2)(R^2 - L'^2), dD/dpsi = -+2 R_c rho 2 a r sin psi.
  template <class Take>
  void pole(const Wave& wave, double cosine, Take&& take) const {
    const double beta = beyond_one(std::max(0.0, std::abs(cosine) - 1));
    const double top = 2 * curvature * radius * std::abs(r * cosine * rim_depth + radius * zeta);
    const double slope = 2 * std::abs(side_path) * product * std::sinh(std::min(beta, 50.0));
    const double path_squared =
        curvature * curvature + rho * rho + 2 * zeta * rim_depth - product * cosine;
    const double path = std::sqrt(std::max(0.0, path_squared));
    const double difference =
        std::min(2.0, std::hypot(wave.k, wave.alpha) * std::abs(path - direct));
    // dw = 2/pi dpsi.
    const double residue = 2 / kPi * top * difference / std::max(slope, 1e-300);
    take(BranchPoint{cosine < 0 ? 1.0 : -1.0, beta * 2 / kPi}, residue);
  }
};

template <class Integrand>
class Convergence {
 public:
  Convergence(const Wave& wave, const Integrand& integrand)
      : _wave(wave), _integrand(integrand), _gamma(std::hypot(wave.k, wave.alpha)) {
    evaluate_on_ellipses();
    const BranchPoint b = integrand.branch();
    _branch = {b.re, b.im};
    _log_branch = log_ellipse(_branch);
    integrand.poles(wave, [&](const BranchPoint& place, double residue) {
      _poles[_pole_count++] = {log_ellipse({place.re, place.im}),
                               std::log(4 * kPi * kGain * std::max(residue, 1e-300))};
    });
  }

  double error(double n) const {
    double best = std::numeric_limits<double>::infinity();
    double cut = -1;  // not known yet
    for (std::size_t i = 0; i < kEllipses; ++i) {
      const double log_r = kOnEllipses.log_r[i];
      double log_error = _log_largest[i] - 2 * n * log_r;
      if (log_error >= best) continue;
      for (std::size_t p = 0; p < _pole_count; ++p) {
        if (_poles[p].log_r < log_r) {
          log_error = std::max(log_error, _poles[p].log_residue - 2 * n * _poles[p].log_r);
        }
      }
      if (_log_branch < log_r && log_error < best) {
        if (cut < 0) cut = cut_error(n);
        log_error = std::max(log_error, std::log(cut));
      }
      best = std::min(best, log_error);
    }
    return std::exp(std::min(best, 700.0));
  }

  double nodes(double wanted, double most) const {
    const double log_wanted = std::log(wanted);
    double best = most;
    double cut = 0;  // with so many nodes, the cut's error is small enough
    for (std::size_t i = 0; i < kEllipses; ++i) {
      const double log_r = kOnEllipses.log_r[i];
      double n = std::max(1.0, (_log_largest[i] - log_wanted) / (2 * log_r));
      for (std::size_t p = 0; p < _pole_count; ++p) {
        if (_poles[p].log_r < log_r) {
          n = std::max(n, (_poles[p].log_residue - log_wanted) / (2 * _poles[p].log_r));
        }
      }
      if (!(n < best)) continue;
      if (_log_branch < log_r) {
        if (cut == 0) cut = nodes_for_cut(wanted, most);
        n = std::max(n, cut);
      }
      best = std::min(best, n);
    }
    return best;
  }

 private:
  struct Pole {
    double log_r, log_residue;
  };

  /// log |E(R) - E(L)| / |R^2 - L^2| is, to a factor of about two, the growth of E(R) off the
  /// interval less log max(|R + L| / |alpha + jk|, |R^2 - L^2| / 2).
  void evaluate_on_ellipses() {
    std::array<double, kEllipses * kPlaces> growth, squared;
    const double k = _wave.k, alpha = _wave.alpha, direct = _integrand.direct;
    const double gamma_squared = _gamma * _gamma;
    const Integrand integrand = _integrand;
    for (std::size_t i = 0; i < kEllipses * kPlaces; ++i) {
      const Parts parts = integrand.at(kOnEllipses.w[i], kOnEllipses.cosine[i]);
      const double re = parts.path_squared.re, im = parts.path_squared.im;
      const double magnitude = std::sqrt(re * re + im * im);
      const double large = std::sqrt((magnitude + std::abs(re)) / 2);
      const double small = std::abs(im) / (2 * large);
      const double path_re = re >= 0 ? large : small, path_im = re >= 0 ? small : large;
      const double sum_re = path_re + direct;
      const double sum_squared = sum_re * sum_re + path_im * path_im;
      const double difference_squared =
          parts.difference.re * parts.difference.re + parts.difference.im * parts.difference.im;
      growth[i] = std::max(0.0, k * path_im - alpha * (path_re - direct));
      squared[i] = parts.top_squared * gamma_squared /
                   std::max(sum_squared, gamma_squared * difference_squared / 4);
    }
    const double constant = std::log(4 * kGain) - alpha * std::max(0.0, direct);
    for (std::size_t i = 0; i < kEllipses; ++i) {
      double largest = -std::numeric_limits<double>::infinity();
      for (std::size_t j = i * kPlaces; j < (i + 1) * kPlaces; ++j) {
        largest = std::max(largest, growth[j] + rough_log(squared[j]) / 2);
      }
      _log_largest[i] = constant + largest;
    }
  }

  /// The integrand's part that is odd in R, at a height above the branch point, where R is
  /// imaginary.
  double odd_part(double y) const {
    const double angle = kPi / 2 * y;
    const Complex cosine{std::cosh(std::min(angle, 300.0)), 0};
    const Parts parts = _integrand.at({_branch.real(), y}, cosine);
    const double re = parts.path_squared.re, im = parts.path_squared.im;
    const double path = std::sqrt(std::sqrt(re * re + im * im));
    const double q = std::sqrt(parts.difference.re * parts.difference.re +
                               parts.difference.im * parts.difference.im);
    return std::sqrt(parts.top_squared) * std::sinh(std::min(300.0, _wave.k * path)) / q;
  }

  /// Gauss and Laguerre's rule for the decrease of r^(-2n) beyond the branch point.
  double cut_error(double n) const {
    constexpr double kPlace[] = {0.4157745567834791, 2.294280360279042, 6.289945082937479};
    constexpr double kWeight[] = {0.7110930099291730, 0.2785177335692409, 0.01038925650158613};
    const double b = _branch.imag();
    if (!(b > 0)) return 0;
    const double slope = (log_ellipse({_branch.real(), 1.1 * b}) - _log_branch) / (0.1 * b);
    const double decay = 2 * n * std::max(slope, 1e-12);
    double sum = 0;
    for (int i = 0; i < 3; ++i) {
      const double y = b + kPlace[i] / decay;
      const double odd = odd_part(y);
      if (!(odd > 0)) continue;
      sum += kWeight[i] * std::exp(std::min(600.0, std::log(odd) + kPlace[i] -
                                                       2 * n * log_ellipse({_branch.real(), y})));
    }
    return 4 * kGain * sum / decay;
  }

  double nodes_for_cut(double wanted, double most) const {
    if (cut_error(1) <= wanted) return 1;
    if (!(cut_error(most) <= wanted)) return most;
    double low = 1, high = most;
    while (high > 1.04 * low + 0.3) {
      const double middle = std::sqrt(low * high);
      (cut_error(middle) <= wanted ? high : low) = middle;
    }
    return high;
  }

  Wave _wave;
  Integrand _integrand;
  double _gamma;
  std::array<double, kEllipses> _log_largest{};
  std::complex<double> _branch;
  double _log_branch = 0;
  std::array<Pole, 2> _poles{};
  std::size_t _pole_count = 0;
};

template <class Integrand, class Edge>
double error_of(const Wave& wave, const Edge& edge, int nodes) {
  return Convergence(wave, Integrand(edge)).error(nodes);
}

template <class Integrand, class Edge>
int nodes_of(const Wave& wave, const Edge& edge, double error, int most) {
  const double n = Convergence(wave, Integrand(edge)).nodes(error, most);
  return static_cast<int>(std::ceil(std::clamp(n, 1.0, static_cast<double>(most))));
}

}  // namespace

double quadrature_error(const Wave& wave, const StraightEdge& edge, int nodes) {
  return error_of<StraightIntegrand>(wave, edge, nodes);
}
double quadrature_error(const Wave& wave, const DiscRim& rim, int nodes) {
  return error_of<DiscIntegrand>(wave, rim, nodes);
}
double quadrature_error(const Wave& wave, const CapRim& rim, int nodes) {
  return error_of<CapIntegrand>(wave, rim, nodes);
}
int nodes_for_error(const Wave& wave, const StraightEdge& edge, double error, int most) {
  return nodes_of<StraightIntegrand>(wave, edge, error, most);
}
int nodes_for_error(const Wave& wave, const DiscRim& rim, double error, int most) {
  return nodes_of<DiscIntegrand>(wave, rim, error, most);
}
int nodes_for_error(const Wave& wave, const CapRim& rim, double error, int most) {
  return nodes_of<CapIntegrand>(wave, rim, error, most);
}

}  // namespace kestrel::fields
