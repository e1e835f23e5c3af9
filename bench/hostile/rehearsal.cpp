// The rehearsal of the engine's compile against the engine itself, in time.

#include "bench/hostile/hostile.h"
#include "matcher/engine/pattern_limits.h"
#include "matcher/engine/regular_expression.h"
#include "tests/matcher/dense_pattern.h"

#include <regex.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>
#include <algorithm>
#include <cstdio>
#include <string>

namespace trovex::bench {

namespace {

/// How long the engine takes to compile `pattern`.
double SecondsOfEngine(const std::string& pattern) {
  re_pattern_buffer buffer{};
  const double begin = ProcessorSeconds();
  re_set_syntax(kPatternSyntax);
  re_compile_pattern(pattern.data(), pattern.size(), &buffer);
  const double seconds = ProcessorSeconds() - begin;
  regfree(&buffer);
  return seconds;
}

/// Whether the engine compiles `pattern` in 0.15 s and 100 MB. Looked at in a process of its own, which
/// it may take with it.
bool EngineCompilesWithEase(const std::string& pattern) {
  const pid_t child = fork();
  if (child == 0) {
    const rlimit memory{100 << 20, 100 << 20};
    setrlimit(RLIMIT_AS, &memory);
    itimerval processorTime{};
    processorTime.it_value.tv_usec = 150'000;
    setitimer(ITIMER_PROF, &processorTime, nullptr);
    static_cast<void>(SecondsOfEngine(pattern));
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace

void PrintRehearsal() {
  testing::DensePattern patterns(6);
  double worst = 0;
  std::string worstPattern;
  int refused = 0;
  int easy = 0;
  for (int i = 0; i < 4'000; ++i) {
    const std::string pattern = patterns.Next();
    const SyntaxTree tree = ParsePattern(pattern.data(), pattern.size(), nullptr);
    if (tree.faulty) continue;
    if (CheckPatternLimits(tree) == MessageNumber::kMemoryOverflow) {
      ++refused;
      if (EngineCompilesWithEase(pattern)) ++easy;
    }
    CompileBudget budget(20'000'000, 20'000'000);
    if (CheckPatternLimits(tree, budget) != MessageNumber::kNone) continue;
    // Small patterns take what any pattern takes.
    constexpr std::int64_t kWorthMeasuring = 100'000;
    if (budget.StepsUsed() < kWorthMeasuring) continue;
    const double perStep = std::min(SecondsOfEngine(pattern), SecondsOfEngine(pattern)) /
                           static_cast<double>(budget.StepsUsed());
    if (perStep <= worst) continue;
    worst = perStep;
    worstPattern = pattern;
  }
  std::printf("The engine takes %.1f ns at most for a step that it was charged: %s\n", worst * 1e9,
              worstPattern.c_str());
  std::printf("%d patterns are refused; %d of them it compiles with ease\n", refused, easy);
}

}  // namespace trovex::bench
