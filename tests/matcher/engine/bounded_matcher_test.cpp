// The bounded matcher finds what the engine finds, where the engine may be asked, and comes back
// where it may not.

#include "matcher/engine/bounded_matcher.h"

#include "matcher/engine/pattern_limits.h"
#include "matcher/engine/regular_expression.h"
#include "matcher/limits.h"
#include "matcher/pattern/pattern_hazards.h"
#include "matcher/work_credit.h"
#include "tests/heap_text.h"
#include "tests/matcher/engine/answers_in_time.h"
#include "tests/matcher/engine_alone.h"
#include "tests/matcher/random_pattern.h"
#include "tests/sanitizers.h"

#include <gtest/gtest.h>
#include <cstddef>
#include <functional>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace trovex {

void PrintTo(const GroupRange& range, std::ostream* out) {
  *out << range.start << "-" << range.end;
}

namespace {

using testing::AnswersInTime;
using testing::CasesToTry;
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
  WorkCredit credit(line.size());
  BoundedMatcher(Parsed(pattern))
      .Find({heap.Data(), heap.Length(), endsLine}, from, heap.Length(), ranges, credit);
  return ranges;
}

/// The same through the regular expression, which decides who searches.
Ranges FoundByExpression(std::string_view pattern, std::string_view line, int from = 0) {
  RegularExpression regex;
  EXPECT_EQ(regex.Compile(pattern.data(), pattern.size(), nullptr), MessageNumber::kNone);
  const HeapText heap(line);
  MatchRegisters registers(false);
  Ranges ranges;
  if (regex.Search(heap.Data(), heap.Length(), from, registers) < 0) return ranges;
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

bool HasEmptyLoop(const SyntaxTree& tree) {
  return FindHazards(tree).groups;
}

/// Whether a back-reference stands in a repetition, where the engine may not come back.
bool HasRepeatedReference(const SyntaxTree& tree) {
  std::vector<bool> isRepeated(tree.nodes.size());
  for (std::size_t i = tree.nodes.size(); i-- > 0;) {
    const SyntaxNode& node = tree.nodes[i];
    if (node.kind == SyntaxKind::kBackReference && isRepeated[i]) return true;
    for (int c = node.firstChild; c != kNoNode; c = tree.Node(c).nextSibling) {
      isRepeated[static_cast<std::size_t>(c)] = isRepeated[i] || node.kind == SyntaxKind::kRepeat;
    }
  }
  return false;
}

/// A search on one line.
struct SearchCase {
  std::string pattern;
  std::string line;
  int from;
};

/// Random searches, two for each of `patterns` patterns.
std::vector<SearchCase> RandomCases(unsigned seed, RandomPattern::Parts parts, int patterns) {
  RandomPattern random(seed, parts);
  std::vector<SearchCase> cases;
  for (int i = 0; i < patterns; ++i) {
    const std::string pattern = random.Pattern();
    const SyntaxTree tree = Parsed(pattern);
    if (pattern.size() > 40 || tree.faulty || HasRepeatedReference(tree)) continue;
    if (CheckPatternLimits(tree) != MessageNumber::kNone) continue;
    for (int k = 0; k < 2; ++k) {
      std::string line = random.Line(11);
      const int from = random.Below(static_cast<int>(line.size()) + 1);
      cases.push_back({pattern, std::move(line), from});
    }
  }
  return cases;
}

struct Comparison {
  int searches = 0;  // from which the engine came back
  int differences = 0;
  std::string difference;  // one of them
};

using Answer = std::function<Ranges(const SearchCase&)>;

/// Holds `own` against `engine`, which is asked in a process of its own: it may not come back.
Comparison Compare(const std::vector<SearchCase>& cases, const Answer& engine, const Answer& own) {
  const auto answers = AnswersInTime(static_cast<int>(cases.size()), 20'000, [&](int i) {
    return engine(cases[static_cast<std::size_t>(i)]);
  });
  Comparison comparison;
  for (std::size_t i = 0; i < cases.size(); ++i) {
    if (!answers[i]) continue;
    ++comparison.searches;
    const SearchCase& c = cases[i];
    const Ranges found = own(c);
    if (found == *answers[i]) continue;
    ++comparison.differences;
    std::ostringstream difference;
    difference << c.pattern << " on \"" << c.line << "\" from " << c.from << ": "
               << ::testing::PrintToString(found) << " instead of "
               << ::testing::PrintToString(*answers[i]);
    comparison.difference = difference.str();
  }
  return comparison;
}

Ranges FoundByEngine(const SearchCase& c) {
  return EngineAlone(c.pattern).SearchWholeFirst(c.line, c.from);
}

TEST(BoundedMatcher, AgreesWithTheEngineOnMatchesAndGroups) {
  const Comparison comparison =
      Compare(RandomCases(31, {}, CasesToTry(30'000)), FoundByEngine, [](const SearchCase& c) {
        const HeapText heap(c.line);
        const BoundedText text{heap.Data(), heap.Length(), true};
        const BoundedMatcher matcher(Parsed(c.pattern));
        WorkCredit credit(c.line.size());
        Ranges ranges;
        const SearchOutcome outcome = matcher.Find(text, c.from, heap.Length(), ranges, credit);
        if (outcome != SearchOutcome::kFound) return Ranges{};
        const GroupRange match = ranges[0];
        return matcher.FindGroups(text, match, ranges, credit) == SearchOutcome::kFound
                   ? ranges
                   : Ranges{match};
      });
  EXPECT_EQ(comparison.differences, 0) << comparison.difference;
  EXPECT_GT(comparison.searches, CasesToTry(20'000));
}

TEST(BoundedMatcher, AgreesWithTheEngineOnMatchesWithBackReferences) {
  const Comparison comparison = Compare(
      RandomCases(32, {false, true}, CasesToTry(60'000)),
      [](const SearchCase& c) { return EngineAlone(c.pattern).SearchWhole(c.line, c.from); },
      [](const SearchCase& c) {
        // The engine has matches whose groups it cannot tell.
        Ranges ranges = Found(c.pattern, c.line, c.from);
        if (!ranges.empty()) ranges.resize(1);
        return ranges;
      });
  EXPECT_LE(comparison.differences, comparison.searches / 2'000) << comparison.difference;
  EXPECT_GT(comparison.searches, CasesToTry(20'000));
}

TEST(BoundedMatcher, FindsTheEnginesMatchInOnePass) {
  for (const RandomPattern::Parts parts : {RandomPattern::Parts{}, {true, false}}) {
    const Comparison comparison = Compare(
        RandomCases(34, parts, CasesToTry(40'000)),
        [](const SearchCase& c) { return EngineAlone(c.pattern).SearchWhole(c.line, c.from); },
        [](const SearchCase& c) {
          const HeapText heap(c.line);
          const BoundedMatcher matcher(Parsed(c.pattern));
          WorkCredit credit(c.line.size());
          GroupRange match;
          const SearchOutcome outcome = matcher.FindWhole({heap.Data(), heap.Length(), true},
                                                          c.from, heap.Length(), match, credit);
          return outcome == SearchOutcome::kFound ? Ranges{match} : Ranges{};
        });
    // Before a word's last letter the engine misses "[^a]*\\B" now and then.
    EXPECT_LE(comparison.differences, comparison.searches / 10'000) << comparison.difference;
    EXPECT_GT(comparison.searches, CasesToTry(20'000));
  }
}

TEST(BoundedMatcher, AnEmptyRoundLeavesItsMarkOnTheGroups) {
  EXPECT_EQ(FoundByExpression("(()|a)*", "a"), (Ranges{{0, 1}, {0, 1}, {0, 0}}));
  EXPECT_EQ(FoundByExpression("(a|^)**", "a"), EngineAlone("(a|^)**").SearchWholeFirst("a", 0));
}

TEST(BoundedMatcher, TellsTheGroupsOfEmptyRoundsAsTheEngineDoes) {
  for (const RandomPattern::Parts parts : {RandomPattern::Parts{}, {true, false}}) {
    std::vector<SearchCase> cases = RandomCases(33, parts, CasesToTry(30'000));
    std::erase_if(cases, [](const SearchCase& c) { return !HasEmptyLoop(Parsed(c.pattern)); });
    const Comparison comparison = Compare(cases, FoundByEngine, [](const SearchCase& c) {
      return FoundByExpression(c.pattern, c.line, c.from);
    });
    EXPECT_LE(comparison.differences, comparison.searches / 10'000) << comparison.difference;
    EXPECT_GT(comparison.searches, CasesToTry(2'000));
  }
}

/// Every text of up to `longest` letters.
std::vector<std::string> AllTexts(std::string_view letters, std::size_t longest) {
  std::vector<std::string> texts{""};
  for (std::size_t i = 0; i < texts.size(); ++i) {
    if (texts[i].size() == longest) break;
    for (const char letter : letters)
      texts.push_back(texts[i] + letter);
  }
  return texts;
}

TEST(BoundedMatcher, ReadsBackReferencesAsTheEngineDoes) {
  const std::vector<std::string> texts = AllTexts("ab ", 6);
  for (const char* pattern :
       {"(.)\\1+",           "(.+)\\1+",      "((.)\\2)+",     "((.)\\2){2}",
        "(..)*\\1",          "(.)+\\1",       "(a){2}\\1",     "(.){3}\\1",
        "(ab?){2}\\1",       "((a)|b)+\\2",   "(a|b)*\\1",     "([ab]+)( \\1)*",
        "([ab]+ )+\\1",      "([ab]+ ?)+\\1", "(.)(.)\\2\\1",  "^(.)(.?)(.?)\\3\\2\\1$",
        "(a*)(b*)\\2\\1",    "((a+)b)*\\2",   "((a*)b)+\\2",   "((a*)b){2}\\2",
        "(a+)\\1*b",         "(a?)\\1*b",     "(|a)\\1+b",     "(ab|a)(bab|b)\\1",
        "(.*)(.*)\\1\\2",    "((.)\\2|ab)*",  "(a(b)?)+\\2",   "((a)?b)*\\2",
        "(a{1,2}){2}\\1",    "(a|ab){2}\\1",  "(.+){2}\\1",    "(.+)+\\1",
        "\\b([ab]+) \\1\\b", "(a*)+\\1",      "(a*){1,3}a\\1", "(.+){0,2}\\1"}) {
    EngineAlone engine(pattern);
    for (const std::string& text : texts) {
      ASSERT_EQ(Found(pattern, text), engine.Search(text, 0))
          << pattern << " on \"" << text << "\"";
    }
  }
}

TEST(BoundedMatcher, AWritingOutThatTheEngineDoesNotSeeIsNotReferredTo) {
  EXPECT_EQ(Found("(.+)+\\1", "aaa"), (Ranges{{0, 2}, {0, 1}}));
  EXPECT_EQ(Found("(.+){2}\\1", "aaa"), Ranges{});
  EXPECT_EQ(Found("(.){2}\\1", "aaa"), (Ranges{{0, 3}, {1, 2}}));
}

TEST(BoundedMatcher, BeforeTheFirstByteAReferenceMayStandForNothing) {
  EXPECT_EQ(Found("((a*)b)*\\2", "x"), (Ranges{{0, 0}, {-1, -1}, {-1, -1}}));
  EXPECT_EQ(Found("(|(())?a)\\2", "b")[0], (GroupRange{0, 0}));
  EXPECT_EQ(Found("((a+)b)*c?\\2", "x"), Ranges{}) << "the group cannot be empty";
  EXPECT_EQ(Found("x(|(())?a)\\2", "x"), Ranges{}) << "a byte stands before";
}

TEST(BoundedMatcher, ComesBackWhereTheEngineDoesNot) {
  EXPECT_EQ(FoundByExpression("(|)(\\1\\1|t1|x)+", "t1t1xx"), (Ranges{{0, 6}, {0, 0}, {5, 6}}));
  EXPECT_EQ(FoundByExpression("(c*|^a)+", "ccx"), (Ranges{{0, 2}, {0, 2}}));
  EXPECT_EQ(FoundByExpression("x(a*|b^){2,}", "xaaab"), (Ranges{{0, 4}, {1, 4}}));
  EXPECT_EQ(FoundByExpression("x(((a*)b|(a?))|c|(aa))*y", "xaaby")[0], (GroupRange{0, 5}));
  EXPECT_EQ(FoundByExpression("(((b(a?){3,}))?|cc|()((c)|a|ab))**", "bacc")[0], (GroupRange{0, 4}));
}

TEST(BoundedMatcher, TheEnginesMatchStandsWhereItIsNone) {
  // The engine takes the "a" for one after a line start. No group can be told for such a match.
  EXPECT_EQ(FoundByExpression("b(c*|^a)+", "xbcca"), (Ranges{{1, 5}, {-1, -1}}));
}

TEST(BoundedMatcher, DoesNotTakeTheEnginesTimeForBackReferences) {
  const std::string line(60, 'a');
  EXPECT_EQ(FoundByExpression("(.+)\\1+", line), (Ranges{{0, 60}, {0, 30}}));
  EXPECT_EQ(FoundByExpression("(.)+\\1*", line), (Ranges{{0, 60}, {59, 60}}));
  EXPECT_EQ(FoundByExpression("(.*)(.*)(.*)(.*)\\1\\2\\3\\4x", line.substr(0, 40)), Ranges{});
  const std::string longLine(1'000, 'a');
  EXPECT_EQ(FoundByExpression("(.*)\\1x", longLine), Ranges{});
  EXPECT_EQ(FoundByExpression("(a).*\\1x", longLine), Ranges{});
}

TEST(BoundedMatcher, ManyWritingsOutOfAGroupTakeNoLongTime) {
  const std::string line(400, 'a');
  EXPECT_EQ(FoundByExpression("(a){300}\\1", line), (Ranges{{0, 301}, {299, 300}}));
  EXPECT_EQ(FoundByExpression("(a){9000}\\1", line), Ranges{});
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
  const BoundedMatcher matcher(Parsed("(.*)(.*)(.*)(.*)\\1\\2\\3\\4x"));
  const HeapText heap(line);
  WorkCredit credit(line.size());
  Ranges ranges;
  EXPECT_EQ(matcher.Find({heap.Data(), heap.Length(), true}, 0, heap.Length(), ranges, credit),
            SearchOutcome::kGaveUp);
  EXPECT_EQ(ranges, Ranges{});
}

TEST(BoundedMatcher, WhereTheCreditIsSpentItGivesUpAndDoesNotSayThatThereIsNothing) {
  const HeapText heap(std::string(1'000, 'a') + "b");
  const BoundedText text{heap.Data(), heap.Length(), true};
  const BoundedMatcher matcher(Parsed("(a|aa)*b"));
  GroupRange match;
  Ranges ranges;
  WorkCredit credit(0);
  ASSERT_TRUE(credit.Spend(kWorkAtLeast));
  EXPECT_EQ(matcher.FindWhole(text, 0, heap.Length(), match, credit), SearchOutcome::kGaveUp);
  EXPECT_EQ(matcher.FindGroups(text, {0, 1'001}, ranges, credit), SearchOutcome::kGaveUp);
  WorkCredit enough(0);
  EXPECT_EQ(matcher.FindWhole(text, 0, heap.Length(), match, enough), SearchOutcome::kFound);
  EXPECT_EQ(matcher.FindGroups(text, {0, 1'001}, ranges, enough), SearchOutcome::kFound);
  EXPECT_EQ(matcher.FindWhole(text, 1'001, heap.Length(), match, enough), SearchOutcome::kNotFound);
}

TEST(PatternHazards, OrdinaryPatternsStayWithTheEngine) {
  for (const char* pattern : {"(Haus|Hof)(es)?", "(a|b)*c", "(\\bab\\b ?)+", "(a*)*", "(a*)*^",
                              "^(a|$)", "(a?|b){2}", "((a+)?)*"}) {
    const PatternHazards hazards = FindHazards(Parsed(pattern));
    EXPECT_FALSE(hazards.groups || hazards.search) << pattern;
  }
}

TEST(PatternHazards, TellsWhatIsHazardous) {
  for (const char* pattern : {"(c*|^a)+", "(a*|^b){2,}", "(a?|b)*", "((a{,1})*^.?)*", "((a*)*)*",
                              "(a*$)*", "(()|x(a*|b)*)"}) {
    EXPECT_TRUE(FindHazards(Parsed(pattern)).groups) << pattern;
  }
  for (const char* pattern : {"(a)\\1", "(|)(\\1\\1|x)+", "()(b*\\1*)?c", "x|(a)(b(\\2|c\\1))"}) {
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
