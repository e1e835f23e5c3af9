#include "bench/side_by_side/results.h"

#include "bench/side_by_side/contestants.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>

namespace trovex::bench {

namespace {

constexpr int kNameWidth = 27;

/// `text` (UTF-8) and blanks up to the width of the first column.
void PrintName(const std::string& text) {
  const auto letters = std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U;
  });
  const int blanks = std::max(0, kNameWidth - static_cast<int>(letters));
  std::printf("%s%*s", text.c_str(), blanks, "");
}

void PrintNumber(const std::optional<double>& number) {
  if (!number) {
    std::printf(" %10s", "-");
  } else {
    // Three digits that say something.
    const int decimals = *number < 1 ? 3 : *number < 10 ? 2 : *number < 100 ? 1 : 0;
    std::printf(" %10.*f", decimals, *number);
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

std::vector<double> Ratios(const FormResult& form) {
  std::vector<double> ratios;
  for (const RowResult& row : form.rows) {
    if (const auto ratio = row.Ratio()) ratios.push_back(*ratio);
  }
  return ratios;
}

double GeometricMean(const std::vector<double>& numbers) {
  double sum = 0;
  for (const double number : numbers)
    sum += std::log(number);
  return std::exp(sum / static_cast<double>(numbers.size()));
}

/// Rows where the library gave no answer and a peer did.
long Unfinished(const FormResult& form) {
  return std::count_if(form.rows.begin(), form.rows.end(), [](const RowResult& row) {
    return !row.rates[0] &&
           std::any_of(row.rates.begin(), row.rates.end(), [](auto& r) { return r.has_value(); });
  });
}

/// The numbers of a row by the names of the contestants.
nlohmann::ordered_json ToJson(const Columns& columns) {
  auto json = nlohmann::ordered_json::object();
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (columns[i]) json[Contestants()[i].name] = *columns[i];
  }
  return json;
}

nlohmann::ordered_json ToJson(const FormResult& form) {
  nlohmann::ordered_json json = {{"text", form.name}};
  for (const RowResult& row : form.rows) {
    nlohmann::ordered_json entry = {{"name", row.row->name}};
    if (row.row->byHand) entry["by_hand"] = true;
    if (row.matches) entry["matches"] = *row.matches;
    entry["gigabytes_per_second"] = ToJson(row.rates);
    if (const auto ratio = row.Ratio()) entry["ratio"] = *ratio;
    json["rows"].push_back(entry);
  }
  if (const auto ratios = Ratios(form); !ratios.empty())
    json["geometric_mean"] = GeometricMean(ratios);
  return json;
}

}  // namespace

std::optional<double> RowResult::Ratio() const {
  std::optional<double> best;
  for (std::size_t i = 1; i < rates.size(); ++i)
    best = std::max(best, rates[i]);  // none is less than any number
  if (!rates[0] || !best) return std::nullopt;
  return *rates[0] / *best;
}

void PrintFormHead(const std::string& name) {
  std::printf("\n");
  PrintName(name);
  std::printf(" %9s", "matches");
  PrintContestants();
  std::printf(" %10s", "ratio");
  EndLine();
}

void PrintRow(const RowResult& result) {
  PrintName(result.row->name);
  if (result.matches) {
    std::printf(" %9lld", static_cast<long long>(*result.matches));
  } else {
    std::printf(" %9s", "-");
  }
  for (const auto& rate : result.rates)
    PrintNumber(rate);
  PrintNumber(result.Ratio());
  EndLine();
}

void PrintFormFoot(const FormResult& form) {
  const std::vector<double> ratios = Ratios(form);
  if (ratios.empty()) return;
  const auto ahead = std::count_if(ratios.begin(), ratios.end(), [](double r) { return r >= 1; });
  const auto far = std::count_if(ratios.begin(), ratios.end(), [](double r) { return r < 0.5; });
  std::printf("geometric mean of %zu ratios %.3f, worst %.3f; ahead in %ld, below 0.5 in %ld",
              ratios.size(), GeometricMean(ratios), *std::min_element(ratios.begin(), ratios.end()),
              ahead, far);
  if (const long unfinished = Unfinished(form)) std::printf("; %ld did not end", unfinished);
  EndLine();
}

void PrintCompilingHead() {
  std::printf("\n");
  PrintName("compiling, microseconds");
  PrintContestants();
  EndLine();
}

void PrintCompiling(const CompileResult& result) {
  PrintName(result.row->name);
  for (const auto& number : result.microseconds)
    PrintNumber(number);
  EndLine();
}

void PrintGrowthHead() {
  std::printf("\n");
  PrintName("one line, milliseconds");
  for (const std::size_t megabytes : kGrowthMegabytes)
    std::printf(" %7zu MB", megabytes);
  for (std::size_t i = 1; i < std::size(kGrowthMegabytes); ++i)
    std::printf("   x (%zu:%zu)", kGrowthMegabytes[i], kGrowthMegabytes[i - 1]);
  EndLine();
}

void PrintGrowth(const GrowthResult& result) {
  PrintName(result.pattern);
  const Columns& seconds = result.seconds;
  for (const auto& s : seconds)
    PrintNumber(s ? std::optional(*s * 1e3) : std::nullopt);
  for (std::size_t i = 1; i < seconds.size(); ++i)
    PrintNumber(seconds[i] ? std::optional(*seconds[i] / *seconds[i - 1]) : std::nullopt);
  EndLine();
}

bool WriteJson(const Results& results, const std::string& file) {
  nlohmann::ordered_json json;
  for (const Contestant& contestant : Contestants())
    json["contestants"].push_back(contestant.name);
  for (const FormResult& form : results.forms)
    json["forms"].push_back(ToJson(form));
  for (const CompileResult& result : results.compiling) {
    json["compiling"].push_back(
        {{"name", result.row->name}, {"microseconds", ToJson(result.microseconds)}});
  }
  for (const GrowthResult& result : results.growth) {
    nlohmann::ordered_json seconds = nlohmann::ordered_json::object();
    for (std::size_t i = 0; i < result.seconds.size(); ++i) {
      if (result.seconds[i]) seconds[std::to_string(kGrowthMegabytes[i])] = *result.seconds[i];
    }
    json["growth"].push_back({{"pattern", result.pattern}, {"seconds_by_megabytes", seconds}});
  }
  std::ofstream out(file);
  out << json.dump(2) << '\n';
  out.close();
  return !out.fail();
}

}  // namespace trovex::bench
