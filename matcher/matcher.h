// The pattern matcher: compiles one pattern and finds its first match in a text.
//
// This header is what the rest of the library sees of it: the installed pattern, the flags of the
// latest compile, and the two operations on them. The road of a search is told in
// search_driver.cpp.

#ifndef TROVEX_MATCHER_MATCHER_H
#define TROVEX_MATCHER_MATCHER_H

#include "matcher/automata/match_locator.h"
#include "matcher/automata/text_notes.h"
#include "matcher/engine/regular_expression.h"
#include "matcher/line_filter/pattern_automaton.h"
#include "matcher/scan/keyword_set.h"
#include "resources/string_table.h"

#include <cstddef>
#include <memory>

namespace trovex {

/// How two stages read a pattern.
enum class Reading : unsigned char {
  kAlike,
  kAlikeButForUnderscores,  // one counts them among the letters of a word
  kDifferent,
};

/// Everything that one pattern was compiled into. Owned by whoever may still search with it: the
/// matcher, where it is installed, and the environment that it was compiled for.
struct CompiledPattern {
  /// The pattern exactly as the host gave it: the authority on what matches, and where.
  RegularExpression regex;
  /// The pattern, wrapped so that it takes in the word and line conditions: decides whether a line
  /// can hold a match at all.
  PatternAutomaton automaton;
  /// Strings of which every match contains one: finds the places that are worth a look. Null when
  /// the pattern promises no such string.
  KeywordSetPtr keywords;
  /// Whether every occurrence of a keyword is a match, and every match is one.
  bool keywordsAreExact = false;
  /// What the locator is made of.
  std::unique_ptr<const LocatorProgram> locatorProgram;
  /// Says where a match lies, in place of the engine. Null when only the engine can.
  std::unique_ptr<MatchLocator> locator;
  /// How far the automaton reads the pattern as the locator does. A line with a located match passes the
  /// automaton where both read it alike, and only otherwise has to be tried.
  Reading automatonReading = Reading::kDifferent;
  /// Whether a match is one by itself, cut out of its line: the pattern holds no anchors.
  bool standsAlone = false;
  /// False when compiling ended in an error: searching then finds nothing.
  bool searchable = false;
};

/// All state of the matcher that outlives a call.
struct MatcherState {
  /// The installed pattern; null when there is none.
  std::shared_ptr<CompiledPattern> installed;

  // The flags of the latest compile. An environment does not keep them: a search reads `matchWords`
  // and `matchLines` as the latest compile left them, whichever pattern is installed.
  bool foldCase = false;
  bool matchWords = false;
  /// Cleared by every compile of a host; only the tests set it.
  bool matchLines = false;

  /// Tries every line with the engine in turn, past the keyword set and the automaton: the plain
  /// road, which the faster one is held against. No host can set it.
  bool engineOnly = false;

  /// The latest error that was reported through `SetCompileError`.
  MessageNumber pendingError = MessageNumber::kNone;
};

/// The module's one matcher.
MatcherState& Matcher();

/// The error hook: records `error` as the pending compile error, in place of any earlier one. The
/// caller goes on and returns by itself; whoever started the compile asks for the pending error.
void SetCompileError(MessageNumber error);

/// A byte range of the searched text, its end exclusive. A group that took no part gives
/// the offset before the line of the match, twice.
struct MatchRange {
  int start;
  int end;
};

/// Frees what is installed, compiles `length` bytes at `pattern` under the matcher's flags and
/// installs the result, also when it is faulty. Returns the regular-expression engine's error, if
/// any; errors of the stages in front of it are pending afterwards.
MessageNumber CompileMatcher(const char* pattern, std::size_t length);

/// Finds the first match of the installed pattern in `length` bytes at `text` and writes the range
/// of `group` (0 or less: the whole match) to `range`. Returns whether there is a match; without
/// one `range` is untouched. Nothing is written to the text; with whole words the byte at text[length] is
/// read. `notes` are those
/// of the searches of this text, or of the text that it is the rest of, with this pattern; null when
/// the text may have changed since. Throws std::bad_alloc when memory runs out.
bool ExecuteMatcher(const char* text, int length, int group, MatchRange& range,
                    TextNotes* notes = nullptr);

}  // namespace trovex

#endif  // TROVEX_MATCHER_MATCHER_H
