// What a match costs besides finding it: making its found item, combining it with others, deleting
// it. And what a byte costs in the phonetic search.
//
// Items made one by one with `new` are measured in the same run as those that a leaf makes, so the
// ratio holds whatever else the machine is doing. "leaf" and "finding alone" find the same matches
// in the text; the difference is what the items of that search cost.

#include "api/matcher_state.h"
#include "bench/benchmark_text.h"
#include "expr/item_blocks.h"

#include <benchmark/benchmark.h>
#include <trovex/trovex.h>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

namespace {

/// The text, with a zero byte after it, shared by all benchmarks.
std::string text;

using Result = std::unique_ptr<CFoundItemArray>;

int TextLength() {
  return static_cast<int>(text.size());
}

/// Reports the time for one of `count` items, which every iteration deals with.
void SetPerItem(benchmark::State& state, long count) {
  using benchmark::Counter;
  state.counters["items"] = static_cast<double>(count);
  state.counters["per_item"] =
      Counter(static_cast<double>(count), Counter::kIsIterationInvariantRate | Counter::kInvert);
}

Result MakeSingly(int count, int first, int step) {
  auto array = std::make_unique<CFoundItemArray>();
  for (int i = 0; i < count; ++i)
    array->Add(new CFoundItem(first + i * step, first + i * step + 2, 0));
  return array;
}

Result MakeInBlocks(int count, int first, int step) {
  auto array = std::make_unique<CFoundItemArray>();
  trovex::ItemMaker maker;
  for (int i = 0; i < count; ++i)
    maker.Append(*array, first + i * step, first + i * step + 2, 0);
  return array;
}

template <Result (*Make)(int, int, int)>
void MakeAndDelete(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  for (auto _ : state)
    benchmark::DoNotOptimize(Make(count, 0, 40));
  SetPerItem(state, count);
}

template <Result (*Make)(int, int, int)>
void DeleteAlone(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  for (auto _ : state) {
    state.PauseTiming();
    Result array = Make(count, 0, 40);
    state.ResumeTiming();
    array.reset();
  }
  SetPerItem(state, count);
}

/// Two interleaved arrays of `range(0)` items each, combined within the distance `range(1)`.
void Merge(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  for (auto _ : state) {
    state.PauseTiming();
    auto first = MakeInBlocks(count, 0, 40);
    auto second = MakeInBlocks(count, 20, 40);
    auto merged = std::make_unique<CFoundItemArray>();
    state.ResumeTiming();
    merged->Merge(first.get(), second.get(), static_cast<int>(state.range(1)));
    state.PauseTiming();
    first.reset();
    second.reset();
    merged.reset();
    state.ResumeTiming();
  }
  SetPerItem(state, 2L * count);
}

/// Every second item is kept.
void DeleteUntagged(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  for (auto _ : state) {
    state.PauseTiming();
    auto array = MakeInBlocks(count, 0, 40);
    for (int i = 0; i < count; i += 2)
      array->GetAt(i)->SetTagMatched(1);
    state.ResumeTiming();
    array->DeleteItemsWithTagNotMatched();
    state.PauseTiming();
    array.reset();
    state.ResumeTiming();
  }
  SetPerItem(state, count);
}

std::unique_ptr<CSearchTreeItem> MakeTree(const char* expression, bool phonetic, bool words) {
  CSearchTreeItem* tree = nullptr;
  int tags = 0;
  const char* error =
      GetSearchTree(expression, phonetic ? 0 : 1, phonetic ? 1 : 0, words ? 1 : 0, 1, tree, &tags);
  if (error != nullptr) {
    std::fprintf(stderr, "%s: %s\n", expression, error);
    std::exit(1);
  }
  return std::unique_ptr<CSearchTreeItem>(tree);
}

void Leaf(benchmark::State& state, const char* pattern) {
  const auto tree = MakeTree(pattern, false, false);
  long matches = 0;
  for (auto _ : state)
    matches = Result(tree->Search(text.data(), TextLength(), 0))->GetSize();
  SetPerItem(state, matches);
}

void FindingAlone(benchmark::State& state, const char* pattern) {
  Compile(pattern, 0, 0);
  long matches = 0;
  for (auto _ : state) {
    matches = 0;
    trovex::MatchRange match{};
    for (int p = 0;
         trovex::SearchInstalled(text.data() + p, TextLength() - p, 0, match) && match.end > 0;
         p += match.end) {
      ++matches;
    }
  }
  SetPerItem(state, matches);
}

void Phonetic(benchmark::State& state, const char* word, bool words) {
  const auto tree = MakeTree(word, true, words);
  long matches = 0;
  for (auto _ : state)
    matches = Result(tree->Search(text.data(), TextLength(), 0))->GetSize();
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * TextLength());
  state.counters["items"] = static_cast<double>(matches);
}

BENCHMARK_TEMPLATE(MakeAndDelete, MakeSingly)->Arg(10)->Arg(1000)->Arg(250000);
BENCHMARK_TEMPLATE(MakeAndDelete, MakeInBlocks)->Arg(10)->Arg(1000)->Arg(250000);
BENCHMARK_TEMPLATE(DeleteAlone, MakeSingly)->Arg(250000);
BENCHMARK_TEMPLATE(DeleteAlone, MakeInBlocks)->Arg(250000);
BENCHMARK(Merge)->Args({250000, -1})->Args({250000, 10})->Args({250000, 30});
BENCHMARK(DeleteUntagged)->Arg(250000);
BENCHMARK_CAPTURE(Leaf, er, "er")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(FindingAlone, er, "er")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Phonetic, anywhere, "Meier", false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Phonetic, words, "Meier", true)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Phonetic, many, "er", false)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  if (!ReadBenchmarkText(argc, argv, text)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
