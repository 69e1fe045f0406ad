#pragma once

/// What the vector loops tell the compiler, in the words of each compiler. Elsewhere the macros are
/// empty: the loops then mean the same and are only slower.

#if defined(__GNUC__)
#define KESTREL_INLINE inline __attribute__((always_inline))
/// Put after the parameter list of a lambda.
#define KESTREL_INLINE_LAMBDA __attribute__((always_inline))
#define KESTREL_PRAGMA(text) _Pragma(#text)
#else
#define KESTREL_INLINE inline
#define KESTREL_INLINE_LAMBDA
#endif

/// A pointer whose target no other pointer of the function reaches.
#if defined(__GNUC__) || defined(_MSC_VER)
#define KESTREL_RESTRICT __restrict
#else
#define KESTREL_RESTRICT
#endif

/// KESTREL_LANES is put before a loop whose iterations are independent. KESTREL_WHOLE_LANES is put
/// before one over the lanes of a pack, which GCC would rather unroll than vectorise.
#if defined(__clang__)
#define KESTREL_LANES KESTREL_PRAGMA(clang loop vectorize(enable) interleave(disable))
#define KESTREL_WHOLE_LANES KESTREL_LANES
#elif defined(__GNUC__)
#define KESTREL_LANES KESTREL_PRAGMA(GCC ivdep)
#define KESTREL_WHOLE_LANES KESTREL_PRAGMA(GCC ivdep) KESTREL_PRAGMA(GCC unroll 1)
#else
#define KESTREL_LANES
#define KESTREL_WHOLE_LANES
#endif
