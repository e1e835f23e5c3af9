// The second door: what a short text costs, the same work on two threads, and whole texts.
//
// The file is cut into rows of 36 bytes, as a column of a table might hold them; each row is a text of
// its own. "time per row" is what a row costs all in all: handing it over, searching it, and its items.
// Rows with one thread and with two are measured in one run; where two cores are free, two threads do
// twice the rows of one in the same time.

#include "bench/benchmark_text.h"

#include <trovex/query.h>

#include <benchmark/benchmark.h>
#include <cstddef>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace {

using trovex::Encoding;
using trovex::Query;
using trovex::Searcher;
using trovex::SearchOptions;

constexpr std::size_t kRowSize = 36;

/// The text, shared by all benchmarks, and its rows.
std::string text;
std::vector<std::string_view> rows;

void CutIntoRows() {
  for (std::size_t at = 0; at + kRowSize <= text.size(); at += kRowSize)
    rows.push_back(std::string_view(text).substr(at, kRowSize));
}

Searcher SearcherFor(const char* expression) {
  return Searcher(std::get<Query>(Query::Compile(expression)));
}

/// One thread's share of the rows, again and again.
void SearchRows(benchmark::State& state, const char* expression, Encoding encoding,
                std::size_t mostItems) {
  Searcher searcher = SearcherFor(expression);
  SearchOptions options;
  options.encoding = encoding;
  options.mostItems = mostItems;
  const auto threads = static_cast<std::size_t>(state.threads());
  const std::size_t first = static_cast<std::size_t>(state.thread_index());
  std::size_t found = 0;
  std::size_t searched = 0;
  for (auto _ : state) {
    for (std::size_t i = first; i < rows.size(); i += threads) {
      searcher.Search(rows[i], options);
      found += searcher.Items().size();
      ++searched;
    }
  }
  benchmark::DoNotOptimize(found);
  using benchmark::Counter;
  state.counters["rows"] = Counter(static_cast<double>(searched), Counter::kIsRate);
  state.counters["time_per_row"] = Counter(
      static_cast<double>(searched), Counter::kIsRate | Counter::kInvert | Counter::kAvgThreads);
}

void SearchWhole(benchmark::State& state, const char* expression, Encoding encoding) {
  Searcher searcher = SearcherFor(expression);
  SearchOptions options;
  options.encoding = encoding;
  std::size_t found = 0;
  for (auto _ : state) {
    searcher.Search(text, options);
    found = searcher.Items().size();
  }
  state.counters["items"] = static_cast<double>(found);
  state.SetBytesProcessed(static_cast<std::int64_t>(text.size()) * state.iterations());
}

constexpr const char* kExpressions[] = {
    "Xylophon",    "Datei",           "Datei|Verzeichnis|Programm", "[a-z]+ung",
    "T\xC3\xBCr",  "Datei & Option",  "Datei &20 !Option",          "~Meier",
    "[A-Z][a-z]+", "(Datei|Option)s",
};

void Register() {
  for (const char* const expression : kExpressions) {
    const std::string name = expression;
    for (const int threads : {1, 2}) {
      benchmark::RegisterBenchmark(("rows, first item/" + name).c_str(), SearchRows, expression,
                                   Encoding::kLatin1, std::size_t{1})
          ->Threads(threads)
          ->UseRealTime();
    }
    benchmark::RegisterBenchmark(("rows as UTF-8, verdict/" + name).c_str(), SearchRows, expression,
                                 Encoding::kUtf8, std::size_t{0});
    benchmark::RegisterBenchmark(("whole text/" + name).c_str(), SearchWhole, expression,
                                 Encoding::kLatin1);
    benchmark::RegisterBenchmark(("whole text as UTF-8/" + name).c_str(), SearchWhole, expression,
                                 Encoding::kUtf8);
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (!ReadBenchmarkText(argc, argv, text)) return 1;
  CutIntoRows();
  Register();
  benchmark::RunSpecifiedBenchmarks();
}
