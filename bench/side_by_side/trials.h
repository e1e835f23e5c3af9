// The three trials: searching, beside the peers; compiling, beside the peers; and the growth of the
// library's time with the length of a line.

#ifndef TROVEX_BENCH_TRIALS_H
#define TROVEX_BENCH_TRIALS_H

#include "bench/side_by_side/contestants.h"
#include "bench/side_by_side/results.h"
#include "bench/side_by_side/rows.h"
#include "bench/side_by_side/texts.h"

#include <cstddef>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <utility>

namespace trovex::bench {

/// What one search may take, in seconds of CPU time; beyond, it has no number.
inline constexpr unsigned kSecondsMax = 1;

/// Compiles the searches of rows; those of peers that take long to compile are kept for the next text.
class EngineStock {
 public:
  /// Contestant `column`'s search of `row`, which stays where it is.
  std::shared_ptr<Engine> Get(const Row& row, std::size_t column);

 private:
  std::map<std::pair<const Row*, std::size_t>, std::shared_ptr<Engine>> kept_;
};

/// One row in one text. Every contestant's matches are held against the first one's, place by place,
/// before anything is measured; a difference is told on the standard error stream and in the result.
RowResult TrySearching(const Row& row, const Text& text, EngineStock& stock);

/// From the pattern to an engine, and back to nothing.
CompileResult TryCompiling(const Row& row);

/// A pattern, searched by the library alone.
struct GrowthPattern {
  std::string name;
  std::string expression;
  Mode mode = Mode::kPlain;
};

std::span<const GrowthPattern> GrowthPatterns();

/// `pattern` in texts of kGrowthMegabytes, made by repeating `line`.
GrowthResult TryGrowth(const GrowthPattern& pattern, const std::string& line);

}  // namespace trovex::bench

#endif  // TROVEX_BENCH_TRIALS_H
