#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <numbers>

#include "arrays/pseudo_inverse.h"
#include "kestrel/arrays.h"
#include "kestrel/error.h"

namespace kestrel {

namespace {

using Complex = std::complex<double>;

constexpr double kPi = std::numbers::pi;
constexpr double kInfinity = std::numeric_limits<double>::infinity();

double dot(CartesianCoordinate a, CartesianCoordinate b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

/// Between -pi and pi.
double wrapped(double phase) { return phase - 2 * kPi * std::round(phase / (2 * kPi)); }

void check_medium(const Medium& medium) {
  if (!(medium._soundspeed > 0) || !std::isfinite(medium._soundspeed)) {
    fail("the medium's sound speed must be greater than 0 and finite, but it is %g.",
         medium._soundspeed);
  }
}

void check_frequency(double f0) {
  if (!(f0 > 0) || !std::isfinite(f0)) {
    fail("f0 must be greater than 0 and finite, but it is %g.", f0);
  }
}

/// Lengths of the paths from an element's inner and outer edge to a point. Off the axis the root
/// mean square around the edge stands for the distance.
struct Paths {
  double inner, outer;
  double mean() const { return (inner + outer) / 2; }
};

Paths paths_from(const Element& element, CartesianCoordinate point) {
  const RadialFace face =
      std::visit([](const auto& g) { return g.radial_face(); }, element.geometry);
  const CartesianCoordinate way{point.x - element.center.x, point.y - element.center.y,
                                point.z - element.center.z};
  const double squared = dot(way, way), along = dot(way, Rotation(element.euler).normal());
  const auto to_edge = [&](double radius) {
    const double height = face.height(radius);
    return std::sqrt(std::max(squared + radius * radius + height * (height - 2 * along), 0.0));
  };
  return {to_edge(face.inner_radius), to_edge(face.outer_radius)};
}

/// What an element of amplitude 1 sends to a point, as from a simple source. On the axis of a round
/// face the closed form exp(-jk Ri) - exp(-jk Ro) has the phase of the mean path, and the other
/// sign once the two differ by more than a wavelength.
Complex transfer(const Element& element, CartesianCoordinate point, double alpha, double k) {
  const Paths paths = paths_from(element, point);
  const double area = std::visit([](const auto& g) { return g.area(); }, element.geometry);
  const double path = paths.mean();
  if (!(path > 0)) fail("a focus must not lie on an element's centre.");
  const double sign = std::sin(k * std::abs(paths.outer - paths.inner) / 2) < 0 ? -1 : 1;
  return std::polar(sign * area / path * std::exp(-alpha * path), -k * path);
}

/// Drive of given amplitudes whose pressures at the foci are in the proportion wanted: in each
/// round the phases are those of the conjugate field of the foci, in which a focus that came out
/// too weak gets a greater weight. Near a balance the pressures may follow the weights to a high
/// power, so the steps become smaller whenever the balance got worse.
std::vector<Complex> balanced_drive(const ComplexMatrix& h, const std::vector<double>& wanted,
                                    const std::vector<double>& amplitude) {
  constexpr int kRounds = 200;
  constexpr double kBalanced = 1e-6, kSilent = 1e-3;
  std::vector<double> weight = wanted;
  std::vector<Complex> direction(wanted.size(), 1.0), best, drive(amplitude.size());
  double step = 0.5, least = kInfinity, last = kInfinity;
  for (int round = 0; round < kRounds; ++round) {
    for (std::size_t e = 0; e < drive.size(); ++e) {
      Complex sum = 0;
      for (std::size_t p = 0; p < wanted.size(); ++p) {
        sum += std::conj(h(p, e)) * weight[p] * direction[p];
      }
      drive[e] = amplitude[e] * std::polar(1.0, std::arg(sum));
    }
    std::vector<double> reached(wanted.size());
    for (std::size_t p = 0; p < wanted.size(); ++p) {
      Complex pressure = 0;
      for (std::size_t e = 0; e < drive.size(); ++e) pressure += h(p, e) * drive[e];
      reached[p] = std::abs(pressure) / wanted[p];
      direction[p] = std::polar(1.0, std::arg(pressure));
    }
    const double greatest = *std::max_element(reached.begin(), reached.end());
    double mean = 0;
    for (const double r : reached) mean += r / static_cast<double>(reached.size());
    double imbalance = 0;
    for (double& r : reached) {
      r = std::max(r, kSilent * greatest) / mean;
      imbalance = std::max(imbalance, std::abs(std::log(r)));
    }
    if (!(imbalance >= least)) {  // the first round counts in any case, with silent elements too
      least = imbalance;
      best = drive;
    }
    if (!(imbalance > kBalanced)) break;
    if (imbalance > last) step /= 2;
    last = imbalance;
    for (std::size_t p = 0; p < wanted.size(); ++p) weight[p] *= std::pow(reached[p], -step);
    const double heaviest = *std::max_element(weight.begin(), weight.end());
    for (double& w : weight) w /= heaviest;
  }
  return best;
}

/// The frame in which directions of an array are meant.
Rotation frame_of(std::span<const Element> array, std::optional<CartesianCoordinate> euler) {
  if (euler) return Rotation(*euler);
  const CartesianCoordinate first = array.front().euler;
  const bool alike = std::all_of(array.begin(), array.end(), [&](const Element& e) {
    return e.euler.x == first.x && e.euler.y == first.y && e.euler.z == first.z;
  });
  return alike ? Rotation(first) : Rotation();
}

/// Where a steered wave goes, in global axes.
CartesianCoordinate wave_direction(std::span<const Element> array, double theta, double phi,
                                   std::optional<CartesianCoordinate> euler) {
  for (const double angle : {theta, phi}) SizeCheck("").finite("an angle", angle);
  return frame_of(array, euler)
      .to_global(
          {std::sin(theta) * std::cos(phi), std::sin(theta) * std::sin(phi), std::cos(theta)});
}

/// Centres in a frame, from the middle of the aperture, and half the aperture's extents along x and
/// y.
struct Aperture {
  std::vector<std::array<double, 2>> places;
  std::array<double, 2> half{};
};

Aperture aperture_of(std::span<const Element> array, const Rotation& frame) {
  const CartesianCoordinate axes[] = {frame.to_global({1, 0, 0}), frame.to_global({0, 1, 0})};
  Aperture aperture;
  aperture.places.resize(array.size());
  for (std::size_t axis = 0; axis < 2; ++axis) {
    const CartesianCoordinate u = axes[axis];
    double low = kInfinity, high = -kInfinity;
    for (std::size_t i = 0; i < array.size(); ++i) {
      const double place = dot(array[i].center, u);
      const CartesianCoordinate local = Rotation(array[i].euler).to_local(u);
      std::visit(
          [&](const auto& g) {
            high = std::max(high, place + g.support(local));
            low = std::min(low, place - g.support({-local.x, -local.y, -local.z}));
          },
          array[i].geometry);
      aperture.places[i][axis] = place;
    }
    for (auto& place : aperture.places) place[axis] -= (low + high) / 2;
    aperture.half[axis] = (high - low) / 2;
  }
  return aperture;
}

/// The window at t, from -1 to 1 over the aperture.
using WindowFunction = double (*)(double t);

WindowFunction find_window(std::string_view name) {
  static constexpr std::pair<std::string_view, WindowFunction> kWindows[] = {
      {"rect", [](double) { return 1.0; }},
      {"cosine", [](double t) { return std::cos(kPi * t / 2); }},
      {"hann", [](double t) { return 0.5 + 0.5 * std::cos(kPi * t); }},
      {"hamming", [](double t) { return 0.54 + 0.46 * std::cos(kPi * t); }},
      {"blackman",
       [](double t) { return 0.42 + 0.5 * std::cos(kPi * t) + 0.08 * std::cos(2 * kPi * t); }},
      {"tukey",
       [](double t) { return 0.5 + 0.5 * std::cos(2 * kPi * std::max(std::abs(t) - 0.5, 0.0)); }},
      {"gauss", [](double t) { return std::exp(-t * t / (2 * 0.4 * 0.4)); }},
  };
  for (const auto& [known, window] : kWindows) {
    if (known == name) return window;
  }
  std::string names;
  for (const auto& [known, window] : kWindows) {
    names += (names.empty() ? "'" : ", '") + std::string(known) + "'";
  }
  fail("window must be one of %s, but it is '%.*s'.", names.c_str(), static_cast<int>(name.size()),
       name.data());
}

/// Weights of a window along one axis.
std::vector<double> along_axis(const Window& window, const Aperture& aperture, std::size_t axis) {
  // Places that differ by rounding only are one.
  const double grain = 1e-9 * aperture.half[axis];
  std::vector<double> distinct;
  for (const auto& place : aperture.places) distinct.push_back(std::round(place[axis] / grain));
  const std::vector<double> rounded = distinct;
  std::sort(distinct.begin(), distinct.end());
  distinct.erase(std::unique(distinct.begin(), distinct.end()), distinct.end());

  std::vector<double> weights;
  if (const auto* numbers = std::get_if<std::vector<double>>(&window)) {
    if (numbers->size() != distinct.size()) {
      fail("window %zu must have %zu entries, one for each place, but it has %zu.", axis + 1,
           distinct.size(), numbers->size());
    }
    for (const double place : rounded) {
      const auto found = std::lower_bound(distinct.begin(), distinct.end(), place);
      weights.push_back((*numbers)[static_cast<std::size_t>(found - distinct.begin())]);
    }
  } else {
    const WindowFunction at = find_window(std::get<std::string_view>(window));
    for (const auto& place : aperture.places) {
      weights.push_back(distinct.size() > 1 ? at(place[axis] / aperture.half[axis]) : 1.0);
    }
  }
  return weights;
}

}  // namespace

void focus(std::span<Element> array, std::span<const CartesianCoordinate> points,
           const Medium& medium, double f0, const FocusOptions& options) {
  check_medium(medium);
  check_frequency(f0);
  std::vector<double> wanted = options.pressure;
  if (points.empty()) fail("at least one point is needed to focus at.");
  if (wanted.empty()) wanted.assign(points.size(), 1.0);
  if (wanted.size() != points.size()) {
    fail("pressure must have %zu entries, one for each point, but it has %zu.", points.size(),
         wanted.size());
  }
  for (const double p : wanted) {
    if (!(p > 0) || !std::isfinite(p)) fail("pressure must be greater than 0 and finite.");
  }
  if (array.empty()) return;

  const double k = medium.wavenumber(f0);
  const double alpha = medium.attenuation(f0);
  ComplexMatrix h(points.size(), array.size());
  std::vector<double> earlier(array.size());
  double strongest = 0;
  std::size_t first = 0;
  double shortest = kInfinity;
  for (std::size_t e = 0; e < array.size(); ++e) {
    earlier[e] = array[e].amplitude;
    for (std::size_t p = 0; p < points.size(); ++p) {
      h(p, e) = transfer(array[e], points[p], alpha, k);
      strongest = std::max(strongest, std::abs(h(p, e)));
    }
    const double path = paths_from(array[e], points[0]).mean();
    if (path < shortest) {
      shortest = path;
      first = e;
    }
  }
  h.scale(1 / strongest);

  std::vector<Complex> drive;
  if (options.set_amplitude) {
    drive = least_norm_solution(h, wanted);
  } else if (points.size() == 1) {
    for (std::size_t e = 0; e < array.size(); ++e) drive.push_back(std::conj(h(0, e)));
  } else {
    drive = balanced_drive(h, wanted, earlier);
  }
  double largest = 0, largest_earlier = 0;
  for (const Complex& d : drive) largest = std::max(largest, std::abs(d));
  for (const double a : earlier) largest_earlier = std::max(largest_earlier, std::abs(a));
  const double reference = std::arg(drive[first]);
  for (std::size_t e = 0; e < array.size(); ++e) {
    array[e].phase = wrapped(std::arg(drive[e]) - reference);
    if (options.set_amplitude) array[e].amplitude = std::abs(drive[e]) / largest * largest_earlier;
  }
}

void focus(std::span<Element> array, CartesianCoordinate point, const Medium& medium, double f0) {
  focus(array, {&point, 1}, medium, f0);
}

void steer(std::span<Element> array, double theta, double phi, const Medium& medium, double f0,
           std::optional<CartesianCoordinate> euler) {
  check_medium(medium);
  check_frequency(f0);
  if (array.empty()) return;
  const CartesianCoordinate direction = wave_direction(array, theta, phi, euler);
  double farthest = -kInfinity;
  for (const Element& e : array) farthest = std::max(farthest, dot(direction, e.center));
  const double k = medium.wavenumber(f0);
  for (Element& e : array) e.phase = wrapped(k * (farthest - dot(direction, e.center)));
}

void plane_wave_delays(std::span<Element> array, double theta, double phi, const Medium& medium,
                       std::optional<CartesianCoordinate> euler) {
  check_medium(medium);
  if (array.empty()) return;
  const CartesianCoordinate direction = wave_direction(array, theta, phi, euler);
  const double share = 1 / static_cast<double>(array.size());
  CartesianCoordinate middle;
  for (const Element& e : array) {
    middle.x += e.center.x * share;
    middle.y += e.center.y * share;
    middle.z += e.center.z * share;
  }
  for (Element& e : array) {
    const CartesianCoordinate c = e.center;
    e.time_delay =
        dot(direction, {c.x - middle.x, c.y - middle.y, c.z - middle.z}) / medium._soundspeed;
  }
}

void apodize(std::span<Element> array, const std::array<Window, 2>& windows,
             std::optional<CartesianCoordinate> euler) {
  if (array.empty()) return;
  const Aperture aperture = aperture_of(array, frame_of(array, euler));
  const std::vector<double> x = along_axis(windows[0], aperture, 0);
  const std::vector<double> y = along_axis(windows[1], aperture, 1);
  for (std::size_t i = 0; i < array.size(); ++i) array[i].amplitude *= x[i] * y[i];
}

void apodize_radially(std::span<Element> array, std::string_view window,
                      std::optional<CartesianCoordinate> euler) {
  const WindowFunction at = find_window(window);
  if (array.empty()) return;
  const Aperture aperture = aperture_of(array, frame_of(array, euler));
  std::vector<double> distance(array.size());
  double edge = 0;
  for (std::size_t i = 0; i < array.size(); ++i) {
    const auto& geometry = array[i].geometry;
    const double reach = std::visit([](const auto& g) { return g.inscribed_radius(); }, geometry);
    const RadialFace face = std::visit([](const auto& g) { return g.radial_face(); }, geometry);
    distance[i] = std::hypot(aperture.places[i][0], aperture.places[i][1]);
    edge = std::max(edge, distance[i] + reach);
    if (face.inner_radius > 0 && distance[i] < 1e-9 * reach) {
      distance[i] = (face.inner_radius + face.outer_radius) / 2;
    }
  }
  for (std::size_t i = 0; i < array.size(); ++i) array[i].amplitude *= at(distance[i] / edge);
}

void apodize(std::span<Element> array, std::span<const double> weights) {
  if (weights.size() != array.size()) {
    fail("window must have %zu entries, one for each element, but it has %zu.", array.size(),
         weights.size());
  }
  for (std::size_t i = 0; i < array.size(); ++i) array[i].amplitude *= weights[i];
}

void focus_delays(std::span<Element> array, CartesianCoordinate point, const Medium& medium) {
  check_medium(medium);
  double longest = 0;
  for (const Element& e : array) longest = std::max(longest, paths_from(e, point).mean());
  for (Element& e : array) {
    e.time_delay = (longest - paths_from(e, point).mean()) / medium._soundspeed;
  }
}

}  // namespace kestrel
