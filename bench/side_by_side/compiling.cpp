// The trial of compiling. Engines that build their automata as texts need them do so in the trial of
// searching.

#include "bench/side_by_side/contestants.h"
#include "bench/side_by_side/measure.h"
#include "bench/side_by_side/trials.h"

#include <vector>

namespace trovex::bench {

CompileResult TryCompiling(const Row& row) {
  CompileResult result{.row = &row, .microseconds = Columns(Contestants().size())};
  for (std::size_t i = 0; i < Contestants().size(); ++i) {
    const Contestant& contestant = Contestants()[i];
    if (!contestant.CanSearch(row)) continue;
    const Work work = [&] { contestant.Make(row); };
    result.microseconds[i] = FastestRuns({work})[0] * 1e6;
  }
  return result;
}

}  // namespace trovex::bench
