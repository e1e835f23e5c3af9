// An expression as a program without search trees would do it: its patterns searched one after the other
// by one of the peers, and a loop over their lists of matches.

#ifndef TROVEX_BENCH_BY_HAND_H
#define TROVEX_BENCH_BY_HAND_H

#include "bench/side_by_side/engine.h"

#include <memory>
#include <string_view>
#include <utility>
#include <vector>

namespace trovex::bench {

class ByHandEngine : public Engine {
 public:
  /// An engine for each operand, at least two. The meaning of the numbers is that of `ByHand` (rows.h).
  ByHandEngine(std::vector<std::unique_ptr<Engine>> operands, int nearBy, bool lastExcluded)
      : operands_(std::move(operands)), nearBy_(nearBy), lastExcluded_(lastExcluded) {}

  std::int64_t Count(std::string_view text) override {
    return static_cast<std::int64_t>(Matches(text).size());
  }
  std::vector<Range> Matches(std::string_view text) override;
  bool First(std::string_view text, Range& first) override;

 private:
  std::vector<std::unique_ptr<Engine>> operands_;
  int nearBy_;
  bool lastExcluded_;
};

}  // namespace trovex::bench

#endif  // TROVEX_BENCH_BY_HAND_H
