// What can follow what in a match, read off a token stream.
//
// Evaluates the stream with a stack of operands. Of each operand it keeps whether it can match
// nothing, and the positions that a match of it can begin and end with. Anchors are positions here
// like bytes and sets: whoever asks takes them out in its own way.

#ifndef TROVEX_MATCHER_PATTERN_STREAM_ANALYSIS_H
#define TROVEX_MATCHER_PATTERN_STREAM_ANALYSIS_H


#include "matcher/pattern/tokens.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace trovex {

/// Indices of tokens in ascending order.
using IndexList = std::vector<std::uint32_t>;

class StreamAnalysis {
 public:
  /// Analyses `tokens`, a stream in postfix order that ends with the end marker of its last pattern.
  explicit StreamAnalysis(const std::vector<Token>& tokens);

  /// The positions that a match can begin with.
  const IndexList& First() const { return first_; }
  /// The positions that can follow the one at `index`.
  const IndexList& Follows(std::size_t index) const { return follows_[index]; }

 private:
  /// The positions of all operands lie in two shared lists: those of the topmost operand at the end,
  /// those of the operand below before them, and so on. Joining two operands is a change of their
  /// counts.
  struct Operand {
    bool nullable;
    std::size_t firstCount;
    std::size_t lastCount;
  };

  void Take(std::uint32_t index);
  void PushLeaf(std::uint32_t index);
  void Repeat();
  void Concatenate();
  void Alternate();
  void AddFollows(const Operand& operand, std::size_t skip, const Operand& next);

  const std::vector<Token>& tokens_;
  std::vector<IndexList> follows_;
  std::vector<Operand> stack_;
  IndexList first_;
  IndexList last_;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_PATTERN_STREAM_ANALYSIS_H
