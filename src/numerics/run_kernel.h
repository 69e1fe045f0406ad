#pragma once

/// One kernel source, one machine-code instance per instruction set.
///
/// A kernel is a callable with `template <class Math> KESTREL_INLINE void operator()(Math) const`
/// whose loops run over observation points and do nothing that the compiler cannot vectorise. It is
/// inlined whole into one outer function per instruction set; only those functions carry a target
/// attribute. No source file is compiled with instruction-set flags, so no shared inline function
/// can leak wide instructions into the baseline path.

#include "kestrel/compiler.h"
#include "kestrel/instruction_set.h"
#include "numerics/wide_math.h"

#if defined(__x86_64__) && defined(__GNUC__)
#define KESTREL_X86_TARGETS 1
#define KESTREL_TARGET_AVX2 __attribute__((target("avx2,fma")))
#if defined(__clang__)
#define KESTREL_TARGET_AVX512 __attribute__((target("avx512f,avx512dq,avx512vl,avx512bw,fma")))
#else
// GCC prefers 256-bit vectors on most processors with AVX-512 unless told otherwise.
#define KESTREL_TARGET_AVX512 \
  __attribute__((target("avx512f,avx512dq,avx512vl,avx512bw,fma,prefer-vector-width=512")))
#endif
#else
#define KESTREL_X86_TARGETS 0
#endif

// Every 64-bit ARM processor has NEON and the fused multiply-add: no target attribute is needed.
#if defined(__aarch64__) || defined(_M_ARM64)
#define KESTREL_NEON 1
#else
#define KESTREL_NEON 0
#endif

namespace kestrel {

namespace detail {

template <class Kernel>
void run_scalar(const Kernel& kernel) {
  kernel(StandardMath{});
}

template <class Kernel>
void run_baseline(const Kernel& kernel) {
  kernel(WideMath<false>{});
}

#if KESTREL_X86_TARGETS
template <class Kernel>
KESTREL_TARGET_AVX2 void run_avx2(const Kernel& kernel) {
  kernel(WideMath<true>{});
}

template <class Kernel>
KESTREL_TARGET_AVX512 void run_avx512(const Kernel& kernel) {
  kernel(WideMath<true>{});
}
#endif

#if KESTREL_NEON
template <class Kernel>
void run_neon(const Kernel& kernel) {
  kernel(WideMath<true>{});
}
#endif

}  // namespace detail

/// Runs `kernel` on `set`.
template <class Kernel>
void run_kernel(InstructionSet set, const Kernel& kernel) {
  detail::note_instruction_set(set);
  switch (set) {
#if KESTREL_X86_TARGETS
    case InstructionSet::avx512:
      return detail::run_avx512(kernel);
    case InstructionSet::avx2:
      return detail::run_avx2(kernel);
#endif
#if KESTREL_NEON
    case InstructionSet::neon:
      return detail::run_neon(kernel);
#endif
    case InstructionSet::scalar:
      return detail::run_scalar(kernel);
    default:
      return detail::run_baseline(kernel);
  }
}

}  // namespace kestrel
