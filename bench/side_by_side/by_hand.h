// An expression as a program without search trees would do it: both patterns searched by one of the
// peers, and a loop over the two lists of matches.

#ifndef TROVEX_BENCH_BY_HAND_H
#define TROVEX_BENCH_BY_HAND_H

#include "bench/side_by_side/engine.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace trovex::bench {

class ByHandEngine : public Engine {
 public:
  /// The meaning of the numbers is that of `ByHand` (rows.h).
  ByHandEngine(std::unique_ptr<Engine> left, std::unique_ptr<Engine> right, int nearBy,
               bool rightExcluded)
      : left_(std::move(left)),
        right_(std::move(right)),
        nearBy_(nearBy),
        rightExcluded_(rightExcluded) {}

  std::int64_t Count(const std::string& text) override {
    return static_cast<std::int64_t>(Matches(text).size());
  }
  std::vector<Range> Matches(const std::string& text) override;

 private:
  std::unique_ptr<Engine> left_;
  std::unique_ptr<Engine> right_;
  int nearBy_;
  bool rightExcluded_;
};

}  // namespace trovex::bench

#endif  // TROVEX_BENCH_BY_HAND_H
