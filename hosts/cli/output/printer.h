// What was found in one file, as the user sees it: lines with context, the matches alone, counts,
// names or JSON.

#ifndef TROVEX_HOSTS_CLI_PRINTER_H
#define TROVEX_HOSTS_CLI_PRINTER_H

#include "hosts/cli/command/options.h"
#include "hosts/cli/files/source_text.h"
#include "hosts/cli/output/terminal.h"
#include "hosts/cli/search/line_index.h"
#include "hosts/cli/search/query.h"
#include "hosts/cli/search/result_stream.h"
#include "hosts/cli/search/units.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace trovex::cli {

/// What was found in one file. All ranges are of the file's own bytes.
struct FileResult {
  /// In the order of their starts; they may overlap. Each lies on one line.
  std::vector<Match> matches;
  /// The units that satisfy the expression because nothing in them breaks it.
  std::vector<Unit> satisfied;

  bool Found() const { return !matches.empty() || !satisfied.empty(); }
};

/// How much was found in one file.
struct ResultCounts {
  std::int64_t items = 0;  // matches, and satisfied units
  std::int64_t lines = 0;  // lines that they lie on; none for a file that is satisfied as a whole
};

class Printer {
 public:
  Printer(const Options& options, bool utf8Terminal, const Palette& palette);

  /// Shows the result of the file that is called `name`. With `binary`, lines are not shown, only
  /// that there are some.
  ResultCounts Print(std::string_view name, const SourceText& text, const FileResult& result,
                     bool binary, ResultSink& sink) const;

 private:
  class Page;

  OutputMode output_;
  bool json_;
  Scope scope_;
  bool fileNames_;
  bool lineNumbers_;
  int contextBefore_;
  int contextAfter_;
  int tag_;
  bool utf8Terminal_;
  Palette palette_;
};

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_PRINTER_H
