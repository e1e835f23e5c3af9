// From options as they were given to what they mean together. Of two that contradict each other the
// last one counts.

#include "hosts/cli/command/options.h"

#include "hosts/cli/command/completions.h"
#include "hosts/cli/command/config_file.h"
#include "hosts/cli/command/help.h"
#include "hosts/cli/command/manual_page.h"
#include "hosts/cli/command/version.h"
#include "hosts/cli/files/encodings.h"
#include "hosts/cli/files/file_types.h"
#include "hosts/cli/files/glob.h"

#include <unistd.h>
#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <limits>
#include <string_view>
#include <system_error>
#include <utility>

namespace trovex::cli {

namespace {

constexpr std::int64_t kMaxInt = std::numeric_limits<int>::max();
constexpr std::int64_t kMaxContext = kMaxInt / 2;
constexpr std::int64_t kMaxThreads = 1024;
constexpr std::int64_t kMaxCount = std::numeric_limits<std::int64_t>::max();

std::string NameOf(const OptionEntry& entry) {
  return "--" + std::string(entry.longName);
}

UsageError WrongArgument(const GivenOption& option, const std::string& wanted) {
  return {NameOf(*option.entry) + " takes " + wanted + ", not \"" + option.argument + "\"."};
}

/// Which of the choices of its option the argument is, in upper or lower case; -1: none.
int ChoiceOf(const GivenOption& option) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
  std::string typed = option.argument;
  std::transform(typed.begin(), typed.end(), typed.begin(), lower);
  const std::vector<std::string_view> choices = SplitWords(option.entry->choices);
  const auto found = std::find(choices.begin(), choices.end(), typed);
  return found == choices.end() ? -1 : static_cast<int>(found - choices.begin());
}

std::string ListOf(std::string_view choices) {
  const std::vector<std::string_view> words = SplitWords(choices);
  std::string list;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (i > 0) list += i + 1 == words.size() ? " or " : ", ";
    list += words[i];
  }
  return list;
}

/// A size in bytes: "500", "500K", "20M", "2G", the letter in either case; null where it is none.
std::optional<std::int64_t> SizeOf(std::string_view typed) {
  std::int64_t number = 0;
  const char* const end = typed.data() + typed.size();
  const auto [rest, error] = std::from_chars(typed.data(), end, number);
  if (error != std::errc() || number < 0) return std::nullopt;
  if (rest == end) return number;
  constexpr std::string_view kUnits = "KMGT";
  const char unit = *rest >= 'a' ? static_cast<char>(*rest - 32) : *rest;
  const std::size_t power = kUnits.find(unit);
  if (power == kUnits.npos || rest + 1 != end) return std::nullopt;
  const auto shift = static_cast<int>(10 * (power + 1));
  if (number > (kMaxCount >> shift)) return std::nullopt;
  return number << shift;
}

/// What a glob should have been, if it cannot be read.
std::string_view WantedGlob(std::string_view typed) {
  const std::vector<std::string> globs = AlternativesOf(typed);
  if (globs.empty()) return "a pattern with fewer braces";
  const bool isRight = std::all_of(globs.begin(), globs.end(),
                                   [](const std::string& glob) { return Glob(glob).IsRight(); });
  return isRight ? "" : "a pattern whose [ has its ]";
}

/// Takes one option after the other, then sees what they mean together.
class Interpreter {
 public:
  explicit Interpreter(const Surroundings& surroundings) : surroundings_(surroundings) {}

  std::optional<UsageError> Take(const GivenOption& option);
  std::variant<Options, Information, UsageError> Finish(std::vector<std::string> names);

 private:
  std::optional<UsageError> TakeSwitch(const GivenOption& option);
  std::optional<UsageError> TakeNumber(const GivenOption& option, std::int64_t least,
                                       std::int64_t most, std::int64_t& value);
  std::optional<UsageError> TakeType(const GivenOption& option, std::vector<std::string>& types);
  std::optional<UsageError> TakeEncoding(const GivenOption& option);
  template <typename Choice>
  std::optional<UsageError> TakeChoice(const GivenOption& option, Choice& value);
  void TakeGenerate(const GivenOption& option, int what);

  std::optional<UsageError> NameFiles(std::vector<std::string> names);
  std::optional<UsageError> ContradictionOf(bool onlyMatching, bool vimgrep) const;

  const Surroundings& surroundings_;
  Options options_;
  std::optional<std::string> information_;
  bool onlyMatching_ = false;
  bool vimgrep_ = false;
  bool count_ = false;
  bool quiet_ = false;
  std::optional<OutputMode> listing_;
  std::optional<bool> fileNames_;
  std::optional<bool> heading_;
  std::int64_t context_ = 0;
  std::int64_t before_ = -1;
  std::int64_t after_ = -1;
};

std::optional<UsageError> Interpreter::TakeNumber(const GivenOption& option, std::int64_t least,
                                                  std::int64_t most, std::int64_t& value) {
  const std::string& typed = option.argument;
  const char* const end = typed.data() + typed.size();
  std::int64_t number = 0;
  const auto [rest, error] = std::from_chars(typed.data(), end, number);
  if (error != std::errc() || rest != end || number < least || number > most) {
    std::string wanted = "a number from " + std::to_string(least);
    wanted += most == kMaxCount ? " on" : " to " + std::to_string(most);
    return WrongArgument(option, wanted);
  }
  value = number;
  return std::nullopt;
}

template <typename Choice>
std::optional<UsageError> Interpreter::TakeChoice(const GivenOption& option, Choice& value) {
  const int choice = ChoiceOf(option);
  if (choice < 0) return WrongArgument(option, ListOf(option.entry->choices));
  value = static_cast<Choice>(choice);
  return std::nullopt;
}

std::optional<UsageError> Interpreter::TakeType(const GivenOption& option,
                                                std::vector<std::string>& types) {
  if (!GlobsOfType(option.argument).empty()) {
    types.push_back(option.argument);
    return std::nullopt;
  }
  std::string message = "There is no type of files \"" + option.argument + "\"; see --type-list.";
  const bool isNumber = option.argument.find_first_not_of("0123456789") == std::string::npos;
  if (isNumber && !option.argument.empty()) message += " A bracket is chosen by --tag.";
  return UsageError{message};
}

std::optional<UsageError> Interpreter::TakeEncoding(const GivenOption& option) {
  const std::optional<EncodingChoice> choice = FindEncoding(option.argument);
  if (!choice.has_value()) {
    return UsageError{"There is no encoding \"" + option.argument +
                      "\"; iconv --list tells which."};
  }
  options_.encoding = choice->encoding;
  options_.encodingName = choice->name;
  return std::nullopt;
}

void Interpreter::TakeGenerate(const GivenOption& option, int what) {
  const std::vector<std::string_view> kinds = SplitWords(option.entry->choices);
  const std::string_view kind = kinds[static_cast<std::size_t>(what)];
  if (kind == "man") {
    information_ = ManualPage();
  } else if (kind == "bash") {
    information_ = BashCompletion();
  } else if (kind == "zsh") {
    information_ = ZshCompletion();
  } else {
    information_ = FishCompletion();
  }
}

std::optional<UsageError> Interpreter::TakeSwitch(const GivenOption& option) {
  const bool on = !option.undone;
  switch (option.entry->id) {
    case OptionId::kPhonetic:
      options_.phonetic = on;
      break;
    case OptionId::kWords:
      options_.words = on;
      break;
    case OptionId::kWholeLines:
      options_.wholeLines = on;
      break;
    case OptionId::kCaseSensitive:
      options_.caseSensitive = on;
      break;
    case OptionId::kIgnoreCase:
      options_.caseSensitive = !on;
      break;
    case OptionId::kLiteral:
      options_.literal = on;
      break;
    case OptionId::kVariants:
      options_.variants = on;
      break;
    case OptionId::kClassic:
      options_.classic = on;
      break;
    case OptionId::kInvert:
      options_.invert = on;
      break;
    case OptionId::kHidden:
      options_.hidden = on;
      break;
    case OptionId::kNoIgnore:
      options_.ignoreFiles = !on;
      break;
    case OptionId::kRecursive:  // as ever
      break;
    case OptionId::kFollow:
      options_.follow = on;
      break;
    case OptionId::kBinary:
      options_.binary = on;
      break;
    case OptionId::kCount:
      count_ = on;
      break;
    case OptionId::kIncludeZero:
      options_.includeZero = on;
      break;
    case OptionId::kFilesWith:
      listing_ = on ? std::optional(OutputMode::kFiles) : std::nullopt;
      break;
    case OptionId::kFilesWithout:
      listing_ = on ? std::optional(OutputMode::kFilesWithout) : std::nullopt;
      break;
    case OptionId::kOnlyMatching:
      onlyMatching_ = on;
      break;
    case OptionId::kWithFileName:
      fileNames_ = on;
      break;
    case OptionId::kNoFileName:
      fileNames_ = !on;
      break;
    case OptionId::kLineNumber:
      options_.lineNumbers = on;
      break;
    case OptionId::kNoLineNumber:
      options_.lineNumbers = !on;
      break;
    case OptionId::kByteOffset:
      options_.byteOffset = on;
      break;
    case OptionId::kColumn:
      options_.column = on;
      break;
    case OptionId::kVimgrep:
      vimgrep_ = on;
      break;
    case OptionId::kHeading:
      heading_ = on;
      break;
    case OptionId::kNull:
      options_.nullAfterName = on;
      break;
    case OptionId::kJson:
      options_.json = on;
      break;
    case OptionId::kQuiet:
      quiet_ = on;
      break;
    case OptionId::kRaw:
      options_.raw = on;
      break;
    case OptionId::kStats:
      options_.stats = on;
      break;
    case OptionId::kExplain:
      options_.task = on ? Task::kExplain : Task::kSearch;
      break;
    case OptionId::kFiles:
      options_.task = on ? Task::kListFiles : Task::kSearch;
      break;
    case OptionId::kTypeList:
      if (on) information_ = FileTypeList();
      break;
    case OptionId::kVersion:
      if (on) information_ = VersionText();
      break;
    default:  // kNoConfig was heeded before, kHelp asks for one of two texts
      break;
  }
  return std::nullopt;
}

std::optional<UsageError> Interpreter::Take(const GivenOption& option) {
  std::int64_t number = 0;
  switch (option.entry->id) {
    case OptionId::kExpression:
      options_.expressions.push_back(option.argument);
      return std::nullopt;
    case OptionId::kWordList:
      options_.wordLists.push_back(option.argument);
      return std::nullopt;
    case OptionId::kTag:
      if (auto error = TakeNumber(option, 1, kMaxInt, number)) return error;
      options_.tag = static_cast<int>(number);
      return std::nullopt;
    case OptionId::kScope:
      return TakeChoice(option, options_.scope);
    case OptionId::kEncoding:
      return TakeEncoding(option);
    case OptionId::kGlob:
      if (const std::string_view wanted = WantedGlob(option.argument); !wanted.empty())
        return WrongArgument(option, std::string(wanted));
      options_.globs.push_back(option.argument);
      return std::nullopt;
    case OptionId::kType:
      return TakeType(option, options_.types);
    case OptionId::kTypeNot:
      return TakeType(option, options_.typesLeftOut);
    case OptionId::kMaxDepth:
      return TakeNumber(option, 1, kMaxInt, options_.maxDepth);
    case OptionId::kMaxFileSize: {
      const std::optional<std::int64_t> size = SizeOf(option.argument);
      if (!size.has_value()) return WrongArgument(option, "a size such as 500K, 20M or 2G");
      options_.maxFileSize = *size;
      return std::nullopt;
    }
    case OptionId::kSort:
    case OptionId::kSortReversed:
      options_.sortReversed = option.entry->id == OptionId::kSortReversed;
      return TakeChoice(option, options_.sort);
    case OptionId::kThreads:
      if (auto error = TakeNumber(option, 1, kMaxThreads, number)) return error;
      options_.threads = static_cast<int>(number);
      return std::nullopt;
    case OptionId::kAfter:
      return TakeNumber(option, 0, kMaxContext, after_);
    case OptionId::kBefore:
      return TakeNumber(option, 0, kMaxContext, before_);
    case OptionId::kContext:
      return TakeNumber(option, 0, kMaxContext, context_);
    case OptionId::kMaxCount:
      return TakeNumber(option, 1, kMaxCount, options_.maxCount);
    case OptionId::kColor:
      return TakeChoice(option, options_.color);
    case OptionId::kHyperlink:
      return TakeChoice(option, options_.hyperlink);
    case OptionId::kColors: {
      auto scheme = ParseColorScheme(option.argument);
      if (auto* fault = std::get_if<std::string>(&scheme)) return UsageError{std::move(*fault)};
      options_.colors = std::get<ColorScheme>(std::move(scheme));
      return std::nullopt;
    }
    case OptionId::kGenerate: {
      int what = 0;
      if (auto error = TakeChoice(option, what)) return error;
      TakeGenerate(option, what);
      return std::nullopt;
    }
    default:
      return TakeSwitch(option);
  }
}

std::optional<UsageError> Interpreter::NameFiles(std::vector<std::string> names) {
  const bool listFiles = options_.task == Task::kListFiles;
  const bool given = !options_.expressions.empty() || !options_.wordLists.empty();
  if (listFiles && given) return UsageError{"--files searches nothing: it takes no expression."};
  if (!listFiles && !given) {
    if (names.empty()) return UsageError{"An expression is missing."};
    options_.expressions.push_back(std::move(names.front()));
    names.erase(names.begin());
  }
  options_.files = std::move(names);
  if (!options_.files.empty()) return std::nullopt;

  const auto& lists = options_.wordLists;
  const bool inputIsWords = std::find(lists.begin(), lists.end(), "-") != lists.end();
  options_.currentFolder = listFiles || surroundings_.inputIsTerminal || inputIsWords;
  options_.files.emplace_back(options_.currentFolder ? "." : "-");
  return std::nullopt;
}

std::optional<UsageError> Interpreter::ContradictionOf(bool onlyMatching, bool vimgrep) const {
  const auto exclude = [](std::string_view one, std::string_view other) {
    return UsageError{
        std::string(one).append(" and ").append(other).append(" exclude each other.")};
  };
  if (options_.json && onlyMatching) return exclude("--json", "--only-matching");
  if (options_.json && vimgrep) return exclude("--json", "--vimgrep");
  if (options_.classic && options_.variants) return exclude("--classic", "--variants");
  const std::size_t asked = options_.expressions.size() + options_.wordLists.size();
  if (options_.classic && (asked > 1 || !options_.wordLists.empty())) {
    return UsageError{"--classic takes a single expression."};
  }
  if (options_.invert && onlyMatching) return exclude("--invert-match", "--only-matching");
  if (options_.invert && options_.tag > 0) return exclude("--invert-match", "--tag");
  return std::nullopt;
}

std::variant<Options, Information, UsageError> Interpreter::Finish(std::vector<std::string> names) {
  if (information_.has_value()) return Information{*std::move(information_)};
  if (auto error = ContradictionOf(onlyMatching_, vimgrep_)) return *std::move(error);
  if (auto error = NameFiles(std::move(names))) return *std::move(error);

  Options& options = options_;
  if (options.invert) options.scope = Scope::kLine;
  if (quiet_) {
    options.output = OutputMode::kQuiet;
  } else if (listing_.has_value()) {
    options.output = *listing_;
  } else if (count_) {
    options.output = OutputMode::kCount;
  } else if (vimgrep_) {
    options.output = OutputMode::kVimgrep;
  } else if (onlyMatching_) {
    options.output = OutputMode::kOnlyMatching;
  }
  const bool standardInputOnly = options.files.size() == 1 && options.files.front() == "-";
  options.fileNames = fileNames_.value_or(!standardInputOnly);
  const bool showsLines =
      options.output == OutputMode::kLines || options.output == OutputMode::kOnlyMatching;
  options.heading = heading_.value_or(surroundings_.outputIsTerminal) && showsLines &&
                    options.fileNames && !options.json;
  options.contextBefore = static_cast<int>(before_ >= 0 ? before_ : context_);
  options.contextAfter = static_cast<int>(after_ >= 0 ? after_ : context_);
  return std::move(options);
}

/// Whether the configuration file is to be left alone.
bool IsWithoutConfig(const CommandLine& line) {
  bool without = false;
  for (const GivenOption& option : line.options) {
    if (option.entry->id == OptionId::kNoConfig) without = !option.undone;
  }
  return without;
}

/// The short help for "-h", the long one for "--help": the table has one entry for both.
std::optional<Information> HelpAskedFor(std::span<const std::string> arguments,
                                        const CommandLine& line) {
  const auto asks = [](const GivenOption& option) {
    return option.entry->id == OptionId::kHelp && !option.undone;
  };
  if (std::none_of(line.options.begin(), line.options.end(), asks)) return std::nullopt;
  const bool isLong = std::find(arguments.begin(), arguments.end(), "--help") != arguments.end();
  return Information{isLong ? LongHelp() : ShortHelp()};
}

}  // namespace

Surroundings Surroundings::OfProcess() {
  Surroundings result;
  result.inputIsTerminal = isatty(STDIN_FILENO) != 0;
  result.outputIsTerminal = isatty(STDOUT_FILENO) != 0;
  if (const char* const config = std::getenv("TROVEX_CONFIG")) result.configFile = config;
  return result;
}

std::variant<Options, Information, UsageError> ParseOptions(int argc, const char* const* argv,
                                                            const Surroundings& surroundings) {
  const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
  auto read = ReadCommandLine(arguments);
  if (auto* error = std::get_if<UsageError>(&read)) return std::move(*error);
  auto& line = std::get<CommandLine>(read);
  if (auto help = HelpAskedFor(arguments, line)) return *std::move(help);

  Interpreter interpreter(surroundings);
  if (!surroundings.configFile.empty() && !IsWithoutConfig(line)) {
    auto config = ReadConfigFile(surroundings.configFile);
    if (auto* error = std::get_if<UsageError>(&config)) return std::move(*error);
    for (const ConfigOption& option : std::get<std::vector<ConfigOption>>(config)) {
      if (auto error = interpreter.Take(option.option)) {
        return UsageError{option.place + ": " + error->message};
      }
    }
  }
  for (const GivenOption& option : line.options) {
    if (auto error = interpreter.Take(option)) return *std::move(error);
  }
  return interpreter.Finish(std::move(line.names));
}

}  // namespace trovex::cli
