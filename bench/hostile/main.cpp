#include "bench/hostile/hostile.h"

#include <time.h>

namespace trovex::bench {

double ProcessorSeconds() {
  timespec used{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
  return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) * 1e-9;
}

}  // namespace trovex::bench

int main() {
  trovex::bench::PrintHostileSearches();
  trovex::bench::PrintRehearsal();
  trovex::bench::PrintSlowestPattern();
}
