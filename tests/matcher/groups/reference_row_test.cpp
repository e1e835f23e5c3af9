// Rows of pieces with back-references are found where listing all ways finds them, whatever leads to them.

#include "matcher/groups/reference_row.h"

#include "matcher/groups/reference_search.h"
#include "matcher/pattern/pattern_syntax.h"
#include "tests/dice.h"
#include "tests/matcher/groups/exact_text.h"
#include "tests/matcher/groups/way_model.h"
#include "tests/matcher/reference_rows.h"
#include "tests/matcher/small_cases.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace trovex {
namespace {

using testing::AllStrings;
using testing::Dice;
using testing::ExactText;
using testing::PlainWordBytes;
using testing::Repeated;
using testing::WayModel;

constexpr std::uint64_t kMuch = std::uint64_t{1} << 40;

SyntaxTree Parsed(std::string_view pattern) {
  return ParsePattern(pattern.data(), pattern.size(), nullptr);
}

std::optional<ReferenceRow> RowOf(std::string_view pattern, bool folds = false,
                                  bool words = false) {
  ByteMap as = IdentityMap();
  for (unsigned char c = 'A'; folds && c <= 'Z'; ++c)
    as[c] = static_cast<unsigned char>(c - 'A' + 'a');
  return ReferenceRow::Make(Parsed(pattern), {words, PlainWordBytes(), as});
}

constexpr int kTooManyWays = -1;

/// Holds all matches in `text` against the model. Returns how many there are, or kTooManyWays.
int Check(const ReferenceRow& row, const std::string& pattern, const std::string& text, bool folds,
          bool words) {
  const SyntaxTree tree = Parsed(pattern);
  const WayModel model(tree, text, folds, words);
  const ExactText exact(text);
  ReferenceRow::Workspace work;
  work.Begin();
  int found = 0;
  for (std::size_t from = 0; from <= text.size();) {
    const auto expected = model.Find(from, text.size());
    ByteRange match;
    const SearchOutcome outcome = row.Next(exact.View(), from, text.size(), match, kMuch, work);
    const std::string what = pattern + " on '" + text + "' from " + std::to_string(from) +
                             (folds ? " folded" : "") + (words ? " words" : "");
    if (outcome == SearchOutcome::kGaveUp) {
      EXPECT_LE(match.begin, expected ? expected->range.begin : text.size()) << what;
      return kTooManyWays;
    }
    EXPECT_EQ(outcome, expected ? SearchOutcome::kFound : SearchOutcome::kNotFound) << what;
    if (!expected || outcome != SearchOutcome::kFound) return found;
    EXPECT_EQ(match, expected->range) << what;
    if (::testing::Test::HasFailure()) return found;
    ++found;
    from = match.end;
  }
  return found;
}

TEST(ReferenceRow, IsMadeOfRowsOnly) {
  for (const char* const pattern :
       {"([a-z]+)-\\1", "([0-9])\\1", "\"([a-z])[a-z]*\\1\"", "\\<([a-z]+) ([a-z]+) \\1\\>",
        "(ab|cd)x\\1", "(a|b|c)[a-z]+\\1", "((a)b)\\1\\2", "^([a-z]+) .* \\1$", "(x{2,5})y?\\1"}) {
    EXPECT_TRUE(RowOf(pattern)) << pattern;
  }
  for (const char* const pattern : {"(a*)\\1", "(a)|b\\1", "((a)\\1)*", "(a)?b\\1", "a+b",
                                    "(a|)\\1", "(a|b*)x\\1", "(a)(\\1|b)"}) {
    EXPECT_FALSE(RowOf(pattern)) << pattern;
  }
}

TEST(ReferenceRow, AgreesWithTheModelOnAllShortTexts) {
  const auto texts = AllStrings({"a", "b", " ", "-"}, 5);
  for (const std::string pattern :
       {"([ab]+)-\\1", "(a)[ab]\\1", "-([ab])[ab]*\\1", "([ab]+) -\\1", "([a-])b*\\1", "(ab|b)-\\1",
        "\\<([ab]+) \\1\\>", "\\B([ab]+)-\\1", "^(.+) \\1", "(a+)(b*)-\\1", "([ab]{1,2})\\1",
        "(.)[ab]+\\1", "(a|b)([ -])\\1"}) {
    const auto row = RowOf(pattern);
    ASSERT_TRUE(row) << pattern;
    int found = 0;
    for (const std::string& text : texts) {
      const int count = Check(*row, pattern, text, false, false);
      ASSERT_GE(count, 0) << pattern << " on '" << text << "'";
      found += count;
      ASSERT_FALSE(HasFailure());
    }
    EXPECT_GT(found, 0) << pattern;
  }
}

TEST(ReferenceRow, AgreesWithTheModelOnRandomRows) {
  int rows = 0;
  int found = 0;
  int tooMany = 0;
  for (std::uint32_t seed = 0; seed < 3000; ++seed) {
    SCOPED_TRACE(seed);
    Dice dice(seed);
    const std::string pattern = testing::RandomRow(dice).Pattern();
    const bool folds = dice.OneIn(3);
    const bool words = dice.OneIn(4);
    const auto row = RowOf(pattern, folds, words);
    if (!row) continue;
    ++rows;
    for (int i = 0; i < 4; ++i) {
      const int count = Check(*row, pattern, testing::TextForRows(dice, 24), folds, words);
      ASSERT_FALSE(HasFailure());
      if (count == kTooManyWays) {
        ++tooMany;
      } else {
        found += count;
      }
    }
  }
  EXPECT_LT(tooMany, 100);
  EXPECT_GT(rows, 1500);
  EXPECT_GT(found, 800);
}

/// In texts of more than a stretch of the scan, with what leads to a row far apart and close together.
TEST(ReferenceRow, AgreesWithTheModelWhateverLeads) {
  Dice dice(7);
  for (const std::string pattern :
       {"([ab]+)-\\1", "#([ab])[ab]*\\1#", "([ab]+) #([ab])", "(a)#\\1", "([ab]+)([0-9]+)#\\1\\2",
        "^([ab]+) .*\\1$", "([ab]+)##\\1", "([ab ]+)#\\1"}) {
    const std::string whole = pattern.find("\\1") == std::string::npos ? pattern + "\\1" : pattern;
    const auto row = RowOf(whole);
    ASSERT_TRUE(row) << whole;
    for (int i = 0; i < 12; ++i) {
      std::string text;
      while (text.size() < 700) {
        text += dice.Bytes(dice.OneIn(2) ? "ab" : "ab #-1\n", 20);
        if (dice.OneIn(8)) text.append(static_cast<std::size_t>(dice.Between(0, 90)), 'z');
      }
      ASSERT_GE(Check(*row, whole, text, false, false), 0);
      ASSERT_FALSE(HasFailure()) << "trial " << i;
    }
  }
}

TEST(ReferenceRow, StartsOnlyWhereItMay) {
  const auto row = RowOf("([ab]+)#\\1");
  const ExactText text("ab#ab aab#aab");
  ReferenceRow::Workspace work;
  work.Begin();
  ByteRange match;
  EXPECT_EQ(row->Next(text.View(), 2, 5, match, kMuch, work), SearchOutcome::kNotFound);
  ASSERT_EQ(row->Next(text.View(), 2, 6, match, kMuch, work), SearchOutcome::kFound);
  EXPECT_EQ(match, (ByteRange{6, 13}));
  ASSERT_EQ(row->Next(text.View(), 1, 1, match, kMuch, work), SearchOutcome::kNotFound);
}

/// A shorter run can lead to a longer match, by no more than one byte.
TEST(ReferenceRow, LeavesOutNoEndThatLeadsFurther) {
  for (const std::string pattern : {"(a)\\1b*(cd|bcde)", "(a)\\1b*(cd|bcd)e?"}) {
    const auto row = RowOf(pattern);
    ASSERT_TRUE(row) << pattern;
    for (const std::string text : {"aabbcde", "aabbbcde", "aabbcd", "aacde"}) {
      EXPECT_EQ(Check(*row, pattern, text, false, false), 1) << pattern << " on " << text;
    }
  }
}

TEST(ReferenceRow, SaysWhereThereAreTooManyWays) {
  const std::string pattern = "(a)[ab]*[ab]*[ab]*b\\1x";
  const auto row = RowOf(pattern);
  ASSERT_TRUE(row);
  const std::string ways = "bb" + Repeated("ab", 60);
  const std::string text = ways + "x";
  const ExactText exact(text);
  ReferenceRow::Workspace work;
  work.Begin();
  ByteRange match;
  ASSERT_EQ(row->Next(exact.View(), 0, text.size(), match, kMuch, work), SearchOutcome::kGaveUp);
  EXPECT_EQ(match.begin, 2U);

  // The search goes on there with all that it remembers.
  const ReferenceSearch search(Parsed(pattern), {.wordBytes = PlainWordBytes()});
  ReferenceRun run(search);
  run.Begin(exact.View());
  ASSERT_EQ(run.Find(0, text.size(), match, nullptr), SearchOutcome::kGaveUp);
  EXPECT_FALSE(run.IsFast());
  ASSERT_EQ(run.GaveUpAt(), 2U);
  EXPECT_EQ(run.Find(2, text.size(), match, nullptr), SearchOutcome::kNotFound);
  const std::string other = ways + "ax";
  const ExactText withMatch(other);
  run.Begin(withMatch.View());
  EXPECT_TRUE(run.IsFast());
  ASSERT_EQ(run.Find(0, other.size(), match, nullptr), SearchOutcome::kGaveUp);
  ASSERT_EQ(run.Find(0, other.size(), match, nullptr), SearchOutcome::kFound);
  EXPECT_EQ(match, (ByteRange{2, other.size()}));
}

TEST(ReferenceRow, EndsWhereWhatItMayTakeIsUsed) {
  const auto row = RowOf("([ab]+)c*#\\1");
  const std::string text = Repeated("ab", 500);
  const ExactText exact(text);
  ReferenceRow::Workspace work;
  work.Begin();
  ByteRange match;
  ASSERT_EQ(row->Next(exact.View(), 0, text.size(), match, kMuch, work), SearchOutcome::kNotFound);
  const auto every = RowOf("([ab])[ab]*c*\\1\\1\\1");
  work.Begin();
  ASSERT_EQ(every->Next(exact.View(), 0, text.size(), match, 0, work), SearchOutcome::kGaveUp);
}

}  // namespace
}  // namespace trovex
