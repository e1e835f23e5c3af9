// The sentences, their numbers, the one buffer that they are loaded into, and the way from the
// engine's error codes to them.

#include "api/messages.h"

#include "matcher/engine/regular_expression.h"

#include <gtest/gtest.h>
#include <array>
#include <string>

namespace trovex {
namespace {

constexpr unsigned kFirstNumber = 9800;

constexpr std::array<const char*, 25> kSentences = {
    /* 9800 */ "The text was not found.",
    /* 9801 */ "The regular expression is invalid.",
    /* 9802 */ "The search expression contains an invalid character.",
    /* 9803 */ "The search expression contains an invalid name for a character class.",
    /* 9804 */
    R"(The search expression contains a single backslash \, which isn't followed by a )"
    "character.",
    /* 9805 */ "The search expression contains an invalid reference to a subexpression.",
    /* 9806 */ "The bracket [ or ] is missing in an enumeration.",
    /* 9807 */ "The closing bracket ) is missing in a subexpression.",
    /* 9808 */ R"(The bracket \{ or \} is missing in the repetition statement.)",
    /* 9809 */ "The repetition statement is invalid.",
    /* 9810 */ "The end of the sentence is invalid.",
    /* 9811 */ "Memory overflow!",
    /* 9812 */ "The search expression starts with an invalid character.",
    /* 9813 */ "The search expression is incomplete.",
    /* 9814 */ "The search expression is too long.",
    /* 9815 */ "The opening bracket is missing in a subexpression.",
    /* 9816 */ "The repetition statement is invalid.",
    /* 9817 */ "The repetition statement is incomplete.",
    /* 9818 */ "The syntax is invalid.",
    /* 9819 */ "The search expression contains an empty subexpression.",
    /* 9820 */
    "When a not operator (!) is used between two subexpressions, it must be preceded by "
    "an and operator (&).",
    /* 9821 */ "The operand after the not operator is missing.",
    /* 9822 */ "The left operand of an and operator (&) is missing.",
    /* 9823 */ "The right operand of an and operator is missing.",
    /* 9824 */ "The search expression must contain at least one character.",
};

MessageNumber Number(unsigned value) {
  return static_cast<MessageNumber>(value);
}

TEST(Messages, EveryNumberHasItsSentence) {
  for (unsigned i = 0; i < kSentences.size(); ++i) {
    EXPECT_STREQ(LoadMessageText(Number(kFirstNumber + i)), kSentences[i])
        << "number " << kFirstNumber + i;
  }
}

TEST(Messages, TheTableHoldsTheSentencesThatAreLoaded) {
  for (unsigned i = 0; i < kSentences.size(); ++i) {
    EXPECT_EQ(StringTableText(Number(kFirstNumber + i)), kSentences[i]);
  }
}

TEST(Messages, TheSecondDoorsOwnSentencesStandFrom9850On) {
  constexpr std::array<const char*, 8> kSentencesOfQueries = {
      /* 9850 */ "A backslash \\ before this letter or digit has no meaning.",
      /* 9851 */ "An operator (& or |) is missing behind the closing bracket ) of operands.",
      /* 9852 */ "An operator (& or |) is missing before the opening bracket ( of operands.",
      /* 9853 */ "A bracket that holds operands can't be repeated.",
      /* 9854 */ "A word that is searched by its sound (~) must consist of letters only.",
      /* 9855 */ "Of the two operands of a distance, only one may be negated (!).",
      /* 9856 */ "An operand of a distance must be something that can be found in a text.",
      /* 9857 */ "An argument of the call is missing or has a value that does not exist."};
  for (unsigned i = 0; i < kSentencesOfQueries.size(); ++i) {
    EXPECT_EQ(StringTableText(Number(9850 + i)), kSentencesOfQueries[i]);
  }
}

TEST(Messages, TheTableIsFiledUnderGerman) {
  EXPECT_EQ(kStringTableLanguage, 1031);
}

TEST(Messages, ANumberBesideTheTableHasNoSentence) {
  for (const unsigned number : {0U, 1U, 9799U, 9825U, 9849U, 9858U, 0xFFFFFFFFU}) {
    EXPECT_TRUE(StringTableText(Number(number)).empty()) << "number " << number;
    EXPECT_STREQ(LoadMessageText(Number(number)), "") << "number " << number;
  }
}

TEST(Messages, EveryTextIsLoadedIntoTheSameBuffer) {
  const char* buffer = LoadMessageText(MessageNumber::kTextNotFound);
  for (unsigned i = 0; i < kSentences.size(); ++i) {
    ASSERT_EQ(LoadMessageText(Number(kFirstNumber + i)), buffer);
    EXPECT_STREQ(buffer, kSentences[i]);
  }
}

TEST(Messages, AShortTextLeavesNothingOfALongOneBehind) {
  const std::string longText = LoadMessageText(MessageNumber::kNotWithoutAnd);
  ASSERT_GT(longText.size(), std::string("Memory overflow!").size());
  EXPECT_STREQ(LoadMessageText(MessageNumber::kMemoryOverflow), "Memory overflow!");
}

TEST(Messages, TwoNumbersShareTheSentenceOnAnInvalidRepetition) {
  EXPECT_EQ(StringTableText(MessageNumber::kInvalidRepetitionBounds),
            StringTableText(MessageNumber::kInvalidRepetition));
  EXPECT_NE(MessageNumber::kInvalidRepetitionBounds, MessageNumber::kInvalidRepetition);
}

TEST(Messages, NoErrorIsANullText) {
  EXPECT_EQ(MessageTextOrNull(MessageNumber::kNone), nullptr);
  EXPECT_STREQ(MessageTextOrNull(MessageNumber::kTextNotFound), "The text was not found.");
}

TEST(Messages, NoErrorLeavesTheBufferAsItIs) {
  const char* text = LoadMessageText(MessageNumber::kInvalidSyntax);
  EXPECT_EQ(MessageTextOrNull(MessageNumber::kNone), nullptr);
  EXPECT_STREQ(text, "The syntax is invalid.");
}

TEST(RegexErrorCodes, TheSixteenCodesAreTheFirstSixteenSentences) {
  for (int code = 1; code <= 16; ++code) {
    EXPECT_STREQ(MessageTextOrNull(MessageForRegexError(code)),
                 kSentences.at(static_cast<std::size_t>(code - 1)))
        << "code " << code;
  }
}

TEST(RegexErrorCodes, EveryOtherCodeIsSuccess) {
  for (const int code : {0, 17, -1, 18, 9800, 0x7FFFFFFF, -0x7FFFFFFF - 1}) {
    EXPECT_EQ(MessageTextOrNull(MessageForRegexError(code)), nullptr) << "code " << code;
  }
}

}  // namespace
}  // namespace trovex
