// The rules of one file such as .gitignore, each a line.
//
//   *.o      by the last name, in every folder
//   /a  a/b  by the path from the folder on in which the file lies
//   c/       folders only
//   !d       not ignored after all
//
// The last rule that fits decides.

#ifndef TROVEX_HOSTS_CLI_IGNORE_RULES_H
#define TROVEX_HOSTS_CLI_IGNORE_RULES_H

#include "hosts/cli/files/glob.h"

#include <cstdint>
#include <string_view>
#include <vector>

namespace trovex::cli {

/// What rules say of a path.
enum class Judgement : std::uint8_t {
  kNone,     // nothing
  kIgnored,  // a rule fits
  kWanted,   // a rule with "!" fits
};

class IgnoreRules {
 public:
  /// Reads the content of a file of rules.
  static IgnoreRules Read(std::string_view content);

  /// Adds one rule, if `line` holds one.
  void Add(std::string_view line);

  bool IsEmpty() const { return rules_.empty(); }

  /// What the rules say of `path`, which is that from their folder on.
  Judgement Judge(std::string_view path, bool isFolder) const;

 private:
  struct Rule {
    Glob glob;
    bool wanted;
    bool foldersOnly;
    bool wholePath;
  };

  std::vector<Rule> rules_;
};

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_IGNORE_RULES_H
