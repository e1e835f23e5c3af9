// One loop for all probes and all machines.
//
// A block is as many places, one after the other, as a vector has bytes. To test it for one probe,
// the bytes at the probe's offset from these places are loaded as one vector:
//
//   places     p   p+1  p+2  p+3 ...        two probes: 'c' at offset 0 and 'h' at offset 1
//   offset 0   S    c    h    r  ...        c at p+1
//   offset 1   c    h    r    i  ...        h at p+1: both hold at p+1
//
// Sets of the form (c & mask) == value are tested by comparing, ranges by two subtractions, of which the
// second stops at zero. Other sets are looked up in two
// tables of sixteen bytes, one for each half of the byte: the upper half gives the kind of byte,
// one bit, and the lower half the kinds that the set has bytes of.
//
//   the set 0-9, A, a, b   upper half 3: bit 0    lower half 0: bit 0          1: bits 0, 1, 2
//                          upper half 4: bit 1               2: bits 0, 2      3 to 9: bit 0
//                          upper half 6: bit 2               all others: none
//
// With several alternatives a bit stands for each of them instead, and what all probes leave of the
// bits are the alternatives that hold at a place.
//
// x86 looks up a byte below 128 by its lower half as it is, and nothing for any other one: where that refuses enough of
// the places, the upper halves are not looked at.
//
// The loop tests four blocks and looks at them only when one has a place where all probes hold. It
// stands here once and is compiled once for every instruction set; which of them a machine has is
// asked when a scan is made.

#include "matcher/scan/vector_scan.h"

#include "matcher/tuning.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

#ifndef TROVEX_USE_HIGHWAY

namespace trovex {

VectorScan ChooseVectorScan(const ScanTables& /*tables*/) {
  return {};
}

bool AreLowHalvesFast() {
  return false;
}

VectorFacts VectorsInUse() {
  return {"none", ""};
}

}  // namespace trovex

#else

// Vectors whose length is known only at run time cannot be members.
#define HWY_DISABLED_TARGETS (HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128 | HWY_RVV)
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "matcher/scan/vector_scan.cpp"
#include <hwy/foreach_target.h>
// Must come after it.
#include <hwy/highway.h>
#include "matcher/scan/few_bytes-inl.h"
#include "matcher/scan/mask_bits-inl.h"

HWY_BEFORE_NAMESPACE();
namespace trovex {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

using Byte = unsigned char;

constexpr std::ptrdiff_t kChunk = HitBatch::kChunk;
/// As many as a window has, and one that is not written.
constexpr std::size_t kChunksAtOnce = static_cast<std::size_t>(kMostPlacesAtOnce) / kChunk + 1;

/// Has the line of memory brought nearer that comes a while after `place`. What lies after the text's end does no
/// harm.
[[maybe_unused]] HWY_INLINE void FetchLineAhead(std::uintptr_t place) {
  constexpr std::uintptr_t kAhead = 4096;
  __builtin_prefetch(reinterpret_cast<const void*>(place + kAhead));
}

/// The same for all that four vectors from `block` on take.
template <class D>
HWY_INLINE void FetchAhead(const Byte* block) {
  constexpr std::uintptr_t kLine = 64;
  for (std::uintptr_t at = 0; at < 4 * hn::MaxLanes(D()); at += kLine)
    FetchLineAhead(reinterpret_cast<std::uintptr_t>(block) + at);
}

// The tests take a block by the place where it begins, or as FewPlaces.

/// What tests of `kCount` probes have in common: where the bytes stand, and whether a result has a zero where all probes
/// hold, or where none does.
template <class D, int kCount, bool kHitsAreZeros>
class BlockTest {
 public:
  using V = hn::Vec<D>;

  /// A result that has hits if `a` or `b` has.
  static HWY_INLINE V Either(V a, V b) { return kHitsAreZeros ? hn::Min(a, b) : hn::Or(a, b); }
  static HWY_INLINE hn::Mask<D> Hits(V result) {
    const V zero = hn::Zero(D());
    return kHitsAreZeros ? hn::Eq(result, zero) : hn::Ne(result, zero);
  }

 protected:
  explicit HWY_INLINE BlockTest(const ScanTables& tables) {
    for (std::size_t i = 0; i < kCount; ++i)
      offsets_[i] = tables.offsets[i];
  }

  /// The bytes that probe `i` looks at.
  template <class Place>
  HWY_INLINE V BytesFor(Place place, std::size_t i) const {
    return BytesOf<D>(place + offsets_[i]);
  }

 private:
  std::ptrdiff_t offsets_[kCount];
};

/// Tests blocks for sets of the form (c & mask) == value.
template <class D, int kCount, bool kAreBytes>
class MaskedTest : public BlockTest<D, kCount, true> {
 public:
  using V = hn::Vec<D>;

  explicit HWY_INLINE MaskedTest(const ScanTables& tables) : BlockTest<D, kCount, true>(tables) {
    for (std::size_t i = 0; i < kCount; ++i) {
      values_[i] = hn::Set(D(), tables.values[i]);
      masks_[i] = hn::Set(D(), tables.masks[i]);
    }
  }

  template <class Place>
  HWY_INLINE V operator()(Place place) const {
    V differs = Difference(place, 0);
    for (std::size_t i = 1; i < kCount; ++i)
      differs = hn::Or(differs, Difference(place, i));
    return differs;
  }

 private:
  template <class Place>
  HWY_INLINE V Difference(Place place, std::size_t i) const {
    const V bits = hn::Xor(this->BytesFor(place, i), values_[i]);
    return kAreBytes ? bits : hn::And(bits, masks_[i]);
  }

  V values_[kCount];
  V masks_[kCount];
};

/// The same for ranges.
template <class D, int kCount, bool kAreMasked>
class RangeTest : public BlockTest<D, kCount, true> {
 public:
  using V = hn::Vec<D>;

  explicit HWY_INLINE RangeTest(const ScanTables& tables) : BlockTest<D, kCount, true>(tables) {
    for (std::size_t i = 0; i < kCount; ++i) {
      masks_[i] = hn::Set(D(), tables.masks[i]);
      values_[i] = hn::Set(D(), tables.values[i]);
      widths_[i] = hn::Set(D(), tables.widths[i]);
    }
  }

  template <class Place>
  HWY_INLINE V operator()(Place place) const {
    V outside = Excess(place, 0);
    for (std::size_t i = 1; i < kCount; ++i)
      outside = hn::Or(outside, Excess(place, i));
    return outside;
  }

 private:
  /// By how much the bytes lie above the range; below it, they lie far above.
  template <class Place>
  HWY_INLINE V Excess(Place place, std::size_t i) const {
    const V bytes = this->BytesFor(place, i);
    const V masked = kAreMasked ? hn::And(bytes, masks_[i]) : bytes;
    return hn::SaturatedSub(hn::Sub(masked, values_[i]), widths_[i]);
  }

  V masks_[kCount];
  V values_[kCount];
  V widths_[kCount];
};

/// Tests blocks for any sets, or for alternatives.
template <class D, int kCount, bool kAreAlternatives>
class NibbleTest : public BlockTest<D, kCount, false> {
 public:
  using V = hn::Vec<D>;

  explicit HWY_INLINE NibbleTest(const ScanTables& tables) : BlockTest<D, kCount, false>(tables) {
    for (std::size_t i = 0; i < kCount; ++i) {
      high_[i] = hn::LoadDup128(D(), tables.high[i].data());
      low_[i] = hn::LoadDup128(D(), tables.low[i].data());
    }
  }

  template <class Place>
  HWY_INLINE V operator()(Place place) const {
    V bits = Bits(place, 0);
    for (std::size_t i = 1; i < kCount; ++i) {
      const V others = Bits(place, i);
      bits = kAreAlternatives ? hn::And(bits, others) : hn::Min(bits, others);
    }
    return bits;
  }

 private:
  template <class Place>
  HWY_INLINE V Bits(Place place, std::size_t i) const {
    const V bytes = this->BytesFor(place, i);
    const V low = hn::And(bytes, hn::Set(D(), 15));
    const V high = hn::ShiftRight<4>(bytes);
    return hn::And(hn::TableLookupBytes(low_[i], low), hn::TableLookupBytes(high_[i], high));
  }

  V high_[kCount];
  V low_[kCount];
};

/// The lower halves are looked up with the bytes as they are. Wider vectors have other ways, and are not measured.
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_SSE4 || HWY_TARGET == HWY_SSSE3
constexpr bool kAreLowHalvesFast = true;
#else
constexpr bool kAreLowHalvesFast = false;
#endif

/// Tests blocks for alternatives by the lower halves of bytes.
template <class D, int kCount>
class LowHalfTest : public BlockTest<D, kCount, false> {
 public:
  using V = hn::Vec<D>;

  explicit HWY_INLINE LowHalfTest(const ScanTables& tables) : BlockTest<D, kCount, false>(tables) {
    for (std::size_t i = 0; i < kCount; ++i) {
      low_[i] = hn::LoadDup128(D(), tables.low[i].data());
    }
  }

  template <class Place>
  HWY_INLINE V operator()(Place place) const {
    V bits = Bits(place, 0);
    for (std::size_t i = 1; i < kCount; ++i)
      bits = hn::And(bits, Bits(place, i));
    return bits;
  }

 private:
  template <class Place>
  HWY_INLINE V Bits(Place place, std::size_t i) const {
    const V bytes = this->BytesFor(place, i);
    if constexpr (kAreLowHalvesFast) return hn::TableLookupBytes(low_[i], bytes);
    return hn::TableLookupBytes(low_[i], hn::And(bytes, hn::Set(D(), 15)));
  }

  V low_[kCount];
};

// The tests as kinds, so that a search can make one for every length of vector.

template <int kCount, bool kAreBytes>
struct Masked {
  template <class D>
  using Test = MaskedTest<D, kCount, kAreBytes>;
};

template <int kCount, bool kAreMasked>
struct Ranges {
  template <class D>
  using Test = RangeTest<D, kCount, kAreMasked>;
};

template <int kCount, bool kAreAlternatives>
struct Nibbles {
  template <class D>
  using Test = NibbleTest<D, kCount, kAreAlternatives>;
};

template <int kCount>
struct LowHalves {
  template <class D>
  using Test = LowHalfTest<D, kCount>;
};

using LongestBlock = hn::ScalableTag<Byte>;

template <class D>
constexpr std::ptrdiff_t SizeOf(D d) {
  return static_cast<std::ptrdiff_t>(hn::MaxLanes(d));
}

/// The first place with a hit of the block at `block`, or null.
template <class D, class Test>
HWY_INLINE const Byte* FirstHit(const Test& /*test*/, const Byte* block, hn::Vec<D> result) {
  const auto lane = hn::FindFirstTrue(D(), Test::Hits(result));
  return lane < 0 ? nullptr : block + lane;
}

// Hits as bits: bit i is a hit at the i-th place of a chunk.

/// The hits of as many places as a vector of `D` has.
template <class D, class Test>
HWY_INLINE std::uint64_t BitsOf(const Test& /*test*/, hn::Vec<D> result) {
  return BitsOfMask<D>(Test::Hits(result));
}

/// The hits of `places` places, no more than a chunk has.
template <class Kind>
HWY_INLINE std::uint64_t BitsOfPlaces(const ScanTables& tables, const Byte* begin,
                                      std::ptrdiff_t places) {
  using D = LongestBlock;
  static_assert(kChunk == 64);
  const typename Kind::template Test<D> test(tables);
  return BitsOfUpTo64<D>(begin, places, [&](auto block) { return BitsOf<D>(test, test(block)); });
}

/// Searches places of which there are at least as many as a block has.
template <class Kind, class D>
HWY_INLINE const Byte* FindInManyBlocks(const ScanTables& tables, const Byte* begin,
                                        std::ptrdiff_t places) {
  constexpr std::ptrdiff_t kBlock = SizeOf(D());
  using Test = typename Kind::template Test<D>;
  const Test test(tables);
  const Byte* const last = begin + (places - kBlock);
  const Byte* block = begin;

  // Where hits are close together, the first block has one.
  if (const Byte* const hit = FirstHit<D>(test, block, test(block))) return hit;
  for (block += kBlock; last - block >= 3 * kBlock; block += 4 * kBlock) {
    FetchAhead<D>(block);
    const auto first = test(block);
    const auto second = test(block + kBlock);
    const auto third = test(block + 2 * kBlock);
    const auto fourth = test(block + 3 * kBlock);
    const auto any = Test::Either(Test::Either(first, second), Test::Either(third, fourth));
    if (hn::AllFalse(D(), Test::Hits(any))) continue;
    if (const Byte* const hit = FirstHit<D>(test, block, first)) return hit;
    if (const Byte* const hit = FirstHit<D>(test, block + kBlock, second)) return hit;
    if (const Byte* const hit = FirstHit<D>(test, block + 2 * kBlock, third)) return hit;
    return FirstHit<D>(test, block + 3 * kBlock, fourth);
  }
  for (; block < last; block += kBlock) {
    if (const Byte* const hit = FirstHit<D>(test, block, test(block))) return hit;
  }
  return FirstHit<D>(test, last, test(last));
}

template <class Kind>
const Byte* Find(const ScanTables& tables, const Byte* begin, const Byte* end) {
  const std::ptrdiff_t places = end - begin - tables.reach;
  if (places <= kChunk) {
    // All at once: in short texts nobody can guess which block has a hit.
    const std::uint64_t hits = BitsOfPlaces<Kind>(tables, begin, places);
    return hits != 0 ? begin + std::countr_zero(hits) : nullptr;
  }
  return FindInManyBlocks<Kind, LongestBlock>(tables, begin, places);
}

/// Of hits, it matters here neither where they are nor how many.
template <class Kind>
bool MayFind(const ScanTables& tables, const Byte* begin, const Byte* end) {
  using D = LongestBlock;
  constexpr std::ptrdiff_t kBlock = SizeOf(D());
  using Test = typename Kind::template Test<D>;
  const std::ptrdiff_t places = end - begin - tables.reach;
  if (places < kBlock) return BitsOfPlaces<Kind>(tables, begin, places) != 0;
  const Test test(tables);
  // The last two blocks may overlap.
  const Byte* const last = begin + (places - kBlock);
  auto any = test(last);
  for (; begin < last; begin += kBlock)
    any = Test::Either(any, test(begin));
  return !hn::AllFalse(D(), Test::Hits(any));
}

/// The hits of the whole chunk at `block`.
template <class D, class Test>
HWY_INLINE std::uint64_t ChunkBits(const Test& test, const Byte* block) {
  std::uint64_t bits = 0;
  for (std::ptrdiff_t at = 0; at < kChunk; at += SizeOf(D()))
    bits |= BitsOf<D>(test, test(block + at)) << at;
  return bits;
}

/// Writes the hits of a chunk, whose first place is `at` places after the base. Returns where the next one
/// goes.
[[maybe_unused]] HWY_INLINE std::uint16_t* WriteHits(std::uint64_t bits, std::ptrdiff_t at,
                                                     std::uint16_t* hits) {
  constexpr int kAtOnce = 4;
  // So that there is a bit in any case: a compiler would make a branch of the question.
  constexpr std::uint64_t kLastPlace = std::uint64_t{1} << (kChunk - 1);
  std::uint16_t* const end = hits + std::popcount(bits);
  // Without a branch for each, or for whether there are any: what is too much is written over by the next
  // chunk.
  do {
    for (int i = 0; i < kAtOnce; ++i, bits &= bits - 1)
      hits[i] = static_cast<std::uint16_t>(at + std::countr_zero(bits | kLastPlace));
    hits += kAtOnce;
  } while (bits != 0);
  return end;
}

/// The hits of `places` places, fewer than a chunk has.
template <class Kind>
bool HitsOfFewPlaces(const ScanTables& tables, const Byte* begin, std::ptrdiff_t places,
                     HitBatch& batch) {
  const std::uint64_t bits = BitsOfPlaces<Kind>(tables, begin, places);
  batch.base = begin;
  batch.tested = begin + places;
  batch.count =
      static_cast<std::size_t>(WriteHits(bits, 0, batch.offsets.data()) - batch.offsets.data());
  return bits != 0;
}

/// The first chunk from `chunk` on, which is not after `last`, that has a hit, or `last`.
template <class Test>
HWY_INLINE const Byte* FirstChunk(const Test& test, const Byte* chunk, const Byte* last) {
  using D = LongestBlock;
  // Where hits are close together, the first chunk has one.
  if (ChunkBits<D>(test, chunk) != 0) return chunk;
  for (chunk += kChunk; last - chunk >= 3 * SizeOf(D()); chunk += 4 * SizeOf(D())) {
    FetchAhead<D>(chunk);
    const auto first = test(chunk);
    const auto second = test(chunk + SizeOf(D()));
    const auto third = test(chunk + 2 * SizeOf(D()));
    const auto fourth = test(chunk + 3 * SizeOf(D()));
    const auto any = Test::Either(Test::Either(first, second), Test::Either(third, fourth));
    if (!hn::AllFalse(D(), Test::Hits(any))) break;
  }
  while (chunk < last && ChunkBits<D>(test, chunk) == 0)
    chunk += kChunk;
  return chunk < last ? chunk : last;
}

template <class Kind>
bool FindBatch(const ScanTables& tables, const Byte* begin, const Byte* end, std::ptrdiff_t window,
               HitBatch& batch) {
  using D = LongestBlock;
  using Test = typename Kind::template Test<D>;
  const std::ptrdiff_t places = end - begin - tables.reach;
  if (places < kChunk) return HitsOfFewPlaces<Kind>(tables, begin, places, batch);
  const Test test(tables);
  const Byte* const last = begin + (places - kChunk);
  const Byte* chunk = FirstChunk(test, begin, last);
  const Byte* const base = chunk;
  const Byte* const stop = last - chunk < window ? last : chunk + window;
  // First all chunks, then the hits of those that have some: a processor that asks after each chunk guesses
  // wrong for nearly every hit.
  std::array<std::uint64_t, kChunksAtOnce> hitsOf;
  std::array<std::ptrdiff_t, kChunksAtOnce> startOf;
  std::size_t filled = 0;
  std::size_t count = 0;
  for (; chunk < stop && count <= kMostHits - kChunk; chunk += kChunk) {
    FetchLineAhead(reinterpret_cast<std::uintptr_t>(chunk));
    hitsOf[filled] = ChunkBits<D>(test, chunk);
    startOf[filled] = chunk - base;
    count += static_cast<std::size_t>(std::popcount(hitsOf[filled]));
    filled += hitsOf[filled] != 0 ? 1 : 0;
  }
  std::uint16_t* hits = batch.offsets.data();
  for (std::size_t i = 0; i < filled; ++i)
    hits = WriteHits(hitsOf[i], startOf[i], hits);
  batch.tested = chunk;
  if (chunk >= last) {
    // Of the last chunk, what was not tested yet.
    if (chunk - last < kChunk)
      hits = WriteHits(ChunkBits<D>(test, last) >> (chunk - last), chunk - base, hits);
    batch.tested = last + kChunk;
  }
  batch.base = base;
  batch.count = static_cast<std::size_t>(hits - batch.offsets.data());
  return batch.count > 0;
}

/// Where the tables let some bytes too many pass, every hit is looked at once more.
template <class Kind>
const Byte* FindAndConfirm(const ScanTables& tables, const Byte* begin, const Byte* end) {
  const Byte* place = Find<Kind>(tables, begin, end);
  while (place != nullptr && tables.AlternativesAt(place) == 0)
    place = Find<Kind>(tables, place + 1, end);
  return place;
}

template <class Kind>
VectorScan ChooseInexact(const ScanTables& tables) {
  return {tables.isExact ? &Find<Kind> : &FindAndConfirm<Kind>, &MayFind<Kind>, &FindBatch<Kind>};
}

template <class Kind>
VectorScan ChooseMasked() {
  return {&Find<Kind>, &MayFind<Kind>, &FindBatch<Kind>};
}

template <int kCount>
VectorScan ChooseAmong(const ScanTables& tables) {
  switch (tables.form) {
    case ScanForm::kBytes:
      return ChooseMasked<Masked<kCount, true>>();
    case ScanForm::kMasked:
      return ChooseMasked<Masked<kCount, false>>();
    case ScanForm::kRanges: {
      const auto end = tables.masks.begin() + kCount;
      const bool areMasked =
          std::any_of(tables.masks.begin(), end, [](auto m) { return m != 255; });
      return areMasked ? ChooseInexact<Ranges<kCount, true>>(tables)
                       : ChooseInexact<Ranges<kCount, false>>(tables);
    }
    case ScanForm::kKinds:
      return ChooseInexact<Nibbles<kCount, false>>(tables);
    case ScanForm::kAlternatives:
      return ChooseInexact<Nibbles<kCount, true>>(tables);
    case ScanForm::kLowHalves:
      return ChooseInexact<LowHalves<kCount>>(tables);
  }
  return {};
}

VectorScan Choose(const ScanTables& tables) {
#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128
  (void)tables;
  return {};
#else
  static_assert(kMaxProbes == 4);
  switch (tables.count) {
    case 1:
      return ChooseAmong<1>(tables);
    case 2:
      return ChooseAmong<2>(tables);
    case 3:
      return ChooseAmong<3>(tables);
    default:
      return ChooseAmong<4>(tables);
  }
#endif
}

bool LowHalvesAreFast() {
  return kAreLowHalvesFast;
}

const char* Instructions() {
#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128
  return "none";
#elif defined(HWY_AVX3) && HWY_TARGET <= HWY_AVX3
  return "AVX-512";
#else
  return hwy::TargetName(HWY_TARGET);
#endif
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace trovex
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace trovex {

HWY_EXPORT(Choose);

VectorScan ChooseVectorScan(const ScanTables& tables) {
  return HWY_DYNAMIC_DISPATCH(Choose)(tables);
}

HWY_EXPORT(LowHalvesAreFast);

bool AreLowHalvesFast() {
  return HWY_DYNAMIC_DISPATCH(LowHalvesAreFast)();
}

HWY_EXPORT(Instructions);

VectorFacts VectorsInUse() {
#define TROVEX_TEXT_OF(number) #number
#define TROVEX_VERSION_OF(major, minor, patch) \
  TROVEX_TEXT_OF(major) "." TROVEX_TEXT_OF(minor) "." TROVEX_TEXT_OF(patch)
  return {HWY_DYNAMIC_DISPATCH(Instructions)(),
          "Highway " TROVEX_VERSION_OF(HWY_MAJOR, HWY_MINOR, HWY_PATCH)};
}

}  // namespace trovex

#endif  // HWY_ONCE
#endif  // TROVEX_USE_HIGHWAY
