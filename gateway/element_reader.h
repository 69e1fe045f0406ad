#pragma once

#include <memory>

#include "host/mex_api.h"
#include "transducers/transducer.h"

namespace kestrel::gateway {

/// The shape text of element `index` (from 0), terminated. Longer texts than any identifier do not
/// fit, and fail like a missing one.
struct ShapeText {
  char text[10];
};
ShapeText read_shape_text(const mxArray* array, int index);

/// A new element of the shape that `shape` names, with the geometry, amplitude and phase of element
/// `index` of the transducer structure array; null when no shape has that name. Absent amplitude and
/// phase are 1 and 0.
///
/// | shape      | geometry fields                                   |
/// | "circ"     | radius                                            |
/// | "ring"     | inner_radius, outer_radius                        |
/// | "rect"     | width, height                                     |
/// | "shel"     | radius, rad_curvature                             |
/// | "sph ring" | inner_radius, outer_radius, geometric_focus       |
std::unique_ptr<Transducer> make_element(const mxArray* array, int index, const ShapeText& shape,
                                         double amplitude, double phase);

/// A scalar field with a default for arrays that have no such field.
double read_optional_scalar(const mxArray* array, int index, const char* field, double absent);

/// Centre and Euler angles of element `index`, given to `element`.
void place_element(Transducer& element, const mxArray* array, int index);

/// Fails when element `index` carries the "complex_weight" of old programs.
void refuse_complex_weight(const mxArray* array, int index);

/// Prints which element has the unknown shape, then fails.
[[noreturn]] void fail_invalid_shape(const ShapeText& shape, int index);

}  // namespace kestrel::gateway
