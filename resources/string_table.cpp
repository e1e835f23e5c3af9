// The sentences themselves, in the order of their numbers: from 9800 on those of both doors, from 9850
// on those of the second one alone.

#include "resources/string_table.h"

#include <cstddef>
#include <iterator>

namespace trovex {

namespace {

constexpr unsigned kFirstNumber = 9800;
constexpr unsigned kFirstOfQueries = 9850;

struct Message {
  MessageNumber number;
  std::string_view text;
};

constexpr Message kMessages[] = {
    {MessageNumber::kTextNotFound, "The text was not found."},
    {MessageNumber::kInvalidRegularExpression, "The regular expression is invalid."},
    {MessageNumber::kInvalidCharacter, "The search expression contains an invalid character."},
    {MessageNumber::kInvalidClassName,
     "The search expression contains an invalid name for a character class."},
    {MessageNumber::kTrailingBackslash,
     "The search expression contains a single backslash \\, which isn't followed by a character."},
    {MessageNumber::kInvalidBackReference,
     "The search expression contains an invalid reference to a subexpression."},
    {MessageNumber::kUnmatchedSquareBracket, "The bracket [ or ] is missing in an enumeration."},
    {MessageNumber::kMissingClosingBracket, "The closing bracket ) is missing in a subexpression."},
    {MessageNumber::kUnmatchedBrace,
     "The bracket \\{ or \\} is missing in the repetition statement."},
    {MessageNumber::kInvalidRepetitionBounds, "The repetition statement is invalid."},
    {MessageNumber::kInvalidRangeEnd, "The end of the sentence is invalid."},
    {MessageNumber::kMemoryOverflow, "Memory overflow!"},
    {MessageNumber::kInvalidFirstCharacter,
     "The search expression starts with an invalid character."},
    {MessageNumber::kIncompleteExpression, "The search expression is incomplete."},
    {MessageNumber::kExpressionTooLong, "The search expression is too long."},
    {MessageNumber::kMissingOpeningBracket, "The opening bracket is missing in a subexpression."},
    {MessageNumber::kInvalidRepetition, "The repetition statement is invalid."},
    {MessageNumber::kIncompleteRepetition, "The repetition statement is incomplete."},
    {MessageNumber::kInvalidSyntax, "The syntax is invalid."},
    {MessageNumber::kEmptySubexpression, "The search expression contains an empty subexpression."},
    {MessageNumber::kNotWithoutAnd,
     "When a not operator (!) is used between two subexpressions, it must be preceded by an and "
     "operator (&)."},
    {MessageNumber::kMissingNotOperand, "The operand after the not operator is missing."},
    {MessageNumber::kMissingLeftAndOperand, "The left operand of an and operator (&) is missing."},
    {MessageNumber::kMissingRightAndOperand, "The right operand of an and operator is missing."},
    {MessageNumber::kNothingToCode, "The search expression must contain at least one character."},
};

constexpr Message kMessagesOfQueries[] = {
    {MessageNumber::kUnknownEscape, "A backslash \\ before this letter or digit has no meaning."},
    {MessageNumber::kMissingOperatorAfterBracket,
     "An operator (& or |) is missing behind the closing bracket ) of operands."},
    {MessageNumber::kMissingOperatorBeforeBracket,
     "An operator (& or |) is missing before the opening bracket ( of operands."},
    {MessageNumber::kRepeatedOperands, "A bracket that holds operands can't be repeated."},
    {MessageNumber::kInvalidSoundWord,
     "A word that is searched by its sound (~) must consist of letters only."},
    {MessageNumber::kBothOperandsNegated,
     "Of the two operands of a distance, only one may be negated (!)."},
    {MessageNumber::kOperandWithoutPlaces,
     "An operand of a distance must be something that can be found in a text."},
    {MessageNumber::kInvalidArgument,
     "An argument of the call is missing or has a value that does not exist."},
};

/// The numbers run from the first one on to the last without a gap, and every text is one that fits.
template <std::size_t N>
constexpr bool IsWellMade(const Message (&messages)[N], unsigned number, MessageNumber last) {
  for (const Message& message : messages) {
    if (static_cast<unsigned>(message.number) != number++) return false;
    if (message.text.empty() || message.text.size() > kLongestMessageText) return false;
  }
  return messages[N - 1].number == last;
}
static_assert(IsWellMade(kMessages, kFirstNumber, MessageNumber::kLast));
static_assert(IsWellMade(kMessagesOfQueries, kFirstOfQueries, MessageNumber::kLastOfQueries));

}  // namespace

std::string_view StringTableText(MessageNumber number) {
  const auto value = static_cast<unsigned>(number);
  if (value >= kFirstOfQueries && value - kFirstOfQueries < std::size(kMessagesOfQueries)) {
    return kMessagesOfQueries[value - kFirstOfQueries].text;
  }
  if (value < kFirstNumber || value - kFirstNumber >= std::size(kMessages)) return {};
  return kMessages[value - kFirstNumber].text;
}

}  // namespace trovex
