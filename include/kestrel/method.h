#pragma once

#include <span>
#include <string>
#include <string_view>

#include "kestrel/geometry.h"
#include "kestrel/nonlinear.h"

namespace kestrel::detail {
struct ElementInputs;
}

namespace kestrel::fields {

/// What a method's result is compared with to state its error.
enum class Yardstick {
  more_nodes,         ///< the method itself with more nodes
  nearfield,          ///< the fast nearfield method with many nodes
  nearfield_unlossy,  ///< the same without the factor 1 - j alpha/k by which, in a lossy medium, it
                      ///< differs from the Rayleigh integral that this method approximates
};

/// How the time of a method grows with the number n of nodes.
enum class Effort {
  point,    ///< not at all
  nodes,    ///< as n, for each of the shape's edge integrals
  squared,  ///< as n^2
};

/// A method and what whole-array calculations must know about it.
struct Method {
  const char* name = nullptr;
  /// Adds the field of an element; an ElementResult.
  int (*compute)(const Geometry& geometry, detail::ElementInputs& in) = nullptr;
  /// Whether a shape has the method.
  bool (*is_of)(const Geometry& geometry) = nullptr;
  Yardstick yardstick = Yardstick::more_nodes;
  Effort effort = Effort::nodes;
  /// The result is proportional to the complex weight and has the mirror planes of the element to
  /// the rounding of doubles, so one element's field may stand for another's. Single-precision
  /// variants round local coordinates to floats, where the last bit of a double can move a point by
  /// 1e-7 of its distance; a nonlinear method is not proportional to the weight.
  bool reusable = false;
  bool singular_at_centre = false;  ///< the field has no value at the element's own centre
  bool takes_tolerance = false;     ///< the nodes can follow from a tolerance (see node_rule.h)
  /// Marched from the face of each element (fields/kzk_array.h): without quadrature nodes, and not
  /// point by point.
  bool marched = false;
};

/// The continuous-wave methods, by their names in the method table.
std::span<const Method> continuous_wave_methods();

/// The continuous-wave method of that name. Fails with a list of them when there is none.
const Method* find_continuous_wave_method(std::string_view name);

/// The transient methods, likewise.
std::span<const Method> transient_methods();
const Method* find_transient_method(std::string_view name);

/// The one of `methods` that has this name. Fails with a list of them when there is none.
const Method* find_method(std::span<const Method> methods, std::string_view name);

/// Fails when a method that is not marched is given parameters of a march.
void check_march_parameters(const Method& method, const kzk::Parameters& parameters);

/// "'farfield_cw', 'fnm_cw', ...".
std::string list_names(std::span<const Method> methods);

}  // namespace kestrel::fields
