// The road of one file: read, decode, cut into units, search, show.

#ifndef TROVEX_HOSTS_CLI_FILE_SEARCH_H
#define TROVEX_HOSTS_CLI_FILE_SEARCH_H

#include "hosts/cli/command/options.h"
#include "hosts/cli/files/file_walk.h"
#include "hosts/cli/files/source_text.h"
#include "hosts/cli/output/printer.h"
#include "hosts/cli/search/query.h"
#include "hosts/cli/search/result_stream.h"

#include <cstdint>

namespace trovex::cli {

/// What became of one file, or of several. Sent from process to process as it is.
struct SearchSummary {
  std::int64_t files = 0;  // that were searched
  std::int64_t filesFound = 0;
  std::int64_t bytes = 0;
  std::int64_t items = 0;
  std::int64_t lines = 0;
  bool trouble = false;

  SearchSummary& operator+=(const SearchSummary& other);
};

class FileSearch {
 public:
  FileSearch(const Options& options, Query query, const Printer& printer);

  /// Searches `file` and puts what is to be seen into `sink`.
  SearchSummary Search(const FileToSearch& file, ResultSink& sink);

 private:
  SearchSummary SearchBytes(const FileToSearch& file, FileBytes bytes, ResultSink& sink);
  FileResult SearchUnits(SourceText& text);
  void AddMatches(const SourceText& text, FileResult& result);

  Scope scope_;
  Encoding encoding_;
  bool phonetic_;
  bool searchBinary_;
  bool firstUnitIsEnough_;
  Query query_;
  Printer printer_;
  std::vector<Match> found_;  // of one unit; kept for its memory
};

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_FILE_SEARCH_H
