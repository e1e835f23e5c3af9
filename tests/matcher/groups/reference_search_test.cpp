// The search for patterns with back-references finds what listing all ways
// finds, or gives up in time.

#include "matcher/groups/reference_search.h"

#include "matcher/groups/group_finder.h"
#include "matcher/pattern/pattern_syntax.h"
#include "tests/dice.h"
#include "tests/matcher/groups/exact_text.h"
#include "tests/matcher/groups/way_model.h"
#include "tests/matcher/random_pattern.h"
#include "tests/matcher/small_cases.h"
#include "tests/sanitizers.h"

#include <gtest/gtest.h>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
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

/// Back-references may stand anywhere, also in their own groups: they are read as bytes 1 to 9 first.
SyntaxTree Parsed(std::string pattern) {
  for (std::size_t i = 0; i + 1 < pattern.size(); ++i) {
    if (pattern[i] != '\\' || pattern[i + 1] < '1' || pattern[i + 1] > '9') continue;
    pattern.replace(i, 2, 1, static_cast<char>(pattern[i + 1] - '0'));
  }
  SyntaxTree tree = ParsePattern(pattern.data(), pattern.size(), nullptr);
  for (SyntaxNode& node : tree.nodes) {
    if (node.kind != SyntaxKind::kByte || node.value < 1 || node.value > 9) continue;
    if (node.value > tree.groupCount) tree.faulty = true;
    node.kind = SyntaxKind::kBackReference;
  }
  return tree;
}

ByteMap AsciiFolded() {
  ByteMap map = IdentityMap();
  for (unsigned char c = 'A'; c <= 'Z'; ++c)
    map[c] = static_cast<unsigned char>(c - 'A' + 'a');
  return map;
}

ReferenceOptions Options(bool folds, bool words) {
  ReferenceOptions options;
  options.wholeWords = words;
  options.wordBytes = PlainWordBytes();
  if (folds) options.comparedAs = AsciiFolded();
  return options;
}

/// The range of the first match and those of its groups; nothing if there is
/// none.
Groups Found(const std::string& pattern, std::string_view text, bool folds = false,
             bool words = false) {
  const ReferenceSearch search(Parsed(pattern), Options(folds, words));
  ReferenceRun run(search);
  const ExactText exact(text);
  run.Begin(exact.View());
  ByteRange match;
  Groups groups;
  const SearchOutcome outcome = run.Find(0, text.size(), match, &groups);
  EXPECT_NE(outcome, SearchOutcome::kGaveUp) << pattern;
  if (outcome != SearchOutcome::kFound) return {};
  groups.insert(groups.begin(), match);
  return groups;
}

TEST(ReferenceSearch, FindsTheLeftmostLongest) {
  EXPECT_EQ(Found("(a|ab)\\1", "xababa"), (Groups{{1, 5}, {1, 3}}));
  EXPECT_EQ(Found("(a*)b\\1", "aabaa"), (Groups{{0, 5}, {0, 2}}));
  EXPECT_EQ(Found("(.)(.)\\2\\1", "xabbay"), (Groups{{1, 5}, {1, 2}, {2, 3}}));
  EXPECT_EQ(Found("([a-z][a-z][a-z])\\1", "xyabcabc"), (Groups{{2, 8}, {2, 5}}));
  EXPECT_EQ(Found("\\<([a-z]+) \\1\\>", "is this is is it"), (Groups{{8, 13}, {8, 10}}));
  EXPECT_EQ(Found("(.+)+\\1", "aaa"), (Groups{{0, 3}, {1, 2}})) << "a, a, and the same again";
}

TEST(ReferenceSearch, AGroupThatTookNoPartMatchesNowhere) {
  EXPECT_EQ(Found("(a)?\\1b", "b"), Groups{});
  EXPECT_EQ(Found("(a)|b\\1", "b"), Groups{});
  EXPECT_EQ(Found("\\1(a)", "aa"), Groups{});
  EXPECT_EQ(Found("(\\1|a)+", "aaa"), (Groups{{0, 3}, {2, 3}}));
  EXPECT_EQ(Found("((a*)b)*\\2", "x"), Groups{});
  EXPECT_EQ(Found("((a)|\\2b)+", "aab"), (Groups{{0, 3}, {1, 3}, {0, 1}}));
}

TEST(ReferenceSearch, ThePresentRangeOfTheGroupCounts) {
  EXPECT_EQ(Found("((a|b)\\2)+", "aabb"), (Groups{{0, 4}, {2, 4}, {2, 3}}));
  EXPECT_EQ(Found("(a|b)*\\1", "abb"), (Groups{{0, 3}, {1, 2}}));
}

TEST(ReferenceSearch, NoMatchLeavesItsLine) {
  EXPECT_EQ(Found("(a)\\1", "a\naa"), (Groups{{2, 4}, {2, 3}}));
  EXPECT_EQ(Found("(.*)$\\1", "ab\n"), (Groups{{2, 2}, {2, 2}}));
  EXPECT_EQ(Found("(^x|y)\\1", "y\nxx"), (Groups{{2, 4}, {2, 3}}));
  const ReferenceSearch search(Parsed("(a*)\\1"), Options(false, false));
  ReferenceRun run(search);
  const ExactText text("b\n");
  run.Begin(text.View());
  ByteRange match;
  EXPECT_EQ(run.Find(2, 2, match, nullptr), SearchOutcome::kNotFound) << "no line is there";
}

TEST(ReferenceSearch, ComparesFoldedWhereAsked) {
  EXPECT_EQ(Found("([a-zA-Z]+)-\\1", "Ab-aB", true), (Groups{{0, 5}, {0, 2}}));
  EXPECT_EQ(Found("([a-zA-Z]+)-\\1", "Ab-aB", false), Groups{});
}

TEST(ReferenceSearch, WholeWordsDecideBeforeLength) {
  EXPECT_EQ(Found("(a+)(-\\1)*", "a-ab", false, true), (Groups{{0, 1}, {0, 1}, {}}));
  EXPECT_EQ(Found("(a+)-\\1", "ba-a a-a", false, true), (Groups{{5, 8}, {5, 6}}));
}

TEST(ReferenceSearch, StartsOnlyWhereItMay) {
  const ReferenceSearch search(Parsed("(a)\\1"), Options(false, false));
  ReferenceRun run(search);
  const ExactText text("aabaa");
  run.Begin(text.View());
  ByteRange match;
  EXPECT_EQ(run.Find(1, 2, match, nullptr), SearchOutcome::kNotFound);
  ASSERT_EQ(run.Find(1, 3, match, nullptr), SearchOutcome::kFound);
  EXPECT_EQ(match, (ByteRange{3, 5}));
}

/// Holds the search against the model.
class Agreement {
 public:
  Agreement(const std::string& pattern, bool folds, bool words)
      : pattern_(pattern),
        tree_(Parsed(pattern)),
        folds_(folds),
        words_(words),
        search_(tree_, Options(folds, words)),
        run_(search_),
        bare_(WithoutReferences(tree_, folds ? AsciiFolded() : IdentityMap())) {}

  bool IsFit() const { return !tree_.faulty && tree_.groupCount > 0; }

  void Check(const std::string& text) {
    const WayModel model(tree_, text, folds_, words_);
    const WayModel bareModel(bare_, text, false, words_);
    const ExactText exact(text);
    run_.Begin(exact.View());
    std::size_t from = 0;
    while (from <= text.size()) {
      const std::string what =
          pattern_ + " on '" + text + "' from " + std::to_string(from) + (words_ ? " words" : "");
      const auto expected = model.Find(from, text.size());
      ByteRange match;
      Groups groups;
      const SearchOutcome outcome = run_.Find(from, text.size(), match, &groups);
      ASSERT_EQ(outcome, expected ? SearchOutcome::kFound : SearchOutcome::kNotFound) << what;
      if (!expected) return;
      ASSERT_EQ(match, expected->range) << what;
      ASSERT_EQ(groups, expected->groups) << what;
      ASSERT_TRUE(bareModel.At(match.begin, match.end)) << what << ": none without references";
      ++checked_;
      from = std::max(match.end, match.begin + 1);
    }
  }

  int Checked() const { return checked_; }

 private:
  const std::string pattern_;
  const SyntaxTree tree_;
  const bool folds_;
  const bool words_;
  const ReferenceSearch search_;
  ReferenceRun run_;
  const SyntaxTree bare_;
  int checked_ = 0;
};

void CheckAll(const Strings& pieces, int maxPieces, const Strings& letters, int maxLetters) {
  const Strings texts = AllStrings(letters, maxLetters);
  int checked = 0;
  const Strings patterns = AllStrings(pieces, maxPieces);
  for (std::size_t i = 0; i < patterns.size(); i += testing::kPatternStride) {
    const std::string& pattern = patterns[i];
    for (const bool words : {false, true}) {
      Agreement agreement(pattern, false, words);
      if (!agreement.IsFit()) continue;
      for (const std::string& text : texts) {
        agreement.Check(text);
        if (::testing::Test::HasFatalFailure()) return;
      }
      checked += agreement.Checked();
    }
  }
  EXPECT_GT(checked, static_cast<int>(1000 / testing::kPatternStride));
}

TEST(ReferenceSearch, AgreesWithTheModelOnAllSmallSequences) {
  CheckAll({"(a)", "(a|ab)", "(b*)", "\\1", "\\2", "(\\1a|b)"}, 4, {"a", "b"}, 4);
}

TEST(ReferenceSearch, AgreesWithTheModelOnRepetitionsOfReferences) {
  CheckAll({"(a|b)", "(a*)", "((a)|b)", "(|a\\1)", "\\1", "*", "{0,2}", "{1,2}"}, 4, {"a", "b"}, 3);
}

TEST(ReferenceSearch, AgreesWithTheModelOnAllSmallPatterns) {
  CheckAll({"(", ")", "a", "\\1", "|", "*"}, 6, {"a", "b"}, 3);
}

TEST(ReferenceSearch, AgreesWithTheModelWithAnchors) {
  CheckAll({"(a|\\b)", "(.)", "\\1", "\\B", "^", "$", "*", "\\>"}, 4, {"a", " ", "\n"}, 3);
}

TEST(ReferenceSearch, AgreesWithTheModelOnRandomPatterns) {
  for (unsigned seed = 1; seed <= unsigned{testing::CasesToTry(3000)}; ++seed) {
    SCOPED_TRACE(seed);
    RandomPattern random(seed, {seed % 2 == 0, true});
    Agreement agreement(random.Pattern(), seed % 3 == 0, seed % 5 == 0);
    if (!agreement.IsFit()) continue;
    for (int i = 0; i < 4; ++i) {
      agreement.Check(random.Line(5));
      if (HasFatalFailure()) return;
    }
  }
}

TEST(ReferenceSearch, AgreesWithTheModelWhereOneWayIsOpen) {
  testing::Dice dice(20);
  int checked = 0;
  for (const char* pattern :
       {"(a)\\1", "(..)\\1", "(.)(.)\\2\\1", "\\<([ab]+) \\1\\>", "(a+)b\\1", "\\<([aB]+)[ b]\\1",
        "\\<(a[ab]*) \\1", "\\<([ab]+)[b ]\\1", "\\<([ab ]+)A\\1", "\\b([ab]+) \\1", "((a)b)\\1\\2",
        "([ab][ab][ab])\\1", "(a|b) (\\1b)+", "((a)b|(b)a)\\1", "(aB)\\1$", "(.....)\\1",
        "(A)b\\1?"}) {
    for (const int variant : {0, 1, 2, 3}) {
      Agreement agreement(pattern, variant % 2 == 1, variant >= 2);
      for (int i = 0; i < 250; ++i) {
        agreement.Check(dice.Bytes(i % 2 == 0 ? "aab \n" : "aAbB ", 40));
        if (HasFatalFailure()) return;
      }
      checked += agreement.Checked();
    }
  }
  EXPECT_GT(checked, 2000);
}

TEST(ReferenceSearch, HostilePatternsEndWithinTheirBudget) {
  constexpr std::uint64_t kUnitsAtMost = 101'000'000;
  EXPECT_EQ(Found("(|)(\\1\\1|t1|x)+", "t1t1xx").front(), (ByteRange{0, 6}));
  const std::string text = Repeated("ab", 150);
  for (const char* pattern : {"(.*)(.*)(.*)(.*)\\1\\2\\3\\4x", "((a*)*b\\2)*x",
                              "(((a|b)*)*\\3)*\\1x", "(.+)+\\1x", "(a?b?)*(\\1)*x"}) {
    const ReferenceSearch search(Parsed(pattern), Options(false, false));
    ReferenceRun run(search);
    const ExactText exact(text);
    run.Begin(exact.View());
    ByteRange match;
    const SearchOutcome outcome = run.Find(0, text.size(), match, nullptr);
    EXPECT_NE(outcome, SearchOutcome::kFound) << pattern;
    EXPECT_LE(run.Used(), kUnitsAtMost) << pattern;
    if (outcome == SearchOutcome::kGaveUp) {
      EXPECT_LE(run.GaveUpAt(), text.size());
      EXPECT_EQ(run.Find(0, text.size(), match, nullptr), SearchOutcome::kGaveUp)
          << "the budget is one";
    }
  }
}

TEST(WithoutReferences, StandsForWhatTheGroupCanMatch) {
  const SyntaxTree tree = WithoutReferences(Parsed("\\<([a-z]+) \\1\\>"), IdentityMap());
  EXPECT_TRUE(WayModel(tree, "ab cde").At(0));
  EXPECT_FALSE(WayModel(tree, "ab 12").At(0));
  EXPECT_TRUE(WayModel(WithoutReferences(Parsed("(a)\\1"), AsciiFolded()), "aA").At(0));
}

TEST(WithoutReferences, DoesNotGrowWithoutBound) {
  const std::string pattern = "(((((((((a*)\\9)\\8)\\7)\\6)\\5)\\4)\\3)\\2)\\1";
  EXPECT_LT(WithoutReferences(Parsed(pattern), IdentityMap()).nodes.size(), 5000U);
}

}  // namespace
}  // namespace trovex
