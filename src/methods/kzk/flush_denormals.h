#pragma once

#if defined(__SSE2__) || defined(_M_X64)
#define KESTREL_HAS_MXCSR 1
#include <xmmintrin.h>
#else
#define KESTREL_HAS_MXCSR 0
#endif

namespace kestrel::kzk {

/// While it lives, results below the smallest normal number become zero on this thread. The quiet
/// ahead of a pulse fills with such numbers. They mean nothing and cost a quarter of the march.
/// Processors other than x86 keep them, at their own price.
class FlushDenormals {
 public:
  FlushDenormals(const FlushDenormals&) = delete;
  FlushDenormals& operator=(const FlushDenormals&) = delete;
#if KESTREL_HAS_MXCSR
  FlushDenormals() : _before(_mm_getcsr()) {
    _mm_setcsr(_before | kFlushToZero | kDenormalsAreZero);
  }
  ~FlushDenormals() { _mm_setcsr(_before); }

 private:
  static constexpr unsigned kFlushToZero = 0x8000;
  static constexpr unsigned kDenormalsAreZero = 0x0040;
  unsigned _before;
#else
  FlushDenormals() {}
  ~FlushDenormals() {}
#endif
};

}  // namespace kestrel::kzk
