// The library beside four peers: the same searches in the same text, in one run.
//
//     side_by_side [--filter=WORDS] [--form=lines|line|rows] [--words=FILE] [--rows=FILE] [--json=FILE]
//                  TEXT...
//
// The library takes part through both of its doors. Rows are searched in each text as it is ("lines"),
// and in the first one also with every line feed replaced by a blank ("one line") and cut into rows of
// 36 bytes, where the first match of each is looked for ("short texts"). All contestants must find the
// same; a difference is told, and the exit status is 1. Rates are gigabytes of text a second of CPU
// time, the fastest of many interleaved runs; the ratios are those of the library's doors by the best
// peer's. For expressions, a peer searches the single words, and its matches are put together by hand.
// Whoever needs longer than kSecondsMax for a search has a "-".
//
// --filter runs only what has WORDS in its name, --form only one form, but of all texts. --words is a
// sorted list of words in Windows Latin-1, of which the rows of long lists are made. --rows has other rows than
// the table's, one a line (RowOfLine).

#include "bench/side_by_side/results.h"
#include "bench/side_by_side/trials.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <span>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace trovex::bench {

namespace {

struct Options {
  std::string filter;
  std::optional<Form> form;
  std::string words;  // empty: no rows of long lists
  std::string rows;   // empty: those of the table
  std::string json;   // empty: none
  std::vector<std::string> texts;

  bool Wants(Form wanted, std::size_t text) const {
    return form ? *form == wanted : wanted == Form::kLines || text == 0;
  }
};

std::optional<Form> FormOf(std::string_view name) {
  if (name == "lines") return Form::kLines;
  if (name == "line") return Form::kOneLine;
  if (name == "rows") return Form::kRows;
  return std::nullopt;
}

/// False when the command line is not understood.
bool ReadOptions(int argc, char** argv, Options* options) {
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument = argv[i];
    const std::string_view value = argument.substr(argument.find('=') + 1);
    if (argument.starts_with("--filter=")) {
      options->filter = value;
    } else if (argument.starts_with("--form=") && FormOf(value)) {
      options->form = FormOf(value);
    } else if (argument.starts_with("--words=")) {
      options->words = value;
    } else if (argument.starts_with("--rows=")) {
      options->rows = value;
    } else if (argument.starts_with("--json=")) {
      options->json = value;
    } else if (!argument.starts_with('-')) {
      options->texts.emplace_back(argument);
    } else {
      return false;
    }
  }
  return !options->texts.empty();
}

/// Throws std::runtime_error when it cannot be read, or is empty.
std::string ReadFile(const std::string& name) {
  std::ifstream file(name, std::ios::binary);
  std::string content{std::istreambuf_iterator<char>(file), {}};
  if (content.empty()) throw std::runtime_error(name + " cannot be read, or is empty");
  return content;
}

/// The lines of a file; none without a name.
std::vector<std::string> ReadLines(const std::string& name) {
  std::vector<std::string> lines;
  if (name.empty()) return lines;
  std::istringstream file(ReadFile(name));
  for (std::string line; std::getline(file, line);)
    lines.push_back(line);
  return lines;
}

std::vector<Row> AllRows(const Options& options) {
  if (options.rows.empty()) return MakeRows(ReadLines(options.words));
  std::vector<Row> rows;
  for (const std::string& line : ReadLines(options.rows))
    rows.push_back(RowOfLine(line));
  return rows;
}

FormResult SearchAll(const std::vector<const Row*>& rows, const Text& text, EngineStock& stock) {
  FormResult result{.name = text.Title(), .rows = {}};
  PrintFormHead(result);
  for (const Row* row : rows) {
    result.rows.push_back(TrySearching(*row, text, stock));
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
std::vector<const T*> Wanted(std::span<const T> all, const std::string& filter) {
  std::vector<const T*> wanted;
  for (const T& one : all) {
    if (one.name.find(filter) != std::string::npos) wanted.push_back(&one);
  }
  return wanted;
}

int Run(const Options& options) {
  const std::vector<Row> allRows = AllRows(options);
  const auto rows = Wanted(std::span(allRows), options.filter);
  const auto growing = Wanted(
      options.rows.empty() ? GrowthPatterns() : decltype(GrowthPatterns()){}, options.filter);
  if (rows.empty() && growing.empty()) {
    std::fprintf(stderr, "no row has \"%s\" in its name\n", options.filter.c_str());
    return 2;
  }

  Results results;
  EngineStock stock;
  for (std::size_t i = 0; i < options.texts.size() && !rows.empty(); ++i) {
    const std::string content = ReadFile(options.texts[i]);
    const std::string name = std::filesystem::path(options.texts[i]).stem().string();
    for (const Form form : {Form::kLines, Form::kOneLine, Form::kRows}) {
      if (options.Wants(form, i))
        results.forms.push_back(SearchAll(rows, Text(name, content, form), stock));
    }
  }
  if (!rows.empty() && !options.form) results.compiling = CompileAll(rows);
  if (!growing.empty() && !options.form) {
    std::string line = ReadFile(options.texts.front());
    std::replace(line.begin(), line.end(), '\n', ' ');
    results.growth = GrowAll(growing, line);
  }

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
    std::fputs(
        "usage: side_by_side [--filter=WORDS] [--form=lines|line|rows] [--words=FILE] "
        "[--rows=FILE] [--json=FILE] TEXT...\n",
        stderr);
  } catch (const std::exception& e) {
    std::fprintf(stderr, "side_by_side: %s\n", e.what());
  }
  return 2;
}
