#include "matcher/runs/run_scan.h"

#include "matcher/tuning.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <optional>

namespace trovex {

namespace {

/// `runs` and what must stand after them.
std::vector<Run> WithWhatIsAfter(std::vector<Run> runs, const CharSet& after) {
  if (!after.all()) runs.push_back({after, 1, 1});
  return runs;
}

/// Whether a byte of run `index` can also be the first of what may follow it.
bool MeetsWhatFollows(const std::vector<Run>& runs, std::size_t index) {
  for (std::size_t next = index + 1; next < runs.size(); ++next) {
    if ((runs[index].bytes & runs[next].bytes).any()) return true;
    if (runs[next].least > 0) break;
  }
  return false;
}

/// Whether all runs after `index` have a fixed length, and how long they are together.
std::optional<std::uint32_t> FixedLengthAfter(const std::vector<Run>& runs, std::size_t index) {
  std::uint32_t length = 0;
  for (std::size_t next = index + 1; next < runs.size(); ++next) {
    if (!runs[next].IsFixed() || runs[next].least > kMostBoundedRun) return std::nullopt;
    length += runs[next].least;
  }
  return length;
}

/// The bytes of the fixed runs from `first` up to `last`, one set for each.
std::vector<CharSet> BytesFrom(const std::vector<Run>& runs, std::size_t first, std::size_t last) {
  std::vector<CharSet> bytes;
  for (; first < last; ++first)
    bytes.insert(bytes.end(), runs[first].least, runs[first].bytes);
  return bytes;
}

/// Where run `index` is an endless one that fixed runs follow, and then one that has all their bytes, and its own: the
/// number of that one, else 0. What goes on from a later place of these runs goes on from the first one, too.
std::size_t GoesOnIn(const std::vector<Run>& runs, std::size_t index) {
  if (runs[index].most != Run::kEndless) return 0;
  CharSet bytes = runs[index].bytes;
  std::size_t length = 0;
  std::size_t next = index + 1;
  for (; next < runs.size() && runs[next].IsFixed(); ++next) {
    bytes |= runs[next].bytes;
    length += runs[next].least;
  }
  const bool goesOn = length > 0 && length <= kLongestRequired && next < runs.size() &&
                      runs[next].most == Run::kEndless && (bytes & ~runs[next].bytes).none();
  return goesOn ? next : 0;
}

bool CanBeWalked(const std::vector<Run>& runs, std::size_t index) {
  const Run& run = runs[index];
  if (run.most != Run::kEndless && run.most > kMostBoundedRun) return false;
  if (run.IsFixed() || !MeetsWhatFollows(runs, index)) return true;
  if (GoesOnIn(runs, index) != 0) return true;
  const std::optional<std::uint32_t> tail = FixedLengthAfter(runs, index);
  return tail && *tail <= kMostTailBytes;
}

}  // namespace

bool RunScan::CanTake(const std::vector<Run>& runs, const CharSet& after) {
  const std::vector<Run> all = WithWhatIsAfter(runs, after);
  if (runs.empty() || all.size() > kMaxRuns) return false;
  for (std::size_t i = 0; i < all.size(); ++i) {
    if (!CanBeWalked(all, i)) return false;
  }
  return true;
}

RunScan::ReadyRun::ReadyRun(const Run& run)
    : least(run.least),
      most(run.most),
      isFixed(run.IsFixed()),
      isEndless(run.most == Run::kEndless),
      members(MembersOf(run.bytes)),
      exits(Probes{{0, ~run.bytes}}) {}

RunScan::RunScan(const std::vector<Run>& runs, const CharSet& after)
    : after_(after.all() ? 0 : 1), tried_(kMaxRuns) {
  const std::vector<Run> all = WithWhatIsAfter(runs, after);
  for (std::size_t i = 0; i < all.size(); ++i) {
    runs_.emplace_back(all[i]);
    if (tried_ < i) tailLength_ += all[i].least;
    if (all[i].IsFixed() || !MeetsWhatFollows(all, i)) continue;
    if (const std::size_t next = GoesOnIn(all, i); next != 0) {
      runs_[i].bridge.emplace(BytesFrom(all, i + 1, next));
      runs_[i].next = next;
    } else {
      tried_ = i;
    }
  }
  for (std::size_t i = 0; i < all.size(); ++i) {
    if (all[i].IsFixed() || runs_[i].bridge) continue;
    runs_[i].glance = RunGlance::For(all[i].bytes, all[i == tried_ ? i + 1 : i].bytes);
  }
  if (tried_ == kMaxRuns || IsAfter(tried_ + 1) || all[tried_ + 1].bytes.count() != 1) return;
  for (tailByte_ = 0; !all[tried_ + 1].bytes[static_cast<std::size_t>(tailByte_)];)
    ++tailByte_;
}

/// The end of what the run can take from `place` up to `limit`.
inline const unsigned char* RunScan::EndOfRun(const ReadyRun& run, const Byte* place,
                                              const Byte* limit) {
  if (limit - place <= kFewRunBytes) {
    while (place != limit && run.members[*place])
      ++place;
    return place;
  }
  const Byte* const exit = run.exits.Find(place, limit);
  return exit != nullptr ? exit : limit;
}

/// The same of a run with an end; of a long one the bytes are noted, so that the next start that comes into
/// it reads on from there.
inline const unsigned char* RunScan::EndOfBoundedRun(std::size_t index, const Byte* place,
                                                     const Byte* end, Notes& notes) const {
  const ReadyRun& run = runs_[index];
  const Byte* const limit = end - place > run.most ? place + run.most : end;
  if (run.most < kLongRun) return EndOfRun(run, place, limit);
  if (notes.isEmpty_) Prepare(notes);
  Notes::Stretch& known = notes.known_[index];
  if (!known.Holds(place)) {
    known = {place, place};
    notes.endsThere_[index] = false;
  }
  if (known.last < limit && !notes.endsThere_[index]) {
    known.last = EndOfRun(run, known.last, limit);
    notes.endsThere_[index] = known.last < limit;
  }
  return std::min(known.last, limit);
}

/// Whether the fixed runs after the one that is tried stand at `place`, where they have room.
bool RunScan::HoldsTail(const Byte* place, const Byte* end) const {
  for (std::size_t i = tried_ + 1; i < runs_.size(); ++i) {
    for (std::ptrdiff_t n = 0; n < runs_[i].least; ++n) {
      if (!runs_[i].members[place != end ? *place++ : Byte{'\n'}]) return false;
    }
  }
  return true;
}

/// Where what follows the run that is tried stands last in a text that ends at `end`, if it begins from `lowest` up to
/// `highest`; null if it does nowhere.
const unsigned char* RunScan::LastTail(const Byte* lowest, const Byte* highest, const Byte* end,
                                       Notes& notes) const {
  const std::ptrdiff_t missing = tailLength_ - after_ - (end - highest);
  if (highest - lowest < missing) return nullptr;
  if (missing > 0) highest -= missing;
  if (notes.isEmpty_) Prepare(notes);
  Notes::Stretch& without = notes.withoutTail_;
  const bool isContinued = without.Holds(lowest);
  const Byte* const from = isContinued ? without.last + 1 : lowest;
  for (const Byte* place = highest; place >= from; --place) {
    if (tailByte_ >= 0) {
      place = static_cast<const Byte*>(
          memrchr(from, tailByte_, static_cast<std::size_t>(place - from) + 1));
      if (place == nullptr) break;
    }
    if (HoldsTail(place, end)) return place;
  }
  if (!isContinued) without.first = lowest;
  if (!isContinued || highest > without.last) without.last = highest;
  return nullptr;
}

inline bool RunScan::IsNoted(std::size_t run, const Byte* place, const Notes& notes) const {
  return !notes.isEmpty_ && notes.failures_[run].Holds(place);
}

/// Makes empty notes.
void RunScan::Prepare(Notes& notes) const {
  notes.isEmpty_ = false;
  const Notes::Stretch none = {nullptr, nullptr};
  std::fill_n(notes.failures_.begin(), runs_.size(), none);
  std::fill_n(notes.known_.begin(), runs_.size(), none);
  notes.withoutTail_ = none;
}

void RunScan::Note(std::size_t run, const Byte* first, const Byte* last, Notes& notes) const {
  if (notes.isEmpty_) Prepare(notes);
  notes.failures_[run] = {first, last};
}

void RunScan::NoteFailure(const Walk& walk, Notes& notes) const {
  for (std::uint32_t rest = walk.read; rest != 0; rest &= rest - 1) {
    const auto run = static_cast<std::size_t>(std::countr_zero(rest));
    Note(run, walk.entered[run], walk.left[run], notes);
  }
}

/// Goes past a fixed run; null if it does not stand at `place`.
inline const unsigned char* RunScan::PassFixed(const ReadyRun& run, const Byte* place,
                                               const Byte* end) {
  if (end - place < run.least) return nullptr;
  for (const Byte* const stop = place + run.least; place != stop; ++place) {
    if (!run.members[*place]) return nullptr;
  }
  return place;
}

/// The last of the places, bits after `base`, at which what follows the run that is tried stands; null if there is none.
inline const unsigned char* RunScan::LastTailAmong(std::uint64_t places, const Byte* base,
                                                   const Byte* end) const {
  constexpr int kHighest = 63;
  while (places != 0) {
    const int last = kHighest - std::countl_zero(places);
    if (HoldsTail(base + last, end)) return base + last;
    places ^= std::uint64_t{1} << last;
  }
  return nullptr;
}

/// Goes past a run of which all is seen at a glance: to where it ends, or where it is tried, to what follows it last.
/// Null if it fails. False where that would have to be tried at many places, and be noted.
inline bool RunScan::PassAtAGlance(std::size_t index, const Byte*& place, const Byte* begin,
                                   const Byte* end) const {
  const ReadyRun& run = runs_[index];
  const GlanceBits bits = run.glance->At(place, begin, end);
  const auto length = std::min<std::ptrdiff_t>(std::countr_one(bits.members), run.most);
  if (length == RunGlance::kBytes) return false;
  if (length < run.least) {
    place = nullptr;
  } else if (index != tried_) {
    place += length;
  } else {
    const std::uint64_t upTo = ~std::uint64_t{0} >> (RunGlance::kBytes - 1 - length);
    const std::uint64_t tails = bits.next & upTo & ~std::uint64_t{0} << run.least;
    if (tailLength_ > 1 && std::popcount(tails) > kFewTails) return false;
    place = LastTailAmong(tails, place, end);
  }
  return true;
}

const unsigned char* RunScan::EndOfMatch(const Byte* start, const Byte* begin, const Byte* end,
                                         Notes& notes) const {
  Walk walk;
  const Byte* place = start;
  const auto fail = [&]() -> const Byte* {
    if (walk.read != 0) NoteFailure(walk, notes);
    return nullptr;
  };
  const std::size_t count = runs_.size();
  for (std::size_t i = 0; i < count; ++i) {
    const ReadyRun& run = runs_[i];
    if (after_ != 0 && i + 1 == count)
      return run.members[place != end ? *place : Byte{'\n'}] ? place : fail();
    if (run.isFixed && run.most < kLongRun) {
      place = PassFixed(run, place, end);
      if (place == nullptr) return fail();
      continue;
    }
    const bool isRefused = run.isEndless && IsNoted(i, place, notes);
    if (run.glance && !isRefused && place != end && PassAtAGlance(i, place, begin, end)) {
      if (place == nullptr) return fail();
      if (i == tried_) return place + (tailLength_ - after_);
      continue;
    }
    const Byte* const left = isRefused       ? notes.failures_[i].last
                             : run.isEndless ? EndOfRun(run, place, end)
                                             : EndOfBoundedRun(i, place, end, notes);
    walk.entered[i] = place;
    walk.left[i] = left;
    if (run.isEndless) walk.read |= std::uint32_t{1} << i;
    if (isRefused || left - place < run.least) return fail();
    if (i == tried_) {
      const Byte* const tail = LastTail(place + run.least, left, end, notes);
      if (tail == nullptr) return fail();
      if (run.isEndless) Note(i, tail + 1, left, notes);
      return tail + (tailLength_ - after_);
    }
    place = left;
    if (run.bridge) {
      place = AfterBridge(run, walk.entered[i] + run.least, left, end);
      if (place == nullptr) return fail();
      i = run.next - 1;
    }
  }
  return place;
}

/// Behind the first of the strings after the run that begin from `lowest` up to `highest`, in a text that ends at
/// `end`; null if there is none.
const unsigned char* RunScan::AfterBridge(const ReadyRun& run, const Byte* lowest,
                                          const Byte* highest, const Byte* end) {
  const auto length = static_cast<std::ptrdiff_t>(run.bridge->Length());
  const Byte* const limit = end - highest > length ? highest + length : end;
  const Byte* const found = run.bridge->Find(lowest, limit);
  return found != nullptr ? found + length : nullptr;
}

const unsigned char* RunScan::NextStart(const Byte* start, const Notes& notes) const {
  if (!runs_[0].isEndless || !IsNoted(0, start, notes)) return start + 1;
  return notes.failures_[0].last + 1;
}

}  // namespace trovex
