#pragma once

#include <array>

#include "kestrel/compiler.h"

namespace kestrel {

/// The edge integrals of a rectangle's fast nearfield expression, in the order in which every
/// variant adds them.
///
/// The projection (x, y) of an observation point divides the face of half sides a, b into four
/// sub-rectangles with signed sides dxp = a + x, dxm = a - x, dyp = b + y, dym = b - y. A point
/// that projects inside the extent of a direction has four integrals in it, split at the
/// projection, where the integrand peaks. A point outside has two, the first two, each taken over
/// the whole edge.
enum RectangleDistance { dxp = 0, dxm = 1, dyp = 2, dym = 3 };

struct EdgeIntegral {
  RectangleDistance along;   ///< side that the integration runs along, when split
  RectangleDistance across;  ///< perpendicular distance from the projection to that side
};

/// Along x, and along y.
inline constexpr std::array<EdgeIntegral, 4> kEdgeIntegrals[2] = {
    {{{dxp, dyp}, {dxp, dym}, {dxm, dyp}, {dxm, dym}}},
    {{{dym, dxp}, {dym, dxm}, {dyp, dxp}, {dyp, dxm}}}};

/// Squared distance from the projection to a node of an edge at distance l: of one split at the
/// projection, which runs along a side of length s with nodes t on (0, 1), and of a whole one,
/// whose nodes count from its middle, `offset` away from the projection.
template <class T>
KESTREL_INLINE T split_edge_squared(T t_squared, T s_squared, T l_squared) {
  return t_squared * s_squared + l_squared;
}
template <class T>
KESTREL_INLINE T whole_edge_squared(T node, T offset, T l_squared) {
  const T along = node + offset;
  return l_squared + along * along;
}

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
