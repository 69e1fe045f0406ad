#include "fields/node_rule.h"

#include <cmath>
#include <type_traits>

#include "fields/outline.h"
#include "numerics/constants.h"

namespace kestrel::fields {

namespace {

constexpr int kLeast = 1, kMost = 4000;

/// The next number of not too many: a sixteenth apart at most above 64.
int few(int n) {
  int step = 1;
  while (n > 64 && n > 32 * step) step *= 2;
  return (n + step - 1) / step * step;
}

Wave wave_of(const Medium& medium) {
  const double f0 = medium._f0 > 0 ? medium._f0 : constants::kDefaultFrequency;
  return {medium.wavenumber(f0), medium.attenuation(f0)};
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
  const Rotation rotation(element.euler);
  const auto to_local = [&](CartesianCoordinate p) {
    return rotation.to_local(
        {p.x - element.center.x, p.y - element.center.y, p.z - element.center.z});
  };
  const CartesianCoordinate a = tile.least, b = tile.greatest;
  CartesianCoordinate least = to_local(a), greatest = least;
  for (int corner = 1; corner < 8; ++corner) {
    const CartesianCoordinate p =
        to_local({corner & 1 ? b.x : a.x, corner & 2 ? b.y : a.y, corner & 4 ? b.z : a.z});
    least = {std::min(least.x, p.x), std::min(least.y, p.y), std::min(least.z, p.z)};
    greatest = {std::max(greatest.x, p.x), std::max(greatest.y, p.y), std::max(greatest.z, p.z)};
  }
  return {{least.x, greatest.x}, {least.y, greatest.y}, {least.z, greatest.z}};
}

/// The greatest number of nodes, or the greatest error, over the edges of an element, for the most
/// demanding points of a box: those nearest to an edge, and those from which it is seen most
/// obliquely. `judge` answers for one integral.
template <class Judge>
struct Greatest {
  const Judge& judge;
  const FrameBox& box;
  using Answer = decltype(judge(StraightEdge{}));

  Answer operator()(const Outline& face) const {
    if (face.round) {
      const double inner = face.rims.inner_radius, outer = face.rims.outer_radius;
      const auto rim = [&](double radius) {
        return face.rims.curvature > 0 ? cap(radius, face.rims.curvature) : disc(radius);
      };
      return inner > 0 ? std::max(rim(inner), rim(outer)) : rim(outer);
    }
    if (box.z.greatest < 0) return {};
    return std::max(edges(face.half_width, face.half_height, box.x, box.y),
                    edges(face.half_height, face.half_width, box.y, box.x));
  }

 private:
  /// Calls take(t) for distances t from an edge, from `nearest` to `farthest`: the error vanishes
  /// on the edge itself and is greatest somewhere close to it.
  template <class Take>
  static void distances(double nearest, double farthest, double least, const Take& take) {
    take(nearest);
    for (double t = std::max(2 * nearest, least); t < farthest; t *= 3) take(t);
    if (farthest > 1.3 * nearest) take(farthest);
  }

  /// The edges of half length a along `along`, at +-b across.
  Answer edges(double a, double b, const Range& along, const Range& across) const {
    const double height = std::max(0.0, box.z.least);
    const double near = std::min(across.distance(b), across.distance(-b));
    const double far = b + across.greatest_magnitude();
    const double farthest = along.greatest_magnitude(), nearest = along.least_magnitude();
    Answer answer{};
    const auto include = [&](double x, double distance) {
      // Inside, the integral is split at the point's projection.
      answer = std::max(answer,
                        x >= a ? judge(StraightEdge{x, a, distance, height})
                               : judge(StraightEdge{(a + x) / 2, (a + x) / 2, distance, height}));
    };
    const auto include_places = [&](double distance) {
      include(farthest, distance);
      if (farthest - nearest <= 0.05 * (a + nearest)) return;
      include(nearest, distance);
      // The end of the edge, where the integral over the whole of it begins.
      if (nearest < a && farthest > a) include(a, distance);
    };
    if (across.least == across.greatest) {
      include_places(near);
      const double other = b + across.least_magnitude();
      if (other > 1.3 * near) include_places(other);
    } else {
      distances(near, far, std::max(height, 1e-3 * a), include_places);
    }
    return answer;
  }

  Range radii() const {
    return {std::hypot(box.x.least_magnitude(), box.y.least_magnitude()),
            std::hypot(box.x.greatest_magnitude(), box.y.greatest_magnitude())};
  }

  /// Calls take(r) for distances r from the axis: the greatest and those about the rim.
  template <class Take>
  static void radii_about(double a, const Range& radius, double height, const Take& take) {
    take(radius.greatest);
    if (radius.least == radius.greatest) return;
    const double nearest = radius.distance(a);
    if (nearest > 0) {
      if (radius.greatest < a) return;
      take(radius.least);
      return;
    }
    for (double t = std::max(height, 1e-3 * a); t < std::max(a, radius.greatest - a); t *= 3) {
      for (const double r : {a - t, a + t}) {
        if (r >= radius.least && r <= radius.greatest) take(r);
      }
    }
  }

  Answer disc(double a) const {
    if (box.z.greatest < 0) return {};
    const double height = std::max(0.0, box.z.least);
    Answer answer{};
    radii_about(a, radii(), height, [&](double r) {
      answer = std::max(answer, judge(DiscRim{a, r, height}));
    });
    return answer;
  }

  Answer cap(double a, double curvature) const {
    const double depth = curvature - std::sqrt(curvature * curvature - a * a);
    const Range radius = radii();
    Answer answer{};
    const auto include = [&](double r, double z) {
      answer = std::max(answer, judge(CapRim{a, curvature, r, z - curvature}));
    };
    const auto include_height = [&](double z) {
      if (z < box.z.least || z > box.z.greatest) return;
      radii_about(a, radius, std::abs(z - depth), [&](double r) { include(r, z); });
    };
    // Nearest to the rim, and nearest to the centre on either side of it.
    const double z = std::clamp(depth, box.z.least, box.z.greatest);
    include_height(z);
    if (box.z.least < box.z.greatest) {
      if (z != box.z.least) include_height(box.z.least);
      if (z != box.z.greatest) include_height(box.z.greatest);
      for (const double step : {-1e-3, 1e-3}) include_height(curvature + step * a);
      if (depth > box.z.least && depth < box.z.greatest) {
        for (const double step : {-1e-2, 1e-2}) include_height(depth + step * a);
      }
    }
    shadow_edge(a, curvature, depth, radius, include);
    return answer;
  }

  /// Outside of the sphere and before the centre the integrand has a pole on the rim where the line
  /// through the centre meets it. For the box's points there: those nearest to that line.
  template <class Include>
  void shadow_edge(double a, double curvature, double depth, const Range& radius,
                   const Include& include) const {
    const double before = curvature - box.z.least;
    if (box.z.least == box.z.greatest && radius.least == radius.greatest) return;
    if (before <= 0 || std::hypot(radius.greatest, before) <= curvature) return;
    const double h = curvature - depth;
    for (const double r : {radius.least, radius.greatest}) {
      include(r, std::clamp(curvature - r * h / a, box.z.least, box.z.greatest));
    }
    for (const double z : {box.z.least, box.z.greatest}) {
      if (z >= curvature || h <= 0) continue;
      include(std::clamp((curvature - z) * a / h, radius.least, radius.greatest), z);
    }
  }
};

}  // namespace

ToleranceNodes::ToleranceNodes(const Medium& medium, double tolerance, int most_at_pole)
    : _wave(wave_of(medium)), _tolerance(tolerance), _most_at_pole(most_at_pole) {}

int ToleranceNodes::nodes(const Element& element, const Box& tile) const {
  const auto wanted = [&](const auto& integral) {
    constexpr bool cap = std::is_same_v<std::decay_t<decltype(integral)>, CapRim>;
    return nodes_for_error(_wave, integral, _tolerance, cap ? _most_at_pole : kMost);
  };
  const FrameBox box = in_frame(element, tile);
  return few(std::max(kLeast, Greatest<decltype(wanted)>{wanted, box}(Outline(element.geometry))));
}

double error_at(const Element& element, const Medium& medium, const CartesianCoordinate& point,
                int nodes) {
  const Wave wave = wave_of(medium);
  const auto error = [&](const auto& integral) { return quadrature_error(wave, integral, nodes); };
  const FrameBox box = in_frame(element, {point, point});
  return Greatest<decltype(error)>{error, box}(Outline(element.geometry));
}

}  // namespace kestrel::fields
