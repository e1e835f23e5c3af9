// Patterns and searches that are made to be slow, and how long they take: what the tests hold in counted
// work is measured here in time. `bench/run hostile` prints it.

#ifndef TROVEX_BENCH_HOSTILE_HOSTILE_H
#define TROVEX_BENCH_HOSTILE_HOSTILE_H

namespace trovex::bench {

/// Processor time of this process, in seconds.
double ProcessorSeconds();

/// Prints, for each hostile search, the time a byte and a unit of work.
void PrintHostileSearches();

/// Prints the longest time that the engine takes for a step that the rehearsal of its compile charged, and
/// how many of the patterns that are refused the engine would have compiled with ease.
void PrintRehearsal();

/// Looks for the pattern that takes longest to compile, and prints it.
void PrintSlowestPattern();

}  // namespace trovex::bench

#endif  // TROVEX_BENCH_HOSTILE_HOSTILE_H
