// Who takes part: the library, and those of its peers that were there when this was built.

#ifndef TROVEX_BENCH_CONTESTANTS_H
#define TROVEX_BENCH_CONTESTANTS_H

#include "bench/side_by_side/engine.h"
#include "bench/side_by_side/rows.h"

#include <memory>
#include <span>

namespace trovex::bench {

/// The library. Only the latest one made can search.
std::unique_ptr<Engine> MakeTrovex(const char* expression, Mode mode);

// The peers. Each throws std::runtime_error for a pattern that it cannot search.
std::unique_ptr<Engine> MakeHyperscan(const PeerPattern& pattern);
std::unique_ptr<Engine> MakeRe2(const PeerPattern& pattern);
std::unique_ptr<Engine> MakePcre2(const PeerPattern& pattern);
std::unique_ptr<Engine> MakeBoost(const PeerPattern& pattern);

struct Contestant {
  const char* name;
  /// Null for the library.
  std::unique_ptr<Engine> (*makePeer)(const PeerPattern&);

  bool CanSearch(const Row& row) const { return makePeer == nullptr || row.HasPeers(); }
  /// Compiles the search of `row`.
  std::unique_ptr<Engine> Make(const Row& row) const;
};

/// The columns of the table; the library is the first.
std::span<const Contestant> Contestants();

}  // namespace trovex::bench

#endif  // TROVEX_BENCH_CONTESTANTS_H
