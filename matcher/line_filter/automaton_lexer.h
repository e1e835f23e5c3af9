// The lexer of the line filter's parser: reads a pattern byte by byte under a set of syntax bits and
// gives one token after the other.
//
// The syntax bits are the RE_... values of the regular-expression interface (regex.h). All of them
// that change how a pattern is cut into tokens are honoured; which bytes are operators, with or
// without a backslash, depends on nothing else.

#ifndef TROVEX_MATCHER_LINE_FILTER_AUTOMATON_LEXER_H
#define TROVEX_MATCHER_LINE_FILTER_AUTOMATON_LEXER_H

#include "matcher/line_filter/pattern_automaton.h"

#include <cstddef>

namespace trovex {

/// The bounds of an interval. A maximum of 0 means that there is none.
struct RepeatBounds {
  int min = 0;
  int max = 0;
};

/// Reads one pattern from its start to its end. A fault is noted in the automaton's record; the token is
/// then `TokEnd`.
class AutomatonLexer {
 public:
  /// Reads `length` bytes at `pattern` (a NUL is a byte like any other) under the syntax of
  /// `automaton`, which takes the character sets and whose
  /// budget is charged for them.
  AutomatonLexer(const char* pattern, std::size_t length, PatternAutomaton& automaton);

  /// The next token; `TokEnd` when no byte is left.
  Token NextToken();

  /// The bounds of the interval that was read as the latest `TokRepeat`.
  const RepeatBounds& Bounds() const { return bounds_; }

 private:
  bool Has(unsigned long bit) const { return (syntax_.bits & bit) != 0; }
  bool AtEnd() const { return next_ == end_; }
  unsigned char ReadByte() { return *next_++; }
  bool TryReadByte(unsigned char& c);
  bool ComesNext(unsigned char c, bool withBackslash) const;

  Token ReadToken();
  Token PlainToken(unsigned char c);
  Token BackslashedToken(unsigned char c);
  Token SharedOperator(unsigned char c, bool backslashed);

  bool IsLineEnd() const;
  bool IsLineStart() const;
  bool IsPostfixAllowed() const;
  Token OpenGroup();
  Token CloseGroup();
  Token Alternation();
  Token Interval();
  bool ReadBounds(unsigned char& c);
  bool ReadNumber(unsigned char& c, int& number);
  Token AnyByte();
  Token BracketSet();
  bool ReadMember(unsigned char& c);
  void AddFolded(CharSet& set, int first, int last) const;
  Token SetOf(const CharSet& set);
  Token OrdinaryByte(unsigned char c);
  Token Fail(MessageNumber fault);

  PatternAutomaton& automaton_;
  const AutomatonSyntax& syntax_;
  const unsigned char* next_;
  const unsigned char* end_;

  Token previous_ = TokEnd;  // the latest token that was no byte standing for itself
  bool atStart_ = true;      // a postfix operator would have no operand here
  int openGroups_ = 0;
  RepeatBounds bounds_;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_LINE_FILTER_AUTOMATON_LEXER_H
