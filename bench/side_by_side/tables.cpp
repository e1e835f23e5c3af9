// The results as tables. Rates and times have three digits that say something; "-" stands where there
// is no number, "refused" where a contestant would not compile the search.

#include "bench/side_by_side/contestants.h"
#include "bench/side_by_side/results.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace trovex::bench {

namespace {

constexpr int kNameWidth = 34;

/// Begins a line: `name` (UTF-8), and blanks up to the second column.
void PrintName(const std::string& name) {
  const auto letters = std::count_if(name.begin(), name.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U;
  });
  std::printf("%s%*s", name.c_str(), std::max(0, kNameWidth - static_cast<int>(letters)), "");
}

void PrintNumber(std::optional<double> number) {
  if (!number) {
    std::printf(" %10s", "-");
    return;
  }
  const int decimals = *number < 1 ? 3 : *number < 10 ? 2 : *number < 100 ? 1 : 0;
  std::printf(" %10.*f", decimals, *number);
}

void PrintColumns(const Columns& columns, const Refusals& refused) {
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (refused[i]) {
      std::printf(" %10s", "refused");
    } else {
      PrintNumber(columns[i]);
    }
  }
}

void PrintContestants() {
  for (const Contestant& contestant : Contestants())
    std::printf(" %10s", contestant.name);
}

void EndLine() {
  std::printf("\n");
  std::fflush(stdout);
}

}  // namespace

void PrintFormHead(const FormResult& form) {
  PrintName(form.name + ", GB/s");
  std::printf(" %8s", "matches");
  PrintContestants();
  for (std::size_t door = 0; door < kDoors; ++door)
    std::printf(" %8s x", Contestants()[door].name);
  EndLine();
}

void PrintRow(const RowResult& result) {
  PrintName(result.row->name);
  if (result.matches) {
    std::printf(" %8lld", static_cast<long long>(*result.matches));
  } else {
    std::printf(" %8s", "-");
  }
  PrintColumns(result.rates, result.refused);
  for (std::size_t door = 0; door < kDoors; ++door)
    PrintNumber(result.Ratio(door));
  EndLine();
}

void PrintFormFoot(const FormResult& form) {
  for (std::size_t door = 0; door < kDoors; ++door) {
    const char* const name = Contestants()[door].name;
    const std::vector<double> ratios = form.Ratios(door);
    if (!ratios.empty()) {
      const auto below = [&ratios](double limit) {
        return std::count_if(ratios.begin(), ratios.end(), [limit](double r) { return r < limit; });
      };
      std::printf("%s: geometric mean of %zu ratios %.3f, worst %.3f; %ld below 1, %ld below 0.5",
                  name, ratios.size(), GeometricMean(ratios),
                  *std::min_element(ratios.begin(), ratios.end()), below(1), below(0.5));
      EndLine();
    }
    const auto failed = std::count_if(form.rows.begin(), form.rows.end(),
                                      [door](const RowResult& row) { return row.HasFailed(door); });
    if (failed != 0) std::printf("%s: %ld searches took too long or were refused\n", name, failed);
  }
  EndLine();
}

void PrintCompilingHead() {
  PrintName("compiling, microseconds");
  std::printf(" %8s", "");
  PrintContestants();
  EndLine();
}

void PrintCompiling(const CompileResult& result) {
  PrintName(result.row->name);
  std::printf(" %8s", "");
  PrintColumns(result.microseconds, result.refused);
  EndLine();
}

void PrintGrowthHead() {
  EndLine();
  PrintName("one line, milliseconds");
  for (const std::size_t megabytes : kGrowthMegabytes)
    std::printf(" %7zu MB", megabytes);
  for (std::size_t i = 1; i < std::size(kGrowthMegabytes); ++i)
    std::printf(" %5zu : %2zu", kGrowthMegabytes[i], kGrowthMegabytes[i - 1]);
  EndLine();
}

void PrintGrowth(const GrowthResult& result) {
  PrintName(result.name);
  const auto& seconds = result.seconds;
  for (const auto& s : seconds)
    PrintNumber(s ? std::optional(*s * 1e3) : std::nullopt);
  for (std::size_t i = 1; i < seconds.size(); ++i)
    PrintNumber(seconds[i] ? std::optional(*seconds[i] / *seconds[i - 1]) : std::nullopt);
  EndLine();
}

}  // namespace trovex::bench
