#pragma once

/// The four-wide field methods: single precision, one observation point at a time, four lanes over
/// quadrature nodes (or over the integrals of one node). Their accuracy is that of `complex_exp`,
/// some 1e-3 of the peak; they are kept for programs whose results rest on them. The double
/// methods, vectorised over points, are both faster and exact.

#include <complex>
#include <vector>

#include "kestrel/compiler.h"
#include "methods/common/field_tile.h"
#include "methods/fnm/cap_fnm.h"
#include "methods/rayleigh/surface_sum.h"
#include "numerics/four_wide_kernels.h"
#include "numerics/interruption.h"

namespace kestrel {

/// Table entries four to a vector. Blocks are packed with the first entry in the highest lane.
class FourWideTable {
 public:
  /// What becomes of the entries after the last whole block.
  enum Tail {
    drop,         ///< left out: nodes beyond a multiple of four do not count
    repeat_last,  ///< the last node again, with a weight of zero: never a new singularity
    pad_zero,     ///< for weights
  };
  FourWideTable() = default;
  FourWideTable(const std::vector<double>& entries, Tail tail);
  std::size_t blocks() const { return _blocks.size(); }
  float4 operator[](std::size_t block) const { return _blocks[block]; }

 private:
  std::vector<float4> _blocks;
};

/// Attenuation and phase rates in single precision.
struct FloatPropagation {
  float attenuation = 0;
  float phase = 0;
};

/// A complex sum in four lanes.
struct FourWideSum {
  float4 re = float4::splat(0), im = float4::splat(0);
  KESTREL_INLINE std::complex<double> total() const {
    return {static_cast<double>(four_wide::horizontal_add_ps(re).lane(0)),
            static_cast<double>(four_wide::horizontal_add_ps(im).lane(0))};
  }
};

/// Methods that answer one point at a time.
template <class Method>
struct PointwiseMethod {
  double reach() const { return 0; }  // no wide functions, nothing to reach
  void evaluate(FieldTile& tile, int region) const {
    for (int i = 0; i < tile.count; ++i) {
      if (interruption_asked()) return;
      const std::complex<double> p =
          static_cast<const Method*>(this)->pressure(tile.x[i], tile.y[i], tile.z[i], region);
      tile.re[i] = p.real();
      tile.im[i] = p.imag();
    }
  }
};

/// Rectangle, lanes over four nodes of one integral.
struct RectangleFourNodes : PointwiseMethod<RectangleFourNodes> {
  float half_width = 0, half_height = 0;
  FourWideTable unit_node_squared, unit_weight, x_node, x_weight, y_node, y_weight;
  FloatPropagation propagation;
  std::complex<double> prefactor;

  static constexpr int regions = 1;
  int region(double, double, double z) const { return z < 0 ? -1 : 0; }
  std::complex<double> pressure(double x, double y, double z, int region) const;
};

/// Rectangle, lanes over the integrals of one node. Only the direct term E0 is attenuated, so the
/// method is right in lossless media only.
struct RectangleFourIntegrals : PointwiseMethod<RectangleFourIntegrals> {
  float half_width = 0, half_height = 0;
  std::vector<float> unit_node_squared, unit_weight, x_node, x_weight, y_node, y_weight;
  float attenuation = 0;  ///< of the direct term
  float wavenumber = 0;   ///< positive
  std::complex<double> prefactor;

  static constexpr int regions = 1;
  int region(double, double, double z) const { return static_cast<float>(z) < 0 ? -1 : 0; }
  std::complex<double> pressure(double x, double y, double z, int region) const;
};

/// Rectangle, Rayleigh sum, lanes over four y nodes. The prefactor is applied by RectangleSurface.
struct RectangleSurfaceFourWide : PointwiseMethod<RectangleSurfaceFourWide> {
  std::vector<float> x_node, x_weight;
  FourWideTable y_node, y_weight;
  FloatPropagation propagation;
  RectangleSurface scaling;

  static constexpr int regions = 1;
  int region(double, double, double z) const { return z < 0 ? -1 : 0; }
  std::complex<double> pressure(double x, double y, double z, int region) const;
  void evaluate(FieldTile& tile, int region) const {
    PointwiseMethod::evaluate(tile, region);
    scaling.scale(tile);
  }
};

/// Piston, lanes over four angles. Divides by way of the processor's approximate reciprocal, so
/// results differ by some 7e-5 between makers of processors.
struct DiscFourWide : PointwiseMethod<DiscFourWide> {
  float radius = 0, radius_squared = 0;  ///< the square is rounded once, from the double
  FourWideTable cosine, twice_radius_cosine, weight;
  FloatPropagation propagation;
  std::complex<double> prefactor;

  static constexpr int regions = 1;
  int region(double, double, double z) const { return z >= 0 ? 0 : -1; }
  std::complex<double> pressure(double x, double y, double z, int region) const;
};

/// Piston, Rayleigh sum, lanes over four azimuths.
struct DiscSurfaceFourWide : PointwiseMethod<DiscSurfaceFourWide> {
  struct Circle {
    float radius, radius_squared, area;
  };
  std::vector<Circle> circles;
  FourWideTable cosine;
  FloatPropagation propagation;
  std::complex<double> prefactor;

  static constexpr int regions = 1;
  int region(double, double, double z) const { return z >= 0 ? 0 : -1; }
  std::complex<double> pressure(double x, double y, double z, int region) const;
};

/// Shell, lanes over four angles. Loses all accuracy near the centre of curvature, where nearly
/// equal path lengths are subtracted in single precision.
struct CapFourWide : PointwiseMethod<CapFourWide> {
  CapFnm cap;  ///< geometry, prefactors and the closed form at the focus
  FourWideTable cosine, weight;
  FloatPropagation propagation;

  static constexpr int regions = 2;
  int region(double x, double y, double z) const { return cap.region(x, y, z); }
  std::complex<double> pressure(double x, double y, double z, int region) const;
};

/// Shell, Rayleigh sum, lanes over four azimuths; every number of nodes counts in full.
struct CapSurfaceFourWide : PointwiseMethod<CapSurfaceFourWide> {
  CapSurface surface;  ///< circles, prefactor and the closed form at the apex
  FourWideTable one_minus_cosine, lane_weight;
  FloatPropagation propagation;

  static constexpr int regions = 2;
  int region(double x, double y, double z) const { return surface.region(x, y, z); }
  std::complex<double> pressure(double x, double y, double z, int region) const;
};

}  // namespace kestrel
