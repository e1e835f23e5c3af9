// What each stage in front of the regular-expression engine is worth.
//
// One search is run on one text in every way: each stage alone, all stages together as a host gets
// them, and the engine alone on every line. All of it happens in one run, so the ratios hold
// whatever else the machine is doing; the first thing to look at is "x engine", how many times as
// fast as the engine alone.
//
// Matches are counted on every road that finds them, and a difference ends the program: a fast
// wrong answer is worth nothing.

#include "api/matcher_state.h"
#include "bench/benchmark_text.h"
#include "matcher/line_filter/automaton_executor.h"

#include <benchmark/benchmark.h>
#include <trovex/trovex.h>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace {

/// The text, with a zero byte after it, shared by all benchmarks.
std::string text;

struct Case {
  const char* name;
  const char* pattern;
  bool foldCase;
};

constexpr Case kCases[] = {
    {"absent keyword", "Xylophonbaum", false},
    {"absent keyword, folded", "Xylophonbaum", true},
    {"common keyword", "Datei", false},
    {"common keyword, folded", "datei", true},
    {"no keyword, no match", "[0-9][A-Z][0-9][a-z][A-Z]", false},
    {"capitalised words", "[A-Z][a-z]+", false},
    {"word ending", "[a-z]+ung", false},
    {"alternatives", "Fehler|Warnung|Hinweis", false},
};

/// Gives up on an answer that must not differ.
void RequireEqual(const char* what, long a, long b) {
  if (a == b) return;
  std::fprintf(stderr, "%s: %ld matches on one road, %ld on the other\n", what, a, b);
  std::exit(1);
}

/// All matches of a tree of one leaf, as a host counts them.
long CountMatches(CSearchTreeItem& tree) {
  const std::unique_ptr<CFoundItemArray> found(
      tree.Search(text.data(), static_cast<int>(text.size()), 0));
  return found->GetSize();
}

std::unique_ptr<CSearchTreeItem> MakeTree(const Case& c) {
  CSearchTreeItem* tree = nullptr;
  int tags = 0;
  if (const char* error = GetSearchTree(c.pattern, 1, 0, 0, c.foldCase ? 0 : 1, tree, &tags)) {
    std::fprintf(stderr, "%s: %s\n", c.name, error);
    std::exit(1);
  }
  return std::unique_ptr<CSearchTreeItem>(tree);
}

void SetRate(benchmark::State& state, long matches) {
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                          static_cast<std::int64_t>(text.size()));
  state.counters["matches"] = static_cast<double>(matches);
}

void Whole(benchmark::State& state, const Case& c, bool engineOnly) {
  const auto tree = MakeTree(c);
  trovex::Matcher().engineOnly = engineOnly;
  long matches = 0;
  for (auto _ : state)
    matches = CountMatches(*tree);
  trovex::Matcher().engineOnly = false;
  if (engineOnly) RequireEqual(c.name, matches, CountMatches(*tree));
  SetRate(state, matches);
}

void KeywordSetAlone(benchmark::State& state, const Case& c) {
  Compile(c.pattern, c.foldCase, 0);
  const trovex::KeywordSet* keywords = trovex::Matcher().installed->pattern->keywords.get();
  if (keywords == nullptr) {
    state.SkipWithError("no keyword");
    return;
  }
  long found = 0;
  for (auto _ : state) {
    found = 0;
    trovex::KeywordMatch match{};
    const char* p = text.data();
    const char* const limit = p + text.size();
    while (trovex::KeywordSetSearch(*keywords, p, static_cast<int>(limit - p), &match) != nullptr) {
      ++found;
      p = match.start + match.length;
    }
  }
  SetRate(state, found);
}

void AutomatonAlone(benchmark::State& state, const Case& c) {
  Compile(c.pattern, c.foldCase, 0);
  const trovex::PatternAutomatonPtr copy =
      trovex::CopyAutomaton(trovex::Matcher().installed->pattern->lineFilter);
  trovex::PatternAutomaton& automaton = *copy;
  long found = 0;
  for (auto _ : state) {
    found = 0;
    char* p = text.data();
    char* const limit = p + text.size();
    while (const char* place =
               trovex::AutomatonExecute(automaton, p, limit, false, nullptr, nullptr)) {
      ++found;
      // The next line: the automaton answers line by line.
      while (place < limit && *place != '\n')
        ++place;
      if (place >= limit) break;
      p = text.data() + (place - text.data()) + 1;
    }
    *limit = '\0';
  }
  SetRate(state, found);
}

void Register(const std::string& name, void (*run)(benchmark::State&, const Case&), const Case& c) {
  benchmark::RegisterBenchmark(name.c_str(), [run, &c](benchmark::State& s) {
    run(s, c);
  })->Unit(benchmark::kMillisecond);
}

}  // namespace

int main(int argc, char** argv) {
  if (!ReadBenchmarkText(argc, argv, text)) return 2;
  for (const Case& c : kCases) {
    const std::string name = c.name;
    Register(name + "/keyword set", KeywordSetAlone, c);
    Register(name + "/automaton", AutomatonAlone, c);
    Register(
        name + "/all stages", [](benchmark::State& s, const Case& k) { Whole(s, k, false); }, c);
    Register(
        name + "/engine alone", [](benchmark::State& s, const Case& k) { Whole(s, k, true); }, c);
  }
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
