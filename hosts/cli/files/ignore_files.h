// Which files of rules are in force in a folder.
//
// .ignore files hold from their folder on downwards, those of all folders above as well. Within a Git
// repository so do .gitignore files, up to the repository's own folder; then its .git/info/exclude,
// and at last what the user's Git ignores everywhere. What lies deeper goes before what lies higher,
// and every .ignore before every .gitignore.

#ifndef TROVEX_HOSTS_CLI_IGNORE_FILES_H
#define TROVEX_HOSTS_CLI_IGNORE_FILES_H

#include "hosts/cli/files/ignore_rules.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace trovex::cli {

/// The rules that lie in one folder; those of the folders above hang on it.
struct IgnoreFrame {
  IgnoreRules ignore;
  IgnoreRules gitIgnore;
  IgnoreRules exclude;
  /// The folder is that of a Git repository.
  bool isRepository = false;
  /// It, or one above it, is.
  bool inRepository = false;
  /// The length of the folder's absolute path, with a "/" at its end.
  std::size_t pathLength = 0;
  std::shared_ptr<const IgnoreFrame> above;
};

/// What is in force in a folder; null when nothing is.
using IgnoreState = std::shared_ptr<const IgnoreFrame>;

/// Which files with rules a folder holds.
struct IgnoreNames {
  bool ignore = false;
  bool gitIgnore = false;
  bool git = false;
};

/// Notes `name` if it is one of these.
void NoteIgnoreName(std::string_view name, IgnoreNames& names);

/// A file of rules that is there and cannot be read: what it would leave out is searched.
struct UnreadRules {
  std::string path;
  int error;  // a number of errno
};

/// What is in force in the folder with this absolute path, which ends with "/". `names` tells what
/// it holds, `above` what is in force in the folder above it. Adds to `unread`.
IgnoreState EnterFolder(const std::string& absolutePath, const IgnoreNames& names,
                        IgnoreState above, std::vector<UnreadRules>& unread);

/// What is in force above that folder: all folders up to the root are asked. Adds to `unread`.
IgnoreState StateAbove(const std::string& absolutePath, std::vector<UnreadRules>& unread);

/// What the rules say of the entry with this absolute path, which has no "/" at its end. `global`
/// are those of the user's Git.
Judgement JudgeByFiles(const IgnoreFrame* state, const IgnoreRules& global,
                       std::string_view absolutePath, bool isFolder);

/// What the user's Git ignores in every repository. Adds to `unread`.
IgnoreRules GlobalGitRules(std::vector<UnreadRules>& unread);

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_IGNORE_FILES_H
