// What the benchmark found out, and how it is told: as tables for people, as JSON for the chart.

#ifndef TROVEX_BENCH_RESULTS_H
#define TROVEX_BENCH_RESULTS_H

#include "bench/side_by_side/rows.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace trovex::bench {

/// One number for each contestant, in their order; none where one could not, or not in time.
using Columns = std::vector<std::optional<double>>;

struct RowResult {
  const Row* row;
  std::optional<std::int64_t> matches;
  Columns rates;  // GB/s

  /// The library's rate in multiples of the best peer's; none without either.
  std::optional<double> Ratio() const;
};

struct FormResult {
  std::string name;
  std::vector<RowResult> rows;
};

struct CompileResult {
  const Row* row;
  Columns microseconds;
};

/// The library's times for one pattern on texts of kGrowthMegabytes.
struct GrowthResult {
  std::string pattern;
  Columns seconds;
};

inline constexpr std::size_t kGrowthMegabytes[] = {1, 4, 16};

struct Results {
  std::vector<FormResult> forms;
  std::vector<CompileResult> compiling;
  std::vector<GrowthResult> growth;
};

// The tables are printed line by line, as the numbers come in.

void PrintFormHead(const std::string& name);
void PrintRow(const RowResult& result);
/// The mean of all rows, and the rows that lie below.
void PrintFormFoot(const FormResult& form);

void PrintCompilingHead();
void PrintCompiling(const CompileResult& result);

void PrintGrowthHead();
void PrintGrowth(const GrowthResult& result);

/// Whether the file could be written.
bool WriteJson(const Results& results, const std::string& file);

}  // namespace trovex::bench

#endif  // TROVEX_BENCH_RESULTS_H
