// The bounded matcher finds what the engine finds, where the engine may be asked, and comes back
// where it may not.

#include "matcher/bounded_matcher.h"

#include "matcher/pattern_hazards.h"
#include "matcher/pattern_limits.h"
#include "matcher/regular_expression.h"
#include "tests/heap_text.h"
#include "tests/matcher/engine_alone.h"
#include "tests/matcher/random_pattern.h"

#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <vector>

namespace trovex {

void PrintTo(const GroupRange& range, std::ostream* out) {
  *out << range.start << "-" << range.end;
}

namespace {

using testing::EngineAlone;
using testing::HeapText;
using testing::RandomPattern;

using Ranges = std::vector<GroupRange>;

SyntaxTree Parsed(std::string_view pattern) {
  return ParsePattern(pattern.data(), pattern.size(), nullptr);
}

Ranges Found(std::string_view pattern, std::string_view line, int from = 0, bool endsLine = true) {
  const HeapText heap(line);
  Ranges ranges;
  BoundedMatcher(Parsed(pattern))
      .Find({heap.Data(), heap.Length(), endsLine}, from, heap.Length(), ranges);
  return ranges;
}

/// The same through the regular expression, which decides who searches.
Ranges FoundByExpression(std::string_view pattern, std::string_view line) {
  RegularExpression regex;
  EXPECT_EQ(regex.Compile(pattern.data(), pattern.size(), nullptr), MessageNumber::kNone);
  const HeapText heap(line);
  MatchRegisters registers(false);
  Ranges ranges;
  if (regex.Search(heap.Data(), heap.Length(), 0, registers) < 0) return ranges;
  for (int i = 0; i <= static_cast<int>(regex.GroupCount()); ++i) {
    ranges.push_back({registers.Start(i), registers.End(i)});
  }
  return ranges;
}

TEST(BoundedMatcher, FindsTheLeftmostLongestMatch) {
  EXPECT_EQ(Found("a|ab|abc", "xabcabc"), (Ranges{{1, 4}}));
  EXPECT_EQ(Found("a", "aba", 1), (Ranges{{2, 3}}));
  EXPECT_EQ(Found("b", "aaa"), Ranges{});
  EXPECT_EQ(Found("", "aaa", 3), (Ranges{{3, 3}}));
}

TEST(BoundedMatcher, AnchorsKnowTheLine) {
  EXPECT_EQ(Found("^a", "aa", 1), Ranges{});
  EXPECT_EQ(Found("a$", "aa"), (Ranges{{1, 2}}));
  EXPECT_EQ(Found("a$", "aa", 0, false), Ranges{});
  EXPECT_EQ(Found("a\\'", "aa", 0, false), (Ranges{{1, 2}}));
  EXPECT_EQ(Found("\\<b", "ab b"), (Ranges{{3, 4}}));
  EXPECT_EQ(Found("\\Bb", " bb"), (Ranges{{2, 3}}));
}

TEST(BoundedMatcher, BackReferencesRepeatTheGroup) {
  EXPECT_EQ(Found("(a|ab)\\1", "xababa"), (Ranges{{1, 5}, {1, 3}}));
  EXPECT_EQ(Found("(a*)b\\1", "aabaa"), (Ranges{{0, 5}, {0, 2}}));
  EXPECT_EQ(Found("(a)?\\1b", "b"), Ranges{}) << "a group that took no part matches nothing";
}

/// Holds the bounded matcher against the engine on random patterns without hazards.
void ExpectAgreement(unsigned seed, RandomPattern::Parts parts, bool withGroups) {
  RandomPattern random(seed, parts);
  int compared = 0;
  for (int i = 0; i < 30'000; ++i) {
    const std::string pattern = random.Pattern();
    const SyntaxTree tree = Parsed(pattern);
    if (pattern.size() > 40 || tree.faulty) continue;
    if (CheckPatternLimits(tree) != MessageNumber::kNone) continue;
    const PatternHazards hazards = FindHazards(tree);
    if (hazards.groups || hazards.search) continue;
    EngineAlone engine(pattern);
    const BoundedMatcher matcher(tree);
    for (int k = 0; k < 4; ++k) {
      const std::string line = random.Line(11);
      const HeapText heap(line);
      const int from = random.Below(heap.Length() + 1);
      Ranges found;
      matcher.Find({heap.Data(), heap.Length(), true}, from, heap.Length(), found);
      Ranges expected = engine.Search(line, from);
      if (!withGroups && !expected.empty()) expected.resize(1);
      if (!withGroups && !found.empty()) found.resize(1);
      ASSERT_EQ(found, expected) << pattern << " on \"" << line << "\" from " << from << " (seed "
                                 << seed << ", pattern " << i << ")";
      ++compared;
    }
  }
  EXPECT_GT(compared, 20'000);
}

TEST(BoundedMatcher, AgreesWithTheEngineOnMatchesAndGroups) {
  ExpectAgreement(31, {}, true);
}

TEST(BoundedMatcher, ComesBackWhereTheEngineDoesNot) {
  EXPECT_EQ(FoundByExpression("(|)(\\1\\1|t1|x)+", "t1t1xx"), (Ranges{{0, 6}, {0, 0}, {5, 6}}));
  EXPECT_EQ(FoundByExpression("(c*|^a)+", "ccx"), (Ranges{{0, 2}, {0, 2}}));
  EXPECT_EQ(FoundByExpression("x(a*|b^){2,}", "xaaab"), (Ranges{{0, 4}, {1, 4}}));
  EXPECT_EQ(FoundByExpression("x(((a*)b|(a?))|c|(aa))*y", "xaaby")[0], (GroupRange{0, 5}));
  EXPECT_EQ(FoundByExpression("(((b(a?){3,}))?|cc|()((c)|a|ab))**", "bacc")[0], (GroupRange{0, 4}));
}

TEST(BoundedMatcher, TheEnginesMatchStandsWhereItIsNone) {
  // The engine takes the "a" for one behind a line start. No group can be told for such a match.
  EXPECT_EQ(FoundByExpression("b(c*|^a)+", "xbcca"), (Ranges{{1, 5}, {-1, -1}}));
}

TEST(BoundedMatcher, ALongLineDoesNotTakeTheEnginesMemory) {
  const std::string side(20'000, 'a');
  const Ranges ranges = FoundByExpression("(a+)b\\1", side + "b" + side);
  EXPECT_EQ(ranges, (Ranges{{0, 40'001}, {0, 20'000}}));
}

TEST(BoundedMatcher, GivesUpWithinItsBounds) {
  std::string line;
  for (int i = 0; i < 500; ++i)
    line += "ab";
  EXPECT_EQ(FoundByExpression("(.*)(.*)(.*)(.*)\\1\\2\\3\\4x", line), Ranges{});
}

TEST(PatternHazards, OrdinaryPatternsStayWithTheEngine) {
  for (const char* pattern : {"(Haus|Hof)(es)?", "([a-z]+) \\1", "(a|b)*c", "(\\bab\\b ?)+",
                              "(a*)*", "(a*)*^", "^(a|$)", "(.)\\1", "(a*)\\1", "(a)*\\1"}) {
    const PatternHazards hazards = FindHazards(Parsed(pattern));
    EXPECT_FALSE(hazards.groups || hazards.search) << pattern;
  }
}

TEST(PatternHazards, TellsWhatIsHazardous) {
  for (const char* pattern : {"(c*|^a)+", "(a*|^b){2,}", "(a?|b)*", "((a{,1})*^.?)*"}) {
    EXPECT_TRUE(FindHazards(Parsed(pattern)).groups) << pattern;
  }
  for (const char* pattern :
       {"(|)(\\1\\1|x)+", "(a?)(\\1+a*)*", "()(b*\\1*)?c", "(.*)(.*)(.*)(.*)\\1\\2\\3\\4x"}) {
    EXPECT_TRUE(FindHazards(Parsed(pattern)).search) << pattern;
  }
}

/// Without anchors and back-references: every engine call here would be endless if a hazard were missed.
TEST(PatternHazards, TheEngineComesBackFromAllOthers) {
  RandomPattern random(41, {false, false});
  int searched = 0;
  for (int i = 0; i < 30'000; ++i) {
    const std::string pattern = random.Pattern();
    if (pattern.size() > 40) continue;
    const SyntaxTree tree = Parsed(pattern);
    if (tree.faulty || CheckPatternLimits(tree) != MessageNumber::kNone) continue;
    if (FindHazards(tree).groups) continue;
    EngineAlone engine(pattern);
    const std::string line = random.Line(30);
    const Ranges ranges = engine.Search(line, random.Below(static_cast<int>(line.size()) + 1));
    ASSERT_TRUE(ranges.empty() || ranges[0].start <= ranges[0].end) << pattern;
    ++searched;
  }
  EXPECT_GT(searched, 5'000);
}

}  // namespace
}  // namespace trovex
