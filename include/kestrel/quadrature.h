#pragma once

#include <cstddef>
#include <utility>

#include "kestrel/services.h"

namespace kestrel {

/// A one-dimensional quadrature rule: nodes and weights. Call `allocate_memory`, then one of the
/// filling operations, then read. The rule is shared by all elements of a call: whoever fills it
/// over another interval than the next reader expects must see that it is filled again.
class NumericalIntegration {
 public:
  /// A rule without nodes.
  NumericalIntegration() = default;
  NumericalIntegration(const NumericalIntegration&) = delete;
  NumericalIntegration& operator=(const NumericalIntegration&) = delete;
  /// What is moved from is as made by the default constructor.
  NumericalIntegration(NumericalIntegration&& other) noexcept { swap(other); }
  NumericalIntegration& operator=(NumericalIntegration&& other) noexcept {
    NumericalIntegration(std::move(other)).swap(*this);
    return *this;
  }

  /// Makes room for n nodes, all zero. Fails when n < 1. False when memory runs out; then the rule
  /// is as it was.
  bool allocate_memory(int n);

  /// Gauss-Legendre rule on [-1, 1], nodes in descending order. Returns true; false when an
  /// InterruptionScope ended it (above some thousand nodes it takes long), and then nothing has
  /// changed. So do the next two.
  bool gauss_quadrature();

  /// Gauss-Legendre rule mapped onto [a, b].
  bool gauss_quadrature(double a, double b);

  /// Gauss-Legendre rule on [0, pi], with the cosine of every node. pi is 3.14159265358979 here, as
  /// in the methods that use this rule.
  bool gauss_quadrature_cylindrical();

  /// Midpoints of n equal cells of [-1, 1]. Returns true.
  bool midpoint_rule();

  /// Midpoints of n equal cells of [a, b], each shifted by one cell towards a: the first node lies
  /// half a cell before a, and the midpoint of the last cell is not used. The shift is deliberate
  /// and belongs to this overload alone. Its error falls as 1/n; use Gauss where accuracy matters.
  /// Returns true.
  bool midpoint_rule(double a, double b);

  /// Gauss-Legendre nodes (descending from near +1) and weights into x[0..n-1] and w[0..n-1], by
  /// one series-corrected Newton step from an asymptotic guess (Davis and Rabinowitz, Methods of
  /// Numerical Integration). Exactly antisymmetric nodes, exactly symmetric weights. Does nothing
  /// when n < 1, and stops early when an InterruptionScope says so.
  static void grule(int n, double* x, double* w);

  /// The same, with a second step for nodes that the first one still moved by more than 1e-15 of
  /// their size. Never a third.
  static void modifiedgrule(int n, double* x, double* w);

  /// Parameters of the parabolic (KZK) solver, stored in the order given.
  void set_kzk_parameters(float p0, float p1, float p2, float p3, float p4);
  /// Its continuous-wave form: three floats, shared with the first three above, and two counts.
  void cw_set_kzk_parameters(float p0, float p1, float p2, int n0, int n1);

  /// Node i, or 0.0 out of range; weight and cosine alike. Cosines are zero until
  /// `gauss_quadrature_cylindrical` fills them.
  double get_abscissa(int i) const { return value(_abscissas, i); }
  double get_weight(int i) const { return value(_weights, i); }
  double get_cosine(int i) const { return value(_cosines, i); }
  int get_npoints() const { return _npoints; }

  /// Solver parameters, i = 0..4 for the floats and 0..1 for the counts; zero until they are set
  /// and out of range.
  float kzk_parameter(int i) const { return i < 0 || i > 4 ? 0.0F : _kzk_parameters[i]; }
  int kzk_count(int i) const { return i < 0 || i > 1 ? 0 : _kzk_counts[i]; }

 private:
  void swap(NumericalIntegration& other) noexcept {
    std::swap(_kzk_parameters, other._kzk_parameters);
    std::swap(_kzk_counts, other._kzk_counts);
    std::swap(_npoints, other._npoints);
    std::swap(_abscissas, other._abscissas);
    std::swap(_weights, other._weights);
    std::swap(_cosines, other._cosines);
    std::swap(_gauss_known, other._gauss_known);
    std::swap(_gauss_abscissas, other._gauss_abscissas);
    std::swap(_gauss_weights, other._gauss_weights);
  }

  double value(const services::Array<double>& values, int i) const {
    return i < 0 || i >= _npoints ? 0.0 : values[static_cast<std::size_t>(i)];
  }

  float _kzk_parameters[5] = {};
  int _kzk_counts[2] = {};
  int _npoints = 0;
  services::Array<double> _abscissas;
  services::Array<double> _weights;
  services::Array<double> _cosines;
  /// The Gauss-Legendre rule on [-1, 1], found once: its cost grows as n^2, and methods that map it
  /// onto an interval of their own fill the rule again at every call.
  bool _gauss_known = false;
  services::Array<double> _gauss_abscissas;
  services::Array<double> _gauss_weights;
};

}  // namespace kestrel
