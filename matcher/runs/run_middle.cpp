#include "matcher/runs/run_middle.h"

#include "matcher/scan/place_scan.h"
#include "matcher/tuning.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace trovex {

/// The string that begins with run `middle`: what has a fixed length there, and beside that one byte before it and
/// what every match has after it.
struct MiddleString {
  std::vector<CharSet> sets;
  bool hasLead;
  bool isLast;       // the row ends with it
  bool meetsBefore;  // the run before it has no end and may hold its first byte
};

namespace {

bool Meet(const Run& a, const Run& b) {
  return (a.bytes & b.bytes).any();
}

/// What stands at `middle`: the first byte of the string, or behind all runs what must stand after a match.
const CharSet& BytesAt(const std::vector<Run>& runs, std::size_t middle, const Beside& beside) {
  return middle < runs.size() ? runs[middle].bytes : beside.after;
}

/// Whether run `index` has a byte of one before `middle` that can stand right after it.
bool MeetsNext(const std::vector<Run>& runs, std::size_t index, std::size_t middle) {
  for (std::size_t next = index + 1; next < middle; ++next) {
    if (Meet(runs[index], runs[next])) return true;
    if (runs[next].least > 0) break;
  }
  return false;
}

/// Whether the way back from run `middle`, the first of a string, is one, as it is told above.
bool IsMiddle(const std::vector<Run>& runs, std::size_t middle, const Beside& beside) {
  const bool isBehind = middle == runs.size();
  if (isBehind && (beside.after.count() != 1 || runs.back().least == 0)) return false;
  if (!isBehind && (!runs[middle].IsFixed() || runs[middle].least == 0)) return false;
  bool hasBefore = false;  // whether something has to stand before the run
  for (std::size_t i = 0; i < middle; ++i) {
    const Run& run = runs[i];
    const bool isEndless = run.most == Run::kEndless;
    if (MeetsNext(runs, i, middle)) return false;
    if (i > 0 && !isEndless && !hasBefore) return false;
    if (run.least > 0) hasBefore = true;
    if ((run.bytes & BytesAt(runs, middle, beside)).none()) continue;
    if (isBehind) return false;
    const bool isAlone = middle == 1 && run.least <= kFewRunBytes;
    if (i + 1 != middle || (!isEndless && !isAlone)) return false;
  }
  return true;
}

/// Common sets at the ends of a long string take longer to look at than they save.
MiddleString StringFrom(const std::vector<Run>& runs, std::size_t middle) {
  if (middle == runs.size()) return {{runs.back().bytes}, true, true, false};
  const auto isCommon = [](const CharSet& set) {
    return ExpectedRate(Probes{{0, set}}) > kCommonSet;
  };
  std::vector<CharSet> string;
  const bool meetsBefore = Meet(runs[middle - 1], runs[middle]);
  const bool isTold = runs[middle - 1].least > 0 && !meetsBefore;
  bool isLast = false;
  if (isTold) string.push_back(runs[middle - 1].bytes);
  for (std::size_t next = middle; next < runs.size(); ++next) {
    const std::size_t room = kLongestRequired - std::min(string.size(), kLongestRequired);
    string.insert(string.end(), std::min<std::size_t>(runs[next].least, room), runs[next].bytes);
    isLast = next + 1 == runs.size() && runs[next].IsFixed() && runs[next].least <= room;
    if (!runs[next].IsFixed()) break;
  }
  while (string.size() > kShortString && isCommon(string.back())) {
    string.pop_back();
    isLast = false;
  }
  const bool isCut = isTold && string.size() > kShortString && isCommon(string.front());
  if (isCut) string.erase(string.begin());
  return {std::move(string), isTold && !isCut, isLast,
          meetsBefore && runs[middle - 1].most == Run::kEndless};
}

/// What must stand after the string, which is what must stand after a match where the row ends with it.
Beside AfterString(const MiddleString& middle, const Beside& beside) {
  Beside after;
  if (middle.isLast) after.after = beside.after;
  return after;
}

/// At how many of 100,000 places the string is to be expected.
double RateOf(const MiddleString& middle, const Beside& beside) {
  std::vector<CharSet> string = middle.sets;
  if (middle.isLast && beside.AsksAfter()) string.push_back(beside.after);
  return RateInClusters(ChooseProbes(string));
}

/// Whether the one way back leads to the only start that has what must stand before it.
bool IsStartOnly(const std::vector<Run>& runs, const Beside& beside) {
  if (!beside.AsksBefore()) return true;
  for (const Run& run : runs) {
    if (!run.IsFixed() && (run.bytes & beside.before).any()) return false;
    if (run.least > 0) break;
  }
  return true;
}

}  // namespace

RunMiddle::RunMiddle(const std::vector<Run>& runs, std::size_t middle, const MiddleString& told,
                     const Beside& beside)
    : meetsMiddle_(told.meetsBefore),
      lead_(told.hasLead ? 1 : 0),
      beginsLines_(IsLineFeed(beside.before)),
      mayBeBefore_(MembersOf(beside.before)),
      rate_(RateOf(told, beside)),
      string_(told.sets, AfterString(told, beside)) {
  for (std::size_t i = middle; i-- > 0;)
    before_.push_back({runs[i].least, runs[i].most, MembersOf(runs[i].bytes)});
}

std::optional<RunMiddle> RunMiddle::For(const std::vector<Run>& runs, const Beside& beside) {
  std::optional<RunMiddle> rarest;
  if (runs.empty() || !IsStartOnly(runs, beside)) return rarest;
  for (std::size_t middle = 1; middle <= runs.size(); ++middle) {
    if (!IsMiddle(runs, middle, beside)) continue;
    RunMiddle found(runs, middle, StringFrom(runs, middle), beside);
    if (!rarest || found.rate_ < rarest->rate_) rarest.emplace(std::move(found));
  }
  return rarest;
}

std::pair<const unsigned char*, const unsigned char*> RunMiddle::First(
    const Byte* place, const Byte* end, const RunScan& scan, RunScan::Notes& notes) const {
  Walk walk = {place, place, end, nullptr};
  while ((place = string_.Find(place, end)) != nullptr) {
    const auto match = MatchAround(place, scan, notes, walk);
    if (match.first != nullptr) return match;
    ++place;
  }
  return {nullptr, nullptr};
}

/// The leftmost place from which the runs before the string lead to it at `middle`; null if there is none. How many
/// bytes the run has that may hold the string itself is told on the way forward.
const unsigned char* RunMiddle::StartBefore(const Byte* middle, const Walk& walk) const {
  const Byte* place = middle;
  for (std::size_t i = 0; i < before_.size(); ++i) {
    const RunBefore& run = before_[i];
    const bool isFirst = i + 1 == before_.size();
    const bool holdsMiddle = i == 0 && meetsMiddle_;
    const Byte* lowest = isFirst && place - walk.place > run.most ? place - run.most : walk.place;
    if (holdsMiddle && walk.tried > lowest) lowest = walk.tried;
    const Byte* first = place;
    while (first > lowest && run.members[first[-1]])
      --first;
    if (holdsMiddle) {
      if (first == walk.tried) return nullptr;
    } else if (place - first < run.least || place - first > run.most) {
      return nullptr;
    }
    place = first;
  }
  return place;
}

}  // namespace trovex
