// On a line that is read at once, every search finds the match and the group that are found by searching for
// that match alone.

#include "matcher/engine/line_groups.h"

#include "matcher/engine/bounded_matcher.h"
#include "matcher/engine/pattern_limits.h"
#include "matcher/matcher.h"
#include "matcher/pattern/pattern_hazards.h"
#include "tests/heap_text.h"
#include "tests/matcher/random_pattern.h"
#include "tests/sanitizers.h"

#include <gtest/gtest.h>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace trovex {

void PrintTo(const GroupRange& range, std::ostream* out) {
  *out << range.start << "-" << range.end;
}

namespace {

using testing::CasesToTry;
using testing::HeapText;
using testing::RandomPattern;

SyntaxTree Parsed(std::string_view pattern) {
  return ParsePattern(pattern.data(), pattern.size(), nullptr);
}

/// Holds every search on `line`, or those from each `step`-th position, against searches for one match.
void Compare(const std::string& pattern, const std::string& line, int step = 1) {
  SCOPED_TRACE(pattern + " on \"" + line.substr(0, 40) + "\"");
  const HeapText heap(line);
  const char* const begin = heap.Data();
  const BoundedText text{begin, heap.Length(), true};
  const BoundedMatcher matcher(Parsed(pattern));
  ASSERT_TRUE(matcher.CanReadLines());
  const std::unique_ptr<LineGroups> lineGroups = matcher.MakeLineGroups();
  const int groupCount = Parsed(pattern).groupCount;
  WorkCredit credit(line.size());
  for (int group = 1; group <= groupCount; ++group) {
    ASSERT_TRUE(lineGroups->Prepare(begin, begin + heap.Length(), group, credit));
    for (int from = 0; from <= heap.Length(); from += step) {
      GroupRange match;
      std::vector<GroupRange> ranges;
      const LineGroups::Match found = lineGroups->Find(begin + from, credit);
      const SearchOutcome outcome = matcher.FindWhole(text, from, heap.Length(), match, credit);
      ASSERT_EQ(found.outcome, outcome) << "from " << from;
      if (outcome != SearchOutcome::kFound) continue;
      ASSERT_EQ(found.start - begin, match.start) << "from " << from;
      ASSERT_EQ(matcher.FindGroups(text, match, ranges, credit), SearchOutcome::kFound);
      GroupRange expected = ranges[static_cast<std::size_t>(group)];
      if (expected.start >= 0) expected.start -= match.start;
      if (expected.end >= 0) expected.end -= match.start;
      ASSERT_EQ(found.group, expected) << "from " << from << ", group " << group;
    }
  }
}

TEST(LineGroups, AreThoseOfEachMatchAlone) {
  for (const char* pattern :
       {"(a).*b", "((a)|b)*c", "(a|b)*.*c", "(a*)(b*)c?", "(a(b)?)+", "(a){2}b?"}) {
    for (const char* line : {"", "a", "aabab", "abcabc", "aab abbcc", "abababababc", "ccc"})
      Compare(pattern, line);
  }
}

TEST(LineGroups, OfRandomPatternsAreThoseOfEachMatchAlone) {
  constexpr unsigned kSeed = 51;
  RandomPattern random(kSeed, {});
  int compared = 0;
  for (int i = 0; i < CasesToTry(20'000); ++i) {
    const std::string pattern = random.Pattern();
    const SyntaxTree tree = Parsed(pattern);
    if (tree.faulty || tree.groupCount == 0 || pattern.size() > 60) continue;
    if (CheckPatternLimits(tree) != MessageNumber::kNone || FindHazards(tree).groups) continue;
    Compare(pattern, random.Line(14));
    ASSERT_FALSE(::testing::Test::HasFailure()) << "seed " << kSeed;
    ++compared;
  }
  EXPECT_GT(compared, CasesToTry(3'000));
}

TEST(LineGroups, AreToldOnLongLinesToo) {
  std::string line;
  for (int i = 0; i < 150; ++i)
    line += i % 7 == 0 ? "aab" : "ab c";
  for (const char* pattern : {"(a).*b", "((a)|b| )*c", "(c ?a).*(b)", "(a*)b?.*(c)"})
    Compare(pattern, line, testing::kUnderSanitizer ? 61 : 7);
}

struct AllFound {
  int count = 0;
  bool gaveUp = false;
  int lastStart = -1;
};

/// All matches, as a host finds them that asks for group 1.
AllFound FindAll(const std::string& pattern, const std::string& text) {
  const CompileResult compiled = CompileMatcher(pattern, {});
  const HeapText heap(text);
  TextNotes notes;
  AllFound all;
  for (int place = 0; place < heap.Length();) {
    const MatchResult found = ExecuteMatcher(*compiled.pattern, {}, heap.Data() + place,
                                             heap.Length() - place, 1, &notes);
    all.gaveUp = all.gaveUp || found.gaveUpAt >= 0;
    if (found.outcome != SearchOutcome::kFound || found.range.end < 1) break;
    ++all.count;
    all.lastStart = place + found.range.start;
    place += found.range.end;
  }
  return all;
}

TEST(LineGroups, OfAllMatchesThatEndAtOnePlaceAreFound) {
  constexpr int kCount = CasesToTry(30'000);
  std::string line;
  for (int i = 0; i < kCount; ++i)
    line += "Haus xx ";
  const AllFound all = FindAll("(Haus).*Katze", line + "Katze");
  EXPECT_EQ(all.count, kCount);
  EXPECT_FALSE(all.gaveUp);
  const AllFound after = FindAll("(Haus).*Katze", line + "Katze\n\nHaus, Katze\n");
  EXPECT_EQ(after.count, kCount + 1);
  EXPECT_EQ(after.lastStart, static_cast<int>(line.size()) + 7);
}

TEST(LineGroups, OfMatchesThatReachFarIntoTheNextAreFound) {
  std::string line;
  for (int i = 0; i < 4'000; ++i)
    line += "ab";
  const AllFound all = FindAll("(a).{0,300}b", line);
  EXPECT_EQ(all.count, 4'000);
  EXPECT_FALSE(all.gaveUp);
}

TEST(LineGroups, AreGivenUpWhereTheCreditEnds) {
  const BoundedMatcher matcher(Parsed("(a).*b"));
  const std::unique_ptr<LineGroups> lineGroups = matcher.MakeLineGroups();
  const HeapText heap(std::string(1'000, 'a') + "b");
  const char* const end = heap.Data() + heap.Length();
  WorkCredit credit(0);
  ASSERT_TRUE(lineGroups->Prepare(heap.Data(), end, 1, credit));
  ASSERT_TRUE(lineGroups->Covers(heap.Data(), 1));
  EXPECT_FALSE(lineGroups->Covers(heap.Data(), 2));
  static_cast<void>(credit.Spend(kWorkAtLeast));
  EXPECT_EQ(lineGroups->Find(heap.Data(), credit).outcome, SearchOutcome::kGaveUp);
  EXPECT_FALSE(lineGroups->Prepare(heap.Data(), end, 1, credit));
  EXPECT_FALSE(lineGroups->Covers(heap.Data(), 1));
}

}  // namespace
}  // namespace trovex
