#include "kestrel/instruction_set.h"

#include <atomic>

#include "numerics/run_kernel.h"

namespace kestrel {

namespace {

InstructionSet best_supported() {
  for (const auto set : {InstructionSet::avx512, InstructionSet::avx2, InstructionSet::neon}) {
    if (is_supported(set)) return set;
  }
  return InstructionSet::baseline;
}

/// What this thread's kernels run on. The processor is asked once.
InstructionSet& chosen_set() {
  static const InstructionSet best = best_supported();
  thread_local InstructionSet set = best;
  return set;
}

std::atomic<InstructionSet> last_used{InstructionSet::scalar};

}  // namespace

const char* name(InstructionSet set) {
  switch (set) {
    case InstructionSet::scalar:
      return "scalar";
    case InstructionSet::baseline:
      return "baseline";
    case InstructionSet::avx2:
      return "avx2";
    case InstructionSet::avx512:
      return "avx512";
    case InstructionSet::neon:
      return "neon";
  }
  return "unknown";
}

bool is_supported(InstructionSet set) {
#if KESTREL_X86_TARGETS
  // __builtin_cpu_supports also asks whether the operating system saves the wide registers.
  switch (set) {
    case InstructionSet::avx2:
      return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
    case InstructionSet::avx512:
      return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
             __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512bw") &&
             __builtin_cpu_supports("fma");
    default:
      break;
  }
#endif
#if KESTREL_NEON
  if (set == InstructionSet::neon) return true;
#endif
  return set == InstructionSet::scalar || set == InstructionSet::baseline;
}

std::vector<InstructionSet> supported_instruction_sets() {
  std::vector<InstructionSet> sets;
  for (const InstructionSet set : kInstructionSets) {
    if (is_supported(set)) sets.push_back(set);
  }
  return sets;
}

InstructionSet instruction_set() { return chosen_set(); }

bool use_instruction_set(InstructionSet set) {
  if (!is_supported(set)) return false;
  chosen_set() = set;
  return true;
}

InstructionSet last_used_instruction_set() { return last_used.load(std::memory_order_relaxed); }

void detail::note_instruction_set(InstructionSet set) {
  last_used.store(set, std::memory_order_relaxed);
}

}  // namespace kestrel
