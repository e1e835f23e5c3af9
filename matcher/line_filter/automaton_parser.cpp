// The recursive descent over the grammar, and the token stream that it writes.

#include "matcher/line_filter/automaton_parser.h"

#include <algorithm>

namespace trovex {

namespace {

/// One parse. Every `Parse...` function leaves the first token that it does not understand in
/// `token_`.
class PatternParser {
 public:
  PatternParser(const char* pattern, std::size_t length, PatternAutomaton& automaton)
      : automaton_(automaton), lexer_(pattern, length, automaton), stackDepth_(automaton.depth) {}

  void ParsePattern();

 private:
  void ParseAlternation(Token operation);
  void ParseConcatenation();
  void ParseClosure();
  void ParseAtom();
  void ParseGroup();
  void ExpandInterval();
  void CopyTokens(std::size_t start, std::size_t count);
  void AppendToken(Token token);
  void Advance() { token_ = lexer_.NextToken(); }

  PatternAutomaton& automaton_;
  AutomatonLexer lexer_;
  Token token_ = TokEnd;
  int stackDepth_;  // of a stack that evaluates the stream as it is so far
};

void PatternParser::ParsePattern() {
  Advance();
  ParseAlternation(TokTopOr);
  if (token_ != TokEnd) {
    automaton_.fault = MessageNumber::kMissingOpeningBracket;
    return;
  }
  AppendToken(EndMarker(automaton_.patterns));
  AppendToken(TokConcat);
  if (automaton_.patterns > 0) AppendToken(TokTopOr);
  ++automaton_.patterns;
}

/// Parses alternatives and joins them by `operation`, `TokTopOr` outside of groups and `TokOr`
/// inside.
void PatternParser::ParseAlternation(Token operation) {
  ParseConcatenation();
  while (token_ == TokOr) {
    Advance();
    ParseConcatenation();
    AppendToken(operation);
  }
}

void PatternParser::ParseConcatenation() {
  ParseClosure();
  while (token_ != TokCloseGroup && token_ != TokOr && token_ != TokEnd) {
    ParseClosure();
    AppendToken(TokConcat);
  }
}

void PatternParser::ParseClosure() {
  ParseAtom();
  for (;; Advance()) {
    if (IsPostfixToken(token_)) {
      AppendToken(token_);
    } else if (token_ == TokRepeat) {
      ExpandInterval();
    } else {
      return;
    }
  }
}

void PatternParser::ParseAtom() {
  if (IsByteToken(token_) || IsSetToken(token_) || IsAnchorToken(token_) || token_ == TokBackref) {
    AppendToken(token_);
    Advance();
  } else if (token_ == TokOpenGroup) {
    ParseGroup();
  } else {
    AppendToken(TokEmpty);
  }
}

void PatternParser::ParseGroup() {
  Advance();
  ParseAlternation(TokOr);
  if (token_ != TokCloseGroup) {
    automaton_.fault = MessageNumber::kMissingClosingBracket;
    return;
  }
  Advance();
}

/// Writes an interval out over the operand x, which was just parsed.
///
///   {m}, {m,n}   m times x, then x? up to n:   x{2,4} is  x x x? x?
///   {0,n}        x? instead of the first x:    x{0,2} is  x? x?
///   {m,}         x+ instead of the first x:    x{2,}  is  x+ x
///   {0,}         both together:                x+?, which is x*
///
/// A maximum of 0 stands for none, so x{0} and x{0,0} are x* too. A maximum below the minimum is
/// exceeded: x{3,1} is x x x.
void PatternParser::ExpandInterval() {
  const RepeatBounds bounds = lexer_.Bounds();
  const std::size_t count = SubexpressionLength(automaton_, automaton_.tokens.size());
  const std::size_t start = automaton_.tokens.size() - count;
  if (bounds.max == 0) AppendToken(TokPlus);
  if (bounds.min == 0) AppendToken(TokOptional);
  int copies = 1;
  for (; copies < bounds.min; ++copies) {
    CopyTokens(start, count);
    AppendToken(TokConcat);
  }
  for (; copies < bounds.max; ++copies) {
    CopyTokens(start, count);
    AppendToken(TokOptional);
    AppendToken(TokConcat);
  }
}

void PatternParser::CopyTokens(std::size_t start, std::size_t count) {
  for (std::size_t i = start; i < start + count; ++i)
    AppendToken(automaton_.tokens[i]);
}

void PatternParser::AppendToken(Token token) {
  automaton_.tokens.push_back(token);
  if (IsPostfixToken(token)) return;
  if (IsBinaryToken(token)) {
    --stackDepth_;
    return;
  }
  if (token != TokEmpty) ++automaton_.leaves;
  ++stackDepth_;
  automaton_.depth = std::max(automaton_.depth, stackDepth_);
}

}  // namespace

void AutomatonSetSyntax(PatternAutomaton& automaton, unsigned long bits, bool fold) {
  automaton.syntax = {.bits = bits, .fold = fold, .wasSet = true};
}

void AutomatonParse(const char* pattern, std::size_t length, PatternAutomaton& automaton) {
  if (!automaton.syntax.wasSet) {
    automaton.fault = MessageNumber::kInvalidSyntax;
    return;
  }
  PatternParser(pattern, length, automaton).ParsePattern();
}

std::size_t SubexpressionLength(const PatternAutomaton& automaton, std::size_t end) {
  std::size_t start = end;
  std::size_t missing = 1;  // operands still to be walked over, from right to left
  while (missing > 0) {
    const Token token = automaton.tokens[--start];
    if (IsBinaryToken(token)) {
      ++missing;
    } else if (!IsPostfixToken(token)) {
      --missing;
    }
  }
  return end - start;
}

}  // namespace trovex
