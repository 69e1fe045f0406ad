#pragma once

#include <array>
#include <cmath>
#include <complex>
#include <concepts>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace kestrel {

/// A point in metres, or three angles in radians.
struct CartesianCoordinate {
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;

  CartesianCoordinate() = default;
  CartesianCoordinate(double x_value, double y_value, double z_value)
      : x(x_value), y(y_value), z(z_value) {}

  /// Euclidean distance to `other`.
  double calculate_distance(CartesianCoordinate other) const;

  /// Euclidean distance to the point (x2, y2, z2).
  double calculate_distance(double x2, double y2, double z2) const;
};

/// Sign of `v`: -1, 0 or +1, where everything within 1e-10 of zero (that bound included) has none.
/// Coordinates are in metres, so this is far below any length that sound can tell apart.
inline double sign(double v) {
  const double magnitude = std::fabs(v);
  return magnitude <= 1e-10 ? 0.0 : v / magnitude;
}

/// The rotation from global axes to those of an element with the Euler angles e (radians):
/// R = Rz(e.z) Rx(e.y) Ry(e.x), rotations of the frame, first about y, then about x, then about z.
class Rotation {
 public:
  /// No rotation.
  Rotation() = default;
  explicit Rotation(CartesianCoordinate euler);

  /// A global direction in the element's frame.
  CartesianCoordinate to_local(CartesianCoordinate direction) const;
  /// A direction of the element's frame in global axes.
  CartesianCoordinate to_global(CartesianCoordinate direction) const;
  /// What the element's local z axis, the direction in which it radiates, is in global axes.
  CartesianCoordinate normal() const { return {_m[2][0], _m[2][1], _m[2][2]}; }
  double entry(int row, int column) const { return _m[row][column]; }

  /// First `inner`, seen from a frame that `outer` has turned already: the product of the matrices.
  friend Rotation operator*(const Rotation& inner, const Rotation& outer);
  /// Angles of this rotation. Where the face looks along -y or +y, turns about y and about z are
  /// the same, and all of it goes to z.
  CartesianCoordinate euler() const;

 private:
  double _m[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
};

/// Angles of an element with the angles `inner` in a frame with the angles `outer`. Where one of
/// the two is not turned, the angles of the other come back as they are: elements that look the
/// same way keep equal angles, to the last bit.
CartesianCoordinate compose_euler(CartesianCoordinate inner, CartesianCoordinate outer);

/// Angles {e1, e2, 0} of an element that radiates along `direction`. Fails for a direction without
/// length.
CartesianCoordinate euler_towards(CartesianCoordinate direction);

}  // namespace kestrel

/// The shapes of elements, and all that the library must know about a shape besides its methods.
///
/// Planar faces lie in the local plane z = 0, spherical ones have their apex at the local origin;
/// all radiate towards local +z. Lengths are metres.

namespace kestrel {

/// The mirror symmetry of a shape's field about its axis.
enum class Symmetry {
  axial,       ///< the field depends on the distance from the axis and on z
  two_planes,  ///< the field is even in x and in y
};

/// What is the same for all elements of a shape.
struct ShapeFacts {
  /// A constructor, so that none can be left out.
  constexpr ShapeFacts(const char* shape_name, Symmetry field_symmetry, int integrals)
      : name(shape_name), symmetry(field_symmetry), edge_integrals(integrals) {}

  const char* name;  ///< in the field `shape` of structures
  Symmetry symmetry;
  int edge_integrals;  ///< one-dimensional integrals of the fast nearfield method for a point
};

/// A size of a shape: its name in structures, and the member that holds it.
template <class G>
using Size = std::pair<const char*, double G::*>;

/// Where a field may jump in an element's frame: on planes z = const, and on the sphere about the
/// centre of curvature of that radius (0: none).
struct FieldJumps {
  std::vector<double> planes;
  double sphere = 0;
};

/// The face between two circles about the axis, for the path that a wave takes on average: the
/// radii of the circles, and of the sphere on which they lie (0: a plane). A face that is not round
/// counts as its centre. The edges of a round face are these circles; those of a face with two
/// planes of symmetry are the sides of the rectangle around it.
struct RadialFace {
  double inner_radius = 0, outer_radius = 0, curvature = 0;
  /// Height of a circle of the face over its apex.
  double height(double radius) const;
};

/// How far a round face reaches along a direction of its frame: the largest projection of one of
/// its points on it. The direction has length 1.
double support_of(const RadialFace& face, CartesianCoordinate direction);

/// A face from which the parabolic (KZK) equation can be solved: curvature 0 is a plane.
struct ParabolicAperture {
  double radius = 0, curvature = 0;
};

/// Refuses sizes that cannot be. The text begins with `prefix`, for example "element 3: ".
class SizeCheck {
 public:
  explicit SizeCheck(std::string prefix) : _prefix(std::move(prefix)) {}
  void finite(const char* field, double value) const;
  void positive(const char* field, double value) const;
  /// 0 <= inner < outer.
  void hole(double inner, double outer) const;
  /// A radius of curvature that is not below the rim's radius: at most a hemisphere.
  void curvature(const char* field, double curvature, const char* rim, double radius) const;

 private:
  std::string _prefix;
};

struct Rectangle {
  double width = 0, height = 0;  ///< along local x and y

  static constexpr ShapeFacts kFacts{"rect", Symmetry::two_planes, 4};
  static constexpr std::array<Size<Rectangle>, 2> sizes() {
    return {{{"width", &Rectangle::width}, {"height", &Rectangle::height}}};
  }
  void check(const SizeCheck& size) const;
  double extent() const;
  double area() const { return width * height; }
  FieldJumps jumps() const { return {{0.0}}; }
  RadialFace radial_face() const { return {}; }
  double support(CartesianCoordinate direction) const;
  double inscribed_radius() const { return (width < height ? width : height) / 2; }
  std::optional<ParabolicAperture> parabolic_aperture() const { return std::nullopt; }
  bool operator==(const Rectangle&) const = default;
};

struct Circle {
  double radius = 0;

  static constexpr ShapeFacts kFacts{"circ", Symmetry::axial, 1};
  static constexpr std::array<Size<Circle>, 1> sizes() { return {{{"radius", &Circle::radius}}}; }
  void check(const SizeCheck& size) const;
  double extent() const { return radius; }
  double area() const;
  FieldJumps jumps() const { return {{0.0}}; }
  RadialFace radial_face() const { return {0, radius, 0}; }
  double support(CartesianCoordinate direction) const {
    return support_of(radial_face(), direction);
  }
  double inscribed_radius() const { return radius; }
  std::optional<ParabolicAperture> parabolic_aperture() const {
    return ParabolicAperture{radius, 0};
  }
  bool operator==(const Circle&) const = default;
};

struct Ring {
  double inner_radius = 0, outer_radius = 0;

  static constexpr ShapeFacts kFacts{"ring", Symmetry::axial, 2};
  static constexpr std::array<Size<Ring>, 2> sizes() {
    return {{{"inner_radius", &Ring::inner_radius}, {"outer_radius", &Ring::outer_radius}}};
  }
  void check(const SizeCheck& size) const;
  double extent() const { return outer_radius; }
  double area() const;
  FieldJumps jumps() const { return {{0.0}}; }
  RadialFace radial_face() const { return {inner_radius, outer_radius, 0}; }
  double support(CartesianCoordinate direction) const {
    return support_of(radial_face(), direction);
  }
  double inscribed_radius() const { return outer_radius; }
  std::optional<ParabolicAperture> parabolic_aperture() const { return std::nullopt; }
  bool operator==(const Ring&) const = default;
};

struct Shell {
  double radius = 0;         ///< of the rim
  double rad_curvature = 0;  ///< of the sphere, at least the rim's

  static constexpr ShapeFacts kFacts{"shel", Symmetry::axial, 1};
  static constexpr std::array<Size<Shell>, 2> sizes() {
    return {{{"radius", &Shell::radius}, {"rad_curvature", &Shell::rad_curvature}}};
  }
  void check(const SizeCheck& size) const;
  double extent() const;
  double area() const;
  FieldJumps jumps() const;
  RadialFace radial_face() const { return {0, radius, rad_curvature}; }
  double support(CartesianCoordinate direction) const {
    return support_of(radial_face(), direction);
  }
  double inscribed_radius() const { return radius; }
  std::optional<ParabolicAperture> parabolic_aperture() const {
    return ParabolicAperture{radius, rad_curvature};
  }
  bool operator==(const Shell&) const = default;
};

struct ShellRing {
  double inner_radius = 0, outer_radius = 0;  ///< of the rims
  double geometric_focus = 0;                 ///< radius of the sphere

  static constexpr ShapeFacts kFacts{"sph ring", Symmetry::axial, 2};
  static constexpr std::array<Size<ShellRing>, 3> sizes() {
    return {{{"inner_radius", &ShellRing::inner_radius},
             {"outer_radius", &ShellRing::outer_radius},
             {"geometric_focus", &ShellRing::geometric_focus}}};
  }
  void check(const SizeCheck& size) const;
  double extent() const;
  double area() const;
  FieldJumps jumps() const;
  RadialFace radial_face() const { return {inner_radius, outer_radius, geometric_focus}; }
  double support(CartesianCoordinate direction) const {
    return support_of(radial_face(), direction);
  }
  double inscribed_radius() const { return outer_radius; }
  std::optional<ParabolicAperture> parabolic_aperture() const { return std::nullopt; }
  bool operator==(const ShellRing&) const = default;
};

/// Whether every number of a shape has a name among its sizes.
template <class G>
constexpr bool names_all_sizes() {
  for (const Size<G>& size : G::sizes()) {
    if (size.first == nullptr || size.second == nullptr) return false;
  }
  return sizeof(G) == G::sizes().size() * sizeof(double);
}

/// What a shape must say of itself. A forgotten fact does not compile.
template <class G>
concept ElementShape = std::equality_comparable<G> && requires(const G g, const SizeCheck& size) {
  { G::kFacts } -> std::convertible_to<ShapeFacts>;
  { G::sizes()[0] } -> std::convertible_to<Size<G>>;
  requires names_all_sizes<G>();
  /// Fails when the sizes cannot be.
  { g.check(size) } -> std::same_as<void>;
  /// Radius about the local origin of a sphere that holds the whole element.
  { g.extent() } -> std::same_as<double>;
  /// Of the face, square metres.
  { g.area() } -> std::same_as<double>;
  { g.jumps() } -> std::same_as<FieldJumps>;
  { g.radial_face() } -> std::same_as<RadialFace>;
  /// The largest projection of a point of the face on a direction of length 1.
  { g.support(CartesianCoordinate()) } -> std::same_as<double>;
  /// Of the largest circle about the axis within the face's outline.
  { g.inscribed_radius() } -> std::same_as<double>;
  { g.parabolic_aperture() } -> std::same_as<std::optional<ParabolicAperture>>;
};

/// A list of shapes: each of them says all that it must.
template <ElementShape... G>
using GeometryOf = std::variant<G...>;

/// The shapes of elements.
using Geometry = GeometryOf<Rectangle, Circle, Ring, Shell, ShellRing>;

/// The facts of an element's shape.
const ShapeFacts& shape_facts(const Geometry& geometry);

/// Calls `visit(Circle{})` and so on for every shape.
template <class Visit>
void for_each_shape(const Visit& visit) {
  [&]<class... G>(std::type_identity<std::variant<G...>>) {
    (visit(G{}), ...);
  }(std::type_identity<Geometry>{});
}

/// "'rect', 'circ', ...".
std::string list_shapes();

/// One element of an array: its shape, its place and its drive. A plain value.
struct Element {
  Geometry geometry;
  CartesianCoordinate center = {};  ///< metres
  CartesianCoordinate euler = {};   ///< radians, see Rotation
  double amplitude = 1;             ///< of the normal velocity of the face, m/s
  double phase = 0;                 ///< of that velocity, radians; time runs as e^{+jwt}
  double time_delay = 0;            ///< of pulses, seconds
  int apodization_index = 0;        ///< radial velocity profile of a circle, 0 (uniform) to 4

  /// amplitude e^{j phase}, as every calculation method takes it.
  std::complex<double> weight() const {
    return {amplitude * std::cos(phase), amplitude * std::sin(phase)};
  }
};

/// Fails when a number of the element is not finite or its sizes cannot be. The text names the
/// element by `number`, counted from 1.
void check_element(const Element& element, std::size_t number);

/// Radius about the local origin of a sphere that holds the whole element.
double extent(const Geometry& geometry);

}  // namespace kestrel
