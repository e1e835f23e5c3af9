// The road of one search.
//
// A match never crosses a line end. Four roads lead to the first one, and the first that will do is
// taken:
//
//   keyword       Every match is the same fixed string: where it stands is the answer.
//   locator       Automata find the match on their own, where they can answer for the engine. Only the
//                 ranges of groups are asked of the engine, which gets the known match.
//   references    A pattern with back-references that leaves one way open at each place is followed there.
//   engine        Line by line. The keyword set leaps to lines that hold a string of every match, the
//                 line filter throws out those that cannot hold one, the engine says where on the line
//                 the match lies, and what is no whole word, or not the whole line, is refused: shorter
//                 matches at the same start and later ones are tried in its place.
//
// Where line filter and engine read a pattern differently, both must let a line pass. The engine's road
// sees to that by itself; a located match, which follows the engine's reading, counts only on a line
// that the line filter lets pass.
//
// When a search is told to take every line to the engine in turn, the same matches are found: that
// plain road is the yardstick that the tests hold the others against.

#include "matcher/costs.h"
#include "matcher/limits.h"
#include "matcher/line_filter/automaton_executor.h"
#include "matcher/matcher.h"
#include "matcher/tuning.h"
#include "matcher/work_credit.h"
#include "text/case_helpers.h"

#include <algorithm>
#include <cstring>
#include <optional>

namespace trovex {

namespace {

/// One line of the searched text, without its line feed.
struct Line {
  const char* begin;
  const char* end;

  int Length() const { return static_cast<int>(end - begin); }
};

/// The line that begins at `begin` in a text that ends at `limit`.
Line LineFrom(const char* begin, const char* limit) {
  const void* feed = std::memchr(begin, '\n', static_cast<std::size_t>(limit - begin));
  return {begin, feed != nullptr ? static_cast<const char*>(feed) : limit};
}

/// The start of the line around `p` in a text from `begin`, itself the start of a line.
const char* LineStart(const char* p, const char* begin) {
  const void* feed = memrchr(begin, '\n', static_cast<std::size_t>(p - begin));
  return feed != nullptr ? static_cast<const char*>(feed) + 1 : begin;
}

/// The end of the line around `p`, if it is not too far to look for; otherwise `limit`, the end of the
/// text.
const char* NearLineEnd(const char* p, const char* limit) {
  const char* const near = limit - p > kNearLineEnd ? p + kNearLineEnd : limit;
  const char* const end = LineFrom(p, near).end;
  return end == near ? limit : end;
}

/// Whether `place` lies on the line of `p`, at its end or before.
bool IsOnLineOf(const char* p, const char* place) {
  return place <= p || LineFrom(p, place).end == place;
}

/// A match on a line, and where the line was cut off for it.
struct LineMatch {
  int start;
  int end;
  BoundedText searched;
};

/// One search: a pattern, a text and what is wanted. What it comes to is gathered in `result`.
struct Search {
  PatternWork& work;
  const CompiledPattern& pattern;
  const SearchConditions& conditions;
  const char* text;
  const char* limit;
  int group;  // 0: the whole match
  TextNotes& notes;
  WorkCredit& credit;
  MatchResult result{};

  /// A group that the pattern lacks took no part, so it needs no registers of its own.
  bool WantsGroup() const {
    return group > 0 && static_cast<std::size_t>(group) <= pattern.regex.GroupCount();
  }
  /// What of the credit is kept for others.
  std::int64_t Kept() const { return pattern.regex.HasReferences() ? 0 : kWorkForReferences; }
  /// What follows is work on `line`.
  void BeginLine(const Line& line) const {
    credit.BeginLine(static_cast<std::size_t>(limit - line.end), Kept());
  }
  /// Something is given up at `place` or after it.
  void GiveUpAt(const char* place) {
    if (result.gaveUpAt < 0) result.gaveUpAt = static_cast<int>(place - text);
  }
  /// Whether `outcome`, of a search from `place` on, is a match.
  bool IsFound(SearchOutcome outcome, const char* place) {
    if (outcome == SearchOutcome::kGaveUp) GiveUpAt(place);
    return outcome == SearchOutcome::kFound;
  }
  void Found(MatchRange range) {
    result.outcome = SearchOutcome::kFound;
    result.range = range;
  }
  MatchRange RangeOf(const char* base, int start, int end) const {
    const int offset = static_cast<int>(base - text);
    return {offset + start, offset + end};
  }
  /// The range of what is wanted of `match`, which was found on the line that begins at `lineBegin`.
  MatchRange RangeOnLine(const char* lineBegin, const LineMatch& match) {
    if (group == 0) return RangeOf(lineBegin, match.start, match.end);
    MatchRegisters registers(!WantsGroup());
    if (WantsGroup()) {
      const SearchOutcome outcome =
          pattern.regex.FindGroups(match.searched, {match.start, match.end}, registers, credit);
      IsFound(outcome, lineBegin + match.start);
    }
    return RangeOf(lineBegin, registers.Start(group), registers.End(group));
  }
};

/// A place in the next line that can hold a match, from `scan`, the start of a line, up to `limit`; or
/// null. With keywords that line holds one, wherever the line filter stopped looking for its end.
const char* NextPlace(Search& search, const char* scan, const char* limit) {
  const CompiledPattern& pattern = search.pattern;
  PatternAutomatonPtr& lineFilter = search.work.lineFilter;
  if (lineFilter == nullptr) lineFilter = CopyAutomaton(pattern.lineFilter);
  search.credit.BeginLine(0, search.Kept());
  const char* place = nullptr;
  if (pattern.keywords == nullptr) {
    search.IsFound(FindCandidate(*lineFilter, scan, limit, search.credit, place), scan);
    return place;
  }
  for (;;) {
    KeywordMatch keyword{};
    const int size = static_cast<int>(limit - scan);
    if (KeywordSetSearch(*pattern.keywords, scan, size, &keyword) == nullptr) return nullptr;
    const char* const lineStart = LineStart(keyword.start, scan);
    const char* const lineEnd = NearLineEnd(keyword.start, limit);
    const SearchOutcome outcome =
        FindCandidate(*lineFilter, lineStart, lineEnd, search.credit, place);
    search.IsFound(outcome, lineStart);
    if (place == nullptr && (lineEnd == limit || outcome == SearchOutcome::kGaveUp)) return nullptr;
    if (place != nullptr && IsOnLineOf(keyword.start, place)) return place;
    scan = place != nullptr ? LineStart(place, keyword.start) : lineEnd + 1;
  }
}

/// Shortens `match`, which is refused because a word goes on after it, to the longest match at its start that is
/// not; by all means to a shorter one, which may be refused too. False where there is none but the empty one.
bool Shorten(Search& search, const WordRule& rule, LineMatch& match) {
  const RegularExpression& regex = search.pattern.regex;
  if (match.end == match.start) return false;
  if (regex.CanMatchWord(rule.length)) {
    GroupRange word;
    const SearchOutcome outcome = regex.MatchWord(rule, match.start, word, search.credit);
    if (!search.IsFound(outcome, rule.line) || word.end == match.start) return false;
    match = {word.start, word.end, {rule.line, word.end, false}};
    return true;
  }
  MatchRegisters whole(true);
  match.searched = {rule.line, match.end - 1, false};
  const SearchOutcome shorter =
      regex.MatchWithin(rule.line, match.end - 1, match.start, whole, search.credit);
  if (!search.IsFound(shorter, rule.line) || whole.End(0) == match.start) return false;
  match.end = whole.End(0);
  return true;
}

/// Finds the first match on `line` that stands as a whole word, beginning with `match`. Each round judges
/// one match: the byte before it and the byte after it must not belong to a word. A refused match is
/// tried shorter at the same start, then further right; where a word goes on, nothing is tried.
///
/// The byte after the line is read too: it is the line feed or the byte after the text.
bool FindWholeWord(Search& search, const Line& line, LineMatch& match) {
  const RegularExpression& regex = search.pattern.regex;
  const WordRule rule = {line.begin, line.Length()};
  MatchRegisters whole(true);
  for (;;) {
    if (rule.CanStartAt(match.start)) {
      if (rule.CanEndAt(match.end, match.start)) return true;
      if (Shorten(search, rule, match)) continue;
    }
    int from = match.start + 1;
    while (from <= rule.length && !rule.CanStartAt(from))
      ++from;
    if (from > rule.length) return false;
    match.searched = {line.begin, rule.length, true};
    const SearchOutcome next = regex.Search(line.begin, rule.length, from, whole, search.credit);
    if (!search.IsFound(next, line.begin + from)) return false;
    match.start = whole.Start(0);
    match.end = whole.End(0);
  }
}

/// The same from offset `from` on, in one search.
bool SearchWholeWord(Search& search, const Line& line, int from, LineMatch& match) {
  GroupRange found;
  const SearchOutcome outcome =
      search.pattern.regex.SearchWord({line.begin, line.Length()}, from, found, search.credit);
  if (!search.IsFound(outcome, line.begin + from)) return false;
  match = {found.start, found.end, {line.begin, found.end, false}};
  return true;
}

/// Finds the first match on `line`, at offset `from` or later, that satisfies the word and line
/// conditions.
bool FindOnLine(Search& search, const Line& line, int from, LineMatch& match) {
  const RegularExpression& regex = search.pattern.regex;
  const SearchConditions& conditions = search.conditions;
  if (conditions.matchWords && !conditions.matchLines && regex.CanSearchWord(line.Length())) {
    return SearchWholeWord(search, line, from, match);
  }
  MatchRegisters whole(true);
  const SearchOutcome outcome = regex.Search(line.begin, line.Length(), from, whole, search.credit);
  if (!search.IsFound(outcome, line.begin + from)) return false;
  match = {whole.Start(0), whole.End(0), {line.begin, line.Length(), true}};
  if (conditions.matchLines) {
    if (match.end - match.start == line.Length()) return true;
    if (!conditions.matchWords) return false;
  } else if (!conditions.matchWords) {
    return true;
  }
  return FindWholeWord(search, line, match);
}

/// Looks for a keyword that is itself the match.
MatchResult FindKeyword(const CompiledPattern& pattern, const char* text, int length) {
  KeywordMatch keyword{};
  if (KeywordSetSearch(*pattern.keywords, text, length, &keyword) == nullptr) return {};
  const auto start = static_cast<int>(keyword.start - text);
  return {SearchOutcome::kFound, {start, start + keyword.length}};
}

/// A match that was located without the engine; a null start stands for none.
struct LocatedMatch {
  const char* start = nullptr;
  const char* end = nullptr;
};

/// The first match from `scan` on, the start of a line, that the locator finds.
LocatedMatch Locate(Search& search, const char* scan) {
  const auto bytes = [](const char* p) { return reinterpret_cast<const unsigned char*>(p); };
  MatchLocator& locator = *search.work.locator;
  MatchLocator::Request request = {
      .place = bytes(scan), .begin = bytes(scan), .end = bytes(search.limit)};
  if (locator.Words()) request.after = *bytes(search.limit);
  const MatchLocator::Match match = locator.Find(request);
  if (const unsigned char* const gaveUpAt = locator.GaveUpAt()) {
    search.GiveUpAt(reinterpret_cast<const char*>(gaveUpAt));
  }
  return {reinterpret_cast<const char*>(match.start), reinterpret_cast<const char*>(match.end)};
}

/// Gives the range of what is wanted of `match`, which was located without the engine.
MatchRange RangeIn(Search& search, const LocatedMatch& match) {
  const auto length = static_cast<int>(match.end - match.start);
  if (search.group == 0) return search.RangeOf(match.start, 0, length);
  const char* const lineBegin = LineStart(match.start, search.text);
  const auto start = static_cast<int>(match.start - lineBegin);
  LineMatch onLine{start, start + length, {lineBegin, start + length, false}};
  if (!search.WantsGroup()) return search.RangeOnLine(lineBegin, onLine);
  if (!search.pattern.standsAlone) {
    const Line line = {lineBegin, search.notes.LineEnd(match.start, search.limit)};
    search.BeginLine(line);
    const bool found = FindOnLine(search, line, start, onLine);
    return found ? search.RangeOnLine(lineBegin, onLine) : search.RangeOf(lineBegin, -1, -1);
  }
  search.BeginLine({lineBegin, match.end});
  const MatchRange group =
      search.RangeOnLine(match.start, {0, length, {match.start, length, false}});
  const bool tookPart = group.start >= match.start - search.text;
  return tookPart ? group : search.RangeOf(lineBegin, -1, -1);
}

/// Whether it is certain that the line filter lets the line of a match from `start` to `end` pass, which was located in
/// a text from `begin` to `limit`: reading the pattern as the locator does, it finds the same match there. Anchors see no
/// further than one byte beyond it.
bool CertainlyPasses(const CompiledPattern& pattern, const char* start, const char* end,
                     const char* begin, const char* limit) {
  if (pattern.lineFilterReading != Reading::kAlikeButForUnderscores) {
    return pattern.lineFilterReading == Reading::kAlike;
  }
  const char* const first = start - (start > begin ? 1 : 0);
  const char* const last = end + (end < limit ? 1 : 0);
  return std::memchr(first, '_', static_cast<std::size_t>(last - first)) == nullptr;
}

/// What is found out about a text on the way holds for all its searches, and for no other text.
void BeginText(const Search& search) {
  MatchLocator& locator = *search.work.locator;
  if (!search.notes.IsFirstSearch(&locator)) return;
  locator.Begin(reinterpret_cast<const unsigned char*>(search.text),
                static_cast<std::size_t>(search.limit - search.text),
                search.credit.Left() - search.Kept());
  if (search.work.lineGroups != nullptr) search.work.lineGroups->Forget();
}

/// Whether the line filter is certain to let a line pass from `begin` to `end` that holds a located match.
bool CertainlyPassesLine(const Search& search, const char* begin, const char* end) {
  const Reading reading = search.pattern.lineFilterReading;
  if (reading != Reading::kAlikeButForUnderscores) return reading == Reading::kAlike;
  return std::memchr(begin, '_', static_cast<std::size_t>(end - begin)) == nullptr;
}

/// Whether the line from `begin` to `end` can be read at once. Of whole words in patterns with anchors only the
/// engine knows the shorter matches; and a word that fills the line may go on after it.
bool CanReadAtOnce(const Search& search, const char* begin, const char* end) {
  if (!CertainlyPassesLine(search, begin, end)) return false;
  if (!search.conditions.matchWords) return true;
  return search.pattern.standsAlone && !IsWordConstituent(static_cast<unsigned char>(*end));
}

/// Reads the line of `match` for the group that is wanted, where its matches lie one inside the other and
/// were read again too often.
void ReadLineAtOnce(const Search& search, const LocatedMatch& match) {
  const char* const lineEnd = search.notes.LineEnd(match.start, search.limit);
  if (!search.notes.ReadsAgain(match.start, match.end, lineEnd)) return;
  const char* const lineBegin = LineStart(match.start, search.text);
  if (!CanReadAtOnce(search, lineBegin, lineEnd)) return;
  std::unique_ptr<LineGroups>& lineGroups = search.work.lineGroups;
  if (lineGroups == nullptr) lineGroups = search.pattern.regex.MakeLineGroups();
  if (lineGroups == nullptr) return;
  search.BeginLine({lineBegin, lineEnd});
  lineGroups->Prepare(lineBegin, lineEnd, search.group, search.conditions.matchWords,
                      search.credit);
}

/// Whether the line of `place` was read at once for the group that is wanted.
bool IsOnReadLine(const Search& search, const char* place) {
  const LineGroups* const lineGroups = search.work.lineGroups.get();
  return search.WantsGroup() && lineGroups != nullptr && lineGroups->Covers(place, search.group);
}

/// Finds the group of the first match from `place` on, on a line that was read at once.
bool FindOnReadLine(Search& search, const char* place) {
  LineGroups& lineGroups = *search.work.lineGroups;
  search.BeginLine({place, lineGroups.LineEnd()});
  const LineGroups::Match match = lineGroups.Find(place, place == search.text, search.credit);
  if (match.start == nullptr) return false;
  search.IsFound(match.outcome, match.start);
  search.Found(match.group.start >= 0
                   ? search.RangeOf(match.start, match.group.start, match.group.end)
                   : search.RangeOf(LineStart(match.start, search.text), -1, -1));
  return true;
}

/// What the locator has taken on this text is spent from the credit that others share.
void SpendWork(const Search& search) {
  search.credit.BeginLine(0, 0);
  static_cast<void>(search.credit.Spend(search.work.locator->Work()));
}

/// Locates the match without the engine.
void FindByLocator(Search& search) {
  BeginText(search);
  const char* scan = search.text;
  if (IsOnReadLine(search, scan)) {
    if (FindOnReadLine(search, scan)) return;
    scan = search.work.lineGroups->LineEnd() + 1;
    if (scan > search.limit) return;
  }
  for (;;) {
    const LocatedMatch match = Locate(search, scan);
    if (match.start == nullptr) return SpendWork(search);
    if (!CertainlyPasses(search.pattern, match.start, match.end, search.text, search.limit)) {
      const char* const line = LineStart(match.start, scan);
      const char* const place = NextPlace(search, line, search.limit);
      if (place == nullptr) return;
      scan = LineStart(place, line);
      if (scan != line) continue;  // a later line
    }
    if (search.WantsGroup()) ReadLineAtOnce(search, match);
    if (IsOnReadLine(search, match.start) && FindOnReadLine(search, match.start)) return;
    return search.Found(RangeIn(search, match));
  }
}

void FindByEngine(Search& search, const char* scan, bool everyLine);

/// Finds a match with back-references without the engine. It counts on a line that the line filter lets pass.
void FindByReferences(Search& search) {
  ReferenceRun& run = *search.work.references;
  const auto* const bytes = reinterpret_cast<const unsigned char*>(search.text);
  const auto length = static_cast<std::size_t>(search.limit - search.text);
  if (search.notes.IsFirstSearch(&run)) {
    run.Begin({bytes, length});
  } else {
    run.BeginRest({bytes, length});
  }
  if (!run.IsFast()) return FindByEngine(search, search.text, false);
  std::uint64_t paid = 0;
  for (const char* scan = search.text;;) {
    ByteRange match;
    const auto from = static_cast<std::size_t>(scan - search.text);
    const SearchOutcome outcome = run.Find(from, length, match, nullptr);
    search.credit.BeginLine(0, search.Kept());
    const bool isPaid =
        search.credit.Spend(kReferenceUnits * static_cast<std::int64_t>(run.Used() - paid));
    paid = run.Used();
    const char* const gaveUpAt = search.text + run.GaveUpAt();
    if (outcome == SearchOutcome::kGaveUp && !run.IsFast())
      return FindByEngine(search, LineStart(gaveUpAt, scan), false);
    if (outcome == SearchOutcome::kGaveUp) return search.GiveUpAt(gaveUpAt);
    if (outcome == SearchOutcome::kNotFound) return;
    const char* const start = search.text + match.begin;
    const LocatedMatch found = {start, search.text + match.end};
    if (isPaid &&
        CertainlyPasses(search.pattern, found.start, found.end, search.text, search.limit))
      return search.Found(RangeIn(search, found));
    const char* const line = LineStart(start, scan);
    const char* const place = NextPlace(search, line, search.limit);
    if (place == nullptr || !isPaid) return isPaid ? void() : search.GiveUpAt(line);
    scan = LineStart(place, line);
    if (scan != line) continue;  // a later line
    return search.Found(RangeIn(search, found));
  }
}

/// Takes the lines from `scan`, the start of one, that can hold a match to the engine, or all of them.
void FindByEngine(Search& search, const char* scan, bool everyLine) {
  LineMatch match{};
  for (;;) {
    const char* const place = everyLine ? scan : NextPlace(search, scan, search.limit);
    if (place == nullptr) return;
    const Line line = {LineStart(place, scan), search.notes.LineEnd(place, search.limit)};
    search.BeginLine(line);
    if (FindOnLine(search, line, 0, match)) {
      return search.Found(search.RangeOnLine(line.begin, match));
    }
    if (line.end >= search.limit) return;
    scan = line.end + 1;
  }
}

/// Whether matches with back-references are found without the engine.
bool CanFollowReferences(const CompiledPattern& pattern, const SearchConditions& conditions) {
  return pattern.references != nullptr && !conditions.matchWords && !conditions.matchLines &&
         !conditions.engineOnly;
}

/// Whether it is the locator that finds the matches asked for.
bool CanLocate(const LocatorProgram& locator, const SearchConditions& conditions) {
  return !conditions.matchLines && locator.Words() == conditions.matchWords;
}

/// Whether it is certain that the line filter lets the line of `match` pass, which was found by looking at a text of
/// `length` bytes.
bool CertainlyPasses(const CompiledPattern& pattern, const LocatedRange& match, const char* text,
                     int length) {
  return CertainlyPasses(pattern, reinterpret_cast<const char*>(match.start),
                         reinterpret_cast<const char*>(match.end), text, text + length);
}

/// What a look at a text tells where back-references are followed: at most that there is no match.
[[gnu::noinline]] LocatorProgram::Answer LookForReferences(const CompiledPattern& pattern,
                                                           const SearchConditions& conditions,
                                                           const char* text, int length) {
  using Answer = LocatorProgram::Answer;
  if (length <= 0 || length > static_cast<int>(kLookedAtText)) return Answer::kUnknown;
  if (!pattern.searchable || !CanFollowReferences(pattern, conditions)) return Answer::kUnknown;
  const TextView view = {reinterpret_cast<const unsigned char*>(text),
                         static_cast<std::size_t>(length)};
  return pattern.references->MayHold(view) ? Answer::kUnknown : Answer::kNoMatch;
}

/// Searches where a look at the text has not told what is asked for. Apart from that look, which needs hardly anything:
/// of short texts most are done with after it.
[[gnu::noinline]] MatchResult SearchInDepth(PatternWork& work, const SearchConditions& conditions,
                                            const char* text, int length, int group,
                                            TextNotes* notes) {
  const CompiledPattern& pattern = *work.pattern;
  if (!pattern.searchable || length <= 0) return {};
  const bool mayLocate = work.locator != nullptr && !conditions.engineOnly;
  const bool isKeyword = pattern.keywordsAreExact && group <= 0 && !conditions.engineOnly;
  if (isKeyword && !(mayLocate && CanLocateKeyword(pattern))) {
    return FindKeyword(pattern, text, length);
  }
  TextNotes notesOfThisCall;
  TextNotes& allNotes = notes != nullptr ? *notes : notesOfThisCall;
  Search search = {work,          pattern,
                   conditions,    text,
                   text + length, std::max(group, 0),
                   allNotes,      allNotes.Credit(static_cast<std::size_t>(length))};
  const bool isLocated = isKeyword || (mayLocate && CanLocate(*pattern.locator, conditions));
  if (isLocated) {
    FindByLocator(search);
  } else if (CanFollowReferences(pattern, conditions)) {
    FindByReferences(search);
  } else if (!pattern.regex.IsCompiled()) {
    search.GiveUpAt(text);
  } else {
    FindByEngine(search, text, conditions.engineOnly);
  }
  MatchResult& result = search.result;
  if (result.outcome == SearchOutcome::kNotFound && result.gaveUpAt >= 0) {
    result.outcome = SearchOutcome::kGaveUp;
  }
  return result;
}

/// What a look at a text tells of the first whole match, where the locator finds it. Part of whoever asks: the calls
/// would take a good part of the time.
[[gnu::always_inline]] inline LocatorProgram::Answer LookByLocator(
    const CompiledPattern& pattern, const SearchConditions& conditions, const char* text,
    int length, LocatedRange& match) {
  using Answer = LocatorProgram::Answer;
  const bool isShort = length > 0 && length <= static_cast<int>(kLookedAtText);
  if (!isShort || conditions.engineOnly || !CanLocate(*pattern.locator, conditions))
    return Answer::kUnknown;
  const auto* const begin = reinterpret_cast<const unsigned char*>(text);
  const Answer answer = pattern.locator->LookAt(begin, begin + length, match);
  const bool isMatch = answer == Answer::kMatch;
  return isMatch && !CertainlyPasses(pattern, match, text, length) ? Answer::kUnknown : answer;
}

}  // namespace

LocatorProgram::Answer LookForMatch(const CompiledPattern& pattern,
                                    const SearchConditions& conditions, const char* text,
                                    int length, LocatedRange& match) {
  if (!pattern.isLookedAt) return LookForReferences(pattern, conditions, text, length);
  return LookByLocator(pattern, conditions, text, length, match);
}

bool IsSearchedAsString(const CompiledPattern& pattern, const SearchConditions& conditions) {
  return pattern.searchable && !conditions.engineOnly && CanLocateKeyword(pattern) &&
         CanLocate(*pattern.locator, conditions);
}

MatchResult ExecuteMatcher(PatternWork& work, const SearchConditions& conditions, const char* text,
                           int length, int group, TextNotes* notes) {
  using Answer = LocatorProgram::Answer;
  const CompiledPattern& pattern = *work.pattern;
  if (!pattern.isLookedAt || work.locator == nullptr)
    return SearchInDepth(work, conditions, text, length, group, notes);
  LocatedRange match;
  const Answer answer = LookByLocator(pattern, conditions, text, length, match);
  if (answer == Answer::kNoMatch) return {};
  if (answer == Answer::kUnknown || group > 0)
    return SearchInDepth(work, conditions, text, length, group, notes);
  const auto offset = [&](const unsigned char* place) {
    return static_cast<int>(reinterpret_cast<const char*>(place) - text);
  };
  return {SearchOutcome::kFound, {offset(match.start), offset(match.end)}};
}

}  // namespace trovex
