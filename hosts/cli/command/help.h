// The texts of -h and --help.

#ifndef TROVEX_HOSTS_CLI_HELP_H
#define TROVEX_HOSTS_CLI_HELP_H

#include <string>
#include <string_view>

namespace trovex::cli {

/// A command of the examples and what it finds.
struct HelpExample {
  std::string_view command;
  std::string_view meaning;
};

/// Each ends with an entry that is empty.
extern const HelpExample kHelpExamples[];
extern const HelpExample kHelpLanguage[];
extern const HelpExample kHelpPatterns[];

/// Which files are searched.
std::string_view HelpFiles();

/// What the exit status says.
extern const std::string_view kHelpLimits;
extern const std::string_view kHelpStatus;

/// What is to be said about expressions beside the table of their operators.
extern const std::string_view kHelpExpressions;

/// A line for each option; ASCII, at most 80 columns wide.
std::string ShortHelp();

/// Teaches the expressions, and tells all about the options; ASCII, at most 80 columns wide.
std::string LongHelp();

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_HELP_H
