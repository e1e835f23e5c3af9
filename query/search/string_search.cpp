#include "query/search/string_search.h"

#include "matcher/tuning.h"
#include "query/search/text_blocks.h"
#include "query/tuning.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <iterator>
#include <utility>

namespace trovex {

// ---- What is read of the plan ----

std::unique_ptr<StringSearch> StringSearch::Make(const SearchPlan& plan,
                                                 const std::vector<Pattern>& patterns) {
  std::unique_ptr<StringSearch> search(new StringSearch);
  return search->Read(plan, patterns) ? std::move(search) : nullptr;
}

bool StringSearch::Read(const SearchPlan& plan, const std::vector<Pattern>& patterns) {
  if (plan.streams.size() > kFewStreams) return false;
  for (std::size_t i = 0; i < plan.streams.size(); ++i) {
    if (!ReadOperand(plan.streams[i], patterns[i])) return false;
  }
  MarkWanted(operands_.size() - 1, true);
  if (!ReadStrings()) return false;
  for (Operand& operand : operands_)
    operand.needs = NeedsOf(operand);
  NoteNeeded(operands_.size() - 1);
  ChooseNearby();
  return true;
}

/// False where it is a sound, or where a distance would have to wait for the verdict on another one.
bool StringSearch::ReadOperand(const PlannedStream& planned, const Pattern& search) {
  Operand operand;
  operand.kind = planned.kind;
  operand.operands = planned.operands;
  for (const std::size_t below : planned.operands) {
    operand.hasDistances = operand.hasDistances || operands_[below].hasDistances;
    operand.judgesDistances = operand.judgesDistances || operands_[below].judgesDistances;
  }
  switch (planned.kind) {
    case Kind::kPattern:
      if (leaves_.size() == kMostLeaves) return false;
      operand.leaf = leaves_.size();
      leaves_.push_back({.search = search, .operand = operands_.size()});
      break;
    case Kind::kNear:
      if (operand.judgesDistances || !ReadDistance(planned, operand)) return false;
      break;
    case Kind::kAnd:
    case Kind::kNot:
      operand.judgesDistances = operand.hasDistances;
      break;
    case Kind::kOr:
      break;
    case Kind::kSound:
    case Kind::kStored:
      return false;
  }
  operands_.push_back(std::move(operand));
  return true;
}

/// False where it has so many words that they would take long to count.
bool StringSearch::ReadDistance(const PlannedStream& planned, Operand& operand) {
  operand.isLeftNegated = planned.isLeftNegated;
  operand.isRightNegated = planned.isRightNegated;
  operand.link = planned.link;
  operand.hasDistances = true;
  distances_.push_back(operands_.size());
  const std::int64_t distance = planned.link.distance.value_or(INT64_MAX);
  if (planned.link.unit == DistanceUnit::kWords && planned.link.distance.has_value()) {
    longestWords_ = std::max(longestWords_, distance);
    return distance <= kMostClusteredWords;
  }
  isEndless_ = isEndless_ || distance > kLongestClustered;
  if (!isEndless_) longestDistance_ = std::max(longestDistance_, distance);
  return true;
}

/// Marks the leaves below operand `index` whose matches must be known: if those of the operand must, or for a distance.
void StringSearch::MarkWanted(std::size_t index, bool isWanted) {
  const Operand& operand = operands_[index];
  if (operand.kind == Kind::kPattern) {
    Leaf& leaf = leaves_[operand.leaf];
    leaf.isWanted = leaf.isWanted || isWanted;
  }
  for (const std::size_t below : operand.operands)
    MarkWanted(below, operand.kind == Kind::kNear || (isWanted && operand.kind != Kind::kNot));
}

/// Makes the search for strings. False where there are none, or too many patterns.
bool StringSearch::ReadStrings() {
  std::vector<StringMatches::String> strings;
  std::size_t wanted = 0;
  for (std::size_t i = 0; i < leaves_.size(); ++i) {
    Leaf& leaf = leaves_[i];
    if (!leaf.isWanted) continue;
    if (++wanted > StringMatches::kMostStrings) return false;
    const std::size_t room = StringMatches::kMostStrings - strings.size();
    const std::size_t pattern = leafOf_.size();
    auto alternatives = StringsOf(leaf.search, pattern);
    if (alternatives.empty() || alternatives.size() > room) {
      others_.push_back({leaf.search, i, {}});
      continue;
    }
    leaf.pattern = pattern;
    leafOf_.push_back(i);
    std::move(alternatives.begin(), alternatives.end(), std::back_inserter(strings));
  }
  if (strings.empty()) return false;
  matches_.emplace(strings, strings.size(), StringMatches::Sight::kWholeText);
  return true;
}

/// The strings that a pattern is, or is one of; none where it is anything else.
std::vector<StringMatches::String> StringSearch::StringsOf(const Pattern& search,
                                                           std::size_t pattern) {
  const PatternProgram& program = search.search->Program();
  std::optional<Utf8Edges> edges;
  if (search.utf8 != nullptr) edges = search.utf8->edges;
  if (program.References() != nullptr) return {};
  if (StringMatches::CanTake(*program.Locator()))
    return {StringMatches::StringOf(*program.Locator(), pattern, edges)};
  std::vector<StringMatches::String> strings;
  if (program.Options().wholeWords) return strings;
  for (StringGroup::String& sets : StringMatches::AlternativesOf(program.Tree()))
    strings.push_back({std::move(sets), pattern, nullptr, edges});
  return strings;
}

/// A bit for each leaf without which it has no places in a cluster.
std::uint32_t StringSearch::NeedsOf(const Operand& operand) const {
  const auto needs = [&](std::size_t below) { return operands_[below].needs; };
  if (operand.kind == Kind::kPattern) return std::uint32_t{1} << operand.leaf;
  if (operand.kind == Kind::kNear) {
    return (operand.isLeftNegated ? 0 : needs(operand.operands[0])) |
           (operand.isRightNegated ? 0 : needs(operand.operands[1]));
  }
  std::uint32_t all = UINT32_MAX;
  for (const std::size_t below : operand.operands) {
    if (operands_[below].kind != Kind::kNot) all &= needs(below);
  }
  return all;
}

/// Notes the strings below operand `index` without which its verdict is no, and whether there is anything else that may
/// make it no.
void StringSearch::NoteNeeded(std::size_t index) {
  const Operand& operand = operands_[index];
  const bool isString =
      operand.kind == Kind::kPattern && leaves_[operand.leaf].pattern != kNoString;
  if (isString) needed_.push_back(operand.leaf);
  if (operand.kind == Kind::kAnd) {
    for (const std::size_t below : operand.operands)
      NoteNeeded(below);
  } else if (operand.kind == Kind::kNear) {
    if (!operand.isLeftNegated) NoteNeeded(operand.operands[0]);
    if (!operand.isRightNegated) NoteNeeded(operand.operands[1]);
  } else if (!isString && operand.kind != Kind::kNot) {
    needsMore_ = true;
  }
  hasOr_ = hasOr_ || operand.kind == Kind::kOr;
}

/// Of one pattern that is no string, only what is in reach of a string can be kept, or keep something else from
/// being kept, where there is nothing but distances; unless it is kept where it is near to none.
void StringSearch::ChooseNearby() {
  if (others_.size() != 1 || longestWords_ >= 0 || isEndless_) return;
  const std::size_t other = leaves_[others_.front().leaf].operand;
  isNearby_ = std::all_of(operands_.begin(), operands_.end(), [&](const Operand& operand) {
    if (operand.kind == Kind::kPattern) return true;
    return operand.kind == Kind::kNear &&
           !(operand.operands[0] == other && operand.isRightNegated) &&
           !(operand.operands[1] == other && operand.isLeftNegated);
  });
}

// ---- One text ----

StringSearch::Result StringSearch::Run(TextView text, bool isUtf8, std::size_t most, Visit visit,
                                       void* visitContext) {
  const std::size_t query = operands_.size() - 1;
  isShort_ = text.size() <= kLookedAtText;
  ByteRange first;
  if (isShort_ && LacksString(text, first)) return {Answer::kNo, 0};
  // Streams need not go through all of a text for few items.
  if (isEndless_ && !isShort_ && most != SIZE_MAX) return {Answer::kUnknown, 0};
  text_ = {text, isUtf8};
  gaveUp_ = false;
  std::fill_n(isFound_.begin(), leaves_.size(), Known::kNot);
  if (isShort_) {
    for (const std::size_t leaf : needed_)
      isFound_[leaf] = Known::kYes;
    if (needsMore_ && !MayBe(query)) return {gaveUp_ ? Answer::kUnknown : Answer::kNo, 0};
  }
  // A character may take several bytes.
  reach_ = static_cast<std::size_t>(std::max<std::int64_t>(longestDistance_, 0)) *
           (isUtf8 ? kMostBytesOfCharacter : 1);
  receiver_ = {most, visit, visitContext};
  const bool isYes = operands_[query].hasDistances ? RunNear() : RunAnywhere(first);
  const Answer answer = isYes ? Answer::kYes : Answer::kNo;
  return {gaveUp_ ? Answer::kUnknown : answer, receiver_.count};
}

/// A look at a short text: whether it lacks a string without which the verdict is no, as most do. Else `first` is the
/// first match of all these strings.
bool StringSearch::LacksString(TextView text, ByteRange& first) const {
  for (const std::size_t leaf : needed_) {
    const ByteRange match = matches_->FirstIn(text, leaves_[leaf].pattern);
    if (match.IsNowhere()) return true;
    if (match < first) first = match;
  }
  return false;
}

/// False only where the verdict on operand `index` is no, wherever its patterns have matches; or where one gives up.
bool StringSearch::MayBe(std::size_t index) {
  const Operand& operand = operands_[index];
  const auto mayBe = [this](std::size_t below) { return MayBe(below); };
  switch (operand.kind) {
    case Kind::kPattern:
      return IsFound(operand.leaf);
    case Kind::kNot:
      return true;
    case Kind::kOr:
      return std::any_of(operand.operands.begin(), operand.operands.end(), mayBe);
    case Kind::kNear:
      return (operand.isLeftNegated || mayBe(operand.operands[0])) &&
             (operand.isRightNegated || mayBe(operand.operands[1]));
    default:
      return std::all_of(operand.operands.begin(), operand.operands.end(), mayBe);
  }
}

/// The verdict where there are no distances. What it means where the search gives up is said by that. Of a short text
/// `first` is what LacksString has found.
bool StringSearch::RunAnywhere(const ByteRange& first) {
  const std::size_t query = operands_.size() - 1;
  const bool isJudged = isShort_ && needed_.size() == query;  // all operands of one AND
  if (!isShort_) matches_->Begin(text_.bytes);
  if (!isJudged && (!Judge(query) || gaveUp_)) return false;
  if (receiver_.most == 0) return true;
  if (isShort_ && receiver_.most == 1 && !needsMore_) {
    receiver_.Take(first);
    return true;
  }
  if (isShort_) matches_->Begin(text_.bytes);
  chosen_ = 0;
  if (hasOr_) Choose(query);
  if (gaveUp_) return false;
  const std::uint32_t chosen = hasOr_ ? chosen_ : UINT32_MAX;
  Receiver receiver = receiver_;
  ByteRange last;
  ForEachMatch([&](std::size_t leaf, const ByteRange& range) {
    if ((chosen >> leaf & 1) == 0 || range == last) return true;
    last = range;
    return receiver.Take(range);
  });
  receiver_ = receiver;
  return true;
}

/// The same where there are some.
bool StringSearch::RunNear() {
  const std::size_t query = operands_.size() - 1;
  matches_->Begin(text_.bytes);
  // Where one that must be there is not, the others need not be gone through.
  const auto isFound = [this](std::size_t leaf) { return IsFound(leaf); };
  if (!std::all_of(needed_.begin(), needed_.end(), isFound)) return false;
  for (const std::size_t distance : distances_)
    operands_[distance].hasPlaces = false;
  JudgeAnds(false);
  if (operands_[query].judgesDistances) {
    FindDistances();
    JudgeAnds(true);
    if (gaveUp_ || !Judge(query)) return false;
    if (receiver_.most == 0) return true;
  }
  ForEachCluster([this] { return Deliver(); });
  return receiver_.count > 0 || (!gaveUp_ && Judge(query));
}

/// Whether a leaf has a match. False also where that is not known: then the search gives up.
bool StringSearch::IsFound(std::size_t leaf) {
  if (isFound_[leaf] == Known::kNot) {
    const Leaf& pattern = leaves_[leaf];
    bool isFound = false;
    if (pattern.pattern != kNoString) {
      isFound = isShort_ ? !matches_->FirstIn(text_.bytes, pattern.pattern).IsNowhere()
                         : matches_->IsFound(pattern.pattern);
    } else {
      isFound = HasMatch(pattern.search);
    }
    isFound_[leaf] = isFound ? Known::kYes : Known::kNo;
  }
  return isFound_[leaf] == Known::kYes;
}

/// The verdict on operand `index`, once that on the distances is known.
bool StringSearch::Judge(std::size_t index) {
  const Operand& operand = operands_[index];
  const auto judge = [this](std::size_t below) { return Judge(below); };
  switch (operand.kind) {
    case Kind::kPattern:
      return IsFound(operand.leaf);
    case Kind::kNot:
      return !Judge(operand.operands.front());
    case Kind::kOr:
      return std::any_of(operand.operands.begin(), operand.operands.end(), judge);
    case Kind::kNear:
      return operand.hasPlaces;
    default:
      return std::all_of(operand.operands.begin(), operand.operands.end(), judge);
  }
}

/// Finds out which of the ANDs are there: of those with distances below, or of the others.
void StringSearch::JudgeAnds(bool withDistances) {
  for (std::size_t i = 0; i < operands_.size(); ++i) {
    Operand& operand = operands_[i];
    if (operand.kind == Kind::kAnd && operand.hasDistances == withDistances)
      operand.isThere = Judge(i);
  }
}

/// Chooses the leaves below operand `index`, whose verdict is yes or which is a leaf or an OR.
void StringSearch::Choose(std::size_t index) {
  const Operand& operand = operands_[index];
  if (operand.kind == Kind::kPattern) chosen_ |= std::uint32_t{1} << operand.leaf;
  if (operand.kind == Kind::kNot) return;
  for (const std::size_t below : operand.operands) {
    if (operands_[below].kind != Kind::kAnd || Judge(below)) Choose(below);
  }
}

/// The next match of `pattern`, nowhere if there is none. Where it is not known, the search gives up.
ByteRange StringSearch::NextOf(const Pattern& pattern) {
  for (;;) {
    const ByteRange match = pattern.search->Next();
    const SearchOutcome outcome = pattern.search->Outcome();
    gaveUp_ = gaveUp_ || outcome == SearchOutcome::kGaveUp;
    if (outcome != SearchOutcome::kFound) return {};
    if (pattern.utf8 == nullptr) return match;
    const Utf8Edges::Answer answer = pattern.utf8->Judge(text_.bytes, match);
    gaveUp_ = gaveUp_ || answer == Utf8Edges::Answer::kOtherLetter;
    if (answer != Utf8Edges::Answer::kNoMatch) return match;
  }
}

/// Whether `pattern` has a match. False also where that is not known: then the search gives up.
bool StringSearch::HasMatch(const Pattern& pattern) {
  ByteRange match;
  const SearchOutcome outcome = pattern.search->First(text_.bytes, match);
  gaveUp_ = gaveUp_ || outcome == SearchOutcome::kGaveUp;
  if (outcome != SearchOutcome::kFound) return false;
  if (pattern.utf8 == nullptr ||
      pattern.utf8->Judge(text_.bytes, match) == Utf8Edges::Answer::kMatch)
    return true;
  pattern.search->Begin(text_.bytes);
  return !NextOf(pattern).IsNowhere() && !gaveUp_;
}

/// Goes on to the next match of `other`. False where it is not known.
bool StringSearch::Advance(Other& other) {
  other.head = NextOf(other.search);
  return !gaveUp_;
}

/// Passes over what the only pattern that is no string has on lines before that of `place`.
bool StringSearch::PassTo(std::size_t place) {
  Other& other = others_.front();
  if (other.head.begin >= place) return true;
  const unsigned char* const begin = text_.bytes.data();
  const void* const feed = memrchr(begin + other.head.begin, '\n', place - other.head.begin);
  if (feed == nullptr) return true;
  other.search.search->SkipTo(
      static_cast<std::size_t>(static_cast<const unsigned char*>(feed) + 1 - begin));
  return Advance(other);
}

/// Calls `take` for the matches of patterns that are no strings before `limit`, by begin, then by end. False where no
/// more are wanted, or where the search gives up.
template <typename Take>
bool StringSearch::TakeBefore(const ByteRange& limit, Take& take) {
  for (;;) {
    const auto next =
        std::min_element(others_.begin(), others_.end(),
                         [](const Other& a, const Other& b) { return a.head < b.head; });
    if (next == others_.end() || next->head >= limit) return true;
    if (!take(next->leaf, next->head) || !Advance(*next)) return false;
  }
}

/// Calls `take` for the matches of patterns that are no strings, up to the string at `range`; the one before it ended
/// at `lastEnd`. Those that are out of reach of both may be left out.
template <typename Take>
bool StringSearch::TakeUpTo(const ByteRange& range, std::size_t lastEnd, Take& take) {
  if (isNearby_ && range.begin > lastEnd + 2 * reach_) {
    const std::size_t beyond = lastEnd + reach_ + 1;
    if (!TakeBefore({beyond, beyond}, take)) return false;
    if (!PassTo(range.begin - reach_)) return false;
  }
  return TakeBefore(range, take);
}

/// Calls `take(leaf, range)` for the matches of all wanted leaves, by begin, then by end, until it returns false or the
/// search gives up.
template <typename Take>
void StringSearch::ForEachMatch(Take take) {
  for (Other& other : others_) {
    other.search.search->Begin(text_.bytes);
    if (!Advance(other)) return;
  }
  bool goesOn = true;
  std::size_t lastEnd = 0;  // of a string
  const unsigned char* const begin = text_.bytes.data();
  matches_->ForEach(
      [&](std::size_t pattern, const unsigned char* start, const unsigned char* stop) {
        const ByteRange range = {static_cast<std::size_t>(start - begin),
                                 static_cast<std::size_t>(stop - begin)};
        if (!others_.empty()) {
          if (!TakeUpTo(range, lastEnd, take)) return goesOn = false;
          lastEnd = std::max(lastEnd, range.end);
        }
        return goesOn = take(leafOf_[pattern], range);
      });
  if (goesOn && !others_.empty()) {
    const std::size_t last = isNearby_ ? lastEnd + reach_ + 1 : kNowhere;
    TakeBefore({last, last}, take);
  }
}

/// Calls `decide()` for each cluster, whose matches are the places of the leaves then, until it returns false or the
/// search gives up.
template <typename Decide>
void StringSearch::ForEachCluster(Decide decide) {
  for (const Leaf& leaf : leaves_)
    operands_[leaf.operand].places.clear();
  seen_ = 0;
  const std::size_t largest = isEndless_ ? kLargestEndless : kLargestCluster;
  std::size_t size = 0;
  std::size_t clusterEnd = 0;
  const auto close = [&] {
    const bool goesOn = seen_ == 0 || decide();
    for (; seen_ != 0; seen_ &= seen_ - 1) {
      const auto leaf = static_cast<std::size_t>(std::countr_zero(seen_));
      operands_[leaves_[leaf].operand].places.clear();
    }
    size = 0;
    return goesOn;
  };
  bool isOver = false;
  ForEachMatch([&](std::size_t leaf, const ByteRange& range) {
    const bool isApart = IsApart(clusterEnd, range.begin);
    if (isApart && !close()) return !(isOver = true);
    // A long stretch of few words would be counted again for each place after it.
    const bool isLong = longestWords_ >= 0 && size > 0 && range.begin > clusterEnd + kLongestGap;
    if (isLong && !isApart) return !(gaveUp_ = true);
    if (++size > largest) return !(gaveUp_ = true);
    clusterEnd = std::max(clusterEnd, range.end);
    operands_[leaves_[leaf].operand].places.push_back(range);
    seen_ |= std::uint32_t{1} << leaf;
    return true;
  });
  if (!isOver && !gaveUp_) close();
}

/// Whether what begins at `begin` is out of reach of all that ends at `end` or before.
bool StringSearch::IsApart(std::size_t end, std::size_t begin) const {
  if (isEndless_ || begin <= end + reach_) return false;
  const AndLink words = {.distance = longestWords_, .unit = DistanceUnit::kWords};
  return longestWords_ < 0 || !IsWithin(words, text_, end, begin);
}

/// Finds out which distances have places.
void StringSearch::FindDistances() {
  ForEachCluster([this] {
    for (Operand& operand : operands_)
      Combine(operand);
    return !std::all_of(distances_.begin(), distances_.end(),
                        [this](std::size_t distance) { return operands_[distance].hasPlaces; });
  });
  matches_->Begin(text_.bytes);
}

/// Hands out what the cluster has. False when no more is wanted.
bool StringSearch::Deliver() {
  const Operand& query = operands_.back();
  if ((seen_ & query.needs) != query.needs) return true;
  for (Operand& operand : operands_)
    Combine(operand);
  return std::all_of(query.places.begin(), query.places.end(),
                     [this](const ByteRange& place) { return receiver_.Take(place); });
}

/// The places that `operand` has in the cluster.
void StringSearch::Combine(Operand& operand) {
  if (operand.kind == Kind::kPattern || operand.kind == Kind::kNot) return;
  if (operand.kind == Kind::kNear) {
    near_.Find(operand.link, text_, {operands_[operand.operands[0]].places, operand.isLeftNegated},
               {operands_[operand.operands[1]].places, operand.isRightNegated}, operand.places);
    operand.hasPlaces = operand.hasPlaces || !operand.places.empty();
    return;
  }
  operand.places.clear();
  if (!operand.isThere) return;
  for (const std::size_t below : operand.operands)
    near_.Unite(operand.places, operands_[below].places);
}

}  // namespace trovex
