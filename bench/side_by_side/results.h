// What the benchmark found out. It is told as tables for people (tables.cpp) and as JSON for the chart
// (json.cpp).

#ifndef TROVEX_BENCH_RESULTS_H
#define TROVEX_BENCH_RESULTS_H

#include "bench/side_by_side/rows.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace trovex::bench {

/// One number for each contestant, in their order; none where one could not, or not in time.
using Columns = std::vector<std::optional<double>>;
/// For each contestant, whether it refused to compile the row's search.
using Refusals = std::vector<bool>;

/// One row searched in one text.
struct RowResult {
  const Row* row;
  std::optional<std::int64_t> matches = std::nullopt;  // that all read alike
  bool agree = true;                                   // all contestants found the same
  Columns rates;                                       // GB/s
  Refusals refused;

  /// The rate of a door of the library in multiples of the best peer's; none without either.
  std::optional<double> Ratio(std::size_t door) const;
  /// A peer has a rate and the door has none.
  bool HasFailed(std::size_t door) const;
};

/// All rows searched in one form of one text.
struct FormResult {
  std::string name;
  std::vector<RowResult> rows;

  std::vector<double> Ratios(std::size_t door) const;
};

struct CompileResult {
  const Row* row;
  Columns microseconds;
  Refusals refused;
};

inline constexpr std::size_t kGrowthMegabytes[] = {1, 4, 16};

/// The library's times for one pattern on texts of kGrowthMegabytes; none where it took too long.
struct GrowthResult {
  std::string name;
  std::vector<std::optional<double>> seconds;
};

struct Results {
  std::vector<FormResult> forms;
  std::vector<CompileResult> compiling;
  std::vector<GrowthResult> growth;

  /// Whether all contestants found the same everywhere.
  bool Agree() const;
};

/// Of at least one number.
double GeometricMean(const std::vector<double>& numbers);

// Tables, printed line by line, as the numbers come in.

void PrintFormHead(const FormResult& form);
void PrintRow(const RowResult& result);
void PrintFormFoot(const FormResult& form);
void PrintCompilingHead();
void PrintCompiling(const CompileResult& result);
void PrintGrowthHead();
void PrintGrowth(const GrowthResult& result);

/// Returns whether the file could be written.
bool WriteJson(const Results& results, const std::string& file);

}  // namespace trovex::bench

#endif  // TROVEX_BENCH_RESULTS_H
