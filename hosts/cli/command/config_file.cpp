// Every line becomes one argument, or two, and is read like a command line.

#include "hosts/cli/command/config_file.h"

#include "hosts/cli/files/input.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>

namespace trovex::cli {

namespace {

constexpr std::string_view kBlanks = " \t\r";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

std::string_view Trim(std::string_view line) {
  const std::size_t begin = line.find_first_not_of(kBlanks);
  if (begin == line.npos) return {};
  return line.substr(begin, line.find_last_not_of(kBlanks) - begin + 1);
}

/// What an option on a line of its own is to a command line.
std::vector<std::string> ArgumentsOf(std::string_view line) {
  const std::size_t blank = line.find_first_of(kBlanks);
  const std::size_t equals = line.find('=');
  if (blank == line.npos || (line.starts_with("--") && equals < blank)) {
    return {std::string(line)};
  }
  return {std::string(line.substr(0, blank)), std::string(Trim(line.substr(blank)))};
}

/// Options that say what is to be done this time.
bool IsOfOneRun(OptionId id) {
  switch (id) {
    case OptionId::kExpression:
    case OptionId::kWordList:
    case OptionId::kNoConfig:
    case OptionId::kHelp:
    case OptionId::kVersion:
    case OptionId::kGenerate:
    case OptionId::kTypeList:
    case OptionId::kFiles:
      return true;
    default:
      return false;
  }
}

/// What is wrong with a line, if anything is.
std::optional<std::string> FaultOf(const CommandLine& line) {
  if (!line.names.empty()) return "\"" + line.names.front() + "\" is no option.";
  for (const GivenOption& option : line.options) {
    if (!IsOfOneRun(option.entry->id)) continue;
    return "--" + std::string(option.entry->longName) + " can only be given on the command line.";
  }
  return std::nullopt;
}

}  // namespace

std::variant<std::vector<ConfigOption>, UsageError> ReadConfig(std::string_view content,
                                                               const std::string& name) {
  if (content.starts_with(kByteOrderMark)) content.remove_prefix(kByteOrderMark.size());
  std::vector<ConfigOption> options;
  int number = 1;
  for (std::size_t begin = 0; begin < content.size(); ++number) {
    const std::size_t end = std::min(content.find('\n', begin), content.size());
    const std::string_view line = Trim(content.substr(begin, end - begin));
    begin = end + 1;
    if (line.empty() || line.front() == '#') continue;

    const std::string place = name + ", line " + std::to_string(number);
    auto read = ReadCommandLine(ArgumentsOf(line));
    if (auto* error = std::get_if<UsageError>(&read)) {
      return UsageError{place + ": " + error->message};
    }
    auto& parts = std::get<CommandLine>(read);
    if (auto fault = FaultOf(parts)) return UsageError{place + ": " + *fault};
    for (GivenOption& option : parts.options)
      options.push_back({std::move(option), place});
  }
  return options;
}

std::variant<std::vector<ConfigOption>, UsageError> ReadConfigFile(const std::string& name) {
  const auto content = ReadWholeFile(name);
  if (const auto* error = std::get_if<SystemError>(&content)) {
    return UsageError{"The configuration file " + name +
                      " cannot be read: " + std::strerror(error->number) + "."};
  }
  return ReadConfig(std::get<std::string>(content), name);
}

}  // namespace trovex::cli
