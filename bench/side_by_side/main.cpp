// The library beside four peers: the same searches in the same text, in one run.
//
//     side_by_side [--filter=WORDS] [--form=lines|line] [--json=FILE] TEXT
//
// Rows are searched in the text as it is ("lines") and with every line feed replaced by a blank
// ("one line"). All contestants must find the same; a difference is told, and the exit status is 1.
// Rates are gigabytes of text a second of CPU time, the fastest of many interleaved runs; the ratio
// is the library's rate by the best peer's. For expressions, a peer searches the single words, and
// its matches are put together by hand. Whoever needs longer than kSecondsMax for a search has a "-".
//
// --filter runs only what has WORDS in its name or pattern, --form only one form of the text.

#include "bench/side_by_side/results.h"
#include "bench/side_by_side/trials.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iterator>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace trovex::bench {

namespace {

struct Options {
  std::string filter;
  std::string form;  // empty: both
  std::string json;  // empty: none
  std::string text;

  bool Wants(std::string_view name, std::string_view pattern) const {
    return name.find(filter) != name.npos || pattern.find(filter) != pattern.npos;
  }
};

/// False when the command line is not understood.
bool ReadOptions(int argc, char** argv, Options* options) {
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument = argv[i];
    const std::string_view value = argument.substr(argument.find('=') + 1);
    if (argument.starts_with("--filter=")) {
      options->filter = value;
    } else if (argument == "--form=lines" || argument == "--form=line") {
      options->form = value;
    } else if (argument.starts_with("--json=")) {
      options->json = value;
    } else if (options->text.empty() && !argument.starts_with('-')) {
      options->text = argument;
    } else {
      return false;
    }
  }
  return !options->text.empty();
}

FormResult SearchAll(const std::vector<const Row*>& rows, const char* form,
                     const std::string& text) {
  FormResult result{.name = form, .rows = {}};
  PrintFormHead(result);
  for (const Row* row : rows) {
    result.rows.push_back(TrySearching(*row, text));
    PrintRow(result.rows.back());
  }
  PrintFormFoot(result);
  return result;
}

std::vector<CompileResult> CompileAll(const std::vector<const Row*>& rows) {
  std::vector<CompileResult> results;
  PrintCompilingHead();
  for (const Row* row : rows) {
    results.push_back(TryCompiling(*row));
    PrintCompiling(results.back());
  }
  return results;
}

std::vector<GrowthResult> GrowAll(const std::vector<const GrowthPattern*>& patterns,
                                  const std::string& line) {
  std::vector<GrowthResult> results;
  PrintGrowthHead();
  for (const GrowthPattern* pattern : patterns) {
    results.push_back(TryGrowth(*pattern, line));
    PrintGrowth(results.back());
  }
  return results;
}

/// What the filter lets through of `all`.
template <class T>
std::vector<const T*> Wanted(std::span<const T> all, const char* T::*pattern,
                             const Options& options) {
  std::vector<const T*> wanted;
  for (const T& one : all) {
    if (options.Wants(one.name, one.*pattern)) wanted.push_back(&one);
  }
  return wanted;
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
  const auto rows = Wanted(Rows(), &Row::expression, options);
  const auto growing = Wanted(GrowthPatterns(), &GrowthPattern::pattern, options);
  if (rows.empty() && growing.empty()) {
    std::fprintf(stderr, "no row has \"%s\" in its name or pattern\n", options.filter.c_str());
    return 2;
  }
  const bool inLines = options.form != "line";
  const bool inOneLine = options.form != "lines";

  Results results;
  if (inLines && !rows.empty()) results.forms.push_back(SearchAll(rows, "lines", lines));
  if (inOneLine && !rows.empty()) results.forms.push_back(SearchAll(rows, "one line", line));
  if (!rows.empty()) results.compiling = CompileAll(rows);
  if (inOneLine && !growing.empty()) results.growth = GrowAll(growing, line);

  if (!options.json.empty() && !WriteJson(results, options.json)) {
    std::fprintf(stderr, "%s: cannot be written\n", options.json.c_str());
    return 2;
  }
  return results.Agree() ? 0 : 1;
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
