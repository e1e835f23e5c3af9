// The ranges of a pattern's groups in a match whose range is known, as POSIX wants them: of the ways to
// that match, earlier pieces take the longest; of alternatives that take the same range, the first
// counts; a group has the range of the last round in which it took part.
//
// There are two methods. Often a byte leaves only one way open, read from the front or from the back
// (single_way.h): then one pass over the match finds it. Otherwise the match is read once from its end to
// its start. At every place, the steps of the pattern (way_graph.h) from which a way leads to the end are
// kept, with the ends of the pieces that are open there, on the best of these ways; where two branches
// lead to the end, the better one is noted. Then the best way is followed from the start. The time is
// that of the match's length times the steps that are alive, however ambiguous the pattern.
//
// What was noted takes memory for a stretch of the match only: of a longer match the state at the end of
// every stretch is kept, and a stretch is read again when the way comes to it.

#ifndef TROVEX_MATCHER_GROUPS_GROUP_FINDER_H
#define TROVEX_MATCHER_GROUPS_GROUP_FINDER_H

#include "matcher/groups/single_way.h"
#include "matcher/groups/way_graph.h"
#include "matcher/pattern/pattern_syntax.h"
#include "matcher/search_outcome.h"
#include "text/byte_range.h"
#include "text/char_set.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace trovex {

/// What of the pattern's options decides its groups.
struct GroupOptions {
  /// The bytes of which words are made.
  CharSet wordBytes;
};

/// Immutable; any number of threads may use it, each with a work space of its own.
class GroupFinder {
 public:
  /// `tree` must have no back-references. Only its groups are known afterwards, not the tree itself.
  GroupFinder(const SyntaxTree& tree, const GroupOptions& options);

  /// What a search needs beside the text. It grows to what the pattern and the longest matches need;
  /// after that a search allocates nothing. One work space serves any number of finders in turn.
  class Workspace {
   public:
    /// What has been spent on matches since Begin, in units of about a nanosecond.
    std::uint64_t Used() const { return used_; }
    void Begin() { used_ = 0; }

   private:
    friend class GroupFinder;
    friend class GroupPass;

    std::vector<std::uint64_t> alive_;
    std::vector<std::uint64_t> aliveAfter_;
    std::vector<std::uint32_t> ends_;
    std::vector<std::uint32_t> endsAfter_;
    std::vector<std::uint64_t> choices_;
    std::vector<std::uint64_t> keptAlive_;
    std::vector<std::uint32_t> keptEnds_;
    std::vector<std::size_t> opened_;
    std::uint64_t used_ = 0;
  };

  /// Writes the ranges of the groups of `match`, a match of the pattern in `text` as a search found it,
  /// to `groups`: that of group g to groups[g - 1], nowhere if it took no part. kGaveUp if the pattern is
  /// so large that more than about 2 µs a byte of the match, and a millisecond or two, would be needed; kNotFound if it was seen that
  /// the pattern does not match that range; the groups mean nothing then.
  SearchOutcome Find(TextView text, const ByteRange& match, std::vector<ByteRange>& groups,
                     Workspace& work) const;

 private:
  friend class GroupPass;

  void LinkSteps();

  WayGraph graph_;
  GroupOptions options_;
  std::optional<SingleWay> single_;  // set if the pattern leaves only one way open
  // By step, from `firstX_[step]` to `firstX_[step + 1]`: the steps that lead to it.
  std::vector<std::uint32_t> byteSources_;
  std::vector<std::uint32_t> firstByteSource_;
  std::vector<std::uint32_t> freeSources_;
  std::vector<std::uint32_t> firstFreeSource_;
  std::vector<std::uint32_t> endsAt_;    // by step: where its pieces' ends stand in a row
  std::vector<std::uint32_t> choiceOf_;  // by step: the number of a split
  std::size_t endCount_ = 0;
  std::size_t splitCount_ = 0;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_GROUPS_GROUP_FINDER_H
