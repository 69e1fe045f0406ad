#include "methods/fnm/rectangle_fnm.h"

#include <type_traits>

#include "kestrel/special_functions.h"

namespace kestrel {

namespace {

/// One tile of one case. All arrays are indexed by point.
template <class Precision, class Wave>
class RectangleTile {
 public:
  using Real = typename Precision::Real;

  KESTREL_INLINE RectangleTile(const RectangleFnm<Precision>& element, FieldTile& tile, int count,
                               const Wave& wave)
      : _rule(element.rule), _tile(tile), _count(count), _wave(wave) {
    const auto a = static_cast<Real>(element.half_width);
    const auto b = static_cast<Real>(element.half_height);
    tile.clear_pressures(count);
    KESTREL_LANES
    for (int i = 0; i < _count; ++i) {
      const auto x = static_cast<Real>(tile.x[i]);
      const auto y = static_cast<Real>(tile.y[i]);
      const auto z = static_cast<Real>(tile.z[i]);
      _position[0][i] = x;
      _position[1][i] = y;
      _z_squared[i] = z * z;
      _distance[dxp][i] = a + x;
      _distance[dxm][i] = a - x;
      _distance[dyp][i] = b + y;
      _distance[dym][i] = b - y;
      const auto direct = _wave(static_cast<double>(z));
      _direct_re[i] = direct.re;
      _direct_im[i] = direct.im;
    }
  }

  /// Adds the integrals along x (axis 0) or y (axis 1).
  KESTREL_INLINE void add_direction(int axis, Projection along, Projection across) {
    const auto& integrals = kEdgeIntegrals[axis];
    const bool split = along != Projection::outside;
    const int edges = split ? 4 : 2;
    // Equal edges are evaluated once and added in the order in which they stand.
    int evaluated_as[4];
    for (int m = 0; m < edges; ++m) {
      evaluated_as[m] = m;
      for (int earlier = m - 1; earlier >= 0; --earlier) {
        const auto same = [&](RectangleDistance EdgeIntegral::*side, Projection where) {
          return where == Projection::centred || integrals[m].*side == integrals[earlier].*side;
        };
        const bool equal_edges =
            (!split || same(&EdgeIntegral::along, along)) && same(&EdgeIntegral::across, across);
        if (equal_edges) evaluated_as[m] = evaluated_as[earlier];
      }
    }
    for (std::size_t j = 0; j < _rule.unit_weight.size(); ++j) {
      for (int m = 0; m < edges; ++m) {
        if (evaluated_as[m] != m) continue;
        const Real* l = _distance[integrals[m].across];
        if (split) {
          evaluate_split_edge(_distance[integrals[m].along], l, j, m);
        } else {
          evaluate_whole_edge(axis, l, j, m);
        }
      }
      split ? add<4>(evaluated_as) : add<2>(evaluated_as);
    }
  }

 private:
  /// Term m of node j. Its factor is formed in doubles, whatever the distances.
  KESTREL_INLINE void evaluate_split_edge(const Real* s, const Real* l, std::size_t j, int m) {
    const auto t_squared = static_cast<Real>(_rule.unit_node_squared[j]);
    const double weight = _rule.unit_weight[j];
    KESTREL_LANES
    for (int i = 0; i < _count; ++i) {
      store_term(split_edge_squared(t_squared, s[i], l[i]),
                 static_cast<double>(s[i]) * static_cast<double>(l[i]), weight, m, i);
    }
  }
  KESTREL_INLINE void evaluate_whole_edge(int axis, const Real* l, std::size_t j, int m) {
    const auto node = static_cast<Real>(_rule.node[axis][j]);
    const double weight = _rule.weight[axis][j];
    const Real* offset = _position[axis];
    KESTREL_LANES
    for (int i = 0; i < _count; ++i) {
      store_term(whole_edge_squared(node, offset[i], l[i]), static_cast<double>(l[i]), weight, m,
                 i);
    }
  }
  KESTREL_INLINE void store_term(Real q, double factor, double weight, int m, int i) {
    const auto difference = _wave(static_cast<double>(std::sqrt(_z_squared[i] + q))) -
                            LaneComplex<double>{_direct_re[i], _direct_im[i]};
    const auto term = Precision::contribution(difference, factor, static_cast<double>(q), weight);
    _term_re[m][i] = term.re;
    _term_im[m][i] = term.im;
  }

  /// Adds a node's terms in their order; `evaluated_as` says where each was stored.
  template <int terms>
  KESTREL_INLINE void add(const int* evaluated_as) {
    KESTREL_LANES
    for (int i = 0; i < _count; ++i) {
      double re = _tile.re[i], im = _tile.im[i];
      for (int m = 0; m < terms; ++m) {
        re += _term_re[evaluated_as[m]][i];
        im += _term_im[evaluated_as[m]][i];
      }
      _tile.re[i] = re;
      _tile.im[i] = im;
    }
  }

  const EdgeTables<std::vector<double>>& _rule;
  FieldTile& _tile;
  const int _count;
  const Wave _wave;
  alignas(64) Real _position[2][FieldTile::capacity];
  alignas(64) Real _z_squared[FieldTile::capacity];
  alignas(64) Real _distance[4][FieldTile::capacity];
  alignas(64) double _direct_re[FieldTile::capacity];
  alignas(64) double _direct_im[FieldTile::capacity];
  alignas(64) double _term_re[4][FieldTile::capacity];
  alignas(64) double _term_im[4][FieldTile::capacity];
};

}  // namespace

template <class Precision>
void RectangleFnm<Precision>::evaluate(FieldTile& tile, int region) const {
  const int count = tile.pad();
  const auto in_x = static_cast<Projection>(region / 3);
  const auto in_y = static_cast<Projection>(region % 3);
  run_tile(tile, propagation, [&](const auto& wave) KESTREL_INLINE_LAMBDA {
    RectangleTile<Precision, std::decay_t<decltype(wave)>> work(*this, tile, count, wave);
    work.add_direction(0, in_x, in_y);
    work.add_direction(1, in_y, in_x);
  });
  tile.multiply(prefactor);
}

template struct RectangleFnm<SinglePrecision>;
template struct RectangleFnm<DoublePrecision>;

template <class Precision, bool nodes_in_lanes>
RectangleFourWide<Precision, nodes_in_lanes>::RectangleFourWide(const RectangleFnm<Precision>& face)
    : FourWideMethod<RectangleFourWide, RectangleFnm<Precision>>(face) {
  constexpr auto nodes = nodes_in_lanes ? FourWideTable::repeat_last : FourWideTable::one_a_block;
  constexpr auto weights = nodes_in_lanes ? FourWideTable::pad_zero : FourWideTable::one_a_block;
  rule = {{face.rule.unit_node_squared, nodes},
          {face.rule.unit_weight, weights},
          {{face.rule.node[0], nodes}, {face.rule.node[1], nodes}},
          {{face.rule.weight[0], weights}, {face.rule.weight[1], weights}}};
}

template <class Precision, bool nodes_in_lanes>
std::complex<double> RectangleFourWide<Precision, nodes_in_lanes>::pressure(double x, double y,
                                                                            double z) const {
  const auto a = static_cast<float>(this->exact.half_width);
  const auto b = static_cast<float>(this->exact.half_height);
  const float position[] = {static_cast<float>(x), static_cast<float>(y)};
  const float distance[] = {a + position[0], a - position[0], b + position[1], b - position[1]};
  const float4 zf = splat(z), z_squared = zf * zf;
  LaneComplex<float4> direct;
  if constexpr (nodes_in_lanes) {
    direct = this->wave(zf);
  } else {
    const float path = zf.lane(0);
    const auto e =
        smart_exp(this->wave.attenuation.lane(0) * path, this->wave.phase.lane(0) * path);
    direct = {float4::splat(e.real()), float4::splat(e.imag())};
  }
  FourWideSum sum;
  for (const int axis : {0, 1}) {
    const bool split =
        projection(distance[2 * axis], distance[2 * axis + 1]) != Projection::outside;
    const int edges = split ? 4 : 2;
    // Lanes of integrals repeat two whole edges in lanes 2 and 3 with a factor of zero, so that
    // they are singular only where an edge itself is. Of a whole edge `along` is not used.
    float along[4], across[4], factor[4];
    for (int m = 0; m < 4; ++m) {
      const EdgeIntegral& edge = kEdgeIntegrals[axis][m % edges];
      along[m] = distance[edge.along];
      across[m] = distance[edge.across];
      factor[m] = split ? along[m] * across[m] : m < 2 ? across[m] : 0;
    }
    struct Edge {
      float4 s, l, factor;
    } edge[4];
    const int groups = nodes_in_lanes ? edges : 1;
    for (int m = 0; m < groups; ++m) {
      const auto lanes = [m](const float* values) {
        return nodes_in_lanes ? float4::splat(values[m])
                              : float4::of(values[0], values[1], values[2], values[3]);
      };
      edge[m] = {lanes(along), lanes(across), lanes(factor)};
    }
    const auto add_terms = [&](const FourWideTable& weight, const auto& squared) {
      for (std::size_t block = 0; block < weight.blocks(); ++block) {
        for (int m = 0; m < groups; ++m) {
          const float4 q = squared(block, edge[m]), path = sqrt(z_squared + q);
          const auto e = nodes_in_lanes ? this->wave(path) : this->wave.oscillation(path);
          sum += weight[block] * (edge[m].factor * (e - direct)) / q;
        }
      }
    };
    if (split) {
      add_terms(rule.unit_weight, [&](std::size_t block, const Edge& of) {
        return split_edge_squared(rule.unit_node_squared[block], of.s, of.l);
      });
    } else {
      const float4 offset = float4::splat(position[axis]);
      add_terms(rule.weight[axis], [&](std::size_t block, const Edge& of) {
        return whole_edge_squared(rule.node[axis][block], offset, of.l);
      });
    }
  }
  return sum.total() * this->exact.prefactor;
}

template struct RectangleFourWide<DoublePrecision, true>;
template struct RectangleFourWide<SinglePrecision, false>;

}  // namespace kestrel
