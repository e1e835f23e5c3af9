// What every contestant of the side-by-side benchmark offers: all matches of one search in one text,
// counted, or counted with their places.
//
// Counting is what is measured. The places are for the check that all contestants found the same,
// and for expressions that are put together by hand.

#ifndef TROVEX_BENCH_ENGINE_H
#define TROVEX_BENCH_ENGINE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace trovex::bench {

/// Where one match lies: the offset of its first byte, and the one behind its last.
struct Range {
  std::int32_t start;
  std::int32_t end;

  friend bool operator==(const Range&, const Range&) = default;
};

/// One search, compiled. Matches do not overlap, come in the order of the text and are the leftmost
/// longest ones. Searching throws std::runtime_error when the engine gives up.
class Engine {
 public:
  Engine() = default;
  Engine(const Engine&) = delete;
  Engine& operator=(const Engine&) = delete;
  virtual ~Engine() = default;

  virtual std::int64_t Count(const std::string& text) = 0;
  virtual std::vector<Range> Matches(const std::string& text) = 0;
};

/// Both answers out of one loop: a peer defines `ForEachMatch(text, take)`, which calls
/// `take(start, end)` for one match after another, and the compiler makes two loops of it.
template <class Peer>
class PeerEngine : public Engine {
 public:
  std::int64_t Count(const std::string& text) final {
    std::int64_t count = 0;
    Self().ForEachMatch(text, [&count](std::size_t, std::size_t) { ++count; });
    return count;
  }

  std::vector<Range> Matches(const std::string& text) final {
    std::vector<Range> matches;
    Self().ForEachMatch(text, [&matches](std::size_t start, std::size_t end) {
      matches.push_back({static_cast<std::int32_t>(start), static_cast<std::int32_t>(end)});
    });
    return matches;
  }

 private:
  Peer& Self() { return static_cast<Peer&>(*this); }
};

}  // namespace trovex::bench

#endif  // TROVEX_BENCH_ENGINE_H
