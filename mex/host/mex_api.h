#pragma once

/// The only header by which kestrel's sources see the names `mx*` and `mex*`. Which host they
/// belong to is decided by the build, through the include path: Octave's folder, MATLAB's, or
/// `mex/standalone` for programs and tests that run without an interpreter.
///
/// What differs between the hosts, and therefore must not be relied upon:
///   - `mxArray` is `void` in Octave and an incomplete structure elsewhere: pass pointers, nothing
///   else;
///   - `mwSize` is signed in Octave and unsigned elsewhere;
///   - `mxSetDoubles` and its kin return different values for success;
///   - a null `mxArray*` crashes most functions of Octave: test before the call.

#include <mex.h>  // declares the functions of matrix.h too, on every host

// MATLAB's and our own header define this themselves; for Octave the build must ask for it.
#if !defined(MX_HAS_INTERLEAVED_COMPLEX) || !MX_HAS_INTERLEAVED_COMPLEX
#error "kestrel needs interleaved complex data: -R2018a, or -DMX_HAS_INTERLEAVED_COMPLEX=1 (Octave)"
#endif
