// Writing roff. A backslash and a dash are written so that they come out as they are and can be
// copied, and no line of text begins with a dot or a quote, which would be a request.

#include "hosts/cli/command/manual_page.h"

#include "hosts/cli/command/help.h"
#include "hosts/cli/command/option_table.h"

#include <string_view>

namespace trovex::cli {

namespace {

/// A text as it is to be read.
std::string Escaped(std::string_view text) {
  std::string out;
  if (text.starts_with('.') || text.starts_with('\'')) out += "\\&";
  for (const char c : text) {
    switch (c) {
      case '\\':
        out += "\\e";
        break;
      case '-':
        out += "\\-";
        break;
      case '\'':
        out += "\\(aq";
        break;
      case '^':
        out += "\\(ha";
        break;
      case '~':
        out += "\\(ti";
        break;
      case '`':
        out += "\\(ga";
        break;
      default:
        out += c;
    }
  }
  return out;
}

std::string InFont(std::string_view font, std::string_view text) {
  std::string out("\\f");
  return out.append(font).append(Escaped(text)).append("\\fR");
}

std::string Bold(std::string_view text) {
  return InFont("B", text);
}

std::string Italic(std::string_view text) {
  return InFont("I", text);
}

std::string WithDashes(std::string_view name) {
  std::string dashed("--");
  return dashed.append(name);
}

/// "-S", "--scope" and other names, each with its argument where it has one.
std::string Names(const OptionEntry& entry) {
  std::string names;
  const auto add = [&names](std::string_view name, std::string_view between,
                            std::string_view argument) {
    if (!names.empty()) names += ", ";
    names += Bold(name);
    if (!argument.empty()) names.append(between).append(Italic(argument));
  };
  if (entry.shortName != '\0') add(std::string{'-', entry.shortName}, " ", entry.argument);
  add(WithDashes(entry.longName), "=", entry.argument);
  for (const std::string_view alias : SplitWords(entry.aliases))
    add(WithDashes(alias), {}, {});
  return names;
}

/// One sentence of a fragment that begins in lower case and has no full stop.
std::string Sentence(std::string_view brief) {
  std::string sentence(brief);
  if (sentence.front() >= 'a' && sentence.front() <= 'z') {
    sentence.front() = static_cast<char>(sentence.front() - 32);
  }
  return sentence + ".";
}

std::string Pairs(const HelpExample* pair) {
  std::string out;
  for (; !pair->command.empty(); ++pair)
    out += ".TP\n" + Bold(pair->command) + "\n" + Escaped(Sentence(pair->meaning)) + "\n";
  return out;
}

std::string Options() {
  std::string out = ".SH OPTIONS\nEvery switch " + Bold("--") + Italic("name") + " is undone by " +
                    Bold("--no-") + Italic("name") +
                    ".\nOf options that contradict each other the last one counts.\n";
  const OptionGroup* group = nullptr;
  for (const OptionEntry& entry : OptionTable()) {
    if (group == nullptr || *group != entry.group) {
      out += ".SS " + Escaped(GroupTitle(entry.group)) + "\n";
      group = &entry.group;
    }
    out += ".TP\n" + Names(entry) + "\n" + Escaped(Sentence(entry.brief)) + "\n";
    if (!entry.more.empty()) out += Escaped(entry.more) + "\n";
  }
  return out;
}

}  // namespace

std::string ManualPage() {
  std::string out = ".TH TROVEX 1 \"\" \"trovex " TROVEX_VERSION "\" \"User Commands\"\n";
  out += ".SH NAME\ntrovex \\- search German text with Boolean operators, distances and sounds\n";
  out += ".SH SYNOPSIS\n.B trovex\n[" + Italic("OPTIONS") + "] " + Italic("EXPRESSION") + " [" +
         Italic("FILE") + "...]\n.br\n.B trovex\n[" + Italic("OPTIONS") + "] " + Bold("-e") + " " +
         Italic("EXPRESSION") + " ... " + Bold("-f") + " " + Italic("FILE") + " ... [" +
         Italic("FILE") + "...]\n";
  out += ".SH DESCRIPTION\n" + Bold("trovex") +
         " searches files for several patterns at once, near each other or not there at all, as\n"
         "regular expressions or by their sound.\n" +
         Escaped(HelpFiles()) + "\n";
  out += ".SH EXPRESSIONS\n" + Escaped(kHelpExpressions) + "\n" + Pairs(kHelpLanguage);
  out += ".SS Patterns\n" + Pairs(kHelpPatterns);
  out += Options();
  out += ".SH LIMITS\n" + Escaped(kHelpLimits) + "\n";
  out += ".SH EXIT STATUS\n" + Escaped(kHelpStatus) + "\n";
  out +=
      ".SH ENVIRONMENT\n.TP\n.B TROVEX_CONFIG\n"
      "The name of a file of options that are always wanted, one a line, as they would be typed\n"
      "but without quotes; a line that begins with # is a comment. They count as if they stood\n"
      "before those of the command line.\n"
      ".TP\n.B NO_COLOR\nIf it is set and not empty, there are no colours unless they are asked "
      "for.\n"
      ".TP\n.B LC_ALL\\fR, \\fBLC_CTYPE\\fR, \\fBLANG\nThe encoding of the terminal.\n";
  out += ".SH EXAMPLES\n" + Pairs(kHelpExamples);
  return out;
}

}  // namespace trovex::cli
