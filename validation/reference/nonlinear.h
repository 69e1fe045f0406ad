#pragma once

#include <cmath>
#include <complex>
#include <functional>
#include <vector>

/// Fields and waves that are known without marching: closed forms and converged integrals, each
/// from the acoustics literature and none from the code under test.

namespace kestrel::reference {

using Complex = std::complex<double>;
inline constexpr double kPi = 3.14159265358979323846;

/// A point in an element's frame, and a round source: a flat piston, or a cap when curved.
struct Source {
  double radius;
  double curvature = 0;
  double rim_depth() const {
    return curvature > 0 ? curvature - std::sqrt(curvature * curvature - radius * radius) : 0.0;
  }
};

/// Pressure over rho c w on the axis: the wave from the centre less the wave from the rim (for the
/// cap by O'Neil, with the convention exp(j w t)), in a fluid that absorbs `alpha` Np/m.
inline Complex on_axis(const Source& source, double k, double z, double alpha = 0) {
  const auto wave = [=](double way) { return std::polar(std::exp(-alpha * way), -k * way); };
  if (source.curvature == 0) return wave(z) - wave(std::hypot(z, source.radius));
  const double r = source.curvature;
  const double h = source.rim_depth();
  if (std::fabs(z - r) < 1e-9 * r) return Complex(alpha, k) * h * wave(r);
  const double rim = std::sqrt(z * z + 2 * h * (r - z));
  return (wave(z) - wave(rim)) / (1 - z / r);
}

/// Calls visit(distance, area) for every cell of the source's surface, midpoints in equal steps of
/// polar angle (of radius) and azimuth; half the azimuths stand for all.
template <class Visit>
void over_surface(const Source& source, double r, double z, int rings, int azimuths,
                  const Visit& visit) {
  const double opening =
      source.curvature > 0 ? std::asin(source.radius / source.curvature) : source.radius;
  for (int i = 0; i < rings; ++i) {
    const double at = (i + 0.5) * opening / rings;
    double rho = at, depth = 0, area = at;
    if (source.curvature > 0) {
      rho = source.curvature * std::sin(at);
      depth = source.curvature * (1 - std::cos(at));
      area = source.curvature * rho;
    }
    area *= opening / rings * 2 * kPi / azimuths;
    for (int j = 0; j < azimuths; ++j) {
      const double phi = (j + 0.5) * kPi / azimuths;
      const double d2 = rho * rho + r * r - 2 * rho * r * std::cos(phi) + (z - depth) * (z - depth);
      visit(std::sqrt(d2), area);
    }
  }
}

/// Pressure over rho c w anywhere, by the Rayleigh integral.
inline Complex rayleigh(const Source& source, double k, double r, double z) {
  const int rings = 60 + static_cast<int>(2 * k * source.radius);
  Complex sum = 0;
  over_surface(source, r, z, rings, rings,
               [&](double d, double area) { sum += std::polar(area / d, -k * d); });
  return Complex(0, k / (2 * kPi)) * sum;
}

/// Pressure over rho for a normal velocity v(t) with derivative `slope`, by the Rayleigh integral
/// in time.
inline double rayleigh_pulse(const Source& source, double c, double r, double z, double t,
                             const std::function<double(double)>& slope, int rings = 120) {
  double sum = 0;
  over_surface(source, r, z, rings, rings,
               [&](double d, double area) { sum += slope(t - d / c) * area / d; });
  return sum / (2 * kPi);
}

/// Harmonic n of a lossless plane wave, sin at the source, at sigma shock distances: Fubini's
/// before the shock, with the shock's own share after it (Blackstock).
inline double plane_harmonic(int n, double sigma) {
  double arrived = 0;  // the phase swallowed by the shock: x = sigma sin x
  if (sigma > 1) {
    double low = 1e-6, high = kPi;
    for (int i = 0; i < 200; ++i) {
      const double x = 0.5 * (low + high);
      (sigma * std::sin(x) > x ? low : high) = x;
    }
    arrived = low;
  }
  const int steps = 4000;
  double sum = 0;
  for (int i = 0; i < steps; ++i) {
    const double x = arrived + (i + 0.5) * (kPi - arrived) / steps;
    sum += std::cos(n * (x - sigma * std::sin(x)));
  }
  return 2 / (n * kPi) * std::sin(arrived) + 2 / (n * kPi * sigma) * sum * (kPi - arrived) / steps;
}

/// Harmonic n of a plane wave in a thermoviscous fluid (absorption n^2 / goldberg), sin at the
/// source: the Cole-Hopf solution with the heat kernel, whose integrand is positive.
inline double thermoviscous_harmonic(int n, double sigma, double goldberg) {
  const int steps = 800;
  const double reach = std::sqrt(4 * sigma / goldberg * 40) + sigma;
  const int samples = 400;
  double harmonic = 0;
  for (int i = 0; i < samples; ++i) {
    const double y = (i + 0.5) * kPi / samples;
    double mass = 0, mean = 0, most = -1e300;
    std::vector<double> exponent(2 * steps + 1);
    for (int k = -steps; k <= steps; ++k) {
      const double u = k * reach / steps;
      exponent[k + steps] = -0.5 * goldberg * std::cos(y + u) - goldberg * u * u / (4 * sigma);
      most = std::max(most, exponent[k + steps]);
    }
    for (int k = -steps; k <= steps; ++k) {
      const double w = std::exp(exponent[k + steps] - most);
      mass += w;
      mean += w * (k * reach / steps) / sigma;
    }
    harmonic += 2.0 / samples * mean / mass * std::sin(n * y);
  }
  return harmonic;
}

/// The second harmonic, over N/2, of a weak Gaussian beam exp(-xi^2) at sigma Rayleigh distances.
inline Complex gaussian_second_harmonic(double xi, double sigma) {
  const Complex q(1, -sigma);
  return -std::log(q) / q * std::exp(-2 * xi * xi / q);
}

}  // namespace kestrel::reference
