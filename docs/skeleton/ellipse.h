/// A flat elliptical piston: full axes along local x and y.
struct Ellipse {
  double width = 0, height = 0;

  static constexpr ShapeFacts kFacts{"ellipse", Symmetry::two_planes, 0};
  static constexpr std::array<Size<Ellipse>, 2> sizes() {
    return {{{"width", &Ellipse::width}, {"height", &Ellipse::height}}};
  }
  void check(const SizeCheck& size) const;
  double extent() const { return (width > height ? width : height) / 2; }
  double area() const;
  FieldJumps jumps() const { return {{0.0}}; }
  RadialFace radial_face() const { return {}; }
  double support(CartesianCoordinate direction) const;
  double inscribed_radius() const { return (width < height ? width : height) / 2; }
  std::optional<ParabolicAperture> parabolic_aperture() const { return std::nullopt; }
  bool operator==(const Ellipse&) const = default;
};
