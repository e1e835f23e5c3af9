#include "query/plan/utf8_pattern.h"

#include "query/query_parser.h"
#include "tests/query/search/given_stream.h"

#include <gtest/gtest.h>
#include <string_view>
#include <variant>

namespace {

using namespace trovex;
using trovex::testing::ViewOf;

bool IsPlain(std::string_view pattern) {
  const auto parsed = ParseQuery(pattern, QueryOptions());
  const ParsedQuery& query = std::get<ParsedQuery>(parsed);
  const auto form = Utf8FormOf(query.root->pattern->tree, false, query.substitute);
  return form.has_value() && form->IsPlain();
}

TEST(PlainPattern, IsOneOfAsciiAlone) {
  EXPECT_TRUE(IsPlain("Datei"));
  EXPECT_TRUE(IsPlain("^[a-z]+(ung|heit){1,3}$"));
  EXPECT_FALSE(IsPlain("T\xC3\xBCr"));
  EXPECT_FALSE(IsPlain("a.b"));
  EXPECT_FALSE(IsPlain("[^a]"));
  EXPECT_FALSE(IsPlain("\\w+"));
}

TEST(PlainPattern, HasNoConditionOnWords) {
  EXPECT_FALSE(IsPlain("\\<Datei"));
  EXPECT_FALSE(IsPlain("a\\Bb"));
}

TEST(PlainPattern, MatchesNoEmptyString) {
  EXPECT_FALSE(IsPlain("a*"));
  EXPECT_FALSE(IsPlain("^"));
  EXPECT_FALSE(IsPlain("(a|)(b?)"));
  EXPECT_TRUE(IsPlain("(a|)b"));
}

TEST(Marks, AreSeenByTheByteThatTheyBeginWith) {
  EXPECT_TRUE(MayHoldMarks(ViewOf("u\xCC\x88")));
  EXPECT_TRUE(MayHoldMarks(ViewOf("c\xCC\xA7")));
  EXPECT_FALSE(MayHoldMarks(ViewOf("\xC3\xBC")));
  EXPECT_FALSE(MayHoldMarks({}));
}

}  // namespace
