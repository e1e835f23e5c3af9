// Lines, paragraphs and the places between them, held against the plainest reading of a text.

#include "hosts/cli/search/units.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <functional>
#include <string>
#include <vector>

namespace trovex::cli {
namespace {

std::vector<std::string> UnitsOf(const std::string& text, Scope scope) {
  std::vector<std::string> units;
  std::size_t place = 0;
  for (Range unit; NextUnit(text, scope, place, unit);)
    units.emplace_back(Piece(text, unit));
  return units;
}

using Texts = std::vector<std::string>;

TEST(NextUnit, AFileIsOneUnitWithoutItsLastLineEnd) {
  EXPECT_EQ(UnitsOf("", Scope::kFile), Texts{""});
  EXPECT_EQ(UnitsOf("a", Scope::kFile), Texts{"a"});
  EXPECT_EQ(UnitsOf("a\n\nb\n", Scope::kFile), Texts{"a\n\nb"});
  EXPECT_EQ(UnitsOf("a\r\nb\r\n", Scope::kFile), Texts{"a\r\nb"});
  EXPECT_EQ(UnitsOf("a\n\n", Scope::kFile), Texts{"a\n"});
}

TEST(NextUnit, LinesEndInLineFeedsWithOrWithoutCarriageReturn) {
  EXPECT_EQ(UnitsOf("", Scope::kLine), Texts{});
  EXPECT_EQ(UnitsOf("a\n\nb", Scope::kLine), (Texts{"a", "", "b"}));
  EXPECT_EQ(UnitsOf("a\r\n\r\nb\r\n", Scope::kLine), (Texts{"a", "", "b"}));
}

TEST(NextUnit, ALoneCarriageReturnEndsNoLine) {
  EXPECT_EQ(UnitsOf("a\rb\nc\r", Scope::kLine), (Texts{"a\rb", "c\r"}));
}

TEST(NextUnit, ParagraphsAreRunsOfLinesBetweenEmptyOnes) {
  EXPECT_EQ(UnitsOf("", Scope::kParagraph), Texts{});
  EXPECT_EQ(UnitsOf("\n\n\n", Scope::kParagraph), Texts{});
  EXPECT_EQ(UnitsOf("\n\na\nb\n\n\nc\n", Scope::kParagraph), (Texts{"a\nb", "c"}));
  EXPECT_EQ(UnitsOf("a\r\nb\r\n\r\nc", Scope::kParagraph), (Texts{"a\r\nb", "c"}));
  EXPECT_EQ(UnitsOf("a\n \nb", Scope::kParagraph), Texts{"a\n \nb"});
}

/// Calls `visit` with every text of up to `length` bytes of "a", carriage return and line feed.
void EveryText(int length, const std::function<void(const std::string&)>& visit,
               const std::string& text = "") {
  visit(text);
  if (length == 0) return;
  for (const char c : {'a', '\r', '\n'})
    EveryText(length - 1, visit, text + c);
}

TEST(UnitAround, IsTheUnitThatHoldsThePlace) {
  EveryText(8, [](const std::string& text) {
    for (const Scope scope : {Scope::kLine, Scope::kParagraph}) {
      std::size_t place = 0;
      for (Range unit; NextUnit(text, scope, place, unit);) {
        for (std::size_t i = unit.begin; i <= unit.end; ++i)
          ASSERT_EQ(UnitAround(text, scope, i), unit) << i << " " << ::testing::PrintToString(text);
      }
    }
  });
}

TEST(Cuts, TheUnitsOfTheTwoSidesAreThoseOfTheWhole) {
  EveryText(8, [](const std::string& text) {
    for (const Scope scope : {Scope::kLine, Scope::kParagraph}) {
      const Texts whole = UnitsOf(text, scope);
      const auto hold = [&](std::size_t cut) {
        Texts both = UnitsOf(text.substr(0, cut), scope);
        const Texts after = UnitsOf(text.substr(cut), scope);
        both.insert(both.end(), after.begin(), after.end());
        ASSERT_EQ(both, whole) << cut << " " << ::testing::PrintToString(text);
      };
      hold(LastCut(text, scope));
      for (std::size_t from = 0; from <= text.size(); ++from) {
        const std::size_t cut = FirstCut(text, scope, from);
        if (cut == std::string::npos) continue;
        ASSERT_GE(cut, from);
        hold(cut);
      }
    }
  });
}

TEST(Cuts, ThreeBytesBeforeTellWhetherAUnitBegins) {
  EveryText(9, [](const std::string& text) {
    for (const Scope scope : {Scope::kLine, Scope::kParagraph}) {
      for (std::size_t from = 3; from <= text.size(); ++from) {
        const std::size_t whole = FirstCut(text, scope, from);
        const std::size_t near = FirstCut(std::string_view(text).substr(from - 3), scope, 3);
        ASSERT_EQ(near == std::string::npos ? near : near + from - 3, whole)
            << from << " " << ::testing::PrintToString(text);
      }
    }
  });
}

TEST(CountLineFeeds, CountsAllOfThemAtAnyLength) {
  std::string text;
  for (std::int64_t i = 0; i < 20000; ++i) {
    if (i % 97 == 0) {
      ASSERT_EQ(CountLineFeeds(text), std::count(text.begin(), text.end(), '\n'));
    }
    text += i % 3 == 0 || i % 7 == 0 ? '\n' : 'x';
  }
  EXPECT_EQ(CountLineFeeds(std::string(100000, '\n')), 100000);
}

}  // namespace
}  // namespace trovex::cli
