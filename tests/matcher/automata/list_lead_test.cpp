// Patterns searched by a list of words that is part of them, against the most trivial matcher and, on the first
// door's road, against the engine alone.

#include "matcher/automata/list_lead.h"

#include "tests/dice.h"
#include "tests/matcher/both_doors.h"
#include "tests/matcher/random_pattern.h"
#include "tests/matcher/tree_matcher.h"
#include "tests/matcher/words/plain_words.h"
#include "tests/sanitizers.h"
#include "tests/visible.h"
#include "text/code_page.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace trovex {

namespace {

using testing::AllMatches;
using testing::CompileProgram;
using testing::Dice;
using testing::ExactBytes;
using testing::RandomPattern;
using testing::RandomWords;
using testing::TextOfWords;
using testing::TreeMatcher;
using testing::Visible;

using Ranges = std::vector<ByteRange>;

constexpr double kAnyCost = 1e9;

SyntaxTree TreeOf(const std::string& pattern) {
  return ParsePattern(pattern.data(), pattern.size(), nullptr);
}

ProgramOptions OptionsFor(bool wholeWords) {
  return {.wholeWords = wholeWords, .wordBytes = CodePageWords()};
}

std::optional<ListLead> LeadOf(const SyntaxTree& tree, const ProgramOptions& options) {
  GraphOptions graph = {.words = options.wholeWords, .wordBytes = options.wordBytes};
  graph.mostPositions = graph.mostEdges = 100'000;
  CompileBudget budget;
  return ListLead::For(tree, graph, kAnyCost, budget);
}

/// How often a search answered so.
struct Answers {
  int matches = 0;
  int unknown = 0;
};

/// Asks `search` for one match after another, in a text where these are `expected`. Where it does not know, it must
/// be right about the place from which it does not.
void Hold(ListLeadSearch& search, std::string_view text, const Ranges& expected, Answers& answers) {
  const ExactBytes bytes(text);
  const unsigned char* const begin = bytes.View().data();
  search.Begin(text.size());
  std::size_t place = 0;
  for (std::size_t i = 0; i <= expected.size(); ++i) {
    ListLeadSearch::Request request = {
        .place = begin + place, .begin = begin, .end = begin + text.size()};
    const ListLeadSearch::Answer answer = search.Find(request);
    if (answer == ListLeadSearch::Answer::kUnknown) {
      ++answers.unknown;
      ASSERT_LT(i, expected.size());
      ASSERT_LE(request.place, begin + expected[i].begin);
    } else if (i == expected.size()) {
      ASSERT_EQ(answer, ListLeadSearch::Answer::kNoMatch);
    } else {
      ++answers.matches;
      ASSERT_EQ(answer, ListLeadSearch::Answer::kMatch);
      const ByteRange match = {static_cast<std::size_t>(request.matchStart - begin),
                               static_cast<std::size_t>(request.matchEnd - begin)};
      ASSERT_EQ(match, expected[i]);
    }
    if (i < expected.size()) place = expected[i].end;
  }
}

/// All texts of up to `longest` bytes of `alphabet`.
std::vector<std::string> AllTexts(std::string_view alphabet, std::size_t longest) {
  std::vector<std::string> texts = {""};
  for (std::size_t i = 0; i < texts.size(); ++i) {
    if (texts[i].size() == longest) break;
    for (const char c : alphabet)
      texts.push_back(texts[i] + c);
  }
  return texts;
}

TEST(ListLead, FindsWhatTheTrivialMatcherFindsInAllShortTexts) {
  const std::vector<std::string> texts = AllTexts("ab \n", 5);
  const std::vector<std::string> befores = {"",        "[ab]",     "[ab]*", "a+",
                                            ".*",      "(ab|b)",   "b.?",   "\\<a*",
                                            "[^b]* ?", "(ba*b|b)", "a*b*",  "(b[ab]b)*"};
  Answers answers;
  for (const std::string& before : befores) {
    for (const char* const list : {"(ab|aab|b)", "(ba|bab|a)\\>", "b(a|)b?"}) {
      for (const char* const after : {"", "[ab]*", "a?b", ".*a", "$"}) {
        for (const bool words : {false, true}) {
          const SyntaxTree tree = TreeOf(before + list + after);
          const ProgramOptions options = OptionsFor(words);
          const std::optional<ListLead> lead = LeadOf(tree, options);
          if (!lead) continue;
          TreeMatcher reference(tree, options);
          ListLeadSearch search(*lead);
          for (std::size_t i = words ? 1 : 0; i < texts.size();
               i += testing::kUnderSanitizer ? 23 : 5) {
            Hold(search, texts[i], reference.AllMatches(texts[i]), answers);
            ASSERT_FALSE(HasFatalFailure()) << before << list << after << (words ? " words" : "")
                                            << " in " << Visible(texts[i]);
          }
        }
      }
    }
  }
  EXPECT_GT(answers.matches, testing::kUnderSanitizer ? 2'000 : 10'000);
  EXPECT_GT(answers.unknown, 0);
}

std::string Alternatives(const std::vector<std::string>& words) {
  std::string list;
  for (const std::string& word : words)
    list += (list.empty() ? "" : "|") + word;
  return "(" + list + ")";
}

/// What may stand beside a list.
std::string RandomPart(Dice& dice, int seed) {
  static const std::vector<std::string> parts = {"",        "",      "[ab]", "[a-c]*", "[ab]+",
                                                 ".*",      "[^a]*", "a",    "\\<a?",  "(aa|b)",
                                                 "[ab]{2}", "\\>",   " ",    "^.*"};
  if (dice.OneIn(3))
    return "(" + RandomPattern(static_cast<unsigned>(seed), {.anchors = true}).Pattern() + ")";
  return dice.OneOf(parts);
}

TEST(ListLead, FindsWhatTheTrivialMatcherFindsInTextsOfWords) {
  Answers answers;
  for (int seed = 0; seed < testing::CasesToTry(1500); ++seed) {
    Dice dice(static_cast<std::uint32_t>(seed));
    const auto words =
        RandomWords(dice, dice.OneIn(2) ? "ab" : "abc", dice.Between(2, 12), dice.Between(1, 3), 6);
    const std::string pattern =
        RandomPart(dice, seed) + Alternatives(words) + RandomPart(dice, seed + 10'000);
    const SyntaxTree tree = TreeOf(pattern);
    const ProgramOptions options = OptionsFor(dice.OneIn(3));
    const std::optional<ListLead> lead = LeadOf(tree, options);
    if (!lead) continue;
    TreeMatcher reference(tree, options);
    ListLeadSearch search(*lead);
    for (int round = 0; round < 4; ++round) {
      const std::string text = TextOfWords(dice, words, dice.OneIn(2) ? "ab \n-" : "abcx\n",
                                           dice.Between(0, dice.OneIn(6) ? 300 : 60));
      Hold(search, text, reference.AllMatches(text), answers);
      ASSERT_FALSE(HasFatalFailure()) << "seed " << seed << " pattern " << pattern << " text "
                                      << Visible(text) << (options.wholeWords ? " words" : "");
      const ExactBytes bytes(text);
      if (text.size() <= 256 && !reference.AllMatches(text).empty()) {
        ASSERT_TRUE(lead->MayStandIn(bytes.View().data(), bytes.View().data() + text.size()))
            << "seed " << seed << " pattern " << pattern << " text " << Visible(text);
      }
    }
  }
  EXPECT_GT(answers.matches, testing::kUnderSanitizer ? 500 : 5'000);
  EXPECT_GT(answers.unknown, 0);
}

// On the whole road. The words have common bytes beside rare ones, so that they lead and nothing else does.

TEST(ListLead, TheSecondDoorsRoadFindsWhatTheTrivialMatcherFinds) {
  static const std::vector<std::string> parts = {
      "", "[a-z]*", "[A-Za-z]", ".*", "[en]+q?", "\\<", "[a-z]", " ?", "(e|xn|nq*e)", "\\>"};
  for (int seed = 0; seed < testing::CasesToTry(200); ++seed) {
    Dice dice(static_cast<std::uint32_t>(seed));
    const auto words = RandomWords(dice, "enqx", dice.Between(9, 40), dice.Between(3, 4), 8);
    const std::string pattern = dice.OneOf(parts) + Alternatives(words) + dice.OneOf(parts);
    const ProgramOptions options = OptionsFor(dice.OneIn(3));
    const SyntaxTree tree = TreeOf(pattern);
    const auto program = CompileProgram(tree, options);
    TreeMatcher reference(tree, options);
    for (int round = 0; round < 3; ++round) {
      const std::string text = TextOfWords(dice, words, dice.OneIn(2) ? "en \n-" : "enxa\n",
                                           dice.Between(0, dice.OneIn(5) ? 400 : 100));
      const Ranges expected = reference.AllMatches(text);
      ASSERT_EQ(AllMatches(*program, text), expected)
          << "seed " << seed << " pattern " << pattern << " text " << Visible(text);
      const ExactBytes bytes(text);
      ByteRange first;
      const SearchOutcome outcome = PatternSearch(*program).First(bytes.View(), first);
      ASSERT_EQ(outcome == SearchOutcome::kFound, !expected.empty());
      ASSERT_EQ(first, expected.empty() ? ByteRange() : expected.front());
    }
  }
}

TEST(ListLead, TheFirstDoorsRoadFindsWhatTheEngineFinds) {
  static const std::vector<std::string> befores = {"[a-z]*", "[A-Za-z]", "[en]+q", ".*"};
  static const std::vector<std::string> afters = {"", "", "[a-z]*", " ?", "(e|xn)*"};
  for (int seed = 0; seed < testing::CasesToTry(800); ++seed) {
    Dice dice(static_cast<std::uint32_t>(seed));
    const auto words = RandomWords(dice, "enqX", dice.Between(9, 14), dice.Between(3, 4), 8);
    const std::string pattern = dice.OneOf(befores) + Alternatives(words) + dice.OneOf(afters);
    const PatternOptions options = {.foldCase = dice.OneIn(2), .matchWords = dice.OneIn(2)};
    const CompileResult compiled = CompileMatcher(pattern, options);
    ASSERT_TRUE(compiled.pattern->searchable) << pattern;
    PatternWork work(compiled.pattern);
    const SearchConditions conditions = {.matchWords = options.matchWords};
    SearchConditions engineOnly = conditions;
    engineOnly.engineOnly = true;
    std::string text =
        TextOfWords(dice, words, dice.OneIn(2) ? "en \n-" : "eXna\n", dice.Between(1, 80));
    if (dice.OneIn(2)) text += " " + dice.OneOf(words);
    const char after = dice.Byte("a \n");
    ASSERT_EQ(AllMatches(work, conditions, text, after), AllMatches(work, engineOnly, text, after))
        << "seed " << seed << " pattern " << pattern << " text " << Visible(text) << " after "
        << after << (options.matchWords ? " words" : "") << (options.foldCase ? " folded" : "");
  }
}

// What is read in vain.

TEST(ListLead, WhereTooMuchIsReadInVainTheAnswerIsNotKnown) {
  const ProgramOptions options = OptionsFor(false);
  const SyntaxTree tree = TreeOf("(xx|xy)[a-z]*1");
  const std::optional<ListLead> lead = LeadOf(tree, options);
  ASSERT_TRUE(lead);
  ListLeadSearch search(*lead);
  const std::string text(100'000, 'x');
  const auto* const begin = reinterpret_cast<const unsigned char*>(text.data());
  search.Begin(text.size());
  ListLeadSearch::Request request = {.place = begin, .begin = begin, .end = begin + text.size()};
  EXPECT_EQ(search.Find(request), ListLeadSearch::Answer::kUnknown);
  EXPECT_EQ(AllMatches(*CompileProgram(TreeOf("(xx|xy|qqq|qx)[a-z]*1"), options), text).size(), 0U);
  EXPECT_EQ(AllMatches(*CompileProgram(TreeOf("[^ ]* (xx|xy|qqq|qx)"), options), text).size(), 0U);
}

TEST(ListLead, AnEndlessRunBeforeTheListIsReadOnce) {
  const ProgramOptions options = OptionsFor(false);
  const SyntaxTree tree = TreeOf(".*(xx|xy)1");
  const std::optional<ListLead> lead = LeadOf(tree, options);
  ASSERT_TRUE(lead);
  ListLeadSearch search(*lead);
  const std::string text(1'000'000, 'x');
  const auto* const begin = reinterpret_cast<const unsigned char*>(text.data());
  search.Begin(text.size());
  ListLeadSearch::Request request = {.place = begin, .begin = begin, .end = begin + text.size()};
  EXPECT_NE(search.Find(request), ListLeadSearch::Answer::kMatch);
  const std::string found = text + "1 xy1 xx";
  const Ranges matches = AllMatches(*CompileProgram(TreeOf(".*(xxq?|xy)1"), options), found);
  ASSERT_EQ(matches.size(), 1U);
  EXPECT_EQ(matches[0], (ByteRange{0, 1'000'005}));
}

// Which lists lead.

TEST(ListLead, PatternsWithoutAListOrOfNothingElseHaveNone) {
  const ProgramOptions options = OptionsFor(false);
  for (const char* const pattern :
       {"Haus", "Haus|Hof", "(Haus|Hof)", "([a-z]+|Hof) x", "(Haus|Hof)*x", "\\<(Haus|Hof)en\\>"}) {
    EXPECT_FALSE(LeadOf(TreeOf(pattern), options)) << pattern;
  }
  for (const char* const pattern : {"(Haus|Hof)[a-z]*", "[a-z](Haus|Hof)", "((Haus|Hof) [0-9]+)",
                                    "(a|b)* (Haus|Hof)", "(Haus|Hof)(e|en|s)*"}) {
    EXPECT_TRUE(LeadOf(TreeOf(pattern), options)) << pattern;
  }
}

}  // namespace
}  // namespace trovex
