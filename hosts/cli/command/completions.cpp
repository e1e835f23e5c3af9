// Writing scripts for shells. What is put into them comes from tables of this program: no name
// there holds a quote, and quotes in descriptions are written as the shell wants them.

#include "hosts/cli/command/completions.h"

#include "hosts/cli/command/option_table.h"
#include "hosts/cli/files/encodings.h"
#include "hosts/cli/files/file_types.h"

#include <string_view>

namespace trovex::cli {

namespace {

/// What can stand as an option's argument, divided by blanks; empty when nobody can list it.
std::string ValuesOf(const OptionEntry& entry) {
  switch (entry.kind) {
    case ArgumentKind::kChoice:
      return std::string(entry.choices);
    case ArgumentKind::kEncoding:
      return std::string(UsualEncodings());
    case ArgumentKind::kType: {
      std::string names;
      for (const FileType& type : FileTypes())
        names.append(names.empty() ? "" : " ").append(type.name);
      return names;
    }
    default:
      return {};
  }
}

/// "-S", "--scope" and the aliases, divided by `divider`.
std::string NamesOf(const OptionEntry& entry, std::string_view divider) {
  std::string names;
  if (entry.shortName != '\0') names.append("-").append(1, entry.shortName).append(divider);
  names.append("--").append(entry.longName);
  for (const std::string_view alias : SplitWords(entry.aliases))
    names.append(divider).append("--").append(alias);
  return names;
}

std::string Replaced(std::string_view text, char c, std::string_view by) {
  std::string out;
  for (const char each : text) {
    if (each == c) {
      out += by;
    } else {
      out += each;
    }
  }
  return out;
}

/// A text between single quotes of a POSIX shell.
std::string ShellQuoted(std::string_view text) {
  std::string quoted("'");
  return quoted.append(Replaced(text, '\'', "'\\''")).append("'");
}

std::string BashCases() {
  std::string cases;
  for (const OptionEntry& entry : OptionTable()) {
    if (entry.kind == ArgumentKind::kNone) continue;
    cases += "    " + NamesOf(entry, "|") + ")\n";
    const std::string values = ValuesOf(entry);
    if (!values.empty()) {
      cases += "      COMPREPLY=($(compgen -W '" + values + "' -- \"$current\"))\n";
    } else if (entry.kind == ArgumentKind::kFile) {
      cases += "      _trovex_files\n";
    }
    cases += "      return\n      ;;\n";
  }
  return cases;
}

/// What _arguments of zsh is told of an option's argument.
std::string ZshArgument(const OptionEntry& entry) {
  if (entry.kind == ArgumentKind::kNone) return {};
  const std::string values = ValuesOf(entry);
  std::string spec(":");
  spec.append(entry.argument).append(":");
  if (!values.empty()) return spec.append("(").append(values).append(")");
  return spec.append(entry.kind == ArgumentKind::kFile ? "_files" : " ");
}

/// A description as it may stand in brackets.
std::string ZshDescription(std::string_view brief) {
  std::string out;
  for (const char c : brief) {
    if (c == '[' || c == ']' || c == '\\' || c == ':') out += '\\';
    out += c;
  }
  return out;
}

std::string ZshSpecs() {
  std::string specs;
  const auto add = [&specs](const OptionEntry& entry, std::string_view name,
                            std::string_view mark) {
    std::string spec("*");
    spec += name;
    if (entry.kind != ArgumentKind::kNone) spec += mark;
    spec.append("[").append(ZshDescription(entry.brief)).append("]").append(ZshArgument(entry));
    specs.append("  ").append(ShellQuoted(spec)).append(" \\\n");
  };
  for (const OptionEntry& entry : OptionTable()) {
    if (entry.shortName != '\0') add(entry, std::string{'-', entry.shortName}, "+");
    add(entry, "--" + std::string(entry.longName), "=");
  }
  return specs;
}

}  // namespace

std::string BashCompletion() {
  std::string names;
  for (const OptionEntry& entry : OptionTable())
    names.append(names.empty() ? "" : " ").append(NamesOf(entry, " "));
  return R"(# Completion of trovex for bash.

_trovex_files() {
  compopt -o filenames 2>/dev/null
  mapfile -t COMPREPLY < <(compgen -f -- "$current")
}

_trovex() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
  COMPREPLY=()
  # "--scope=line" comes as three words.
  if [[ $current == = ]]; then
    current=
  elif [[ $previous == = ]]; then
    previous=${COMP_WORDS[COMP_CWORD - 2]}
  fi
  case $previous in
)" + BashCases() +
         R"(  esac
  if [[ $current == -* ]]; then
    COMPREPLY=($(compgen -W ')" +
         names + R"(' -- "$current"))
    return
  fi
  _trovex_files
}

complete -F _trovex trovex
)";
}

std::string ZshCompletion() {
  return "#compdef trovex\n# Completion of trovex for zsh.\n\n_arguments -s -S : \\\n" +
         ZshSpecs() + "  '*:file:_files'\n";
}

std::string FishCompletion() {
  std::string out = "# Completion of trovex for fish.\n\n";
  for (const OptionEntry& entry : OptionTable()) {
    out += "complete -c trovex";
    if (entry.shortName != '\0') out += std::string(" -s ") + entry.shortName;
    out.append(" -l ").append(entry.longName);
    for (const std::string_view alias : SplitWords(entry.aliases))
      out.append(" -l ").append(alias);
    const std::string values = ValuesOf(entry);
    if (entry.kind == ArgumentKind::kFile) {
      out += " -r -F";
    } else if (!values.empty()) {
      out += " -x -a '" + values + "'";
    } else if (entry.kind != ArgumentKind::kNone) {
      out += " -x";
    }
    out += " -d '" + Replaced(Replaced(entry.brief, '\\', "\\\\"), '\'', "\\'") + "'\n";
  }
  return out;
}

}  // namespace trovex::cli
