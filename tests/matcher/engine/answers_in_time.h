// Answers of a function that may not come back: it is asked in a process of its own, under a limit of
// processor time.

#ifndef TROVEX_TESTS_MATCHER_ENGINE_ANSWERS_IN_TIME_H
#define TROVEX_TESTS_MATCHER_ENGINE_ANSWERS_IN_TIME_H

#include "matcher/engine/bounded_matcher.h"

#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>
#include <array>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <functional>
#include <optional>
#include <vector>

namespace trovex::testing {

/// What a search found: the ranges of the match and its groups, none without a match.
using FoundRanges = std::vector<GroupRange>;

/// Writes what `ask` answers from `first` on to the stream, each within `microseconds` of processor time;
/// the first that takes longer ends the process.
inline void WriteAnswers(std::FILE* stream, int first, int count, int microseconds,
                         const std::function<FoundRanges(int)>& ask) {
  std::signal(SIGVTALRM, SIG_DFL);
  const rlimit noCore{0, 0};
  setrlimit(RLIMIT_CORE, &noCore);
  for (int i = first; i < count; ++i) {
    const itimerval limit{{0, 0}, {0, microseconds}};
    setitimer(ITIMER_VIRTUAL, &limit, nullptr);
    const FoundRanges ranges = ask(i);
    const itimerval none{};
    setitimer(ITIMER_VIRTUAL, &none, nullptr);
    const std::size_t size = ranges.size();
    std::fwrite(&size, sizeof(size), 1, stream);
    if (size > 0) std::fwrite(ranges.data(), sizeof(GroupRange), size, stream);
    std::fflush(stream);
  }
}

/// `ask(i)` for every i below `count`; nothing where it takes longer or ends its process.
inline std::vector<std::optional<FoundRanges>> AnswersInTime(
    int count, int microseconds, const std::function<FoundRanges(int)>& ask) {
  std::vector<std::optional<FoundRanges>> answers;
  while (static_cast<int>(answers.size()) < count) {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) return {};
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
      close(ends[0]);
      std::FILE* const stream = fdopen(ends[1], "wb");
      WriteAnswers(stream, static_cast<int>(answers.size()), count, microseconds, ask);
      std::fclose(stream);
      _exit(0);
    }
    close(ends[1]);
    std::FILE* const stream = fdopen(ends[0], "rb");
    std::size_t size = 0;
    while (std::fread(&size, sizeof(size), 1, stream) == 1) {
      FoundRanges ranges(size);
      if (size > 0 && std::fread(ranges.data(), sizeof(GroupRange), size, stream) != size) break;
      answers.emplace_back(std::move(ranges));
    }
    std::fclose(stream);
    waitpid(child, nullptr, 0);
    if (static_cast<int>(answers.size()) < count) answers.emplace_back(std::nullopt);
  }
  return answers;
}

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_MATCHER_ENGINE_ANSWERS_IN_TIME_H
