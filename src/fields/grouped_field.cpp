#include "fields/grouped_field.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <memory>
#include <numbers>
#include <vector>

#include "kestrel/compiler.h"
#include "numerics/run_kernel.h"

namespace kestrel::fields {

namespace {

constexpr std::size_t kLanes = 8;  // rows are filled up to whole vectors
constexpr std::size_t kTermsAtOnce = 4;

std::size_t padded(std::size_t n, std::size_t to) { return (n + to - 1) / to * to; }

std::size_t tile_points(const CoordinateGrid& grid) {
  return std::clamp<std::size_t>(static_cast<std::size_t>(grid.npoints()) / 16, 4096, 65536);
}

/// Chebyshev's polynomials T_0 to T_(count-1).
void chebyshev(double at, std::size_t count, double* values) {
  for (std::size_t s = 0; s < count; ++s) {
    values[s] = s == 0 ? 1 : s == 1 ? at : 2 * at * values[s - 1] - values[s - 2];
  }
}

/// Interpolation along one axis of a block, between the Chebyshev nodes or, when there are as many
/// as points, the points themselves.
struct Interpolation {
  std::vector<double> places;  ///< coordinates of the nodes
  std::vector<double> basis;   ///< [node][point]: what a node's value counts for at a point
  /// What the values at the nodes count for in the last two coefficients of the Chebyshev series;
  /// empty for points.
  std::vector<double> last, last_but_one;

  Interpolation() = default;
  /// `stride`: from one node's row to the next; `rows`: of zeros where there are fewer nodes.
  Interpolation(std::span<const double> points, int count, std::size_t stride, std::size_t rows)
      : places(points.begin(), points.end()), basis(rows * stride) {
    const auto nodes = static_cast<std::size_t>(count);
    if (nodes == points.size()) {
      for (std::size_t m = 0; m < nodes; ++m) basis[m * stride + m] = 1;
      return;
    }
    const double middle = (points.front() + points.back()) / 2;
    const double half = (points.back() - points.front()) / 2;
    places.resize(nodes);
    const auto angle = [&](std::size_t m) {
      return std::numbers::pi * (static_cast<double>(m) + 0.5) / count;
    };
    for (std::size_t m = 0; m < nodes; ++m) places[m] = middle + half * std::cos(angle(m));
    std::vector<double> at_node(nodes * nodes), at_point(nodes);  // T_s
    for (std::size_t m = 0; m < nodes; ++m)
      chebyshev(std::cos(angle(m)), nodes, &at_node[m * nodes]);
    // 1/n (1 + 2 sum_s T_s(node) T_s(point)).
    for (std::size_t i = 0; i < points.size(); ++i) {
      chebyshev((points[i] - middle) / half, nodes, at_point.data());
      for (std::size_t m = 0; m < nodes; ++m) {
        double sum = 0.5;
        for (std::size_t s = 1; s < nodes; ++s) sum += at_node[m * nodes + s] * at_point[s];
        basis[m * stride + i] = 2 * sum / count;
      }
    }
    for (std::size_t m = 0; m < nodes; ++m) {
      last.push_back(2 * std::cos((count - 1) * angle(m)) / count);
      last_but_one.push_back(count < 2 ? 0 : 2 * std::cos((count - 2) * angle(m)) / count);
    }
  }
};

/// Multiplies the pressures at `count` places, all x, then all y, then all z, by e^{jkR}.
struct TakePhaseOut {
  const double* columns;
  CartesianCoordinate center;
  double k;
  std::size_t count;
  double *re, *im;

  template <class Math>
  KESTREL_INLINE void operator()(Math) const {
    const double *x = columns, *y = columns + count, *z = columns + 2 * count, rate = k;
    double *KESTREL_RESTRICT to_re = re, *KESTREL_RESTRICT to_im = im;
    const double cx = center.x, cy = center.y, cz = center.z;
    KESTREL_LANES
    for (std::size_t i = 0; i < count; ++i) {
      const double dx = x[i] - cx, dy = y[i] - cy, dz = z[i] - cz;
      double sine, cosine;
      Math::sine_cosine(rate * std::sqrt(dx * dx + dy * dy + dz * dz), sine, cosine);
      const double r = to_re[i], m = to_im[i];
      to_re[i] = r * cosine - m * sine;
      to_im[i] = r * sine + m * cosine;
    }
  }
};

/// Adds a group's interpolated field, with the phase of its centre, to a block.
struct AddInterpolated {
  std::size_t length, stride, rows, layers;  ///< points along the three axes; of a stored row
  /// Nodes along the axes; along a row up to whole vectors, and to a multiple of four.
  std::size_t terms, row_terms, row_nodes, layer_nodes;
  const double *row_basis, *column_basis, *layer_basis;
  const double *row_squared, *column_squared,
      *layer_squared;               ///< distances along the axes, squared
  const double *node_re, *node_im;  ///< [layer][row][term]
  double* scratch;                  ///< 2 (row_nodes + 1) terms
  double phase;                     ///< -k
  double *re, *im;

  template <class Math>
  KESTREL_INLINE void operator()(Math) const {
    double* const plane_re = scratch;
    double* const plane_im = plane_re + row_nodes * terms;
    double* const line_re = plane_im + row_nodes * terms;
    double* const line_im = line_re + terms;
    for (std::size_t c = 0; c < layers; ++c) {
      contract<Math>(row_nodes * terms, layer_nodes, layer_basis + c, layers, node_re, node_im,
                     plane_re, plane_im);
      for (std::size_t b = 0; b < rows; ++b) {
        contract<Math>(terms, row_nodes, column_basis + b, rows, plane_re, plane_im, line_re,
                       line_im);
        const std::size_t place = (c * rows + b) * stride;
        add_row<Math>(line_re, line_im, column_squared[b] + layer_squared[c], re + place,
                      im + place);
      }
    }
  }

  template <class Math>
  static KESTREL_INLINE double mul_add(double x, double y, double z) {
    if constexpr (Math::wide) return Math::mul_add(x, y, z);
    return x * y + z;
  }

  /// to[i] = sum_m weight[m * step] from[m * count + i]; `count` is a whole number of vectors.
  template <class Math>
  static KESTREL_INLINE void contract(std::size_t count, std::size_t sums, const double* weight,
                                      std::size_t step, const double* KESTREL_RESTRICT from_re,
                                      const double* KESTREL_RESTRICT from_im,
                                      double* KESTREL_RESTRICT to_re,
                                      double* KESTREL_RESTRICT to_im) {
    for (std::size_t i = 0; i < count; i += kLanes) {
      double re[kLanes] = {}, im[kLanes] = {};
      for (std::size_t m = 0; m < sums; ++m) {
        const double w = weight[m * step];
        const double *a = from_re + m * count + i, *b = from_im + m * count + i;
        KESTREL_WHOLE_LANES
        for (std::size_t l = 0; l < kLanes; ++l) re[l] = mul_add<Math>(w, a[l], re[l]);
        KESTREL_WHOLE_LANES
        for (std::size_t l = 0; l < kLanes; ++l) im[l] = mul_add<Math>(w, b[l], im[l]);
      }
      KESTREL_WHOLE_LANES
      for (std::size_t l = 0; l < kLanes; ++l) to_re[i + l] = re[l];
      KESTREL_WHOLE_LANES
      for (std::size_t l = 0; l < kLanes; ++l) to_im[i + l] = im[l];
    }
  }

  /// Four terms at a time, so that a row's sums are seldom read and written; the last four go
  /// along with the phase.
  template <class Math>
  KESTREL_INLINE void add_row(const double* line_re, const double* line_im, double beside_squared,
                              double* KESTREL_RESTRICT to_re,
                              double* KESTREL_RESTRICT to_im) const {
    constexpr std::size_t kMostAlongRow = 64;
    for (std::size_t from = 0; from < stride; from += kMostAlongRow) {
      const std::size_t n = std::min(kMostAlongRow, stride - from);
      alignas(64) double sum_re[kMostAlongRow], sum_im[kMostAlongRow];
      const double* basis = row_basis + from;
      KESTREL_LANES
      for (std::size_t i = 0; i < n; ++i) {
        double r = 0, m = 0;
        four<Math>(basis + i, line_re, line_im, r, m);
        sum_re[i] = r;
        sum_im[i] = m;
      }
      for (std::size_t t = kTermsAtOnce; t < row_terms; t += kTermsAtOnce) {
        const double* rest = basis + t * stride;
        KESTREL_LANES
        for (std::size_t i = 0; i < n; ++i) {
          double r = sum_re[i], m = sum_im[i];
          four<Math>(rest + i, line_re + t, line_im + t, r, m);
          sum_re[i] = r;
          sum_im[i] = m;
        }
      }
      const double *squared = row_squared + from, rate = phase;
      double *out_re = to_re + from, *out_im = to_im + from;
      KESTREL_LANES
      for (std::size_t i = 0; i < n; ++i) {
        double sine, cosine;
        Math::sine_cosine(rate * std::sqrt(squared[i] + beside_squared), sine, cosine);
        const double r = sum_re[i], m = sum_im[i];
        out_re[i] += r * cosine - m * sine;
        out_im[i] += r * sine + m * cosine;
      }
    }
  }

  template <class Math>
  KESTREL_INLINE void four(const double* basis, const double* w_re, const double* w_im, double& r,
                           double& m) const {
    const double a = basis[0], b = basis[stride], c = basis[2 * stride], d = basis[3 * stride];
    r = mul_add<Math>(w_re[0], a, r);
    m = mul_add<Math>(w_im[0], a, m);
    r = mul_add<Math>(w_re[1], b, r);
    m = mul_add<Math>(w_im[1], b, m);
    r = mul_add<Math>(w_re[2], c, r);
    m = mul_add<Math>(w_im[2], c, m);
    r = mul_add<Math>(w_re[3], d, r);
    m = mul_add<Math>(w_im[3], d, m);
  }
};

/// One thread's blocks.
class GroupWorker : public TileWorker {
 public:
  GroupWorker(const GroupedJob& job, const std::vector<GridPart>& tiles,
              std::complex<double>* result, NodeRange& used, std::atomic<double>& pairs)
      : _job(job), _tiles(tiles), _result(result), _used(used), _pairs(pairs) {
    for (const Element& element : job.planner.tree().elements()) {
      _inputs.push_back(place_inputs(element));
      _inputs.back().medium = &job.medium;
      _inputs.back().grid = &_places;
    }
  }

  void run(std::size_t tile) override {
    const GridPart& part = _tiles[tile];
    const double all = count_of(part);
    double done = 0;
    _job.planner.refine(part, [&](const GridPart& block, const BlockPlan& plan) {
      compute(block, plan);
      done += count_of(block);
      report(done / all);
      return !stopped();
    });
  }

 private:
  static double count_of(const GridPart& part) {
    return static_cast<double>(part.count[0]) * part.count[1] * part.count[2];
  }

  void compute(const GridPart& block, const BlockPlan& plan) {
    _block = &block;
    _box = box_of(block);
    // Rows run along the axis with most points.
    _axis = {0, 1, 2};
    std::stable_sort(_axis.begin(), _axis.end(),
                     [&](std::size_t a, std::size_t b) { return block.count[a] > block.count[b]; });
    for (std::size_t i = 0; i < 3; ++i) {
      _count[i] = static_cast<std::size_t>(block.count[_axis[i]]);
      _interpolations[i].clear();
    }
    _stride = padded(_count[0], kLanes);
    _re.assign(_stride * _count[1] * _count[2], 0);
    _im.assign(_re.size(), 0);
    const std::span<const ElementGroup> groups = _job.planner.tree().groups();
    for (const GroupWork& work : plan.work) {
      if (stopped()) return;
      const ElementGroup& group = groups[work.group];
      if (work.nodes[0] > 0 && interpolate(group, work)) {
        _pairs += static_cast<double>(group.last - group.first) * count_of(block);
      } else {
        add_at_points(group);
      }
    }
    collect();
  }

  std::span<const double> values(std::size_t i) const {
    return _block->values(static_cast<int>(_axis[i]));
  }

  const Interpolation& interpolation(std::size_t axis, int nodes) {
    Interpolation& made = _interpolations[axis][nodes];
    if (made.places.empty()) {
      const auto n = static_cast<std::size_t>(nodes);
      made = axis == 0 ? Interpolation(values(0), nodes, _stride, padded(n, kLanes))
                       : Interpolation(values(axis), nodes, _count[axis], n);
    }
    return made;
  }

  /// False when the interpolation does not keep to the error that is allowed.
  bool interpolate(const ElementGroup& group, const GroupWork& work) {
    std::array<int, 3> nodes;
    for (std::size_t i = 0; i < 3; ++i) nodes[i] = work.nodes[_axis[i]];
    constexpr int kTrials = 3;
    for (int trial = 0; trial < kTrials; ++trial) {
      std::array<const Interpolation*, 3> along;
      for (std::size_t i = 0; i < 3; ++i) along[i] = &interpolation(i, nodes[i]);
      compute_places(group, along);
      if (stopped()) return true;
      bool good = true;
      for (std::size_t i = 0; i < 3; ++i) {
        if (last_coefficients(i, along) <= work.allowed) continue;
        good = false;
        nodes[i] = std::min(nodes[i] + 2, static_cast<int>(_count[i]));
      }
      if (good) {
        add_interpolated(group, along);
        return true;
      }
    }
    return false;
  }

  /// The group's field at the places between which it is interpolated, without the phase of its
  /// centre.
  void compute_places(const ElementGroup& group, const std::array<const Interpolation*, 3>& along) {
    const std::size_t n0 = along[0]->places.size(), n1 = along[1]->places.size(),
                      n2 = along[2]->places.size(), n = n0 * n1 * n2;
    _columns.resize(3 * n);
    std::size_t place = 0;
    for (const double c : along[2]->places) {
      for (const double b : along[1]->places) {
        for (const double a : along[0]->places) {
          _columns[_axis[0] * n + place] = a;
          _columns[_axis[1] * n + place] = b;
          _columns[_axis[2] * n + place] = c;
          ++place;
        }
      }
    }
    add_elements(group, n);
    const double k = _job.planner.wavenumber();
    const std::size_t terms = padded(n0, kLanes);
    _node_re.assign(terms * n1 * n2, 0);
    _node_im.assign(terms * n1 * n2, 0);
    run_kernel(instruction_set(), TakePhaseOut{_columns.data(), group.center, k, n,
                                               _place_re.data(), _place_im.data()});
    for (std::size_t i = 0; i < n; ++i) {
      _node_re[i / n0 * terms + i % n0] = _place_re[i];
      _node_im[i / n0 * terms + i % n0] = _place_im[i];
    }
  }

  /// The fields of the group's elements at the places in `_columns`.
  void add_elements(const ElementGroup& group, std::size_t places) {
    const CoordinateGrid& grid = _places;
    _places.CoordinateGridVector(_columns.data(), static_cast<int>(places));
    _place_re.assign(static_cast<std::size_t>(grid.npoints()), 0);
    _place_im.assign(static_cast<std::size_t>(grid.npoints()), 0);
    const std::span<const Element> elements = _job.planner.tree().elements();
    for (std::size_t e = group.first; e < group.last && !stopped(); ++e) {
      detail::ElementInputs& in = _inputs[e];
      in.real_plane = _place_re.data();
      in.imaginary_plane = _place_im.data();
      add_element(_job.method, elements[e], _rules.rule(_job.rule.nodes(elements[e], _box), _used),
                  in);
    }
  }

  /// How large the last coefficients of the interpolating series along an axis are, which tell how
  /// large those are that it lacks.
  double last_coefficients(std::size_t axis,
                           const std::array<const Interpolation*, 3>& along) const {
    const Interpolation& here = *along[axis];
    if (here.last.empty()) return 0;
    const std::size_t terms = padded(along[0]->places.size(), kLanes);
    const std::size_t size[] = {along[0]->places.size(), along[1]->places.size(),
                                along[2]->places.size()};
    const std::size_t step[] = {1, terms, terms * size[1]};
    const std::size_t b = (axis + 1) % 3, c = (axis + 2) % 3;
    double largest = 0;
    for (std::size_t j = 0; j < size[b]; ++j) {
      for (std::size_t l = 0; l < size[c]; ++l) {
        std::complex<double> last, last_but_one;
        for (std::size_t m = 0; m < size[axis]; ++m) {
          const std::size_t at = j * step[b] + l * step[c] + m * step[axis];
          const std::complex<double> value(_node_re[at], _node_im[at]);
          last += here.last[m] * value;
          last_but_one += here.last_but_one[m] * value;
        }
        largest = std::max(largest, std::abs(last) + kNextShare * std::abs(last_but_one));
      }
    }
    return largest;
  }
  /// The series falls faster than this from one coefficient to the next.
  static constexpr double kNextShare = 0.05;

  void add_interpolated(const ElementGroup& group,
                        const std::array<const Interpolation*, 3>& along) {
    const std::array<double, 3> center{group.center.x, group.center.y, group.center.z};
    std::array<std::vector<double>, 3> squared;
    for (std::size_t i = 0; i < 3; ++i) {
      for (const double x : values(i)) {
        const double beside = x - center[_axis[i]];
        squared[i].push_back(beside * beside);
      }
    }
    squared[0].resize(_stride, squared[0].back());
    const std::size_t terms = padded(along[0]->places.size(), kLanes);
    _scratch.resize(2 * (along[1]->places.size() + 1) * terms);
    run_kernel(instruction_set(), AddInterpolated{_count[0],
                                                  _stride,
                                                  _count[1],
                                                  _count[2],
                                                  terms,
                                                  padded(along[0]->places.size(), kTermsAtOnce),
                                                  along[1]->places.size(),
                                                  along[2]->places.size(),
                                                  along[0]->basis.data(),
                                                  along[1]->basis.data(),
                                                  along[2]->basis.data(),
                                                  squared[0].data(),
                                                  squared[1].data(),
                                                  squared[2].data(),
                                                  _node_re.data(),
                                                  _node_im.data(),
                                                  _scratch.data(),
                                                  -_job.planner.wavenumber(),
                                                  _re.data(),
                                                  _im.data()});
  }

  /// A group's elements at every point of the block.
  void add_at_points(const ElementGroup& group) {
    const std::size_t n = _count[0] * _count[1] * _count[2];
    _columns.resize(3 * n);
    std::size_t place = 0;
    for (const double c : values(2)) {
      for (const double b : values(1)) {
        for (const double a : values(0)) {
          _columns[_axis[0] * n + place] = a;
          _columns[_axis[1] * n + place] = b;
          _columns[_axis[2] * n + place] = c;
          ++place;
        }
      }
    }
    add_elements(group, n);
    for (std::size_t i = 0; i < n; ++i) {
      const std::size_t at = i / _count[0] * _stride + i % _count[0];
      _re[at] += _place_re[i];
      _im[at] += _place_im[i];
    }
  }

  /// The block's sums to the result.
  void collect() {
    const std::size_t step[] = {
        1, static_cast<std::size_t>(_job.grid.nx()),
        static_cast<std::size_t>(_job.grid.nx()) * static_cast<std::size_t>(_job.grid.ny())};
    std::size_t first = 0;
    for (std::size_t i = 0; i < 3; ++i)
      first += static_cast<std::size_t>(_block->first[i]) * step[i];
    for (std::size_t c = 0; c < _count[2]; ++c) {
      for (std::size_t b = 0; b < _count[1]; ++b) {
        const std::size_t from = (c * _count[1] + b) * _stride;
        std::complex<double>* to = _result + first + c * step[_axis[2]] + b * step[_axis[1]];
        for (std::size_t a = 0; a < _count[0]; ++a) {
          to[a * step[_axis[0]]] += std::complex<double>(_re[from + a], _im[from + a]);
        }
      }
    }
  }

  const GroupedJob& _job;
  const std::vector<GridPart>& _tiles;
  std::complex<double>* _result;
  NodeRange& _used;
  std::atomic<double>& _pairs;
  Rules _rules;
  std::vector<detail::ElementInputs> _inputs;

  // The block at hand. Its axes are in the order in which they are looped over, the innermost
  // first.
  const GridPart* _block = nullptr;
  Box _box;
  std::array<std::size_t, 3> _axis, _count;
  std::size_t _stride = 0;
  std::array<std::map<int, Interpolation>, 3> _interpolations;
  std::vector<double> _re, _im;

  // The group at hand.
  CoordinateGrid _places;
  std::vector<double> _columns, _place_re, _place_im, _node_re, _node_im, _scratch;
};

}  // namespace

GroupedCost grouped_cost(const GroupedJob& job) {
  constexpr std::size_t kLooked = 6;
  const std::vector<GridPart> tiles = cut_into_blocks(job.grid, tile_points(job.grid));
  const std::size_t stride = (tiles.size() + kLooked - 1) / kLooked;
  GroupedCost cost;
  double looked = 0;
  for (std::size_t i = 0; i < tiles.size(); i += stride) {
    ++looked;
    job.planner.refine(tiles[i], [&](const GridPart&, const BlockPlan& plan) {
      end_if_cancelled();
      cost.grouped += plan.cost;
      cost.alone += plan.alone_cost;
      return true;
    });
  }
  const double share = looked / static_cast<double>(tiles.size());
  return {cost.grouped / share, cost.alone / share};
}

double grouped_memory(const GroupedJob& job, int threads) {
  const double per_point = 11 * sizeof(double);  // sums, columns, grid, planes
  const double per_element = 500, tables = 2e6;
  const auto elements = static_cast<double>(job.planner.tree().elements().size());
  const double of_thread =
      per_point * static_cast<double>(tile_points(job.grid)) + elements * per_element + tables;
  return elements * per_element + threads * of_thread;
}

void add_grouped_field(TileRunner& runner, const GroupedJob& job, std::complex<double>* result,
                       NodeRange& used, std::atomic<double>& pairs) {
  const std::vector<GridPart> tiles = cut_into_blocks(job.grid, tile_points(job.grid));
  runner.run(tiles.size(),
             [&] { return std::make_unique<GroupWorker>(job, tiles, result, used, pairs); });
}

}  // namespace kestrel::fields
