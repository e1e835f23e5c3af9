#include "bench/side_by_side/measure.h"

#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>
#include <algorithm>
#include <cstddef>
#include <ctime>
#include <exception>
#include <limits>

namespace trovex::bench {

namespace {

/// A work that has taken so much, in seconds of CPU time, is not run again.
constexpr double kBudget = 0.12;
constexpr int kRunsMax = 100;
constexpr rlim_t kBytesMax = rlim_t{4} << 30;

/// The clock of this thread, which is the only one: the clock of the process becomes coarse when a
/// timer is set on it.
double CpuSeconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

/// The child's part of Guarded: the signal that comes at the limit ends it.
[[noreturn]] void RunAsChild(const std::function<double()>& measure, unsigned limit, int pipeEnd) {
  const itimerval timer{.it_interval = {}, .it_value = {static_cast<time_t>(limit), 0}};
  setitimer(ITIMER_PROF, &timer, nullptr);
  const rlimit memory{kBytesMax, kBytesMax};
  setrlimit(RLIMIT_AS, &memory);
  try {
    const double seconds = measure();
    _exit(write(pipeEnd, &seconds, sizeof seconds) == sizeof seconds ? 0 : 1);
  } catch (const std::exception&) {
    _exit(1);
  }
}

}  // namespace

double SecondsOf(const Work& work) {
  const double start = CpuSeconds();
  work();
  return CpuSeconds() - start;
}

std::vector<double> FastestRuns(const std::vector<Work>& works) {
  std::vector<double> fastest(works.size(), std::numeric_limits<double>::max());
  std::vector<double> spent(works.size(), 0);
  for (int run = 0; run < kRunsMax; ++run) {
    for (std::size_t i = 0; i < works.size(); ++i) {
      if (spent[i] >= kBudget) continue;
      const double seconds = SecondsOf(works[i]);
      fastest[i] = std::min(fastest[i], seconds);
      spent[i] += seconds;
    }
  }
  return fastest;
}

std::optional<double> Guarded(const std::function<double()>& measure, unsigned limit) {
  int ends[2];
  if (pipe(ends) != 0) return std::nullopt;
  const pid_t child = fork();
  if (child == 0) RunAsChild(measure, limit, ends[1]);
  close(ends[1]);
  double seconds = 0;
  const bool answered = child > 0 && read(ends[0], &seconds, sizeof seconds) == sizeof seconds;
  close(ends[0]);
  if (child > 0) waitpid(child, nullptr, 0);
  return answered ? std::optional(seconds) : std::nullopt;
}

}  // namespace trovex::bench
