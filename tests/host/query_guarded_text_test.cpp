// The second door never writes a text and reads nothing outside of it: texts stand in pages that nobody
// may write, against pages that nobody may touch.

#include "tests/host/guarded_text.h"

#include <trovex/query.h>

#include <gtest/gtest.h>
#include <cstddef>
#include <string>
#include <string_view>
#include <variant>

namespace {

using namespace trovex;
using trovex::testing::Guard;
using trovex::testing::GuardedBytes;

constexpr const char* kExpressions[] = {
    "Haus",         "haus|hof",        "[a-z]+ung",
    "\\<Haus\\>",   "T\xC3\xBCr",      "~Meier",
    "(H)(aus|of)",  "([a-z])\\1",      "^.*$",
    "a*",           "Haus & !Hof",     "Haus &5w Hof",
    "a &>300 Haus", "(T.r) &9 (Haus)", "x{2,9}|[[:alpha:]]+$",
};

std::string_view ViewOf(GuardedBytes& bytes, std::size_t size) {
  return {bytes.Data(), size};
}

class GuardedQuery : public ::testing::TestWithParam<const char*> {};

TEST_P(GuardedQuery, NeitherWritesATextNorReadsOutsideOfIt) {
  std::string longText;
  for (int i = 0; i < 4000; ++i)
    longText += i % 9 == 0 ? "die T\xC3\xBCr zum Haus am Hof\n" : "nichts als Zeilen, Maier\n";
  const std::string texts[] = {
      "",      "H",         "Haus",          "ein Haus\n", "Haus am Hof", "u\xCC",
      "T\xC3", "T\xC3\xBC", "\xE2\x82 Haus", "\n\n",       longText,      longText + "\xC3"};
  for (const bool words : {false, true}) {
    ExpressionOptions how;
    how.words = words;
    const auto compiled = Query::Compile(GetParam(), how);
    ASSERT_TRUE(std::holds_alternative<Query>(compiled));
    Searcher searcher(std::get<Query>(compiled));
    for (const std::string& text : texts) {
      for (const Guard guard : {Guard::kAfter, Guard::kInFront}) {
        GuardedBytes bytes(text, guard);
        bytes.MakeReadOnly();
        for (const Encoding encoding : {Encoding::kUtf8, Encoding::kLatin1}) {
          SearchOptions options;
          options.encoding = encoding;
          options.tags = true;
          const Verdict verdict = searcher.Search(ViewOf(bytes, text.size()), options);
          EXPECT_EQ(searcher.Matches(ViewOf(bytes, text.size()), encoding), verdict);
        }
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Expressions, GuardedQuery, ::testing::ValuesIn(kExpressions));

}  // namespace
