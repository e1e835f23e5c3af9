#include "matcher/groups/repeat_sieve.h"

#include "matcher/scan/place_scan.h"

#include <algorithm>
#include <bit>
#include <cstring>

#ifdef TROVEX_USE_HIGHWAY

// Vectors whose length is known only at run time cannot be members.
#define HWY_DISABLED_TARGETS (HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128 | HWY_RVV)
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "matcher/groups/repeat_sieve.cpp"
#include <hwy/foreach_target.h>
// Must come after it.
#include <hwy/highway.h>
#include "matcher/runs/set_members-inl.h"

HWY_BEFORE_NAMESPACE();
namespace trovex {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

RepeatSearch ChooseSearch() {
  return {};
}

#else

using Seen = hn::CappedTag<std::uint8_t, RepeatLook::kSeen>;
using Words = std::array<std::uint64_t, RepeatStretch::kMostWords + RepeatStretch::kWordsAfter>;

static_assert(kPlaces == RepeatStretch::kBits);

/// The sixty-four bits from bit `place` on.
HWY_INLINE std::uint64_t BitsFrom(const Words& words, std::size_t place) {
  const std::size_t word = place / kPlaces;
  const std::size_t shift = place % kPlaces;
  return words[word] >> shift | words[word + 1] << 1 << (kPlaces - 1 - shift);
}

/// Marks the places at which bytes of `sets` stand one after the other.
HWY_INLINE void MarkRow(const std::array<RepeatLook::Set, RepeatLook::kMostBytes>& sets,
                        std::size_t count, const Byte* bytes, std::size_t words, Words& marks) {
  marks.fill(~std::uint64_t{0});
  for (std::size_t i = 0; i < count; ++i) {
    const KindMembers members(sets[i].low, sets[i].high);
    for (std::size_t word = 0; word < words; ++word)
      marks[word] &= MembersOfWord(members, bytes + word * kPlaces + i);
  }
}

void Mark(const RepeatLook& look, RepeatStretch& stretch) {
  const std::size_t seen = stretch.words + RepeatStretch::kWordsAfter;
  const Byte* const bytes = stretch.Bytes();
  MarkRow(look.beginning, look.beginningCount, bytes, stretch.words, stretch.starts);
  MarkRow(look.ending, look.endingCount, bytes, seen, stretch.endings);
  const KindMembers isMember(look.run.low, look.run.high);
  for (std::size_t word = 0; word < seen; ++word)
    stretch.runs[word] = MembersOfWord(isMember, bytes + word * kPlaces);
}

/// The places from `place` on, as many as are seen, at which the `length` bytes at `group` stand.
HWY_INLINE std::uint64_t SamePlaces(const Byte* group, std::size_t length, const Byte* place) {
  constexpr std::size_t kBlock = hn::MaxLanes(Seen());
  std::uint64_t same = 0;
  for (std::size_t at = 0; at < RepeatLook::kSeen; at += kBlock) {
    auto differs = hn::Zero(Seen());
    for (std::size_t i = 0; i < length; ++i) {
      const auto bytes = hn::LoadU(Seen(), place + at + i);
      differs = hn::Or(differs, hn::Xor(bytes, hn::Set(Seen(), group[i])));
    }
    same |= BitsOfMask<Seen>(hn::Eq(differs, hn::Zero(Seen()))) << at;
  }
  return same;
}

RepeatHit Find(const RepeatLook& look, const RepeatStretch& stretch, std::size_t place,
               std::size_t limit) {
  constexpr std::uint64_t kAllSeen = (std::uint64_t{1} << RepeatLook::kSeen) - 1;
  constexpr int kHighest = 63;
  const Byte* const bytes = stretch.Bytes();
  while (place < limit) {
    const std::uint64_t starts = stretch.starts[place / kPlaces] >> place % kPlaces;
    if (starts == 0) {
      place = (place / kPlaces + 1) * kPlaces;
      continue;
    }
    place += static_cast<std::size_t>(std::countr_zero(starts));
    if (place >= limit) break;
    const std::size_t run = place + look.beginningCount;
    const std::uint64_t members = BitsFrom(stretch.runs, run) & kAllSeen;
    if (members == kAllSeen && look.canGoOn) return {place, 0};
    const std::uint64_t reached = (members ^ (members + 1)) & look.lengths;
    const std::uint64_t ends = reached & BitsFrom(stretch.endings, run + look.length);
    const std::uint64_t found =
        ends & SamePlaces(bytes + place + look.group, look.length, bytes + run);
    if (found != 0) {
      const auto last = static_cast<std::size_t>(kHighest - std::countl_zero(found));
      return {place, look.beginningCount + last + look.length + look.endingCount};
    }
    ++place;
  }
  return {limit, 0};
}

RepeatSearch ChooseSearch() {
  return {&Mark, &Find};
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
HWY_EXPORT(ChooseSearch);
RepeatSearch ChooseRepeatSearch() {
  return HWY_DYNAMIC_DISPATCH(ChooseSearch)();
}
#else
RepeatSearch ChooseRepeatSearch() {
  return {};
}
#endif

/// Writes `bytes` to `set`. False if halves do not tell them.
bool FillSet(const CharSet& bytes, RepeatLook::Set& set) {
  const ScanTables tables = PlaceScan(Probes{{0, bytes}}).Tables();
  set = {tables.high[0], tables.low[0]};
  return AreHalvesExact(tables, bytes);
}

/// The same for all of `sets`, as many as there is room for.
bool FillSets(const std::vector<CharSet>& sets,
              std::array<RepeatLook::Set, RepeatLook::kMostBytes>& filled) {
  if (sets.size() > filled.size()) return false;
  for (std::size_t i = 0; i < sets.size(); ++i) {
    if (!FillSet(sets[i], filled[i])) return false;
  }
  return true;
}

}  // namespace

std::optional<RepeatSieve> RepeatSieve::For(const RepeatRow& row) {
  RepeatSieve sieve;
  RepeatLook& look = sieve.look_;
  sieve.search_ = ChooseRepeatSearch();
  if (sieve.search_.find == nullptr || !FillSets(row.beginning, look.beginning) ||
      !FillSets(row.ending, look.ending) || !FillSet(row.run, look.run)) {
    return std::nullopt;
  }
  look.beginningCount = row.beginning.size();
  look.endingCount = row.ending.size();
  look.group = row.group;
  look.length = row.length;
  look.canGoOn = row.most >= RepeatLook::kSeen;
  for (std::size_t i = row.least; i <= row.most && i < RepeatLook::kSeen; ++i)
    look.lengths |= std::uint64_t{1} << i;
  return sieve;
}

/// Has a stretch from `place` on told.
void RepeatSieve::Test(const unsigned char* place, const unsigned char* end,
                       RepeatStretch& stretch) const {
  constexpr std::size_t kBits = RepeatStretch::kBits;
  constexpr std::size_t kFirstWords = 2;
  const bool goesOn = place == stretch.tested && end == stretch.end;
  const auto left = static_cast<std::size_t>(end - place);
  stretch.words =
      std::min(goesOn ? RepeatStretch::kMostWords : kFirstWords, (left + kBits - 1) / kBits);
  const std::size_t needed = (stretch.words + RepeatStretch::kWordsAfter + 1) * kBits;
  stretch.isCopied = left < needed;
  if (stretch.isCopied) {
    // Beyond the text, line feeds are thought to stand, of which the row has none.
    std::memcpy(stretch.copy.data(), place, left);
    std::memset(stretch.copy.data() + left, '\n', needed - left);
  }
  stretch.begin = place;
  stretch.tested = place + std::min(left, stretch.words * kBits);
  stretch.end = end;
  search_.mark(look_, stretch);
}

RepeatSieve::Start RepeatSieve::Find(const unsigned char* place, const unsigned char* last,
                                     const unsigned char* end, Workspace& work) const {
  RepeatStretch& stretch = work.stretch_;
  while (place < end && place <= last) {
    if (place < stretch.begin || place >= stretch.tested || end != stretch.end)
      Test(place, end, stretch);
    const auto size = static_cast<std::size_t>(stretch.tested - stretch.begin);
    const std::size_t limit =
        last < stretch.tested ? static_cast<std::size_t>(last - stretch.begin) + 1 : size;
    const RepeatHit hit =
        search_.find(look_, stretch, static_cast<std::size_t>(place - stretch.begin), limit);
    if (hit.place < limit) return {stretch.begin + hit.place, hit.length};
    place = stretch.tested;
    if (limit < size) break;
  }
  return {nullptr, 0};
}

}  // namespace trovex

#endif
