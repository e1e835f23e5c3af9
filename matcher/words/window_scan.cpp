// One loop for all machines. A vector's lanes are the first four bytes of as many windows, side by side:
//
//   bytes of the text, loaded at once     G a r t e n h a u s ...
//   stride 3                              Gart  tenh  haus  ...
//
// Bytes move within sixteen bytes only, so words of four bytes are first moved to where their windows are
// made: windows that begin less than sixteen bytes after one another take 4 * stride bytes of the text.

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
// Must come after it.
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace trovex {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

bool GathersFast() {
  return HWY_TARGET <= HWY_AVX3;
}

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

FindWindows Choose(const WindowTable& /*table*/) {
  return &FindWindowsPlainly;
}

TestWindows ChooseTest(const WindowTable& /*table*/) {
  return &TestWindowsPlainly;
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
    return Test(hn::LoadU(Bytes(), place));
  }

  /// The same where only `size` bytes can be read; what is behind them counts as zeros.
  HWY_INLINE std::uint64_t operator()(const std::uint8_t* place, std::size_t size) const {
#if HWY_TARGET <= HWY_AVX3
    return Test(hn::MaskedLoad(hn::FirstN(Bytes(), std::min(size, 4 * kLanes)), Bytes(), place));
#else
    HWY_ALIGN std::uint8_t copy[4 * kLanes] = {};
    std::memcpy(copy, place, std::min(size, 4 * kLanes));
    return Test(hn::Load(Bytes(), copy));
#endif
  }

 private:
  HWY_INLINE std::uint64_t Test(hn::Vec<Bytes> bytes) const {
    const auto text = hn::BitCast(Words(), bytes);
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

template <bool kIsLong>
std::size_t Find(const WindowTable& table, const unsigned char* first, std::size_t count,
                 const unsigned char* end, std::uint32_t* const hits) {
  const WindowTest<kIsLong> test(table);
  const std::size_t stride = table.stride;
  const auto textSize = static_cast<std::size_t>(end - first);
  // How far the windows of one test lie from those of the next, and how much those that are written together
  // read.
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
  for (; window < count && window * stride < textSize; window += kLanes) {
    const std::size_t size = textSize - window * stride;
    const std::size_t lanes = std::min({count - window, (size + stride - 1) / stride, kLanes});
    const std::uint64_t bits =
        test(first + window * stride, size) & ((std::uint64_t{1} << lanes) - 1);
    next = WriteHits(bits, window, stride, next);
  }
  return static_cast<std::size_t>(next - hits);
}

template <bool kIsLong>
std::uint64_t TestFew(const WindowTable& table, const unsigned char* first, std::size_t count,
                      const unsigned char* end) {
  const WindowTest<kIsLong> test(table);
  const auto textSize = static_cast<std::size_t>(end - first);
  std::uint64_t bits = 0;
  for (std::size_t window = 0; window < count; window += kLanes) {
    const std::size_t offset = window * table.stride;
    bits |= test(first + offset, textSize - offset) << window;
  }
  return bits & FirstBits(count);
}

FindWindows Choose(const WindowTable& table) {
  return table.length > 4 ? &Find<true> : &Find<false>;
}

TestWindows ChooseTest(const WindowTable& table) {
  return table.length > 4 ? &TestFew<true> : &TestFew<false>;
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

HWY_EXPORT(GathersFast);
HWY_EXPORT(Choose);
HWY_EXPORT(ChooseTest);

bool MachineGathersFast() {
  return HWY_DYNAMIC_DISPATCH(GathersFast)();
}

FindWindows ChooseWindowScan(const WindowTable& table) {
  return HWY_DYNAMIC_DISPATCH(Choose)(table);
}

TestWindows ChooseWindowTest(const WindowTable& table) {
  return HWY_DYNAMIC_DISPATCH(ChooseTest)(table);
}

#else

bool MachineGathersFast() {
  return false;
}

FindWindows ChooseWindowScan(const WindowTable& /*table*/) {
  return &FindWindowsPlainly;
}

TestWindows ChooseWindowTest(const WindowTable& /*table*/) {
  return &TestWindowsPlainly;
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

std::uint64_t TestWindowsPlainly(const WindowTable& table, const unsigned char* first,
                                 std::size_t count, const unsigned char* end) {
  std::uint64_t bits = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const bool has = table.Has(table.At<false>(first + i * table.stride, end));
    bits |= static_cast<std::uint64_t>(has) << i;
  }
  return bits;
}

}  // namespace trovex

#endif
