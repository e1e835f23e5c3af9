#include "hosts/sqlite/sentences.h"

#include "hosts/sqlite/characters.h"

#include <algorithm>

namespace trovex::sqlite {
namespace {

/// No more of what was typed is shown, in bytes.
constexpr std::size_t kLongestQuote = 60;

bool IsContinuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

/// The beginning of `typed`, between quotation marks. What a terminal might obey, and a zero, at which the
/// message would end, are written in hexadecimal.
std::string Quoted(std::string_view typed) {
  std::size_t length = std::min(typed.size(), kLongestQuote);
  while (length < typed.size() && length > 0 && IsContinuation(typed[length]))
    --length;
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string quoted = "\"";
  for (const char character : typed.substr(0, length)) {
    const auto byte = static_cast<unsigned char>(character);
    if (byte >= 0x20 && byte != 0x7F) {
      quoted += character;
    } else {
      quoted.append("\\x").append(1, kDigits[byte >> 4U]).append(1, kDigits[byte & 15U]);
    }
  }
  if (length < typed.size()) quoted += "...";
  return quoted += '"';
}

}  // namespace

std::string SentenceFor(const Fault& fault, std::string_view expression) {
  CharacterCounter counter(expression);
  const std::size_t begin = counter.CountTo(fault.begin);
  const std::size_t end = counter.CountTo(fault.end);
  std::string sentence = fault.sentence;
  sentence.append(" (expression, character ").append(std::to_string(begin + 1));
  if (end > begin + 1) sentence.append(" to ").append(std::to_string(end));
  if (end > begin)
    sentence.append(": ").append(Quoted(expression.substr(fault.begin, fault.end - fault.begin)));
  return sentence += ')';
}

std::string SentenceFor(const UnknownOption& unknown) {
  return "There is no option " + Quoted(unknown.name) +
         "; the options are words, case, phonetic and variants.";
}

std::string SentenceForGivingUp(std::string_view text, std::size_t place) {
  const std::size_t character = CharacterCounter(text).CountTo(std::min(place, text.size()));
  return "The search gave up at character " + std::to_string(character + 1) +
         " of the text: this expression takes too long there.";
}

}  // namespace trovex::sqlite
