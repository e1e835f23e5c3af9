// The edges of runs, with vector instructions.

#include "matcher/runs/class_run.h"

#include "matcher/tuning.h"

#include <algorithm>
#include <bit>
#include <cstring>

#ifdef TROVEX_USE_HIGHWAY

// Vectors whose length is known only at run time cannot be members.
#define HWY_DISABLED_TARGETS (HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128 | HWY_RVV)
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "matcher/runs/class_run.cpp"
#include <hwy/foreach_target.h>
// Must come after it.
#include <hwy/highway.h>
#include "matcher/runs/set_members-inl.h"

HWY_BEFORE_NAMESPACE();
namespace trovex {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

ClassSearch ChooseSearch(const ScanTables& /*tables*/) {
  return {};
}

#else

/// The members of the sixty-four bytes at `place`, or of as many as there are.
template <class Members>
HWY_INLINE std::uint64_t MembersFrom(const Members& members, const Byte* place, const Byte* end) {
  constexpr std::ptrdiff_t kAhead = 4096;
  if (end - place < static_cast<std::ptrdiff_t>(kPlaces))
    return MembersOfFew(members, place, end - place);
  __builtin_prefetch(
      reinterpret_cast<const void*>(reinterpret_cast<std::uintptr_t>(place) + kAhead));
  return MembersOfWord(members, place);
}

/// Of the places of `word`, those from which `least` members follow one another; `next` is the word after it.
HWY_INLINE std::uint64_t StartsIn(std::uint64_t word, std::uint64_t next, std::uint32_t least) {
  for (std::uint32_t known = 1; known < least;) {
    const std::uint32_t more = std::min(known, least - known);
    word &= word >> more | next << (kPlaces - more);
    next &= next >> more;
    known += more;
  }
  return word;
}

/// Writes the places of a word's bits, whose first one stands for `at`. Returns where the next one goes.
HWY_INLINE std::uint16_t* WritePlaces(std::uint64_t bits, std::size_t at, std::uint16_t* places) {
  constexpr int kAtOnce = 4;
  std::uint16_t* const end = places + std::popcount(bits);
  // Without a branch for each: what is too much is written over by the next word.
  while (bits != 0) {
    for (int i = 0; i < kAtOnce; ++i, bits &= bits - 1)
      places[i] = static_cast<std::uint16_t>(at + (std::countr_zero(bits) & (kPlaces - 1)));
    places += kAtOnce;
  }
  return end;
}

using WordTag = hn::ScalableTag<std::uint64_t>;
constexpr std::size_t kWordsAtOnce = hn::MaxLanes(WordTag());

/// The bits of a stretch. There is one word more than the stretch has, for runs that begin in it; before the first
/// one and after the last one there are words of nothing, for vectors are read and written whole.
class StretchBits {
 public:
  static constexpr std::size_t kRoom = RunEdges::kMostWords + 1 + kWordsAtOnce;

  HWY_INLINE explicit StretchBits(std::size_t words) : words_(words) {
    bits_[0] = 0;
    std::fill_n(bits_ + 1 + words + 1, kWordsAtOnce, 0);
  }
  HWY_INLINE std::uint64_t& operator[](std::size_t word) { return bits_[word + 1]; }
  HWY_INLINE auto At(std::size_t word) const { return hn::LoadU(WordTag(), bits_ + 1 + word); }
  /// The bits of the word before each.
  HWY_INLINE auto Before(std::size_t word) const { return hn::LoadU(WordTag(), bits_ + word); }

  /// Leaves those bits of which the one `distance` further is set too.
  HWY_INLINE void KeepWhatFollows(int distance) {
    for (std::size_t word = 0; word <= words_; word += kWordsAtOnce) {
      const auto here = At(word);
      const auto next = hn::LoadU(WordTag(), bits_ + 1 + word + 1);
      const auto moved = hn::Or(hn::ShiftRightSame(here, distance),
                                hn::ShiftLeftSame(next, static_cast<int>(kPlaces) - distance));
      hn::StoreU(hn::And(here, moved), WordTag(), bits_ + 1 + word);
    }
  }

 private:
  std::size_t words_;
  std::uint64_t bits_[1 + kRoom];
};

/// Those bits, moved so far from each word to the next.
HWY_INLINE auto Moved(const StretchBits& bits, std::size_t word, int distance) {
  return hn::Or(hn::ShiftLeftSame(bits.At(word), distance),
                hn::ShiftRightSame(bits.Before(word), static_cast<int>(kPlaces) - distance));
}

template <class Members>
void Mark(const ScanTables& tables, std::uint32_t least, const Byte* begin, std::size_t words,
          const Byte* end, RunEdges& edges) {
  const Members membersOf(tables);
  StretchBits members(words);
  StretchBits starts(words);
  std::uint64_t any = 0;
  for (std::size_t word = 0; word <= words; ++word) {
    const std::size_t at = std::min(word * kPlaces, static_cast<std::size_t>(end - begin));
    const std::uint64_t here = MembersFrom(membersOf, begin + at, end);
    members[word] = starts[word] = here;
    any |= here;
  }
  edges.count = 0;
  if (any == 0) return;
  for (std::uint32_t known = 1; known < least;) {
    const std::uint32_t more = std::min(known, least - known);
    starts.KeepWhatFollows(static_cast<int>(more));
    known += more;
  }
  // A run begins at a start that has no member before it, and has ended where no member stands and a start is so
  // many places before.
  alignas(64) std::uint64_t bits[StretchBits::kRoom];
  const int length = static_cast<int>(least);
  for (std::size_t word = 0; word < words; word += kWordsAtOnce) {
    const auto first = hn::AndNot(Moved(members, word, 1), starts.At(word));
    const auto last = hn::AndNot(members.At(word), Moved(starts, word, length));
    hn::Store(hn::Or(first, last), WordTag(), bits + word);
  }
  std::uint16_t* places = edges.places.data();
  for (std::size_t word = 0; word < words; ++word) {
    if (bits[word] != 0) places = WritePlaces(bits[word], word * kPlaces, places);
  }
  edges.count = static_cast<std::size_t>(places - edges.places.data());
}

/// The first run of at least `least` members in [begin, end). Where it ends is mostly told by the same bits.
template <class Members>
FirstRun First(const ScanTables& tables, std::uint32_t least, const Byte* begin, const Byte* end) {
  const Members membersOf(tables);
  std::uint64_t members = MembersFrom(membersOf, begin, end);
  while (end - begin >= static_cast<std::ptrdiff_t>(least)) {
    const Byte* const nextPlace = end - begin > std::ptrdiff_t{kPlaces} ? begin + kPlaces : end;
    const std::uint64_t next = MembersFrom(membersOf, nextPlace, end);
    const std::uint64_t starts = StartsIn(members, next, least);
    if (starts != 0) {
      const int start = std::countr_zero(starts);
      const int stop = start + std::countr_one(members >> start);
      return {begin + start, begin + stop, stop < static_cast<int>(kPlaces)};
    }
    members = next;
    begin = nextPlace;
  }
  return {};
}

template <class Members>
ClassSearch SearchOf() {
  return {&Mark<Members>, &First<Members>};
}

ClassSearch ChooseSearch(const ScanTables& tables) {
  if (tables.form == ScanForm::kBytes) return SearchOf<ByteMembers>();
  return tables.form == ScanForm::kKinds ? SearchOf<KindMembers>() : SearchOf<RangeMembers>();
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
HWY_EXPORT(ChooseSearch);
ClassSearch ChooseClassSearch(const ScanTables& tables) {
  return HWY_DYNAMIC_DISPATCH(ChooseSearch)(tables);
}
#else
ClassSearch ChooseClassSearch(const ScanTables& /*tables*/) {
  return {};
}
#endif

namespace {

/// Tables that tell the bytes of `set` and no others, in one of the forms; nothing where none does.
std::optional<ScanTables> ExactTables(const CharSet& set) {
  ScanTables tables = PlaceScan(Probes{{0, set}}).Tables();
  if (tables.isExact) return tables;
  if (!AreHalvesExact(tables, set)) return std::nullopt;
  tables.form = ScanForm::kKinds;
  return tables;
}

}  // namespace

ClassRun::ClassRun(const Run& run)
    : others_(Probes{{0, ~run.bytes}}), least_(run.least), most_(run.most) {}

std::optional<ClassRun> ClassRun::For(const Run& run) {
  if (run.least == 0 || run.least >= RunEdges::kBits) return std::nullopt;
  const std::optional<ScanTables> tables = ExactTables(run.bytes);
  if (!tables) return std::nullopt;
  ClassRun classRun(run);
  classRun.tables_ = *tables;
  classRun.search_ = ChooseClassSearch(*tables);
  if (classRun.search_.markEdges == nullptr) return std::nullopt;
  return classRun;
}

std::pair<const unsigned char*, const unsigned char*> ClassRun::First(
    const unsigned char* place, const unsigned char* end) const {
  const FirstRun run = search_.findFirst(tables_, static_cast<std::uint32_t>(least_), place, end);
  if (run.start == nullptr) return {nullptr, nullptr};
  const unsigned char* const limit = end - run.start > most_ ? run.start + most_ : end;
  if (run.ends || run.known >= limit) return {run.start, std::min(run.known, limit)};
  const unsigned char* const stop = others_.Find(run.known, limit);
  return {run.start, stop != nullptr ? stop : limit};
}

void ClassRun::Test(const unsigned char* place, const unsigned char* end, Cursor& cursor) const {
  constexpr std::size_t kBits = RunEdges::kBits;
  const bool goesOn = place == cursor.tested_ && end == cursor.end_;
  cursor.words_ = goesOn ? std::min(2 * cursor.words_, RunEdges::kMostWords) : Cursor::kFirstWords;
  const auto length = static_cast<std::size_t>(end - place);
  const std::size_t words = std::min(cursor.words_, (length + kBits - 1) / kBits);
  search_.markEdges(tables_, static_cast<std::uint32_t>(least_), place, words, end, cursor.edges_);
  cursor.begin_ = cursor.place_ = place;
  cursor.tested_ = place + std::min(length, words * kBits);
  cursor.end_ = end;
  cursor.next_ = 0;
  FindLastStop(cursor);
}

/// Finds where the last run ends, if it goes on beyond the stretch. A match that has an end needs not all of it.
void ClassRun::FindLastStop(Cursor& cursor) const {
  static_assert(kFarRun > kMostBoundedRun);
  RunEdges& edges = cursor.edges_;
  cursor.isCut_ = false;
  if (edges.count == 0) return;
  if (edges.count % 2 == 0) {
    cursor.lastStop_ = cursor.begin_ + edges.places[edges.count - 1];
    return;
  }
  ++edges.count;
  const bool isFar = most_ != Run::kEndless && cursor.end_ - cursor.tested_ > kFarRun;
  const unsigned char* const limit = isFar ? cursor.tested_ + kFarRun : cursor.end_;
  const unsigned char* const stop =
      cursor.tested_ < limit ? others_.Find(cursor.tested_, limit) : nullptr;
  cursor.isCut_ = stop == nullptr && isFar;
  cursor.lastStop_ = stop != nullptr ? stop : limit;
  cursor.tested_ = cursor.lastStop_;
}

}  // namespace trovex

#endif
