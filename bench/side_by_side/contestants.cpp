#include "bench/side_by_side/contestants.h"

#include "bench/side_by_side/by_hand.h"

namespace trovex::bench {

std::unique_ptr<Engine> Contestant::Make(const Row& row) const {
  if (makePeer == nullptr) return MakeTrovex(row.expression, row.mode);
  if (row.byHand) {
    return std::make_unique<ByHandEngine>(makePeer(row.byHand->left), makePeer(row.byHand->right),
                                          row.byHand->nearBy, row.byHand->rightExcluded);
  }
  const char* pattern = row.peerPattern != nullptr ? row.peerPattern : row.expression;
  return makePeer({.pattern = pattern, .foldCase = row.mode == Mode::kFolded});
}

std::span<const Contestant> Contestants() {
  static constexpr Contestant kContestants[] = {
      {"Trovex", nullptr},
#ifdef TROVEX_BENCH_HYPERSCAN
      {"Hyperscan", MakeHyperscan},
#endif
#ifdef TROVEX_BENCH_RE2
      {"RE2", MakeRe2},
#endif
#ifdef TROVEX_BENCH_PCRE2
      {"PCRE2", MakePcre2},
#endif
#ifdef TROVEX_BENCH_BOOST
      {"Boost", MakeBoost},
#endif
  };
  return kContestants;
}

}  // namespace trovex::bench
