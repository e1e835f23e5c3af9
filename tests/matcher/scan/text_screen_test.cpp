// The screen against the trivial question whether one of the strings stands in the text.

#include "matcher/scan/text_screen.h"

#include "tests/dice.h"
#include "tests/matcher/scan/byte_blocks.h"
#include "tests/matcher/scan/scan_roads.h"
#include "tests/matcher/small_cases.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

namespace trovex {
namespace {

using testing::AllScanRoads;
using testing::AllStrings;
using testing::Block;
using testing::Dice;
using testing::OnScanRoad;
using testing::ScanRoad;
using testing::SetOf;

using Byte = unsigned char;
using String = std::vector<CharSet>;
using Strings = std::vector<String>;

bool Stands(const String& string, const std::string& text) {
  for (std::size_t place = 0; place + string.size() <= text.size(); ++place) {
    std::size_t i = 0;
    while (i < string.size() && string[i][static_cast<Byte>(text[place + i])])
      ++i;
    if (i == string.size()) return true;
  }
  return false;
}

bool AnyStands(const Strings& strings, const std::string& text) {
  return std::any_of(strings.begin(), strings.end(),
                     [&](const String& string) { return Stands(string, text); });
}

bool Refuses(const TextScreen& screen, const std::string& text) {
  const Block block(text);
  return screen.Refuses(block.begin(), block.end());
}

/// Strings of rare bytes, by which texts are screened.
std::vector<Strings> SomeStrings() {
  const CharSet x = SetOf("xX");
  const CharSet q = SetOf("q");
  const CharSet e = SetOf("e");
  return {{{x}}, {{q, x}}, {{e, e, q}}, {{q}, {x}}, {{e, x}, {q, e}}, {{SetOf("xq"), e, e, x}}};
}

TEST(TextScreen, RefusesTextsOfAnyLengthOnlyWhereNothingStands) {
  constexpr unsigned kSeed = 11;
  for (const ScanRoad& road : AllScanRoads()) {
    const OnScanRoad only(road);
    Dice dice(kSeed);
    for (const Strings& strings : SomeStrings()) {
      TextScreen screen(static_cast<std::ptrdiff_t>(strings.front().size()));
      screen.Consider(strings);
      ASSERT_TRUE(screen.IsOfUse());
      int refused = 0;
      for (int i = 0; i < 2'000; ++i) {
        std::string text = dice.Bytes("eeeeeeen", i % 260);
        if (!text.empty() && dice.OneIn(2)) {
          const int last = static_cast<int>(text.size()) - 1;
          text[static_cast<std::size_t>(dice.Between(0, last))] = dice.Byte("xXq");
        }
        const bool isRefused = Refuses(screen, text);
        refused += isRefused;
        ASSERT_FALSE(isRefused && AnyStands(strings, text)) << text << ", seed " << kSeed;
      }
      EXPECT_GT(refused, 500) << road.name;
    }
  }
}

TEST(TextScreen, RefusesAllSmallTextsThatLackTheRareByte) {
  TextScreen screen(2);
  screen.Consider({{SetOf("q"), SetOf("e")}});
  for (const std::string& text : AllStrings({"q", "e", "n"}, 5)) {
    const bool lacksIt = text.size() < 2 || text.find('q') == std::string::npos;
    ASSERT_TRUE(Refuses(screen, text) || !lacksIt) << text;
    ASSERT_FALSE(Refuses(screen, text) && text.find("qe") != std::string::npos) << text;
  }
}

/// Whether the string stands in the text with that beside it; beyond its edges line feeds are thought to stand.
bool StandsBeside(const String& string, const Beside& beside, const std::string& text) {
  const std::string lines = "\n" + text + "\n";
  for (std::size_t place = 1; place + string.size() < lines.size(); ++place) {
    const auto byteAt = [&](std::size_t at) { return static_cast<Byte>(lines[at]); };
    std::size_t i = 0;
    while (i < string.size() && string[i][byteAt(place + i)])
      ++i;
    const bool isWhole = i == string.size() && place + i < lines.size();
    if (isWhole && beside.before[byteAt(place - 1)] && beside.after[byteAt(place + i)]) return true;
  }
  return false;
}

TEST(TextScreen, RefusesTextsInWhichACommonStringDoesNotStandAlone) {
  const CharSet noLetter = ~SetOf("en");
  const std::vector<Beside> besides = {
      {noLetter, noLetter}, {~CharSet(), noLetter}, {noLetter, ~CharSet()}};
  for (const ScanRoad& road : AllScanRoads()) {
    const OnScanRoad only(road);
    for (const Beside& beside : besides) {
      for (const String& string : {String{SetOf("e")}, String{SetOf("eE"), SetOf("n")}}) {
        TextScreen screen(static_cast<std::ptrdiff_t>(string.size()));
        screen.ConsiderBeside(string, beside);
        int refused = 0;
        int standing = 0;
        for (const std::string& text : AllStrings({"e", "n", " "}, 7)) {
          const bool stands = StandsBeside(string, beside, text);
          const bool isRefused = Refuses(screen, text);
          ASSERT_FALSE(isRefused && stands) << text << ", " << road.name;
          // In the midst of a longer one.
          const std::string longer = std::string(40, ' ') + text + std::string(40, '.');
          ASSERT_FALSE(Refuses(screen, longer) && StandsBeside(string, beside, longer)) << longer;
          refused += isRefused && text.size() > 2;
          standing += stands;
        }
        EXPECT_GT(refused, 100) << road.name;
        EXPECT_GT(standing, 100);
      }
    }
  }
}

TEST(TextScreen, GoesByTheFirstByteWhereMatchesBeginAsLinesDo) {
  TextScreen screen;
  screen.ConsiderBeginsOfLines(SetOf("ab"));
  for (const std::string& text : AllStrings({"a", "b", "c", "\n"}, 4)) {
    const bool mayHold =
        text.empty() || text.find('\n') != std::string::npos || text[0] == 'a' || text[0] == 'b';
    ASSERT_EQ(Refuses(screen, text), !mayHold) << text;
  }
}

TEST(TextScreen, DoesNotGoByTheFirstByteWhereThatIsMostlyOneOfThem) {
  TextScreen screen;
  screen.ConsiderBeginsOfLines(SetOf("abcdefghijklmnopqrstuvwxyz "));
  EXPECT_FALSE(screen.IsOfUse());
}

TEST(TextScreen, DoesNotLookForWhatIsEverywhere) {
  TextScreen screen;
  screen.Consider({{SetOf("enr")}});
  EXPECT_FALSE(screen.IsOfUse());
  EXPECT_FALSE(Refuses(screen, "x"));
  screen.Consider({{SetOf("x")}});
  EXPECT_TRUE(screen.IsOfUse());
  const double rate = screen.Rate();
  screen.Consider({{SetOf("enr")}});
  EXPECT_EQ(screen.Rate(), rate);
}

}  // namespace
}  // namespace trovex
