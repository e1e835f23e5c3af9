// Eight threads search with one compiled pattern at the same time, each with a work space of its own, on every
// road of the first door, and find what one finds. Under the thread sanitizer this tells whether anything is
// shared that changes.

#include "matcher/matcher.h"
#include "tests/heap_text.h"

#include <gtest/gtest.h>
#include <array>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace trovex {
namespace {

using testing::HeapText;

constexpr std::size_t kThreads = 8;

struct Search {
  const char* pattern;
  bool words;
  int group;
  bool engineOnly = false;
};

void PrintTo(const Search& search, std::ostream* out) {
  *out << search.pattern << " words " << search.words << " group " << search.group
       << (search.engineOnly ? " engine only" : "");
}

std::vector<std::string> Texts() {
  std::vector<std::string> texts;
  for (int i = 0; i < 12; ++i) {
    std::string text;
    for (int line = 0; line < 12 * i; ++line) {
      text += line % 3 == 0 ? "vom Haus abab" : "vom_Hof aab";
      text += line % 5 == 0 ? " und der Katze\n" : line % 7 == 0 ? " " : "\n";
    }
    texts.push_back(text);
  }
  // A line long enough to be read at once, where matches lie one inside the other.
  std::string line;
  for (int i = 0; i < 200; ++i)
    line += "Haus abc ";
  texts.push_back(line + "Katze");
  return texts;
}

using Found = std::vector<std::pair<int, int>>;

Found FoundIn(const std::shared_ptr<const CompiledPattern>& pattern, const Search& search,
              const std::vector<std::string>& texts) {
  PatternWork work(pattern);
  const SearchConditions conditions = {.matchWords = search.words, .engineOnly = search.engineOnly};
  Found found;
  for (const std::string& text : texts) {
    const HeapText heap(text);
    TextNotes notes;
    for (int place = 0; place < heap.Length();) {
      const MatchResult result = ExecuteMatcher(work, conditions, heap.Data() + place,
                                                heap.Length() - place, search.group, &notes);
      if (result.outcome != SearchOutcome::kFound || result.range.end < 1) break;
      found.emplace_back(place + result.range.start, place + result.range.end);
      place += result.range.end;
    }
  }
  return found;
}

class OnePattern : public ::testing::TestWithParam<Search> {};

TEST_P(OnePattern, IsSearchedByEightThreadsAtTheSameTime) {
  const Search search = GetParam();
  const CompileResult compiled = CompileMatcher(search.pattern, {.matchWords = search.words});
  ASSERT_EQ(compiled.fault, MessageNumber::kNone);
  const std::vector<std::string> texts = Texts();
  std::array<Found, kThreads> found;
  std::vector<std::thread> threads;
  for (Found& ofThread : found)
    threads.emplace_back([&] { ofThread = FoundIn(compiled.pattern, search, texts); });
  for (std::thread& thread : threads)
    thread.join();
  const Found expected = FoundIn(compiled.pattern, search, texts);
  EXPECT_FALSE(expected.empty());
  for (const Found& ofThread : found)
    EXPECT_EQ(ofThread, expected);
}

INSTANTIATE_TEST_SUITE_P(
    EveryRoad, OnePattern,
    ::testing::Values(Search{"Haus", false, 0},            // keyword, or a string of the locator
                      Search{"H[ao][uf]s?", true, 0},      // whole words
                      Search{"(a|b)+ .*(K|d)", false, 1},  // automata, and the engine for the group
                      Search{"(Haus).*Katze", false, 1},   // lines that are read at once
                      Search{"\\<(Haus|Hof)\\>.*b", false,
                             1},                     // line filter and engine read it differently
                      Search{"(^v|b)+.", false, 0},  // engine: an anchor in a repetition
                      Search{"(^v|b)+.", false, 0, true},   // engine, every line
                      Search{"(a|ab)(b|a)\\1", false, 2},   // the bounded matcher
                      Search{"([a-z][a-z])\\1", false, 1},  // back-references without the engine
                      Search{"eins|zwei|drei|vier|abab|sechs|sieben|acht|neun|zehn", false, 0}));

}  // namespace
}  // namespace trovex
