// What decoding costs beside copying, for every instruction set that the machine has.
//
// The German text is that of the benchmarks, encoded as UTF-8; the others are made here. Every text is
// also copied, in turns with decoding it: `of memcpy` is the best speed of the one as a part of the best
// of the other.

#include "bench/benchmark_text.h"
#include "text/code_page.h"
#include "text/utf8_text.h"

#include <benchmark/benchmark.h>
#ifdef TROVEX_USE_HIGHWAY
#include <hwy/highway.h>
#endif
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace {

using trovex::TextView;
using trovex::Utf8Blocks;
using trovex::Utf8Text;

using Byte = unsigned char;
using Clock = std::chrono::steady_clock;

struct Case {
  std::string name;
  std::string text;
};

std::vector<Case> cases;

void Append(std::string& text, char32_t codePoint) {
  const auto byte = [](char32_t value) { return static_cast<char>(value); };
  if (codePoint < 0x80) {
    text += byte(codePoint);
  } else if (codePoint < 0x800) {
    text += {byte(0xC0 | codePoint >> 6), byte(0x80 | (codePoint & 0x3F))};
  } else {
    text += {byte(0xE0 | codePoint >> 12), byte(0x80 | (codePoint >> 6 & 0x3F)),
             byte(0x80 | (codePoint & 0x3F))};
  }
}

/// Umlauts as letters with a combining diaeresis.
void AppendDecomposed(std::string& text, Byte c) {
  static constexpr std::string_view kUmlauts = "\xC4\xD6\xDC\xE4\xF6\xFC";
  static constexpr std::string_view kLetters = "AOUaou";
  const std::size_t umlaut = kUmlauts.find(static_cast<char>(c));
  if (umlaut == std::string_view::npos) return Append(text, trovex::CodePageToUnicode(c));
  text += kLetters[umlaut];
  Append(text, 0x308);
}

void MakeCases(const std::string& codePageText) {
  std::string german;
  std::string decomposed;
  std::string ascii;
  std::string chinese;
  for (const char c : codePageText) {
    const auto byte = static_cast<Byte>(c);
    Append(german, trovex::CodePageToUnicode(byte));
    AppendDecomposed(decomposed, byte);
    ascii += static_cast<char>(byte & 0x7F);
    if (c == '\n') {
      chinese += c;
    } else if (chinese.size() < codePageText.size()) {
      Append(chinese, 0x4E00U + byte * 61U);
    }
  }
  cases = {{"German", german},
           {"German, decomposed", decomposed},
           {"German in the code page", codePageText},
           {"Chinese", chinese},
           {"ASCII", ascii}};
}

TextView ViewOf(const std::string& text) {
  return {reinterpret_cast<const Byte*>(text.data()), text.size()};
}

void Decoding(benchmark::State& state, const Case& c, const Utf8Blocks& blocks) {
  Utf8Text decoder(blocks);
  std::string copy = c.text;
  Clock::duration decoding = Clock::duration::max();
  Clock::duration copying = Clock::duration::max();
  for (auto _ : state) {
    const auto begin = Clock::now();
    const TextView decoded = decoder.Decode(ViewOf(c.text), trovex::kUndefinedBytes.front());
    benchmark::DoNotOptimize(decoded.data());
    const auto middle = Clock::now();
    std::memcpy(copy.data(), c.text.data(), c.text.size());
    benchmark::DoNotOptimize(copy.data());
    benchmark::ClobberMemory();
    decoding = std::min(decoding, middle - begin);
    copying = std::min(copying, Clock::now() - middle);
    state.SetIterationTime(std::chrono::duration<double>(middle - begin).count());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                          static_cast<std::int64_t>(c.text.size()));
  state.counters["of memcpy"] =
      static_cast<double>(copying.count()) / static_cast<double>(decoding.count());
  state.counters["best GB/s"] = static_cast<double>(c.text.size()) /
                                std::chrono::duration<double, std::nano>(decoding).count();
}

/// Rows of a data base: short texts one after another.
void Rows(benchmark::State& state, const Case& c, const Utf8Blocks& blocks) {
  constexpr std::size_t kRow = 36;
  Utf8Text decoder(blocks);
  std::size_t at = 0;
  for (auto _ : state) {
    at = at + 2 * kRow < c.text.size() ? at + kRow : 0;
    benchmark::DoNotOptimize(
        decoder.Decode(ViewOf(c.text).subspan(at, kRow), trovex::kUndefinedBytes.front()).data());
  }
}

/// The positions of a hundred thousand characters, in ascending order.
void Positions(benchmark::State& state, const Case& c) {
  Utf8Text decoder;
  const TextView decoded = decoder.Decode(ViewOf(c.text), trovex::kUndefinedBytes.front());
  constexpr std::size_t kCount = 100000;
  for (auto _ : state) {
    for (std::size_t i = 0; i < kCount; ++i)
      benchmark::DoNotOptimize(decoder.SourceOffset(decoded.size() / kCount * i));
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) *
                          static_cast<std::int64_t>(kCount));
}

void Register(const Case& c, const std::string& way, const Utf8Blocks& blocks) {
  benchmark::RegisterBenchmark(
      (c.name + "/" + way).c_str(),
      [&c, blocks](benchmark::State& state) { Decoding(state, c, blocks); })
      ->UseManualTime()
      ->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark((c.name + ", rows/" + way).c_str(),
                               [&c, blocks](benchmark::State& state) { Rows(state, c, blocks); });
}

void RegisterCase(const Case& c) {
  Register(c, "plain", Utf8Blocks());
#ifdef TROVEX_USE_HIGHWAY
  for (const std::int64_t target : hwy::SupportedAndGeneratedTargets()) {
    hwy::SetSupportedTargetsForTest(target);
    Register(c, hwy::TargetName(target), trovex::ChooseUtf8Blocks());
    hwy::SetSupportedTargetsForTest(0);
  }
#endif
  Register(c, "chosen", trovex::ChooseUtf8Blocks());
  benchmark::RegisterBenchmark((c.name + "/positions").c_str(), [&c](benchmark::State& state) {
    Positions(state, c);
  })->Unit(benchmark::kMillisecond);
}

}  // namespace

int main(int argc, char** argv) {
  std::string text;
  if (!ReadBenchmarkText(argc, argv, text)) return 2;
  MakeCases(text);
  for (const Case& c : cases)
    RegisterCase(c);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
