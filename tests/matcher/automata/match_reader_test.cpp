#include "matcher/automata/match_reader.h"

#include "matcher/matcher.h"
#include "matcher/pattern_search.h"
#include "matcher/tuning.h"
#include "tests/dice.h"
#include "tests/heap_text.h"
#include "tests/matcher/automata/graph_of.h"
#include "tests/matcher/both_doors.h"
#include "tests/matcher/random_pattern.h"
#include "tests/matcher/small_cases.h"
#include "tests/matcher/words/plain_words.h"
#include "tests/visible.h"

#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace trovex {
namespace {

using testing::AllStrings;
using testing::Dice;
using testing::ExactBytes;
using testing::GraphOf;
using testing::HeapText;
using testing::RandomPattern;
using testing::Visible;

using Byte = unsigned char;

ByteKind KindBefore(const PositionGraph& graph, std::string_view text, std::size_t place) {
  return place == 0 ? ByteKind::kNewline : graph.kindOf[static_cast<Byte>(text[place - 1])];
}

/// The end of the longest match at `place` by the most trivial way: the set of nodes that can be reached, byte by byte.
std::optional<std::size_t> TrivialEnd(const PositionGraph& graph, std::string_view text,
                                      std::size_t place) {
  std::optional<std::size_t> end;
  std::vector<bool> nodes(graph.size + 1, false);
  nodes[graph.Start()] = true;
  for (std::size_t at = place;; ++at) {
    const auto byte = static_cast<Byte>(at < text.size() ? text[at] : '\n');
    const Neighbours here = NeighbourBit(KindBefore(graph, text, at), graph.kindOf[byte]);
    std::vector<bool> next(graph.size + 1, false);
    for (std::uint32_t node = 0; node <= graph.size; ++node) {
      if (!nodes[node]) continue;
      if ((graph.ends[node] & here) != 0) end = at;
      for (const PositionEdge& edge : graph.next[node]) {
        if ((edge.neighbours & here) != 0 && graph.bytes[edge.position][byte])
          next[edge.position] = true;
      }
    }
    if (at >= text.size()) return end;
    nodes = next;
  }
}

/// Holds what is read at each place of `text` against the trivial way; returns how many matches there are, and how many
/// places were passed over, of which none may start one.
std::pair<int, int> Compare(const std::string& pattern, const std::string& text) {
  const auto graph = GraphOf(pattern);
  CompileBudget budget = CompileBudget::Unlimited();
  const auto reader = MatchReader::For(*graph, budget);
  if (!reader) return {0, 0};
  const ExactBytes bytes(text);
  const Byte* const begin = bytes.View().data();
  const Byte* const end = begin + text.size();
  int matches = 0;
  int passed = 0;
  for (std::size_t place = 0; place <= text.size(); ++place) {
    const auto reading = reader->Read(begin + place, end, KindBefore(*graph, text, place));
    const std::optional<std::size_t> expected = TrivialEnd(*graph, text, place);
    const auto found = reading.end != nullptr
                           ? std::optional(static_cast<std::size_t>(reading.end - begin))
                           : std::nullopt;
    EXPECT_EQ(found, expected) << Visible(pattern) << " at " << place << " of " << Visible(text);
    EXPECT_LE(reading.readTo, end);
    EXPECT_GT(reading.next, begin + place);
    if (expected) {
      ++matches;
      EXPECT_TRUE(!reader->StartsLines() || place == 0 || text[place - 1] == '\n')
          << Visible(pattern) << " at " << place << " of " << Visible(text);
      continue;
    }
    const auto next = static_cast<std::size_t>(reading.next - begin);
    for (std::size_t between = place + 1; between < std::min(next, text.size() + 1); ++between) {
      ++passed;
      EXPECT_EQ(TrivialEnd(*graph, text, between), std::nullopt)
          << Visible(pattern) << " at " << place << " of " << Visible(text) << ", passed over "
          << between;
    }
  }
  return {matches, passed};
}

TEST(MatchReader, ReadsWhatTheTrivialWayReadsInAllSmallCases) {
  const auto patterns = AllStrings({"a", "b", "[ab]", "*", "|", "^", "$", "\\<", "\\>", "\\B"}, 4);
  const auto texts = AllStrings({"a", "b", " ", "\n"}, 4);
  int matches = 0;
  int passed = 0;
  for (std::size_t i = 0; i < patterns.size(); ++i) {
    const SyntaxTree tree = ParsePattern(patterns[i].data(), patterns[i].size(), nullptr);
    if (tree.faulty || GraphOf(patterns[i]) == nullptr) continue;
    for (std::size_t t = i % 23; t < texts.size(); t += 23) {
      const auto [found, left] = Compare(patterns[i], texts[t]);
      matches += found;
      passed += left;
    }
    if (::testing::Test::HasFailure()) return;
  }
  EXPECT_GT(matches, 5'000);
  EXPECT_GT(passed, 500);
}

TEST(MatchReader, ReadsWhatTheTrivialWayReadsInRandomCases) {
  int matches = 0;
  int passed = 0;
  for (unsigned seed = 1; seed <= 2'000; ++seed) {
    RandomPattern random(seed, {.anchors = true, .backReferences = false});
    const std::string pattern = random.Pattern();
    std::string text = random.Line(40);
    if (random.Below(4) == 0) text += "\n" + random.Line(20);
    SCOPED_TRACE(seed);
    const auto [found, left] = Compare(pattern, text);
    matches += found;
    passed += left;
    if (::testing::Test::HasFailure()) return;
  }
  EXPECT_GT(matches, 5'000);
  EXPECT_GT(passed, 500);
}

TEST(MatchReader, PassesOverThePlacesOfARunThatFailed) {
  const auto graph = GraphOf("[a-z]+[0-9]");
  CompileBudget budget;
  const auto reader = MatchReader::For(*graph, budget);
  ASSERT_TRUE(reader);
  const std::string text = "abcdefgh ijk1";
  const ExactBytes bytes(text);
  const Byte* const begin = bytes.View().data();
  const auto reading = reader->Read(begin, begin + text.size(), ByteKind::kNewline);
  EXPECT_EQ(reading.end, nullptr);
  EXPECT_EQ(reading.next - begin, 9);
  EXPECT_EQ(reading.readTo - begin, 8);
}

TEST(MatchReader, IsNotMadeOfPatternsWithManyStates) {
  CompileBudget budget;
  EXPECT_TRUE(MatchReader::For(*GraphOf("a.{0,200}b"), budget));
  EXPECT_FALSE(MatchReader::For(*GraphOf("a.{0,20000}b"), budget));
  EXPECT_FALSE(MatchReader::For(*GraphOf("(a|b)*a(a|b){14}c"), budget));
  CompileBudget spent(0, 0);
  EXPECT_FALSE(MatchReader::For(*GraphOf("a(b|c)d"), spent));
}

/// The first match of `text` at the second door, by First, and by a search that has no look.
void CompareFirst(const std::string& pattern, bool words, const std::string& text,
                  PatternSearch& first, PatternSearch& search) {
  const ExactBytes bytes(text);
  ByteRange found;
  ByteRange expected;
  const SearchOutcome outcome = first.First(bytes.View(), found);
  search.Begin(bytes.View());
  ASSERT_EQ(outcome, search.Next(expected)) << Visible(pattern) << " in " << Visible(text);
  if (outcome != SearchOutcome::kFound) return;
  ASSERT_TRUE(found.begin == expected.begin && found.end == expected.end)
      << Visible(pattern) << (words ? ", words" : "") << " in " << Visible(text) << ": "
      << found.begin << "-" << found.end << " for " << expected.begin << "-" << expected.end;
}

TEST(ShortTexts, GiveTheSecondDoorTheFirstMatchThatASearchFinds) {
  for (unsigned seed = 1; seed <= 1'500; ++seed) {
    RandomPattern random(seed, {.anchors = true, .backReferences = false});
    const std::string pattern = random.Pattern();
    SCOPED_TRACE(seed);
    const bool words = random.Below(3) == 0;
    ProgramOptions options;
    options.wholeWords = words;
    for (int c = 0; c < 256; ++c)
      options.wordBytes.set(static_cast<std::size_t>(c), IsEngineWordByte(c));
    const auto program =
        testing::CompileProgram(ParsePattern(pattern.data(), pattern.size(), nullptr), options);
    PatternSearch first(*program);
    PatternSearch search(*program);
    for (int i = 0; i < 20; ++i) {
      std::string text = random.Line(i < 15 ? 36 : 250);
      if (random.Below(3) == 0) text += "\n" + random.Line(random.Below(4));
      if (random.Below(4) == 0) text += "\n";
      CompareFirst(pattern, words, text, first, search);
      if (::testing::Test::HasFatalFailure()) return;
    }
  }
}

TEST(ShortTexts, GiveTheFirstDoorTheMatchesOfTheEngine) {
  for (unsigned seed = 1; seed <= 1'500; ++seed) {
    RandomPattern random(seed, {.anchors = true, .backReferences = false});
    const std::string pattern = random.Pattern();
    SCOPED_TRACE(seed);
    PatternOptions options;
    options.matchWords = random.Below(3) == 0;
    const CompileResult result = CompileMatcher(pattern, options);
    if (result.fault != MessageNumber::kNone) continue;
    PatternWork work(result.pattern);
    const bool readsAlike = result.pattern->lineFilterReading == Reading::kAlike;
    SearchConditions conditions{.matchWords = options.matchWords};
    SearchConditions engine = conditions;
    engine.engineOnly = true;
    for (int i = 0; i < 10 && readsAlike; ++i) {
      std::string text = random.Line(i < 8 ? 36 : 250);
      if (random.Below(3) == 0) text += "\n" + random.Line(random.Below(4));
      const char after = random.Below(2) == 0 ? 'a' : ' ';
      ASSERT_EQ(testing::AllMatches(work, conditions, text, after),
                testing::AllMatches(work, engine, text, after))
          << Visible(pattern) << " in " << Visible(text);
    }
  }
}

TEST(ShortTexts, WithUnderscoresArePassedOnToTheLineFilter) {
  // To the engine an underscore belongs to words, to the line filter it does not: it knows no word that begins with one.
  using Answer = LocatorProgram::Answer;
  int lookedAt = 0;
  int refused = 0;
  for (const std::string pattern :
       {"\\<[a-z]+\\>", "\\<(ab|c)", "x*\\<b", "\\<_", "\\<[a_]+\\>", "_\\>", "\\<(_a|c)"}) {
    const CompileResult result = CompileMatcher(pattern, {});
    ASSERT_EQ(result.fault, MessageNumber::kNone);
    ASSERT_EQ(result.pattern->lineFilterReading, Reading::kAlikeButForUnderscores);
    PatternWork work(result.pattern);
    PatternWork plain(result.pattern);
    plain.locator = nullptr;
    for (const std::string& text : AllStrings({"ab", "c", "_", " "}, 5)) {
      const auto expected = testing::AllMatches(plain, {}, text, ' ');
      ASSERT_EQ(testing::AllMatches(work, {}, text, ' '), expected)
          << pattern << " in " << Visible(text);
      const HeapText heap(text, ' ');
      const auto length = static_cast<int>(text.size());
      LocatedRange match;
      const Answer answer = LookForMatch(*result.pattern, {}, heap.Data(), length, match);
      const MatchResult first = ExecuteMatcher(plain, {}, heap.Data(), length, -1);
      if (answer == Answer::kUnknown) {
        refused += first.outcome == SearchOutcome::kNotFound && !text.empty();
        continue;
      }
      ++lookedAt;
      ASSERT_EQ(answer == Answer::kMatch, first.outcome == SearchOutcome::kFound)
          << pattern << " in " << Visible(text);
      if (answer != Answer::kMatch) continue;
      const auto* const begin = reinterpret_cast<const Byte*>(heap.Data());
      ASSERT_EQ(match.start - begin, first.range.start) << pattern << " in " << Visible(text);
      ASSERT_EQ(match.end - begin, first.range.end) << pattern << " in " << Visible(text);
    }
  }
  EXPECT_GT(lookedAt, 1'000);
  EXPECT_GT(refused, 100);
}

}  // namespace
}  // namespace trovex
