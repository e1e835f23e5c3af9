// Matches located by automata against the engine alone: all matches of a text, one after the other as
// the leaves of a search tree ask for them, in texts long enough for every road and every leap.

#include "api/matcher_state.h"
#include "tests/dice.h"
#include "tests/heap_text.h"
#include "tests/visible.h"

#include <gtest/gtest.h>
#include <trovex/functions.h>
#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace trovex {
namespace {

using testing::Dice;
using testing::HeapText;
using testing::Visible;

using Ranges = std::vector<std::pair<int, int>>;

class MatchLocatorTest : public ::testing::Test {
 protected:
  void TearDown() override { Matcher() = MatcherState{}; }
};

std::string Joined(std::initializer_list<std::string_view> parts) {
  std::string joined;
  for (const std::string_view part : parts)
    joined += part;
  return joined;
}

/// All matches of the installed pattern; a match of nothing ends the list.
Ranges AllMatches(HeapText& text, int group, bool engineOnly) {
  Matcher().engineOnly = engineOnly;
  Ranges ranges;
  TextNotes notes;
  for (int position = 0; position < text.Length();) {
    MatchRange range{};
    if (!SearchInstalled(text.Data() + position, text.Length() - position, group, range, &notes)) {
      break;
    }
    ranges.emplace_back(position + range.start, position + range.end);
    if (range.start < 0 || range.end <= range.start) break;
    position += range.end;
  }
  Matcher().engineOnly = false;
  return ranges;
}

struct Flags {
  bool fold = false;
  bool words = false;
};

/// Whether the automaton, which decides about lines, sees words in the text where the engine does not.
bool MeetsUnderscoreReading(const std::string& pattern, std::string_view text) {
  return pattern.find_first_of("<>") != std::string::npos && text.find('_') != std::string::npos;
}

/// All matches without the locator: the engine's, on lines that the automaton lets pass.
Ranges MatchesOnPassedLines(HeapText& text) {
  const auto locator = std::exchange(Matcher().installed->locator, nullptr);
  return AllMatches(text, 0, false);
}

/// Holds all matches of `pattern` against the engine's; returns how many there are.
std::size_t Compare(const std::string& pattern, Flags flags, std::string_view text, char after) {
  EXPECT_STREQ(Compile(pattern.c_str(), flags.fold, flags.words), nullptr) << Visible(pattern);
  HeapText heap(text, after);
  const Ranges located = AllMatches(heap, 0, false);
  const Ranges expected = MeetsUnderscoreReading(pattern, text) ? MatchesOnPassedLines(heap)
                                                                : AllMatches(heap, 0, true);
  EXPECT_EQ(located, expected) << "pattern " << Visible(pattern) << " fold " << flags.fold
                               << " words " << flags.words << " text " << Visible(text) << " after "
                               << Visible({&after, 1});
  EXPECT_EQ(heap.After(), after);
  return located.size();
}

// Which patterns are located.

bool IsLocated(const std::string& pattern, Flags flags = {}) {
  EXPECT_STREQ(Compile(pattern.c_str(), flags.fold, flags.words), nullptr) << Visible(pattern);
  return Matcher().installed->locator != nullptr;
}

bool IsReadAlike(const std::string& pattern, Flags flags = {}) {
  return IsLocated(pattern, flags) &&
         Matcher().installed->pattern->lineFilterReading == Reading::kAlike;
}

TEST_F(MatchLocatorTest, OrdinaryPatternsAreReadAlikeAndNeedNoEngine) {
  for (const char* pattern :
       {"Haus", "Haus|Hof", "[a-z]+ung", "(a|b)*c", "a{2,4}b{2,}c{,3}d+e?", "^Haus$", ".*x",
        "[^a-z]", "()", "a||b", "\\s\\S", "\\.\\(", "x*", "a\nb", "[0-9]{1,3}\\.[0-9]"}) {
    EXPECT_TRUE(IsReadAlike(pattern)) << pattern;
  }
  for (const char* pattern : {"Haus", "\334ber|Stra\337e", "[a-z]+ung", "[^a-z]"}) {
    EXPECT_TRUE(IsReadAlike(pattern, {true, false})) << pattern;
    EXPECT_TRUE(IsReadAlike(pattern, {false, true})) << pattern;
    EXPECT_TRUE(IsReadAlike(pattern, {true, true})) << pattern;
  }
}

TEST_F(MatchLocatorTest, PatternsThatAreReadInTwoWaysAreLocatedAsTheEngineReadsThem) {
  for (const char* pattern : {"\\bund\\b", "\\<und", "und\\>", "\\w+", "\\W", "a{0}b", "[[.a.]]"}) {
    EXPECT_TRUE(IsLocated(pattern)) << pattern;
    EXPECT_FALSE(IsReadAlike(pattern)) << pattern;
  }
  EXPECT_TRUE(IsLocated("[A-z]", {true, false}));
  EXPECT_FALSE(IsReadAlike("[A-z]", {true, false}));
}

TEST_F(MatchLocatorTest, WhatOnlyTheEngineCanAnswerIsLeftToIt) {
  for (const char* pattern : {"(a)\\1", "(^a)+", "(a$){2}", "a\\Bb"}) {
    EXPECT_FALSE(IsLocated(pattern)) << pattern;
  }
  for (const char* pattern : {"a*", "(Haus)?", "\\bund", "a\\'"}) {
    EXPECT_FALSE(IsLocated(pattern, {false, true})) << pattern;
  }
}

TEST_F(MatchLocatorTest, APatternBeyondTheBoundsOfTheAutomataIsLeftToTheEngine) {
  std::string pattern = "(b";
  for (int i = 0; i < 500; ++i)
    pattern += "|a";
  pattern += ")+";
  EXPECT_FALSE(IsLocated(pattern));
  EXPECT_EQ(Compare(pattern, {}, "xaabx", '\0'), 1U);
}

// Where matches lie.

TEST_F(MatchLocatorTest, AnEarlierStartWinsOverAnEarlierEnd) {
  EXPECT_EQ(Compare("abcd|c", {}, "xabcd abcx c", '\0'), 3U);
  EXPECT_EQ(Compare("a.*d|b|cc", {}, "xabccd abcc", '\0'), 3U);
}

TEST_F(MatchLocatorTest, ALongerMatchOfAnEarlierStartReplacesAFirstOne) {
  EXPECT_EQ(Compare("ab*c|b", {}, "abbbbc abbbb", '\0'), 5U);
}

TEST_F(MatchLocatorTest, LeapsOverWhatChangesNothing) {
  std::string text;
  for (int i = 0; i < 40; ++i)
    text += "eine lange Zeile Text ";
  for (const char* pattern :
       {"Q.*Y", "Q.*", "Q[^Y]*Y", "(Q.*Y)?X", "Q.*Y|Z", "^.*X", "Q.*Y$", ".*"}) {
    for (const Flags flags : {Flags{false, false}, Flags{true, false}, Flags{false, true}}) {
      if (flags.words && !IsLocated(pattern, flags)) continue;
      for (const char* middle : {"", "Q", "Y", "Q Y Y", "Q\nY", "QX", "Z Q", "YQ"}) {
        Compare(pattern, flags, Joined({text, "Q", text, middle, text, "Y"}), '\0');
        Compare(pattern, flags, Joined({text, middle, text, "\n", middle, text}), 'Y');
      }
    }
  }
}

TEST_F(MatchLocatorTest, PassesOverLinesWithoutTheKeywordThatEveryMatchHolds) {
  static constexpr const char* kPieces[] = {"Haus ", "Vase ", "Zylinder", "zylind",
                                            "\n",    "e ",    "- ",       "_"};
  Dice dice(3);
  for (int round = 0; round < 300; ++round) {
    std::string text;
    for (int pieces = dice.Between(1, 60); pieces > 0; --pieces)
      text += kPieces[dice.Between(0, 7)];
    for (const char* pattern : {"Haus.*Zylinder", "(Ha|Va).*Zylinder|Vase Zylinder", "[a-z]+zylind",
                                "[^-]*zylind$", "(e |- )+Zylinder( e)*", "^Haus.*Zylinder"}) {
      for (const Flags flags : {Flags{false, false}, Flags{true, false}, Flags{false, true}}) {
        Compare(pattern, flags, text, dice.Byte("\nx "));
      }
    }
    ASSERT_FALSE(HasFailure()) << "round " << round;
  }
}

TEST_F(MatchLocatorTest, AWordAtTheEndOfTheTextEndsBeforeTheByteAfterIt) {
  for (const char* pattern : {"und", "[a-z]+", "u[a-z ]*", "nd|und|n", "(und|d) ?", "^und|und$"}) {
    for (const char* text : {"und", " und", "und und", "hund\nund", "u", "hund\n und", "un d"}) {
      for (const char after : {'\0', 'x', ' ', '_', '\n', '\xE4'}) {
        Compare(pattern, {false, true}, text, after);
      }
    }
  }
}

TEST_F(MatchLocatorTest, WhatWasReadInVainIsStillFoundWhereItIs) {
  Dice dice(2);
  for (int round = 0; round < 10; ++round) {
    std::string text = dice.Bytes("aaaaaaaaaaaaaaaabd", 3000) + dice.Bytes("aac", 9000);
    if (dice.OneIn(2)) text.append("d").append(dice.Bytes("aaaaaaaaaaaaab", 3000));
    for (const char* pattern :
         {"a(.*d)?", "b(a*c[ac]*d)?", "b|aa(.*b.*d)?", "a[^d]*d|c", "ab?(.*c)?"}) {
      EXPECT_STREQ(Compile(pattern, 0, 0), nullptr);
      HeapText heap(text);
      const Ranges located = AllMatches(heap, 0, false);
      Ranges afresh;
      for (int position = 0; position < heap.Length();) {
        MatchRange range{};
        const int left = heap.Length() - position;
        if (!SearchInstalled(heap.Data() + position, left, 0, range)) break;
        afresh.emplace_back(position + range.start, position + range.end);
        position += range.end;
      }
      ASSERT_EQ(located, afresh) << pattern << " round " << round;
    }
  }
}

TEST_F(MatchLocatorTest, WhatIsReadFromRareBytesIsFoundWhereItIs) {
  std::size_t matches = 0;
  for (std::uint32_t seed = 1; seed <= 60; ++seed) {
    SCOPED_TRACE(::testing::Message() << "seed " << seed);
    Dice dice(seed);
    // Lines of letters, some of which are read in vain again and again, so that readings come to an end.
    std::string text;
    for (int lines = dice.Between(1, 12); lines > 0; --lines) {
      text += dice.Bytes(dice.OneIn(2) ? "aaabbbcd%" : "aab%", dice.OneIn(3) ? 250 : 30);
      if (dice.OneIn(3)) text += dice.OneOf({"%ab%ab", "%c", "%abd", "%%", "%"});
      text += dice.OneIn(4) ? "" : "\n";
    }
    for (const char* pattern : {"%[ab]+(%[ab]+)+", "%(a|%|b)*c|%d", "%(ab|c)+(d%)?", "%.*(a|b)c|%%",
                                "%(b|aa)*d?", "^%(a|bb)+", "%(a|%)*$|%c", "(%a|%b)[ab]*(d|cc)?"}) {
      for (const Flags flags : {Flags{}, Flags{true, false}, Flags{false, true}})
        matches += Compare(pattern, flags, text, dice.Byte("ab%\n "));
    }
    if (HasFailure()) return;
  }
  EXPECT_GT(matches, 5'000U);
}

TEST_F(MatchLocatorTest, MoreStatesThanAreKeptChangeNoAnswer) {
  Dice dice(1);
  const std::string text = std::string("ab").append(dice.Bytes("ab", 8000));
  EXPECT_GT(Compare("a(a|b){11}c|b(a|b){9}aa", {}, text + "c", '\0'), 100U);
  EXPECT_GT(Compare("(a|b){2}a(a|b){11}ab", {}, text, '\0'), 20U);
  EXPECT_EQ(Compare("(a|b)*a(a|b){12}c", {}, text + "c", '\0'), 1U);
}

TEST_F(MatchLocatorTest, ALineThatTheAutomatonTurnsAwayHasNoMatch) {
  // The engine counts the underscore among the letters of a word, the automaton does not.
  const std::string text = "_und\nx und_und _\nund\n_und_\n";
  for (const char* pattern : {"\\<und", "und\\>", "\\<[a-z_]+\\>", "\\<_", "_\\>|d"}) {
    EXPECT_FALSE(IsReadAlike(pattern));
    Compare(pattern, {}, text, '\0');
    Compare(pattern, {}, text + text, '_');
    Compare(pattern, {}, "und" + text + "und", 'x');
  }
}

TEST_F(MatchLocatorTest, ALongLineThatIsLeftToTheEngineEndsWhereItEnds) {
  const std::string line = Joined({"Haus", std::string(9000, 'e'), "y"});
  for (const char* pattern : {"(^|b)+Haus.*y$", "(^|b)+Haus.*e$", "(^H|b)+aus.*y"}) {
    EXPECT_FALSE(IsLocated(pattern));
    Compare(pattern, {}, line, '\0');
    Compare(pattern, {}, Joined({"x\n", line, "\nx"}), '\0');
  }
  EXPECT_EQ(Compare("(^|b)+Haus.*y$", {}, line, '\0'), 1U);
}

// At random.

class RandomTexts {
 public:
  explicit RandomTexts(std::uint32_t seed) : dice_(seed) {}

  std::string Pattern() {
    std::string pattern = Sequence(2);
    while (dice_.OneIn(3))
      pattern.append("|").append(Sequence(2));
    return pattern;
  }

  /// Long lines, short lines, and words that the patterns hold.
  std::string Text() {
    static const std::vector<std::string> kPieces = {
        "Haus", "haus ", "ung ", "Ver", "aa", "ab ", "x", "-", "\n", "12.34", "\374ber ", "_"};
    std::string text;
    for (int pieces = dice_.Between(1, 120); pieces > 0; --pieces) {
      text += dice_.OneOf(kPieces);
      if (dice_.OneIn(20)) text.append(static_cast<std::size_t>(dice_.Between(1, 150)), 'e');
    }
    return text;
  }

  Flags AnyFlags() { return {dice_.OneIn(2), dice_.OneIn(3)}; }
  char After() { return dice_.Byte(std::string_view("\0a_\n ", 5)); }

 private:
  std::string Sequence(int depth) {
    static const std::vector<std::string> kAtoms = {"Haus",   "ung", "[a-z]", "[A-Z]", ".",
                                                    "[^a-z]", "e",   "a",     "ab",    "-",
                                                    "[0-9]",  "\\.", "\xDC",  " "};
    static const std::vector<std::string> kPostfixes = {"*", "+", "?", "{2,3}", "{,2}", "*"};
    std::string sequence;
    if (dice_.OneIn(10)) sequence += dice_.OneIn(2) ? "^" : "\\<";
    for (int atoms = dice_.Between(1, 4); atoms > 0; --atoms) {
      if (depth > 0 && dice_.OneIn(5)) {
        sequence.append("(")
            .append(Sequence(depth - 1))
            .append("|")
            .append(dice_.OneOf(kAtoms))
            .append(")");
      } else {
        sequence += dice_.OneOf(kAtoms);
      }
      if (dice_.OneIn(3)) sequence += dice_.OneOf(kPostfixes);
    }
    if (dice_.OneIn(10)) sequence += dice_.OneIn(2) ? "$" : "\\>";
    return sequence;
  }

  Dice dice_;
};

TEST_F(MatchLocatorTest, RowsOfRunsBetweenAnchors) {
  constexpr unsigned kSeed = 4711;
  Dice dice(kSeed);
  std::vector<std::string> texts;
  for (const int length : {0, 1, 2, 5, 8, 13, 36, 64, 65, 300, 2'000}) {
    for (int t = 0; t < 3; ++t)
      texts.push_back(dice.Bytes(t == 0 ? "aab.\n" : "aaabbx-. \n", length));
  }
  std::size_t found = 0;
  for (const char* first : {"", "^", "\\<", "\\b"}) {
    for (const char* last : {"", "$", "\\>", "\\b"}) {
      for (const char* row :
           {"a", "ab", "[ab]+", "[ab]{2,3}", "a*b", "[^b]+", "b\\.?", ".*b", "[ab]+-[abx]"}) {
        const std::string pattern = std::string(first) + row + last;
        for (const bool words : {false, true}) {
          for (const std::string& text : texts)
            found += Compare(pattern, {false, words}, text, dice.OneIn(2) ? 'a' : '\n');
          if (HasFailure()) FAIL() << pattern;
        }
      }
    }
  }
  EXPECT_GT(found, 10'000U);
}

// Matches that are found together, where each search begins, with the text, where the match before ends.

using Located = std::pair<std::ptrdiff_t, std::ptrdiff_t>;

/// The byte after `text`, where `program` asks for it.
int AfterText(const LocatorProgram& program, const HeapText& text) {
  return program.Words() ? static_cast<unsigned char>(text.Data()[text.Length()]) : -1;
}

/// All matches, each by a locator of its own.
std::vector<Located> OneByOne(const LocatorProgram& program, const HeapText& text) {
  const auto* const begin = reinterpret_cast<const unsigned char*>(text.Data());
  const auto* const end = begin + text.Length();
  std::vector<Located> found;
  for (const unsigned char* place = begin; place < end;) {
    MatchLocator locator(program);
    locator.Begin(begin, static_cast<std::size_t>(text.Length()));
    const LocatedRange match = locator.Find(
        {.place = place, .begin = place, .end = end, .after = AfterText(program, text)});
    if (match.start == nullptr) break;
    found.emplace_back(match.start - begin, match.end - begin);
    place = match.end;
  }
  return found;
}

/// The same by `locator`, a search of `program`, which hands out what is ready with a match.
std::vector<Located> Together(const LocatorProgram& program, MatchLocator& locator,
                              const HeapText& text) {
  const auto* const begin = reinterpret_cast<const unsigned char*>(text.Data());
  const auto* const end = begin + text.Length();
  std::vector<Located> found;
  for (const unsigned char* place = begin; place < end;) {
    const LocatedRange match = locator.Find(
        {.place = place, .begin = place, .end = end, .after = AfterText(program, text)});
    if (match.start == nullptr) break;
    found.emplace_back(match.start - begin, match.end - begin);
    place = match.end;
    for (const LocatedRange& ready : locator.TakeAllReady(place, end, end + 1)) {
      found.emplace_back(ready.start - begin, ready.end - begin);
      place = ready.end;
    }
  }
  return found;
}

TEST_F(MatchLocatorTest, MatchesThatAreReadyAreThoseThatSearchesFromTheMatchBeforeFind) {
  constexpr unsigned kSeed = 4712;
  Dice dice(kSeed);
  std::size_t found = 0;
  for (const char* pattern : {"a",
                              "ab",
                              "^a",
                              "^[ab]",
                              "\\<a",
                              "\\<[ab]+",
                              "\\ba",
                              "a\\b",
                              "[ab]+",
                              "[ab]{2,3}",
                              "a*b",
                              "a$",
                              "[^b]+$",
                              "(a|ab)b",
                              "\\<ab\\>",
                              "^a|b",
                              "-[ab]\\>",
                              "[ab]+-[abx]",
                              "a|bb|ab-",
                              "^(a|bb|ba)",
                              "\\<(a|ab|bab)",
                              "(a|ab|-b)\\>",
                              "a|b-|ab|ba|aab|bab|x|ax|bx|-a",
                              "\\<(a|b|ab|ba|aab|bab|x|ax|bx)",
                              "^(a|b|ab|ba|aab|bab|x|ax|bx)"}) {
    for (const bool words : {false, true}) {
      const CompileResult compiled = CompileMatcher(pattern, {.matchWords = words});
      const bool isLocated = compiled.pattern->locator != nullptr;
      ASSERT_TRUE(isLocated || words)
          << pattern;  // with anchors, only the engine knows whole words
      if (!isLocated) continue;
      const LocatorProgram& program = *compiled.pattern->locator;
      for (int round = 0; round < 200; ++round) {
        const HeapText text(
            "a" + dice.Bytes(dice.OneIn(2) ? "ab\n" : "aabx-. \n", dice.Between(1, 200)),
            dice.Byte("a \n"));
        const std::vector<Located> expected = OneByOne(program, text);
        MatchLocator locator(program);
        locator.Begin(reinterpret_cast<const unsigned char*>(text.Data()),
                      static_cast<std::size_t>(text.Length()));
        for (const char* pass : {"first", "second"}) {
          ASSERT_EQ(Together(program, locator, text), expected)
              << pattern << (words ? " as words in " : " in ")
              << Visible({text.Data(), static_cast<std::size_t>(text.Length())}) << ", " << pass
              << " pass";
        }
        found += expected.size();
      }
    }
  }
  EXPECT_GT(found, 20'000U);
}

TEST_F(MatchLocatorTest, WhatIsReadyIsForTheSearchThatGoesOnAlone) {
  ASSERT_TRUE(IsLocated("[ab]+"));
  const HeapText text("a a ab abb ab ba b", 'a');
  const auto* const begin = reinterpret_cast<const unsigned char*>(text.Data());
  const auto* const end = begin + text.Length();
  MatchLocator locator(*Matcher().installed->pattern->locator);
  locator.Begin(begin, static_cast<std::size_t>(text.Length()));
  const unsigned char* place = locator.Find({.place = begin, .begin = begin, .end = end}).end;
  place = locator.Find({.place = place, .begin = place, .end = end}).end;
  EXPECT_TRUE(locator.TakeAllReady(place + 1, end, end + 1).empty());
  EXPECT_TRUE(locator.TakeAllReady(place, end - 1, end + 1).empty());
  EXPECT_TRUE(locator.TakeAllReady(place, end, begin + 6).empty()) << "it ends there";
  const auto ready = locator.TakeAllReady(place, end, end + 1);
  ASSERT_EQ(ready.size(), 1U);
  EXPECT_EQ(ready[0].start - begin, 4);
  EXPECT_EQ(ready[0].end - begin, 6);
}

TEST_F(MatchLocatorTest, RandomPatternsInLongRandomTexts) {
  std::size_t matches = 0;
  for (std::uint32_t seed = 1; seed <= 800; ++seed) {
    SCOPED_TRACE(::testing::Message() << "seed " << seed);
    RandomTexts cases(seed);
    const std::string pattern = cases.Pattern();
    const Flags flags = cases.AnyFlags();
    const std::string text = cases.Text();
    if (!IsLocated(pattern, flags)) continue;
    matches += Compare(pattern, flags, text, cases.After());
    if (HasFailure()) return;
  }
  EXPECT_GT(matches, 4000U);
}

}  // namespace
}  // namespace trovex
