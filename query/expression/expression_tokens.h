// An expression as tokens: what each character means by itself, before it is known which brackets
// group operands and which are pieces of a pattern.

#ifndef TROVEX_QUERY_EXPRESSION_EXPRESSION_TOKENS_H
#define TROVEX_QUERY_EXPRESSION_EXPRESSION_TOKENS_H

#include "query/expression/expression_text.h"
#include "query/query_parser.h"
#include "query/query_tree.h"
#include "text/char_set.h"

#include <cstddef>
#include <cstdint>
#include <variant>
#include <vector>

namespace trovex {

enum class TokenKind : unsigned char {
  kCharacter,      // `value`; `escaped` if a backslash made it ordinary
  kBlank,          // white space that was typed as it is; `value`
  kSet,            // "[...]", "." and "\w": `index` into `sets`
  kAnchor,         // `value`: an Anchor
  kBackReference,  // `value`: 1 to 9
  kRepetition,     // `index` into `repetitions`
  kOpen,           // `tag`; `index`: the token of the ")"
  kClose,          // `index`: the token of the "("
  kBar,
  kAnd,    // `index` into `links`; the token reaches to the end of the distance
  kNot,    // an operator or an ordinary character
  kTilde,  // likewise
};

struct Token {
  TokenKind kind = TokenKind::kCharacter;
  unsigned char value = 0;
  bool escaped = false;
  /// kOpen: the bracket stands alone in its term, if its own bracket is not a piece of a pattern.
  bool wholeTerm = false;
  /// kOpen: it holds nothing but patterns and "|", if it is not a piece of a pattern.
  bool onlyPatterns = false;
  /// kNot: it stands where an operand begins.
  bool beginsOperand = false;
  std::uint32_t index = 0;
  std::uint32_t tag = 0;
  /// As it was typed, in bytes.
  std::uint32_t begin = 0;
  std::uint32_t end = 0;

  bool Is(TokenKind k) const { return kind == k; }
  /// Whether this is a letter that was typed as itself.
  bool IsPlainLetter() const;
};

struct RepetitionBounds {
  int min = 0;
  int max = 0;  // kUnbounded
};

struct ExpressionTokens {
  std::vector<Token> tokens;
  std::vector<CharSet> sets;
  std::vector<RepetitionBounds> repetitions;
  std::vector<AndLink> links;
  int tagCount = 0;
  unsigned char substitute = 0x81;

  const Token& operator[](std::size_t index) const { return tokens[index]; }
  std::size_t Size() const { return tokens.size(); }
  /// What was typed from token `first` to token `last`.
  TypedRange RangeOf(std::size_t first, std::size_t last) const {
    return {tokens[first].begin, tokens[last].end};
  }
};

/// Reads all tokens; brackets are not yet matched.
std::variant<ExpressionTokens, QueryFault> ReadTokens(const ExpressionText& text,
                                                      bool caseSensitive);

}  // namespace trovex

#endif  // TROVEX_QUERY_EXPRESSION_EXPRESSION_TOKENS_H
