// The road of one search.
//
// A match never crosses a line end, so the text is searched line by line. On a line, the
// regular-expression engine says where the leftmost-longest match lies; where whole words are asked
// for, a match whose neighbours belong to a word is refused, and shorter matches at the same start
// and later ones are tried in its place.
//
// Trying every line with the engine in turn, as `ExecuteMatcher` does here, is the plain road. It
// is slow and right: every faster road must give its answers.

#include "matcher/case_helpers.h"
#include "matcher/matcher.h"

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
  if (group < 0) group = 0;

  // A group that the pattern lacks took no part, so it needs no registers of its own.
  const bool wholeMatchOnly =
      group == 0 || static_cast<std::size_t>(group) > pattern->regex.GroupCount();
  MatchRegisters registers(wholeMatchOnly);
  const char* const limit = text + length;
  for (Line line = LineFrom(text, limit);; line = LineFrom(line.end + 1, limit)) {
    if (FindOnLine(pattern->regex, line, registers)) {
      const int lineStart = static_cast<int>(line.begin - text);
      range = {lineStart + registers.Start(group), lineStart + registers.End(group)};
      return true;
    }
    if (line.end >= limit) return false;
  }
}

}  // namespace trovex
