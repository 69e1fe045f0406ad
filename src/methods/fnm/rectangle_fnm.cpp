#include "methods/fnm/rectangle_fnm.h"

#include "kestrel/compiler.h"

namespace kestrel {

namespace {

/// One tile of one case. All arrays are indexed by point.
template <class Precision, class Math, bool lossy>
class RectangleTile {
 public:
  using Real = typename Precision::Real;

  KESTREL_INLINE RectangleTile(const RectangleFnm<Precision>& element, FieldTile& tile, int count)
      : _element(element), _tile(tile), _count(count) {
    const auto a = static_cast<Real>(element.half_width);
    const auto b = static_cast<Real>(element.half_height);
    KESTREL_LANES
    for (int i = 0; i < _count; ++i) {
      const auto x = static_cast<Real>(tile.x[i]);
      const auto y = static_cast<Real>(tile.y[i]);
      const auto z = static_cast<Real>(tile.z[i]);
      _x[i] = x;
      _y[i] = y;
      _z_squared[i] = z * z;
      _distance[dxp][i] = a + x;
      _distance[dxm][i] = a - x;
      _distance[dyp][i] = b + y;
      _distance[dym][i] = b - y;
      tile.re[i] = 0;
      tile.im[i] = 0;
      propagate(static_cast<double>(z), _direct_re[i], _direct_im[i]);
    }
  }

  KESTREL_INLINE void add_direction(const RectangleDirection& direction, Projection along,
                                    Projection across, const std::vector<double>& node,
                                    const std::vector<double>& weight, const Real* offset) {
    if (along == Projection::outside) {
      // On the middle plane both edges are equally far: one integral, added twice.
      const bool twins = across == Projection::centred;
      const int source[2] = {0, twins ? 0 : 1};
      for (std::size_t j = 0; j < node.size(); ++j) {
        edge_term(offset, static_cast<Real>(node[j]), _distance[direction.whole[0]], weight[j], 0);
        if (!twins) {
          edge_term(offset, static_cast<Real>(node[j]), _distance[direction.whole[1]], weight[j],
                    1);
        }
        add<2>(source);
      }
      return;
    }
    // Equal pairs are evaluated once and added in the order in which they stand.
    int source[4];
    for (int m = 0; m < 4; ++m) {
      source[m] = m;
      for (int earlier = m - 1; earlier >= 0; --earlier) {
        if (same(direction.split[m].along, direction.split[earlier].along, along) &&
            same(direction.split[m].across, direction.split[earlier].across, across)) {
          source[m] = source[earlier];
        }
      }
    }
    for (std::size_t j = 0; j < node.size(); ++j) {
      const auto t_squared = static_cast<Real>(_element.unit_node_squared[j]);
      for (int m = 0; m < 4; ++m) {
        if (source[m] == m) {
          split_term(_distance[direction.split[m].along], t_squared,
                     _distance[direction.split[m].across], _element.unit_weight[j], m);
        }
      }
      add<4>(source);
    }
  }

  KESTREL_INLINE const Real* x() const { return _x; }
  KESTREL_INLINE const Real* y() const { return _y; }

 private:
  static KESTREL_INLINE bool same(RectangleDistance one, RectangleDistance other,
                                  Projection where) {
    return one == other || where == Projection::centred;
  }

  KESTREL_INLINE void propagate(double path, double& re, double& im) const {
    Math::template attenuated_phase<lossy>(_element.propagation.attenuation * path,
                                           _element.propagation.phase * path, re, im);
  }

  /// A term of an integral over t in (0, 1) along a side of length s, at distance l.
  KESTREL_INLINE void split_term(const Real* s, Real t_squared, const Real* l, double weight,
                                 int m) {
    KESTREL_LANES
    for (int i = 0; i < _count; ++i) {
      const Real q = t_squared * (s[i] * s[i]) + l[i] * l[i];
      store_term(q, static_cast<double>(s[i]) * static_cast<double>(l[i]), weight, m, i);
    }
  }

  /// A term of an integral over a whole edge at distance l; u is the distance along it.
  KESTREL_INLINE void edge_term(const Real* offset, Real node, const Real* l, double weight,
                                int m) {
    KESTREL_LANES
    for (int i = 0; i < _count; ++i) {
      const Real along = node + offset[i];
      const Real q = l[i] * l[i] + along * along;
      store_term(q, static_cast<double>(l[i]), weight, m, i);
    }
  }

  KESTREL_INLINE void store_term(Real q, double factor, double weight, int m, int i) {
    const double path = static_cast<double>(std::sqrt(_z_squared[i] + q));
    double re, im;
    propagate(path, re, im);
    const double divisor = static_cast<double>(q);
    _term_re[m][i] = Precision::contribution(re - _direct_re[i], factor, divisor, weight);
    _term_im[m][i] = Precision::contribution(im - _direct_im[i], factor, divisor, weight);
  }

  /// Adds a node's terms in their order; `source` says where each was stored.
  template <int terms>
  KESTREL_INLINE void add(const int* source) {
    KESTREL_LANES
    for (int i = 0; i < _count; ++i) {
      double re = _tile.re[i], im = _tile.im[i];
      for (int m = 0; m < terms; ++m) {
        re += _term_re[source[m]][i];
        im += _term_im[source[m]][i];
      }
      _tile.re[i] = re;
      _tile.im[i] = im;
    }
  }

  const RectangleFnm<Precision>& _element;
  FieldTile& _tile;
  const int _count;
  alignas(64) Real _x[FieldTile::capacity];
  alignas(64) Real _y[FieldTile::capacity];
  alignas(64) Real _z_squared[FieldTile::capacity];
  alignas(64) Real _distance[4][FieldTile::capacity];
  alignas(64) double _direct_re[FieldTile::capacity];
  alignas(64) double _direct_im[FieldTile::capacity];
  alignas(64) double _term_re[4][FieldTile::capacity];
  alignas(64) double _term_im[4][FieldTile::capacity];
};

template <class Precision, bool lossy>
struct RectangleKernel {
  const RectangleFnm<Precision>& element;
  FieldTile& tile;
  int count;
  Projection in_x, in_y;

  template <class Math>
  KESTREL_INLINE void operator()(Math) const {
    RectangleTile<Precision, Math, lossy> work(element, tile, count);
    work.add_direction(kAlongX, in_x, in_y, element.x_node, element.x_weight, work.x());
    work.add_direction(kAlongY, in_y, in_x, element.y_node, element.y_weight, work.y());
  }
};

}  // namespace

template <class Precision>
void RectangleFnm<Precision>::evaluate(FieldTile& tile, int region) const {
  const int count = tile.pad();
  const auto in_x = static_cast<Projection>(region / 3);
  const auto in_y = static_cast<Projection>(region % 3);
  if (propagation.lossless()) {
    run_tile(tile, RectangleKernel<Precision, false>{*this, tile, count, in_x, in_y});
  } else {
    run_tile(tile, RectangleKernel<Precision, true>{*this, tile, count, in_x, in_y});
  }
  tile.multiply(prefactor);
}

template struct RectangleFnm<SinglePrecision>;
template struct RectangleFnm<DoublePrecision>;

}  // namespace kestrel
