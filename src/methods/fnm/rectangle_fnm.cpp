#include "methods/fnm/rectangle_fnm.h"

#include <type_traits>

#include "kestrel/special_functions.h"
#include "methods/common/quotient_terms.h"

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
      const Real distance[] = {a + x, a - x, b + y, b - y};
      unrolled<4>([&](int side) KESTREL_INLINE_LAMBDA {
        _distance[side][i] = static_cast<double>(distance[side]);
        _squared[side][i] = distance[side] * distance[side];
      });
      const auto direct = _wave(static_cast<double>(z));
      _direct_re[i] = direct.re;
      _direct_im[i] = direct.im;
    }
  }

  /// Adds the integrals along x (axis 0) or y (axis 1).
  KESTREL_INLINE void add_direction(int axis, Projection along, Projection across) {
    const bool same_along = along == Projection::centred;
    const bool same_across = across == Projection::centred;
    if (along == Projection::outside) {
      same_across ? add_integrals<2, 1>(axis, {0, 0}) : add_integrals<2, 2>(axis, {0, 1});
    } else if (same_along) {
      same_across ? add_integrals<4, 1>(axis, {0, 0, 0, 0})
                  : add_integrals<4, 2>(axis, {0, 1, 0, 1});
    } else {
      same_across ? add_integrals<4, 2>(axis, {0, 0, 2, 2})
                  : add_integrals<4, 4>(axis, {0, 1, 2, 3});
    }
  }

 private:
  /// Adds `terms` integrals, four split edges or two whole ones, `distinct` of which differ:
  /// integral m equals integral equal_to[m], which does not stand behind it. Each is evaluated
  /// once.
  template <int terms, int distinct>
  KESTREL_INLINE void add_integrals(int axis, const int (&equal_to)[terms]) {
    constexpr bool split = terms == 4;
    int term_of[terms], integral[distinct], found = 0;
    for (int m = 0; m < terms; ++m) {
      if (equal_to[m] == m) integral[found++] = m;
      term_of[m] = equal_to[m] == m ? found - 1 : term_of[equal_to[m]];
    }
    struct {
      const Real *along_squared, *across_squared;
      const double *along, *across;
    } edge[distinct];
    for (int m = 0; m < distinct; ++m) {
      const EdgeIntegral& of = kEdgeIntegrals[axis][integral[m]];
      edge[m] = {_squared[of.along], _squared[of.across], _distance[of.along],
                 _distance[of.across]};
    }
    for (std::size_t j = 0; j < _rule.unit_weight.size(); ++j) {
      const auto node = static_cast<Real>(split ? _rule.unit_node_squared[j] : _rule.node[axis][j]);
      const double weight = split ? _rule.unit_weight[j] : _rule.weight[axis][j];
      const auto term = [&](int m, int i) KESTREL_INLINE_LAMBDA {
        if constexpr (split) {
          return edge_term(
              split_edge_squared(node, edge[m].along_squared[i], edge[m].across_squared[i]),
              edge[m].along[i] * edge[m].across[i], i);
        } else {
          return edge_term(whole_edge_squared(node, _position[axis][i], edge[m].across_squared[i]),
                           edge[m].across[i], i);
        }
      };
      if constexpr (Arithmetic::wide) {
        add_together<distinct>(term, terms / distinct * weight);
      } else {
        add_in_order<distinct>(term, weight, term_of);
      }
    }
  }

  KESTREL_INLINE QuotientTerm edge_term(Real q, double factor, int i) const {
    return {factor, static_cast<double>(q),
            _wave(static_cast<double>(std::sqrt(_z_squared[i] + q)), _tile.reference(i)) -
                LaneComplex<double>{_direct_re[i], _direct_im[i]}};
  }

  /// All edges of a point at once.
  template <int edges, class Term>
  KESTREL_INLINE void add_together(const Term& term, double weight) {
    KESTREL_LANES
    for (int i = 0; i < _count; ++i) {
      const auto sum =
          sum_quotients<Arithmetic, edges>([&](int m) KESTREL_INLINE_LAMBDA { return term(m, i); });
      _tile.re[i] = Arithmetic::mul_add(weight, sum.re, _tile.re[i]);
      _tile.im[i] = Arithmetic::mul_add(weight, sum.im, _tile.im[i]);
    }
  }

  /// One edge after another, because the phases of neighbouring points follow each other and the
  /// library's sine branches on them. `term_of`: which term is added as which.
  template <int edges, class Term, int terms>
  KESTREL_INLINE void add_in_order(const Term& term, double weight, const int (&term_of)[terms]) {
    for (int m = 0; m < edges; ++m) {
      for (int i = 0; i < _count; ++i) {
        const QuotientTerm of = term(m, i);
        _term[m][i] = Precision::contribution(of.value, of.numerator, of.denominator, weight);
      }
    }
    for (int i = 0; i < _count; ++i) {
      for (int m = 0; m < terms; ++m) _tile.add_pressure(i, _term[term_of[m]][i]);
    }
  }

  using Arithmetic = typename Wave::Arithmetic;

  const EdgeTables<std::vector<double>>& _rule;
  FieldTile& _tile;
  const int _count;
  const Wave _wave;
  alignas(64) Real _position[2][FieldTile::capacity];
  alignas(64) Real _z_squared[FieldTile::capacity];
  alignas(64) double _distance[4][FieldTile::capacity];
  alignas(64) Real _squared[4][FieldTile::capacity];
  alignas(64) double _direct_re[FieldTile::capacity];
  alignas(64) double _direct_im[FieldTile::capacity];
  LaneComplex<double> _term[4][FieldTile::capacity];
};

}  // namespace

template <class Precision>
void RectangleFnm<Precision>::evaluate(FieldTile& tile, int region) const {
  const int count = tile.pad();
  const auto in_x = static_cast<Projection>(region / 3);
  const auto in_y = static_cast<Projection>(region % 3);
  run_tile(tile, propagation, reach(), [&](const auto& wave) KESTREL_INLINE_LAMBDA {
    RectangleTile<Precision, std::decay_t<decltype(wave)>> work(*this, tile, count, wave);
    for (const int axis : {0, 1}) {
      work.add_direction(axis, axis == 0 ? in_x : in_y, axis == 0 ? in_y : in_x);
    }
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
      float4 s_squared, l_squared, factor;
    } edge[4];
    const int groups = nodes_in_lanes ? edges : 1;
    for (int m = 0; m < groups; ++m) {
      const auto lanes = [m](const float* values) {
        return nodes_in_lanes ? float4::splat(values[m])
                              : float4::of(values[0], values[1], values[2], values[3]);
      };
      const float4 s = lanes(along), l = lanes(across);
      edge[m] = {s * s, l * l, lanes(factor)};
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
        return split_edge_squared(rule.unit_node_squared[block], of.s_squared, of.l_squared);
      });
    } else {
      const float4 offset = float4::splat(position[axis]);
      add_terms(rule.weight[axis], [&](std::size_t block, const Edge& of) {
        return whole_edge_squared(rule.node[axis][block], offset, of.l_squared);
      });
    }
  }
  return sum.total() * this->exact.prefactor;
}

template struct RectangleFourWide<DoublePrecision, true>;
template struct RectangleFourWide<SinglePrecision, false>;

}  // namespace kestrel
