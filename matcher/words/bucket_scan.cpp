#include "matcher/words/bucket_scan.h"

#include "matcher/words/window_scan.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>

#ifdef TROVEX_USE_HIGHWAY

// Vectors whose length is known only at run time are not needed here.
#define HWY_DISABLED_TARGETS (HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128 | HWY_RVV)
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "matcher/words/bucket_scan.cpp"
#include <hwy/foreach_target.h>
// Must come after it.
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace trovex {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

FindInBuckets Choose() {
  return nullptr;
}

TestInBuckets ChooseTest() {
  return nullptr;
}

#else

using Bytes = hn::ScalableTag<std::uint8_t>;
using V = hn::Vec<Bytes>;

constexpr std::size_t kLanes = hn::MaxLanes(Bytes());
static_assert(kPlacesAtOnce % kLanes == 0);

template <std::size_t kLength>
class BucketTest {
 public:
  explicit HWY_INLINE BucketTest(const BucketTable& table) {
    for (std::size_t i = 0; i < kLength; ++i) {
      lower_[i] = hn::LoadDup128(Bytes(), table.lower[i].data());
      upper_[i] = hn::LoadDup128(Bytes(), table.upper[i].data());
    }
  }

  /// A bit for each place from `place` on at which a word may begin.
  HWY_INLINE std::uint64_t operator()(const std::uint8_t* place) const {
    V buckets = With(hn::LoadU(Bytes(), place), 0);
    for (std::size_t i = 1; i < kLength; ++i)
      buckets = hn::And(buckets, With(hn::LoadU(Bytes(), place + i), i));
    return BitsOf(buckets);
  }

  /// The same where only `size` bytes can be read; what is behind them counts as zeros.
  HWY_INLINE std::uint64_t operator()(const std::uint8_t* place, std::size_t size) const {
#if HWY_TARGET <= HWY_AVX3
    V buckets = With(UpTo(size, place), 0);
    for (std::size_t i = 1; i < kLength; ++i) {
      const std::size_t skipped = std::min(i, size);
      buckets = hn::And(buckets, With(UpTo(size - skipped, place + skipped), i));
    }
    return BitsOf(buckets);
#else
    HWY_ALIGN std::uint8_t copy[kLanes + BucketTable::kMostBytes] = {};
    std::copy_n(place, std::min(size, sizeof copy), copy);
    return (*this)(copy);
#endif
  }

 private:
#if HWY_TARGET <= HWY_AVX3
  static HWY_INLINE V UpTo(std::size_t size, const std::uint8_t* place) {
    return hn::MaskedLoad(hn::FirstN(Bytes(), std::min(size, kLanes)), Bytes(), place);
  }
#endif

  HWY_INLINE V With(V bytes, std::size_t offset) const {
    const V half = hn::Set(Bytes(), 0x0F);
    return hn::And(hn::TableLookupBytes(lower_[offset], hn::And(bytes, half)),
                   hn::TableLookupBytes(upper_[offset], hn::ShiftRight<4>(bytes)));
  }

  static HWY_INLINE std::uint64_t BitsOf(V buckets) {
    const auto mask = hn::Ne(buckets, hn::Zero(Bytes()));
#if HWY_TARGET <= HWY_AVX3
    return mask.raw;
#else
    std::uint8_t bytes[sizeof(std::uint64_t)] = {};
    hn::StoreMaskBits(Bytes(), mask, bytes);
    std::uint64_t bits = 0;
    std::memcpy(&bits, bytes, sizeof bits);
    return bits;
#endif
  }

  V lower_[kLength];
  V upper_[kLength];
};

template <std::size_t kLength>
std::size_t Find(const BucketTable& table, const unsigned char* first, std::size_t count,
                 const unsigned char* end, std::uint32_t* const hits) {
  const BucketTest<kLength> test(table);
  const auto size = static_cast<std::size_t>(end - first);
  count = std::min(count, size);
  std::uint32_t* next = hits;
  std::size_t place = 0;
  for (; place + kPlacesAtOnce <= count && place + kPlacesAtOnce + kLength <= size;
       place += kPlacesAtOnce) {
    std::uint64_t bits = 0;
    for (std::size_t lane = 0; lane < kPlacesAtOnce; lane += kLanes)
      bits |= test(first + place + lane) << lane;
    next = WriteHits(bits, place, 1, next);
  }
  for (; place < count; place += kLanes) {
    const std::size_t left = count - place;
    const std::uint64_t bits = test(first + place, size - place);
    next = WriteHits(bits & FirstBits(left), place, 1, next);
  }
  return static_cast<std::size_t>(next - hits);
}

std::size_t FindOfAnyLength(const BucketTable& table, const unsigned char* first, std::size_t count,
                            const unsigned char* end, std::uint32_t* hits) {
  switch (table.length) {
    case 1:
      return Find<1>(table, first, count, end, hits);
    case 2:
      return Find<2>(table, first, count, end, hits);
    case 3:
      return Find<3>(table, first, count, end, hits);
    default:
      return Find<4>(table, first, count, end, hits);
  }
}

template <std::size_t kLength>
std::uint64_t TestFew(const BucketTable& table, const unsigned char* first, std::size_t count,
                      const unsigned char* end) {
  const BucketTest<kLength> test(table);
  const auto size = static_cast<std::size_t>(end - first);
  std::uint64_t bits = 0;
  for (std::size_t place = 0; place < count; place += kLanes)
    bits |= test(first + place, size - place) << place;
  return bits & FirstBits(count);
}

std::uint64_t TestFewOfAnyLength(const BucketTable& table, const unsigned char* first,
                                 std::size_t count, const unsigned char* end) {
  switch (table.length) {
    case 1:
      return TestFew<1>(table, first, count, end);
    case 2:
      return TestFew<2>(table, first, count, end);
    case 3:
      return TestFew<3>(table, first, count, end);
    default:
      return TestFew<4>(table, first, count, end);
  }
}

FindInBuckets Choose() {
  return &FindOfAnyLength;
}

TestInBuckets ChooseTest() {
  return &TestFewOfAnyLength;
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
HWY_EXPORT(ChooseTest);

FindInBuckets ChooseBucketScan() {
  return HWY_DYNAMIC_DISPATCH(Choose)();
}

TestInBuckets ChooseBucketTest() {
  return HWY_DYNAMIC_DISPATCH(ChooseTest)();
}

#else

FindInBuckets ChooseBucketScan() {
  return nullptr;
}

TestInBuckets ChooseBucketTest() {
  return nullptr;
}

#endif

std::size_t FindInBucketsPlainly(const BucketTable& table, const unsigned char* first,
                                 std::size_t count, const unsigned char* end, std::uint32_t* hits) {
  const auto size = static_cast<std::size_t>(end - first);
  std::size_t found = 0;
  for (std::size_t place = 0; place < std::min(count, size); ++place) {
    unsigned buckets = ~0U;
    for (std::size_t i = 0; i < table.length; ++i)
      buckets &= table.With(place + i < size ? first[place + i] : 0, i);
    hits[found] = static_cast<std::uint32_t>(place);
    found += buckets != 0 ? 1 : 0;
  }
  return found;
}

namespace {

/// The halves of the bytes that some words have at one offset, as bits.
struct HalfSets {
  unsigned lower = 0;
  unsigned upper = 0;
};

/// Words that lie in one bucket.
struct Bucket {
  std::array<HalfSets, BucketTable::kMostBytes> bytes{};
  double rate = 0;
};

/// Puts together two buckets at a time, those of which that makes the least difference.
class BucketMaker {
 public:
  BucketMaker(std::size_t length, const std::array<double, 256>& frequencies, double correlation)
      : length_(length), frequencies_(frequencies), correlation_(correlation) {}

  void Add(const BucketBeginning& beginning) {
    Bucket bucket;
    for (std::size_t i = 0; i < length_; ++i) {
      const CharSet& set = beginning[i];
      for (std::size_t c = set._Find_first(); c < set.size(); c = set._Find_next(c)) {
        bucket.bytes[i].lower |= 1U << (c % 16);
        bucket.bytes[i].upper |= 1U << (c / 16);
      }
    }
    bucket.rate = RateOf(bucket);
    buckets_.push_back(bucket);
    partners_.emplace_back();
  }

  Buckets Make() {
    for (std::size_t i = 0; i < buckets_.size(); ++i)
      partners_[i] = BestPartner(i);
    while (buckets_.size() > BucketTable::kBuckets)
      MergeTwo();
    Buckets made;
    made.table.length = length_;
    made.rate = 0;
    for (std::size_t number = 0; number < buckets_.size(); ++number) {
      made.rate += buckets_[number].rate;
      for (std::size_t i = 0; i < length_; ++i) {
        const HalfSets& sets = buckets_[number].bytes[i];
        for (std::size_t half = 0; half < 16; ++half) {
          made.table.lower[i][half] |=
              static_cast<std::uint8_t>((sets.lower >> half & 1) << number);
          made.table.upper[i][half] |=
              static_cast<std::uint8_t>((sets.upper >> half & 1) << number);
        }
      }
    }
    made.rate = std::min(made.rate, 1.0);
    return made;
  }

 private:
  struct Partner {
    std::size_t number = 0;
    double loss = std::numeric_limits<double>::infinity();
  };

  double RateOf(const Bucket& bucket) const {
    double rate = 1 / correlation_;
    for (std::size_t i = 0; i < length_; ++i) {
      double share = 0;
      for (unsigned upper = bucket.bytes[i].upper; upper != 0; upper &= upper - 1) {
        const auto row = static_cast<std::size_t>(std::countr_zero(upper)) * 16;
        for (unsigned lower = bucket.bytes[i].lower; lower != 0; lower &= lower - 1)
          share += frequencies_[row + static_cast<std::size_t>(std::countr_zero(lower))];
      }
      rate *= std::min(1.0, correlation_ * share);
    }
    return rate;
  }

  Bucket Together(const Bucket& a, const Bucket& b) const {
    Bucket both;
    for (std::size_t i = 0; i < length_; ++i) {
      both.bytes[i] = {a.bytes[i].lower | b.bytes[i].lower, a.bytes[i].upper | b.bytes[i].upper};
    }
    both.rate = RateOf(both);
    return both;
  }

  /// Among those that follow it.
  Partner BestPartner(std::size_t number) const {
    Partner best;
    for (std::size_t other = number + 1; other < buckets_.size(); ++other)
      Consider(number, other, best);
    return best;
  }

  void Consider(std::size_t number, std::size_t other, Partner& best) const {
    const double parts = buckets_[number].rate + buckets_[other].rate;
    const double loss = Together(buckets_[number], buckets_[other]).rate - parts;
    if (loss < best.loss) best = {other, loss};
  }

  void MergeTwo() {
    const auto least =
        std::min_element(partners_.begin(), partners_.end(),
                         [](const Partner& a, const Partner& b) { return a.loss < b.loss; });
    const auto one = static_cast<std::size_t>(least - partners_.begin());
    const std::size_t other = least->number;
    buckets_[one] = Together(buckets_[one], buckets_[other]);
    buckets_.erase(buckets_.begin() + static_cast<std::ptrdiff_t>(other));
    partners_.erase(partners_.begin() + static_cast<std::ptrdiff_t>(other));
    for (std::size_t i = 0; i < buckets_.size(); ++i) {
      Partner& partner = partners_[i];
      if (i == one || partner.number == other || partner.number == one) {
        partner = BestPartner(i);
        continue;
      }
      if (partner.number > other) --partner.number;
      if (i < one) Consider(i, one, partner);
    }
  }

  const std::size_t length_;
  const std::array<double, 256>& frequencies_;
  const double correlation_;
  std::vector<Bucket> buckets_;
  std::vector<Partner> partners_;  // of each, the best that follows it
};

}  // namespace

Buckets MakeBuckets(const std::vector<BucketBeginning>& beginnings, std::size_t length,
                    const std::array<double, 256>& frequencies, double correlation) {
  BucketMaker maker(length, frequencies, correlation);
  for (const BucketBeginning& beginning : beginnings)
    maker.Add(beginning);
  return maker.Make();
}

}  // namespace trovex

#endif
