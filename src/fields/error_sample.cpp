#include "fields/error_sample.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <random>

#include "fields/pointwise_field.h"

namespace kestrel::fields {

namespace {

constexpr std::size_t kClusterSize = 8;

/// Places next to the edges of an element, in its own frame.
std::vector<CartesianCoordinate> edge_places(const Geometry& geometry, std::mt19937_64& random) {
  const auto fraction = [&] { return static_cast<double>(random() % 1024) / 1024; };
  std::vector<CartesianCoordinate> places;
  const auto rim = [&](double radius, double depth) {
    for (int i = 0; i < 8; ++i) {
      const double angle = 2 * std::numbers::pi * fraction();
      places.push_back({radius * std::cos(angle), radius * std::sin(angle), depth});
    }
  };
  const auto cap_rim = [&](double radius, double curvature) {
    rim(radius, curvature - std::sqrt(curvature * curvature - radius * radius));
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
  if (size <= clusters * kClusterSize) {
    const std::vector<std::size_t> order = neighbours_order(_job.points);
    for (std::size_t i = 0; i < size; i += kClusterSize) {
      const auto first = order.begin() + static_cast<std::ptrdiff_t>(i);
      chosen.emplace_back(first,
                          first + static_cast<std::ptrdiff_t>(std::min(kClusterSize, size - i)));
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
  std::vector<std::pair<double, std::size_t>> ranked;
  for (const std::size_t point : candidates) ranked.push_back({-hardness(point, nodes), point});
  std::sort(ranked.begin(), ranked.end());
  ranked.erase(std::unique(ranked.begin(), ranked.end()), ranked.end());
  for (std::size_t i = 0; i < ranked.size() && chosen.size() < clusters; ++i) {
    chosen.push_back(cluster_at(ranked[i].second));
  }
  return chosen;
}

ErrorSample::Cluster ErrorSample::cluster_at(std::size_t point) const {
  if (!_grid.regular()) return {point};
  const auto row = static_cast<std::size_t>(_grid.nx());
  std::size_t first = point, count = std::min(kClusterSize, _job.points.size());
  if (row >= kClusterSize) {
    const std::size_t place = point % row;
    first = point - place + std::min(place - std::min<std::size_t>(place, 3), row - kClusterSize);
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

/// The errors of the two nearest elements and of one more.
double ErrorSample::hardness(std::size_t index, int nodes) const {
  const CartesianCoordinate point = _job.points[index];
  std::array<std::pair<double, std::size_t>, 2> nearest{};
  nearest.fill({std::numeric_limits<double>::infinity(), 0});
  for (std::size_t e = 0; e < _job.elements.size(); ++e) {
    const Element& element = _job.elements[e];
    const double distance = element.center.calculate_distance(point) - extent(element.geometry);
    if (distance < nearest[0].first) {
      nearest[1] = nearest[0];
      nearest[0] = {distance, e};
    } else if (distance < nearest[1].first) {
      nearest[1] = {distance, e};
    }
  }
  double sum = 0;
  const auto include = [&](std::size_t e) {
    const Element& element = _job.elements[e];
    sum += std::abs(element.amplitude) * error_at(element, _job.medium, point, nodes);
  };
  for (const auto& [distance, e] : nearest) {
    if (std::isfinite(distance)) include(e);
  }
  if (_job.elements.size() > 2) include(index % _job.elements.size());
  return std::isfinite(sum) ? sum : 0;
}

std::vector<std::complex<double>> ErrorSample::compute(const std::vector<Cluster>& clusters,
                                                       const NodeRule& rule) const {
  std::vector<std::size_t> first(clusters.size());
  std::size_t count = 0;
  for (std::size_t i = 0; i < clusters.size(); ++i) {
    first[i] = count;
    count += clusters[i].size();
  }
  std::vector<std::complex<double>> field(count);
  _runner.run(clusters.size(), [&](std::size_t i) {
    const ChosenPoints points(_job.points, clusters[i]);
    compute_direct_here({_job.elements, points, _job.medium, _job.method, rule, clusters[i].size()},
                        field.data() + first[i]);
  });
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
  double largest = -1;
  std::size_t worst = 0, seen = 0, place = 0;
  const auto look = [&] {
    for (; seen < _clusters.size(); ++seen) {
      for (const std::size_t point : _clusters[seen]) {
        const double difference = std::abs(field[point] - _reference[place++]);
        if (difference > largest) {
          largest = difference;
          worst = point;
        }
      }
    }
  };
  look();
  if (!_grid.regular() || largest <= 0) return std::max(largest, 0.0);
  for (int round = 0; round < rounds; ++round) {
    const std::size_t from = worst;
    add(around(worst, 0));
    look();
    if (worst == from) break;
  }
  return largest;
}

}  // namespace kestrel::fields
