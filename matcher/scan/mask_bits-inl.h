// The bits of a mask as a number: bit i stands for lane i. For the files that are compiled once for every instruction
// set.

#if defined(TROVEX_MATCHER_SCAN_MASK_BITS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TROVEX_MATCHER_SCAN_MASK_BITS_INL_H
#undef TROVEX_MATCHER_SCAN_MASK_BITS_INL_H
#else
#define TROVEX_MATCHER_SCAN_MASK_BITS_INL_H
#endif

#include <hwy/highway.h>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

HWY_BEFORE_NAMESPACE();
namespace trovex {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

/// The lanes of bytes for which `mask` is set.
template <class D>
HWY_INLINE std::uint64_t BitsOfMask(hn::Mask<D> mask) {
#if HWY_TARGET <= HWY_AVX3
  return mask.raw;
#else
  // As many bytes as the mask has bits for: a wider number would be put together from parts.
  constexpr std::size_t kLanes = hn::MaxLanes(D());
  static_assert(kLanes == 16 || kLanes == 32);
  std::conditional_t<kLanes == 32, std::uint32_t, std::uint16_t> bits;
  std::uint8_t bytes[sizeof bits];
  hn::StoreMaskBits(D(), mask, bytes);
  std::memcpy(&bits, bytes, sizeof bits);
  return bits;
#endif
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace trovex
HWY_AFTER_NAMESPACE();

#endif

#endif  // toggled for every instruction set
