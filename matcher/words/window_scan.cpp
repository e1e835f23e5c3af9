// One loop for all machines. A vector's lanes are the first four bytes of as many windows, side by side:
//
//   bytes of the text, loaded at once     G a r t e n h a u s ...
//   stride 3                              Gart  tenh  haus  ...
//
// Bytes move within sixteen bytes only, so words of four bytes are first moved to where their windows are
// made: windows that begin less than sixteen bytes after one another take 4 * stride bytes of the text.

#include "matcher/words/window_scan.h"

#include <algorithm>

#ifdef TROVEX_USE_HIGHWAY

// Vectors whose length is known only at run time are not needed here.
#define HWY_DISABLED_TARGETS (HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128 | HWY_RVV)
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "matcher/words/window_scan.cpp"
#include <hwy/foreach_target.h>
// Must come after it.
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace trovex {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

FindWindows Choose(const WindowTable& /*table*/) {
  return &FindWindowsPlainly;
}

#else

using Words = hn::ScalableTag<std::uint32_t>;
using Bytes = hn::Repartition<std::uint8_t, Words>;
using V = hn::Vec<Words>;

/// Makes windows of the bytes at a place, and looks them up.
template <bool kIsLong>
class WindowTest {
 public:
  explicit HWY_INLINE WindowTest(const WindowTable& table)
      : bits_(table.bits.data()),
        firstMask_(hn::Set(Words(), table.mask.first)),
        secondMask_(hn::Set(Words(), table.mask.second)),
        shift_(table.shift) {
    HWY_ALIGN std::uint32_t words[kLanes];
    HWY_ALIGN std::uint8_t bytes[4 * kLanes];
    for (std::size_t lane = 0; lane < kLanes; ++lane)
      words[lane] = static_cast<std::uint32_t>(lane / 4 * table.stride + lane % 4);
    for (std::size_t i = 0; i < 4 * kLanes; ++i)
      bytes[i] = static_cast<std::uint8_t>(i % 16 / 4 * table.stride + i % 4);
    words_ = hn::SetTableIndices(Words(), words);
    first_ = hn::Load(Bytes(), bytes);
    for (std::uint8_t& byte : bytes)
      byte = static_cast<std::uint8_t>((byte + 4) % 16);
    second_ = hn::Load(Bytes(), bytes);
  }

  /// A bit for each of the windows from `place` on that the table has.
  HWY_INLINE hn::Mask<Words> operator()(const std::uint8_t* place) const {
    const auto text = hn::BitCast(Words(), hn::LoadU(Bytes(), place));
    const auto block = hn::BitCast(Bytes(), hn::TableLookupLanes(text, words_));
    V hash = hn::Mul(hn::And(hn::BitCast(Words(), hn::TableLookupBytes(block, first_)), firstMask_),
                     hn::Set(Words(), WindowTable::kFirstFactor));
    if constexpr (kIsLong) {
      const V second =
          hn::And(hn::BitCast(Words(), hn::TableLookupBytes(block, second_)), secondMask_);
      hash = hn::Add(hash, hn::Mul(second, hn::Set(Words(), WindowTable::kSecondFactor)));
    }
    hash = hn::ShiftRightSame(hash, shift_);
    const hn::RebindToSigned<Words> indices;
    const V bits = hn::GatherIndex(Words(), bits_, hn::BitCast(indices, hn::ShiftRight<5>(hash)));
    const V bit = hn::Shl(hn::Set(Words(), 1), hn::And(hash, hn::Set(Words(), 31)));
    return hn::TestBit(bits, bit);
  }

 private:
  static constexpr std::size_t kLanes = hn::MaxLanes(Words());

  const std::uint32_t* bits_;
  V firstMask_;
  V secondMask_;
  int shift_;
  decltype(hn::SetTableIndices(Words(), static_cast<const std::uint32_t*>(nullptr))) words_;
  hn::Vec<Bytes> first_;
  hn::Vec<Bytes> second_;
};

template <bool kIsLong>
std::size_t Find(const WindowTable& table, const unsigned char* first, std::size_t count,
                 const unsigned char* end, std::uint32_t* hits) {
  constexpr std::size_t kLanes = hn::MaxLanes(Words());
  static_assert(kLanes <= kWindowsAtOnce);
  const WindowTest<kIsLong> test(table);
  const auto strides =
      hn::Mul(hn::Iota(Words(), 0), hn::Set(Words(), static_cast<std::uint32_t>(table.stride)));
  const auto textSize = static_cast<std::size_t>(end - first);
  std::size_t found = 0;
  std::size_t window = 0;
  std::size_t place = 0;
  const auto keep = [&](hn::Mask<Words> has) {
    const V places = hn::Add(strides, hn::Set(Words(), static_cast<std::uint32_t>(place)));
    found += hn::CompressBlendedStore(places, has, Words(), hits + found);
  };
  for (; window + kLanes <= count && textSize - place >= 4 * kLanes; window += kLanes) {
    const auto has = test(first + place);
    if (!hn::AllFalse(Words(), has)) keep(has);
    place += kLanes * table.stride;
  }
  if (window >= count || place >= textSize) return found;
  // The rest, from a copy with zeros after it.
  HWY_ALIGN std::uint8_t rest[12 * kLanes] = {};
  const std::size_t restBegin = place;
  const std::size_t bytes = std::min(textSize - place, 8 * kLanes);
  std::memcpy(rest, first + place, bytes);
  for (; window < count && place - restBegin < bytes; window += kLanes) {
    const std::size_t begun = (bytes - (place - restBegin) + table.stride - 1) / table.stride;
    const std::size_t lanes = std::min({count - window, begun, kLanes});
    keep(hn::And(test(rest + (place - restBegin)), hn::FirstN(Words(), lanes)));
    place += kLanes * table.stride;
  }
  return found;
}

FindWindows Choose(const WindowTable& table) {
  return table.length > 4 ? &Find<true> : &Find<false>;
}

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace trovex
HWY_AFTER_NAMESPACE();

#endif  // TROVEX_USE_HIGHWAY

#if !defined(TROVEX_USE_HIGHWAY) || HWY_ONCE

namespace trovex {

#ifdef TROVEX_USE_HIGHWAY

HWY_EXPORT(Choose);

FindWindows ChooseWindowScan(const WindowTable& table) {
  return HWY_DYNAMIC_DISPATCH(Choose)(table);
}

#else

FindWindows ChooseWindowScan(const WindowTable& /*table*/) {
  return &FindWindowsPlainly;
}

#endif

std::size_t FindWindowsPlainly(const WindowTable& table, const unsigned char* first,
                               std::size_t count, const unsigned char* end, std::uint32_t* hits) {
  const auto textSize = static_cast<std::size_t>(end - first);
  std::size_t found = 0;
  for (std::size_t i = 0; i < count && i * table.stride < textSize; ++i) {
    const std::size_t offset = i * table.stride;
    hits[found] = static_cast<std::uint32_t>(offset);
    found += table.Has(table.At<false>(first + offset, end)) ? 1 : 0;
  }
  return found;
}

}  // namespace trovex

#endif
