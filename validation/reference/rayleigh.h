#pragma once

/// Converged Rayleigh-Sommerfeld integrals, the yardstick of the accuracy page and of the tests.
///
///     p = j rho f0 w * surface integral of e^{-(alpha + jk)R}/R
///
/// Here the surface is cut by spheres of radius R about the observation point. The piece between R
/// and R + dR has the area R Omega(R) dR, Omega being the angle of the arc that lies on the source,
/// so that p = j rho f0 w * integral of Omega(R) e^{-(alpha + jk)R} dR: the angles of the spatial
/// impulse response (P. R. Stepanishen, "Transient radiation from pistons in an infinite planar
/// baffle", J. Acoust. Soc. Am. 49, 1629-1638 (1971)). Nothing is shared with the methods under
/// test: no edge integral, no kernel, no quadrature rule over the source.

#include <complex>

#include "kestrel/geometry.h"
#include "kestrel/medium.h"

namespace kestrel::reference {

/// Nodes of each of the one to three pieces of an integral, besides what their length in
/// wavelengths asks for. The page is made with this many and again with twice as many, and says by
/// how much the two differ.
inline constexpr int kNodes = 384;

/// Pressures at a point in the element's frame, for a face velocity of 1 m/s.
std::complex<double> disc(double radius, const Medium& medium, CartesianCoordinate p,
                          int nodes = kNodes);
std::complex<double> rectangle(double width, double height, const Medium& medium,
                               CartesianCoordinate p, int nodes = kNodes);
/// Apex at the origin, centre of curvature at z = curvature.
std::complex<double> cap(double radius, double curvature, const Medium& medium,
                         CartesianCoordinate p, int nodes = kNodes);
/// A face of any shape, with the apex of a curved one at the origin.
std::complex<double> face(const Geometry& geometry, const Medium& medium, CartesianCoordinate p,
                          int nodes = kNodes);
/// A disc with the velocity profile `index`, as a superposition of uniform discs.
std::complex<double> apodized_disc(int index, double radius, const Medium& medium,
                                   CartesianCoordinate p, int nodes = kNodes);

/// Closed forms: on the axis of a disc, on the axis of a cap and at its centre of curvature.
std::complex<double> disc_on_axis(double radius, const Medium& medium, double z);
std::complex<double> cap_on_axis(double radius, double curvature, const Medium& medium, double z);

/// Wavenumber, and attenuation in nepers per metre.
double wavenumber(const Medium& medium);
double attenuation(const Medium& medium);

}  // namespace kestrel::reference
