// Short texts, most of which are told by a look before a search is begun, against the same searches for whoever may
// interrupt them: these are done without a look.

#include "query/plan/search_plan.h"
#include "query/query_parser.h"
#include "query/search/query_search.h"
#include "tests/dice.h"
#include "tests/query/search/given_stream.h"

#include <gtest/gtest.h>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace {

using namespace trovex;
using trovex::testing::Dice;
using trovex::testing::ViewOf;

using Ranges = std::vector<std::pair<std::size_t, std::size_t>>;

struct Outcome {
  Verdict verdict = Verdict::kNo;
  Ranges items;
  bool operator==(const Outcome&) const = default;
};

class Searched {
 public:
  Searched(const std::string& expression, const QueryOptions& options) {
    auto query = std::get<ParsedQuery>(ParseQuery(expression, options));
    plan_ = std::make_unique<SearchPlan>(std::get<SearchPlan>(MakeSearchPlan(query, options)));
    search_ = std::make_unique<QuerySearch>(*plan_);
  }

  Outcome Run(const std::string& text, SearchOptions options, bool isLookedAt) const {
    if (!isLookedAt) options.interrupt = [](void*) { return false; };
    const std::vector<char> heap(text.begin(), text.end());
    return RunIn(ViewOf({heap.data(), heap.size()}), options);
  }

  Outcome RunIn(TextView text, const SearchOptions& options) const {
    const auto keep = [](void* items, const Item& item) {
      static_cast<Ranges*>(items)->emplace_back(item.begin, item.end);
      return true;
    };
    Outcome outcome;
    outcome.verdict = search_->Run(text, options, keep, &outcome.items);
    return outcome;
  }

 private:
  std::unique_ptr<SearchPlan> plan_;
  std::unique_ptr<QuerySearch> search_;
};

/// Rare letters, which texts are screened by, common ones, and the ends of lines.
std::string SomeText(Dice& dice) {
  std::string text = dice.Bytes("eeen ", dice.OneIn(4) ? 250 : 40);
  for (int i = dice.Between(0, 3); i > 0; --i) {
    const auto place = static_cast<std::size_t>(dice.Between(0, static_cast<int>(text.size())));
    text.insert(place, dice.OneOf({"x", "q", "xq", "\"", "\n", "XE", "\xC3\xBC", "\xFC"}));
  }
  return text;
}

TEST(ShortTexts, GiveWhatASearchWithoutALookGives) {
  constexpr unsigned kSeed = 20261122;
  Dice dice(kSeed);
  std::size_t satisfied = 0;
  std::size_t refused = 0;
  for (const char* const expression : {"x",
                                       "xq",
                                       "x+",
                                       "x{2,}",
                                       "x.*q",
                                       "\"[^\"]*\"",
                                       "^x",
                                       "^[A-Z]",
                                       "^$",
                                       "^e*$",
                                       "^",
                                       "x$",
                                       "^x|q",
                                       "x|q",
                                       "(x|q)e",
                                       "\\<x",
                                       "[xq]+e",
                                       "^\\.x",
                                       "x & q",
                                       "x & !q",
                                       "!x",
                                       "!x & q",
                                       "(x|q) & \"",
                                       "x &2 q",
                                       "x &3 !q",
                                       "!x &3 q",
                                       "x &2 (q|\")",
                                       "ü",
                                       "ü & x",
                                       "x &1 ü",
                                       "e & x & q",
                                       "(e|x) & q",
                                       "^x & e",
                                       "[a-z]+ü",
                                       "(x)\\1",
                                       "x(e|n)*q",
                                       "[^e]x",
                                       "e.?x",
                                       "x&>1 q",
                                       "^(e|n)+ x",
                                       "(x &9 q) & !\"",
                                       "(.)x\\1",
                                       "x?q",
                                       "^[^ ]+x",
                                       "e$",
                                       "(xe|qn)",
                                       "n*$",
                                       "(x & e)|q",
                                       "(x &2 e)|(q & e)",
                                       "(q|(x & e)) &9 n"}) {
    for (const bool folds : {false, true}) {
      QueryOptions options = {.caseSensitive = !folds};
      options.wholeWords = dice.OneIn(4);
      const Searched searched(expression, options);
      for (int i = 0; i < 120; ++i) {
        const std::string text = SomeText(dice);
        SearchOptions wanted;
        wanted.encoding = dice.OneIn(2) ? Encoding::kLatin1 : Encoding::kUtf8;
        wanted.mostItems = dice.OneIn(3) ? SIZE_MAX : static_cast<std::size_t>(dice.Between(0, 2));
        wanted.firstOfLine = dice.OneIn(4);
        const Outcome outcome = searched.Run(text, wanted, true);
        const Outcome expected = searched.Run(text, wanted, false);
        ASSERT_TRUE(outcome == expected)
            << expression << (options.wholeWords ? ", words" : "") << " in \"" << text
            << "\", most " << wanted.mostItems << (wanted.firstOfLine ? ", first of line" : "")
            << (wanted.encoding == Encoding::kUtf8 ? ", UTF-8" : "") << ": " << outcome.items.size()
            << " items for " << expected.items.size() << ", seed " << kSeed;
        (outcome.verdict == Verdict::kYes ? satisfied : refused) += 1;
      }
    }
  }
  EXPECT_GT(satisfied, 2'000U);
  EXPECT_GT(refused, 2'000U);
}

TEST(ShortTexts, WithoutAnAddressAreEmptyLikeOthers) {
  for (const char* const expression : {"^$", "^", "x*", "^e*$", "!x", "^$ & !x", "x"}) {
    const Searched searched(expression, {});
    for (const Encoding encoding : {Encoding::kLatin1, Encoding::kUtf8}) {
      SearchOptions wanted;
      wanted.encoding = encoding;
      const std::string empty;
      const Outcome outcome = searched.RunIn(TextView(), wanted);
      EXPECT_EQ(outcome, searched.RunIn(ViewOf(empty), wanted)) << expression;
      EXPECT_EQ(outcome.verdict,
                expression[0] == 'x' && expression[1] == '\0' ? Verdict::kNo : Verdict::kYes)
          << expression;
    }
  }
}

}  // namespace
