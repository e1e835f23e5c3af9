// What to type comes first, then what it means, then every option from the table.

#include "hosts/cli/command/help.h"

#include "hosts/cli/command/option_table.h"

#include <algorithm>
#include <cstddef>

namespace trovex::cli {

const HelpExample kHelpExamples[] = {
    {"trovex Garten brief.txt", "lines with \"Garten\", in either case"},
    {"trovex 'Haus & Garten'", "files below this folder with both"},
    {"trovex -S line 'Haus & Garten' *.txt", "both, in the same line"},
    {"trovex 'Haus &20 Garten' .", "at most 20 characters between them"},
    {"trovex -l 'Haus & !Garten' .", "files with \"Haus\" and no \"Garten\""},
    {"trovex '~Maier' .", "words that sound alike: Meyer ..."},
    {"trovex -f names.txt -t txt .", "any word of a list, in text files"},
    {"trovex -o --tag 1 '(Herr|Frau) M.ller' .", "only what bracket 1 found"},
    {"", ""}};

const HelpExample kHelpLanguage[] = {
    {"A & B", "both A and B"},
    {"A | B", "one or the other; it binds tighter than &"},
    {"!A", "A must not occur; it reaches up to the next &"},
    {"A &20 B", "at most 20 characters lie between the two"},
    {"A &5w B", "at most 5 words lie between them"},
    {"A &>20 B", "and B comes after A"},
    {"A &20 !B", "each A that has no B near it"},
    {"~Word", "words that sound like it"},
    {"( ... )", "brackets put together, and are counted from 1 for --tag"},
    {"\\& \\| \\! \\( \\) \\~", "the character itself"},
    {"", ""}};

const HelpExample kHelpPatterns[] = {
    {".   [abc]   [^abc]", "any character; one of these; any other"},
    {"A*  A+  A?  A{2,5}", "none or more; one or more; at most one; two to five"},
    {"^  $  \\<  \\>  \\b", "begin and end of a line; of a word; either"},
    {"\\w  \\d  \\s  \\t", "a letter, digit or _; a digit; white space; a tab"},
    {"[[:alpha:]]", "a letter; and the other classes of this kind"},
    {"(ein|eine) Hund  \\1", "a group, and what group 1 found"},
    {"\\.", "an ordinary ."},
    {"", ""}};

const std::string_view kHelpExpressions =
    "Put the expression in single quotes. Every term of it is a regular expression that is matched "
    "within one line; upper and lower case, also of umlauts, do not differ. Blanks around a term "
    "do "
    "not count. A number directly after & is a distance; '& 20 Euro' is not. Where something must "
    "not occur and nothing more is asked ('!A'), there is no match to show: what is shown then are "
    "the texts without A, names of files, or with --scope paragraphs or lines.";

const std::string_view kHelpLimits =
    "By line and by paragraph, files of any size are searched in 64 MB of memory. A line or "
    "paragraph of more "
    "than 20 MB is searched in parts, which is told, and a list may have some 40000 words.";

const std::string_view kHelpStatus =
    "The exit status is 0 when something is found, 1 when nothing is, 2 when there was trouble.";

namespace {

constexpr std::size_t kWidth = 80;
/// Where the text of an option begins.
constexpr std::size_t kTextColumn = 29;

constexpr std::string_view kUsage =
    "Usage: trovex [OPTIONS] EXPRESSION [FILE...]\n"
    "       trovex [OPTIONS] -e EXPRESSION ... -f FILE ... [FILE...]\n";

constexpr std::string_view kIntroduction =
    "trovex searches German text: several patterns at once, near each other or not there at all, "
    "as "
    "regular expressions or by their sound.";

constexpr std::string_view kFiles =
    "A folder is searched with everything below it, but for hidden files, binary files and those "
    "that "
    "a .gitignore or .ignore leaves out. Without a FILE, the standard input is searched, or on a "
    "terminal the current folder; - is the standard input.";

constexpr std::string_view kConfiguration =
    "The file that the environment variable TROVEX_CONFIG names holds options that are always "
    "wanted, one a line; a line that begins with # is a comment. Every switch --name is undone by "
    "--no-name.";

/// Appends `text`, broken at blanks; every line but the first is set in by `indent` blanks, and the
/// first one begins at `column`.
void AppendWrapped(std::string& out, std::string_view text, std::size_t indent,
                   std::size_t column) {
  std::size_t at = column;
  bool first = true;
  for (const std::string_view word : SplitWords(text)) {
    if (!first && at + 1 + word.size() > kWidth) {
      out.append("\n").append(indent, ' ');
      at = indent;
    } else if (!first) {
      out += ' ';
      ++at;
    }
    out += word;
    at += word.size();
    first = false;
  }
  out += '\n';
}

/// Brings the end of the last line to `column`, on a new line if it is past it.
void MoveTo(std::string& out, std::size_t lineBegin, std::size_t column) {
  const std::size_t at = out.size() - lineBegin;
  if (at + 1 > column) {
    out.append("\n").append(column, ' ');
  } else {
    out.append(column - at, ' ');
  }
}

void AppendPairs(std::string& out, const HelpExample* pair, std::size_t column) {
  for (; !pair->command.empty(); ++pair) {
    const std::size_t begin = out.size();
    out.append("  ").append(pair->command);
    MoveTo(out, begin, column);
    out.append(pair->meaning).append("\n");
  }
}

/// "  -S, --scope SCOPE", without a line end.
void AppendNames(std::string& out, const OptionEntry& entry) {
  if (entry.shortName != '\0') {
    out.append("  -").append(1, entry.shortName).append(", --");
  } else {
    out.append("      --");
  }
  out += entry.longName;
  if (!entry.argument.empty()) out.append(" ").append(entry.argument);
}

void AppendOption(std::string& out, const OptionEntry& entry, bool all) {
  const std::size_t begin = out.size();
  AppendNames(out, entry);
  MoveTo(out, begin, kTextColumn);
  AppendWrapped(out, entry.brief, kTextColumn, kTextColumn);
  if (!all) return;
  if (!entry.more.empty()) {
    out.append(kTextColumn, ' ');
    AppendWrapped(out, entry.more, kTextColumn, kTextColumn);
  }
  if (!entry.aliases.empty()) {
    out.append(kTextColumn, ' ').append("Also:");
    for (const std::string_view alias : SplitWords(entry.aliases))
      out.append(" --").append(alias);
    out += '\n';
  }
}

void AppendOptions(std::string& out, bool all) {
  const OptionGroup* group = nullptr;
  for (const OptionEntry& entry : OptionTable()) {
    if (group == nullptr || *group != entry.group) {
      out.append("\n").append(GroupTitle(entry.group)).append(":\n");
      group = &entry.group;
    }
    AppendOption(out, entry, all);
  }
}

}  // namespace

std::string_view HelpFiles() {
  return kFiles;
}

std::string ShortHelp() {
  std::string out(kUsage);
  AppendOptions(out, false);
  out.append("\ntrovex --help tells more, and how expressions are written.\n");
  return out;
}

std::string LongHelp() {
  std::string out;
  AppendWrapped(out, kIntroduction, 0, 0);
  out.append("\n").append(kUsage).append("\n");
  AppendWrapped(out, kFiles, 0, 0);
  out += "\nExamples:\n";
  AppendPairs(out, kHelpExamples, 43);
  out += "\nExpressions:\n";
  AppendPairs(out, kHelpLanguage, 24);
  out += "\nPatterns:\n";
  AppendPairs(out, kHelpPatterns, 24);
  out += '\n';
  AppendWrapped(out, kHelpExpressions, 0, 0);
  AppendOptions(out, true);
  out += '\n';
  AppendWrapped(out, kConfiguration, 0, 0);
  out += '\n';
  AppendWrapped(out, kHelpLimits, 0, 0);
  out += '\n';
  AppendWrapped(out, kHelpStatus, 0, 0);
  return out;
}

}  // namespace trovex::cli
