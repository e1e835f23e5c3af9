// The road of one search.
//
// A match never crosses a line end. Three roads lead to the first one, and the first that will do is
// taken:
//
//   keyword       Every match is the same fixed string: where it stands is the answer.
//   locator       Automata find the match on their own, where they can answer for the engine. Only the
//                 ranges of groups are asked of the engine, which gets the known match.
//   engine        Line by line. The keyword set leaps to lines that hold a string of every match, the
//                 automaton throws out those that cannot hold one, the engine says where on the line
//                 the match lies, and what is no whole word, or not the whole line, is refused: shorter
//                 matches at the same start and later ones are tried in its place.
//
// Where automaton and engine read a pattern differently, both must let a line pass. The engine's road
// sees to that by itself; a located match, which follows the engine's reading, counts only on a line
// that the automaton lets pass.
//
// When a search is told to take every line to the engine in turn, the same matches are found: that
// plain road is the yardstick that the tests hold the others against.

#include "matcher/line_filter/automaton_executor.h"
#include "matcher/matcher.h"
#include "matcher/work_credit.h"
#include "text/case_helpers.h"

#include <algorithm>
#include <cstring>

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
  constexpr std::ptrdiff_t kNear = 4096;
  const char* const near = limit - p > kNear ? p + kNear : limit;
  const char* const end = LineFrom(p, near).end;
  return end == near ? limit : end;
}

/// Whether `place` lies on the line of `p`, at its end or before.
bool IsOnLineOf(const char* p, const char* place) {
  return place <= p || LineFrom(p, place).end == place;
}

/// A place in the next line that can hold a match, from `scan`, the start of a line, up to `limit`; or
/// null. With keywords that line holds one, wherever the automaton stopped looking for its end.
const char* NextPlace(CompiledPattern& pattern, const char* scan, const char* limit,
                      WorkCredit& credit) {
  credit.BeginLine(0);
  if (pattern.keywords == nullptr) return FindCandidate(*pattern.automaton, scan, limit, credit);
  for (;;) {
    KeywordMatch keyword{};
    const int size = static_cast<int>(limit - scan);
    if (KeywordSetSearch(*pattern.keywords, scan, size, &keyword) == nullptr) return nullptr;
    const char* const lineEnd = NearLineEnd(keyword.start, limit);
    const char* const place =
        FindCandidate(*pattern.automaton, LineStart(keyword.start, scan), lineEnd, credit);
    if (place == nullptr && (lineEnd == limit || credit.IsSpent())) return nullptr;
    if (place != nullptr && IsOnLineOf(keyword.start, place)) return place;
    scan = place != nullptr ? LineStart(place, keyword.start) : lineEnd + 1;
  }
}

/// A match on a line, and where the line was cut off for it.
struct LineMatch {
  int start;
  int end;
  BoundedText searched;
};

/// Finds the first match on `line` that stands as a whole word, beginning with `match`. Each round judges
/// one match: the byte before it and the byte behind it must not belong to a word. A refused match is
/// tried shorter at the same start, then further right; where a word goes on, nothing is tried.
///
/// The byte behind the line is read too: it is the line feed or the byte behind the text.
bool FindWholeWord(RegularExpression& regex, const Line& line, LineMatch& match,
                   WorkCredit& credit) {
  const WordRule rule = {line.begin, line.Length()};
  MatchRegisters whole(true);
  int length = match.end - match.start;
  while (match.start >= 0) {
    match.end = match.start + length;
    if (rule.CanStartAt(match.start)) {
      if (rule.CanEndAt(match.end, match.start)) return true;
      if (length > 0) {
        match.searched = {line.begin, match.end - 1, false};
        length = regex.MatchWithin(line.begin, match.end - 1, match.start, whole, credit);
        if (length > 0) continue;
      }
    }
    int from = match.start + 1;
    while (from <= rule.length && !rule.CanStartAt(from))
      ++from;
    if (from > rule.length) return false;
    match.searched = {line.begin, rule.length, true};
    match.start = regex.Search(line.begin, rule.length, from, whole, credit);
    length = whole.End(0) - match.start;
  }
  return false;
}

/// The same from offset `from` on, in one search.
bool SearchWholeWord(RegularExpression& regex, const Line& line, int from, LineMatch& match,
                     WorkCredit& credit) {
  GroupRange found;
  if (!regex.SearchWord({line.begin, line.Length()}, from, found, credit)) return false;
  match = {found.start, found.end, {line.begin, found.end, false}};
  return true;
}

/// Finds the first match on `line`, at offset `from` or later, that satisfies the word and line
/// conditions.
bool FindOnLine(RegularExpression& regex, const SearchConditions& conditions, const Line& line,
                int from, LineMatch& match, WorkCredit& credit) {
  if (conditions.matchWords && !conditions.matchLines && regex.CanSearchWord(line.Length())) {
    return SearchWholeWord(regex, line, from, match, credit);
  }
  MatchRegisters whole(true);
  match.searched = {line.begin, line.Length(), true};
  match.start = regex.Search(line.begin, line.Length(), from, whole, credit);
  match.end = whole.End(0);
  if (match.start < 0) return false;
  if (conditions.matchLines) {
    if (match.end - match.start == line.Length()) return true;
    if (!conditions.matchWords) return false;
  } else if (!conditions.matchWords) {
    return true;
  }
  return FindWholeWord(regex, line, match, credit);
}

/// One search: a pattern, a text and what is wanted.
struct Search {
  CompiledPattern& pattern;
  const SearchConditions& conditions;
  const char* text;
  const char* limit;
  int group;  // 0: the whole match
  TextNotes& notes;
  WorkCredit& credit;

  /// A group that the pattern lacks took no part, so it needs no registers of its own.
  bool WantsGroup() const {
    return group > 0 && static_cast<std::size_t>(group) <= pattern.regex.GroupCount();
  }
  /// What follows is work on `line`.
  void BeginLine(const Line& line) const {
    credit.BeginLine(static_cast<std::size_t>(limit - line.end));
  }
  MatchRange RangeOf(const char* base, int start, int end) const {
    const int offset = static_cast<int>(base - text);
    return {offset + start, offset + end};
  }
  /// The range of what is wanted of `match`, which was found on the line that begins at `lineBegin`.
  MatchRange RangeOnLine(const char* lineBegin, const LineMatch& match) const {
    if (group == 0) return RangeOf(lineBegin, match.start, match.end);
    MatchRegisters registers(!WantsGroup());
    if (WantsGroup()) {
      pattern.regex.FindGroups(match.searched, {match.start, match.end}, registers, credit);
    }
    return RangeOf(lineBegin, registers.Start(group), registers.End(group));
  }
};

/// Looks for a keyword that is itself the match.
bool FindKeyword(const CompiledPattern& pattern, const char* text, int length, MatchRange& range) {
  KeywordMatch keyword{};
  if (KeywordSetSearch(*pattern.keywords, text, length, &keyword) == nullptr) return false;
  const auto start = static_cast<int>(keyword.start - text);
  range = {start, start + keyword.length};
  return true;
}

/// A match that was located without the engine; a null start stands for none.
struct LocatedMatch {
  const char* start = nullptr;
  const char* end = nullptr;
};

/// The first match from `scan` on, the start of a line, that the locator finds.
LocatedMatch Locate(const Search& search, const char* scan) {
  const auto bytes = [](const char* p) { return reinterpret_cast<const unsigned char*>(p); };
  MatchLocator& locator = *search.pattern.locator;
  if (search.notes.IsFirstSearch(&locator)) {
    locator.Begin(bytes(search.text), static_cast<std::size_t>(search.limit - search.text));
  }
  MatchLocator::Request request = {
      .place = bytes(scan), .begin = bytes(scan), .end = bytes(search.limit)};
  if (locator.Words()) request.behind = *bytes(search.limit);
  const MatchLocator::Match match = locator.Find(request);
  return {reinterpret_cast<const char*>(match.start), reinterpret_cast<const char*>(match.end)};
}

/// Gives the range of what is wanted of `match`, which was located without the engine.
MatchRange RangeIn(const Search& search, const LocatedMatch& match) {
  const auto length = static_cast<int>(match.end - match.start);
  if (search.group == 0) return search.RangeOf(match.start, 0, length);
  const char* const lineBegin = LineStart(match.start, search.text);
  const auto start = static_cast<int>(match.start - lineBegin);
  LineMatch onLine{start, start + length, {lineBegin, start + length, false}};
  if (!search.WantsGroup()) return search.RangeOnLine(lineBegin, onLine);
  if (!search.pattern.standsAlone) {
    const Line line = {lineBegin, search.notes.LineEnd(match.start, search.limit)};
    search.BeginLine(line);
    const bool found =
        FindOnLine(search.pattern.regex, search.conditions, line, start, onLine, search.credit);
    return found ? search.RangeOnLine(lineBegin, onLine) : search.RangeOf(lineBegin, -1, -1);
  }
  search.BeginLine({lineBegin, match.end});
  const MatchRange group =
      search.RangeOnLine(match.start, {0, length, {match.start, length, false}});
  const bool tookPart = group.start >= match.start - search.text;
  return tookPart ? group : search.RangeOf(lineBegin, -1, -1);
}

/// Whether it is certain that the automaton lets the line of `match` pass: reading the pattern as the
/// locator does, it finds the same match there. Anchors see no further than one byte beyond it.
bool CertainlyPasses(const Search& search, const LocatedMatch& match) {
  if (search.pattern.automatonReading != Reading::kAlikeButForUnderscores) {
    return search.pattern.automatonReading == Reading::kAlike;
  }
  const char* const begin = match.start - (match.start > search.text ? 1 : 0);
  const char* const end = match.end + (match.end < search.limit ? 1 : 0);
  return std::memchr(begin, '_', static_cast<std::size_t>(end - begin)) == nullptr;
}

/// Looks for a keyword that is itself the match; where the locator takes it for a string, the places that
/// were found beside the last match need not be looked for again.
bool FindKeyword(const Search& search, MatchRange& range) {
  const CompiledPattern& pattern = search.pattern;
  const bool isString =
      pattern.locator != nullptr && pattern.locator->IsString() && !pattern.locator->Words();
  if (!isString)
    return FindKeyword(pattern, search.text, static_cast<int>(search.limit - search.text), range);
  const LocatedMatch match = Locate(search, search.text);
  if (match.start == nullptr) return false;
  range = search.RangeOf(match.start, 0, static_cast<int>(match.end - match.start));
  return true;
}

/// Locates the match without the engine.
bool FindByLocator(const Search& search, MatchRange& range) {
  CompiledPattern& pattern = search.pattern;
  for (const char* scan = search.text;;) {
    const LocatedMatch match = Locate(search, scan);
    if (match.start == nullptr) return false;
    if (!CertainlyPasses(search, match)) {
      const char* const line = LineStart(match.start, scan);
      const char* const place = NextPlace(pattern, line, search.limit, search.credit);
      if (place == nullptr) return false;
      scan = LineStart(place, line);
      if (scan != line) continue;  // a later line
    }
    range = RangeIn(search, match);
    return true;
  }
}

/// Takes the lines that can hold a match to the engine, or all of them.
bool FindByEngine(const Search& search, bool everyLine, MatchRange& range) {
  LineMatch match{};
  for (const char* scan = search.text;;) {
    const char* const place =
        everyLine ? scan : NextPlace(search.pattern, scan, search.limit, search.credit);
    if (place == nullptr) return false;
    const Line line = {LineStart(place, scan), search.notes.LineEnd(place, search.limit)};
    search.BeginLine(line);
    if (FindOnLine(search.pattern.regex, search.conditions, line, 0, match, search.credit)) {
      range = search.RangeOnLine(line.begin, match);
      return true;
    }
    if (line.end >= search.limit) return false;
    scan = line.end + 1;
  }
}

}  // namespace

bool ExecuteMatcher(CompiledPattern& pattern, const SearchConditions& conditions, const char* text,
                    int length, int group, MatchRange& range, TextNotes* notes) {
  if (!pattern.searchable || length <= 0) return false;
  TextNotes notesOfThisCall;
  TextNotes& allNotes = notes != nullptr ? *notes : notesOfThisCall;
  const Search search = {pattern,
                         conditions,
                         text,
                         text + length,
                         std::max(group, 0),
                         allNotes,
                         allNotes.Credit(static_cast<std::size_t>(length))};
  if (conditions.engineOnly) return FindByEngine(search, true, range);
  if (pattern.keywordsAreExact && group <= 0) return FindKeyword(search, range);
  const bool located = pattern.locator != nullptr && !conditions.matchLines &&
                       pattern.locator->Words() == conditions.matchWords;
  return located ? FindByLocator(search, range) : FindByEngine(search, false, range);
}

}  // namespace trovex
