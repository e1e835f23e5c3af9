// The search of a line over sets of positions: on lines of many blocks against the ordinary automata, and
// what it refuses.

#include "matcher/automata/line_search.h"

#include "matcher/automata/match_locator.h"
#include "tests/dice.h"
#include "tests/matcher/automata/graph_of.h"

#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

namespace trovex {
namespace {

using testing::Dice;
using testing::GraphOf;

using Ranges = std::vector<std::pair<std::ptrdiff_t, std::ptrdiff_t>>;

const unsigned char* BytesOf(const std::string& text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

Ranges ByLine(const std::string& pattern, const std::string& line) {
  const auto graph = GraphOf(pattern);
  LineSearch search(*graph);
  const unsigned char* const begin = BytesOf(line);
  const unsigned char* const end = begin + line.size();
  EXPECT_TRUE(search.Prepare(begin, end, ByteKind::kNewline, false));
  Ranges ranges;
  bool touches = false;
  for (const unsigned char* place = begin; place <= end;) {
    const ByteKind before = place == begin ? ByteKind::kNewline : graph->kindOf[place[-1]];
    const LineSearch::Match match = search.Find(place, before, touches);
    if (match.start == nullptr) break;
    ranges.emplace_back(match.start - begin, match.end - begin);
    touches = match.end > match.start;
    place = match.end + (touches ? 0 : 1);
  }
  return ranges;
}

Ranges ByAutomata(const std::string& pattern, const std::string& line) {
  const LocatorProgram program(GraphOf(pattern), false, {});
  MatchLocator locator(program);
  const unsigned char* const begin = BytesOf(line);
  const unsigned char* const end = begin + line.size();
  locator.Begin(begin, line.size());
  Ranges ranges;
  bool touches = false;
  for (const unsigned char* place = begin; place <= end;) {
    const MatchLocator::Request request = {
        .place = place, .begin = begin, .end = end, .refusesEmpty = touches};
    const MatchLocator::Match match = locator.Find(request);
    if (match.start == nullptr) break;
    ranges.emplace_back(match.start - begin, match.end - begin);
    touches = match.end > match.start;
    place = match.end + (touches ? 0 : 1);
  }
  return ranges;
}

TEST(LineSearchTest, LongLinesOfManyBlocks) {
  Dice dice(5);
  for (const std::size_t length : {0U, 1U, 63U, 64U, 65U, 4'095U, 4'096U, 4'097U, 20'000U}) {
    std::string line;
    while (line.size() < length)
      line += dice.Byte("aaabbxy ");
    for (const char* pattern : {"a", "a*", "a.{0,70}y", "\\<a.*b\\>", "(a|b)*x", "x.*y|a", "y$",
                                "^a*", "(aa)*b|a", "[^a]{3,}"}) {
      EXPECT_EQ(ByLine(pattern, line), ByAutomata(pattern, line)) << pattern << " " << length;
    }
  }
}

TEST(LineSearchTest, AMatchAtTheEndCanBeRefused) {
  const std::string line = "aab aab";
  const auto graph = GraphOf("aab?");
  LineSearch search(*graph);
  const unsigned char* const begin = BytesOf(line);
  ASSERT_TRUE(search.Prepare(begin, begin + line.size(), ByteKind::kNewline, true));
  EXPECT_EQ(search.Find(begin, ByteKind::kNewline, false).end, begin + 3);
  EXPECT_EQ(search.Find(begin + 3, ByteKind::kOther, false).end, begin + 6);
  EXPECT_TRUE(search.Covers(begin, true));
  EXPECT_FALSE(search.Covers(begin, false));
  search.Forget();
  EXPECT_FALSE(search.Covers(begin, true));
}

TEST(LineSearchTest, TheByteBeforeTheFirstPlaceIsTold) {
  const std::string line = "ab";
  const auto graph = GraphOf("^a|b");
  LineSearch search(*graph);
  const unsigned char* const begin = BytesOf(line);
  ASSERT_TRUE(search.Prepare(begin, begin + 2, ByteKind::kOther, false));
  EXPECT_EQ(search.Find(begin, ByteKind::kOther, false).start, begin + 1);
  EXPECT_EQ(search.Find(begin, ByteKind::kNewline, false).start, begin);
}

}  // namespace
}  // namespace trovex
