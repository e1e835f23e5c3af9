// What all threads of a search have in common, and what they add up.

#ifndef TROVEX_HOSTS_CLI_SEARCH_JOB_H
#define TROVEX_HOSTS_CLI_SEARCH_JOB_H

#include "hosts/cli/command/options.h"
#include "hosts/cli/files/input.h"
#include "hosts/cli/output/printer.h"
#include "hosts/cli/output/progress.h"
#include "hosts/cli/search/search_plan.h"

#include <atomic>
#include <cstdint>
#include <optional>

namespace trovex::cli {

class ClassicSearch;

struct SearchJob {
  const Options& options;
  const Printer& printer;
  Progress& progress;
  /// One of the two: the plan, or the first door.
  const SearchPlan* plan;
  ClassicSearch* classic;
  /// Where the first file in which something is found is enough, `onEnough` is called on whichever
  /// thread has it, and ends the program: another thread may be waiting for a pipe.
  bool firstIsEnough;
  void (*onEnough)();
  /// Called on any thread where there is too little memory to go on or to tell so. Ends the program.
  void (*onNoMemory)();
  /// Where the results go, if that is a file: it would grow while it is searched, and is left out.
  std::optional<FileIdentity> outputFile{};
  /// Nothing more is wanted.
  std::atomic<bool> stop{false};
};

/// What became of the files.
struct SearchTotals {
  std::int64_t files = 0;  // that were searched
  std::int64_t filesFound = 0;
  std::int64_t binarySkipped = 0;
  FileCounts counts;
  bool trouble = false;

  SearchTotals& operator+=(const SearchTotals& other) {
    files += other.files;
    filesFound += other.filesFound;
    binarySkipped += other.binarySkipped;
    counts += other.counts;
    trouble = trouble || other.trouble;
    return *this;
  }
};

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_SEARCH_JOB_H
