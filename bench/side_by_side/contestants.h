// Who takes part: the two doors of the library, and those of its peers that were there when this was
// built.

#ifndef TROVEX_BENCH_CONTESTANTS_H
#define TROVEX_BENCH_CONTESTANTS_H

#include "bench/side_by_side/engine.h"
#include "bench/side_by_side/rows.h"

#include <cstddef>
#include <memory>
#include <span>

namespace trovex::bench {

/// The library through trovex.h. Only the latest one made can search.
std::unique_ptr<Engine> MakeTree(const Row& row);
/// The library through query.h.
std::unique_ptr<Engine> MakeQuery(const Row& row);

// The peers. Each throws std::runtime_error for a pattern that it cannot search.
std::unique_ptr<Engine> MakeHyperscan(const PeerPattern& pattern);
std::unique_ptr<Engine> MakeRe2(const PeerPattern& pattern);
std::unique_ptr<Engine> MakePcre2(const PeerPattern& pattern);
std::unique_ptr<Engine> MakeBoost(const PeerPattern& pattern);

struct Contestant {
  const char* name;
  /// Of the two, one is set.
  std::unique_ptr<Engine> (*makeDoor)(const Row&);
  std::unique_ptr<Engine> (*makePeer)(const PeerPattern&);

  bool CanSearch(const Row& row) const { return makeDoor != nullptr || row.HasPeer(name); }
  /// Compiles the search of `row`.
  std::unique_ptr<Engine> Make(const Row& row) const;
};

/// How many of them, the first ones, are doors of the library.
inline constexpr std::size_t kDoors = 2;

/// The columns of the table.
std::span<const Contestant> Contestants();

}  // namespace trovex::bench

#endif  // TROVEX_BENCH_CONTESTANTS_H
