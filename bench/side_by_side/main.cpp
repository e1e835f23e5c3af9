// The library beside four peers: the same searches in the same text, in one run.
//
//     side_by_side [--filter=WORDS] [--form=lines|line] [--json=FILE] TEXT
//
// Rows are searched in the text as it is ("lines") and with every line feed replaced by a blank
// ("line"). Before anything is measured, every contestant's matches are held against the first one's,
// place by place; a difference is told, and the exit status is 1. Rates are gigabytes of text a
// second of CPU time, the fastest of many interleaved runs; the ratio is the library's rate by the
// best peer's. Whoever needs more than kLimit seconds for one search gets a "-".
//
// With --filter only the rows whose name or expression contains WORDS are run, and not the growth
// table unless it has such a pattern.

#include "bench/side_by_side/contestants.h"
#include "bench/side_by_side/measure.h"
#include "bench/side_by_side/results.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

namespace trovex::bench {

namespace {

/// What one search may take, in seconds.
constexpr unsigned kLimit = 3;

struct Options {
  std::string filter;
  std::string form;  // empty: both
  std::string json;  // empty: none
  std::string text;

  bool Wants(std::string_view name) const { return name.find(filter) != std::string_view::npos; }
  bool Wants(const Row& row) const { return Wants(row.name) || Wants(row.expression); }
};

/// A contestant's search of a row, and its column.
struct Entrant {
  std::size_t column;
  std::unique_ptr<Engine> engine;
};

/// Those who can do the row in time.
std::vector<Entrant> Entrants(const Row& row, const std::string& text) {
  std::vector<Entrant> entrants;
  for (std::size_t i = 0; i < Contestants().size(); ++i) {
    const Contestant& contestant = Contestants()[i];
    if (!contestant.CanSearch(row)) continue;
    try {
      auto engine = contestant.Make(row);
      const auto firstRun = [&] { return SecondsOf([&] { engine->Count(text); }); };
      if (Guarded(firstRun, kLimit)) entrants.push_back({i, std::move(engine)});
    } catch (const std::exception& e) {
      std::fprintf(stderr, "%s, %s: %s\n", row.name, contestant.name, e.what());
    }
  }
  return entrants;
}

/// Holds the matches of all entrants against those of the first; false when they differ.
bool Agree(const Row& row, const std::vector<Entrant>& entrants, const std::string& text,
           std::optional<std::int64_t>* count) {
  bool agree = true;
  std::vector<Range> expected;
  for (const Entrant& entrant : entrants) {
    const std::vector<Range> matches = entrant.engine->Matches(text);
    if (&entrant == &entrants.front()) {
      expected = matches;
      *count = static_cast<std::int64_t>(matches.size());
    }
    if (matches == expected) continue;
    agree = false;
    const auto [a, b] =
        std::mismatch(expected.begin(), expected.end(), matches.begin(), matches.end());
    const Range none{-1, -1};
    const Range first = a != expected.end() ? *a : none;
    const Range other = b != matches.end() ? *b : none;
    std::fprintf(stderr,
                 "DIFFERENT: %s: %s has %zu matches, %s %zu; the first that differs is %d to %d "
                 "and %d to %d\n",
                 row.name, Contestants()[entrants.front().column].name, expected.size(),
                 Contestants()[entrant.column].name, matches.size(), first.start, first.end,
                 other.start, other.end);
  }
  return agree;
}

/// One row in one text; false when the contestants differ.
bool MeasureRow(const Row& row, const std::string& text, RowResult* result) {
  const std::vector<Entrant> entrants = Entrants(row, text);
  const bool agree = Agree(row, entrants, text, &result->matches);
  std::vector<Work> works;
  for (const Entrant& entrant : entrants)
    works.emplace_back([&] { entrant.engine->Count(text); });
  const std::vector<double> seconds = FastestRuns(works);
  for (std::size_t i = 0; i < entrants.size(); ++i)
    result->rates[entrants[i].column] = static_cast<double>(text.size()) / seconds[i] * 1e-9;
  return agree;
}

/// All rows in one form of the text; false when the contestants differ anywhere.
bool MeasureForm(const Options& options, const std::string& text, FormResult* form) {
  bool agree = true;
  PrintFormHead(form->name);
  for (const Row& row : Rows()) {
    if (!options.Wants(row)) continue;
    RowResult result{.row = &row, .matches = {}, .rates = Columns(Contestants().size())};
    agree &= MeasureRow(row, text, &result);
    PrintRow(result);
    form->rows.push_back(result);
  }
  PrintFormFoot(*form);
  return agree;
}

/// From the pattern to an engine, and back to nothing.
CompileResult MeasureCompiling(const Row& row) {
  CompileResult result{.row = &row, .microseconds = Columns(Contestants().size())};
  std::vector<std::size_t> columns;
  std::vector<Work> works;
  for (std::size_t i = 0; i < Contestants().size(); ++i) {
    const Contestant& contestant = Contestants()[i];
    if (!contestant.CanSearch(row)) continue;
    columns.push_back(i);
    works.emplace_back([&contestant, &row] { contestant.Make(row); });
  }
  const std::vector<double> seconds = FastestRuns(works);
  for (std::size_t i = 0; i < columns.size(); ++i)
    result.microseconds[columns[i]] = seconds[i] * 1e6;
  return result;
}

struct GrowthPattern {
  const char* pattern;
  Mode mode = Mode::kPlain;
};

constexpr GrowthPattern kGrowthPatterns[] = {
    {"Tastaturbelegung"},   {"[a-z]+ung"}, {"[A-Z][a-z]+"},
    {"Datei.*Verzeichnis"}, {"\\bund\\b"}, {"und", Mode::kWholeWords},
    {"[a-z]+xyzq|qzz"},
};

GrowthResult MeasureGrowth(const GrowthPattern& pattern, const std::string& line) {
  GrowthResult result{.pattern = pattern.pattern, .seconds = {}};
  if (pattern.mode == Mode::kWholeWords) result.pattern += ", whole words";
  const auto engine = MakeTrovex(pattern.pattern, pattern.mode);
  result.seconds.resize(std::size(kGrowthMegabytes));
  for (std::size_t i = 0; i < std::size(kGrowthMegabytes); ++i) {
    std::string text;
    while (text.size() < kGrowthMegabytes[i] << 20)
      text.append(line, 0, (kGrowthMegabytes[i] << 20) - text.size());
    result.seconds[i] =
        Guarded([&] { return FastestRuns({[&] { engine->Count(text); }})[0]; }, kLimit);
    if (!result.seconds[i]) break;
  }
  return result;
}

int Run(const Options& options) {
  std::ifstream file(options.text, std::ios::binary);
  const std::string lines{std::istreambuf_iterator<char>(file), {}};
  if (lines.empty()) {
    std::fprintf(stderr, "%s: cannot be read, or is empty\n", options.text.c_str());
    return 2;
  }
  std::string line = lines;
  std::replace(line.begin(), line.end(), '\n', ' ');

  Results results;
  bool agree = true;
  if (options.form != "line") {
    results.forms.push_back({.name = "lines, GB/s", .rows = {}});
    agree &= MeasureForm(options, lines, &results.forms.back());
  }
  if (options.form != "lines") {
    results.forms.push_back({.name = "one line, GB/s", .rows = {}});
    agree &= MeasureForm(options, line, &results.forms.back());
  }
  PrintCompilingHead();
  for (const Row& row : Rows()) {
    if (!options.Wants(row)) continue;
    results.compiling.push_back(MeasureCompiling(row));
    PrintCompiling(results.compiling.back());
  }
  if (options.form != "lines") PrintGrowthHead();
  for (const GrowthPattern& pattern : kGrowthPatterns) {
    if (options.form == "lines" || !options.Wants(pattern.pattern)) continue;
    results.growth.push_back(MeasureGrowth(pattern, line));
    PrintGrowth(results.growth.back());
  }

  if (!options.json.empty() && !WriteJson(results, options.json)) {
    std::fprintf(stderr, "%s: cannot be written\n", options.json.c_str());
    return 2;
  }
  return agree ? 0 : 1;
}

/// False when the command line is not understood.
bool ReadOptions(int argc, char** argv, Options* options) {
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument = argv[i];
    const auto value = [argument] { return std::string(argument.substr(argument.find('=') + 1)); };
    if (argument.starts_with("--filter=")) {
      options->filter = value();
    } else if (argument == "--form=lines" || argument == "--form=line") {
      options->form = value();
    } else if (argument.starts_with("--json=")) {
      options->json = value();
    } else if (options->text.empty() && !argument.starts_with('-')) {
      options->text = argument;
    } else {
      return false;
    }
  }
  return !options->text.empty();
}

}  // namespace

}  // namespace trovex::bench

int main(int argc, char** argv) {
  try {
    trovex::bench::Options options;
    if (trovex::bench::ReadOptions(argc, argv, &options)) return trovex::bench::Run(options);
    std::fputs("usage: side_by_side [--filter=WORDS] [--form=lines|line] [--json=FILE] TEXT\n",
               stderr);
  } catch (const std::exception& e) {
    std::fprintf(stderr, "side_by_side: %s\n", e.what());
  }
  return 2;
}
