#pragma once

namespace kestrel {

/// The edge integrals of a rectangle's fast nearfield expression, in the order in which every
/// variant adds them.
///
/// The projection (x, y) of an observation point divides the face of half sides a, b into four
/// sub-rectangles with signed sides dxp = a + x, dxm = a - x, dyp = b + y, dym = b - y. A point
/// that projects inside the extent of a direction has four integrals in it, split at the
/// projection, where the integrand peaks; a point outside has two, each taken over a whole edge.
enum RectangleDistance { dxp = 0, dxm = 1, dyp = 2, dym = 3 };

struct SplitIntegral {
  RectangleDistance along;   ///< side that the integration runs along
  RectangleDistance across;  ///< perpendicular distance from the projection to that side
};

struct RectangleDirection {
  SplitIntegral split[4];
  RectangleDistance whole[2];  ///< perpendicular distances of the two whole edges
};

inline constexpr RectangleDirection kAlongX{{{dxp, dyp}, {dxp, dym}, {dxm, dyp}, {dxm, dym}},
                                            {dyp, dym}};
inline constexpr RectangleDirection kAlongY{{{dym, dxp}, {dym, dxm}, {dyp, dxp}, {dyp, dxm}},
                                            {dxp, dxm}};

/// Where a point projects, in one direction.
enum class Projection {
  outside,  ///< beyond the extent, or on an edge
  inside,   ///< strictly inside
  centred,  ///< inside, equally far from both ends: integrals come in equal pairs
};

template <class Real>
Projection projection(Real plus, Real minus) {
  if (!(plus > 0 && minus > 0)) return Projection::outside;
  return plus == minus ? Projection::centred : Projection::inside;
}

}  // namespace kestrel
