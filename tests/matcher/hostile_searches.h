// Searches that are made to be slow, and what they cost in units of work. A test holds the units against
// what all searches of a text may take together; a benchmark says how long a unit takes.

#ifndef TROVEX_TESTS_MATCHER_HOSTILE_SEARCHES_H
#define TROVEX_TESTS_MATCHER_HOSTILE_SEARCHES_H

#include "matcher/matcher.h"
#include "tests/heap_text.h"
#include "tests/matcher/random_pattern.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace trovex::testing {

struct HostileSearch {
  std::string pattern;
  bool words;
  int group;
  std::function<std::string(std::size_t)> text;  // of about so many bytes
  std::size_t bytes;
};

inline std::string RepeatedPiece(std::string_view piece, std::size_t bytes) {
  std::string text;
  while (text.size() < bytes)
    text += piece;
  return text;
}

/// Letters "a" and "b" without a pattern.
inline std::string MixedLetters(std::size_t bytes) {
  std::string text;
  unsigned state = 1;
  while (text.size() < bytes) {
    state = state * 1'103'515'245 + 12'345;
    text += "ab"[(state >> 16U) & 1U];
  }
  return text;
}

/// `piece`, over and over, and a tail.
inline std::function<std::string(std::size_t)> Repeating(std::string piece, std::string tail) {
  return [piece = std::move(piece), tail = std::move(tail)](std::size_t bytes) {
    return RepeatedPiece(piece, bytes) + tail;
  };
}

/// One or more for each way in which a search can be slow.
inline std::vector<HostileSearch> HostileSearches() {
  return {
      {"(a{1,100}){1,100}b", true, 0, Repeating("a", "b_"), 800},
      {"a{1,1000}b", true, 0, Repeating("a", ""), 2'500},
      {"a{1,1000}b", true, 0, Repeating("a", "b_"), 2'500},
      {"([a-z]+)\\1", true, 0, Repeating("a", "_"), 2'000},
      {"([a-z-]+)\\1", true, 0, Repeating("a-b-", "_"), 2'000},
      {"(.)\\1", false, 0, Repeating("aa", ""), 60'000},
      {"(^a|a)*b|q", false, 0,
       [](std::size_t bytes) { return RepeatedPiece("a", bytes) + RepeatedPiece("q", bytes); },
       20'000},
      {"(^a|a)*b|q", false, 1, Repeating("aaaaaaab", ""), 20'000},
      {"(([ab]*a[ab]{10})+[ab]{10})+", false, 1, MixedLetters, 20'000},
      {"(([ab]*a[ab]{10})+[ab]{10})+", false, 2, MixedLetters, 20'000},
      {"([^q]*q)+\\1", false, 0, Repeating("aq", ""), 20'000},
      {"(.+).*\\1x", false, 0, Repeating("ein Satz ", "x"), 20'000},
      {"(Haus).*Katze", false, 1, Repeating("Haus xx ", "Katze"), 8'000},
      {"(\\w*\\b ?)+x", false, 1, Repeating("ab cd ", "x"), 20'000},
      {"(-|\\b)*-a", true, 0, Repeating("-a_", ""), 8'000},
  };
}

/// A random pattern, with every kind of part, on a text that repeats what occurs in it.
inline HostileSearch RandomHostileSearch(unsigned seed) {
  RandomPattern random(seed, {seed % 2 == 0, seed % 3 == 0});
  std::string pattern = random.Pattern();
  if (seed % 5 == 0) pattern = "(" + pattern + "){1,40}" + random.Pattern();
  std::string piece = random.Line(6) + "a";
  std::string tail = random.Line(3);
  const bool words = random.Below(2) != 0;
  const int group = random.Below(3);
  return {std::move(pattern), words, group, Repeating(std::move(piece), std::move(tail)), 1'000};
}

/// What became of the searches of one text.
struct HostileCost {
  std::int64_t units = 0;
  std::size_t bytes = 0;  // of the text
  int matches = 0;
  bool gaveUp = false;
};

/// Searches all matches of a text of about `bytes` bytes, as a host does.
inline HostileCost CostOf(PatternWork& pattern, const HostileSearch& search, std::size_t bytes) {
  const HeapText text(search.text(bytes));
  const SearchConditions conditions = {.matchWords = search.words};
  TextNotes notes;
  HostileCost cost;
  cost.bytes = static_cast<std::size_t>(text.Length());
  for (int place = 0; place < text.Length();) {
    const MatchResult found = ExecuteMatcher(pattern, conditions, text.Data() + place,
                                             text.Length() - place, search.group, &notes);
    cost.gaveUp = cost.gaveUp || found.gaveUpAt >= 0;
    if (found.outcome != SearchOutcome::kFound) break;
    if (found.range.start < 0 || found.range.end < 1) break;
    ++cost.matches;
    place += found.range.end;
  }
  cost.units = notes.Credit(cost.bytes).Spent();
  return cost;
}

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_MATCHER_HOSTILE_SEARCHES_H
