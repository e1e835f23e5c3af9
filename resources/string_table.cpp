// The sentences themselves, in the order of their numbers from 9800 on.

#include "resources/string_table.h"

#include <array>
#include <cstddef>

namespace trovex {

namespace {

constexpr unsigned kFirstNumber = 9800;

constexpr std::array<std::string_view, 25> kTexts = {
    "The text was not found.",
    "The regular expression is invalid.",
    "The search expression contains an invalid character.",
    "The search expression contains an invalid name for a character class.",
    "The search expression contains a single backslash \\, which isn't followed by a character.",
    "The search expression contains an invalid reference to a subexpression.",
    "The bracket [ or ] is missing in an enumeration.",
    "The closing bracket ) is missing in a subexpression.",
    "The bracket \\{ or \\} is missing in the repetition statement.",
    "The repetition statement is invalid.",
    "The end of the sentence is invalid.",
    "Memory overflow!",
    "The search expression starts with an invalid character.",
    "The search expression is incomplete.",
    "The search expression is too long.",
    "The opening bracket is missing in a subexpression.",
    "The repetition statement is invalid.",
    "The repetition statement is incomplete.",
    "The syntax is invalid.",
    "The search expression contains an empty subexpression.",
    "When a not operator (!) is used between two subexpressions, it must be preceded by an and "
    "operator (&).",
    "The operand after the not operator is missing.",
    "The left operand of an and operator (&) is missing.",
    "The right operand of an and operator is missing.",
    "The search expression must contain at least one character.",
};

}  // namespace

std::string_view StringTableText(MessageNumber number) {
  const auto value = static_cast<unsigned>(number);
  if (value < kFirstNumber || value - kFirstNumber >= kTexts.size()) return {};
  return kTexts[value - kFirstNumber];
}

}  // namespace trovex
