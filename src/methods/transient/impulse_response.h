#pragma once

#include <algorithm>
#include <cmath>

#include "methods/fnm/cap_fnm.h"

namespace kestrel {

/// Spatial impulse responses: the velocity potential, in m/s, that a face radiates at one point
/// when its velocity is an impulse of 1 m. At time t it is c/(2 pi) times the angle under which the
/// sphere of radius ct about the point cuts the face (P. R. Stepanishen, "Transient radiation from
/// pistons in an infinite planar baffle", J. Acoust. Soc. Am. 49 (1971); for caps M. Arditi, F. S.
/// Foster and J. W. Hunt, "Transient fields of concave annular arrays", Ultrason. Imaging 3
/// (1981)).
///
/// Each has `hears`, whether the point is computed, and `respond`, which writes h at n times.

/// A flat disc. Points behind it are computed as well: their responses stand at negative times.
struct DiscImpulse {
  double radius, soundspeed;

  bool hears(double /*x*/, double /*y*/, double /*z*/) const { return true; }
  void respond(double x, double y, double z, const double* time, int n, double* h) const;
};

/// A flat rectangle; nothing is heard behind it.
struct RectangleImpulse {
  double width, height, soundspeed;

  bool hears(double /*x*/, double /*y*/, double z) const { return !(z < 0); }
  void respond(double x, double y, double z, const double* time, int n, double* h) const;
};

/// A spherical cap. In its centre of curvature the response is (R_c - h) delta(t - R_c/c), written
/// as one sample of the same area: the one within half an interval of R_c/c or, on an axis without
/// interval, the nearest, with half the distance of its neighbours in place of the interval. Near
/// the centre, where the response is shorter than the interval, samples misjudge its area.
struct CapImpulse {
  CapGeometry cap;
  CapGeometry region;  ///< the cap by which points are taken or left: a ring's outer one
  double soundspeed;
  double interval;  ///< of the time axis, s; 0 for a list of times

  bool hears(double x, double y, double z) const {
    return region.region(x, y, z) != CapGeometry::outside;
  }
  void respond(double x, double y, double z, const double* time, int n, double* h) const;

 private:
  void respond_in_focus(const double* time, int n, double* h) const;
};

/// Distances of the nearest and the farthest point of a face.
struct PathRange {
  double nearest, farthest;
};

/// The disc's nearest distance is z itself over the face, negative behind it.
PathRange disc_paths(double x, double y, double z, double radius);
PathRange ring_paths(double x, double y, double z, double inner_radius, double outer_radius);
PathRange rectangle_paths(double x, double y, double z, double width, double height);
/// `inner_radius` <= 0: no hole.
PathRange cap_paths(double x, double y, double z, const CapGeometry& outer, double inner_radius);

}  // namespace kestrel
