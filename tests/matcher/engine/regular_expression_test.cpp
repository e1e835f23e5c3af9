// The wrapper around the engine: its syntax, its errors as our numbers, its registers, and that it
// sees bytes and speaks no language whatever locale the host has set.

#include "matcher/engine/regular_expression.h"

#include "tests/heap_text.h"
#include "tests/host_locale.h"
#include "text/case_helpers.h"

#include <gtest/gtest.h>
#include <libintl.h>
#include <array>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace trovex {
namespace {

using testing::HeapText;
using testing::HostLocale;

MessageNumber ErrorOf(std::string_view pattern) {
  RegularExpression regex;
  const HeapText heap(pattern);
  return regex.Compile(heap.Data(), pattern.size(), nullptr);
}

/// The whole match as text, "(none)" where there is none.
std::string FirstMatch(std::string_view pattern, std::string_view line,
                       const ByteMap* translate = nullptr) {
  RegularExpression regex;
  EXPECT_EQ(regex.Compile(pattern.data(), pattern.size(), translate), MessageNumber::kNone)
      << pattern;
  const HeapText heap(line);
  MatchRegisters registers(true);
  const int start = regex.Search(heap.Data(), heap.Length(), 0, registers);
  if (start < 0) return "(none)";
  EXPECT_EQ(start, registers.Start(0));
  return std::string(line.substr(static_cast<std::size_t>(start),
                                 static_cast<std::size_t>(registers.End(0) - start)));
}

const ByteMap& UpperCase() {
  static const ByteMap map = [] {
    ByteMap upper{};
    for (std::size_t c = 0; c < upper.size(); ++c)
      upper[c] = static_cast<unsigned char>(ToUpperGer(static_cast<int>(c)));
    return upper;
  }();
  return map;
}

struct Fault {
  const char* pattern;
  MessageNumber error;
};

constexpr Fault kFaults[] = {
    {"[[.xx.]]", MessageNumber::kInvalidCharacter},
    {"[[=ab=]]", MessageNumber::kInvalidCharacter},
    {"a\\", MessageNumber::kTrailingBackslash},
    {"\\1", MessageNumber::kInvalidBackReference},
    {"(a)\\2", MessageNumber::kInvalidBackReference},
    {"[a", MessageNumber::kUnmatchedSquareBracket},
    {"[]", MessageNumber::kUnmatchedSquareBracket},
    {"[^]", MessageNumber::kUnmatchedSquareBracket},
    {"[a-", MessageNumber::kUnmatchedSquareBracket},
    {"[[.", MessageNumber::kUnmatchedSquareBracket},
    {"(a", MessageNumber::kMissingClosingBracket},
    {"((a)", MessageNumber::kMissingClosingBracket},
    {"a{1", MessageNumber::kUnmatchedBrace},
    {"a{1,", MessageNumber::kUnmatchedBrace},
    {"a{x", MessageNumber::kUnmatchedBrace},
    {"a{3,1}", MessageNumber::kInvalidRepetitionBounds},
    {"[a-[=b=]]", MessageNumber::kInvalidRangeEnd},
    {"[a-c-e]", MessageNumber::kInvalidRangeEnd},
    {"a{32768}", MessageNumber::kExpressionTooLong},
    {"a{1,40000}", MessageNumber::kExpressionTooLong},
    {"a)", MessageNumber::kMissingOpeningBracket},
    {")", MessageNumber::kMissingOpeningBracket},
    {"(*)", MessageNumber::kMissingOpeningBracket},
};

TEST(RegexErrors, EachFaultHasItsNumber) {
  for (const Fault& fault : kFaults) {
    EXPECT_EQ(ErrorOf(fault.pattern), fault.error) << fault.pattern;
  }
}

TEST(RegexErrors, AFaultyPatternIsNotCompiledAndHasNoGroups) {
  for (const Fault& fault : kFaults) {
    RegularExpression regex;
    ASSERT_NE(regex.Compile(fault.pattern, std::strlen(fault.pattern), nullptr),
              MessageNumber::kNone);
    EXPECT_FALSE(regex.IsCompiled()) << fault.pattern;
  }
}

TEST(RegexErrors, AreTheSameInAUtf8Locale) {
  const HostLocale locale("C.UTF-8");
  ASSERT_TRUE(locale.IsSet());
  for (const Fault& fault : kFaults) {
    EXPECT_EQ(ErrorOf(fault.pattern), fault.error) << fault.pattern;
  }
}

/// The host speaks German: a UTF-8 locale, and LANGUAGE=de for the sentences of the C library.
class GermanHost {
 public:
  GermanHost() : locale_("C.UTF-8") { setenv("LANGUAGE", "de", 1); }
  ~GermanHost() { unsetenv("LANGUAGE"); }
  GermanHost(const GermanHost&) = delete;
  GermanHost& operator=(const GermanHost&) = delete;

  /// Whether the machine has the German sentences.
  static bool Speaks() {
    return std::string(dgettext("libc", "Memory exhausted")) != "Memory exhausted";
  }

 private:
  HostLocale locale_;
};

TEST(RegexErrors, AreTheSameWhereTheEngineSpeaksGerman) {
  const GermanHost host;
  if (!GermanHost::Speaks()) GTEST_SKIP() << "no German sentences on this machine";
  for (const Fault& fault : kFaults) {
    EXPECT_EQ(ErrorOf(fault.pattern), fault.error) << fault.pattern;
  }
}

TEST(RegexErrors, TheHostsLanguageStaysSetAfterACompile) {
  const GermanHost host;
  if (!GermanHost::Speaks()) GTEST_SKIP() << "no German sentences on this machine";
  ASSERT_NE(ErrorOf("(a"), MessageNumber::kNone);
  EXPECT_TRUE(GermanHost::Speaks());
}

TEST(RegexSyntax, TheProcessKeepsItsOwnSyntaxWord) {
  const reg_syntax_t before = re_set_syntax(RE_SYNTAX_POSIX_BASIC);
  ASSERT_EQ(ErrorOf("(a)"), MessageNumber::kNone);
  ASSERT_NE(ErrorOf("(a"), MessageNumber::kNone);
  EXPECT_EQ(re_set_syntax(before), static_cast<reg_syntax_t>(RE_SYNTAX_POSIX_BASIC));
}

struct Reading {
  std::string_view pattern;
  std::string_view line;
  std::string_view match;
};

TEST(RegexSyntax, ReadsExtendedExpressions) {
  constexpr Reading kReadings[] = {
      {"a|b", "xb", "b"},
      {"(ab)+", "xababx", "abab"},
      {"a?b", "aab", "ab"},
      {"ab{2,3}", "abbbb", "abbb"},
      {"ab{2}", "abbbb", "abb"},
      {"a{,3}", "aaaa", "aaa"},
      {"a{,}", "aaaa", "aaaa"},
      {"a\nb", "xb", "b"},        // a line feed in the pattern separates alternatives
      {"(a|b)\\1", "abb", "bb"},  // a back-reference
      {"\\(a\\)", "(a)", "(a)"},  // a backslash makes an operator ordinary
      {"\\d", "5d", "d"},         // "\d" is no operator
      {"\\w+", "-a_1-", "a_1"},   // the underscore is a word byte here
      {"\\W", "a_ ", " "},
      {"\\bb", "ab b", "b"},
      {"\\<ab\\>", "cab ab", "ab"},
      {"*a", "*a", "a"},  // a star with nothing before it is dropped
      {"^*ab", "ab", "ab"},
      {"{1}", "1}", "1}"},  // a brace with nothing before it is ordinary
      {"a{0}b", "ab", "b"},
      {"()", "ab", ""},
      {"a||b", "cb", ""},
      {"ab|abc", "abcd", "abc"},  // leftmost, then longest
      {"b|abc|a", "xabc", "abc"},
      {"a.c", "abc", "abc"},
  };
  for (const Reading& reading : kReadings) {
    EXPECT_EQ(FirstMatch(reading.pattern, reading.line), reading.match) << reading.pattern;
  }
}

TEST(RegexSyntax, AnchorsAreAnchorsEverywhere) {
  EXPECT_EQ(FirstMatch("a^b", "a^b"), "(none)");
  EXPECT_EQ(FirstMatch("a$b", "a$b"), "(none)");
  EXPECT_EQ(FirstMatch("(^a)", "ba"), "(none)");
  EXPECT_EQ(FirstMatch("x|^a", "ab"), "a");
  EXPECT_EQ(FirstMatch("b$|x", "ab"), "b");
}

TEST(RegexSyntax, BracketExpressionsKnowNoClassNames) {
  EXPECT_EQ(FirstMatch("[[:alpha:]]", "a"), "(none)");
  EXPECT_EQ(FirstMatch("[[:alpha:]]", "xa]"), "a]");
  EXPECT_EQ(FirstMatch("[[:alpha:]]", "[]"), "[]");
  EXPECT_EQ(FirstMatch("[[:alpha:]]", ":]"), ":]");
}

TEST(RegexSyntax, ANegatedListNeverMatchesALineFeed) {
  EXPECT_EQ(FirstMatch("[^a]", "a\n"), "(none)");
  EXPECT_EQ(FirstMatch("[^a]", "a\nb"), "b");
}

TEST(RegexSyntax, ARangeThatRunsBackwardsIsEmpty) {
  EXPECT_EQ(FirstMatch("[b-a]", "ab"), "(none)");
}

TEST(RegexBytes, EveryByteIsACharacter) {
  for (const char* localeName : {"C", "C.UTF-8"}) {
    const HostLocale locale(localeName);
    ASSERT_TRUE(locale.IsSet());
    for (int c = 0; c <= 255; ++c) {
      if (c == '\n') continue;
      const std::string line(1, static_cast<char>(c));
      EXPECT_EQ(FirstMatch("^.$", line), line) << localeName << ", byte " << c;
      EXPECT_EQ(FirstMatch("^[^\n]$", line), line) << localeName << ", byte " << c;
    }
  }
}

TEST(RegexBytes, ACharacterOfAMultibyteLocaleIsItsBytes) {
  const HostLocale locale("C.UTF-8");
  ASSERT_TRUE(locale.IsSet());
  EXPECT_EQ(FirstMatch("^.", "\xC3\xA4"), "\xC3");
  EXPECT_EQ(FirstMatch("[\xE0-\xEF]", "x\xE4"), "\xE4");
}

TEST(RegexBytes, ZeroBytesAreOrdinary) {
  const std::string_view pattern("a\0b", 3);
  EXPECT_EQ(FirstMatch(pattern, std::string_view("xa\0b", 4)), pattern);
  EXPECT_EQ(FirstMatch("a.b", std::string_view("a\0b", 3)), pattern);
  EXPECT_EQ(FirstMatch("b", std::string_view("\0\0b", 3)), "b");
}

TEST(RegexTranslation, ComparesBytesAsTheTableSays) {
  EXPECT_EQ(FirstMatch("\xC4RGER", "x\xE4rger", &UpperCase()), "\xE4rger");
  EXPECT_EQ(FirstMatch("[a-c]+", "ABCabcd", &UpperCase()), "ABCabc");
  EXPECT_EQ(FirstMatch("stra\xDF"
                       "e",
                       "STRASSE", &UpperCase()),
            "(none)");
}

TEST(RegexTranslation, TranslatesThePatternsRangesToo) {
  EXPECT_EQ(FirstMatch("[A-z]", "_", &UpperCase()), "(none)");
  EXPECT_EQ(FirstMatch("[A-z]", "_"), "_");
}

TEST(RegexGroups, AreCountedAsWritten) {
  const std::pair<const char*, std::size_t> kCounts[] = {
      {"", 0}, {"a", 0}, {"(a)", 1}, {"((a)|(b))", 3}, {"\\(", 0}};
  for (const auto& [pattern, count] : kCounts) {
    RegularExpression regex;
    EXPECT_EQ(regex.GroupCount(), 0U);
    EXPECT_FALSE(regex.IsCompiled());
    ASSERT_EQ(regex.Compile(pattern, std::strlen(pattern), nullptr), MessageNumber::kNone);
    EXPECT_TRUE(regex.IsCompiled());
    EXPECT_EQ(regex.GroupCount(), count) << pattern;
  }
}

TEST(RegexGroups, AllRegistersGiveTheGroupsAndOneTheSameWholeMatch) {
  RegularExpression regex;
  ASSERT_EQ(regex.Compile("(a)|(b)(c)?", 11, nullptr), MessageNumber::kNone);
  MatchRegisters all(false);
  MatchRegisters whole(true);
  ASSERT_EQ(regex.Search("xbc", 3, 0, all), 1);
  ASSERT_EQ(regex.Search("xbc", 3, 0, whole), 1);
  EXPECT_EQ(all.Start(0), 1);
  EXPECT_EQ(all.End(0), 3);
  EXPECT_EQ(whole.Start(0), 1);
  EXPECT_EQ(whole.End(0), 3);
  EXPECT_EQ(all.Start(1), -1);
  EXPECT_EQ(all.End(1), -1);
  EXPECT_EQ(all.Start(2), 1);
  EXPECT_EQ(all.End(2), 2);
  EXPECT_EQ(all.Start(3), 2);
  EXPECT_EQ(all.End(3), 3);
}

TEST(RegexGroups, AGroupThatDoesNotExistTookNoPart) {
  RegularExpression regex;
  ASSERT_EQ(regex.Compile("(a)", 3, nullptr), MessageNumber::kNone);
  for (const bool wholeMatchOnly : {false, true}) {
    MatchRegisters registers(wholeMatchOnly);
    ASSERT_EQ(regex.Search("a", 1, 0, registers), 0);
    for (const int group : {2, 3, 4, 30, 1000000, 0x7FFFFFFF, -1, -0x7FFFFFFF - 1}) {
      EXPECT_EQ(registers.Start(group), -1) << group;
      EXPECT_EQ(registers.End(group), -1) << group;
    }
  }
}

TEST(RegexGroups, RegistersServeManyCalls) {
  RegularExpression regex;
  ASSERT_EQ(regex.Compile("(b+)(c*)", 8, nullptr), MessageNumber::kNone);
  const HeapText line("abbc bc b");
  for (const bool wholeMatchOnly : {false, true}) {
    MatchRegisters registers(wholeMatchOnly);
    EXPECT_EQ(regex.Search(line.Data(), line.Length(), 0, registers), 1);
    EXPECT_EQ(registers.End(0), 4);
    EXPECT_EQ(regex.Search(line.Data(), line.Length(), 4, registers), 5);
    EXPECT_EQ(registers.End(0), 7);
    EXPECT_EQ(regex.MatchWithin(line.Data(), 6, 5, registers), 1);
    EXPECT_EQ(registers.End(0), 6);
    EXPECT_EQ(regex.Search(line.Data(), line.Length(), 9, registers), -1);
  }
}

TEST(RegexSearch, MayStartAtTheEndOfTheLine) {
  RegularExpression regex;
  ASSERT_EQ(regex.Compile("x*$", 3, nullptr), MessageNumber::kNone);
  const HeapText line("ab");
  MatchRegisters registers(true);
  EXPECT_EQ(regex.Search(line.Data(), line.Length(), 2, registers), 2);
  EXPECT_EQ(registers.End(0), 2);
}

TEST(RegexSearch, SeesTheEndOfTheLineAndTheCutLineDoesNot) {
  RegularExpression regex;
  ASSERT_EQ(regex.Compile("a+$", 3, nullptr), MessageNumber::kNone);
  const HeapText line("aaa");
  MatchRegisters registers(true);
  EXPECT_EQ(regex.MatchWithin(line.Data(), 2, 0, registers), -1);
  EXPECT_EQ(regex.Search(line.Data(), line.Length(), 0, registers), 0);
  EXPECT_EQ(registers.End(0), 3);
}

TEST(RegexSearch, ALineStartIsTheStartOfTheLineOnly) {
  RegularExpression regex;
  ASSERT_EQ(regex.Compile("^a", 2, nullptr), MessageNumber::kNone);
  const HeapText line("aa");
  MatchRegisters registers(true);
  EXPECT_EQ(regex.Search(line.Data(), line.Length(), 0, registers), 0);
  EXPECT_EQ(regex.Search(line.Data(), line.Length(), 1, registers), -1);
}

TEST(RegexSearch, OneRegisterEndsWhereAllWouldRunForEver) {
  RegularExpression regex;
  ASSERT_EQ(regex.Compile("(c*|^a)+", 8, nullptr), MessageNumber::kNone);
  const HeapText line("bbac");
  MatchRegisters registers(true);
  EXPECT_EQ(regex.Search(line.Data(), line.Length(), 1, registers), 1);
  EXPECT_EQ(registers.End(0), 1);
}

}  // namespace
}  // namespace trovex
