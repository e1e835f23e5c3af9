// Patterns such as "([a-z]+)\1" and "([a-z]{2,5})\1": bytes of one set, and the same again.
//
// Many ways are open there, and the text decides between them fast: bytes of the set stand in runs, and of a
// place in a run it is asked at which distances the bytes from there on stand again, the greatest first. In a
// long run that is found out for all distances together (Z-algorithm: Gusfield, "Algorithms on Strings, Trees,
// and Sequences", 1997), in time proportional to the run.

#ifndef TROVEX_MATCHER_GROUPS_DOUBLED_RUN_H
#define TROVEX_MATCHER_GROUPS_DOUBLED_RUN_H

#include "matcher/pattern/pattern_syntax.h"
#include "text/byte_map.h"
#include "text/byte_range.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace trovex {

class DoubledRun {
 public:
  /// Nothing if `tree` is no such pattern, or what bytes are compared as leads out of the set.
  static std::optional<DoubledRun> Make(const SyntaxTree& tree, const ByteMap& comparedAs);

  /// The first place from `from` to `lastStart` at which a match starts, or kNowhere. Writes half of the length
  /// of the longest to `half`. Adds what was looked at to `used`, in units of about 10 ns, and stops where that
  /// is more than `most`: at the place that it returns nothing is known, and `half` is 0. `same` is work space.
  std::size_t Next(TextView text, std::size_t from, std::size_t lastStart, std::size_t& half,
                   std::uint64_t& used, std::uint64_t most, std::vector<std::size_t>& same) const;

 private:
  std::size_t HalfAt(const unsigned char* place, std::size_t run, std::size_t& looked) const;
  std::size_t HalfAtLongRun(const unsigned char* place, std::size_t run,
                            std::vector<std::size_t>& same) const;

  std::array<bool, 256> members_{};
  ByteMap comparedAs_{};
  std::size_t shortest_ = 1;
  std::size_t longest_ = kNowhere;  // of a half
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_GROUPS_DOUBLED_RUN_H
