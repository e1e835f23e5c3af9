// Options, expression, search: one after the other, each with its own way to fail.
//
// Little work is done in this process. Work that is worth it goes to workers.

#include "hosts/cli/program.h"

#include "hosts/cli/command/options.h"
#include "hosts/cli/files/code_page.h"
#include "hosts/cli/files/file_walk.h"
#include "hosts/cli/output/printer.h"
#include "hosts/cli/output/progress.h"
#include "hosts/cli/output/terminal.h"
#include "hosts/cli/search/explain.h"
#include "hosts/cli/search/expression.h"
#include "hosts/cli/search/file_search.h"
#include "hosts/cli/search/query.h"
#include "hosts/cli/search/result_stream.h"
#include "hosts/cli/search/workers.h"

#include <sys/stat.h>
#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <deque>
#include <exception>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <variant>

namespace trovex::cli {

namespace {

/// Below this many bytes a search is done before a worker would have been started.
constexpr std::int64_t kSmallWork = std::int64_t{1024} * 1024;

using Clock = Progress::Clock;

/// The files to be searched, with a look ahead that takes nothing away.
class WorkAhead {
 public:
  explicit WorkAhead(FileWalk walk) : walk_(std::move(walk)) {}

  /// Whether there are at least two files.
  bool HasSeveral() {
    while (ahead_.size() < 2) {
      if (!LookFurther()) return false;
    }
    return true;
  }

  /// Whether the files together are worth the start of a worker.
  bool IsLarge() {
    while (bytesAhead_ < kSmallWork) {
      if (!LookFurther()) return false;
    }
    return true;
  }

  std::optional<FileToSearch> Next() {
    if (ahead_.empty()) return walk_.Next();
    FileToSearch file = std::move(ahead_.front());
    ahead_.pop_front();
    return file;
  }

 private:
  bool LookFurther() {
    std::optional<FileToSearch> file = walk_.Next();
    if (!file.has_value()) return false;
    struct stat status {};
    if (stat(file->path.c_str(), &status) == 0) bytesAhead_ += status.st_size;
    ahead_.push_back(std::move(*file));
    return true;
  }

  FileWalk walk_;
  std::deque<FileToSearch> ahead_;
  std::int64_t bytesAhead_ = 0;
};

int JobCount(const Options& options) {
  if (options.threads > 0) return options.threads;
  return static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
}

std::string_view SeparatorBetweenFiles(const Options& options, const Palette& palette,
                                       std::string& buffer) {
  const bool context = options.contextBefore > 0 || options.contextAfter > 0;
  if (options.output != OutputMode::kLines || !context) return {};
  buffer.append(palette.separator).append("--").append(palette.reset).append("\n");
  return buffer;
}

SearchSummary SearchHere(WorkAhead& work, FileSearch& search, ResultStream& stream,
                         Progress& progress, bool firstIsEnough) {
  SearchSummary total;
  while (const std::optional<FileToSearch> file = work.Next()) {
    stream.NextFile();
    total += search.Search(*file, stream);
    if (firstIsEnough && total.filesFound > 0) break;
    progress.Show(total.files, total.bytes, Clock::now());
  }
  return total;
}

std::string StatsText(const SearchSummary& total, double seconds) {
  char time[32];
  std::snprintf(time, sizeof time, "%.3f", seconds);
  const auto line = [](std::int64_t count, const char* what) {
    return std::to_string(count) + " " + what + "\n";
  };
  return line(total.items, "matches") + line(total.lines, "matching lines") +
         line(total.filesFound, "files with matches") + line(total.files, "files searched") +
         line(total.bytes, "bytes searched") + time + " seconds\n";
}

int RunSearch(const Options& options, Query query, bool utf8Terminal) {
  const Clock::time_point start = Clock::now();
  const Palette palette = Palette::For(UseColors(options.color));
  Progress progress(STDERR_FILENO, start);
  std::string buffer;
  ResultStream stream(SeparatorBetweenFiles(options, palette, buffer), &progress);
  FileSearch search(options, std::move(query), Printer(options, utf8Terminal, palette));
  WorkAhead work{FileWalk(options)};

  const bool firstIsEnough = options.output == OutputMode::kQuiet && !options.stats;
  const int jobs = JobCount(options);
  const bool parallel = jobs > 1 && work.HasSeveral();
  SearchSummary total;
  if ((parallel || progress.IsVisible()) && work.IsLarge()) {
    const auto searchOne = [&search](const FileToSearch& file, ResultSink& sink) {
      return search.Search(file, sink);
    };
    WorkerPool pool(jobs, searchOne, stream, progress);
    total = pool.Run([&work] { return work.Next(); }, firstIsEnough);
  } else {
    total = SearchHere(work, search, stream, progress, firstIsEnough);
  }
  stream.NextFile();
  stream.Flush();
  progress.Erase();
  if (options.stats) {
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    stream.Note(StatsText(total, seconds));
  }
  if (total.trouble) return kExitTrouble;
  return total.filesFound > 0 ? kExitFound : kExitNotFound;
}

int RefuseExpression(const Options& options, const ExpressionFault& fault, ResultStream& stream) {
  stream.Note("    " + options.expressions.front() + "\n");
  stream.Complaint(fault.sentence);
  return kExitTrouble;
}

int RunOptions(const Options& options, ResultStream& stream) {
  const std::string encoding = TerminalEncoding();
  const bool utf8Terminal = IsUtf8Encoding(encoding);
  auto converted = ConvertExpression(options.expressions.front(), encoding);
  if (const auto* fault = std::get_if<ExpressionFault>(&converted)) {
    return RefuseExpression(options, *fault, stream);
  }
  std::string expression = std::get<std::string>(std::move(converted));
  if (options.literal && !options.phonetic) expression = EscapePatternCharacters(expression);

  auto compiled = Query::Compile(expression, options);
  if (const auto* fault = std::get_if<ExpressionFault>(&compiled)) {
    return RefuseExpression(options, *fault, stream);
  }
  auto query = std::get<Query>(std::move(compiled));
  if (options.task != Task::kExplain) return RunSearch(options, std::move(query), utf8Terminal);
  const bool drawnInUtf8 =
      utf8Terminal || (IsPlainAscii(encoding) && IsValidUtf8(options.expressions.front()));
  stream.Output(ExplainQuery(query, options, drawnInUtf8));
  stream.Flush();
  return kExitFound;
}

int RunArguments(int argc, const char* const* argv, ResultStream& stream) {
  const auto parsed = ParseOptions(argc, argv, Surroundings::OfProcess());
  if (const auto* information = std::get_if<Information>(&parsed)) {
    stream.Output(information->text);
    stream.Flush();
    return kExitFound;
  }
  if (const auto* error = std::get_if<UsageError>(&parsed)) {
    stream.Complaint(error->message);
    stream.Note("Try: trovex --help\n");
    return kExitTrouble;
  }
  return RunOptions(std::get<Options>(parsed), stream);
}

}  // namespace

int RunProgram(int argc, const char* const* argv) {
  ResultStream stream({}, nullptr);
  try {
    return RunArguments(argc, argv, stream);
  } catch (const OutputFailure& failure) {
    // A reader that has seen enough, as in "trovex ... | head", is no trouble to talk about.
    if (failure.error != EPIPE) {
      stream.Complaint(std::string("the output cannot be written: ") +
                       std::strerror(failure.error));
    }
  } catch (const std::exception& error) {
    stream.Complaint(error.what());
  }
  return kExitTrouble;
}

}  // namespace trovex::cli
