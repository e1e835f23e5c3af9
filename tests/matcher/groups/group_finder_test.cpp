// The group finder finds what listing all ways finds, in time that ambiguity does not multiply.

#include "matcher/groups/group_finder.h"

#include "matcher/pattern/pattern_syntax.h"
#include "tests/matcher/groups/exact_text.h"
#include "tests/matcher/groups/way_model.h"
#include "tests/matcher/random_pattern.h"
#include "tests/matcher/small_cases.h"
#include "tests/sanitizers.h"

#include <gtest/gtest.h>
#include <cstddef>
#include <ostream>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace trovex {

namespace {

using testing::AllStrings;
using testing::ExactText;
using testing::Groups;
using testing::PlainWordBytes;
using testing::RandomPattern;
using testing::Repeated;
using testing::Strings;
using testing::WayModel;

constexpr ByteRange kNoRange{};

SyntaxTree Parsed(std::string_view pattern) {
  return ParsePattern(pattern.data(), pattern.size(), nullptr);
}

Groups GroupsOf(std::string_view pattern, std::string_view text, ByteRange match) {
  const GroupFinder finder(Parsed(pattern), {PlainWordBytes()});
  GroupFinder::Workspace work;
  Groups groups;
  const ExactText exact(text);
  EXPECT_EQ(finder.Find(exact.View(), match, groups, work), SearchOutcome::kFound)
      << pattern << " on " << text;
  return groups;
}

/// Of the whole text.
Groups GroupsOf(std::string_view pattern, std::string_view text) {
  return GroupsOf(pattern, text, {0, text.size()});
}

TEST(GroupFinder, EarlierPiecesTakeTheLongest) {
  EXPECT_EQ(GroupsOf("(a*)(a*)", "aaa"), (Groups{{0, 3}, {3, 3}}));
  EXPECT_EQ(GroupsOf("(a|ab)(c|bcd)(d*)", "abcd"), (Groups{{0, 2}, {2, 3}, {3, 4}}));
  EXPECT_EQ(GroupsOf("(a|ab)(bc|c)?", "abc"), (Groups{{0, 2}, {2, 3}}));
  EXPECT_EQ(GroupsOf("a*(a|b)", "aab"), (Groups{{2, 3}}));
  EXPECT_EQ(GroupsOf("([a-z]+)-([a-z]+).", "well-known,"), (Groups{{0, 4}, {5, 10}}));
}

TEST(GroupFinder, AGroupHasTheRangeOfItsLastRound) {
  EXPECT_EQ(GroupsOf("(a|b)*", "aba"), (Groups{{2, 3}}));
  EXPECT_EQ(GroupsOf("((a)|b)*", "ab"), (Groups{{1, 2}, {0, 1}}));
  EXPECT_EQ(GroupsOf("(a|ab|ba)*", "aba"), (Groups{{2, 3}})) << "ab, a";
  EXPECT_EQ(GroupsOf("(a){2}b|c", "aab"), (Groups{{1, 2}}));
}

TEST(GroupFinder, RoundsThatMatchNothingCountOnlyWhereTheyMust) {
  EXPECT_EQ(GroupsOf("(a*)*", ""), (Groups{{0, 0}}));
  EXPECT_EQ(GroupsOf("(a*)*", "aa"), (Groups{{0, 2}}));
  EXPECT_EQ(GroupsOf("(a*)+", "aa"), (Groups{{0, 2}}));
  EXPECT_EQ(GroupsOf("(a*){2}", "aa"), (Groups{{2, 2}}));
  EXPECT_EQ(GroupsOf("(a|b*)*", "a"), (Groups{{0, 1}}));
  EXPECT_EQ(GroupsOf("(a)?", ""), Groups{kNoRange});
}

TEST(GroupFinder, OfAlternativesWithOneRangeTheFirstCounts) {
  EXPECT_EQ(GroupsOf("(a)|(a)", "a"), (Groups{{0, 1}, kNoRange}));
  EXPECT_EQ(GroupsOf("(ab)|(a)(b)", "ab"), (Groups{{0, 2}, kNoRange, kNoRange}));
  EXPECT_EQ(GroupsOf("(a)(b)|(ab)", "ab"), (Groups{{0, 1}, {1, 2}, kNoRange}));
}

TEST(GroupFinder, AnchorsSeeTheTextAroundTheMatch) {
  EXPECT_EQ(GroupsOf("(a*)\\b(.*)", "aa aa", {0, 5}), (Groups{{0, 2}, {2, 5}}));
  EXPECT_EQ(GroupsOf("(^b|b)|(b)", "ab", {1, 2}), (Groups{{1, 2}, kNoRange}));
  EXPECT_EQ(GroupsOf("(b$)|(b)", "bb", {0, 1}), (Groups{kNoRange, {0, 1}}));
  EXPECT_EQ(GroupsOf("(b$)|(b)", "b\nb", {0, 1}), (Groups{{0, 1}, kNoRange}));
  EXPECT_EQ(GroupsOf("(^)b|(b)", "b\nb", {2, 3}), (Groups{{2, 2}, kNoRange}));
}

TEST(GroupFinder, ARangeThatThePatternDoesNotMatchHasNoGroups) {
  const GroupFinder finder(Parsed("(a|b*c)(d|c)"), {PlainWordBytes()});
  GroupFinder::Workspace work;
  Groups groups;
  const ExactText text("abc");
  EXPECT_EQ(finder.Find(text.View(), {0, 3}, groups, work), SearchOutcome::kNotFound);
}

/// Holds the finder against the model, on every match of one pattern in one text.
class Agreement {
 public:
  explicit Agreement(const std::string& pattern)
      : pattern_(pattern), tree_(Parsed(pattern)), finder_(tree_, {PlainWordBytes()}) {}

  bool IsFit() const { return !tree_.faulty && tree_.groupCount > 0; }

  void Check(const std::string& text) {
    const WayModel model(tree_, text);
    const ExactText exact(text);
    for (std::size_t begin = 0; begin <= text.size(); ++begin) {
      const auto match = model.At(begin);
      if (!match.has_value()) continue;
      Groups groups;
      ASSERT_EQ(finder_.Find(exact.View(), match->range, groups, work_), SearchOutcome::kFound)
          << pattern_ << " on '" << text << "' from " << begin;
      ASSERT_EQ(groups, match->groups)
          << pattern_ << " on '" << text << "' from " << begin << " to " << match->range.end;
      ++checked_;
    }
  }

  int Checked() const { return checked_; }

 private:
  const std::string pattern_;
  const SyntaxTree tree_;
  const GroupFinder finder_;
  GroupFinder::Workspace work_;
  int checked_ = 0;
};

void CheckAll(const Strings& pieces, int maxPieces, const Strings& letters, int maxLetters) {
  const Strings texts = AllStrings(letters, maxLetters);
  int checked = 0;
  const Strings patterns = AllStrings(pieces, maxPieces);
  for (std::size_t i = 0; i < patterns.size(); i += testing::kPatternStride) {
    const std::string& pattern = patterns[i];
    Agreement agreement(pattern);
    if (!agreement.IsFit()) continue;
    for (const std::string& text : texts) {
      agreement.Check(text);
      if (::testing::Test::HasFatalFailure()) return;
    }
    checked += agreement.Checked();
  }
  EXPECT_GT(checked, static_cast<int>(1000 / testing::kPatternStride));
}

TEST(GroupFinder, AgreesWithTheModelOnAllSmallSequences) {
  CheckAll({"(a)", "(a|ab)", "(b*)", "(|a)", "(a*)*", "b?", "(a|b)+"}, 3, {"a", "b"}, 4);
}

TEST(GroupFinder, AgreesWithTheModelOnAllSmallPatterns) {
  CheckAll({"(", ")", "a", "b", "|", "*"}, 6, {"a", "b"}, 3);
}

TEST(GroupFinder, AgreesWithTheModelOnSmallCountedRepetitions) {
  CheckAll({"(a|ab|b)", "(a*|b)", "((a)|(b))", "((a?)(b?))", "{2}", "{0,2}", "{1,3}", "{2,}", "*"},
           3, {"a", "b"}, 4);
}

TEST(GroupFinder, AgreesWithTheModelOnSmallPatternsWithAnchors) {
  CheckAll({"(a|\\b)", "(.\\B|a)", "(^|a)", "($|b)", "( *)", "*", "+", "(\\<a|a)", "(a\\>|.)"}, 3,
           {"a", " ", "\n"}, 4);
}

TEST(GroupFinder, AgreesWithTheModelOnRandomPatterns) {
  for (unsigned seed = 1; seed <= unsigned{testing::CasesToTry(1000)}; ++seed) {
    SCOPED_TRACE(seed);
    RandomPattern random(seed, {seed % 2 == 0, false});
    Agreement agreement(random.Pattern());
    if (!agreement.IsFit()) continue;
    for (int i = 0; i < 4; ++i) {
      agreement.Check(random.Line(5));
      if (HasFatalFailure()) return;
    }
  }
}

TEST(GroupFinder, ReadsLongMatchesInStretches) {
  const std::size_t count = 100'000;
  const std::string text = Repeated("ab", count) + "c" + Repeated("a", count);
  EXPECT_EQ(GroupsOf("(.*)c(.*)(.*)", text),
            (Groups{{0, 2 * count}, {2 * count + 1, text.size()}, {text.size(), text.size()}}));
  EXPECT_EQ(GroupsOf("(a|b|ab)*(c.*)", text),
            (Groups{{2 * count - 2, 2 * count}, {2 * count, text.size()}}));
}

TEST(GroupFinder, TellsTheGroupsOfHostilePatternsOnLongMatches) {
  const std::string text = Repeated("a", 20'000);
  for (const char* pattern : {"(a*)*", "((a*)*)*", "(a|a)*(a|aa)*", "(a*)(a*)(a*)(a*)(a*)",
                              "((a|aa)(a|aa)|a)*", "(a?){50}(a*)"}) {
    EXPECT_EQ(static_cast<int>(GroupsOf(pattern, text).size()), Parsed(pattern).groupCount)
        << pattern;
  }
}

TEST(GroupFinder, NestingOfAnyDepthNeedsNoStack) {
  for (const std::string tail : {"", "+", "?", "*", "|b"}) {
    const std::size_t depth = 200;
    const std::string pattern = Repeated("(", depth) + "a" + Repeated(")" + tail, depth);
    const Groups groups = GroupsOf(pattern, "a");
    ASSERT_EQ(groups.size(), depth);
    for (const ByteRange& group : groups)
      EXPECT_EQ(group, (ByteRange{0, 1})) << tail;
  }
}

TEST(GroupFinder, TellsTheGroupsOfRepetitionsInsideOneAnother) {
  constexpr std::size_t kDepth = 200;
  const std::string stars = Repeated("(", kDepth) + "a" + Repeated(")*", kDepth);
  const std::string choices = Repeated("(", kDepth) + "a" + Repeated("|)*", kDepth);
  for (const std::string& pattern : {stars, choices}) {
    const Groups groups = GroupsOf(pattern + "b", "aaab");
    ASSERT_EQ(groups.size(), kDepth);
    EXPECT_EQ(groups.back(), (ByteRange{2, 3}));  // the innermost: its last round
    EXPECT_EQ(groups.front(), (ByteRange{0, 3}));
  }
}

TEST(GroupFinder, GivesUpOnPatternsThatAreTooLarge) {
  const GroupFinder finder(Parsed("(((a{1,200}){1,200}){1,200}){1,200}"), {PlainWordBytes()});
  GroupFinder::Workspace work;
  Groups groups;
  const ExactText text("a");
  EXPECT_EQ(finder.Find(text.View(), {0, 1}, groups, work), SearchOutcome::kGaveUp);
}

}  // namespace
}  // namespace trovex
