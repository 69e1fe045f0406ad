#include <cmath>
#include <numbers>
#include <vector>

#include "kestrel/special_functions.h"
#include "methods/common/superpose_field.h"
#include "methods/common/wave_constants.h"
#include "methods/element_methods.h"

namespace kestrel {

void Ellipse::check(const SizeCheck& size) const {
  size.positive("width", width);
  size.positive("height", height);
}
double Ellipse::area() const { return std::numbers::pi * width * height / 4; }
double Ellipse::support(CartesianCoordinate direction) const {
  return std::hypot(direction.x * width / 2, direction.y * height / 2);
}

namespace detail {

namespace {

/// p = j rho f0 w * sum of area e^{-(alpha + jk)R}/R over the nodes of the face.
struct EllipseSurface {
  struct Node {
    double x, y, area;
  };
  std::vector<Node> nodes;
  double extent;
  std::complex<double> prefactor;
  Propagation propagation;

  static constexpr int regions = 1;
  int region(double, double, double z) const { return z >= 0 ? 0 : -1; }
  double wide_math_limit() const { return propagation.wide_math_limit(extent); }
  void evaluate(FieldTile& tile, int) const {
    for (int i = 0; i < tile.count; ++i) {
      std::complex<double> sum = 0;
      for (const Node& node : nodes) {
        const double dx = tile.x[i] - node.x, dy = tile.y[i] - node.y, z = tile.z[i];
        const double r = std::sqrt(dx * dx + dy * dy + z * z);
        sum += node.area / r * smart_exp(propagation.attenuation * r, propagation.phase * r);
      }
      sum *= prefactor;
      tile.re[i] = sum.real();
      tile.im[i] = sum.imag();
    }
  }
};

}  // namespace

int rayleigh_cw(const Ellipse& face, ElementInputs& in) {
  const double frequency = frequency_or_default(*in.medium);
  if (is_negligible(in.amplitude)) return kSuccess;
  return run_field_method(in, [&] {
    // x = a s cos t, y = b s sin t, whose area element is a b s ds dt: Gauss nodes for s between 0
    // and 1, and equal steps of t, which converge as fast on a period.
    const double a = face.width / 2, b = face.height / 2;
    const int n = in.rule->get_npoints(), azimuths = 2 * n;
    EllipseSurface surface{
        .nodes = {},
        .extent = a + b,
        .prefactor = in.weight * std::complex<double>(0, in.medium->_rho_density * in.medium->_f0),
        .propagation = {negative_attenuation::nepers_first(*in.medium),
                        negative_wavenumber(*in.medium, frequency)}};
    for (int i = 0; i < n; ++i) {
      const double s = (1 + in.rule->get_abscissa(i)) / 2, ds = in.rule->get_weight(i) / 2;
      for (int j = 0; j < azimuths; ++j) {
        const double dt = kTwoPi / azimuths, t = j * dt;
        surface.nodes.push_back({a * s * std::cos(t), b * s * std::sin(t), a * b * s * ds * dt});
      }
    }
    return surface;
  });
}

}  // namespace detail

}  // namespace kestrel
