// What the vector instructions are worth to the search for places, for every instruction set that
// the machine has.
//
// Each case searches one text for all places with some probes, one call a place as the matcher does
// it, without vector instructions ("plain") and with each set of them. The places are counted on
// every road, and a difference ends the program.

#include "bench/benchmark_text.h"
#include "matcher/scan/place_scan.h"

#include <benchmark/benchmark.h>
#ifdef TROVEX_USE_HIGHWAY
#include <hwy/highway.h>
#endif
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace {

using trovex::CharSet;
using trovex::PlaceScan;
using trovex::Probes;

using Byte = unsigned char;

/// The text, shared by all benchmarks.
std::string text;

/// What can stand at the places: for one of the alternatives, at each offset i a byte of its set i.
struct Case {
  const char* name;
  std::vector<std::vector<std::string_view>> alternatives;
};

const std::string_view kUpper = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
const std::string_view kLower = "abcdefghijklmnopqrstuvwxyz";
const std::string_view kDigits = "0123456789";

const std::vector<Case> kCases = {
    {"X", {{"X"}}},
    {"X, folded", {{"xX"}}},
    {"Xq", {{"X", "q"}}},
    {"Xq, folded", {{"xX", "qQ"}}},
    {"Xqj", {{"X", "q", "j"}}},
    {"Xqj, folded", {{"xX", "qQ", "jJ"}}},
    {"er", {{"e", "r"}}},
    {"er, folded", {{"eE", "rR"}}},
    {"capital", {{kUpper}}},
    {"capital, small letter", {{kUpper, kLower}}},
    {"three capitals, digit", {{kUpper, kUpper, kUpper, kDigits}}},
    {"digit, point, digit", {{kDigits, ".", kDigits}}},
    {"F, W or H", {{"FWH", "eai", "hrn"}}},
    {"Feh, War or Hin", {{"F", "e", "h"}, {"W", "a", "r"}, {"H", "i", "n"}}},
    {"eight, folded",
     {{"dD", "aA", "tT", "eE"},
      {"vV", "eE", "rR", "zZ"},
      {"fF", "eE", "hH", "lL"},
      {"oO", "pP", "tT", "iI"},
      {"bB", "eE", "nN", "uU"},
      {"sS", "yY", "sS", "tT"},
      {"pP", "rR", "oO", "zZ"},
      {"aA", "uU", "sS", "gG"}}},
};

PlaceScan MakeScan(const Case& c) {
  std::vector<Probes> alternatives;
  for (const std::vector<std::string_view>& sets : c.alternatives) {
    alternatives.emplace_back();
    for (std::size_t i = 0; i < sets.size(); ++i) {
      CharSet bytes;
      for (const char byte : sets[i])
        bytes.set(static_cast<Byte>(byte));
      alternatives.back().push_back({static_cast<int>(i), bytes});
    }
  }
  return PlaceScan::ForAlternatives(alternatives);
}

template <typename Find>
std::int64_t CountPlaces(const Find& find) {
  const auto* const begin = reinterpret_cast<const Byte*>(text.data());
  const Byte* const end = begin + text.size();
  std::int64_t count = 0;
  for (const Byte* p = find(begin, end); p != nullptr; p = find(p + 1, end))
    ++count;
  return count;
}

std::int64_t CountPlainly(const Case& c) {
  const PlaceScan scan = MakeScan(c);
  return CountPlaces(
      [&](const Byte* begin, const Byte* end) { return scan.FindPlainly(begin, end); });
}

void SetCounters(benchmark::State& state, std::int64_t places) {
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                          static_cast<std::int64_t>(text.size()));
  state.counters["places"] = static_cast<double>(places);
}

void Plain(benchmark::State& state, const Case& c) {
  std::int64_t places = 0;
  for (auto _ : state)
    places = CountPlainly(c);
  SetCounters(state, places);
}

#ifdef TROVEX_USE_HIGHWAY
void WithVectors(benchmark::State& state, const Case& c, std::int64_t target) {
  hwy::SetSupportedTargetsForTest(target);
  const PlaceScan scan = MakeScan(c);
  hwy::SetSupportedTargetsForTest(0);
  std::int64_t places = 0;
  for (auto _ : state)
    places = CountPlaces([&](const Byte* begin, const Byte* end) { return scan.Find(begin, end); });
  if (places != CountPlainly(c)) {
    std::fprintf(stderr, "%s: %ld places with vectors, %ld without\n", c.name,
                 static_cast<long>(places), static_cast<long>(CountPlainly(c)));
    std::exit(1);
  }
  SetCounters(state, places);
}
#endif

void Construction(benchmark::State& state, const Case& c) {
  for (auto _ : state) {
    const PlaceScan scan = MakeScan(c);
    benchmark::DoNotOptimize(&scan);
  }
}

void RegisterCase(const Case& c) {
  const std::string name = c.name;
  benchmark::RegisterBenchmark((name + "/construction").c_str(),
                               [&c](benchmark::State& state) { Construction(state, c); });
  benchmark::RegisterBenchmark((name + "/plain").c_str(), [&c](benchmark::State& state) {
    Plain(state, c);
  })->Unit(benchmark::kMillisecond);
#ifdef TROVEX_USE_HIGHWAY
  for (const std::int64_t target : hwy::SupportedAndGeneratedTargets()) {
    benchmark::RegisterBenchmark(
        (name + "/" + hwy::TargetName(target)).c_str(),
        [&c, target](benchmark::State& state) { WithVectors(state, c, target); })
        ->Unit(benchmark::kMillisecond);
  }
#endif
}

}  // namespace

int main(int argc, char** argv) {
  if (!ReadBenchmarkText(argc, argv, text)) return 2;
  for (const Case& c : kCases)
    RegisterCase(c);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
