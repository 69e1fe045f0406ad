#include "methods/transient/impulse_response.h"

#include "kestrel/geometry.h"
#include "methods/common/wave_constants.h"

namespace kestrel {

namespace {

using detail::kPi;

double radial(double x, double y) { return std::sqrt(x * x + y * y); }

/// Distance of a point that is `across` and `along` away from a rim.
double rim(double across, double along) { return std::sqrt(across * across + along * along); }

}  // namespace

void DiscImpulse::respond(double x, double y, double z, const double* time, int n,
                          double* h) const {
  const double a = radius, c = soundspeed, r = radial(x, y);
  const double direct = z / c;
  const double nearest = rim(r - a, z) / c, farthest = rim(r + a, z) / c;
  // The arc of the circle of radius sqrt(c^2 t^2 - z^2) about the projection that lies on the face.
  const auto arc = [&](double t) {
    const double squared = c * c * t * t - z * z;
    const double num = r * r + squared - a * a;
    const double den = squared > 0 ? 2 * r * std::sqrt(squared) : 0;
    return den < std::abs(num) ? 0 : c / kPi * std::acos(num / den);
  };
  for (int i = 0; i < n; ++i) {
    const double t = time[i];
    if (r == 0) {
      h[i] = direct <= t && t <= rim(a, z) / c ? c : 0;
    } else if (r < a) {
      h[i] = direct <= t && t <= nearest ? c : nearest < t && t <= farthest ? arc(t) : 0;
    } else if (r == a) {
      const double path = c * c * t * t;
      const bool heard = direct <= t && t <= farthest;
      h[i] = !heard ? 0 : path > z * z ? arc(t) : path == z * z ? c : 0;
    } else {
      h[i] = nearest <= t && t <= farthest ? arc(t) : 0;
    }
  }
}

void RectangleImpulse::respond(double x, double y, double z, const double* time, int n,
                               double* h) const {
  const double a = width / 2, b = height / 2;
  const double side[2] = {a + x, a - x}, other[2] = {b + y, b - y};
  for (int i = 0; i < n; ++i) {
    const double path = soundspeed * time[i];
    h[i] = 0;
    if (!(time[i] >= 0 && path * path >= z * z)) continue;
    const double squared = path * path - z * z, sigma = std::sqrt(squared);
    const auto beyond = [&](double u) { return sigma > u ? std::acos(u / sigma) : 0.0; };
    double sum = 0;
    for (const double s : side) {
      for (const double l : other) {
        if (!(squared <= s * s + l * l)) continue;
        sum += sign(s) * sign(l) * (beyond(std::abs(s)) + beyond(std::abs(l)) - kPi / 2);
      }
    }
    // Outside the face, before the first arrival, the corners cancel but for their rounding.
    if (std::abs(sum) >= 1e-12) h[i] = -(0.5 / kPi) * soundspeed * sum;
  }
}

void CapImpulse::respond(double x, double y, double z, const double* time, int n, double* h) const {
  if (cap.region(x, y, z) == CapGeometry::focus) return respond_in_focus(time, n, h);
  const double rc = cap.curvature, depth = cap.rim_depth, c = soundspeed;
  const double r = radial(x, y), zeta = z - rc, distance = rim(r, zeta);
  for (int i = 0; i < n; ++i) {
    const double path = c * time[i];
    h[i] = 0;
    if (!(std::abs(rc - distance) <= path && path <= rc + distance)) continue;
    // The two spheres meet in a circle about the line from the centre to the point, at this polar
    // angle; `num` and `den` say where the rim's plane cuts it.
    const double cosine =
        std::clamp((rc * rc + distance * distance - path * path) / (2 * rc * distance), -1.0, 1.0);
    const double sine = std::sqrt(1 - cosine * cosine);
    const double num = depth * distance / rc + zeta * cosine, den = r * sine;
    const double share = num <= -den ? 1 : num >= den ? 0 : std::acos(num / den) / kPi;
    h[i] = c * (rc / distance) * share;
  }
}

void CapImpulse::respond_in_focus(const double* time, int n, double* h) const {
  std::fill(h, h + n, 0.0);
  const double arrival = cap.curvature / soundspeed;
  const double gain = cap.curvature - cap.rim_depth;
  if (interval > 0) {
    for (int i = 0; i < n; ++i) {
      const double late = time[i] - arrival;
      if (-interval / 2 < late && late <= interval / 2) {
        h[i] = gain / interval;
        return;
      }
    }
    return;
  }
  // A list in any order: the sample nearest to the arrival, and its neighbours in time.
  int nearest = -1;
  bool before = false, after = false;
  for (int i = 0; i < n; ++i) {
    before |= time[i] <= arrival;
    after |= time[i] >= arrival;
    if (nearest < 0 || std::abs(time[i] - arrival) < std::abs(time[nearest] - arrival)) nearest = i;
  }
  if (!before || !after) return;
  double left = -1, right = -1;  // distances to the neighbours
  for (int i = 0; i < n; ++i) {
    const double gap = time[i] - time[nearest];
    if (gap < 0 && (left < 0 || -gap < left)) left = -gap;
    if (gap > 0 && (right < 0 || gap < right)) right = gap;
  }
  if (left < 0 && right < 0) return;
  const double width = left < 0 ? right : right < 0 ? left : (left + right) / 2;
  h[nearest] = gain / width;
}

PathRange disc_paths(double x, double y, double z, double radius) {
  const double r = radial(x, y);
  return {radius >= r ? z : rim(r - radius, z), rim(r + radius, z)};
}

PathRange ring_paths(double x, double y, double z, double inner_radius, double outer_radius) {
  const double r = radial(x, y);
  const double nearest = r < inner_radius   ? rim(inner_radius - r, z)
                         : r > outer_radius ? rim(r - outer_radius, z)
                                            : std::abs(z);
  return {nearest, rim(r + outer_radius, z)};
}

PathRange rectangle_paths(double x, double y, double z, double width, double height) {
  const double dx = std::abs(x), dy = std::abs(y), a = width / 2, b = height / 2;
  const double beside_x = std::max(0.0, dx - a), beside_y = std::max(0.0, dy - b);
  return {std::sqrt(beside_x * beside_x + beside_y * beside_y + z * z),
          std::sqrt((dx + a) * (dx + a) + (dy + b) * (dy + b) + z * z)};
}

PathRange cap_paths(double x, double y, double z, const CapGeometry& outer, double inner_radius) {
  const double rc = outer.curvature, r = radial(x, y), zeta = z - rc, distance = rim(r, zeta);
  if (distance == 0) return {rc, rc};
  // Where the line point-centre meets the sphere, in height over the centre.
  const double height = zeta * rc / distance;
  const auto near_rim = [&](const CapGeometry& cap) {
    return rim(cap.radius - r, zeta + cap.rim_depth);
  };
  const auto far_rim = [&](const CapGeometry& cap) {
    return rim(cap.radius + r, zeta + cap.rim_depth);
  };
  const CapGeometry inner(std::max(inner_radius, 0.0), rc);
  const bool hole = inner_radius > 0;
  const auto on_face = [&](double q) {
    return q <= -outer.rim_depth && (!hole || q >= -inner.rim_depth);
  };
  PathRange range{near_rim(outer), far_rim(outer)};
  if (hole) {
    range.nearest = std::min(range.nearest, near_rim(inner));
    range.farthest = std::max(range.farthest, far_rim(inner));
  }
  if (on_face(height)) range.nearest = std::abs(rc - distance);
  if (on_face(-height)) range.farthest = rc + distance;
  return range;
}

}  // namespace kestrel
