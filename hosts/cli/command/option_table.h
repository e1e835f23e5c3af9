// Every option of the program, once.
//
// The command line is read by this table, and the help, the manual page and the completions of the
// shells are written from it. What an option means for a search is told in options.cpp.

#ifndef TROVEX_HOSTS_CLI_OPTION_TABLE_H
#define TROVEX_HOSTS_CLI_OPTION_TABLE_H

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace trovex::cli {

enum class OptionId {
  kExpression,
  kWordList,
  kPhonetic,
  kWords,
  kWholeLines,
  kCaseSensitive,
  kIgnoreCase,
  kLiteral,
  kVariants,
  kClassic,
  kTag,
  kInvert,
  kScope,
  kEncoding,
  kGlob,
  kType,
  kTypeNot,
  kTypeList,
  kHidden,
  kNoIgnore,
  kRecursive,
  kFollow,
  kMaxDepth,
  kMaxFileSize,
  kBinary,
  kSort,
  kSortReversed,
  kThreads,
  kAfter,
  kBefore,
  kContext,
  kCount,
  kIncludeZero,
  kFilesWith,
  kFilesWithout,
  kOnlyMatching,
  kMaxCount,
  kWithFileName,
  kNoFileName,
  kLineNumber,
  kNoLineNumber,
  kByteOffset,
  kColumn,
  kVimgrep,
  kHeading,
  kNull,
  kJson,
  kQuiet,
  kColor,
  kColors,
  kHyperlink,
  kRaw,
  kStats,
  kExplain,
  kFiles,
  kNoConfig,
  kGenerate,
  kHelp,
  kVersion,
};

/// The part of the help that an option stands in.
enum class OptionGroup { kSearch, kFiles, kOutput, kOther };

/// What can stand as the argument of an option, for shells that complete it.
enum class ArgumentKind {
  kNone,      // the option is a switch
  kText,      // nothing that can be guessed
  kFile,      // a file's name
  kChoice,    // one of `choices`
  kType,      // a type of files, see files/file_types.h
  kEncoding,  // an encoding, or one of `choices`
};

struct OptionEntry {
  OptionId id;
  OptionGroup group;
  /// '\0': there is none.
  char shortName;
  /// Without the two dashes.
  std::string_view longName;
  /// Other long names that mean the same, divided by blanks.
  std::string_view aliases;
  /// The name of the argument in the help; empty for switches.
  std::string_view argument;
  ArgumentKind kind;
  /// Divided by blanks.
  std::string_view choices;
  /// What it does, for one line of the help. ASCII, as all that is written here.
  std::string_view brief;
  /// What else is to be said; empty when nothing is.
  std::string_view more;
};

/// All options, in the order of the help, group by group.
std::span<const OptionEntry> OptionTable();

/// The heading of a group.
std::string_view GroupTitle(OptionGroup group);

/// The option with this name or alias; null when there is none.
const OptionEntry* FindOption(std::string_view longName);
const OptionEntry* FindOption(char shortName);

/// The words of a list that is divided by blanks.
std::vector<std::string_view> SplitWords(std::string_view list);

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_OPTION_TABLE_H
