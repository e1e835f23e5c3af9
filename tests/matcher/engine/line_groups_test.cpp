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

/// What a search finds that is for one match alone: nowhere if there is none. Offsets from the start of `text`.
struct Alone {
  GroupRange match;
  GroupRange group;
};

Alone FindAlone(const BoundedMatcher& matcher, const BoundedText& text, int from, int group,
                bool words) {
  WorkCredit credit(static_cast<std::size_t>(text.length));
  const WordRule rule = {text.begin, text.length};
  Alone found;
  if (matcher.FindWhole(text, from, text.length, found.match, credit, words ? &rule : nullptr) !=
      SearchOutcome::kFound) {
    return {};
  }
  std::vector<GroupRange> ranges;
  const BoundedText upToEnd = {text.begin, words ? found.match.end : text.length, !words};
  if (matcher.FindGroups(upToEnd, found.match, ranges, credit) == SearchOutcome::kFound)
    found.group = ranges[static_cast<std::size_t>(group)];
  return found;
}

/// Holds every search on `line`, or those from each `step`-th place, against searches for one match: those that
/// go on in the line, and those for which a text begins there.
void Compare(const std::string& pattern, const std::string& line, bool words = false,
             int step = 1) {
  SCOPED_TRACE(pattern + " on \"" + line.substr(0, 40) + "\"" + (words ? " words" : ""));
  const HeapText heap(line);
  const char* const begin = heap.Data();
  const BoundedMatcher matcher(Parsed(pattern));
  ASSERT_TRUE(matcher.CanReadLines());
  const std::unique_ptr<LineGroups> lineGroups = matcher.MakeLineGroups();
  const int groupCount = Parsed(pattern).groupCount;
  WorkCredit credit(line.size());
  for (int group = 1; group <= groupCount; ++group) {
    ASSERT_TRUE(lineGroups->Prepare(begin, begin + heap.Length(), group, words, credit));
    for (int from = 0; from <= heap.Length(); from += step) {
      for (const bool beginsText : {false, true}) {
        SCOPED_TRACE(::testing::Message()
                     << "from " << from << (beginsText ? ", a text" : "") << ", group " << group);
        const int base = beginsText ? from : 0;
        const BoundedText text = {begin + base, heap.Length() - base, true};
        const Alone alone = FindAlone(matcher, text, from - base, group, words);
        const LineGroups::Match found = lineGroups->Find(begin + from, beginsText, credit);
        ASSERT_EQ(found.outcome == SearchOutcome::kFound, alone.match.start >= 0);
        if (alone.match.start < 0) continue;
        ASSERT_EQ(found.start - begin, alone.match.start + base);
        GroupRange expected = alone.group;
        if (expected.start >= 0) expected.start -= alone.match.start;
        if (expected.end >= 0) expected.end -= alone.match.start;
        ASSERT_EQ(found.group, expected);
      }
    }
  }
}

TEST(LineGroups, AreThoseOfEachMatchAlone) {
  for (const char* pattern :
       {"(a).*b", "((a)|b)*c", "(a|b)*.*c", "(a*)(b*)c?", "(a(b)?)+", "(a){2}b?"}) {
    for (const char* line : {"", "a", "aabab", "abcabc", "aab abbcc", "abababababc", "ccc"})
      Compare(pattern, line);
  }
  for (const char* pattern :
       {"^(a).*b", "(a).*b$", "\\<(a+)\\>.*b", "(^|a)(b)", "\\b(a|b)\\B.+", "(a|b).*\\b"}) {
    for (const char* line : {"", "a", "aabab", "ab ab", "aab abbcc ", "a b a b a b"})
      Compare(pattern, line);
  }
}

TEST(LineGroups, OfWholeWordsAreThoseOfEachMatchAlone) {
  for (const char* pattern : {"(a).*b", "((a)|b)+c?", "(a+)(b*) ?", "a(b)?.+"}) {
    for (const char* line : {"", "a", "aabab", "ab ab", "aab abbcc ", "a b a b a b"})
      Compare(pattern, line, true);
  }
}

TEST(LineGroups, OfRandomPatternsAreThoseOfEachMatchAlone) {
  constexpr unsigned kSeed = 51;
  int compared = 0;
  int withAnchors = 0;
  for (const bool anchors : {false, true}) {
    RandomPattern random(kSeed, {.anchors = anchors});
    for (int i = 0; i < CasesToTry(8'000); ++i) {
      const std::string pattern = random.Pattern();
      const SyntaxTree tree = Parsed(pattern);
      if (tree.faulty || tree.groupCount == 0 || pattern.size() > 60) continue;
      if (CheckPatternLimits(tree) != MessageNumber::kNone || FindHazards(tree).groups) continue;
      const BoundedMatcher matcher(Parsed(pattern));
      const bool words = !matcher.HasAnchors() && !matcher.CanBeEmpty() && i % 2 == 0;
      const std::string line = random.Line(14);
      if (!matcher.CanReadLines()) continue;
      Compare(pattern, line, words);
      ASSERT_FALSE(::testing::Test::HasFailure()) << "seed " << kSeed;
      ++compared;
      if (matcher.HasAnchors()) ++withAnchors;
    }
  }
  EXPECT_GT(compared, CasesToTry(2'000));
  EXPECT_GT(withAnchors, CasesToTry(300));
}

TEST(LineGroups, AreToldOnLongLinesToo) {
  std::string line;
  for (int i = 0; i < 150; ++i)
    line += i % 7 == 0 ? "aab" : "ab c";
  for (const char* pattern : {"(a).*b", "((a)|b| )*c", "(c ?a).*(b)", "(a*)b?.*(c)"})
    Compare(pattern, line, false, testing::kUnderSanitizer ? 61 : 7);
}

/// The groups 1 of all matches of `text`, as a host asks for them. Without notes each search is the first of its
/// text, and no line is read at once. `readsLines`: whether one was.
std::vector<GroupRange> AllGroups(const std::string& pattern, const std::string& text, bool words,
                                  bool withNotes, bool& readsLines) {
  PatternWork work(CompileMatcher(pattern, {.matchWords = words}).pattern);
  const SearchConditions conditions = {.matchWords = words};
  const HeapText heap(text);
  TextNotes notes;
  std::vector<GroupRange> all;
  for (int place = 0; place < heap.Length();) {
    const MatchResult found =
        ExecuteMatcher(work, conditions, heap.Data() + place, heap.Length() - place, 1,
                       withNotes ? &notes : nullptr);
    if (found.outcome != SearchOutcome::kFound || found.range.end < 1) break;
    all.push_back({place + found.range.start, place + found.range.end});
    place += found.range.end;
  }
  readsLines = work.lineGroups != nullptr;
  return all;
}

TEST(LineGroups, OfLinesReadAtOnceAreThoseOfSearchesOneByOne) {
  struct Case {
    const char* pattern;
    bool words;
  };
  for (const Case& c : {Case{"^(.).*b", false},
                        {"^( ?[ab]+).*b$", false},
                        {"\\<(a+)\\>.*b", false},
                        {"(b |^a|a\\b).*b", false},
                        {"(a\\b).*b", false},
                        {"(a).*b", false},
                        {"(a).*b", true},
                        {"(a|b ).*", true}}) {
    int linesRead = 0;
    for (unsigned seed = 1; seed <= 8; ++seed) {
      SCOPED_TRACE(::testing::Message() << c.pattern << " seed " << seed);
      RandomPattern random(seed, {});
      std::string text = seed % 2 == 0 ? "b_a\n" : "";
      while (text.size() < 800)
        text += random.Below(4) == 0 ? " b" : random.Below(3) == 0 ? " a " : "ab";
      if (seed % 4 == 0) text += "_";
      text += seed % 2 == 0 ? "b\n\naab b" : "b";
      bool readsLines = false;
      bool doesNot = false;
      ASSERT_EQ(AllGroups(c.pattern, text, c.words, true, readsLines),
                AllGroups(c.pattern, text, c.words, false, doesNot));
      ASSERT_FALSE(doesNot);
      if (readsLines) ++linesRead;
    }
    EXPECT_GT(linesRead, 0) << c.pattern << (c.words ? " words" : "");
  }
}

struct AllFound {
  int count = 0;
  bool gaveUp = false;
  int lastStart = -1;
};

/// All matches, as a host finds them that asks for group 1.
AllFound FindAll(const std::string& pattern, const std::string& text, bool words = false) {
  PatternWork work(CompileMatcher(pattern, {.matchWords = words}).pattern);
  const HeapText heap(text);
  TextNotes notes;
  AllFound all;
  for (int place = 0; place < heap.Length();) {
    const MatchResult found = ExecuteMatcher(work, {.matchWords = words}, heap.Data() + place,
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

TEST(LineGroups, OfMatchesAfterAnchorsAndOfWholeWordsAreFound) {
  constexpr int kCount = CasesToTry(30'000);
  std::string line;
  for (int i = 0; i < kCount; ++i)
    line += "Haus ";
  for (const char* pattern : {"^(Haus ).*Katze", "\\<(Haus)\\>.*Katze", "(Haus).*Katze$"}) {
    const AllFound all = FindAll(pattern, line + "Katze");
    EXPECT_EQ(all.count, kCount) << pattern;
    EXPECT_FALSE(all.gaveUp);
  }
  const AllFound words = FindAll("(Haus).*Katze", line + "Katze", true);
  EXPECT_EQ(words.count, kCount);
  EXPECT_FALSE(words.gaveUp);
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
  ASSERT_TRUE(lineGroups->Prepare(heap.Data(), end, 1, false, credit));
  ASSERT_TRUE(lineGroups->Covers(heap.Data(), 1));
  EXPECT_FALSE(lineGroups->Covers(heap.Data(), 2));
  static_cast<void>(credit.Spend(kWorkAtLeast));
  EXPECT_EQ(lineGroups->Find(heap.Data(), true, credit).outcome, SearchOutcome::kGaveUp);
  EXPECT_FALSE(lineGroups->Prepare(heap.Data(), end, 1, false, credit));
  EXPECT_FALSE(lineGroups->Covers(heap.Data(), 1));
}

}  // namespace
}  // namespace trovex
