#pragma once

#include <cstdint>
#include <vector>

namespace kestrel {

/// The ways a field kernel can run. `scalar` is the plain path through the standard library's sine,
/// cosine and exponential; the others evaluate many observation points at once with kestrel's own
/// (numerics/wide_math.h) and agree with it to a few units in the last place of the field's peak.
enum class InstructionSet : std::uint8_t {
  scalar,    ///< one point after the other, standard library functions
  baseline,  ///< what every processor of the build's target has (SSE2 on x86-64), no fused
             ///< multiply-add
  avx2,      ///< x86-64 with AVX2 and FMA
  avx512,    ///< x86-64 with AVX-512 F, DQ, VL, BW
  neon,      ///< 64-bit ARM, two doubles at a time with fused multiply-add
};

/// All of them, from the plainest to the fastest of each processor family.
inline constexpr InstructionSet kInstructionSets[] = {
    InstructionSet::scalar, InstructionSet::baseline, InstructionSet::avx2, InstructionSet::avx512,
    InstructionSet::neon};

/// "scalar", "baseline", "avx2", "avx512" or "neon".
const char* name(InstructionSet set);

/// Whether this processor, and this build, can run `set`.
bool is_supported(InstructionSet set);

/// Those of kInstructionSets that this processor, and this build, can run.
std::vector<InstructionSet> supported_instruction_sets();

/// The set that field kernels of this thread use: the best supported one unless another was chosen.
InstructionSet instruction_set();

/// Chooses the set for the calling thread; false, and no change, when it is not supported. Threads
/// that a calculation starts take over the set of the thread that called it, so two calculations
/// may run at once with different sets.
bool use_instruction_set(InstructionSet set);

/// The set that the most recent kernel really ran on (tests assert with it that they test what they
/// think they test).
InstructionSet last_used_instruction_set();

/// Chooses a set for this thread, for the life of a scope.
class ScopedInstructionSet {
 public:
  explicit ScopedInstructionSet(InstructionSet set)
      : _before(instruction_set()), _chosen(use_instruction_set(set)) {}
  ~ScopedInstructionSet() { use_instruction_set(_before); }
  ScopedInstructionSet(const ScopedInstructionSet&) = delete;
  ScopedInstructionSet& operator=(const ScopedInstructionSet&) = delete;
  /// False when the processor lacks the set that was asked for.
  bool chosen() const { return _chosen; }

 private:
  InstructionSet _before;
  bool _chosen;
};

namespace detail {
void note_instruction_set(InstructionSet set);
}

}  // namespace kestrel
