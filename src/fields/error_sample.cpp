#include "fields/error_sample.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>
#include <random>
#include <utility>

#include "fields/pointwise_field.h"

namespace kestrel::fields {

namespace {

constexpr std::size_t kClusterSize = 8;

/// Places next to the edges of an element, in its own frame.
std::vector<CartesianCoordinate> edge_places(const Geometry& geometry, std::mt19937_64& random) {
  const auto fraction = [&] { return static_cast<double>(random() % 1024) / 1024; };
  std::vector<CartesianCoordinate> places;
  const auto rim = [&](double radius, double depth) {
    for (int i = 0; i < 6; ++i) {
      const double angle = 2 * std::numbers::pi * fraction();
      places.push_back({radius * std::cos(angle), radius * std::sin(angle), depth});
    }
  };
  // A cap's rim, the edge of its shadow outside of the sphere, and the plane of its centre.
  const auto cap_rim = [&](double radius, double curvature) {
    const double h = std::sqrt(curvature * curvature - radius * radius);
    rim(radius, curvature - h);
    for (const double beyond : {1.1, 1.4, 2.0}) rim(beyond * radius, curvature - beyond * h);
    for (const double inside : {0.3, 0.7}) rim(inside * radius, curvature);
  };
  struct Add {
    const decltype(rim)& disc_rim;
    const decltype(cap_rim)& shell_rim;
    const decltype(fraction)& draw;
    std::vector<CartesianCoordinate>& found;
    void operator()(const Rectangle& g) const {
      for (const double side : {-0.5, 0.5}) {
        for (int i = 0; i < 2; ++i) {
          found.push_back({side * g.width, (draw() - 0.5) * g.height, 0});
          found.push_back({(draw() - 0.5) * g.width, side * g.height, 0});
        }
      }
    }
    void operator()(const Circle& g) const { disc_rim(g.radius, 0); }
    void operator()(const Ring& g) const {
      disc_rim(g.outer_radius, 0);
      if (g.inner_radius > 0) disc_rim(g.inner_radius, 0);
    }
    void operator()(const Shell& g) const { shell_rim(g.radius, g.rad_curvature); }
    void operator()(const ShellRing& g) const {
      shell_rim(g.outer_radius, g.geometric_focus);
      if (g.inner_radius > 0) shell_rim(g.inner_radius, g.geometric_focus);
    }
  };
  std::visit(Add{rim, cap_rim, fraction, places}, geometry);
  return places;
}

/// Distance of a point from an element's edge or rim.
double edge_distance(const Element& element, const CartesianCoordinate& point) {
  Element turned;
  turned.geometry = Circle{1};
  turned.euler = element.euler;
  const auto transducer = make_transducer(turned);
  transducer->InitializeRotationMatrix();
  const CartesianCoordinate p = transducer->rotateTranslate(
      {point.x - element.center.x, point.y - element.center.y, point.z - element.center.z});
  struct Distance {
    const CartesianCoordinate& p;
    double rim(double radius, double depth = 0) const {
      return std::hypot(std::hypot(p.x, p.y) - radius, p.z - depth);
    }
    /// Likewise from the edge of a cap's shadow and, for a hemisphere, from the plane of its
    /// centre.
    double cap(double radius, double curvature) const {
      const double h = std::sqrt(curvature * curvature - radius * radius);
      const double r = std::hypot(p.x, p.y) - radius, z = p.z - (curvature - h);
      const double along = (r * radius - z * h) / curvature;
      const double beside = (r * h + z * radius) / curvature;
      const double from_shadow = along > 0 ? std::abs(beside) : std::hypot(r, z);
      return std::min(from_shadow, std::hypot(p.z - curvature, h));
    }
    double operator()(const Rectangle& g) const {
      const double x = std::abs(p.x) - g.width / 2, y = std::abs(p.y) - g.height / 2;
      const double across =
          x < 0 && y < 0 ? std::max(x, y) : std::hypot(std::max(x, 0.0), std::max(y, 0.0));
      return std::hypot(across, p.z);
    }
    double operator()(const Circle& g) const { return rim(g.radius); }
    double operator()(const Ring& g) const {
      return std::min(rim(g.inner_radius), rim(g.outer_radius));
    }
    double operator()(const Shell& g) const { return cap(g.radius, g.rad_curvature); }
    double operator()(const ShellRing& g) const {
      return std::min(cap(g.inner_radius, g.geometric_focus),
                      cap(g.outer_radius, g.geometric_focus));
    }
  };
  return std::visit(Distance{p}, element.geometry);
}

/// From an element's frame to the grid's.
CartesianCoordinate out_of_frame(const Element& element, const CartesianCoordinate& place) {
  Element turned;
  turned.geometry = Circle{1};
  turned.euler = element.euler;
  const auto transducer = make_transducer(turned);
  transducer->InitializeRotationMatrix();
  const auto along = [&](const CartesianCoordinate& axis) {
    const CartesianCoordinate seen = transducer->rotateTranslate(axis);
    return seen.x * place.x + seen.y * place.y + seen.z * place.z;
  };
  return {element.center.x + along({1, 0, 0}), element.center.y + along({0, 1, 0}),
          element.center.z + along({0, 0, 1})};
}

}  // namespace

ErrorSample::ErrorSample(TileRunner& runner, const DirectJob& job, const CoordinateGrid& grid,
                         std::size_t clusters, int nodes, std::complex<double> factor)
    : _runner(runner), _job(job), _grid(grid), _factor(factor) {
  for (const Element& element : job.elements) _extents.push_back(extent(element.geometry));
  add(choose(clusters, nodes));
}

void ErrorSample::add(const std::vector<Cluster>& clusters) {
  const std::vector<std::complex<double>> field = compute(clusters, _job.rule);
  for (const auto& p : field) _reference.push_back(p / _factor);
  _clusters.insert(_clusters.end(), clusters.begin(), clusters.end());
}

std::vector<ErrorSample::Cluster> ErrorSample::choose(std::size_t clusters, int nodes) const {
  const std::size_t size = _job.points.size();
  std::vector<Cluster> chosen;
  if (size <= clusters * cluster_size()) {
    const std::vector<std::size_t> order = neighbours_order(_job.points);
    for (std::size_t i = 0; i < size; i += cluster_size()) {
      Cluster cluster;
      for (std::size_t j = i; j < i + cluster_size(); ++j) {
        cluster.push_back(order[std::min(j, size - 1)]);
      }
      chosen.push_back(cluster);
    }
    return chosen;
  }
  constexpr std::size_t kDraw = 6;
  std::vector<std::size_t> candidates = draw_points(size, kDraw * clusters);
  std::mt19937_64 random(2);
  std::shuffle(candidates.begin(), candidates.end(), random);
  const std::size_t at_random = std::min((clusters + 1) / 2, candidates.size());
  for (std::size_t i = 0; i < at_random; ++i) chosen.push_back(cluster_at(candidates[i]));
  candidates.erase(candidates.begin(), candidates.begin() + static_cast<std::ptrdiff_t>(at_random));
  add_edge_points(candidates);
  add_nearest_to_edges(candidates, 4 * clusters);
  std::vector<std::pair<double, std::size_t>> ranked;
  for (const std::size_t point : candidates) ranked.push_back({-hardness(point, nodes), point});
  std::sort(ranked.begin(), ranked.end());
  ranked.erase(std::unique(ranked.begin(), ranked.end()), ranked.end());
  for (std::size_t i = 0; i < ranked.size() && chosen.size() < clusters; ++i) {
    chosen.push_back(cluster_at(ranked[i].second));
  }
  return chosen;
}

std::size_t ErrorSample::cluster_size() const {
  return _grid.regular() ? std::min(kClusterSize, _job.points.size()) : 1;
}

ErrorSample::Cluster ErrorSample::cluster_at(std::size_t point) const {
  if (!_grid.regular()) return {point};
  const auto row = static_cast<std::size_t>(_grid.nx());
  const std::size_t count = cluster_size();
  std::size_t first = point;
  if (row >= count) {
    const std::size_t place = point % row;
    first = point - place + std::min(place - std::min<std::size_t>(place, 3), row - count);
  } else {
    first = std::min(first, _job.points.size() - count);
  }
  Cluster cluster;
  for (std::size_t i = 0; i < count; ++i) cluster.push_back(first + i);
  return cluster;
}

std::size_t ErrorSample::nearest_point(const CartesianCoordinate& place) const {
  const auto index = [](double value, double least, double step, int count) {
    const double at = step > 0 ? std::round((value - least) / step) : 0;
    return static_cast<std::size_t>(at > 0 ? std::min(at, static_cast<double>(count - 1)) : 0);
  };
  const std::size_t ix = index(place.x, _grid.xmin(), _grid.deltax(), _grid.nx());
  const std::size_t iy = index(place.y, _grid.ymin(), _grid.deltay(), _grid.ny());
  const std::size_t iz = index(place.z, _grid.zmin(), _grid.deltaz(), _grid.nz());
  return (iz * static_cast<std::size_t>(_grid.ny()) + iy) * static_cast<std::size_t>(_grid.nx()) +
         ix;
}

void ErrorSample::add_edge_points(std::vector<std::size_t>& candidates) const {
  if (!_grid.regular()) return;
  constexpr std::size_t kAsked = 12;
  const std::size_t count = _job.elements.size(), stride = (count + kAsked - 1) / kAsked;
  std::mt19937_64 random(3);
  for (std::size_t e = 0; e < count; e += stride) {
    for (const CartesianCoordinate& place : edge_places(_job.elements[e].geometry, random)) {
      candidates.push_back(nearest_point(out_of_frame(_job.elements[e], place)));
    }
  }
}

void ErrorSample::add_nearest_to_edges(std::vector<std::size_t>& candidates,
                                       std::size_t count) const {
  constexpr std::size_t kPairs = 1000000;
  const std::size_t most = std::max<std::size_t>(count, kPairs / _job.elements.size());
  std::vector<std::pair<double, std::size_t>> ranked;
  for (const std::size_t point : draw_points(_job.points.size(), most)) {
    const Element& nearest = _job.elements[nearest_elements(_job.points[point])[0]];
    ranked.push_back({edge_distance(nearest, _job.points[point]), point});
  }
  const auto last = ranked.begin() + static_cast<std::ptrdiff_t>(std::min(count, ranked.size()));
  std::partial_sort(ranked.begin(), last, ranked.end());
  for (auto it = ranked.begin(); it != last; ++it) candidates.push_back(it->second);
}

std::array<std::size_t, 2> ErrorSample::nearest_elements(const CartesianCoordinate& point) const {
  std::array<double, 2> distances;
  distances.fill(std::numeric_limits<double>::infinity());
  std::array<std::size_t, 2> nearest{};
  for (std::size_t e = 0; e < _job.elements.size(); ++e) {
    const double distance = _job.elements[e].center.calculate_distance(point) - _extents[e];
    if (distance < distances[0]) {
      distances = {distance, distances[0]};
      nearest = {e, nearest[0]};
    } else if (distance < distances[1]) {
      distances[1] = distance;
      nearest[1] = e;
    }
  }
  return nearest;
}

/// The errors of the two nearest elements and of one more.
double ErrorSample::hardness(std::size_t index, int nodes) const {
  const CartesianCoordinate point = _job.points[index];
  const std::array<std::size_t, 2> nearest = nearest_elements(point);
  double sum = 0;
  const auto include = [&](std::size_t e) {
    const Element& element = _job.elements[e];
    sum += std::abs(element.amplitude) * error_at(element, _job.medium, point, nodes);
  };
  include(nearest[0]);
  if (_job.elements.size() > 1) include(nearest[1]);
  if (_job.elements.size() > 2) include(index % _job.elements.size());
  return std::isfinite(sum) ? sum : 0;
}

std::vector<std::complex<double>> ErrorSample::compute(const std::vector<Cluster>& clusters,
                                                       const NodeRule& rule) const {
  if (clusters.empty()) return {};
  std::vector<std::size_t> chosen;
  for (const Cluster& cluster : clusters)
    chosen.insert(chosen.end(), cluster.begin(), cluster.end());
  std::vector<std::complex<double>> field(chosen.size());
  const ChosenPoints points(_job.points, chosen);
  NodeRange unused;
  add_direct_field(_runner,
                   {_job.elements, points, _job.medium, _job.method, rule, clusters.front().size()},
                   field.data(), unused);
  return field;
}

std::vector<ErrorSample::Cluster> ErrorSample::around(std::size_t point, double distance) const {
  std::vector<Cluster> clusters;
  const auto row = static_cast<std::ptrdiff_t>(_grid.nx());
  const std::ptrdiff_t plane = row * _grid.ny(), count[] = {_grid.nx(), _grid.ny(), _grid.nz()};
  const std::ptrdiff_t stride[] = {1, row, plane}, at = static_cast<std::ptrdiff_t>(point);
  const std::ptrdiff_t place[] = {at % row, at / row % count[1], at / plane};
  for (int axis = 0; axis < 3; ++axis) {
    for (const int sign : {-1, 1}) {
      const auto step =
          sign * static_cast<std::ptrdiff_t>(
                     std::max(axis == 0 ? 4.0 : 1.0, distance * static_cast<double>(count[axis])));
      const std::ptrdiff_t to = std::clamp<std::ptrdiff_t>(place[axis] + step, 0, count[axis] - 1);
      if (to == place[axis]) continue;
      clusters.push_back(
          cluster_at(static_cast<std::size_t>(at + (to - place[axis]) * stride[axis])));
    }
  }
  return clusters;
}

void ErrorSample::climb_to_peak(int rounds) {
  if (!_grid.regular()) return;
  double distance = 0.15;
  for (int round = 0; round < rounds; ++round, distance *= 0.4) {
    std::size_t best = 0, place = 0;
    double largest = -1;
    for (const Cluster& cluster : _clusters) {
      for (const std::size_t point : cluster) {
        const double magnitude = std::abs(_reference[place++]);
        if (magnitude > largest) {
          largest = magnitude;
          best = point;
        }
      }
    }
    add(around(best, distance));
  }
}

double ErrorSample::peak() const {
  double largest = 0;
  for (const auto& p : _reference) largest = std::max(largest, std::abs(p));
  return largest;
}

double ErrorSample::error(const NodeRule& rule) const {
  const std::vector<std::complex<double>> field = compute(_clusters, rule);
  double largest = 0;
  for (std::size_t i = 0; i < field.size(); ++i) {
    largest = std::max(largest, std::abs(field[i] / _factor - _reference[i]));
  }
  return largest;
}

double ErrorSample::error(const std::complex<double>* field, int rounds) {
  constexpr std::size_t kStarts = 2;
  struct Seen {
    double error;
    std::size_t worst;  ///< point
    bool explored;
  };
  std::vector<Seen> seen;
  std::size_t place = 0;
  const auto look = [&] {
    while (seen.size() < _clusters.size()) {
      Seen cluster{-1, 0, false};
      for (const std::size_t point : _clusters[seen.size()]) {
        const double difference = std::abs(field[point] - _reference[place++]);
        if (difference > cluster.error) cluster = {difference, point, false};
      }
      seen.push_back(cluster);
    }
  };
  look();
  for (int round = 0; round < rounds && _grid.regular(); ++round) {
    std::vector<Seen*> order;
    for (Seen& cluster : seen) order.push_back(&cluster);
    const std::size_t starts = std::min(kStarts, order.size());
    std::partial_sort(order.begin(), order.begin() + static_cast<std::ptrdiff_t>(starts),
                      order.end(),
                      [](const Seen* a, const Seen* b) { return a->error > b->error; });
    std::vector<Cluster> next;
    for (std::size_t i = 0; i < starts; ++i) {
      if (std::exchange(order[i]->explored, true) || !(order[i]->error > 0)) continue;
      for (Cluster& cluster : around(order[i]->worst, 0)) next.push_back(std::move(cluster));
    }
    if (next.empty()) break;
    add(next);
    look();
  }
  double largest = 0;
  for (const Seen& cluster : seen) largest = std::max(largest, cluster.error);
  return largest;
}

}  // namespace kestrel::fields
