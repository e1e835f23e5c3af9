// Options, expression, search: one after the other, each with its own way to fail.

#include "hosts/cli/program.h"

#include "hosts/cli/command/options.h"
#include "hosts/cli/expression/explain.h"
#include "hosts/cli/expression/expression.h"
#include "hosts/cli/expression/fault_text.h"
#include "hosts/cli/expression/word_list.h"
#include "hosts/cli/files/file_walk.h"
#include "hosts/cli/files/input.h"
#include "hosts/cli/output/interruption.h"
#include "hosts/cli/output/json.h"
#include "hosts/cli/output/ordered_output.h"
#include "hosts/cli/output/printer.h"
#include "hosts/cli/output/progress.h"
#include "hosts/cli/output/result_stream.h"
#include "hosts/cli/output/terminal.h"
#include "hosts/cli/output/visible_text.h"
#include "hosts/cli/search/classic_search.h"
#include "hosts/cli/search/search_pool.h"

#include <fcntl.h>
#include <malloc.h>
#include <sched.h>
#include <sys/stat.h>
#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace trovex::cli {

namespace {

using Clock = Progress::Clock;

/// Ends the program as it is: threads may be waiting for a pipe, and there is nothing to lose.
[[noreturn]] void Leave(int status) {
  EraseTraces();
  _exit(status);
}

void LeaveOnOutputFailure(int error) {
  // A reader that has seen enough, as in "trovex ... | head", is no trouble to talk about.
  if (error == EPIPE) Leave(kExitFound);
  EraseTraces();
  const std::string sentence =
      std::string("trovex: the output cannot be written: ") + std::strerror(error) + "\n";
  static_cast<void>(!write(STDERR_FILENO, sentence.data(), sentence.size()));
  Leave(kExitTrouble);
}

void LeaveWithFound() {
  Leave(kExitFound);
}

void TellOfLittleMemory() {
  static constexpr char kSentence[] = "trovex: there is not enough memory\n";
  static_cast<void>(!write(STDERR_FILENO, kSentence, sizeof kSentence - 1));
}

void LeaveWithoutMemory() {
  EraseTraces();
  TellOfLittleMemory();
  Leave(kExitTrouble);
}

/// Makes sure that no file of ours gets the number of a standard stream that was closed. Whoever reads
/// or writes it, gets the error that it is closed.
void OccupyStandardStreams() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(descriptor, F_GETFD) >= 0) continue;
    const int wrongWay = descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY;
    static_cast<void>(open("/dev/null", wrongWay | O_CLOEXEC));
  }
}

/// Where progress is shown; -1 where the results go into a pipe: whoever reads them may be drawing on the same
/// terminal.
int ProgressDescriptor() {
  struct stat status {};
  const bool toPipe = fstat(STDOUT_FILENO, &status) == 0 && S_ISFIFO(status.st_mode);
  return toPipe ? -1 : STDERR_FILENO;
}

/// Has large blocks mapped, whatever was freed before: they grow without being copied, and go back at once. What
/// is smaller stays, and is not asked for again and again.
void MapLargeBlocks() {
  mallopt(M_MMAP_THRESHOLD, 1024 * 1024);
  mallopt(M_TRIM_THRESHOLD, 8 * 1024 * 1024);
}

int ThreadCount(const Options& options) {
  if (options.classic) return 1;
  if (options.threads > 0) return options.threads;
  cpu_set_t cores;
  if (sched_getaffinity(0, sizeof cores, &cores) != 0) return 1;
  return std::max(1, CPU_COUNT(&cores));
}

/// Lines with a match, and where lines are searched, those that are found without one.
std::int64_t MatchingLines(const Options& options, const SearchTotals& total) {
  return total.counts.lines + (options.scope == Scope::kLine ? total.counts.units : 0);
}

std::string StatsText(const Options& options, const SearchTotals& total, double seconds) {
  char time[32];
  std::snprintf(time, sizeof time, "%.3f", seconds);
  const auto line = [](std::int64_t count, const char* one, const char* many) {
    return std::to_string(count) + " " + (count == 1 ? one : many) + "\n";
  };
  return line(total.counts.matches, "match", "matches") +
         line(MatchingLines(options, total), "matching line", "matching lines") +
         line(total.filesFound, "file with matches", "files with matches") +
         line(total.files, "file searched", "files searched") +
         line(total.binarySkipped, "binary file skipped", "binary files skipped") +
         line(total.counts.bytes, "byte searched", "bytes searched") + time + " seconds\n";
}

/// Whether there is nothing of that name; errno tells why.
bool IsMissing(const std::string& path) {
  struct stat status {};
  return path != kStandardInput && stat(path.c_str(), &status) != 0;
}

/// The last record of --json. What was not asked for was not counted.
std::string JsonSummary(const Options& options, Need need, const SearchTotals& total,
                        double seconds) {
  std::string text;
  JsonObject object(text);
  object.Text("type", "summary");
  if (need >= Need::kMatches) object.Number("matches", total.counts.matches);
  if (need >= Need::kCount) object.Number("matching_lines", MatchingLines(options, total));
  object.Number("files_with_matches", total.filesFound).Number("files_searched", total.files);
  object.Number("binary_files_skipped", total.binarySkipped);
  if (options.stats || need >= Need::kCount) object.Number("bytes_searched", total.counts.bytes);
  object.Flag("trouble", total.trouble).Seconds("seconds", seconds).End();
  return text;
}

/// The program from its options on.
class Run {
 public:
  explicit Run(Options options)
      : options_(std::move(options)),
        encoding_(TerminalEncoding()),
        display_(Display::OfProcess(options_, encoding_)),
        printer_(options_, display_),
        progress_(ProgressDescriptor(), start_),
        stream_(printer_.Separator(), &progress_, LeaveOnOutputFailure) {
    const bool onTerminal = display_.terminal && options_.output != OutputMode::kQuiet;
    RemoveTracesOf(progress_, onTerminal && display_.colors, onTerminal && display_.links);
  }

  int Execute() {
    if (options_.task == Task::kListFiles) return ListFiles();
    if (const auto fault = ReadExpressions()) return Refuse(*fault);
    return options_.classic ? ExecuteClassic() : ExecuteQuery();
  }

 private:
  int ListFiles();
  std::optional<ExpressionFault> ReadExpressions();
  int ExecuteQuery();
  int ExecuteClassic();
  int Search(const SearchPlan* plan, ClassicSearch* classic);
  int Refuse(const ExpressionFault& fault);
  std::string PlaceOf(const ExpressionFault& fault) const;
  int Explain(const std::string& text) {
    stream_.Output(text);
    stream_.Flush();
    return kExitFound;
  }

  Options options_;
  Clock::time_point start_ = Clock::now();
  std::string encoding_;
  Display display_;
  Printer printer_;
  Progress progress_;
  ResultStream stream_;
  std::vector<std::string> expressions_;  // in UTF-8
  std::vector<std::string> words_;
  /// The lists, and how many words there are up to the end of each.
  struct WordList {
    std::string path;
    std::string content;
    std::size_t wordsSoFar;
  };
  std::vector<WordList> wordLists_;
};

int Run::ListFiles() {
  FileWalk walk(options_);
  bool trouble = false;
  bool any = false;
  while (std::optional<FileToSearch> file = walk.Next()) {
    if (file->named && IsMissing(file->path))
      file->complaint = DisplayName(file->path) + ": " + std::strerror(errno);
    if (file->complaint.empty()) {
      std::string line;
      if (options_.json) {
        JsonObject(line).Text("type", "file").File(DisplayName(file->path)).End();
      } else {
        AppendText(DisplayName(file->path),
                   {display_.terminal && display_.utf8, false, display_.terminal}, line);
        line += options_.nullAfterName ? '\0' : '\n';
      }
      stream_.Output(line);
      any = true;
    } else {
      stream_.Complaint(file->complaint);
      trouble = true;
    }
  }
  stream_.Flush();
  return trouble ? kExitTrouble : any ? kExitFound : kExitNotFound;
}

std::optional<ExpressionFault> Run::ReadExpressions() {
  for (const std::string& typed : options_.expressions) {
    auto converted = ExpressionToUtf8(typed, encoding_);
    if (auto* fault = std::get_if<ExpressionFault>(&converted)) return std::move(*fault);
    expressions_.push_back(std::get<std::string>(std::move(converted)));
  }
  for (const std::string& path : options_.wordLists) {
    auto content = ReadWholeFile(path);
    if (const auto* error = std::get_if<SystemError>(&content))
      return ExpressionFault{DisplayName(path) + ": " + std::strerror(error->number)};
    std::vector<std::string> words = ReadWords(std::get<std::string>(content));
    words_.insert(words_.end(), std::make_move_iterator(words.begin()),
                  std::make_move_iterator(words.end()));
    wordLists_.push_back(
        {DisplayName(path), std::get<std::string>(std::move(content)), words_.size()});
  }
  return std::nullopt;
}

int Run::ExecuteQuery() {
  if (expressions_.empty() && words_.empty()) return Refuse({"There is no word in the list."});
  auto compiled = CompileExpressions(expressions_, words_, options_);
  if (const auto* fault = std::get_if<ExpressionFault>(&compiled)) return Refuse(*fault);
  auto& expression = std::get<CompiledExpression>(compiled);
  if (options_.task == Task::kExplain) return Explain(ExplainQuery(expression.query, options_));
  const SearchPlan plan(std::move(expression.query), options_, expression.tag);
  const bool plain =
      plan.road == SearchPlan::Road::kItems || plan.road == SearchPlan::Road::kInverse;
  if (options_.wholeLines && !plain)
    return Refuse(
        {"Whole lines (-x) can be asked for where the expression is one pattern, or several "
         "joined by |."});
  return Search(&plan, nullptr);
}

int Run::ExecuteClassic() {
  if (expressions_.size() != 1 || !words_.empty())
    return Refuse({"The classic search takes one expression."});
  if (options_.variants || options_.wholeLines)
    return Refuse({"The classic search knows neither --variants nor --line-regexp."});
  std::string expression = expressions_.front();
  if (options_.literal && !options_.phonetic) expression = EscapePatternCharacters(expression);
  if (options_.invert) expression.insert(0, "!(").append(")");
  auto compiled = ClassicSearch::Compile(expression, options_);
  if (const auto* sentence = std::get_if<std::string>(&compiled))
    return Refuse({*sentence, {}, expression});
  auto& classic = std::get<ClassicSearch>(compiled);
  if (options_.tag > classic.TagCount()) return Refuse(NoSuchTag(options_.tag, classic.TagCount()));
  if (options_.task == Task::kExplain)
    return Explain(ExplainClassic(classic, expressions_.front(), options_, true));
  return Search(nullptr, &classic);
}

int Run::Search(const SearchPlan* plan, ClassicSearch* classic) {
  SearchJob job{options_,
                printer_,
                progress_,
                plan,
                classic,
                options_.output == OutputMode::kQuiet && !options_.stats && !options_.json,
                LeaveWithFound,
                LeaveWithoutMemory,
                RegularFileOf(STDOUT_FILENO)};
  OrderedOutput output(stream_);
  FileWalk walk(options_);
  SearchPool pool(ThreadCount(options_), walk, job, output);
  const SearchTotals total = pool.Run();
  const double seconds = std::chrono::duration<double>(Clock::now() - start_).count();
  if (options_.json && options_.output != OutputMode::kQuiet)
    stream_.Output(JsonSummary(options_, printer_.NeedOfSearch(), total, seconds));
  stream_.Flush();
  progress_.Erase();
  if (options_.stats) stream_.Note(StatsText(options_, total, seconds));
  if (total.trouble) return kExitTrouble;
  const bool listsOthers = options_.output == OutputMode::kFilesWithout;
  const std::int64_t found = listsOthers ? total.files - total.filesFound : total.filesFound;
  return found > 0 ? kExitFound : kExitNotFound;
}

/// "words.txt, line 7: " before what is wrong with a word of a list.
std::string Run::PlaceOf(const ExpressionFault& fault) const {
  if (!fault.word.has_value()) return {};
  std::size_t before = 0;
  for (const WordList& list : wordLists_) {
    if (*fault.word < list.wordsSoFar) {
      const std::int64_t line = LineOfWord(list.content, *fault.word - before);
      return list.path + ", line " + std::to_string(line) + ": ";
    }
    before = list.wordsSoFar;
  }
  return {};
}

int Run::Refuse(const ExpressionFault& fault) {
  const std::size_t columns = TerminalColumns(STDERR_FILENO);
  const bool isBlank = fault.expression.find_first_not_of(" \t\r\n") == std::string::npos;
  if (fault.hasRange && !isBlank) {
    stream_.Note(MarkedExpression(fault.expression, fault.begin, fault.end, columns));
  } else if (!isBlank) {
    stream_.Note("    " + VisibleText(fault.expression) + "\n");
  }
  stream_.Complaint(PlaceOf(fault) + fault.sentence +
                    (fault.advice.empty() ? "" : " " + fault.advice));
  return kExitTrouble;
}

int RunArguments(int argc, const char* const* argv, ResultStream& stream) {
  auto parsed = ParseOptions(argc, argv, Surroundings::OfProcess());
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
  return Run(std::get<Options>(std::move(parsed))).Execute();
}

}  // namespace

int RunProgram(int argc, const char* const* argv) {
  MapLargeBlocks();
  OccupyStandardStreams();
  HandleInterruptions();
  ResultStream stream({}, nullptr, LeaveOnOutputFailure);
  try {
    return RunArguments(argc, argv, stream);
  } catch (const std::bad_alloc&) {
    TellOfLittleMemory();
  } catch (const std::exception& error) {
    stream.Complaint(error.what());
  }
  return kExitTrouble;
}

}  // namespace trovex::cli
