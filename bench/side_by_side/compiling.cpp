// The trial of compiling. Engines that build their automata as texts need them do so in the trial of
// searching.

#include "bench/side_by_side/contestants.h"
#include "bench/side_by_side/measure.h"
#include "bench/side_by_side/trials.h"

#include <cstdio>
#include <exception>

namespace trovex::bench {

CompileResult TryCompiling(const Row& row) {
  const std::size_t contestants = Contestants().size();
  CompileResult result{
      .row = &row, .microseconds = Columns(contestants), .refused = Refusals(contestants)};
  for (std::size_t i = 0; i < Contestants().size(); ++i) {
    const Contestant& contestant = Contestants()[i];
    if (!contestant.CanSearch(row)) continue;
    const Work work = [&] { contestant.Make(row); };
    try {
      result.microseconds[i] = FastestRuns({work})[0] * 1e6;
    } catch (const std::exception& e) {
      std::fprintf(stderr, "%s: %s: %s\n", row.name.c_str(), contestant.name, e.what());
      result.refused[i] = true;
    }
  }
  return result;
}

}  // namespace trovex::bench
