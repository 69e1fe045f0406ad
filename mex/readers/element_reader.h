#pragma once

#include <memory>
#include <optional>

#include "kestrel/elements.h"
#include "kestrel/transducer.h"
#include "mex/host/mex_api.h"

namespace kestrel::gateway {

/// The shape text of element `index` (from 0), terminated. Longer texts than any identifier do not
/// fit, and fail like a missing one.
struct ShapeText {
  char text[10];
};
ShapeText read_shape_text(const mxArray* array, int index);

/// The geometry of element `index` of the transducer structure array, whose shape `shape` names;
/// none when no shape has that name.
///
/// | shape      | geometry fields                                   |
/// | "circ"     | radius                                            |
/// | "ring"     | inner_radius, outer_radius                        |
/// | "rect"     | width, height                                     |
/// | "shel"     | radius, rad_curvature                             |
/// | "sph ring" | inner_radius, outer_radius, geometric_focus       |
std::optional<fields::Geometry> read_geometry(const mxArray* array, int index,
                                              const ShapeText& shape);

/// A new element with that geometry, null when no shape has that name.
std::unique_ptr<Transducer> make_element(const mxArray* array, int index, const ShapeText& shape,
                                         double amplitude, double phase);

/// Everything about element `index`. Amplitude 1, phase 0, time delay 0 and apodization index 0
/// where the array has no such field. What is there must be real doubles; fails with the element's
/// number, counted from 1, and the field.
fields::Element read_element(const mxArray* array, int index);

/// A scalar field with a default for arrays that have no such field.
double read_optional_scalar(const mxArray* array, int index, const char* field, double absent);

/// Centre and Euler angles of element `index`, given to `element`.
void place_element(Transducer& element, const mxArray* array, int index);

/// Fails when element `index` carries the "complex_weight" of old programs.
void refuse_complex_weight(const mxArray* array, int index);

/// Prints which element has the unknown shape, then fails.
[[noreturn]] void fail_invalid_shape(const ShapeText& shape, int index);

}  // namespace kestrel::gateway
