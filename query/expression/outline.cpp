// One pass over the tokens with a stack of the brackets that are open.

#include "query/expression/outline.h"

#include <cstddef>
#include <vector>

namespace trovex {

namespace {

/// The inside of a bracket, or the whole expression, as far as it has been read.
struct Level {
  std::size_t open = 0;      // its "("
  int negations = 0;         // "!" before the operand that is being read
  bool atOperand = true;     // nothing of the operand but "!" has been read
  bool onlyPatterns = true;  // so far
  // The term that is being read.
  std::size_t items = 0;  // tokens, a bracket with all that is in it counting as one
  std::size_t firstItem = 0;
  std::size_t lastItem = 0;
  bool isWord = true;  // letters only
};

class Outline {
 public:
  Outline(ExpressionTokens& tokens, bool phonetic) : tokens_(tokens.tokens), phonetic_(phonetic) {}

  std::optional<QueryFault> Draw() {
    levels_.emplace_back();
    for (std::size_t i = 0; i < tokens_.size(); ++i) {
      if (const MessageNumber fault = Take(i); fault != MessageNumber::kNone) {
        return QueryFault{fault, {tokens_[i].begin, tokens_[i].end}};
      }
    }
    EndTerm();
    if (levels_.size() == 1) return std::nullopt;
    const Token& open = tokens_[levels_.back().open];
    return QueryFault{MessageNumber::kMissingClosingBracket, {open.begin, open.end}};
  }

 private:
  MessageNumber Take(std::size_t i) {
    Token& token = tokens_[i];
    Level& level = levels_.back();
    switch (token.kind) {
      case TokenKind::kBlank:
        return MessageNumber::kNone;
      case TokenKind::kNot:
        if (!level.atOperand) break;
        token.beginsOperand = true;
        level.onlyPatterns = false;
        ++level.negations;
        return Deeper();
      case TokenKind::kAnd:
        EndTerm();
        EndOperand();
        level.onlyPatterns = false;
        return MessageNumber::kNone;
      case TokenKind::kBar:
        EndTerm();
        level.atOperand = false;
        return MessageNumber::kNone;
      case TokenKind::kOpen:
        levels_.emplace_back().open = i;
        return Deeper();
      case TokenKind::kClose:
        if (levels_.size() == 1) return MessageNumber::kMissingOpeningBracket;
        Close(i);
        return MessageNumber::kNone;
      default:
        break;
    }
    AddItem(i, i);
    return MessageNumber::kNone;
  }

  MessageNumber Deeper() {
    ++depth_;
    return depth_ > kMaxQueryNesting ? MessageNumber::kExpressionTooLong : MessageNumber::kNone;
  }

  void Close(std::size_t close) {
    EndTerm();
    EndOperand();
    --depth_;
    const std::size_t open = levels_.back().open;
    tokens_[open].index = static_cast<std::uint32_t>(close);
    tokens_[open].onlyPatterns = levels_.back().onlyPatterns;
    tokens_[close].index = static_cast<std::uint32_t>(open);
    levels_.pop_back();
    AddItem(open, close);
  }

  void AddItem(std::size_t first, std::size_t last) {
    Level& level = levels_.back();
    level.atOperand = false;
    if (level.items == 0) level.firstItem = first;
    const bool adjoins = level.items == 0 || level.lastItem + 1 == first;
    level.isWord = level.isWord && adjoins && tokens_[first].IsPlainLetter();
    level.lastItem = last;
    ++level.items;
  }

  void EndTerm() {
    Level& level = levels_.back();
    if (level.items > 0) {
      Token& first = tokens_[level.firstItem];
      if (level.items == 1 && first.Is(TokenKind::kOpen)) {
        first.wholeTerm = true;
        if (!first.onlyPatterns) level.onlyPatterns = false;
      }
      const bool sound = first.Is(TokenKind::kTilde) && level.items > 1 &&
                         tokens_[level.firstItem + 1].IsPlainLetter();
      if (sound || (phonetic_ && level.isWord)) level.onlyPatterns = false;
    }
    level.items = 0;
    level.isWord = true;
  }

  void EndOperand() {
    Level& level = levels_.back();
    depth_ -= level.negations;
    level.negations = 0;
    level.atOperand = true;
  }

  std::vector<Token>& tokens_;
  bool phonetic_;
  std::vector<Level> levels_;
  int depth_ = 0;
};

}  // namespace

std::optional<QueryFault> DrawOutline(ExpressionTokens& tokens, bool phonetic) {
  return Outline(tokens, phonetic).Draw();
}

}  // namespace trovex
