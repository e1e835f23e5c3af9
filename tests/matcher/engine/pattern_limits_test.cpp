// What the limits let through is compiled within the budget, and searched in little memory and on a small
// stack; what they refuse is refused with the right sentence, before the engine sees it.

#include "matcher/engine/pattern_limits.h"

#include "matcher/limits.h"
#include "matcher/matcher.h"
#include "tests/heap_text.h"
#include "tests/sanitizers.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <cstddef>
#include <cstdlib>
#include <string>
#include <string_view>

namespace trovex {
namespace {

using testing::HeapText;

std::string Times(std::string_view part, int count) {
  std::string all;
  for (int i = 0; i < count; ++i)
    all += part;
  return all;
}

std::string Words(int count) {
  std::string words = "Wort0";
  for (int i = 1; i < count; ++i)
    words.append("|Wort").append(std::to_string(i));
  return words;
}

MessageNumber LimitOf(const std::string& pattern) {
  return CheckPatternLimits(ParsePattern(pattern.data(), pattern.size(), nullptr));
}

TEST(PatternLimits, LetThroughWhatAPersonTypes) {
  EXPECT_EQ(LimitOf(""), MessageNumber::kNone);
  EXPECT_EQ(LimitOf("^\\b(Haus|Hof)(es)?\\b.*[0-9]{1,3}$"), MessageNumber::kNone);
  EXPECT_EQ(LimitOf("(\\b|^)(a*)*\\>(b|$)"), MessageNumber::kNone);
  EXPECT_EQ(LimitOf(Times("a", 20'000)), MessageNumber::kNone);
  EXPECT_EQ(LimitOf(Words(1'000)), MessageNumber::kNone);
  EXPECT_EQ(LimitOf(std::string("\\b(") + Words(1'000) + ")\\b"), MessageNumber::kNone);
  EXPECT_EQ(LimitOf(Times("(", 200) + "a" + Times(")", 200)), MessageNumber::kNone);
  EXPECT_EQ(LimitOf(Times("a", 60'000)), MessageNumber::kNone);
  EXPECT_EQ(LimitOf("a{32767}"), MessageNumber::kNone);
}

TEST(PatternLimits, LetThroughAnchorsInRepetitions) {
  for (const char* pattern :
       {"(\\b\\w*\\b ?)+", "(\\b\\w*\\b)+ x", "(\\w*\\b)+?", "(\\b|c)+?", "(\\bfoo|bar\\b|)+?",
        "(\\b[a-z]*)+?", "(\\b[a-z]*\\b[ ]*)*\\.", "(^|$)+?", "(^$)**", "(\\b)**", "(\\b|a)**b",
        "a(\\B|){2,}\\B", "{30000}{30000}a", "(\\<{0,600}){10}", "(a{2}){0}{30000}"}) {
    EXPECT_EQ(LimitOf(pattern), MessageNumber::kNone) << pattern;
  }
}

TEST(PatternLimits, RefuseDepthAndSize) {
  const int deep = kMaxPatternNesting + 1;
  EXPECT_EQ(LimitOf(Times("(", deep) + "a" + Times(")", deep)), MessageNumber::kExpressionTooLong);
  EXPECT_EQ(LimitOf(std::string("a") + Times("*", deep)), MessageNumber::kExpressionTooLong);
  EXPECT_EQ(LimitOf(Times("*", deep) + "a"), MessageNumber::kExpressionTooLong);
  EXPECT_EQ(LimitOf("(((a{200}){200}){200})"), MessageNumber::kExpressionTooLong);
  EXPECT_EQ(LimitOf("((a{300}){300}){0}"), MessageNumber::kExpressionTooLong)
      << "what {0} takes away was written out before";
  EXPECT_EQ(LimitOf(std::string("a") + Times("+", 17)), MessageNumber::kExpressionTooLong);
  EXPECT_EQ(LimitOf("(a?){1000}"), MessageNumber::kExpressionTooLong);
  EXPECT_EQ(LimitOf(std::string("a") + Times("|b", 50'000)), MessageNumber::kExpressionTooLong);
}

TEST(PatternLimits, RefuseFaultyPatternsOnlyForTheirSize) {
  EXPECT_EQ(LimitOf("(a"), MessageNumber::kNone);
  EXPECT_EQ(LimitOf(Times("(", 50'000)), MessageNumber::kExpressionTooLong);
  EXPECT_EQ(LimitOf("((a{200}){200}){200}("), MessageNumber::kExpressionTooLong);
}

TEST(PatternLimits, RefuseWhatTakesTooMuchMemory) {
  EXPECT_EQ(LimitOf(Times("\\b", 200)), MessageNumber::kMemoryOverflow);
  EXPECT_EQ(LimitOf(Times("^", 600)), MessageNumber::kMemoryOverflow);
  EXPECT_EQ(LimitOf(Times("(\\b|a)*", 10)), MessageNumber::kMemoryOverflow);
  EXPECT_EQ(LimitOf("(c*|a{2}{0,3}+){30}"), MessageNumber::kMemoryOverflow);
  EXPECT_EQ(LimitOf("^1*{2}*{1}*{2}*{2}*{2}"), MessageNumber::kMemoryOverflow);
}

struct Measured {
  const char* pattern;
  double size;
  int nesting;
};

constexpr Measured kMeasured[] = {
    {"abc", 3, 0},         {"a|b|c", 5, 0},        {"(a)(b)", 4, 1}, {"((a|b)|c)", 7, 2},
    {"a*", 2, 1},          {"a+", 3, 1},           {"a?", 2, 1},     {"a{0}b", 1, 1},
    {"a{3}", 3, 1},        {"a{0,3}", 6, 1},       {"a{2,4}", 6, 1}, {"a{2,}", 4, 1},
    {"(ab|cd){2}", 12, 2}, {"(a|)(b|)", 6, 1},     {"^(a|b)", 5, 1}, {"(a)\\1", 3, 1},
    {"(a{9}){0}b", 10, 3}, {"(a{2}){0}{7}", 3, 4},
};

TEST(PatternLimits, MeasurePatternsAsTheyAreWrittenOut) {
  for (const Measured& expected : kMeasured) {
    const std::string pattern = expected.pattern;
    const PatternSize measured =
        MeasurePattern(ParsePattern(pattern.data(), pattern.size(), nullptr));
    EXPECT_EQ(measured.size, expected.size) << pattern;
    EXPECT_EQ(measured.nesting, expected.nesting) << pattern;
  }
}

TEST(PatternLimits, ThePlainLimitsAreExact) {
  EXPECT_EQ(LimitOf(Times("(", 200) + "a" + Times(")", 200)), MessageNumber::kNone);
  EXPECT_EQ(LimitOf(std::string("a") + Times("?", 200)), MessageNumber::kNone);
  EXPECT_EQ(LimitOf(std::string("a") + Times("?", 201)), MessageNumber::kExpressionTooLong);
  EXPECT_EQ(LimitOf(Times("a", 60'000)), MessageNumber::kNone);
  EXPECT_EQ(LimitOf(Times("a", 60'001)), MessageNumber::kExpressionTooLong);
  EXPECT_EQ(LimitOf(Times("a?", 1'199)), MessageNumber::kNone);
  EXPECT_EQ(LimitOf(Times("a?", 1'200)), MessageNumber::kExpressionTooLong);
}

/// Compiles a pattern and searches with it in a process and thread of its own, under the promised
/// bounds. The process ends with 0 when all is well.
class BoundedProcess {
 public:
  static int ExitOf(const std::string& pattern,
                    const std::string& text = "xxabc Wort17 aabb\nbaac") {
    const pid_t child = fork();
    if (child == 0) RunAndExit({pattern, text});
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }

 private:
  struct Work {
    std::string pattern;
    std::string text;
  };

  static constexpr std::size_t kStack = 256 << 10;
  static constexpr rlim_t kMemory = 256 << 20;
  static constexpr rlim_t kSeconds = 20;

  static void RunAndExit(Work work) {
    const rlimit memory{kMemory, kMemory};
    setrlimit(RLIMIT_AS, &memory);
    // Counted in the processor's time, so that a busy machine changes nothing.
    const rlimit seconds{kSeconds, kSeconds};
    setrlimit(RLIMIT_CPU, &seconds);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, kStack);
    pthread_t thread{};
    pthread_create(&thread, &attributes, Run, &work);
    pthread_join(thread, nullptr);
    _exit(1);
  }

  static void* Run(void* argument) {
    const auto& [pattern, line] = *static_cast<const Work*>(argument);
    const CompileResult compiled = CompileMatcher(pattern, {});
    if (compiled.fault != MessageNumber::kNone) _exit(2);
    PatternWork own(compiled.pattern);
    const HeapText text(line);
    for (const int group : {0, 1})
      ExecuteMatcher(own, {}, text.Data(), text.Length(), group);
    _exit(0);
  }
};

TEST(PatternLimits, TheWorstOfEachKindStaysWithinTheBounds) {
  if (testing::kUnderSanitizer) GTEST_SKIP() << "sanitizers take more memory and stack";
  for (const std::string& pattern : {
           Times("(", 200) + "a" + Times(")", 200),
           Times("(b|", 200) + "a" + Times(")", 200),
           Times("(b?", 40) + "a" + Times(")?", 40),
           std::string("a") + Times("?", 200),
           std::string("a") + Times("*", 100),
           std::string("a") + Times("+", 14),
           Times("a", 60'000),
           Times("[ab]", 20'000),
           std::string("a{32767}"),
           Times(".", 60'000),
           std::string("{30000}{30000}a"),
           std::string("(\\<{0,600}){10}"),
           std::string("(\\`{,3}|.|\\W){255}"),
           std::string("((a") + Times("|a", 99) + "){1,100})+x",
           std::string("(ab|cd){6000}"),
           std::string("a{0,1190}"),
           Times("a?", 1'190),
           Times("a*", 590),
           Times("(a)?", 1'190),
           Times("()", 590),
           std::string("a?(b") + Times("|c", 1'180) + ")",
           std::string("(b") + Times("|c", 1'180) + ")*x",
           std::string("(a?){390}"),
           std::string("\\b(") + Words(1'000) + ")\\b",
           Times("^", 210),
           Times("\\b", 10),
           Times("a**", 290),
           Times("()*", 290),
           Times("(a{3,}*)+", 80),
           std::string("^1*{2}*{2}*{2}*{2}"),
       }) {
    ASSERT_EQ(LimitOf(pattern), MessageNumber::kNone) << pattern.substr(0, 60);
    EXPECT_EQ(BoundedProcess::ExitOf(pattern), 0) << pattern.substr(0, 60);
  }
}

TEST(PatternLimits, ASearchWithBackReferencesStaysWithinTheBounds) {
  if (testing::kUnderSanitizer) GTEST_SKIP() << "sanitizers take more memory and stack";
  for (const char* pattern :
       {"(.+).*\\1x", "(.*)(.*)\\1\\2x", "(.+)\\1+x", "(|)(\\1\\1|x)+y", "(a?){300}\\1x",
        "(a|b|.)*\\1*x", "((.)\\2|.)*x", "(((((((.)*)*)*)*)*)*)*\\7x"}) {
    EXPECT_EQ(BoundedProcess::ExitOf(pattern, Times("aab", 7'000) + "x"), 0) << pattern;
  }
}

}  // namespace
}  // namespace trovex
