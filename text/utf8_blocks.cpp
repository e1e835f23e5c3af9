// A block is as many bytes, one after the other, as a vector has. Beside it the three vectors are
// loaded that begin one, two and three bytes before it, so that each byte has at hand what stands
// before it:
//
//   the block        f   C3  BC  r   _   E2  80  93        f ü r _ –
//   one before           f   C3  BC  r   _   E2  80
//   two before               f   C3  BC  r   _   E2
//
// A character is written where its last byte stands, so a block needs nothing from after it; a
// sequence that goes on after the block is written with the next one.
//
//   last bytes       f       BC  r   _           93
//   their bytes      f       FC  r   _           96
//
// The bytes of the last places are then moved together. Nearly all that German texts hold is ASCII or a
// sequence of two that begins with C2 or C3, of which the byte of the code page is the second byte, with
// one bit more after C3. Next come the signs that typographers set, which begin with E2. The page has
// nine more characters, and the combining marks are few: a block with a sequence that may be one of
// these is left to the decoder of single characters.
//
// Whether all sequences are well-formed is looked up by the halves of two neighbouring bytes, as in
// J. Keiser and D. Lemire, "Validating UTF-8 in less than one instruction per byte" (Software: Practice
// and Experience 51, 2021). Every way in which two neighbours can be wrong is a bit, set in three
// tables: for the upper half of the first byte, its lower half, and the upper half of the second.

#include "text/utf8_blocks.h"

#ifndef TROVEX_USE_HIGHWAY

namespace trovex {

Utf8Blocks ChooseUtf8Blocks() {
  return {};
}

}  // namespace trovex

#else

// The instructions that move bytes together come with this one.
#define HWY_WANT_AVX3_DL
// Vectors whose length is known only at run time cannot be members.
#define HWY_DISABLED_TARGETS (HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128 | HWY_RVV)
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "text/utf8_blocks.cpp"
#include <hwy/foreach_target.h>
// Must come after it.
#include <hwy/highway.h>

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "text/utf8_character.h"

#ifndef TROVEX_TEXT_UTF8_TABLES
#define TROVEX_TEXT_UTF8_TABLES

namespace trovex {
namespace {

using HalfTable = std::array<std::uint8_t, 16>;

/// In two neighbouring bytes, by their halves, what the kinds of faults have in common. The bit of two
/// continuation bytes is no fault where the first is the second of a sequence of three or more, or the
/// third of one of four.
struct FaultTables {
  HalfTable firstHigh{};
  HalfTable firstLow{};
  HalfTable secondHigh{};
};

constexpr void Put(HalfTable& table, unsigned first, unsigned last, unsigned bit) {
  for (unsigned half = first; half <= last; ++half)
    table[half] = static_cast<std::uint8_t>(table[half] | bit);
}

constexpr FaultTables MakeFaultTables() {
  FaultTables tables;
  constexpr unsigned kTooShort = 1, kTooLong = 2, kOverlong2 = 4, kOverlong3 = 8, kSurrogate = 16,
                     kOverlong4 = 32, kTooLarge = 64, kTwoContinuations = 128;

  // A lead with no continuation after it.
  Put(tables.firstHigh, 0xC, 0xF, kTooShort);
  Put(tables.firstLow, 0x0, 0xF, kTooShort);
  Put(tables.secondHigh, 0x0, 0x7, kTooShort);
  Put(tables.secondHigh, 0xC, 0xF, kTooShort);

  // A continuation after ASCII.
  Put(tables.firstHigh, 0x0, 0x7, kTooLong);
  Put(tables.firstLow, 0x0, 0xF, kTooLong);
  Put(tables.secondHigh, 0x8, 0xB, kTooLong);

  Put(tables.firstHigh, 0x8, 0xB, kTwoContinuations);
  Put(tables.firstLow, 0x0, 0xF, kTwoContinuations);
  Put(tables.secondHigh, 0x8, 0xB, kTwoContinuations);

  // C0 or C1, and any continuation.
  Put(tables.firstHigh, 0xC, 0xC, kOverlong2);
  Put(tables.firstLow, 0x0, 0x1, kOverlong2);
  Put(tables.secondHigh, 0x8, 0xB, kOverlong2);

  // E0, and 80 to 9F.
  Put(tables.firstHigh, 0xE, 0xE, kOverlong3);
  Put(tables.firstLow, 0x0, 0x0, kOverlong3);
  Put(tables.secondHigh, 0x8, 0x9, kOverlong3);

  // ED, and A0 to BF.
  Put(tables.firstHigh, 0xE, 0xE, kSurrogate);
  Put(tables.firstLow, 0xD, 0xD, kSurrogate);
  Put(tables.secondHigh, 0xA, 0xB, kSurrogate);

  // F0, and 80 to 8F; the same after F5 to FF, which begin nothing.
  Put(tables.firstHigh, 0xF, 0xF, kOverlong4);
  Put(tables.firstLow, 0x0, 0x0, kOverlong4);
  Put(tables.firstLow, 0x5, 0xF, kOverlong4);
  Put(tables.secondHigh, 0x8, 0x8, kOverlong4);

  // F4 to FF, and 90 to BF.
  Put(tables.firstHigh, 0xF, 0xF, kTooLarge);
  Put(tables.firstLow, 0x4, 0xF, kTooLarge);
  Put(tables.secondHigh, 0x9, 0xB, kTooLarge);
  return tables;
}

constexpr FaultTables kFaults = MakeFaultTables();

/// The characters of the page that begin with E2 80, by the lower half of their third byte: which third
/// byte it is, and the byte of the page. Those from B0 on have tables of their own.
struct SignTables {
  HalfTable third{};
  HalfTable byte{};
  HalfTable thirdFromB0{};
  HalfTable byteFromB0{};
};

constexpr SignTables MakeSignTables() {
  SignTables tables;
  constexpr std::uint8_t kSigns[][2] = {{0x93, 0x96}, {0x94, 0x97}, {0x98, 0x91}, {0x99, 0x92},
                                        {0x9A, 0x82}, {0x9C, 0x93}, {0x9D, 0x94}, {0x9E, 0x84},
                                        {0xA0, 0x86}, {0xA1, 0x87}, {0xA2, 0x95}, {0xA6, 0x85},
                                        {0xB0, 0x89}, {0xB9, 0x8B}, {0xBA, 0x9B}};
  for (const auto& sign : kSigns) {
    const unsigned half = sign[0] & 15U;
    (sign[0] < 0xB0 ? tables.third : tables.thirdFromB0)[half] = sign[0];
    (sign[0] < 0xB0 ? tables.byte : tables.byteFromB0)[half] = sign[1];
  }
  return tables;
}

constexpr SignTables kSigns = MakeSignTables();

/// By the lower half of a lead C4 to CF: it where sequences need looking at closely (Œ œ Š š Ÿ Ž ž, ƒ,
/// ˆ ˜ and the combining marks), else 0.
constexpr HalfTable kCloseLeads = {0, 0, 0, 0, 0, 0xC5, 0xC6, 0, 0, 0, 0, 0xCB, 0xCC, 0, 0, 0};

/// For every choice of eight bytes, a bit for each, the numbers of those chosen.
using HalfOrder = std::array<std::uint8_t, 8>;

struct Orders {
  alignas(8) std::array<HalfOrder, 256> of{};
};

constexpr Orders MakeOrders() {
  Orders orders;
  for (unsigned choice = 0; choice < 256; ++choice) {
    std::size_t count = 0;
    for (unsigned byte = 0; byte < 8; ++byte) {
      if ((choice >> byte & 1) != 0) orders.of[choice][count++] = static_cast<std::uint8_t>(byte);
    }
  }
  return orders;
}

[[maybe_unused]] constexpr Orders kOrders = MakeOrders();

}  // namespace
}  // namespace trovex

#endif  // TROVEX_TEXT_UTF8_TABLES

HWY_BEFORE_NAMESPACE();
namespace trovex {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

Utf8Blocks Choose() {
  return {};
}

#else

namespace hn = hwy::HWY_NAMESPACE;

using Byte = unsigned char;
using D = hn::ScalableTag<Byte>;
using V = hn::Vec<D>;

constexpr std::ptrdiff_t kBlock = static_cast<std::ptrdiff_t>(hn::MaxLanes(D()));
static_assert(kBlock <= static_cast<std::ptrdiff_t>(kUtf8Slack));

HWY_INLINE V Same(unsigned byte) {
  return hn::Set(D(), static_cast<Byte>(byte));
}

HWY_INLINE V Lookup(const HalfTable& table, V halves) {
  return hn::TableLookupBytes(hn::LoadDup128(D(), table.data()), halves);
}

HWY_INLINE V LowHalves(V bytes) {
  return hn::And(bytes, Same(15));
}

/// Whether a byte of `bytes` has its highest bit set.
HWY_INLINE bool HasHighBits(V bytes) {
  const hn::RebindToSigned<D> signedBytes;
  return !hn::AllFalse(signedBytes, hn::Lt(hn::BitCast(signedBytes, bytes), hn::Zero(signedBytes)));
}

HWY_INLINE hn::Mask<D> HighBits(V bytes) {
  const hn::RebindToSigned<D> signedBytes;
  return hn::RebindMask(D(), hn::Lt(hn::BitCast(signedBytes, bytes), hn::Zero(signedBytes)));
}

const Byte* FindNonAscii(const Byte* begin, const Byte* end) {
  const D d;
  const Byte* at = begin;
  for (; end - at >= 4 * kBlock; at += 4 * kBlock) {
    const V first = hn::Or(hn::LoadU(d, at), hn::LoadU(d, at + kBlock));
    const V second = hn::Or(hn::LoadU(d, at + 2 * kBlock), hn::LoadU(d, at + 3 * kBlock));
    if (HasHighBits(hn::Or(first, second))) break;
  }
  for (; end - at >= kBlock; at += kBlock) {
    const auto lane = hn::FindFirstTrue(d, HighBits(hn::LoadU(d, at)));
    if (lane >= 0) return at + lane;
  }
  while (at < end && *at < 0x80)
    ++at;
  return at;
}

/// A block and what stands before each of its bytes.
struct Neighbours {
  explicit HWY_INLINE Neighbours(const Byte* at)
      : bytes(hn::LoadU(D(), at)),
        before(hn::LoadU(D(), at - 1)),
        twoBefore(hn::LoadU(D(), at - 2)),
        threeBefore(hn::LoadU(D(), at - 3)) {}

  V bytes;
  V before;
  V twoBefore;
  V threeBefore;
};

/// Not zero where two neighbours cannot be in a text.
HWY_INLINE V Faults(const Neighbours& block) {
  const V kinds = hn::And(hn::And(Lookup(kFaults.firstHigh, hn::ShiftRight<4>(block.before)),
                                  Lookup(kFaults.firstLow, LowHalves(block.before))),
                          Lookup(kFaults.secondHigh, hn::ShiftRight<4>(block.bytes)));
  // The highest bit where a second or third continuation must stand.
  const V third = hn::SaturatedSub(block.twoBefore, Same(0xE0 - 0x80));
  const V fourth = hn::SaturatedSub(block.threeBefore, Same(0xF0 - 0x80));
  return hn::Xor(kinds, hn::And(hn::Or(third, fourth), Same(0x80)));
}

/// Whether a sequence begins in `bytes` that needs looking at closely.
HWY_INLINE bool NeedsCloseLook(V bytes) {
  const hn::Mask<D> isHigherPair = hn::Lt(hn::Sub(bytes, Same(0xC4)), Same(0xE0 - 0xC4));
  if (HWY_LIKELY(hn::AllFalse(D(), isHigherPair))) return false;
  const V leads = Lookup(kCloseLeads, LowHalves(bytes));
  return !hn::AllFalse(D(), hn::And(isHigherPair, hn::Eq(bytes, leads)));
}

/// `decoded`, with the signs put in that begin with E2.
HWY_INLINE V PutSigns(const Neighbours& block, hn::Mask<D> afterE2, V decoded) {
  const hn::Mask<D> after80 = hn::And(afterE2, hn::Eq(block.before, Same(0x80)));
  const V low = LowHalves(block.bytes);
  const auto isSign = hn::And(after80, hn::Eq(block.bytes, Lookup(kSigns.third, low)));
  decoded = hn::IfThenElse(isSign, Lookup(kSigns.byte, low), decoded);
  const auto isFromB0 = hn::And(after80, hn::Eq(block.bytes, Lookup(kSigns.thirdFromB0, low)));
  decoded = hn::IfThenElse(isFromB0, Lookup(kSigns.byteFromB0, low), decoded);

  const auto isEuro = hn::And(hn::Eq(block.before, Same(0x82)), hn::Eq(block.bytes, Same(0xAC)));
  decoded = hn::IfThenElse(hn::And(afterE2, isEuro), Same(0x80), decoded);
  const auto isTrade = hn::And(hn::Eq(block.before, Same(0x84)), hn::Eq(block.bytes, Same(0xA2)));
  return hn::IfThenElse(hn::And(afterE2, isTrade), Same(0x99), decoded);
}

/// Where characters end, their bytes of the code page.
HWY_INLINE V DecodeEnds(const Neighbours& block, V substitute) {
  const V bytes = block.bytes;
  V decoded = hn::IfThenElse(HighBits(bytes), substitute, bytes);
  const auto afterC3 = hn::Eq(block.before, Same(0xC3));
  decoded = hn::IfThenElse(afterC3, hn::Or(bytes, Same(0x40)), decoded);
  const auto afterC2 = hn::And(hn::Eq(block.before, Same(0xC2)), hn::Gt(bytes, Same(0x9F)));
  decoded = hn::IfThenElse(afterC2, bytes, decoded);
  const auto afterE2 = hn::Eq(block.twoBefore, Same(0xE2));
  if (!hn::AllFalse(D(), afterE2)) decoded = PutSigns(block, afterE2, decoded);
  return decoded;
}

/// Which bytes have more of their sequence after them: leads, the second of three or four, the third
/// of four.
HWY_INLINE hn::Mask<D> GoesOn(const Neighbours& block) {
  const V lead = hn::SaturatedSub(block.bytes, Same(0xC0 - 0x80));
  const V second = hn::SaturatedSub(block.before, Same(0xE0 - 0x80));
  const V third = hn::SaturatedSub(block.twoBefore, Same(0xF0 - 0x80));
  return HighBits(hn::Or(hn::Or(lead, second), third));
}

/// Whether `kCount` blocks at `at` are ASCII and nothing goes on in them; they are then copied.
template <std::ptrdiff_t kCount>
HWY_INLINE bool CopyAscii(const Byte* at, Byte* out) {
  V any = hn::LoadU(D(), at);
  for (std::ptrdiff_t i = 1; i < kCount; ++i)
    any = hn::Or(any, hn::LoadU(D(), at + i * kBlock));
  if (at[-1] >= 0x80 || HasHighBits(any)) return false;
  for (std::ptrdiff_t i = 0; i < kCount; ++i)
    hn::StoreU(hn::LoadU(D(), at + i * kBlock), D(), out + i * kBlock);
  return true;
}

#if HWY_TARGET <= HWY_AVX3_DL

/// Whether it costs little to move bytes together; else it pays to ask of every block whether it must
/// be done.
constexpr bool kMovesCheaply = true;

/// Writes those of `bytes` that `isWritten` has, and returns where they end.
HWY_INLINE Byte* WriteTogether(V bytes, hn::Mask<D> isWritten, Byte* out) {
  hn::StoreU(hn::Compress(bytes, isWritten), D(), out);
  return out + hn::CountTrue(D(), isWritten);
}

#else

constexpr bool kMovesCheaply = false;

/// The same eight bytes at a time. Where each eight go is counted from the beginning, so that none has
/// to wait for the ones before it.
HWY_INLINE Byte* WriteTogether(V bytes, hn::Mask<D> isWritten, Byte* out) {
  const hn::FixedTag<Byte, 8> d8;
  HWY_ALIGN Byte lanes[kBlock];
  hn::Store(bytes, D(), lanes);
  std::uint8_t maskBytes[8] = {};
  hn::StoreMaskBits(D(), isWritten, maskBytes);
  std::uint64_t mask = 0;
  std::memcpy(&mask, maskBytes, sizeof mask);

  std::uint64_t before = 0;
  for (std::ptrdiff_t i = 0; i < kBlock; i += 8) {
    const HalfOrder& order = kOrders.of[mask >> i & 0xFF];
    const auto eight = hn::TableLookupBytes(hn::Load(d8, lanes + i), hn::Load(d8, order.data()));
    hn::StoreU(eight, d8, out + std::popcount(mask & before));
    before = before << 8 | 0xFF;
  }
  return out + std::popcount(mask);
}

#endif

/// Decodes the block at `at`; null when it has to be looked at closely.
HWY_INLINE Byte* DecodeBlock(const Byte* at, V substitute, Byte* out) {
  if (!kMovesCheaply && CopyAscii<1>(at, out)) return out + kBlock;
  const Neighbours block(at);
  const bool isFaulty = !hn::AllTrue(D(), hn::Eq(Faults(block), hn::Zero(D())));
  if (HWY_UNLIKELY(isFaulty) || HWY_UNLIKELY(NeedsCloseLook(block.bytes))) return nullptr;
  return WriteTogether(DecodeEnds(block, substitute), hn::Not(GoesOn(block)), out);
}

/// The beginning of what goes on at `at` and has not been written, or `at`.
HWY_INLINE const Byte* BackToBoundary(const Byte* at) {
  for (std::ptrdiff_t back = 1; back <= 3; ++back) {
    const Byte byte = at[-back];
    if (IsContinuation(byte)) continue;
    const std::ptrdiff_t length = byte < 0xC0 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
    return length > back ? at - back : at;
  }
  return at;
}

bool Decode(Utf8Decoding& decoding, const Byte* stop) {
  const V substitute = hn::Set(D(), decoding.substitute);
  const Byte* at = decoding.at;
  Byte* out = decoding.out;
  bool isDecoded = true;
  while (isDecoded && stop - at >= kBlock) {
    const std::ptrdiff_t blocks = stop - at >= 4 * kBlock ? 4 : 1;
    if (blocks == 4 && CopyAscii<4>(at, out)) {
      at += 4 * kBlock;
      out += 4 * kBlock;
      continue;
    }
    for (std::ptrdiff_t i = 0; i < blocks; ++i) {
      Byte* const written = DecodeBlock(at, substitute, out);
      isDecoded = written != nullptr;
      if (!isDecoded) break;
      at += kBlock;
      out = written;
    }
  }
  decoding.at = BackToBoundary(at);
  decoding.out = out;
  return isDecoded;
}

/// Whether nothing in the blocks at `at`, `kCount` of them, is wrong, nor a combining mark.
template <std::ptrdiff_t kCount>
HWY_INLINE bool AreRegular(const Byte* at) {
  V wrong = hn::Zero(D());
  for (std::ptrdiff_t i = 0; i < kCount; ++i) {
    const Neighbours block(at + i * kBlock);
    const auto isMark = hn::Eq(block.bytes, Same(0xC0 | kFirstMark >> 6));
    wrong = hn::Or(wrong, hn::Or(Faults(block), hn::VecFromMask(D(), isMark)));
  }
  return hn::AllTrue(D(), hn::Eq(wrong, hn::Zero(D())));
}

const Byte* PassRegular(const Byte* at, const Byte* stop) {
  constexpr std::ptrdiff_t kMany = 4;
  while (stop - at >= kMany * kBlock && AreRegular<kMany>(at))
    at += kMany * kBlock;
  while (stop - at >= kBlock && AreRegular<1>(at))
    at += kBlock;
  return BackToBoundary(at);
}

Utf8Blocks Choose() {
  return {&FindNonAscii, &Decode, &PassRegular};
}

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace trovex
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace trovex {

HWY_EXPORT(Choose);

Utf8Blocks ChooseUtf8Blocks() {
  return HWY_DYNAMIC_DISPATCH(Choose)();
}

}  // namespace trovex

#endif  // HWY_ONCE
#endif  // TROVEX_USE_HIGHWAY
