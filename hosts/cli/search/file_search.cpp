// Searching one file.

#include "hosts/cli/search/file_search.h"

#include <unistd.h>
#include <new>
#include <utility>

namespace trovex::cli {

namespace {

/// Whether `match` is an empty match between a carriage return and its line feed. Flattened line
/// ends show an empty line there, which the file does not have.
bool LiesInLineEnd(const SourceText& text, const Match& match) {
  if (match.begin != match.end || match.begin == 0 || match.begin >= text.Length()) return false;
  const char* const place = text.Data() + match.begin;
  if (place[0] != '\n' || place[-1] != '\n') return false;
  return text.File()[static_cast<std::size_t>(text.FileOffset(match.begin - 1))] == '\r';
}

}  // namespace

SearchSummary& SearchSummary::operator+=(const SearchSummary& other) {
  files += other.files;
  filesFound += other.filesFound;
  bytes += other.bytes;
  items += other.items;
  lines += other.lines;
  trouble = trouble || other.trouble;
  return *this;
}

FileSearch::FileSearch(const Options& options, Query query, const Printer& printer)
    : scope_(options.scope),
      encoding_(options.encoding),
      phonetic_(options.phonetic),
      searchBinary_(options.binary),
      firstUnitIsEnough_(!options.stats && (options.output == OutputMode::kFiles ||
                                            options.output == OutputMode::kQuiet)),
      query_(std::move(query)),
      printer_(printer) {}

SearchSummary FileSearch::Search(const FileToSearch& file, ResultSink& sink) {
  const auto fail = [&sink](const std::string& sentence) {
    sink.Complaint(sentence);
    SearchSummary summary;
    summary.trouble = true;
    return summary;
  };
  if (!file.complaint.empty()) return fail(file.complaint);
  try {
    auto bytes = file.path == kStandardInput ? ReadDescriptor(STDIN_FILENO) : ReadFile(file.path);
    if (const auto* error = std::get_if<ReadError>(&bytes)) {
      return fail(DisplayName(file.path) + ": " + error->reason);
    }
    return SearchBytes(file, std::get<FileBytes>(std::move(bytes)), sink);
  } catch (const std::bad_alloc&) {
    return fail(DisplayName(file.path) + ": there is not enough memory for this file");
  }
}

SearchSummary FileSearch::SearchBytes(const FileToSearch& file, FileBytes bytes, ResultSink& sink) {
  SearchSummary summary;
  const bool binary = !searchBinary_ && LooksBinary(bytes.View());
  if (binary && !file.named) return summary;

  SourceText text(std::move(bytes), encoding_, phonetic_);
  const FileResult result = SearchUnits(text);
  const ResultCounts counts = printer_.Print(DisplayName(file.path), text, result, binary, sink);
  summary.files = 1;
  summary.filesFound = result.Found() ? 1 : 0;
  summary.bytes = static_cast<std::int64_t>(text.File().size());
  summary.items = counts.items;
  summary.lines = counts.lines;
  return summary;
}

FileResult FileSearch::SearchUnits(SourceText& text) {
  FileResult result;
  UnitWalker walker({text.Data(), static_cast<std::size_t>(text.Length())}, scope_);
  for (Unit unit{}; walker.Next(unit);) {
    char* const begin = text.Data() + unit.begin;
    const int length = unit.end - unit.begin;
    FlattenLineEnds(begin, length);
    found_.clear();
    const Answer answer = query_.Search(begin, length, unit.begin, found_);
    if (answer == Answer::kMatches) AddMatches(text, result);
    if (answer == Answer::kSatisfied) {
      result.satisfied.push_back({text.FileOffset(unit.begin), text.FileOffset(unit.end)});
    }
    if (firstUnitIsEnough_ && result.Found()) break;
  }
  return result;
}

/// Adds what was found in a unit, as ranges of the file.
void FileSearch::AddMatches(const SourceText& text, FileResult& result) {
  for (const Match& match : found_) {
    if (LiesInLineEnd(text, match)) continue;
    const int begin = text.FileOffset(match.begin);
    const int end = match.end == match.begin ? begin : text.FileOffset(match.end);
    result.matches.push_back({begin, end});
  }
}

}  // namespace trovex::cli
