// Queries of strings, searched for all strings at once, against the streams: these search for whoever may
// interrupt them, and are held against a reference of their own.

#include "query/search/string_search.h"
#include "query/plan/search_plan.h"
#include "query/query_parser.h"
#include "query/search/query_search.h"
#include "tests/dice.h"
#include "tests/query/search/given_stream.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace {

using namespace trovex;
using trovex::testing::Dice;

using Ranges = std::vector<std::pair<std::size_t, std::size_t>>;

struct Outcome {
  Verdict verdict = Verdict::kNo;
  Ranges items;
  bool operator==(const Outcome&) const = default;
};

/// Latin-1, the bytes as they are.
constexpr QueryOptions kOptions = {.encoding = ExpressionEncoding::kLatin1, .caseSensitive = true};

bool IsQuery(const std::string& expression, const QueryOptions& options) {
  return std::holds_alternative<ParsedQuery>(ParseQuery(expression, options));
}

class Searched {
 public:
  explicit Searched(const std::string& expression, const QueryOptions& options = kOptions) {
    auto query = std::get<ParsedQuery>(ParseQuery(expression, options));
    plan_ = std::make_unique<SearchPlan>(std::get<SearchPlan>(MakeSearchPlan(query, options)));
    search_ = std::make_unique<QuerySearch>(*plan_);
  }

  /// Of strings alone; or of streams.
  bool IsOfStrings() const {
    std::vector<std::unique_ptr<PatternSearch>> searches;
    std::vector<StringSearch::Pattern> patterns;
    for (const PlannedStream& stream : plan_->streams) {
      if (stream.program != nullptr)
        searches.push_back(std::make_unique<PatternSearch>(*stream.program));
      patterns.push_back({stream.program != nullptr ? searches.back().get() : nullptr});
    }
    return StringSearch::Make(*plan_, patterns) != nullptr;
  }

  Outcome AsStrings(std::string_view text, std::size_t most = SIZE_MAX,
                    Encoding encoding = Encoding::kLatin1, bool firstOfLine = false) const {
    return Run(text, most, encoding, firstOfLine, nullptr);
  }
  Outcome AsStreams(std::string_view text, std::size_t most = SIZE_MAX,
                    Encoding encoding = Encoding::kLatin1, bool firstOfLine = false) const {
    return Run(text, most, encoding, firstOfLine, [](void*) { return false; });
  }

 private:
  Outcome Run(std::string_view text, std::size_t most, Encoding encoding, bool firstOfLine,
              bool (*interrupt)(void*)) const {
    SearchOptions options;
    options.encoding = encoding;
    options.mostItems = most;
    options.firstOfLine = firstOfLine;
    options.interrupt = interrupt;
    Outcome outcome;
    const auto keep = [](void* items, const Item& item) {
      static_cast<Ranges*>(items)->emplace_back(item.begin, item.end);
      return true;
    };
    const std::vector<char> heap(text.begin(), text.end());
    outcome.verdict = search_->Run(trovex::testing::ViewOf({heap.data(), heap.size()}), options,
                                   keep, &outcome.items);
    return outcome;
  }

  std::unique_ptr<SearchPlan> plan_;
  std::unique_ptr<QuerySearch> search_;
};

/// Calls `visit` with all texts of up to `longest` of these bytes.
template <typename Visit>
void ForEachText(std::string_view bytes, std::size_t longest, const Visit& visit) {
  std::vector<std::string> texts = {""};
  for (std::size_t length = 0;; ++length) {
    std::vector<std::string> longer;
    for (const std::string& text : texts) {
      visit(text);
      if (length == longest) continue;
      for (const char c : bytes)
        longer.push_back(text + c);
    }
    if (longer.empty()) return;
    texts = std::move(longer);
  }
}

TEST(StringSearch, FindsWhatStreamsFindInAllShortTexts) {
  for (const bool words : {false, true}) {
    QueryOptions options = kOptions;
    options.wholeWords = words;
    for (const char* const expression : {"a & b",
                                         "a & ab",
                                         "ab & ba & a",
                                         "aa & a",
                                         "a & !b",
                                         "a & !ab & b",
                                         "!b & aba",
                                         "a & [ab]",
                                         "a &0 b",
                                         "a &1 b",
                                         "b &2 a",
                                         "a &0 ab",
                                         "a &1 !b",
                                         "!ab &1 a",
                                         "a &1 b &2 ab",
                                         "a &1 !b &1 a",
                                         "(a &1 b) &1 ba",
                                         "a &1 aa",
                                         "aa &0 a &1 ba",
                                         "^a & b",
                                         "a$ &1 b",
                                         "\\<a &2 b",
                                         "a & b+",
                                         "a & b* & ab",
                                         "b & !a+b",
                                         "a &1 b+",
                                         "a+ &0 b",
                                         "a &1 !b+",
                                         "!a &1 b+b",
                                         "a &1 [ab]+b",
                                         "a &2 b* &0 ab",
                                         "(a)\\1 &1 b",
                                         "a & (b)\\1",
                                         "a &1 (ab|b+) &1 b+a$",
                                         "a &>1 b",
                                         "b &>0 a &>2 ab",
                                         "!a &>1 b",
                                         "a &>2 !b",
                                         "a* &>1 b",
                                         "b &>2 a*",
                                         "a &1w b",
                                         "a &0w b &1w a",
                                         "a &>1w b",
                                         "a &> b",
                                         "ab &> a &> b+",
                                         "(a & ab)|b &> b",
                                         "a &> !(b & ab)",
                                         "!ab &> a",
                                         "b &>0w !a",
                                         "ab &1w b* &1 a",
                                         "(ab|ba) & aa",
                                         "(ab|ba) &1 aa",
                                         "(aa|ab) &1 b",
                                         "a &1 !(ab|ba)",
                                         "(ab|bb|ba) &>1 (aa|b) & a",
                                         "a & !(b|ab+)",
                                         "a(b|ab) & b",
                                         "b &1 (a(b|ba)|bb)",
                                         "a((ab|b)|b) & aa",
                                         "(a & b)|(ab & ba)",
                                         "a & (b|(ab & !ba))",
                                         "(a & !b)|(b & !a)",
                                         "a|(b & !ab)",
                                         "a &1 (b & ba)",
                                         "a &1 (b|(ab & !ba))",
                                         "(a|(ab & ba)) &1 b",
                                         "a & (b &1 ab)",
                                         "a & !(b &1 ab)",
                                         "(a &1 b) & (b &1 aa)",
                                         "(a &1 b)|(aa &0 ba)",
                                         "(a &1 b)|(!ab)",
                                         "(a &1 b)|b",
                                         "(a|(b &1 ab)) & !(aa &0 b)",
                                         "!(a &1 b) & b"}) {
      const Searched searched(expression, options);
      ASSERT_TRUE(searched.IsOfStrings()) << expression;
      ForEachText("ab \n", 6, [&](const std::string& text) {
        const Outcome expected = searched.AsStreams(text);
        ASSERT_EQ(searched.AsStrings(text), expected)
            << expression << (words ? ", words, in " : " in ") << ::testing::PrintToString(text);
        Outcome first = expected;
        first.items.resize(std::min<std::size_t>(1, expected.items.size()));
        ASSERT_EQ(searched.AsStrings(text, 1), first)
            << expression << (words ? ", words, in " : " in ") << ::testing::PrintToString(text);
      });
    }
  }
}

TEST(StringSearch, IsForPatternsBesideStrings) {
  for (const char* const expression :
       {"a+ & b*", "a+ &1 b*", "a &99999w b", "!a & !b", "a & ~Meier", "a &3 (b & (c &3 a))",
        "a &3 (b|(a & !(c &3 a)))"}) {
    EXPECT_FALSE(Searched(expression).IsOfStrings()) << expression;
  }
  for (const char* const expression :
       {"a &>3 b", "a &> b", "a &99999 b", "a &3w b", "a & (b &3 c)", "a &3 (b & c)", "a+ & (b|c)",
        "(ab|c) &3 x+", "(a &3 b)|(c &3 d)", "a & !(b &3 c)"}) {
    EXPECT_TRUE(Searched(expression).IsOfStrings()) << expression;
  }
  const std::string sixteen = "a & b & c & d & e & f & g & h & i & j & k & l & m & n & o & p";
  EXPECT_TRUE(Searched(sixteen + " & !q").IsOfStrings());
  EXPECT_FALSE(Searched(sixteen + " & q").IsOfStrings());
  EXPECT_FALSE(Searched(sixteen + " & !q & !r & !s & !t & !u & !v & !w & !x & !y & !z & !A & !B"
                                  " & !C & !D & !E & !F & !G")
                   .IsOfStrings());
}

std::string RandomString(Dice& dice) {
  static const std::vector<std::string> kPieces = {"a", "b", "c",    "ab",   "ba", "\xE4",
                                                   "A", "x", "[ab]", "[^b]", "xy", "[0-9]"};
  std::string string = dice.OneOf(kPieces);
  for (int more = dice.Between(0, 9); more > 0; --more)
    string += dice.OneOf(kPieces);
  return string;
}

/// Or a pattern that is none, once in `others` times.
std::string RandomPattern(Dice& dice, int others) {
  static const std::vector<std::string> kOthers = {"a+",   "[ab]+c", "x*y",      "(ab|ba)+",
                                                   "^.*a", "[0-9]+", "b.{0,4}b", "(a|b)\\1",
                                                   "y*",   "-+",     "[a-c]+$",  "\\<[a-y]+"};
  return dice.OneIn(others) ? dice.OneOf(kOthers) : RandomString(dice);
}

std::string RandomExpression(Dice& dice) {
  const bool isNear = dice.OneIn(2);
  const int others = dice.OneIn(2) ? 100 : dice.Between(2, 4);
  std::string expression = RandomPattern(dice, others);
  for (int more = dice.OneIn(4) ? dice.Between(6, 15) : dice.Between(1, 5); more > 0; --more) {
    expression += isNear ? " &" + std::to_string(dice.OneIn(2) ? dice.Between(0, 12) : 300) : " &";
    expression += (more == 1 || !isNear) && dice.OneIn(4) ? " !" : " ";
    expression += dice.OneIn(2) ? dice.OneOf(std::vector<std::string>{"a", "b", "x", "ab", "ac"})
                                : RandomPattern(dice, others);
  }
  return expression;
}

std::string RandomOperand(Dice& dice, int depth);

/// Operands with any operators between them.
std::string RandomTree(Dice& dice, int depth) {
  std::string expression = RandomOperand(dice, depth);
  for (int more = dice.Between(depth > 1 ? 1 : 0, 2); more > 0; --more) {
    const std::string distance = std::to_string(dice.OneIn(4) ? 300 : dice.Between(0, 12));
    const std::string order = dice.OneIn(3) ? ">" : "";
    expression += " &";
    if (dice.OneIn(2)) {
      const bool isEndless = !order.empty() && dice.OneIn(3);
      expression += isEndless ? order : order + distance + (dice.OneIn(4) ? "w" : "");
    }
    expression += dice.OneIn(4) ? " !" : " ";
    expression += RandomOperand(dice, depth);
  }
  return expression;
}

std::string RandomOperand(Dice& dice, int depth) {
  if (depth == 0 || dice.OneIn(3)) {
    if (dice.OneIn(5)) return RandomPattern(dice, 2);
    return dice.OneOf(std::vector<std::string>{"a", "b", "x", "ab", "ac", "(ab|c)", "(bc|ca|xy)"});
  }
  std::string operand = "(" + RandomTree(dice, depth - 1) + ")";
  if (dice.OneIn(3)) operand += "|(" + RandomTree(dice, depth - 1) + ")";
  return operand;
}

std::string RandomText(Dice& dice) {
  static const std::vector<std::string> kBytes = {"a", "b", "a",    "b", "c", "x",
                                                  "y", "A", "\xE4", " ", "7"};
  std::string text;
  const int size = dice.OneIn(16) ? dice.Between(0, 80'000) : dice.Between(0, 300);
  const int gap = dice.OneIn(2) ? 60 : 2;
  while (static_cast<int>(text.size()) < size) {
    if (dice.OneIn(gap)) text += std::string(static_cast<std::size_t>(dice.Between(0, 500)), '-');
    text += dice.OneIn(30) ? "\n" : dice.OneOf(kBytes);
  }
  return text;
}

TEST(StringSearch, FindsWhatStreamsFindInRandomTexts) {
  for (std::uint32_t seed = 1; seed <= 600; ++seed) {
    Dice dice(seed);
    QueryOptions options = kOptions;
    options.wholeWords = dice.OneIn(5);
    options.caseSensitive = dice.OneIn(2);
    const std::string expression = RandomExpression(dice);
    const Searched searched(expression, options);
    for (int texts = 0; texts < 4; ++texts) {
      const std::string text = RandomText(dice);
      const Outcome expected = searched.AsStreams(text);
      ASSERT_EQ(searched.AsStrings(text), expected) << "seed " << seed << ": " << expression;
      const auto most = static_cast<std::size_t>(dice.Between(0, 5));
      Outcome fewer = expected;
      fewer.items.resize(std::min(most, expected.items.size()));
      ASSERT_EQ(searched.AsStrings(text, most), fewer) << "seed " << seed << ": " << expression;
    }
  }
}

TEST(StringSearch, FindsWhatStreamsFindOfQueriesInBrackets) {
  int ofStrings = 0;
  int found = 0;
  for (std::uint32_t seed = 1; seed <= 4'000; ++seed) {
    Dice dice(seed);
    QueryOptions options = kOptions;
    options.wholeWords = dice.OneIn(8);
    options.caseSensitive = dice.OneIn(2);
    const std::string expression = RandomTree(dice, 2);
    if (!IsQuery(expression, options)) continue;  // an operand of a distance without items
    const Searched searched(expression, options);
    ofStrings += searched.IsOfStrings() ? 1 : 0;
    const std::string text = dice.OneIn(3) ? RandomText(dice) : dice.Bytes("aabbcxy  -\n", 60);
    const Outcome expected = searched.AsStreams(text);
    found += static_cast<int>(expected.items.size());
    ASSERT_EQ(searched.AsStrings(text), expected)
        << "seed " << seed << ": " << expression << " in " << ::testing::PrintToString(text);
    const auto most = static_cast<std::size_t>(dice.Between(0, 3));
    Outcome fewer = expected;
    fewer.items.resize(std::min(most, expected.items.size()));
    ASSERT_EQ(searched.AsStrings(text, most), fewer) << "seed " << seed << ": " << expression;
  }
  EXPECT_GT(ofStrings, 1'500);
  EXPECT_GT(found, 10'000);
}

TEST(StringSearch, FindsWhatStreamsFindOfOnePatternNearToStrings) {
  const std::vector<std::string> patterns = {"[xy]+",   "x.*y",     "y*",
                                             "^[a-y]*", "(x|y)\\1", "[^-]+$"};
  int found = 0;
  for (std::uint32_t seed = 1; seed <= 1'000; ++seed) {
    Dice dice(seed);
    const std::string& pattern = dice.OneOf(patterns);
    const auto near = [&] { return " &" + std::to_string(dice.Between(0, 9)) + " "; };
    const auto negation = [&] { return dice.OneIn(4) ? "!" : ""; };
    std::string expression =
        dice.OneIn(2) ? negation() + pattern + near() + "ab" : "ab" + near() + negation() + pattern;
    if (dice.OneIn(2)) expression = "(" + expression + ")" + near() + "ba";
    const Searched searched(expression);
    ASSERT_TRUE(searched.IsOfStrings()) << expression;
    std::string text;
    for (int pieces = dice.Between(1, 30); pieces > 0; --pieces) {
      text += dice.Bytes("xy--\n", 12);
      if (dice.OneIn(3)) text += std::string(static_cast<std::size_t>(dice.Between(0, 40)), '-');
      if (dice.OneIn(3)) text += dice.OneIn(2) ? "ab" : "ba";
    }
    const Outcome expected = searched.AsStreams(text);
    found += static_cast<int>(expected.items.size());
    ASSERT_EQ(searched.AsStrings(text), expected)
        << "seed " << seed << ": " << expression << " in " << ::testing::PrintToString(text);
  }
  EXPECT_GT(found, 1'000);
}

TEST(StringSearch, SearchesTheBytesOfUtf8AndCountsItsCharacters) {
  for (const char* const expression :
       {"a & b", "a & !c", "a & [xy]+", "a &3 b", "\xC3\xA4 & a", "a &>2 b", "ab &9 (xy|b-)",
        "a &2w b", "x+ &1 a &4 !b", "(a &2 x) & y"}) {
    const Searched searched(expression);
    for (std::uint32_t seed = 1; seed <= 200; ++seed) {
      Dice dice(seed);
      const std::vector<std::string> kOthers = {"\xC3\xA4", "\xE2\x82\xAC", "\xE4",
                                                "\xF0\x9F\x98\x80",
                                                seed % 4 == 0 ? "a\xCC\x88" : "\xC3\x9F"};
      const int rare = dice.OneIn(2) ? 40 : 2;
      std::string text;
      for (int i = dice.Between(0, dice.OneIn(4) ? 5'000 : 50); i > 0; --i)
        text += dice.OneIn(rare) ? dice.OneOf(kOthers) : dice.Bytes("ab- xy", 2);
      ASSERT_EQ(searched.AsStrings(text, SIZE_MAX, Encoding::kUtf8),
                searched.AsStreams(text, SIZE_MAX, Encoding::kUtf8))
          << expression << " seed " << seed;
    }
  }
}

TEST(PatternAlone, IsFoundInLongTextsOfUtf8AsStreamsFindIt) {
  const std::vector<std::string> kOthers = {"\xC3\xA4", "\xE2\x82\xAC", "\xE4", "\n", "b\n", "ba"};
  for (const char* const expression :
       {"ba", "[ab]+", "a[a-z]+", "^a", "a$", "a*b", "(a)\\1", "xyz", "[xy]+b"}) {
    const Searched searched(expression);
    int found = 0;
    for (std::uint32_t seed = 1; seed <= 16; ++seed) {
      Dice dice(seed);
      const int rare = dice.OneIn(2) ? 40 : 4;
      std::string text;
      const auto size =
          static_cast<std::size_t>(dice.Between(4'000, dice.OneIn(3) ? 300'000 : 9'000));
      while (text.size() < size)
        text += dice.OneIn(rare) ? dice.OneOf(kOthers) : dice.Bytes("ab- xy", 2);
      // A combining mark, which takes the letter before it away, first here, then there.
      if (dice.OneIn(2)) {
        const auto place = static_cast<std::size_t>(dice.Between(0, static_cast<int>(size) - 1));
        text.replace(text.find('-', place) == std::string::npos ? 0 : text.find('-', place), 1,
                     "ba\xCC\x88");
      }
      for (const bool firstOfLine : {false, true}) {
        for (const std::size_t most : {SIZE_MAX, static_cast<std::size_t>(dice.Between(0, 900))}) {
          const Outcome expected = searched.AsStreams(text, most, Encoding::kUtf8, firstOfLine);
          found += static_cast<int>(expected.items.size());
          ASSERT_EQ(searched.AsStrings(text, most, Encoding::kUtf8, firstOfLine), expected)
              << expression << " seed " << seed << " most " << most;
        }
      }
    }
    EXPECT_EQ(found > 400, expression != std::string("xyz")) << expression;
  }
}

TEST(StringSearch, LeavesToStreamsWhatLiesTooCloseTogether) {
  // Two clusters that are decided, one of more places than are kept, and what is behind it.
  std::string text = "a b" + std::string(100, '-') + "b a" + std::string(100, '-');
  for (int i = 0; i < 6000; ++i)
    text += "a b ";
  text += std::string(100, '-') + "a b";
  for (const char* const expression : {"a &5 b", "a &5 b &7 !x", "b &3 a &90 b"}) {
    const Searched searched(expression);
    ASSERT_TRUE(searched.IsOfStrings());
    for (const std::size_t most : {std::size_t{0}, std::size_t{3}, std::size_t{5000}, SIZE_MAX})
      EXPECT_EQ(searched.AsStrings(text, most), searched.AsStreams(text, most)) << expression;
  }
}

TEST(StringSearch, LeavesToStreamsWhatIsTooMuchForADistanceWithoutAnEnd) {
  std::string text = "--b--ab--";
  for (int i = 0; i < 150'000; ++i)
    text += "a b ";
  text += "--ab--a-";
  const Searched searched("a &> b &> ab");
  ASSERT_TRUE(searched.IsOfStrings());
  for (const std::size_t most : {std::size_t{0}, std::size_t{3}, SIZE_MAX})
    EXPECT_EQ(searched.AsStrings(text, most), searched.AsStreams(text, most)) << most;
}

}  // namespace
