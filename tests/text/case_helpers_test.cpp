// Letters and case, for every byte, in the default locale, in a UTF-8 locale and in a locale of the
// library's own code page.

#include "text/case_helpers.h"

#include "tests/host_locale.h"

#include <gtest/gtest.h>
#include <cctype>
#include <utility>

namespace trovex {
namespace {

using testing::BuiltHostLocale;
using testing::HostLocale;

constexpr std::pair<int, int> kUmlauts[] = {{196, 228}, {214, 246}, {220, 252}};  // upper, lower
constexpr int kSharpS = 223;

bool IsUpperAscii(int c) {
  return c >= 'A' && c <= 'Z';
}
bool IsLowerAscii(int c) {
  return c >= 'a' && c <= 'z';
}
bool IsUpperUmlaut(int c) {
  return c == 196 || c == 214 || c == 220;
}
bool IsLowerUmlaut(int c) {
  return c == 228 || c == 246 || c == 252;
}

/// What the helpers promise where the locale knows no letters beyond ASCII.
void ExpectAsciiAndUmlauts() {
  for (int c = 0; c <= 255; ++c) {
    const bool upper = IsUpperAscii(c) || IsUpperUmlaut(c);
    const bool lower = IsLowerAscii(c) || IsLowerUmlaut(c);
    EXPECT_EQ(ToUpperGer(c), lower ? c - 32 : c) << "byte " << c;
    EXPECT_EQ(ToLowerGer(c), upper ? c + 32 : c) << "byte " << c;
    EXPECT_EQ(IsUpperGer(c), upper) << "byte " << c;
    EXPECT_EQ(IsLowerGer(c), lower) << "byte " << c;
    EXPECT_EQ(IsLetterGer(c), upper || lower) << "byte " << c;
  }
}

void ExpectAsciiWordConstituents() {
  for (int c = 0; c <= 255; ++c) {
    const bool digit = c >= '0' && c <= '9';
    EXPECT_EQ(IsWordConstituent(c), IsUpperAscii(c) || IsLowerAscii(c) || digit || c == '_')
        << "byte " << c;
  }
}

TEST(CaseHelpers, KnowAsciiAndTheUmlautsInTheDefaultLocale) {
  ExpectAsciiAndUmlauts();
}

TEST(CaseHelpers, KnowAsciiAndTheUmlautsInAUtf8Locale) {
  const HostLocale locale("C.UTF-8");
  ASSERT_TRUE(locale.IsSet());
  ExpectAsciiAndUmlauts();
}

TEST(CaseHelpers, PairTheUmlauts) {
  for (const auto& [upper, lower] : kUmlauts) {
    EXPECT_EQ(ToUpperGer(lower), upper);
    EXPECT_EQ(ToUpperGer(upper), upper);
    EXPECT_EQ(ToLowerGer(upper), lower);
    EXPECT_EQ(ToLowerGer(lower), lower);
  }
}

TEST(CaseHelpers, TheSharpSHasNoPartnerAndNoCase) {
  EXPECT_EQ(ToUpperGer(kSharpS), kSharpS);
  EXPECT_EQ(ToLowerGer(kSharpS), kSharpS);
  EXPECT_FALSE(IsUpperGer(kSharpS));
  EXPECT_FALSE(IsLowerGer(kSharpS));
  EXPECT_FALSE(IsLetterGer(kSharpS));
}

TEST(CaseHelpers, FollowALocaleOfOneByteCharacters) {
  const BuiltHostLocale locale("de_DE", "ISO-8859-1");
  if (!locale.IsSet()) GTEST_SKIP() << "no locale sources on this machine";
  constexpr int kUpperE = 201;  // E with an acute accent
  constexpr int kLowerE = 233;
  EXPECT_EQ(ToUpperGer(kLowerE), kUpperE);
  EXPECT_EQ(ToLowerGer(kUpperE), kLowerE);
  EXPECT_TRUE(IsUpperGer(kUpperE));
  EXPECT_TRUE(IsLowerGer(kLowerE));
  EXPECT_TRUE(IsLetterGer(kSharpS));
  EXPECT_TRUE(IsLowerGer(kSharpS));
  EXPECT_EQ(ToUpperGer(kSharpS), kSharpS);
  for (int c = 0; c <= 255; ++c) {
    EXPECT_EQ(ToUpperGer(c), std::toupper(c)) << "byte " << c;
    EXPECT_EQ(ToLowerGer(c), std::tolower(c)) << "byte " << c;
    EXPECT_EQ(IsUpperGer(c), std::isupper(c) != 0) << "byte " << c;
    EXPECT_EQ(IsLowerGer(c), std::islower(c) != 0) << "byte " << c;
    EXPECT_EQ(IsLetterGer(c), std::isalpha(c) != 0) << "byte " << c;
  }
}

TEST(CaseHelpers, LeaveTheTurkishIToTheLocale) {
  const BuiltHostLocale locale("tr_TR", "UTF-8");
  if (!locale.IsSet()) GTEST_SKIP() << "no locale sources on this machine";
  EXPECT_EQ(ToUpperGer('i'), std::toupper('i'));
  EXPECT_EQ(ToLowerGer('I'), std::tolower('I'));
  EXPECT_TRUE(IsUpperGer('I'));
  EXPECT_TRUE(IsLowerGer('i'));
  EXPECT_EQ(ToUpperGer('a'), 'A');
  for (const auto& [upper, lower] : kUmlauts) {
    EXPECT_EQ(ToUpperGer(lower), upper);
    EXPECT_EQ(ToLowerGer(upper), lower);
  }
}

TEST(WordConstituents, AreTheAsciiLettersDigitsAndTheUnderscore) {
  ExpectAsciiWordConstituents();
}

TEST(WordConstituents, AreNoOthersInAUtf8Locale) {
  const HostLocale locale("C.UTF-8");
  ASSERT_TRUE(locale.IsSet());
  ExpectAsciiWordConstituents();
}

TEST(WordConstituents, AreNoOthersWhereTheLocaleKnowsMoreLetters) {
  const BuiltHostLocale locale("de_DE", "ISO-8859-1");
  if (!locale.IsSet()) GTEST_SKIP() << "no locale sources on this machine";
  ExpectAsciiWordConstituents();
}

}  // namespace
}  // namespace trovex
