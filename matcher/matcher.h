// The pattern matcher: compiles one pattern and finds its first match in a text.
//
// This header is what the rest of the library sees of it: what a pattern is compiled into, and the two
// operations, which keep nothing from one call to the next but what a work space owns. The road of a
// search is told in search_driver.cpp.

#ifndef TROVEX_MATCHER_MATCHER_H
#define TROVEX_MATCHER_MATCHER_H

#include "matcher/automata/match_locator.h"
#include "matcher/budget.h"
#include "matcher/engine/regular_expression.h"
#include "matcher/groups/reference_search.h"
#include "matcher/groups/text_notes.h"
#include "matcher/keywords/keyword_set.h"
#include "matcher/line_filter/automaton_compiler.h"
#include "matcher/search_outcome.h"
#include "resources/string_table.h"

#include <cstring>
#include <memory>
#include <span>
#include <string_view>

namespace trovex {

/// What is asked of a pattern when it is compiled.
struct PatternOptions {
  bool foldCase = false;    // upper and lower case are the same
  bool matchWords = false;  // matches are whole words
  bool matchLines = false;  // matches are whole lines
};

/// How two stages read a pattern.
enum class Reading : unsigned char {
  kAlike,
  kAlikeButForUnderscores,  // one counts them among the letters of a word
  kDifferent,
};

/// Everything that one pattern was compiled into. It never changes: any number of threads search with it, each
/// with a work space of its own (PatternWork).
struct CompiledPattern {
  /// The pattern exactly as the host gave it: the authority on what matches, and where. It is not compiled for
  /// long lists of words, which the locator alone is made for.
  RegularExpression regex;
  /// The line filter: the pattern, wrapped so that it takes in the word and line conditions. It decides whether
  /// a line can hold a match at all. No table is built in it; searches do that in a copy.
  PatternAutomaton lineFilter;
  /// Strings of which every match contains one: finds the places that are worth a look. Null when
  /// the pattern promises no such string.
  KeywordSetPtr keywords;
  /// Whether every occurrence of a keyword is a match, and every match is one.
  bool keywordsAreExact = false;
  /// What a locator is made of, which says where a match lies, in place of the engine. Null when only the
  /// engine can.
  std::unique_ptr<const LocatorProgram> locator;
  /// Of a pattern with back-references of which one way at most is open at each place, what finds its matches
  /// in place of the engine; otherwise null.
  std::unique_ptr<const ReferenceSearch> references;
  /// How far the line filter reads the pattern as the locator does. A line with a located match passes the
  /// filter where both read it alike, and only otherwise has to be tried.
  Reading lineFilterReading = Reading::kDifferent;
  /// Whether a match is one by itself, cut out of its line: the pattern holds no anchors.
  bool standsAlone = false;
  /// Whether it is the locator that searches find matches with, so that its looks at short texts tell of them.
  bool isLookedAt = false;
  /// What refuses short texts without a match, where matches must be whole words or need not; null: nothing does.
  const TextScreen* screen = nullptr;
  bool screensWords = false;
  /// That of a pattern with back-references; the others have their locator's.
  std::unique_ptr<const TextScreen> ownScreen;
  /// False when compiling ended in an error: searching then finds nothing.
  bool searchable = false;
};

/// Whether a keyword that is itself the match can be left to the locator, which keeps the places that were
/// found beside the last match.
inline bool CanLocateKeyword(const CompiledPattern& pattern) {
  return pattern.locator != nullptr && pattern.locator->IsString() && !pattern.locator->Words() &&
         pattern.lineFilterReading == Reading::kAlike;
}

/// A compiled pattern, and what the searches of one thread remember of it and of their texts.
struct PatternWork {
  explicit PatternWork(std::shared_ptr<const CompiledPattern> compiled);

  const std::shared_ptr<const CompiledPattern> pattern;
  /// Null where the pattern has none.
  std::unique_ptr<MatchLocator> locator;
  std::unique_ptr<ReferenceRun> references;
  // These are made when they are first needed: the line filter with the tables of this thread's texts, and what
  // tells the groups of matches that lie one inside the other.
  PatternAutomatonPtr lineFilter;
  std::unique_ptr<LineGroups> lineGroups;
};

/// What compiling gives: what was made of the pattern, never null, and the number of what is wrong with
/// it, or kNone. A faulty pattern is not searchable, but may be asked for the number of its groups.
struct CompileResult {
  std::shared_ptr<const CompiledPattern> pattern;
  MessageNumber fault = MessageNumber::kNone;
};

/// Compiles `pattern`. A fault is the one that the regular-expression engine found, or else the last one
/// that a stage in front of it did. `budget` is charged for the pattern; where it does not allow it, the
/// fault says so. Throws std::bad_alloc when memory runs out.
CompileResult CompileMatcher(std::string_view pattern, const PatternOptions& options,
                             CompileBudget& budget);
/// The same for a pattern that is alone.
CompileResult CompileMatcher(std::string_view pattern, const PatternOptions& options);

/// A byte range of the searched text, its end exclusive. A group that took no part gives
/// the offset before the line of the match, twice.
struct MatchRange {
  int start;
  int end;
};

/// What is asked of a match when it is searched. A pattern may be searched under other conditions than
/// those it was compiled for: the stages that took these in then keep to them. A pattern without the engine
/// is searched under its own alone; otherwise the search gives up.
struct SearchConditions {
  bool matchWords = false;
  bool matchLines = false;
  /// Tries every line with the engine in turn, past the keyword set and the line filter: the plain
  /// road, which the faster one is held against.
  bool engineOnly = false;
};

/// What a search came to.
struct MatchResult {
  SearchOutcome outcome = SearchOutcome::kNotFound;
  /// With kFound: what was asked for of the match.
  MatchRange range{};
  /// The offset from which on the search gave something up, or -1: a line on which a match may stand that
  /// is not this one, or, of the match that was found, the group. With kGaveUp it is always told.
  int gaveUpAt = -1;
};

/// Finds the first match of the pattern of `work` in `length` bytes at `text`, and the range of `group` (0 or
/// less: the whole match). Where the search must give up on a line, it goes on with the next. Nothing is written to
/// the text; with whole words the byte at text[length] is read. `notes` are those of the searches of this
/// text, or of the text that it is the rest of, with this pattern; null when the text may have changed
/// since. Throws std::bad_alloc when memory runs out.
MatchResult ExecuteMatcher(PatternWork& work, const SearchConditions& conditions, const char* text,
                           int length, int group, TextNotes* notes = nullptr);

/// The whole matches from `place` on in a text that ends at `end` that ExecuteMatcher found together with the one that
/// ends at `place`, in this text under `notes`, in order; none: the next one has to be asked for. Valid until it is.
inline std::span<const LocatedRange> TakeFoundTogether(PatternWork& work, const char* place,
                                                       const char* end, const TextNotes& notes) {
  MatchLocator* const locator = work.locator.get();
  if (locator == nullptr || !notes.IsSearchedWith(locator)) return {};
  const auto bytes = [](const char* p) { return reinterpret_cast<const unsigned char*>(p); };
  const unsigned char* limit = bytes(end) + 1;
  if (work.pattern->lineFilterReading == Reading::kAlikeButForUnderscores) {
    // A match beside an underscore may be none to the line filter.
    const unsigned char* const last = locator->EndOfReady(bytes(place));
    const auto size = static_cast<std::size_t>(last - bytes(place)) + (last < bytes(end) ? 1 : 0);
    const void* const found = std::memchr(place, '_', size);
    if (found != nullptr) limit = static_cast<const unsigned char*>(found);
  } else if (work.pattern->lineFilterReading != Reading::kAlike) {
    return {};
  }
  return locator->TakeAllReady(bytes(place), bytes(end), limit);
}

/// What a look at a text, before anything is set up for a search, tells of the whole match that ExecuteMatcher finds
/// in it: which one, or that there is none. Not known for texts of more than kLookedAtText bytes.
LocatorProgram::Answer LookForMatch(const CompiledPattern& pattern,
                                    const SearchConditions& conditions, const char* text,
                                    int length, LocatedRange& match);

/// Whether the pattern's screen tells that ExecuteMatcher finds nothing: the least that tells it, for a short text.
inline bool IsScreenedOut(const CompiledPattern& pattern, const SearchConditions& conditions,
                          const char* text, int length) {
  const bool isScreened = pattern.screen != nullptr && length > 0 &&
                          length <= static_cast<int>(kLookedAtText) && !conditions.engineOnly &&
                          !conditions.matchLines && conditions.matchWords == pattern.screensWords;
  const auto* const begin = reinterpret_cast<const unsigned char*>(text);
  return isScreened && pattern.screen->Refuses(begin, begin + length);
}

/// Whether what ExecuteMatcher finds of `pattern` are the matches of its locator's string, which nothing else has a
/// say in.
bool IsSearchedAsString(const CompiledPattern& pattern, const SearchConditions& conditions);

}  // namespace trovex

#endif  // TROVEX_MATCHER_MATCHER_H
