// What the tests of the automaton share: parsing a pattern under a syntax, and a readable form of
// the token stream and of the sets.

#ifndef TROVEX_TESTS_MATCHER_LINE_FILTER_AUTOMATON_TEXT_H
#define TROVEX_TESTS_MATCHER_LINE_FILTER_AUTOMATON_TEXT_H

#include "matcher/engine/regular_expression.h"
#include "matcher/line_filter/automaton_parser.h"
#include "matcher/line_filter/pattern_automaton.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace trovex::testing {

/// The fault of the pattern that was parsed or compiled last.
inline MessageNumber latestFault = MessageNumber::kNone;

/// The fault of the pattern that was parsed or compiled last, once.
inline MessageNumber TakeError() {
  return std::exchange(latestFault, MessageNumber::kNone);
}

/// Parses `pattern`; the caller takes the error.
inline PatternAutomaton Parsed(std::string_view pattern, unsigned long syntax = kPatternSyntax,
                               bool fold = false) {
  PatternAutomaton automaton;
  AutomatonSetSyntax(automaton, syntax, fold);
  AutomatonParse(pattern.data(), pattern.size(), automaton);
  latestFault = automaton.fault;
  return automaton;
}

inline std::string Numbered(const char* name, int number) {
  return std::string(name).append(std::to_string(number));
}

/// One token: a byte as itself, operators as they are written, "." for a concatenation, "e" for the
/// empty string, "S3" for set number 3, "END" and the number of the pattern.
inline std::string TokenText(Token token) {
  if (IsByteToken(token)) return std::string(1, static_cast<char>(token));
  if (IsSetToken(token)) return Numbered("S", token - TokFirstSet);
  switch (token) {
    case TokEmpty:
      return "e";
    case TokBackref:
      return "\\1";
    case TokLineStart:
      return "^";
    case TokLineEnd:
      return "$";
    case TokWordStart:
      return "\\<";
    case TokWordEnd:
      return "\\>";
    case TokWordEdge:
      return "\\b";
    case TokNotWordEdge:
      return "\\B";
    case TokOptional:
      return "?";
    case TokStar:
      return "*";
    case TokPlus:
      return "+";
    case TokConcat:
      return ".";
    case TokOr:
      return "|";
    case TokTopOr:
      return "||";
    default:
      return token < 0 ? Numbered("END", TokEnd - token) : Numbered("?", token);
  }
}

/// The token stream, the tokens separated by blanks.
inline std::string StreamText(const PatternAutomaton& automaton) {
  std::string text;
  for (const Token token : automaton.tokens) {
    if (!text.empty()) text += ' ';
    text += TokenText(token);
  }
  return text;
}

/// The bytes of `set` in ascending order.
inline std::string Members(const CharSet& set) {
  std::string members;
  for (std::size_t c = 0; c < set.size(); ++c) {
    if (set[c]) members += static_cast<char>(c);
  }
  return members;
}

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_MATCHER_LINE_FILTER_AUTOMATON_TEXT_H
