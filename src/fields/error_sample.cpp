#include "fields/error_sample.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>
#include <random>
#include <set>
#include <utility>

#include "fields/outline.h"
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
  const Outline face(geometry);
  if (face.round) {
    for (const double radius : {face.rims.outer_radius, face.rims.inner_radius}) {
      if (!(radius > 0)) continue;
      if (face.rims.curvature > 0) {
        cap_rim(radius, face.rims.curvature);
      } else {
        rim(radius, 0);
      }
    }
    return places;
  }
  const auto along = [&](double half_side) { return (fraction() - 0.5) * (2 * half_side); };
  for (const double side : {-1, 1}) {
    for (int i = 0; i < 2; ++i) {
      places.push_back({side * face.half_width, along(face.half_height), 0});
      places.push_back({along(face.half_width), side * face.half_height, 0});
    }
  }
  return places;
}

/// Distance of a point of an element's frame from its edge or rim; for a cap also from the edge of
/// its shadow outside of the sphere and, for a hemisphere, from the plane of its centre.
struct EdgeDistance {
  CartesianCoordinate p;
  double r = std::sqrt(p.x * p.x + p.y * p.y);

  static double length(double x, double y) { return std::sqrt(x * x + y * y); }
  double cap(double radius, double curvature) const {
    const double h = std::sqrt(curvature * curvature - radius * radius);
    const double beside = r - radius, above = p.z - (curvature - h);
    const double along = beside * radius - above * h, across = beside * h + above * radius;
    const double from_shadow = along > 0 ? std::abs(across) / curvature : length(beside, above);
    return std::min(from_shadow, length(p.z - curvature, h));
  }
  double operator()(const Outline& face) const {
    if (face.round) {
      const auto rim = [&](double radius) {
        return face.rims.curvature > 0 ? cap(radius, face.rims.curvature) : length(r - radius, p.z);
      };
      const double outer = rim(face.rims.outer_radius), inner = face.rims.inner_radius;
      return inner > 0 ? std::min(rim(inner), outer) : outer;
    }
    const double x = std::abs(p.x) - face.half_width, y = std::abs(p.y) - face.half_height;
    const double across =
        x < 0 && y < 0 ? std::max(x, y) : length(std::max(x, 0.0), std::max(y, 0.0));
    return length(across, p.z);
  }
};

}  // namespace

ErrorSample::Frame::Frame(const Element& element) : center(element.center) {
  const Rotation rotation(element.euler);
  const CartesianCoordinate units[] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  for (std::size_t i = 0; i < 3; ++i) axis[i] = rotation.to_local(units[i]);
}

CartesianCoordinate ErrorSample::Frame::in(const CartesianCoordinate& point) const {
  const double x = point.x - center.x, y = point.y - center.y, z = point.z - center.z;
  return {axis[0].x * x + axis[1].x * y + axis[2].x * z,
          axis[0].y * x + axis[1].y * y + axis[2].y * z,
          axis[0].z * x + axis[1].z * y + axis[2].z * z};
}

CartesianCoordinate ErrorSample::Frame::out(const CartesianCoordinate& place) const {
  const auto along = [&](const CartesianCoordinate& unit) {
    return unit.x * place.x + unit.y * place.y + unit.z * place.z;
  };
  return {center.x + along(axis[0]), center.y + along(axis[1]), center.z + along(axis[2])};
}

ErrorSample::ErrorSample(TileRunner& runner, const DirectJob& job, const CoordinateGrid& grid,
                         std::size_t clusters, int nodes, std::complex<double> factor)
    : _runner(runner), _job(job), _grid(grid), _factor(factor) {
  for (const Element& element : job.elements) _frames.emplace_back(element);
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
  constexpr std::size_t kDraw = 2;
  std::vector<std::size_t> drawn = draw_points(size, kDraw * clusters);
  std::mt19937_64 random(2);
  std::shuffle(drawn.begin(), drawn.end(), random);
  const std::size_t at_random = std::min((clusters + 1) / 2, drawn.size());
  for (std::size_t i = 0; i < at_random; ++i) chosen.push_back(cluster_at(drawn[i]));

  std::vector<Candidate> candidates;
  for (std::size_t i = at_random; i < drawn.size(); ++i) {
    candidates.push_back({drawn[i], drawn[i] % _job.elements.size()});
  }
  add_edge_points(candidates);
  add_nearest_to_edges(candidates, 4 * clusters);
  std::vector<std::pair<double, std::size_t>> ranked;
  for (const Candidate& c : candidates) ranked.push_back({-hardness(c, nodes), c.point});
  std::sort(ranked.begin(), ranked.end());
  std::set<std::size_t> taken;
  for (std::size_t i = 0; i < ranked.size() && chosen.size() < clusters; ++i) {
    const Cluster cluster = cluster_at(ranked[i].second);
    if (taken.insert(cluster.front()).second) chosen.push_back(cluster);
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

void ErrorSample::add_edge_points(std::vector<Candidate>& candidates) const {
  if (!_grid.regular()) return;
  constexpr std::size_t kAsked = 12;
  const std::size_t count = _job.elements.size(), stride = (count + kAsked - 1) / kAsked;
  std::mt19937_64 random(3);
  for (std::size_t e = 0; e < count; e += stride) {
    for (const CartesianCoordinate& place : edge_places(_job.elements[e].geometry, random)) {
      candidates.push_back({nearest_point(_frames[e].out(place)), e});
    }
  }
}

void ErrorSample::add_nearest_to_edges(std::vector<Candidate>& candidates,
                                       std::size_t count) const {
  constexpr std::size_t kPairs = 150000;
  const std::size_t most = std::max<std::size_t>(count, kPairs / _job.elements.size());
  struct Near {
    double distance;
    Candidate candidate;
  };
  std::vector<Outline> outlines;
  for (const Element& element : _job.elements) outlines.emplace_back(element.geometry);
  std::vector<Near> ranked;
  for (const std::size_t point : draw_points(_job.points.size(), most)) {
    const CartesianCoordinate place = _job.points[point];
    Near nearest{std::numeric_limits<double>::infinity(), {point, 0}};
    for (std::size_t e = 0; e < _job.elements.size(); ++e) {
      const double distance = EdgeDistance{_frames[e].in(place)}(outlines[e]);
      if (distance < nearest.distance) nearest = {distance, {point, e}};
    }
    ranked.push_back(nearest);
  }
  const auto last = ranked.begin() + static_cast<std::ptrdiff_t>(std::min(count, ranked.size()));
  std::partial_sort(ranked.begin(), last, ranked.end(),
                    [](const Near& a, const Near& b) { return a.distance < b.distance; });
  for (auto it = ranked.begin(); it != last; ++it) candidates.push_back(it->candidate);
}

double ErrorSample::hardness(const Candidate& candidate, int nodes) const {
  const Element& element = _job.elements[candidate.element];
  const double error = std::abs(element.amplitude) *
                       error_at(element, _job.medium, _job.points[candidate.point], nodes);
  return std::isfinite(error) ? error : 0;
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

bool ErrorSample::complete() const {
  return _clusters.size() * cluster_size() >= _job.points.size();
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
