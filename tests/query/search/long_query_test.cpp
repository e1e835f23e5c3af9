// Long queries over texts where everything is found everywhere: what they spend is counted, not timed.

#include "query/plan/search_plan.h"
#include "query/query_parser.h"
#include "query/search/query_search.h"
#include "tests/query/search/given_stream.h"

#include <gtest/gtest.h>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace {

using namespace trovex;
using trovex::testing::ViewOf;

std::string Repeated(std::string_view piece, int count) {
  std::string text;
  for (int i = 0; i < count; ++i)
    text += piece;
  return text;
}

struct Outcome {
  Verdict verdict = Verdict::kNo;
  std::size_t items = 0;
  std::size_t tags = 0;  // of the last item
  std::size_t gaveUpAt = 0;
  std::int64_t work = 0;
  std::size_t streams = 0;
};

Outcome Search(const std::string& expression, const std::string& text, bool tags = false) {
  auto parsed = ParseQuery(expression, QueryOptions{});
  EXPECT_TRUE(std::holds_alternative<ParsedQuery>(parsed)) << expression.substr(0, 100);
  auto query = std::get<ParsedQuery>(std::move(parsed));
  const auto planned = MakeSearchPlan(query, QueryOptions{});
  EXPECT_TRUE(std::holds_alternative<SearchPlan>(planned)) << expression.substr(0, 100);
  const auto& plan = std::get<SearchPlan>(planned);
  QuerySearch search(plan);
  SearchOptions options;
  options.tags = tags;
  // Who may be interrupted is searched for by the streams, strings too.
  options.interrupt = [](void*) { return false; };
  Outcome outcome;
  const auto count = [](void* counted, const Item& item) {
    auto& result = *static_cast<Outcome*>(counted);
    ++result.items;
    result.tags = item.tagCount;
    return true;
  };
  outcome.verdict = search.Run(ViewOf(text), options, count, &outcome);
  outcome.gaveUpAt = search.GaveUpAt();
  outcome.work = search.Work();
  outcome.streams = plan.streams.size();
  return outcome;
}

TEST(LongQueries, EqualOperandsAreSearchedOnce) {
  const std::string text(1000, 'a');
  const std::int64_t once = Search("a & [ab]", text).work;
  ASSERT_GT(once, 0);
  for (const char* const repeated : {"a & ", "a &20 ", "a &5w ", "(a & a) & ", "(a &3 a) &5 "}) {
    const Outcome outcome = Search("[ab] & " + Repeated(repeated, 2000) + "a", text);
    EXPECT_EQ(outcome.items, text.size()) << repeated;
    EXPECT_LE(outcome.streams, 4U) << repeated;
    EXPECT_LE(outcome.work, 3 * once) << repeated;
  }
  EXPECT_EQ(Search(Repeated("~Meier & ", 100) + "~Mayr", "Maier").streams, 1U);
}

TEST(LongQueries, EqualOperandsKeepAllTheirTags) {
  const Outcome apart = Search(Repeated("(a) &2 (b) & ", 10) + "(a)", "ab", true);
  EXPECT_EQ(apart.items, 2U);
  EXPECT_EQ(apart.tags, 10U);
  EXPECT_EQ(Search(Repeated("(a & a) & (~a) & ", 50) + "a", "a", true).tags, 100U);
  EXPECT_EQ(Search(Repeated("(a) & ", 50) + "(a)", "a", true).tags, 51U);
  EXPECT_EQ(Search(Repeated("(a) &3 ", 50) + "(a)", "a", true).tags, 51U);
}

TEST(LongQueries, AnOrderOrANotIsNoReasonToUnite) {
  EXPECT_EQ(Search("a &> a", "ba").verdict, Verdict::kNo);
  EXPECT_EQ(Search("a &> a", "aa").items, 2U);
  EXPECT_EQ(Search("a &3 !a", "aa").verdict, Verdict::kNo);
  EXPECT_EQ(Search("!a &3 a", "aa").verdict, Verdict::kNo);
  EXPECT_EQ(Search("a & !a", "aa").verdict, Verdict::kNo);
}

TEST(LongQueries, WorkGrowsWithTheTextAndNoFaster) {
  const std::string query = Repeated("a &20 b &>3 ", 20) + "a";
  const std::int64_t once = Search(query, Repeated("ab", 1000)).work;
  const std::int64_t tenfold = Search(query, Repeated("ab", 10'000)).work;
  EXPECT_GT(tenfold, 9 * once);
  EXPECT_LT(tenfold, 11 * once);
}

TEST(LongQueries, GiveUpWithThePlaceWhereQueryAndTextAreTooMuchTogether) {
  const std::string text = Repeated("ab", 10'000);
  const Outcome outcome = Search(Repeated("a &20 b &20 ", 2000) + "a", text);
  EXPECT_EQ(outcome.verdict, Verdict::kGaveUp);
  EXPECT_LE(outcome.gaveUpAt, text.size());
  const std::int64_t bound = 1'000'000'000 + 2000 * static_cast<std::int64_t>(text.size());
  EXPECT_GT(outcome.work, bound);
  EXPECT_LT(outcome.work, bound + bound / 100);
}

TEST(LongQueries, HardPatternsArePaidForTogether) {
  // Which `a` a match starts with is known a hundred bytes later: the automata would need a state for
  // nearly each byte.
  std::string text;
  for (std::uint32_t i = 0, random = 1; i < 20'000; ++i) {
    random = random * 1'103'515'245 + 12'345;
    text += (random >> 16 & 1) != 0 ? 'a' : 'b';
  }
  const auto work = [&text](int patterns) {
    std::string query;
    for (int i = 0; i < patterns; ++i)
      query += "a[ab]{" + std::to_string(100 + i) + "}c|b & ";
    return Search(query + "b", text).work;
  };
  EXPECT_GT(work(8), 3 * work(1));
}

}  // namespace
