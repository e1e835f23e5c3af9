// One loop for all machines. A vector's lanes are the first four bytes of as many windows, side by side:
//
//   bytes of the text, loaded at once     G a r t e n h a u s ...
//   stride 3                              Gart  tenh  haus  ...
//
// Bytes move within sixteen bytes only, so words of four bytes are first moved to where their windows are
// made: windows that begin less than sixteen bytes behind one another take 4 * stride bytes of the text.

#include "matcher/words/window_scan.h"

#include <algorithm>
#include <bit>
#include <cstring>

#ifdef TROVEX_USE_HIGHWAY

// Vectors whose length is known only at run time are not needed here.
#define HWY_DISABLED_TARGETS (HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128 | HWY_RVV)
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "matcher/words/window_scan.cpp"
#include <hwy/foreach_target.h>
// Must come behind it.
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

constexpr std::size_t kLanes = hn::MaxLanes(Words());
static_assert(kWindowsAtOnce == 64 && kWindowsAtOnce % kLanes == 0);

/// How the bytes of a text become windows that begin `stride` places apart: the words of four bytes that each
/// sixteen bytes are made of, and where in these the first four bytes of a window stand, and the next four.
struct WindowMoves {
  alignas(64) std::uint32_t words[kLanes] = {};
  alignas(64) std::uint8_t first[4 * kLanes] = {};
  alignas(64) std::uint8_t second[4 * kLanes] = {};
};

constexpr WindowMoves MovesFor(std::size_t stride) {
  WindowMoves moves;
  for (std::size_t lane = 0; lane < kLanes; ++lane)
    moves.words[lane] = static_cast<std::uint32_t>(lane / 4 * stride + lane % 4);
  for (std::size_t i = 0; i < 4 * kLanes; ++i) {
    moves.first[i] = static_cast<std::uint8_t>(i % 16 / 4 * stride + i % 4);
    moves.second[i] = static_cast<std::uint8_t>((moves.first[i] + 4) % 16);
  }
  return moves;
}

constexpr WindowMoves kMoves[] = {MovesFor(1), MovesFor(2), MovesFor(3), MovesFor(4)};

/// Makes windows of the bytes at a place, and looks them up.
template <bool kIsLong>
class WindowTest {
 public:
  explicit HWY_INLINE WindowTest(const WindowTable& table)
      : bits_(table.bits.data()),
        firstMask_(hn::Set(Words(), table.mask.first)),
        secondMask_(hn::Set(Words(), table.mask.second)),
        shift_(table.shift) {
    const WindowMoves& moves = kMoves[table.stride - 1];
    words_ = hn::SetTableIndices(Words(), moves.words);
    first_ = hn::Load(Bytes(), moves.first);
    second_ = hn::Load(Bytes(), moves.second);
  }

  /// A bit for each of the windows from `place` on that the table has.
  HWY_INLINE std::uint64_t operator()(const std::uint8_t* place) const {
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
    return BitsOf(hn::TestBit(bits, bit));
  }

 private:
  static HWY_INLINE std::uint64_t BitsOf(hn::Mask<Words> mask) {
#if HWY_TARGET <= HWY_AVX3
    return mask.raw;
#else
    std::uint8_t bytes[sizeof(std::uint64_t)] = {};
    hn::StoreMaskBits(Words(), mask, bytes);
    std::uint64_t bits = 0;
    std::memcpy(&bits, bytes, sizeof bits);
    return bits;
#endif
  }

  const std::uint32_t* bits_;
  V firstMask_;
  V secondMask_;
  int shift_;
  decltype(hn::SetTableIndices(Words(), static_cast<const std::uint32_t*>(nullptr))) words_;
  hn::Vec<Bytes> first_;
  hn::Vec<Bytes> second_;
};

/// Writes the hits among the windows from number `window` on. Returns where the next one goes.
HWY_INLINE std::uint32_t* WriteHits(std::uint64_t bits, std::size_t window, std::size_t stride,
                                    std::uint32_t* hits) {
  constexpr int kAtOnce = 4;
  std::uint32_t* const end = hits + std::popcount(bits);
  // Without a branch for each: what is too much is written over by the next ones.
  for (; bits != 0; hits += kAtOnce) {
    for (int i = 0; i < kAtOnce; ++i, bits &= bits - 1) {
      const std::size_t number = window + (static_cast<std::size_t>(std::countr_zero(bits)) & 63);
      hits[i] = static_cast<std::uint32_t>(number * stride);
    }
  }
  return end;
}

template <bool kIsLong>
std::size_t Find(const WindowTable& table, const unsigned char* first, std::size_t count,
                 const unsigned char* end, std::uint32_t* const hits) {
  const WindowTest<kIsLong> test(table);
  const std::size_t stride = table.stride;
  const auto textSize = static_cast<std::size_t>(end - first);
  // How far apart the windows of one test lie from those of the next, and what all that are written together
  // read beyond the first of the last test.
  const std::size_t step = kLanes * stride;
  const std::size_t reach = (kWindowsAtOnce - kLanes) * stride + 4 * kLanes;
  std::uint32_t* next = hits;
  std::size_t window = 0;
  for (; window + kWindowsAtOnce <= count && textSize >= window * stride + reach;
       window += kWindowsAtOnce) {
    const unsigned char* place = first + window * stride;
    std::uint64_t bits = 0;
    for (std::size_t lane = 0; lane < kWindowsAtOnce; lane += kLanes, place += step)
      bits |= test(place) << lane;
    next = WriteHits(bits, window, stride, next);
  }
  for (; window + kLanes <= count && textSize >= window * stride + 4 * kLanes; window += kLanes)
    next = WriteHits(test(first + window * stride), window, stride, next);
  const std::size_t restBegin = window * stride;
  if (window < count && restBegin < textSize) {
    // The rest, from a copy with zeros behind it.
    HWY_ALIGN std::uint8_t rest[12 * kLanes] = {};
    const std::size_t bytes = std::min(textSize - restBegin, 8 * kLanes);
    std::memcpy(rest, first + restBegin, bytes);
    for (std::size_t at = 0; window < count && at < bytes; window += kLanes, at += step) {
      const std::size_t begun = (bytes - at + stride - 1) / stride;
      const std::size_t lanes = std::min({count - window, begun, kLanes});
      const std::uint64_t bits = test(rest + at) & ((std::uint64_t{1} << lanes) - 1);
      next = WriteHits(bits, window, stride, next);
    }
  }
  return static_cast<std::size_t>(next - hits);
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
