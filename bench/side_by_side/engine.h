// What every contestant of the side-by-side benchmark offers: all matches of one search in one text,
// counted, or counted with their places; and the first match of a short text.
//
// Counting is what is measured. The places are for the check that all contestants found the same,
// and for expressions that are put together by hand.

#ifndef TROVEX_BENCH_ENGINE_H
#define TROVEX_BENCH_ENGINE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace trovex::bench {

/// Where one match lies, or the group that is asked for: the offset of its first byte, and the one
/// after its last.
struct Range {
  std::int32_t start;
  std::int32_t end;

  friend bool operator==(const Range&, const Range&) = default;
};

inline Range MakeRange(std::size_t start, std::size_t end) {
  return {static_cast<std::int32_t>(start), static_cast<std::int32_t>(end)};
}

/// One search, compiled. Matches do not overlap, come in the order of the text and are the leftmost
/// longest ones. Searching throws std::runtime_error when the engine gives up.
class Engine {
 public:
  Engine() = default;
  Engine(const Engine&) = delete;
  Engine& operator=(const Engine&) = delete;
  virtual ~Engine() = default;

  virtual std::int64_t Count(std::string_view text) = 0;
  virtual std::vector<Range> Matches(std::string_view text) = 0;
  /// The first match, in `first`; what follows it is not looked for. False where there is none. (An optional range
  /// would be written in parts and read as a whole, for which a processor waits as long as some need for a short
  /// text.)
  virtual bool First(std::string_view text, Range& first) = 0;
};

/// All answers out of one loop: a peer defines `ForEachMatch(text, take)`, which calls
/// `take(start, end)` for one match after another until it returns false, and the compiler makes
/// three loops of it.
template <class Peer>
class PeerEngine : public Engine {
 public:
  std::int64_t Count(std::string_view text) final {
    std::int64_t count = 0;
    Self().ForEachMatch(text, [&count](std::size_t, std::size_t) {
      ++count;
      return true;
    });
    return count;
  }

  std::vector<Range> Matches(std::string_view text) final {
    std::vector<Range> matches;
    Self().ForEachMatch(text, [&matches](std::size_t start, std::size_t end) {
      matches.push_back(MakeRange(start, end));
      return true;
    });
    return matches;
  }

  bool First(std::string_view text, Range& first) override {
    bool isFound = false;
    Self().ForEachMatch(text, [&](std::size_t start, std::size_t end) {
      first = MakeRange(start, end);
      isFound = true;
      return false;
    });
    return isFound;
  }

 private:
  Peer& Self() { return static_cast<Peer&>(*this); }
};

}  // namespace trovex::bench

#endif  // TROVEX_BENCH_ENGINE_H
