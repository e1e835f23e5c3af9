#include "bench/side_by_side/contestants.h"

#include "bench/side_by_side/by_hand.h"

#include <utility>
#include <vector>

namespace trovex::bench {

std::unique_ptr<Engine> Contestant::Make(const Row& row) const {
  if (makeDoor != nullptr) return makeDoor(row);
  if (!row.IsByHand()) return makePeer(row.ForPeers());
  std::vector<std::unique_ptr<Engine>> operands;
  for (const std::string& operand : row.byHand.operands)
    operands.push_back(makePeer({.pattern = operand}));
  return std::make_unique<ByHandEngine>(std::move(operands), row.byHand.nearBy,
                                        row.byHand.lastExcluded);
}

std::span<const Contestant> Contestants() {
  static constexpr Contestant kContestants[] = {
      {"trovex.h", MakeTree, nullptr},
      {"query.h", MakeQuery, nullptr},
#ifdef TROVEX_BENCH_HYPERSCAN
      {"Hyperscan", nullptr, MakeHyperscan},
#endif
#ifdef TROVEX_BENCH_RE2
      {"RE2", nullptr, MakeRe2},
#endif
#ifdef TROVEX_BENCH_PCRE2
      {"PCRE2", nullptr, MakePcre2},
#endif
#ifdef TROVEX_BENCH_BOOST
      {"Boost", nullptr, MakeBoost},
#endif
  };
  return kContestants;
}

}  // namespace trovex::bench
