// What the command line asks for.

#ifndef TROVEX_HOSTS_CLI_OPTIONS_H
#define TROVEX_HOSTS_CLI_OPTIONS_H

#include "hosts/cli/command/color_scheme.h"
#include "hosts/cli/command/command_line.h"

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace trovex::cli {

/// How a file's bytes are read. `kAuto`: valid UTF-8 as UTF-8, every other byte as Windows Latin-1;
/// UTF-16 and UTF-32 where they are recognised. `kNamed`: as Options::encodingName says.
enum class Encoding { kAuto, kUtf8, kWindows1252, kNamed };

/// What is searched as one text.
enum class Scope { kFile, kParagraph, kLine };

/// When something is done. `kAuto`: when the output is a terminal that can show it.
enum class When { kAuto, kAlways, kNever };

/// What is printed of a result.
enum class OutputMode {
  kLines,
  kOnlyMatching,
  kVimgrep,  // every match on a line of its own, with its line
  kCount,
  kFiles,         // names of files with matches
  kFilesWithout,  // names of files without
  kQuiet,
};

/// In which order the files below a folder come.
enum class SortKey { kPath, kModified, kSize, kNone };

/// What the program is to do.
enum class Task { kSearch, kExplain, kListFiles };

/// The exit status of the program.
enum ExitStatus { kExitFound = 0, kExitNotFound = 1, kExitTrouble = 2 };

struct Options {
  Task task = Task::kSearch;

  // What is looked for.

  /// As they were typed, in the terminal's encoding; any of them is to be found.
  std::vector<std::string> expressions;
  /// Files with words, any of which is to be found; "-" is the standard input. Together with
  /// `expressions` there is at least one, but for Task::kListFiles.
  std::vector<std::string> wordLists;
  bool classic = false;
  bool phonetic = false;
  bool words = false;
  bool wholeLines = false;
  bool caseSensitive = false;
  bool literal = false;
  bool variants = false;
  /// The lines for which the expression does not hold; `scope` is kLine then.
  bool invert = false;
  int tag = 0;  // 0: the matches of the whole expression
  Scope scope = Scope::kFile;

  // Where.

  /// Names as they were typed; "-" is the standard input. Never empty.
  std::vector<std::string> files;
  /// No file was named and `files` is the current folder: names are shown without "./".
  bool currentFolder = false;
  Encoding encoding = Encoding::kAuto;
  /// For Encoding::kNamed: a name that iconv_open knows.
  std::string encodingName;
  /// -g, in their order; a leading "!" leaves out.
  std::vector<std::string> globs;
  /// Names of types that exist: FileTypes() in files/file_types.h.
  std::vector<std::string> types;
  std::vector<std::string> typesLeftOut;
  bool hidden = false;
  bool ignoreFiles = true;
  bool follow = false;
  /// The largest size in bytes of a file below a folder; -1: any.
  std::int64_t maxFileSize = -1;
  std::int64_t maxDepth = -1;
  bool binary = false;
  SortKey sort = SortKey::kPath;
  bool sortReversed = false;
  int threads = 0;  // 0: one a core

  // What is shown.

  OutputMode output = OutputMode::kLines;
  /// As JSON, whatever `output` is; never with kOnlyMatching or kVimgrep.
  bool json = false;
  /// With OutputMode::kCount: also files without a match.
  bool includeZero = false;
  /// The most matching lines of a file; -1: all.
  std::int64_t maxCount = -1;
  bool fileNames = true;
  bool lineNumbers = true;
  bool byteOffset = false;
  bool column = false;
  /// The file's name above its matches instead of before each: settled, for this output.
  bool heading = false;
  bool nullAfterName = false;
  int contextBefore = 0;
  int contextAfter = 0;
  When color = When::kAuto;
  ColorScheme colors;
  When hyperlink = When::kAuto;
  /// Contents go to a terminal with their control characters.
  bool raw = false;
  bool stats = false;
};

/// What an answer of ParseOptions depends on beside the arguments.
struct Surroundings {
  bool inputIsTerminal = false;
  bool outputIsTerminal = false;
  /// The configuration file; empty: there is none.
  std::string configFile;

  /// Those of this process: its terminals and its environment.
  static Surroundings OfProcess();
};

/// The command line asks for this text on the standard output and no more.
struct Information {
  std::string text;
};

/// Reads the arguments of main(). Options of the configuration file count as if they stood before
/// them. Reads no other file.
std::variant<Options, Information, UsageError> ParseOptions(
    int argc, const char* const* argv, const Surroundings& surroundings = Surroundings());

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_OPTIONS_H
