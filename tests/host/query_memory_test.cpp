// Memory and the second door: where it runs out, at whatever allocation, that is a failure of its own
// and nothing is lost; and after its first texts a searcher asks for none.

#include "tests/host/failing_malloc.h"

#include <trovex/query.h>
#include <trovex/query_c.h>

#include <gtest/gtest.h>
#include <cstddef>
#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace {

using trovex::testing::FailureKind;
using trovex::testing::LiveBlocks;
using trovex::testing::MallocFailure;
using trovex::testing::Owner;

/// No sequence here needs that many allocations; a loop that gets there would never end.
constexpr long kTooMany = 200'000;

constexpr const char* kExpressions[] = {
    "Haus",
    "(H)(aus|of)",
    "[a-z]+ [0-9]{2,5}",
    "([a-z])\\1",
    "T\xC3\xBCr",
    "~Meier",
    "Haus & (Hof|(!T\xC3\xBCr))",
    "((Haus) &20 (Hof)) & !Garten",
    "Haus &>5w (Hof &3 und)",
    "(Haus & Hof)|(~Meier &5w !T\xC3\xBCr)",
    "!Garten",
};

std::string TextFor(int round) {
  std::string text = "Haus und Hof, Herr Mayr an der T\xC3\xBCr 4711\n";
  for (int i = 0; i < round; ++i)
    text += "Hof ohne Haus, T\xC3\xBCr und Herr Meyer 12 und noch mehr davon\n";
  return text;
}

/// What a search finds, kept without allocating.
struct Answer {
  int verdict = TROVEX_NO_MEMORY;
  std::size_t items = 0;
  std::size_t sum = 0;

  bool operator==(const Answer& other) const {
    return verdict == other.verdict && items == other.items && sum == other.sum;
  }
};

Answer Search(trovex_searcher* searcher, const std::string& text) {
  trovex_search_options options{};
  options.tags = 1;
  Answer answer;
  answer.verdict = trovex_search(searcher, text.data(), text.size(), &options);
  answer.items = trovex_item_count(searcher);
  for (std::size_t i = 0; i < answer.items; ++i) {
    trovex_item item;
    trovex_get_item(searcher, i, &item);
    answer.sum = 31 * answer.sum + item.begin + 7 * item.end;
    for (std::size_t tag = 0; tag < item.tag_count; ++tag)
      answer.sum += item.tags[tag].begin;
  }
  return answer;
}

trovex_query* Compiled(const char* expression) {
  trovex_query* query = nullptr;
  EXPECT_EQ(trovex_compile(expression, std::strlen(expression), nullptr, &query, nullptr),
            TROVEX_OK);
  return query;
}

class QueryMemory : public ::testing::TestWithParam<const char*> {};

TEST_P(QueryMemory, ThatRunsOutWhileCompilingIsAFaultAndNothingIsLost) {
  const char* const expression = GetParam();
  trovex_query_free(Compiled(expression));
  for (const FailureKind kind : {FailureKind::kOnce, FailureKind::kFromThenOn}) {
    bool failed = true;
    for (long number = 1; failed; ++number) {
      ASSERT_LT(number, kTooMany);
      const long live = LiveBlocks(Owner::kAnybody);
      trovex_query* query = nullptr;
      trovex_fault fault{};
      int status = 0;
      {
        const MallocFailure failure(Owner::kAnybody, number, kind);
        status = trovex_compile(expression, std::strlen(expression), nullptr, &query, &fault);
        failed = MallocFailure::Happened();
      }
      if (status == TROVEX_OK) {
        trovex_query_free(query);
      } else {
        ASSERT_EQ(status, TROVEX_NO_MEMORY) << "allocation " << number << ": " << fault.sentence;
        ASSERT_EQ(query, nullptr);
        ASSERT_EQ(fault.number, 9811);
        ASSERT_STREQ(fault.sentence, "Memory overflow!");
      }
      ASSERT_EQ(LiveBlocks(Owner::kAnybody), live) << "allocation " << number;
    }
  }
}

TEST_P(QueryMemory, ThatRunsOutWhileSearchingIsToldAndTheNextSearchIsRight) {
  trovex_query* const query = Compiled(GetParam());
  const std::string text = TextFor(3);
  trovex_searcher* whole = nullptr;
  ASSERT_EQ(trovex_searcher_new(query, &whole), TROVEX_OK);
  const Answer expected = Search(whole, text);
  trovex_searcher_free(whole);
  for (const FailureKind kind : {FailureKind::kOnce, FailureKind::kFromThenOn}) {
    bool failed = true;
    for (long number = 1; failed; ++number) {
      ASSERT_LT(number, kTooMany);
      const long live = LiveBlocks(Owner::kAnybody);
      trovex_searcher* searcher = nullptr;
      Answer answer;
      {
        const MallocFailure failure(Owner::kAnybody, number, kind);
        if (trovex_searcher_new(query, &searcher) == TROVEX_OK) answer = Search(searcher, text);
        failed = MallocFailure::Happened();
      }
      if (answer.verdict == TROVEX_NO_MEMORY) {
        ASSERT_EQ(answer.items, 0U) << "allocation " << number;
      } else {
        ASSERT_TRUE(answer == expected) << "allocation " << number;
      }
      if (searcher != nullptr) {
        ASSERT_TRUE(Search(searcher, text) == expected) << "allocation " << number;
      }
      trovex_searcher_free(searcher);
      ASSERT_EQ(LiveBlocks(Owner::kAnybody), live) << "allocation " << number;
    }
  }
  trovex_query_free(query);
}

TEST_P(QueryMemory, IsNotAskedForAfterTheFirstTexts) {
  auto compiled = trovex::Query::Compile(GetParam());
  ASSERT_TRUE(std::holds_alternative<trovex::Query>(compiled));
  trovex::Searcher searcher(std::get<trovex::Query>(compiled));
  std::vector<std::string> texts;
  for (int i = 0; i < 60; ++i)
    texts.push_back(TextFor(i * 7 % 60));
  trovex::SearchOptions options;
  options.tags = true;
  for (const std::string& text : texts) {
    searcher.Search(text, options);
    searcher.Matches(text);
  }
  std::size_t items = 0;
  bool asked = false;
  {
    const MallocFailure watch(Owner::kAnybody, 1, FailureKind::kOnce);
    for (const std::string& text : texts) {
      try {
        searcher.Search(text, options);
        items += searcher.Items().size();
        searcher.Matches(text);
      } catch (const std::bad_alloc&) {
        break;
      }
    }
    asked = MallocFailure::Happened();
  }
  EXPECT_FALSE(asked) << "after " << items << " items";
}

TEST_P(QueryMemory, ThatRunsOutWhileDescribingIsTold) {
  trovex_query* const query = Compiled(GetParam());
  const std::size_t length = trovex_describe(query, nullptr, 0);
  bool failed = true;
  for (long number = 1; failed; ++number) {
    ASSERT_LT(number, kTooMany);
    std::size_t told = 0;
    {
      const MallocFailure failure(Owner::kAnybody, number, FailureKind::kOnce);
      told = trovex_describe(query, nullptr, 0);
      failed = MallocFailure::Happened();
    }
    EXPECT_EQ(told, failed ? 0 : length);
  }
  trovex_query_free(query);
}

INSTANTIATE_TEST_SUITE_P(Expressions, QueryMemory, ::testing::ValuesIn(kExpressions));

}  // namespace
