// What the command line asks for.

#ifndef TROVEX_HOSTS_CLI_OPTIONS_H
#define TROVEX_HOSTS_CLI_OPTIONS_H

#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace trovex::cli {

/// How a file's bytes are read. `kAuto`: as UTF-8 when they are valid UTF-8.
enum class Encoding { kAuto, kUtf8, kWindows1252 };

/// What is handed to the library as one text.
enum class Scope { kFile, kParagraph, kLine };

/// When colours are used. `kAuto`: when the output is a terminal.
enum class ColorMode { kAuto, kAlways, kNever };

/// What is printed of a result.
enum class OutputMode { kLines, kOnlyMatching, kCount, kFiles, kJson, kQuiet };

/// The exit status of the program.
enum ExitStatus { kExitFound = 0, kExitNotFound = 1, kExitTrouble = 2 };

struct Options {
  /// As it was typed, in the terminal's encoding.
  std::string expression;
  /// Names as they were typed; "-" is the standard input. Never empty.
  std::vector<std::string> files;

  bool phonetic = false;
  bool words = false;
  bool caseSensitive = false;
  bool literal = false;
  int tag = 0;  // 0: the matches of the whole expression
  Scope scope = Scope::kFile;
  Encoding encoding = Encoding::kAuto;
  bool hidden = false;
  bool binary = false;
  int jobs = 0;  // 0: one a core

  OutputMode output = OutputMode::kLines;
  bool fileNames = true;
  bool lineNumbers = true;
  int contextBefore = 0;
  int contextAfter = 0;
  ColorMode color = ColorMode::kAuto;
  bool stats = false;
  bool explain = false;
};

/// The command line asks for this text on the standard output and no more.
struct Information {
  std::string text;
};

/// The command line cannot be understood; one sentence.
struct UsageError {
  std::string message;
};

/// Reads the arguments of main().
std::variant<Options, Information, UsageError> ParseOptions(int argc, const char* const* argv);

/// Every option's names, as "-x" and "--long".
std::vector<std::string> OptionNames();

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_OPTIONS_H
