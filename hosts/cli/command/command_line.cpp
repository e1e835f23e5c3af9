// One argument after the other. A library for this would take longer than the search of a small
// file: it builds its table anew at every start.

#include "hosts/cli/command/command_line.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <optional>
#include <string_view>
#include <utility>

namespace trovex::cli {

namespace {

/// How many letters must be put in, taken out or exchanged to make one of the other.
std::size_t EditDistance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i + 1);
    for (std::size_t j = 0; j < b.size(); ++j) {
      const std::size_t exchanged = diagonal + (a[i] == b[j] ? 0 : 1);
      diagonal = std::exchange(row[j + 1], std::min({row[j], row[j + 1], diagonal}) + 1);
      row[j + 1] = std::min(row[j + 1], exchanged);
    }
  }
  return row.back();
}

/// The option that may have been meant; empty when none is close.
std::string_view NearestName(std::string_view typed) {
  constexpr std::size_t kLongest = 64;
  if (typed.size() < 3 || typed.size() > kLongest) return {};
  std::string_view nearest;
  std::size_t least = typed.size() / 3 + 1;
  for (const OptionEntry& entry : OptionTable()) {
    if (const std::size_t distance = EditDistance(typed, entry.longName); distance < least) {
      least = distance;
      nearest = entry.longName;
    }
  }
  return nearest;
}

UsageError NoSuchOption(std::string_view argument, std::string_view longName) {
  std::string message = "There is no option " + std::string(argument) + ".";
  const std::string_view nearest = NearestName(longName);
  if (!nearest.empty()) message.append(" Is --").append(nearest).append(" meant?");
  return {message};
}

bool IsAscii(char c) {
  return static_cast<unsigned char>(c) < 0x80;
}

class Reader {
 public:
  explicit Reader(std::span<const std::string> arguments) : arguments_(arguments) {}

  std::variant<CommandLine, UsageError> Read() {
    while (next_ < arguments_.size()) {
      const std::string_view argument = arguments_[next_++];
      if (argument == "--") break;
      std::optional<UsageError> error;
      if (argument.starts_with("--")) {
        error = ReadLong(argument);
      } else if (argument.size() > 1 && argument.front() == '-') {
        error = ReadShort(argument);
      } else {
        line_.names.emplace_back(argument);
      }
      if (error.has_value()) return *std::move(error);
    }
    for (; next_ < arguments_.size(); ++next_)
      line_.names.push_back(arguments_[next_]);
    return std::move(line_);
  }

 private:
  std::optional<UsageError> ReadLong(std::string_view argument) {
    const std::string_view typed = argument.substr(2);
    const std::size_t equals = typed.find('=');
    const std::string_view name = typed.substr(0, equals);
    const bool hasValue = equals != typed.npos;
    const std::string shown = "--" + std::string(name);

    bool undone = false;
    const OptionEntry* entry = FindOption(name);
    if (entry == nullptr) {
      entry = FindUndone(name);
      undone = true;
    }
    if (entry == nullptr) return NoSuchOption(shown, name);
    if (entry->kind == ArgumentKind::kNone) {
      if (hasValue) return UsageError{shown + " takes no argument."};
      line_.options.push_back({entry, {}, undone});
      return std::nullopt;
    }
    if (hasValue) {
      line_.options.push_back({entry, std::string(typed.substr(equals + 1)), false});
      return std::nullopt;
    }
    return TakeArgument(*entry, shown);
  }

  std::optional<UsageError> ReadShort(std::string_view argument) {
    for (std::size_t i = 1; i < argument.size(); ++i) {
      const std::string shown{'-', argument[i]};
      const OptionEntry* const entry = FindOption(argument[i]);
      if (entry == nullptr) return NoSuchOption(IsAscii(argument[i]) ? shown : argument, {});
      if (entry->kind == ArgumentKind::kNone) {
        line_.options.push_back({entry, {}, false});
        continue;
      }
      if (i + 1 == argument.size()) return TakeArgument(*entry, shown);
      line_.options.push_back({entry, std::string(argument.substr(i + 1)), false});
      return std::nullopt;
    }
    return std::nullopt;
  }

  /// The next argument belongs to the option.
  std::optional<UsageError> TakeArgument(const OptionEntry& entry, const std::string& shown) {
    if (next_ == arguments_.size()) {
      return UsageError{shown + " needs an argument: " + std::string(entry.argument) + "."};
    }
    line_.options.push_back({&entry, arguments_[next_++], false});
    return std::nullopt;
  }

  /// The switch that `name` undoes; null when it does not.
  static const OptionEntry* FindUndone(std::string_view name) {
    constexpr std::string_view kNo = "no-";
    const OptionEntry* const entry = name.starts_with(kNo)
                                         ? FindOption(name.substr(kNo.size()))
                                         : FindOption(std::string(kNo).append(name));
    return entry != nullptr && entry->kind == ArgumentKind::kNone ? entry : nullptr;
  }

  std::span<const std::string> arguments_;
  std::size_t next_ = 0;
  CommandLine line_;
};

}  // namespace

std::variant<CommandLine, UsageError> ReadCommandLine(std::span<const std::string> arguments) {
  return Reader(arguments).Read();
}

}  // namespace trovex::cli
