// The steps of a row, and the marking of places with vector instructions.

#include "matcher/runs/run_filter.h"

#include "matcher/scan/place_scan.h"

#include <algorithm>
#include <bit>
#include <cstring>

#ifdef TROVEX_USE_HIGHWAY

// Vectors whose length is known only at run time cannot be members.
#define HWY_DISABLED_TARGETS (HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128 | HWY_RVV)
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "matcher/runs/run_filter.cpp"
#include <hwy/foreach_target.h>
// Must come after it.
#include <hwy/highway.h>
#include "matcher/runs/set_members-inl.h"

HWY_BEFORE_NAMESPACE();
namespace trovex {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

MarkPlaces ChooseMark() {
  return nullptr;
}

#else

/// The bytes of a vector from the last to the first.
HWY_INLINE Bytes Reversed(Bytes bytes) {
  alignas(16) static constexpr std::uint8_t kBackwards[16] = {7,  6,  5,  4,  3,  2,  1, 0,
                                                              15, 14, 13, 12, 11, 10, 9, 8};
  const hn::Repartition<std::uint64_t, Tag> wide;
  const Bytes eights = hn::BitCast(Tag(), hn::Reverse(wide, hn::BitCast(wide, bytes)));
  return hn::TableLookupBytes(eights, hn::LoadDup128(Tag(), kBackwards));
}

/// Which of `bytes` belong to the set that the first probe of `tables` looks for.
HWY_INLINE std::uint64_t MembersOf(const ScanTables& tables, Bytes bytes) {
  if (tables.form == ScanForm::kBytes) return ByteMembers(tables)(bytes);
  return tables.form == ScanForm::kKinds ? KindMembers(tables)(bytes) : RangeMembers(tables)(bytes);
}

/// What the steps of one word hand on to those of the word before it in the text.
using Carries = std::array<std::uint64_t, RunSteps::kMostSteps>;

/// The places of sixty-four bytes at which the row can begin; `members` are the bytes of each set.
HWY_INLINE PlaceMarks MarkWord(const RunSteps& steps, const std::uint64_t* members,
                               Carries& carries) {
  using Kind = RunSteps::Kind;
  // The bits of the bytes that can stand last before what was followed so far.
  std::uint64_t before = ~std::uint64_t{0};
  for (std::size_t i = 0; i < steps.stepCount; ++i) {
    const std::uint64_t own = members[steps.steps[i].set];
    const std::uint64_t taken = before & own;
    std::uint64_t& carry = carries[i];
    switch (steps.steps[i].kind) {
      case Kind::kByte:
        before = taken << 1 | carry;
        carry = taken >> 63;
        break;
      case Kind::kMaybe:
        before |= taken << 1 | carry;
        carry = taken >> 63;
        break;
      case Kind::kEndless: {
        std::uint64_t sum = 0;
        const bool isOver = __builtin_add_overflow(taken, own, &sum);
        const bool isOverByCarry = __builtin_add_overflow(sum, carry, &sum);
        before |= sum ^ own;
        carry = static_cast<std::uint64_t>(isOver || isOverByCarry);
        break;
      }
      case Kind::kFirstByte:
        before = taken;
        break;
    }
  }
  return before;
}

void Mark(const RunSteps& steps, const Byte* begin, std::size_t words, const Byte* end,
          PlaceMarks* marks) {
  constexpr std::ptrdiff_t kAhead = 4096;
  // Beyond the text, line feeds are thought to stand, of which no run has any.
  Byte lastBytes[kPlaces];
  std::memset(lastBytes, '\n', sizeof lastBytes);
  Carries carries;
  const auto length = static_cast<std::size_t>(end - begin);
  carries.fill(length >= words * kPlaces ? 1 : 0);
  for (std::size_t word = words; word-- > 0;) {
    const Byte* place = begin + word * kPlaces;
    const std::size_t room = length - word * kPlaces;
    if (room < kPlaces) {
      std::memcpy(lastBytes, place, room);
      place = lastBytes;
    } else {
      __builtin_prefetch(
          reinterpret_cast<const void*>(reinterpret_cast<std::uintptr_t>(place) + kAhead));
    }
    std::uint64_t members[RunSteps::kMostSets] = {};
    for (std::size_t part = 0; part < kVectors; ++part) {
      const Bytes bytes = Reversed(hn::LoadU(Tag(), place + (kVectors - 1 - part) * kVector));
      for (std::size_t set = 0; set < steps.setCount; ++set)
        members[set] |= MembersOf(steps.sets[set], bytes) << (part * kVector);
    }
    marks[word] = MarkWord(steps, members, carries);
  }
}

MarkPlaces ChooseMark() {
  return &Mark;
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
HWY_EXPORT(ChooseMark);
MarkPlaces ChooseMarkPlaces() {
  return HWY_DYNAMIC_DISPATCH(ChooseMark)();
}
#else
MarkPlaces ChooseMarkPlaces() {
  return nullptr;
}
#endif

bool RunFilter::Add(RunSteps::Kind kind, std::uint8_t set) {
  if (steps_.stepCount == RunSteps::kMostSteps) return false;
  steps_.steps[steps_.stepCount++] = {kind, set};
  return true;
}

/// Adds the steps of a run. False where there is no room for them.
bool RunFilter::AddRun(const Run& run, bool isFirst, std::uint8_t set) {
  using Kind = RunSteps::Kind;
  constexpr std::uint32_t kFewMore = 3;
  if (run.most != Run::kEndless && run.most - run.least <= kFewMore) {
    for (std::uint32_t more = run.least; more < run.most; ++more) {
      if (!Add(Kind::kMaybe, set)) return false;
    }
  } else if (!Add(Kind::kEndless, set)) {
    return false;
  }
  const std::uint32_t beforeLast = isFirst ? 1 : 0;
  for (std::uint32_t i = beforeLast; i < run.least; ++i) {
    if (!Add(Kind::kByte, set)) return false;
  }
  return !isFirst || Add(Kind::kFirstByte, set);
}

std::optional<RunFilter> RunFilter::For(const std::vector<Run>& runs) {
  RunFilter filter;
  filter.mark_ = ChooseMarkPlaces();
  if (filter.mark_ == nullptr || runs.empty() || runs.front().least == 0) return std::nullopt;
  RunSteps& steps = filter.steps_;
  std::vector<CharSet> sets;
  for (std::size_t i = runs.size(); i-- > 0;) {
    const auto known = std::find(sets.begin(), sets.end(), runs[i].bytes);
    const auto set = static_cast<std::uint8_t>(known - sets.begin());
    if (known == sets.end()) {
      if (sets.size() == RunSteps::kMostSets) return std::nullopt;
      sets.push_back(runs[i].bytes);
      steps.sets[steps.setCount++] = PlaceScan(Probes{{0, runs[i].bytes}}).Tables();
    }
    if (!filter.AddRun(runs[i], i == 0, set)) return std::nullopt;
  }
  return filter;
}

void RunFilter::Test(const unsigned char* place, const unsigned char* end, Cursor& cursor) const {
  constexpr std::size_t kPlaces = 64;
  const bool goesOn = place == cursor.tested_ && end == cursor.end_;
  cursor.words_ = goesOn ? std::min(2 * cursor.words_, Cursor::kMostWords) : Cursor::kFirstWords;
  const auto length = static_cast<std::size_t>(end - place);
  const std::size_t words = std::min(cursor.words_, (length + kPlaces - 1) / kPlaces);
  mark_(steps_, place, words, end, cursor.marks_.data());
  cursor.begin_ = place;
  cursor.tested_ = place + std::min(length, words * kPlaces);
  cursor.end_ = end;
}

const unsigned char* RunFilter::Find(const unsigned char* place, const unsigned char* end,
                                     Cursor& cursor) const {
  constexpr std::size_t kPlaces = 64;
  while (place < end) {
    if (place < cursor.begin_ || place >= cursor.tested_ || end != cursor.end_)
      Test(place, end, cursor);
    const auto offset = static_cast<std::size_t>(place - cursor.begin_);
    const auto tested = static_cast<std::size_t>(cursor.tested_ - cursor.begin_);
    std::size_t word = offset / kPlaces;
    PlaceMarks marks = cursor.marks_[word] & ~PlaceMarks{0} >> offset % kPlaces;
    while (marks == 0 && ++word * kPlaces < tested)
      marks = cursor.marks_[word];
    if (marks != 0) {
      const unsigned char* const found =
          cursor.begin_ + (word * kPlaces + static_cast<std::size_t>(std::countl_zero(marks)));
      return found < end ? found : nullptr;
    }
    place = cursor.tested_;
  }
  return nullptr;
}

}  // namespace trovex

#endif
