// The rehearsal charges the memory that the engine then takes: held against the engine itself. Its time is
// measured in bench/hostile/.

#include "matcher/engine/engine_rehearsal.h"

#include "matcher/engine/pattern_limits.h"
#include "matcher/engine/regular_expression.h"
#include "matcher/limits.h"
#include "tests/matcher/dense_pattern.h"
#include "tests/sanitizers.h"

#include <gtest/gtest.h>
#include <malloc.h>
#include <cstdint>
#include <string>
#include <string_view>

namespace trovex {
namespace {

using testing::DensePattern;

SyntaxTree Parsed(std::string_view pattern) {
  return ParsePattern(pattern.data(), pattern.size(), nullptr);
}

/// A pattern compiled by the engine alone.
class EngineProgram {
 public:
  explicit EngineProgram(std::string_view pattern) {
    const std::size_t before = AllocatedBytes();
    re_set_syntax(kPatternSyntax);
    isCompiled_ = re_compile_pattern(pattern.data(), pattern.size(), &buffer_) == nullptr;
    bytes_ = static_cast<std::int64_t>(AllocatedBytes() - before);
  }
  ~EngineProgram() { regfree(&buffer_); }
  EngineProgram(const EngineProgram&) = delete;
  EngineProgram& operator=(const EngineProgram&) = delete;

  bool IsCompiled() const { return isCompiled_; }
  std::int64_t Bytes() const { return bytes_; }

 private:
  static std::size_t AllocatedBytes() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
  }

  re_pattern_buffer buffer_{};
  bool isCompiled_ = false;
  std::int64_t bytes_ = 0;
};

TEST(EngineRehearsal, ChargesTheMemoryThatTheEngineTakes) {
  if (testing::kUnderSanitizer) GTEST_SKIP() << "sanitizers have an allocator of their own";
  constexpr unsigned kSeed = 5;
  DensePattern patterns(kSeed);
  int compared = 0;
  for (int i = 0; i < 4'000; ++i) {
    const std::string pattern = patterns.Next();
    const SyntaxTree tree = Parsed(pattern);
    CompileBudget budget(20'000'000, 20'000'000);
    if (tree.faulty || CheckPatternLimits(tree, budget) != MessageNumber::kNone) continue;
    const EngineProgram engine(pattern);
    ASSERT_TRUE(engine.IsCompiled()) << pattern << ", seed " << kSeed;
    // A few tables, and the states that a search begins with, are not counted.
    ASSERT_LT(engine.Bytes(), budget.BytesHeld() * 11 / 10 + 8'000)
        << pattern << ", seed " << kSeed;
    ASSERT_GT(engine.Bytes() + 8'000, budget.BytesHeld() / 4) << pattern << ", seed " << kSeed;
    ++compared;
  }
  EXPECT_GT(compared, 1'000);
}

TEST(EngineRehearsal, LittleOfWhatIsMadeByChanceIsRefused) {
  constexpr unsigned kSeed = 7;
  DensePattern patterns(kSeed);
  const int count = testing::CasesToTry(2'000);
  int refused = 0;
  for (int i = 0; i < count; ++i) {
    const SyntaxTree tree = Parsed(patterns.Next());
    if (!tree.faulty && CheckPatternLimits(tree) == MessageNumber::kMemoryOverflow) ++refused;
  }
  EXPECT_GT(refused, 0) << "seed " << kSeed;
  EXPECT_LT(refused, count / 20) << "seed " << kSeed;
}

int DepthOf(std::string_view pattern) {
  CompileBudget budget;
  return RehearseEngineCompile(Parsed(pattern), kMaxEmptySteps, budget);
}

TEST(EngineRehearsal, TellsHowDeepTheEngineRecurses) {
  EXPECT_EQ(DepthOf("abc"), 1);
  EXPECT_EQ(DepthOf("a|b"), 1);
  EXPECT_EQ(DepthOf("a?b?c"), 3);
  EXPECT_EQ(DepthOf("(a)"), 2);
  EXPECT_EQ(DepthOf("a{0,1000}"), 2) << "one list after the other";
}

}  // namespace
}  // namespace trovex
