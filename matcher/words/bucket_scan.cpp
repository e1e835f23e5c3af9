#include "matcher/words/bucket_scan.h"

#include "matcher/costs.h"
#include "matcher/words/window_scan.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <utility>

#ifdef TROVEX_USE_HIGHWAY

// Bytes are looked up in tables of 64 there.
#define HWY_WANT_AVX3_DL
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

const BucketLookup* Lookup() {
  return nullptr;
}

FindInBuckets Choose(const BucketTable& /*table*/) {
  return nullptr;
}

TestInBuckets ChooseTest(const BucketTable& /*table*/) {
  return nullptr;
}

#else

using Bytes = hn::ScalableTag<std::uint8_t>;
using V = hn::Vec<Bytes>;

constexpr std::size_t kLanes = hn::MaxLanes(Bytes());
static_assert(kPlacesAtOnce % kLanes == 0);

#if HWY_TARGET <= HWY_AVX3_DL

constexpr BucketLookup kLookup = BucketLookup::kSixBits;
constexpr std::size_t kMostBytes = BucketTable::kMostBytes;
constexpr std::size_t kMostSets = BucketTable::kMostSets;

class RowLookup {
 public:
  HWY_INLINE void Load(const BucketTable::Row& row) { row_ = hn::LoadU(Bytes(), row.data()); }
  HWY_INLINE V operator()(V bytes) const { return V{_mm512_permutexvar_epi8(bytes.raw, row_.raw)}; }

 private:
  V row_;
};

#else

constexpr BucketLookup kLookup = BucketLookup::kHalves;
constexpr std::size_t kMostBytes = BucketTable::kLeastBytes;
constexpr std::size_t kMostSets = 1;

class RowLookup {
 public:
  HWY_INLINE void Load(const BucketTable::Row& row) {
    lower_ = hn::LoadDup128(Bytes(), row.data());
    upper_ = hn::LoadDup128(Bytes(), row.data() + 16);
  }
  HWY_INLINE V operator()(V bytes) const {
    const V half = hn::Set(Bytes(), 0x0F);
    return hn::And(hn::TableLookupBytes(lower_, hn::And(bytes, half)),
                   hn::TableLookupBytes(upper_, hn::ShiftRight<4>(bytes)));
  }

 private:
  V lower_;
  V upper_;
};

#endif

template <std::size_t kLength, std::size_t kSets>
class BucketTest {
 public:
  explicit HWY_INLINE BucketTest(const BucketTable& table) {
    for (std::size_t set = 0; set < kSets; ++set) {
      for (std::size_t i = 0; i < kLength; ++i)
        rows_[set][i].Load(table.rows[set][i]);
    }
  }

  /// A bit for each place from `place` on at which a word may begin.
  HWY_INLINE std::uint64_t operator()(const std::uint8_t* place) const {
    return Test([place](std::size_t offset) { return hn::LoadU(Bytes(), place + offset); });
  }

  /// The same where only `size` bytes can be read; what is behind them counts as zeros.
  HWY_INLINE std::uint64_t operator()(const std::uint8_t* place, std::size_t size) const {
#if HWY_TARGET <= HWY_AVX3
    return Test([place, size](std::size_t offset) {
      const std::size_t skipped = std::min(offset, size);
      const auto isText = hn::FirstN(Bytes(), std::min(size - skipped, kLanes));
      return hn::MaskedLoad(isText, Bytes(), place + skipped);
    });
#else
    HWY_ALIGN std::uint8_t copy[kLanes + BucketTable::kMostBytes] = {};
    std::copy_n(place, std::min(size, sizeof copy), copy);
    return (*this)(copy);
#endif
  }

 private:
  /// `bytesAt`: the bytes so far after the places.
  template <typename BytesAt>
  HWY_INLINE std::uint64_t Test(const BytesAt& bytesAt) const {
    V buckets[kSets];
    for (std::size_t i = 0; i < kLength; ++i) {
      const V bytes = bytesAt(i);
      for (std::size_t set = 0; set < kSets; ++set) {
        const V with = rows_[set][i](bytes);
        buckets[set] = i == 0 ? with : hn::And(buckets[set], with);
      }
    }
    V any = buckets[0];
    for (std::size_t set = 1; set < kSets; ++set)
      any = hn::Or(any, buckets[set]);
    return BitsOf(any);
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

  RowLookup rows_[kSets][kLength];
};

template <std::size_t kLength, std::size_t kSets>
std::size_t Find(const BucketTable& table, const unsigned char* first, std::size_t count,
                 const unsigned char* end, std::uint32_t* const hits) {
  const BucketTest<kLength, kSets> test(table);
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

template <std::size_t kLength, std::size_t kSets>
std::uint64_t TestFew(const BucketTable& table, const unsigned char* first, std::size_t count,
                      const unsigned char* end) {
  const BucketTest<kLength, kSets> test(table);
  const auto size = static_cast<std::size_t>(end - first);
  std::uint64_t bits = 0;
  for (std::size_t place = 0; place < count; place += kLanes)
    bits |= test(first + place, size - place) << place;
  return bits & FirstBits(count);
}

/// What there is for tables of each length and number of sets.
struct Functions {
  FindInBuckets find;
  TestInBuckets test;
};

template <std::size_t kLength, std::size_t... kSets>
constexpr std::array<Functions, kMostSets> ForLength(std::index_sequence<kSets...> /*sets*/) {
  return {{{&Find<kLength, kSets + 1>, &TestFew<kLength, kSets + 1>}...}};
}

template <std::size_t... kLengths>
const Functions& FunctionsFor(const BucketTable& table,
                              std::index_sequence<kLengths...> /*lengths*/) {
  static constexpr std::array<std::array<Functions, kMostSets>, sizeof...(kLengths)> kAll = {
      {ForLength<BucketTable::kLeastBytes + kLengths>(std::make_index_sequence<kMostSets>())...}};
  return kAll[table.length - BucketTable::kLeastBytes][table.sets - 1];
}

const Functions& FunctionsFor(const BucketTable& table) {
  return FunctionsFor(table, std::make_index_sequence<kMostBytes - BucketTable::kLeastBytes + 1>());
}

const BucketLookup* Lookup() {
  return &kLookup;
}

FindInBuckets Choose(const BucketTable& table) {
  return FunctionsFor(table).find;
}

TestInBuckets ChooseTest(const BucketTable& table) {
  return FunctionsFor(table).test;
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

HWY_EXPORT(Lookup);
HWY_EXPORT(Choose);
HWY_EXPORT(ChooseTest);

const BucketLookup* MachineBucketLookup() {
  return HWY_DYNAMIC_DISPATCH(Lookup)();
}

FindInBuckets ChooseBucketScan(const BucketTable& table) {
  return HWY_DYNAMIC_DISPATCH(Choose)(table);
}

TestInBuckets ChooseBucketTest(const BucketTable& table) {
  return HWY_DYNAMIC_DISPATCH(ChooseTest)(table);
}

#else

const BucketLookup* MachineBucketLookup() {
  return nullptr;
}

FindInBuckets ChooseBucketScan(const BucketTable& /*table*/) {
  return nullptr;
}

TestInBuckets ChooseBucketTest(const BucketTable& /*table*/) {
  return nullptr;
}

#endif

std::size_t FindInBucketsPlainly(const BucketTable& table, const unsigned char* first,
                                 std::size_t count, const unsigned char* end, std::uint32_t* hits) {
  const auto size = static_cast<std::size_t>(end - first);
  std::size_t found = 0;
  for (std::size_t place = 0; place < std::min(count, size); ++place) {
    bool isFound = false;
    for (std::size_t set = 0; set < table.sets; ++set) {
      unsigned buckets = ~0U;
      for (std::size_t i = 0; i < table.length; ++i)
        buckets &= table.With(place + i < size ? first[place + i] : 0, set, i);
      isFound = isFound || buckets != 0;
    }
    hits[found] = static_cast<std::uint32_t>(place);
    found += isFound ? 1 : 0;
  }
  return found;
}

namespace {

/// What is looked up of some bytes, as bits: of each its lower six bits, or its halves, the upper ones from the
/// sixteenth bit on.
using Keys = std::uint64_t;

/// How often the bytes that are looked up so come in a text.
class KeyShares {
 public:
  KeyShares(BucketLookup lookup, const std::array<double, 256>& frequencies)
      : lookup_(lookup), frequencies_(frequencies) {
    std::array<double, 64> single{};
    for (std::size_t c = 0; c < 256; ++c)
      single[c % 64] += frequencies[c];
    for (std::size_t chunk = 0; chunk < shares_.size(); ++chunk) {
      for (unsigned bits = 1; bits < 256; ++bits) {
        const auto lowest = static_cast<std::size_t>(std::countr_zero(bits));
        shares_[chunk][bits] = shares_[chunk][bits & (bits - 1)] + single[8 * chunk + lowest];
      }
    }
  }

  Keys KeysOf(const CharSet& bytes) const {
    Keys keys = 0;
    for (std::size_t c = bytes._Find_first(); c < bytes.size(); c = bytes._Find_next(c)) {
      keys |= lookup_ == BucketLookup::kSixBits ? Keys{1} << (c % 64)
                                                : Keys{1} << (c % 16) | Keys{1} << (16 + c / 16);
    }
    return keys;
  }

  double Of(Keys keys) const {
    if (lookup_ == BucketLookup::kHalves) return OfHalves(keys);
    double share = 0;
    for (std::size_t chunk = 0; chunk < shares_.size(); ++chunk)
      share += shares_[chunk][keys >> (8 * chunk) & 255];
    return share;
  }

 private:
  double OfHalves(Keys keys) const {
    if (keys == 0xFFFFFFFF) return 1;
    double share = 0;
    for (Keys upper = keys >> 16; upper != 0; upper &= upper - 1) {
      const auto row = static_cast<std::size_t>(std::countr_zero(upper)) * 16;
      for (Keys lower = keys & 0xFFFF; lower != 0; lower &= lower - 1)
        share += frequencies_[row + static_cast<std::size_t>(std::countr_zero(lower))];
    }
    return share;
  }

  const BucketLookup lookup_;
  const std::array<double, 256>& frequencies_;
  /// By eight of the six bits' values: the shares of all that have one of these.
  std::array<std::array<double, 256>, 8> shares_{};
};

/// Words that lie in one bucket.
struct Bucket {
  std::array<Keys, BucketTable::kMostBytes> keys{};
  double rate = 0;
};

/// Puts together two buckets at a time, those of which that makes the least difference.
class BucketMaker {
 public:
  BucketMaker(BucketLookup lookup, const std::array<double, 256>& frequencies, double correlation)
      : lookup_(lookup),
        most_(lookup == BucketLookup::kSixBits ? BucketTable::kMostBytes
                                               : BucketTable::kLeastBytes),
        shares_(lookup, frequencies),
        correlation_(correlation) {}

  void Add(const BucketBeginning& beginning) {
    Bucket bucket;
    for (std::size_t i = 0; i < most_; ++i)
      bucket.keys[i] = shares_.KeysOf(beginning[i]);
    bucket.rate = RateOf(bucket, most_);
    buckets_.push_back(bucket);
    partners_.emplace_back();
  }

  Buckets Make() {
    for (std::size_t i = 0; i < buckets_.size(); ++i)
      partners_[i] = BestPartner(i);
    const std::size_t mostSets = lookup_ == BucketLookup::kSixBits ? BucketTable::kMostSets : 1;
    Buckets best;
    best.cost = std::numeric_limits<double>::infinity();
    for (std::size_t sets = mostSets; sets > 0; --sets) {
      while (buckets_.size() > sets * BucketTable::kBucketsOfSet)
        MergeTwo();
      for (std::size_t length = BucketTable::kLeastBytes; length <= most_; ++length)
        Consider(length, sets, best);
    }
    return best;
  }

 private:
  struct Partner {
    std::size_t number = 0;
    double loss = std::numeric_limits<double>::infinity();
  };

  /// Makes `best` what there is now, by the first `length` bytes, if that is faster.
  void Consider(std::size_t length, std::size_t sets, Buckets& best) const {
    double rate = 0;
    for (const Bucket& bucket : buckets_)
      rate += RateOf(bucket, length);
    rate = std::min(rate, 1.0);
    const double cost = CostOfPlaces(length, sets) + rate * kCostOfBeginning;
    if (cost < best.cost) best = {TableOf(length, sets), rate, cost};
  }

  double CostOfPlaces(std::size_t length, std::size_t sets) const {
    if (lookup_ == BucketLookup::kHalves) return kCostOfBucketHalves;
    return kCostOfBuckets + kCostOfBucketRow * static_cast<double>(length * sets);
  }

  BucketTable TableOf(std::size_t length, std::size_t sets) const {
    BucketTable table = {.lookup = lookup_, .length = length, .sets = sets};
    for (std::size_t number = 0; number < buckets_.size(); ++number) {
      const auto bit = static_cast<std::uint8_t>(1U << (number % BucketTable::kBucketsOfSet));
      for (std::size_t i = 0; i < length; ++i) {
        BucketTable::Row& row = table.rows[number / BucketTable::kBucketsOfSet][i];
        for (Keys keys = buckets_[number].keys[i]; keys != 0; keys &= keys - 1)
          row[static_cast<std::size_t>(std::countr_zero(keys))] |= bit;
      }
    }
    return table;
  }

  double RateOf(const Bucket& bucket, std::size_t length) const {
    double rate = 1 / correlation_;
    for (std::size_t i = 0; i < length; ++i)
      rate *= std::min(1.0, correlation_ * shares_.Of(bucket.keys[i]));
    return rate;
  }

  Bucket Together(const Bucket& a, const Bucket& b) const {
    Bucket both;
    for (std::size_t i = 0; i < most_; ++i)
      both.keys[i] = a.keys[i] | b.keys[i];
    both.rate = RateOf(both, most_);
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

  const BucketLookup lookup_;
  const std::size_t most_;  // bytes of the words that may be looked at
  const KeyShares shares_;
  const double correlation_;
  std::vector<Bucket> buckets_;
  std::vector<Partner> partners_;  // of each, the best that follows it
};

}  // namespace

Buckets MakeBuckets(const std::vector<BucketBeginning>& beginnings, BucketLookup lookup,
                    const std::array<double, 256>& frequencies, double correlation) {
  BucketMaker maker(lookup, frequencies, correlation);
  for (const BucketBeginning& beginning : beginnings)
    maker.Add(beginning);
  return maker.Make();
}

}  // namespace trovex

#endif
