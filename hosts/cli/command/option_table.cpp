// The table itself. One line of the help has room for 50 characters of `brief`.

#include "hosts/cli/command/option_table.h"

#include <algorithm>
#include <cstddef>

namespace trovex::cli {

namespace {

using enum OptionGroup;
using enum ArgumentKind;
using Id = OptionId;

constexpr OptionEntry kTable[] = {
    {Id::kExpression, kSearch, 'e', "expression", "regexp", "EXPRESSION", kText, "",
     "an expression; with several, any of them",
     "Needed for several expressions, any of which may be found, and for one that begins with "
     "\"-\". "
     "The brackets of several expressions are numbered through, for --tag."},
    {Id::kWordList, kSearch, 'f', "file", "word-list", "FILE", kFile, "",
     "any of the words that stand in FILE, one a line",
     "Every line is a word or phrase as it is; no character of it is special. Blanks at its ends "
     "do not count, nor do empty lines. Thousands are welcome. FILE may be UTF-8 or Windows "
     "Latin-1; "
     "- is the standard input. May stand beside -e and other -f."},
    {Id::kPhonetic, kSearch, 'p', "phonetic", "", "", kNone, "",
     "every word by its sound, as if ~ stood before it", ""},
    {Id::kWords, kSearch, 'w', "words", "word-regexp", "", kNone, "", "whole words only", ""},
    {Id::kWholeLines, kSearch, 'x', "whole-lines", "line-regexp", "", kNone, "",
     "only matches that are a whole line", ""},
    {Id::kCaseSensitive, kSearch, 's', "case-sensitive", "", "", kNone, "",
     "upper and lower case differ", ""},
    {Id::kIgnoreCase, kSearch, 'i', "ignore-case", "", "", kNone, "",
     "they do not, which is the default", ""},
    {Id::kLiteral, kSearch, 'F', "literal", "fixed-strings", "", kNone, "",
     "special characters are ordinary; & ! ( ) stay", ""},
    {Id::kVariants, kSearch, '\0', "variants", "", "", kNone, "",
     "in other spellings too: ae, ss, e with an accent",
     "\"Strasse\" and \"Mueller\" find the spellings with a sharp s and an umlaut too, and the "
     "other "
     "way round; other accents make no difference."},
    {Id::kClassic, kSearch, '\0', "classic", "", "", kNone, "",
     "the older language, as trovex.h reads it",
     "For expressions of applications that are built on trovex.h: they are read and found as "
     "there, answer for answer."},
    {Id::kTag, kSearch, '\0', "tag", "", "N", kText, "", "only the matches of bracket N",
     "Brackets are counted from 1, by their \"(\"."},
    {Id::kInvert, kSearch, 'v', "invert-match", "", "", kNone, "",
     "the lines for which the expression does not hold",
     "The same as --scope line and '!(...)' around the expression."},
    {Id::kScope, kSearch, 'S', "scope", "", "SCOPE", kChoice, "file paragraph line",
     "where 'A & B' has to hold",
     "In the file, which is the default, in the paragraph (lines between empty lines), or in the "
     "line."},

    {Id::kEncoding, kFiles, 'E', "encoding", "", "NAME", kEncoding, "auto",
     "the encoding of the files, instead of a guess",
     "Such as utf-8, latin1, cp1252, iso-8859-15, utf-16le, ibm850. By default (auto) UTF-8 is "
     "read "
     "as such, also UTF-16 and UTF-32, and every byte that is none of these as Windows Latin-1."},
    {Id::kGlob, kFiles, 'g', "glob", "", "GLOB", kText, "",
     "only files whose names fit; with ! before it: not",
     "As a line of .gitignore: '*.txt' fits in every folder, 'a/*.txt' and '/b' from the folder on "
     "that is searched, 'c/' is a folder; and '*.{txt,md}' fits either. Of several globs the last "
     "one that fits decides. It goes "
     "before ignore files and hidden files."},
    {Id::kType, kFiles, 't', "type", "", "TYPE", kType, "",
     "only files of this type; --type-list tells which", ""},
    {Id::kTypeNot, kFiles, 'T', "type-not", "", "TYPE", kType, "", "no files of this type", ""},
    {Id::kTypeList, kFiles, '\0', "type-list", "", "", kNone, "",
     "lists the types with their globs", ""},
    {Id::kHidden, kFiles, '\0', "hidden", "", "", kNone, "", "also hidden files and folders", ""},
    {Id::kNoIgnore, kFiles, '\0', "no-ignore", "", "", kNone, "",
     "also what .gitignore and .ignore leave out",
     "By default, files below a folder are left out that a .ignore says, or within a Git "
     "repository a .gitignore, .git/info/exclude or Git's own list of the user."},
    {Id::kRecursive, kFiles, 'r', "recursive", "", "", kNone, "",
     "folders with all below them, which is the default", ""},
    {Id::kMaxDepth, kFiles, 'd', "max-depth", "maxdepth", "N", kText, "",
     "no more than N folders deep", "With 1, only the files that stand in a folder itself."},
    {Id::kFollow, kFiles, '\0', "follow", "", "", kNone, "",
     "follows symbolic links below a folder", ""},
    {Id::kMaxFileSize, kFiles, '\0', "max-filesize", "", "SIZE", kText, "",
     "no files larger than SIZE, such as 500K, 20M, 2G",
     "Files that are named are searched whatever their size."},
    {Id::kBinary, kFiles, 'a', "binary", "text", "", kNone, "",
     "also binary files, shown like text", ""},
    {Id::kSort, kFiles, '\0', "sort", "", "KEY", kChoice, "path modified size none",
     "the order of files below a folder: by path",
     "path (the default), modified (oldest first), size (smallest first), or none, which begins "
     "soonest."},
    {Id::kSortReversed, kFiles, '\0', "sortr", "", "KEY", kChoice, "path modified size none",
     "the same, the other way round", ""},
    {Id::kThreads, kFiles, 'j', "threads", "jobs", "N", kText, "",
     "at most N threads; by default one a core", ""},

    {Id::kAfter, kOutput, 'A', "after-context", "", "N", kText, "", "N lines after each line found",
     ""},
    {Id::kBefore, kOutput, 'B', "before-context", "", "N", kText, "", "N lines before it", ""},
    {Id::kContext, kOutput, 'C', "context", "", "N", kText, "", "both", ""},
    {Id::kCount, kOutput, 'c', "count", "", "", kNone, "",
     "for each file with matches, how many lines match", ""},
    {Id::kIncludeZero, kOutput, '\0', "include-zero", "", "", kNone, "",
     "with --count: also files without a match", ""},
    {Id::kFilesWith, kOutput, 'l', "files-with-matches", "", "", kNone, "",
     "the names of files with matches alone", ""},
    {Id::kFilesWithout, kOutput, 'L', "files-without-match", "", "", kNone, "",
     "the names of files without a match alone", "The exit status is 0 when there is one."},
    {Id::kOnlyMatching, kOutput, 'o', "only-matching", "", "", kNone, "",
     "the matches alone, each on a line of its own", ""},
    {Id::kMaxCount, kOutput, 'm', "max-count", "", "N", kText, "",
     "no more than N matching lines of each file", ""},
    {Id::kWithFileName, kOutput, 'H', "with-filename", "", "", kNone, "", "with file names",
     "This is the default, but where the standard input is all that is searched."},
    {Id::kNoFileName, kOutput, 'I', "no-filename", "", "", kNone, "", "without file names", ""},
    {Id::kLineNumber, kOutput, 'n', "line-number", "", "", kNone, "",
     "with line numbers, which is the default", ""},
    {Id::kNoLineNumber, kOutput, 'N', "no-line-number", "", "", kNone, "", "without line numbers",
     ""},
    {Id::kByteOffset, kOutput, 'b', "byte-offset", "", "", kNone, "",
     "where each line or match begins, in bytes from 0", ""},
    {Id::kColumn, kOutput, '\0', "column", "", "", kNone, "",
     "the column of the first match, in characters", ""},
    {Id::kVimgrep, kOutput, '\0', "vimgrep", "", "", kNone, "",
     "each match on a line, with line and column",
     "As editors read it: FILE:LINE:COLUMN:TEXT, the column in bytes from 1."},
    {Id::kHeading, kOutput, '\0', "heading", "", "", kNone, "",
     "the file's name on a line above its matches",
     "This is the default on a terminal; --no-heading puts it before each line."},
    {Id::kNull, kOutput, '0', "null", "", "", kNone, "", "a zero byte after each file's name", ""},
    {Id::kJson, kOutput, '\0', "json", "", "", kNone, "", "JSON, one object a line",
     "An object for each match, and with -A, -B and -C for each line around them; with --count or "
     "--files-with-matches, for each file. Its type tells which: match, context, count, file, "
     "binary; the last one, summary, has the statistics."},
    {Id::kQuiet, kOutput, 'q', "quiet", "silent", "", kNone, "", "nothing; the exit status tells",
     ""},
    {Id::kColor, kOutput, '\0', "color", "colour", "WHEN", kChoice, "auto always never",
     "colours: auto (on a terminal), always or never", ""},
    {Id::kColors, kOutput, '\0', "colors", "colours", "SCHEME", kText, "",
     "which ones: light, mono, or 'match=bold+red,...'",
     "The parts are name, line, separator and match. A style is made of bold, dim, italic, "
     "underline, "
     "reverse, one of the colours black, red, green, yellow, blue, magenta, cyan and white, also "
     "bright-red ..., or a number up to 255; with on- before it, it is the background. none is no "
     "style."},
    {Id::kHyperlink, kOutput, '\0', "hyperlink", "", "WHEN", kChoice, "auto always never",
     "names of files as links, on terminals with links", ""},
    {Id::kRaw, kOutput, '\0', "raw", "", "", kNone, "",
     "control characters of texts go to a terminal as is", ""},
    {Id::kStats, kOutput, '\0', "stats", "", "", kNone, "", "a summary on standard error", ""},

    {Id::kExplain, kOther, '\0', "explain", "", "", kNone, "",
     "how the expression is understood; no search", ""},
    {Id::kFiles, kOther, '\0', "files", "", "", kNone, "", "lists the files that would be searched",
     "Everything that stands beside it are files and folders; there is no expression."},
    {Id::kNoConfig, kOther, '\0', "no-config", "", "", kNone, "",
     "does not read the file that TROVEX_CONFIG names", ""},
    {Id::kGenerate, kOther, '\0', "generate", "", "WHAT", kChoice, "man bash zsh fish",
     "the manual page, or completions for a shell", ""},
    {Id::kHelp, kOther, 'h', "help", "", "", kNone, "", "-h: one line for each option; --help: all",
     ""},
    {Id::kVersion, kOther, 'V', "version", "", "", kNone, "",
     "the version, vector instructions and libraries", ""},
};

}  // namespace

std::span<const OptionEntry> OptionTable() {
  return kTable;
}

std::string_view GroupTitle(OptionGroup group) {
  switch (group) {
    case OptionGroup::kSearch:
      return "What is looked for";
    case OptionGroup::kFiles:
      return "Where it is looked for";
    case OptionGroup::kOutput:
      return "What is shown";
    case OptionGroup::kOther:
      break;
  }
  return "Other";
}

const OptionEntry* FindOption(std::string_view longName) {
  for (const OptionEntry& entry : kTable) {
    if (entry.longName == longName) return &entry;
    for (const std::string_view alias : SplitWords(entry.aliases)) {
      if (alias == longName) return &entry;
    }
  }
  return nullptr;
}

const OptionEntry* FindOption(char shortName) {
  if (shortName == '\0') return nullptr;
  const auto* const found =
      std::find_if(std::begin(kTable), std::end(kTable),
                   [shortName](const OptionEntry& entry) { return entry.shortName == shortName; });
  return found == std::end(kTable) ? nullptr : found;
}

std::vector<std::string_view> SplitWords(std::string_view list) {
  std::vector<std::string_view> words;
  for (std::size_t begin = 0; begin < list.size();) {
    const std::size_t end = std::min(list.find(' ', begin), list.size());
    if (end > begin) words.push_back(list.substr(begin, end - begin));
    begin = end + 1;
  }
  return words;
}

}  // namespace trovex::cli
