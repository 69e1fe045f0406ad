#pragma once

/// What the four-wide methods share: single precision, one observation point at a time, four lanes
/// over quadrature nodes (or over the integrals of one node). Their accuracy is that of
/// `complex_exp`, some 1e-3 of the peak; they are kept for programs whose results rest on them. The
/// double methods, vectorised over points, are both faster and exact.

#include <complex>
#include <vector>

#include "methods/common/field_tile.h"
#include "numerics/interruption.h"

namespace kestrel {

/// A double in all four lanes, rounded.
KESTREL_INLINE float4 splat(double x) { return float4::splat(static_cast<float>(x)); }

/// A table of a rule in blocks of four lanes.
class FourWideTable {
 public:
  enum Packing {
    one_a_block,  ///< every entry in all lanes
    // Four entries in a block, the first of them in the highest lane. The entries after the last
    // whole block:
    drop,         ///< left out: nodes beyond a multiple of four do not count
    repeat_last,  ///< the last node again, with a weight of zero: never a new singularity
    pad_zero,     ///< for weights
  };
  FourWideTable() = default;
  FourWideTable(const std::vector<double>& entries, Packing packing) {
    const std::size_t n = entries.size(), step = packing == one_a_block ? 1 : 4;
    const auto entry = [&](std::size_t i) {
      if (i < n) return entries[i];
      return packing == repeat_last ? entries.back() : 0.0;
    };
    for (std::size_t i = 0; i < (packing == drop ? n / 4 * 4 : n); i += step) {
      _blocks.push_back(step == 1 ? splat(entry(i))
                                  : four_wide::_mm_set_doubles<float4>(entry(i), entry(i + 1),
                                                                       entry(i + 2), entry(i + 3)));
    }
  }
  std::size_t blocks() const { return _blocks.size(); }
  float4 operator[](std::size_t block) const { return _blocks[block]; }

 private:
  std::vector<float4> _blocks;
};

/// A sum in four lanes.
struct FourWideSum : LaneComplex<float4> {
  FourWideSum() : LaneComplex{float4::splat(0), float4::splat(0)} {}
  std::complex<double> total() const {
    return {static_cast<double>(four_wide::horizontal_add_ps(re).lane(0)),
            static_cast<double>(four_wide::horizontal_add_ps(im).lane(0))};
  }
};

/// The four-wide variant of a method `Exact`, whose regions and constants it takes. `Method` has
/// `pressure(x, y, z)` for the points of region 0.
template <class Method, class Exact>
struct FourWideMethod {
  Exact exact;
  FourWideWave wave;

  explicit FourWideMethod(const Exact& method) : exact(method), wave(method.propagation) {}

  static constexpr int regions = Exact::regions;
  int region(double x, double y, double z) const { return exact.region(x, y, z); }
  double wide_math_limit() const { return 0; }  // uses no wide functions
  void evaluate(FieldTile& tile, int region) const {
    if constexpr (requires { exact.closed_form(); }) {
      if (region != 0) return tile.fill(exact.closed_form());
    }
    for (int i = 0; i < tile.count; ++i) {
      if (interruption_asked()) return;
      const std::complex<double> p =
          static_cast<const Method*>(this)->pressure(tile.x[i], tile.y[i], tile.z[i]);
      tile.re[i] = p.real();
      tile.im[i] = p.imag();
    }
  }
};

}  // namespace kestrel
