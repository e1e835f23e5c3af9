// How time is taken: CPU time of this thread, so that others on the machine disturb little.

#ifndef TROVEX_BENCH_MEASURE_H
#define TROVEX_BENCH_MEASURE_H

#include <functional>
#include <optional>
#include <vector>

namespace trovex::bench {

using Work = std::function<void()>;

/// The seconds that one run of `work` takes.
double SecondsOf(const Work& work);

/// The fastest of many runs of each, in seconds. The runs are interleaved, so that a slow moment of
/// the machine meets all alike.
std::vector<double> FastestRuns(const std::vector<Work>& works);

/// What `measure` returns, or nothing when it takes more than `limit` seconds, more than 4 GB, or
/// throws. It runs in a child process, so that a search that would never end can be stopped.
std::optional<double> Guarded(const std::function<double()>& measure, unsigned limit);

}  // namespace trovex::bench

#endif  // TROVEX_BENCH_MEASURE_H
