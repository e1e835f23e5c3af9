// A vector's lanes are places, wherever they lie: their bytes are gathered from the text, and what may follow from
// the table. Where the machine has no instruction for that, one place after the other is looked at.

#include "matcher/words/beginning_scan.h"

#include <algorithm>

#ifdef TROVEX_USE_HIGHWAY

// Vectors whose length is known only at run time are not needed here.
#define HWY_DISABLED_TARGETS (HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128 | HWY_RVV)
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "matcher/words/beginning_scan.cpp"
#include <hwy/foreach_target.h>
// Must come after it.
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace trovex {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET != HWY_AVX2 && HWY_TARGET != HWY_AVX3 && HWY_TARGET != HWY_AVX3_DL && \
    HWY_TARGET != HWY_AVX3_ZEN4 && HWY_TARGET != HWY_AVX3_SPR

FindBeginnings Choose(const FollowerTable& /*table*/) {
  return &FindBeginningsPlainly;
}

#else

namespace hn = hwy::HWY_NAMESPACE;

using Words = hn::ScalableTag<std::uint32_t>;
using V = hn::Vec<Words>;
using Indices = hn::RebindToSigned<Words>;

constexpr std::size_t kLanes = hn::MaxLanes(Words());
static_assert(Beginnings::kRoom >= 4 * Beginnings::kMostHits + kLanes);

/// `kIsLong`: the hashed bytes and the one after them are more than four.
template <bool kIsLong>
class BeginningTest {
 public:
  explicit HWY_INLINE BeginningTest(const FollowerTable& table)
      : followers_(table.followers.data()),
        firstMask_(hn::Set(Words(), static_cast<std::uint32_t>(table.mask))),
        secondMask_(hn::Set(Words(), static_cast<std::uint32_t>(table.mask >> 32))),
        shift_(table.shift),
        followerShift_(static_cast<int>(table.length % 4 * 8)) {}

  /// Adds those of the first `count` of `places` at which a word may begin; the others can be read, too.
  HWY_INLINE void operator()(const unsigned char* text, V places, std::size_t count,
                             Beginnings& found) const {
    const Indices indices;
    const auto* const bytes = reinterpret_cast<const std::uint32_t*>(text);
    const V first = hn::GatherOffset(Words(), bytes, hn::BitCast(indices, places));
    V hash = hn::Mul(hn::And(first, firstMask_), hn::Set(Words(), WindowTable::kFirstFactor));
    V rest = first;
    if constexpr (kIsLong) {
      const V second = hn::GatherOffset(Words(), bytes,
                                        hn::BitCast(indices, hn::Add(places, hn::Set(Words(), 4))));
      hash = hn::Add(hash, hn::Mul(hn::And(second, secondMask_),
                                   hn::Set(Words(), WindowTable::kSecondFactor)));
      rest = second;
    }
    const V mayFollow = hn::GatherIndex(Words(), followers_,
                                        hn::BitCast(indices, hn::ShiftRightSame(hash, shift_)));
    const V kind = hn::And(hn::ShiftRightSame(rest, followerShift_),
                           hn::Set(Words(), FollowerTable::kFollowers - 1));
    const auto mayBegin = hn::And(hn::TestBit(mayFollow, hn::Shl(hn::Set(Words(), 1), kind)),
                                  hn::FirstN(Words(), count));
    hn::StoreU(hn::Compress(places, mayBegin), Words(), found.places.data() + found.count);
    hn::StoreU(hn::Compress(hash, mayBegin), Words(), found.hashes.data() + found.count);
    found.count += hn::CountTrue(Words(), mayBegin);
  }

 private:
  const std::uint32_t* followers_;
  V firstMask_;
  V secondMask_;
  int shift_;
  int followerShift_;  // where the byte after them stands in its half
};

template <bool kIsLong>
void Find(const FollowerTable& table, const unsigned char* text,
          std::span<const std::uint32_t> hits, std::size_t stride, Beginnings& found) {
  const BeginningTest<kIsLong> test(table);
  for (std::size_t i = 0; i < hits.size(); i += kLanes) {
    const std::size_t count = std::min(kLanes, hits.size() - i);
    // Lanes without a place repeat the first of them.
    const V repeated = hn::Set(Words(), hits[i]);
    const auto isPlace = hn::FirstN(Words(), count);
    V places = hn::IfThenElse(isPlace, hn::MaskedLoad(isPlace, Words(), hits.data() + i), repeated);
    for (std::size_t step = 0; step < stride; ++step) {
      test(text, places, count, found);
      places = hn::Add(places, hn::Set(Words(), 1));
    }
  }
}

FindBeginnings Choose(const FollowerTable& table) {
  return table.length < 4 ? &Find<false> : &Find<true>;
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

FindBeginnings ChooseBeginningScan(const FollowerTable& table) {
  return HWY_DYNAMIC_DISPATCH(Choose)(table);
}

#else

FindBeginnings ChooseBeginningScan(const FollowerTable& /*table*/) {
  return &FindBeginningsPlainly;
}

#endif

void FindBeginningsPlainly(const FollowerTable& table, const unsigned char* text,
                           std::span<const std::uint32_t> hits, std::size_t stride,
                           Beginnings& found) {
  // A copy, of which the compiler knows that nothing that is written changes it.
  std::size_t count = found.count;
  const auto look = [&](std::uint32_t place) {
    const std::uint64_t bytes = EightBytes(text + place);
    const std::uint32_t hash = table.HashOf(bytes);
    found.places[count] = place;
    found.hashes[count] = hash;
    count += table.MayBegin(bytes, hash) ? 1 : 0;
  };
  if (stride == 1) {
    for (const std::uint32_t hit : hits)
      look(hit);
  } else {
    for (const std::uint32_t hit : hits) {
      for (std::size_t step = 0; step < stride; ++step)
        look(static_cast<std::uint32_t>(hit + step));
    }
  }
  found.count = count;
}

}  // namespace trovex

#endif
