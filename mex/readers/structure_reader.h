#pragma once

#include "mex/host/mex_api.h"

namespace kestrel {

/// Careful reading of the structures that users build in MATLAB or Octave. A field that was
/// declared but never given a value comes as null from MATLAB and as an empty matrix from Octave;
/// here both are an empty value.
///
/// In the errors `owner` says what the structure describes ("medium", "transducer") and `element`,
/// when it is at least 1, which entry of a structure array was read. For an argument of the call,
/// which is in no structure, `owner` is null.

/// True when `structure` is a structure with at least one element and a field called `name`.
bool has_field(const mxArray* structure, const char* name);

/// The value of a field in element `index` (from 0) of a structure array; null when it has none.
const mxArray* field_value(const mxArray* structure, const char* name, int index = 0);

/// The first entry of a numeric or logical value. Fails when `value` is empty, of any other class,
/// or sparse with more than one entry. The number itself is not judged: it may be NaN.
double read_scalar(const mxArray* value, const char* owner, const char* field, int element = 0);

/// The same for a field of a structure array: of the entry `element`, or of the first one. Fails
/// also when there is no such field.
double read_number(const mxArray* structure, const char* field, const char* owner, int element = 0);

/// Fails when the structure array has no such field.
void require_field(const mxArray* structure, const char* field, const char* owner, int element = 0);

/// The entries of a full real double array, in column-major order; null when it has none. Fails for
/// every other class, so the pointer never sees bytes of another type. The host owns the entries.
const double* read_real_doubles(const mxArray* value, const char* owner, const char* field,
                                int element = 0);

}  // namespace kestrel
