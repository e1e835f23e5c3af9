#include "matcher/runs/run_sieve.h"

#include "matcher/scan/place_scan.h"
#include "matcher/tuning.h"
#include "text/char_set.h"

#include <algorithm>
#include <bit>
#include <cstring>

#ifdef TROVEX_USE_HIGHWAY

// Vectors whose length is known only at run time cannot be members.
#define HWY_DISABLED_TARGETS (HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128 | HWY_RVV)
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "matcher/runs/run_sieve.cpp"
#include <hwy/foreach_target.h>
// Must come after it.
#include <hwy/highway.h>
#include "matcher/runs/set_members-inl.h"

HWY_BEFORE_NAMESPACE();
namespace trovex {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

SiftHits ChooseSift(const SieveLook& /*look*/) {
  return nullptr;
}

#else

using Seen = hn::CappedTag<std::uint8_t, SieveLook::kSeen>;

/// The bits of what is seen from `place` on, of which `bitsAt` gives those of a vector.
template <class BitsAt>
HWY_INLINE std::uint64_t BitsSeen(const Byte* place, const BitsAt& bitsAt) {
  constexpr std::ptrdiff_t kBlock = hn::MaxLanes(Seen());
  std::uint64_t bits = 0;
  for (std::ptrdiff_t at = 0; at < SieveLook::kSeen; at += kBlock)
    bits |= bitsAt(place + at) << at;
  return bits;
}

/// At which places what follows the run stands.
class MaskedTail {
 public:
  explicit HWY_INLINE MaskedTail(const SieveLook& look) : count_(look.tailCount) {
    for (std::size_t i = 0; i < SieveLook::kMostTail; ++i) {
      masks_[i] = hn::Set(Seen(), look.tailMasks[i]);
      values_[i] = hn::Set(Seen(), look.tailValues[i]);
    }
  }
  HWY_INLINE std::uint64_t operator()(const Byte* place) const {
    auto differs = hn::Zero(Seen());
    for (std::size_t i = 0; i < count_; ++i) {
      const auto bytes = hn::LoadU(Seen(), place + i);
      differs = hn::Or(differs, hn::And(hn::Xor(bytes, values_[i]), masks_[i]));
    }
    return BitsOfMask<Seen>(hn::Eq(differs, hn::Zero(Seen())));
  }

 private:
  std::size_t count_;
  hn::Vec<Seen> masks_[SieveLook::kMostTail];
  hn::Vec<Seen> values_[SieveLook::kMostTail];
};

/// The same for any sets.
class KindsTail {
 public:
  explicit HWY_INLINE KindsTail(const SieveLook& look) : look_(look) {}
  HWY_INLINE std::uint64_t operator()(const Byte* place) const {
    auto kinds = hn::Set(Seen(), 255);
    for (std::size_t i = 0; i < look_.tailCount; ++i) {
      const KindMembersOf<Seen> members(look_.tailLow[i], look_.tailHigh[i]);
      kinds = hn::Min(kinds, members.KindsOf(hn::LoadU(Seen(), place + i)));
    }
    return BitsOfMask<Seen>(hn::Ne(kinds, hn::Zero(Seen())));
  }

 private:
  const SieveLook& look_;
};

HWY_INLINE std::uint64_t FirstBytes(const Byte* place) {
  std::uint64_t bytes = 0;
  static_assert(sizeof bytes == SieveLook::kMostCompared);
  std::memcpy(&bytes, place, sizeof bytes);
  return bytes;
}

template <class Tail>
void Sift(const SieveLook& look, const Byte* end, HitBatch& batch, SieveLengths& lengths) {
  constexpr int kHighest = 63;
  const Tail tail(look);
  const KindMembersOf<Seen> isMember(look.runLow, look.runHigh);
  const std::uint64_t mask = FirstBytes(look.masks.data());
  const std::uint64_t value = FirstBytes(look.values.data());
  std::size_t kept = 0;
  for (std::size_t i = 0; i < batch.count; ++i) {
    const std::uint16_t offset = batch.offsets[i];
    const Byte* const hit = batch.base + offset;
    batch.offsets[kept] = offset;
    lengths[kept] = 0;
    if (end - hit < look.room) {
      ++kept;
      continue;
    }
    const Byte* const run = hit + look.lead;
    const std::uint64_t members =
        BitsSeen(run, [&](const Byte* at) { return isMember(hn::LoadU(Seen(), at)); });
    const std::uint64_t tails = BitsSeen(run, tail);
    const std::uint64_t upTo = (members ^ (members + 1)) & look.lengths;
    const std::uint64_t found = tails & upTo;
    const std::uint64_t goesOn = upTo >> SieveLook::kSeen;
    const bool isBegun = ((FirstBytes(hit) ^ value) & mask) == 0;
    const auto stop = look.lead + (kHighest - std::countl_zero(found | 1)) + look.endAfter;
    const bool isTold = look.endAfter >= 0 && goesOn == 0;
    lengths[kept] = static_cast<std::uint8_t>(isTold ? stop : 0);
    kept += isBegun && (found | goesOn) != 0 ? 1 : 0;
  }
  batch.count = kept;
}

SiftHits ChooseSift(const SieveLook& look) {
  return look.isTailMasked ? &Sift<MaskedTail> : &Sift<KindsTail>;
}

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace trovex
HWY_AFTER_NAMESPACE();

#endif  // TROVEX_USE_HIGHWAY

#if !defined(TROVEX_USE_HIGHWAY) || HWY_ONCE

namespace trovex {

namespace {

#ifdef TROVEX_USE_HIGHWAY
HWY_EXPORT(ChooseSift);
SiftHits ChooseSiftHits(const SieveLook& look) {
  return HWY_DYNAMIC_DISPATCH(ChooseSift)(look);
}
#else
SiftHits ChooseSiftHits(const SieveLook& /*look*/) {
  return nullptr;
}
#endif

/// Whether a run of these bytes mostly ends within what is seen.
bool EndsSoon(const Run& run) {
  constexpr double kEveryByte = 100'000;
  return run.most < SieveLook::kSeen / 2 ||
         ExpectedRate(Probes{{0, run.bytes}}) < kEveryByte * (1 - 1 / kLongestSievedRun);
}

/// The bytes that stand in `row` from run `first` on, as far as it is the same for all matches, up to `most`. `isAll`:
/// that is the rest of the row.
std::vector<CharSet> FixedFrom(const std::vector<Run>& row, std::size_t first, std::size_t most,
                               bool& isAll) {
  std::vector<CharSet> sets;
  for (; first < row.size(); ++first) {
    const std::size_t count = std::min<std::size_t>(row[first].least, most - sets.size());
    sets.insert(sets.end(), count, row[first].bytes);
    if (!row[first].IsFixed() || count < row[first].least) break;
  }
  isAll = first == row.size();
  return sets;
}

/// Whether a probe at `offset` leaves no bytes but those of `set`.
bool IsProbed(const ScanTables& tables, std::ptrdiff_t offset, const CharSet& set) {
  for (std::size_t i = 0; i < static_cast<std::size_t>(tables.count); ++i) {
    if (tables.offsets[i] != offset) continue;
    bool isProbed = true;
    for (std::size_t c = 0; c < set.size(); ++c)
      isProbed = isProbed && (set[c] || tables.members[i][c] == 0);
    if (isProbed) return true;
  }
  return false;
}

}  // namespace

/// Has the bytes before the run compared. False if some are neither compared nor told by the scan, beyond the first
/// `before`.
bool RunSieve::CompareBeginning(const std::vector<CharSet>& beginning, std::ptrdiff_t before,
                                const ScanTables& tables) {
  bool areAllTold = true;
  for (std::size_t i = 0; i < beginning.size(); ++i) {
    const std::optional<MaskedByte> set = MaskedByteOf(beginning[i]);
    if (set && i < SieveLook::kMostCompared) {
      look_.masks[i] = set->mask;
      look_.values[i] = set->value;
    } else if (const auto offset = static_cast<std::ptrdiff_t>(i);
               offset >= before && !IsProbed(tables, offset, beginning[i])) {
      areAllTold = false;
    }
  }
  return areAllTold;
}

/// Has what follows the run looked for. Returns how many of its bytes. `isAfter`: the first is what must stand after a
/// match.
std::size_t RunSieve::AddTail(const std::vector<CharSet>& tail, bool isAfter) {
  for (const CharSet& bytes : tail) {
    const ScanTables tables = PlaceScan(Probes{{0, bytes}}).Tables();
    isExact_ = AreHalvesExact(tables, bytes);
    if (!isExact_ && !isAfter) break;
    last_ = MembersOf(bytes);
    const std::size_t i = look_.tailCount++;
    look_.tailHigh[i] = tables.high[0];
    look_.tailLow[i] = tables.low[0];
    const std::optional<MaskedByte> set = MaskedByteOf(bytes);
    look_.isTailMasked = look_.isTailMasked && set;
    look_.tailMasks[i] = set ? set->mask : 0;
    look_.tailValues[i] = set ? set->value : 0;
  }
  return look_.tailCount;
}

std::optional<RunSieve> RunSieve::For(const std::vector<Run>& row, std::ptrdiff_t before,
                                      std::ptrdiff_t after, const ScanTables& tables) {
  constexpr auto kSeen = static_cast<std::uint32_t>(SieveLook::kSeen);
  const auto isVariable = [](const Run& run) { return !run.IsFixed(); };
  const auto first = std::find_if(row.begin(), row.end(), isVariable);
  if (first == row.end() || !EndsSoon(*first)) return std::nullopt;
  const auto index = static_cast<std::size_t>(first - row.begin());
  bool isAll = false;
  const std::vector<CharSet> beginning = FixedFrom({row.begin(), first}, 0, kMostSievedLead, isAll);
  if (!isAll) return std::nullopt;
  RunSieve sieve;
  SieveLook& look = sieve.look_;
  const ScanTables run = PlaceScan(Probes{{0, first->bytes}}).Tables();
  if (!AreHalvesExact(run, first->bytes)) return std::nullopt;
  look.runHigh = run.high[0];
  look.runLow = run.low[0];
  look.lead = static_cast<std::ptrdiff_t>(beginning.size());
  for (std::uint32_t length = std::min(first->least, kSeen); length <= kSeen; ++length) {
    if (length <= first->most) look.lengths |= std::uint64_t{1} << length;
  }
  const bool isTold = sieve.CompareBeginning(beginning, before, tables);
  const std::vector<CharSet> tail = FixedFrom(row, index + 1, SieveLook::kMostTail, isAll);
  const std::size_t seen = sieve.AddTail(tail, isAll && tail.size() == 1 && after == 1);
  if (seen == 0 && first->least == 0) return std::nullopt;
  look.room = std::max<std::ptrdiff_t>(
      SieveLook::kMostCompared, look.lead + SieveLook::kSeen + static_cast<std::ptrdiff_t>(seen));
  if (isTold && isAll && seen == tail.size())
    look.endAfter = static_cast<std::ptrdiff_t>(seen) - after;
  sieve.sift_ = ChooseSiftHits(look);
  return sieve.sift_ != nullptr ? std::optional(sieve) : std::nullopt;
}

}  // namespace trovex

#endif
