#pragma once

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace kestrel::kzk {

/// While it lives, results below the smallest normal number become zero on this thread. The quiet
/// ahead of a pulse fills with such numbers, which mean nothing and cost a quarter of the march.
class FlushDenormals {
 public:
#if defined(__SSE2__)
  FlushDenormals() : _before(_mm_getcsr()) { _mm_setcsr(_before | 0x8040); }
  ~FlushDenormals() { _mm_setcsr(_before); }

 private:
  unsigned _before;
#else
  FlushDenormals() {}
  ~FlushDenormals() {}
#endif
 public:
  FlushDenormals(const FlushDenormals&) = delete;
  FlushDenormals& operator=(const FlushDenormals&) = delete;
};

}  // namespace kestrel::kzk
