// The string table: every sentence that the library can say to its host's user.
//
// The sentences are English; a host that files resources by language finds them under German
// (Germany), 1031, the module's only language. They are quoted by their numbers everywhere else, so
// this is the one place where a text stands.

#ifndef TROVEX_RESOURCES_STRING_TABLE_H
#define TROVEX_RESOURCES_STRING_TABLE_H

#include <cstddef>
#include <string_view>

namespace trovex {

/// The language that the string table is filed under: German (Germany).
inline constexpr int kStringTableLanguage = 1031;

/// The numbers of the message texts. The first sixteen stand in the order of the error codes of the
/// regular-expression engine, 1 to 16.
enum class MessageNumber : unsigned {
  kNone = 0,
  kTextNotFound = 9800,
  kInvalidRegularExpression = 9801,
  kInvalidCharacter = 9802,
  kInvalidClassName = 9803,
  kTrailingBackslash = 9804,
  kInvalidBackReference = 9805,
  kUnmatchedSquareBracket = 9806,
  kMissingClosingBracket = 9807,
  kUnmatchedBrace = 9808,
  kInvalidRepetitionBounds = 9809,
  kInvalidRangeEnd = 9810,
  kMemoryOverflow = 9811,
  kInvalidFirstCharacter = 9812,
  kIncompleteExpression = 9813,
  kExpressionTooLong = 9814,
  kMissingOpeningBracket = 9815,
  kInvalidRepetition = 9816,
  kIncompleteRepetition = 9817,
  kInvalidSyntax = 9818,
  kEmptySubexpression = 9819,
  kNotWithoutAnd = 9820,
  kMissingNotOperand = 9821,
  kMissingLeftAndOperand = 9822,
  kMissingRightAndOperand = 9823,
  kNothingToCode = 9824,
  kLast = kNothingToCode,
  // What only the second door says.
  kUnknownEscape = 9850,
  kMissingOperatorAfterBracket = 9851,
  kMissingOperatorBeforeBracket = 9852,
  kRepeatedOperands = 9853,
  kInvalidSoundWord = 9854,
  kBothOperandsNegated = 9855,
  kOperandWithoutPlaces = 9856,
  kInvalidArgument = 9857,
  kLastOfQueries = kInvalidArgument,
};

/// No text of the table is longer, in bytes.
inline constexpr std::size_t kLongestMessageText = 127;

/// The text of message `number`; empty when the table has none. Followed by a zero byte.
std::string_view StringTableText(MessageNumber number);

}  // namespace trovex

#endif  // TROVEX_RESOURCES_STRING_TABLE_H
