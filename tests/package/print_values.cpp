// Compiled for any processor, so that it can ask before it runs what is not.

#include <cinttypes>
#include <cstdio>

#include "values.h"

int main() {
#ifdef NEEDS_FMA
  if (!__builtin_cpu_supports("avx2") || !__builtin_cpu_supports("fma")) {
    std::puts("no fused multiply-add on this processor");
    return 0;
  }
#endif
  for (const std::uint64_t bits : values()) std::printf("%016" PRIx64 "\n", bits);
}
