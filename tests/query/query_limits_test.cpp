// Large expressions: what is refused as too long, and that time, memory and stack stay small.

#include "query/query_parser.h"

#include "tests/sanitizers.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <cstddef>
#include <string>
#include <string_view>
#include <variant>

namespace trovex {
namespace {

std::string Repeated(std::string_view piece, int count) {
  std::string text;
  text.reserve(piece.size() * static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i)
    text += piece;
  return text;
}

struct Task {
  const std::string* expression;
  QueryOptions options;
  MessageNumber number = MessageNumber::kNone;
  std::size_t operands = 0;
};

void* Run(void* argument) {
  Task& task = *static_cast<Task*>(argument);
  const auto result = ParseQuery(*task.expression, task.options);
  if (const auto* fault = std::get_if<QueryFault>(&result)) {
    task.number = fault->number;
  } else {
    task.operands = std::get<ParsedQuery>(result).root->children.size();
  }
  return nullptr;
}

/// Reads and releases a query in a thread with a small stack.
Task Read(const std::string& expression, QueryOptions options = {}) {
  Task task{&expression, options};
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  // Sanitizers make every frame larger.
  constexpr std::size_t kStack = std::size_t{256} << 10;
  pthread_attr_setstacksize(&attributes, testing::kUnderSanitizer ? 16 * kStack : kStack);
  pthread_t thread{};
  EXPECT_EQ(pthread_create(&thread, &attributes, Run, &task), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
  return task;
}

TEST(QueryLimits, ChainsAreReadHoweverLongTheyAre) {
  EXPECT_EQ(Read(Repeated("a & ", 99'999) + "a").operands, 100'000U);
  EXPECT_EQ(Read(Repeated("~a|", 99'999) + "b").operands, 100'000U);
  EXPECT_EQ(Read(Repeated("a&5w ", 99'999) + "a").operands, 100'000U);
  EXPECT_EQ(Read(Repeated("a &1 !b & ", 49'999) + "a & b").operands, 100'000U);
  EXPECT_EQ(Read(Repeated("a&", kMaxQueryTerms) + "a").number, MessageNumber::kExpressionTooLong);
}

TEST(QueryLimits, BracketsAndNotsNestToALimit) {
  for (const char* open : {"(", "!", "(a&", "(!", "(~x|", "x("}) {
    const bool two = std::string_view(open) == "(!";
    const int most = two ? kMaxQueryNesting / 2 : kMaxQueryNesting;
    const std::string close = open == std::string_view("!") ? "" : ")";
    const auto nested = [&](int depth) {
      return Repeated(open, depth) + "b" + Repeated(close, depth);
    };
    EXPECT_EQ(Read(nested(most)).number, MessageNumber::kNone) << open;
    EXPECT_EQ(Read(nested(most + 1)).number, MessageNumber::kExpressionTooLong) << open;
    EXPECT_EQ(Read(nested(100'000)).number, MessageNumber::kExpressionTooLong) << open;
  }
}

TEST(QueryLimits, NotsBesideOneAnotherDoNotNest) {
  EXPECT_EQ(Read(Repeated("!a & ", 1000) + "a").number, MessageNumber::kNone);
  EXPECT_EQ(Read(Repeated("(!a) & ", 1000) + "a").number, MessageNumber::kNone);
}

TEST(QueryLimits, PatternsHaveASize) {
  EXPECT_EQ(Read(Repeated("a", 60'000)).number, MessageNumber::kNone);
  EXPECT_EQ(Read(Repeated("a", 60'001)).number, MessageNumber::kExpressionTooLong);
  EXPECT_EQ(Read("(a{200}){297}").number, MessageNumber::kNone);
  EXPECT_EQ(Read("(a{200}){298}").number, MessageNumber::kExpressionTooLong);
  // A repetition without an end is one round that comes back.
  EXPECT_EQ(Read(Repeated("(", 150) + "a" + Repeated(")+", 150)).number, MessageNumber::kNone);
  EXPECT_EQ(Read("x((a{32767}){32767}){32767}").number, MessageNumber::kExpressionTooLong);
  EXPECT_EQ(Read(Repeated("a|", 29'999) + "a").number, MessageNumber::kNone);
  EXPECT_EQ(Read(Repeated("a|", 299'999) + "a").number, MessageNumber::kNone);
  EXPECT_EQ(Read(Repeated("a|", 300'001) + "a").number, MessageNumber::kExpressionTooLong);
  EXPECT_EQ(Read(Repeated("a|", 40'000) + "a*").number, MessageNumber::kExpressionTooLong);
  EXPECT_EQ(Read(std::string("a").append(Repeated("{2}", 100))).number,
            MessageNumber::kExpressionTooLong);
  EXPECT_EQ(Read(std::string("a").append(Repeated("{1}{0,1}*", 100'000))).number,
            MessageNumber::kNone);
  EXPECT_EQ(Read(std::string("a").append(Repeated("{0,0}", 400))).number, MessageNumber::kNone);
  EXPECT_EQ(Read(std::string("a").append(Repeated("{0,0}", 401))).number,
            MessageNumber::kExpressionTooLong);
}

TEST(QueryLimits, APatternsSizeIsThatOfItsSpellings) {
  QueryOptions options;
  options.spellingVariants = true;
  EXPECT_EQ(Read(Repeated("a", 60'000), options).number, MessageNumber::kNone);
  EXPECT_EQ(Read(Repeated("s", 1000), options).number, MessageNumber::kNone);
  EXPECT_EQ(Read(Repeated("s", 60'000), options).number, MessageNumber::kExpressionTooLong);
  EXPECT_EQ(Read(Repeated("ae ", 30'000), options).number, MessageNumber::kExpressionTooLong);
}

TEST(QueryLimits, AnExpressionHasALength) {
  EXPECT_EQ(Read(std::string(kMaxQueryLength, ' ')).number, MessageNumber::kEmptySubexpression);
  EXPECT_EQ(Read(std::string(kMaxQueryLength + 1, ' ')).number, MessageNumber::kExpressionTooLong);
}

TEST(QueryLimits, LongRunsOfEveryPieceAreReadOrRefused) {
  QueryOptions variants;
  variants.spellingVariants = true;
  QueryOptions phonetic;
  phonetic.phonetic = true;
  const int all = static_cast<int>(kMaxQueryLength / 8);
  for (const char* piece :
       {"(",    ")",   "[",    "[[:",     "[[.",  "[a",  "{",   "a{",    "a{1",
        "&",    "|",   "!",    "~",       "\\",   "\\(", "x ",  " ",     "\n",
        "()",   "()x", "(a)",  "(a)|",    "a(b|", "*",   "a*",  "&>5w ", "a\xCC\x88",
        "\xFF", "~a|", "[^a]", "a &5 !b", "((",   "x(",  "[:a", "s",     "ae"}) {
    const std::string expression =
        Repeated(piece, all / static_cast<int>(std::string_view(piece).size()));
    Read(expression);
    Read(expression, variants);
    Read(expression, phonetic);
    Read(std::string("x(").append(expression).append(")"));
  }
}

}  // namespace
}  // namespace trovex
