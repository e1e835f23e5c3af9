// On x86 the processor is asked by CPUID, and the system whether it saves the registers. Elsewhere the
// instruction sets are those that the file was compiled for.

#include "text/vector_targets.h"

#ifdef TROVEX_USE_HIGHWAY

#include <hwy/highway.h>

#if HWY_ARCH_X86
#include <cpuid.h>

namespace trovex {

namespace {

/// The registers that CPUID answers in.
struct Answer {
  unsigned eax = 0;
  unsigned ebx = 0;
  unsigned ecx = 0;
  unsigned edx = 0;
};

Answer Ask(unsigned leaf) {
  Answer answer;
  if (__get_cpuid_count(leaf, 0, &answer.eax, &answer.ebx, &answer.ecx, &answer.edx) == 0)
    return {};
  return answer;
}

constexpr bool HasAll(unsigned value, unsigned wanted) {
  return (value & wanted) == wanted;
}

/// Which registers the system saves when it changes between threads.
unsigned SavedRegisters() {
  unsigned low = 0;
  unsigned high = 0;
  __asm__("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
  return low;
}

}  // namespace

std::int64_t MachineVectorTargets() {
  constexpr unsigned kSsse3 = bit_SSE3 | bit_SSSE3;
  constexpr unsigned kSse4 = bit_SSE4_1 | bit_SSE4_2 | bit_PCLMUL | bit_AES;
  constexpr unsigned kAvx = bit_AVX | bit_FMA | bit_F16C | bit_OSXSAVE;
  constexpr unsigned kAvx2 = bit_AVX2 | bit_BMI | bit_BMI2;
  constexpr unsigned kAvx512 = bit_AVX512F | bit_AVX512VL | bit_AVX512DQ | bit_AVX512BW;
  constexpr unsigned kAvx512More = bit_AVX512VNNI | bit_VPCLMULQDQ | bit_AVX512VBMI |
                                   bit_AVX512VBMI2 | bit_VAES | bit_AVX512VPOPCNTDQ |
                                   bit_AVX512BITALG | bit_GFNI;
  constexpr unsigned kSavedYmm = 0x6;
  constexpr unsigned kSavedZmm = 0xE6;

  std::int64_t targets = HWY_STATIC_TARGET;
  const Answer first = Ask(1);
  if (!HasAll(first.ecx, kSsse3)) return targets;
  targets |= HWY_SSSE3;
  if (!HasAll(first.ecx, kSse4)) return targets;
  targets |= HWY_SSE4;

  const Answer seventh = Ask(7);
  const bool hasAvx2 = HasAll(first.ecx, kAvx) && HasAll(seventh.ebx, kAvx2) &&
                       HasAll(Ask(0x80000001).ecx, bit_LZCNT);
  if (!hasAvx2) return targets;
  const unsigned saved = SavedRegisters();
  if (!HasAll(saved, kSavedYmm)) return targets;
  targets |= HWY_AVX2;
  if (!HasAll(saved, kSavedZmm) || !HasAll(seventh.ebx, kAvx512)) return targets;
  targets |= HWY_AVX3;
  if (HasAll(seventh.ecx, kAvx512More)) targets |= HWY_AVX3_DL;
  return targets;
}

}  // namespace trovex

#else

namespace trovex {

std::int64_t MachineVectorTargets() {
  return HWY_STATIC_TARGET;
}

}  // namespace trovex

#endif  // HWY_ARCH_X86
#endif  // TROVEX_USE_HIGHWAY
