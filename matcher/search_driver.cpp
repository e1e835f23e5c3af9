// The road of one search.
//
// A match never crosses a line end, so the text is searched line by line, and each stage hands the
// next one less of it:
//
//   keyword set    leaps to the next place where a string stands that every match contains. Where
//   that
//                  string is the whole of every match, the search ends here.
//   automaton      reads the line around that place, or without a keyword all lines from here on,
//   and
//                  stops in the first line that can hold a match.
//   engine         says where on that line the leftmost-longest match lies, group by group.
//   words, lines   refuse a match whose neighbours belong to a word, or that is not the whole line;
//                  shorter matches at the same start and later ones are tried in its place.
//
// Only the last two decide. Without the first two, when the matcher is told to take every line to
// the engine in turn, the same matches are found: that plain road is the yardstick that the tests
// hold this one against.

#include "matcher/automaton_executor.h"
#include "matcher/case_helpers.h"
#include "matcher/matcher.h"

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

/// The line around `p` in a text from `begin`, itself the start of a line, to `limit`.
Line LineAround(const char* p, const char* begin, const char* limit) {
  const void* feed = memrchr(begin, '\n', static_cast<std::size_t>(p - begin));
  const char* lineBegin = feed != nullptr ? static_cast<const char*>(feed) + 1 : begin;
  return {lineBegin, LineFrom(p, limit).end};
}

/// Keeps the byte behind a text, which the automaton overwrites, and puts it back at the end.
class KeptByte {
 public:
  explicit KeptByte(char* place) : place_(place), kept_(*place) {}
  ~KeptByte() { *place_ = kept_; }
  KeptByte(const KeptByte&) = delete;
  KeptByte& operator=(const KeptByte&) = delete;

 private:
  char* place_;
  char kept_;
};

/// A place in the first line from `begin` to `end` that can hold a match, or null.
const char* RunAutomaton(PatternAutomaton& automaton, const char* begin, const char* end) {
  char* const behind = const_cast<char*>(end);
  const KeptByte kept(behind);
  return AutomatonExecute(automaton, begin, behind, false, nullptr, nullptr);
}

/// What the stages in front of the engine make of the text.
struct Candidate {
  enum Kind { kNone, kExactKeyword, kLine } kind;
  Line line;             // kLine: it can hold a match
  KeywordMatch keyword;  // kExactKeyword: the match itself
};

/// The next candidate from `scan`, the start of a line, up to `limit`. An exact keyword will do as
/// an answer only when the whole match is wanted.
Candidate NextCandidate(CompiledPattern& pattern, bool wholeMatch, const char* scan,
                        const char* limit) {
  if (pattern.keywords == nullptr) {
    const char* place = RunAutomaton(pattern.automaton, scan, limit);
    if (place == nullptr) return {Candidate::kNone, {}, {}};
    return {Candidate::kLine, LineAround(place, scan, limit), {}};
  }
  for (;;) {
    KeywordMatch keyword{};
    const int size = static_cast<int>(limit - scan);
    if (KeywordSetSearch(*pattern.keywords, scan, size, &keyword) == nullptr) {
      return {Candidate::kNone, {}, {}};
    }
    if (wholeMatch && keyword.index < pattern.exactKeywordCount) {
      return {Candidate::kExactKeyword, {}, keyword};
    }
    const Line line = LineAround(keyword.start, scan, limit);
    if (RunAutomaton(pattern.automaton, line.begin, line.end) != nullptr) {
      return {Candidate::kLine, line, {}};
    }
    if (line.end >= limit) return {Candidate::kNone, {}, {}};
    scan = line.end + 1;
  }
}

bool IsWordConstituentAt(const char* p) {
  return IsWordConstituent(static_cast<unsigned char>(*p));
}

/// Finds the first match on `line` that stands as a whole word, beginning with the match of length
/// `length` at `start`. Each round judges one match: the byte before it and the byte behind it must
/// not belong to a word. A refused match is tried shorter at the same start, then further right.
///
/// The byte behind the line is read too: it is the line feed or the byte behind the text.
bool FindWholeWord(RegularExpression& regex, const Line& line, int start, int length,
                   MatchRegisters& registers) {
  const int lineLength = line.Length();
  while (start >= 0) {
    const bool wordBefore = start > 0 && IsWordConstituentAt(line.begin + start - 1);
    if (!wordBefore) {
      if (length == lineLength) return true;
      if (!IsWordConstituentAt(line.begin + start + length)) return true;
    }
    if (length > 0) {
      length = regex.MatchWithin(line.begin, start + length - 1, start, registers);
      if (length > 0) continue;
    }
    if (start == lineLength) return false;
    start = regex.Search(line.begin, lineLength, start + 1, registers);
    length = registers.End(0) - start;
  }
  return false;
}

/// Finds the first match on `line` that satisfies the word and line conditions.
bool FindOnLine(RegularExpression& regex, const Line& line, MatchRegisters& registers) {
  const MatcherState& matcher = Matcher();
  const int start = regex.Search(line.begin, line.Length(), 0, registers);
  if (start < 0) return false;
  const int length = registers.End(0) - start;
  if (matcher.matchLines) {
    if (length == line.Length()) return true;
    if (!matcher.matchWords) return false;
  } else if (!matcher.matchWords) {
    return true;
  }
  return FindWholeWord(regex, line, start, length, registers);
}

}  // namespace

bool ExecuteMatcher(const char* text, int length, int group, MatchRange& range) {
  CompiledPattern* pattern = Matcher().installed.get();
  if (pattern == nullptr || !pattern->searchable || length <= 0) return false;
  group = std::max(group, 0);

  // A group that the pattern lacks took no part, so it needs no registers of its own.
  MatchRegisters registers(group == 0 ||
                           static_cast<std::size_t>(group) > pattern->regex.GroupCount());
  const bool engineOnly = Matcher().engineOnly;
  const char* const limit = text + length;
  for (const char* scan = text;;) {
    const Candidate candidate = engineOnly ? Candidate{Candidate::kLine, LineFrom(scan, limit), {}}
                                           : NextCandidate(*pattern, group == 0, scan, limit);
    if (candidate.kind == Candidate::kNone) return false;
    if (candidate.kind == Candidate::kExactKeyword) {
      const int start = static_cast<int>(candidate.keyword.start - text);
      range = {start, start + candidate.keyword.length};
      return true;
    }
    const Line& line = candidate.line;
    if (FindOnLine(pattern->regex, line, registers)) {
      const int lineStart = static_cast<int>(line.begin - text);
      range = {lineStart + registers.Start(group), lineStart + registers.End(group)};
      return true;
    }
    if (line.end >= limit) return false;
    scan = line.end + 1;
  }
}

}  // namespace trovex
