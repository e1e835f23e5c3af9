// What the user's globs and types say of the files below a folder.

#ifndef TROVEX_HOSTS_CLI_FILE_FILTER_H
#define TROVEX_HOSTS_CLI_FILE_FILTER_H

#include "hosts/cli/command/options.h"
#include "hosts/cli/files/glob.h"
#include "hosts/cli/files/ignore_rules.h"

#include <string_view>
#include <vector>

namespace trovex::cli {

class FileFilter {
 public:
  explicit FileFilter(const Options& options);

  /// What the globs say: kWanted is searched, though it were hidden or ignored, and kIgnored is not.
  /// `path` is that from the folder on that is searched, `shown` as it is printed; a glob may fit
  /// either.
  Judgement JudgeByGlobs(std::string_view path, std::string_view shown, bool isFolder) const;

  /// Whether a file of this name, which is one without folders, has one of the wanted types.
  bool HasType(std::string_view name) const;

 private:
  IgnoreRules globs_;  // a glob that is wanted has no "!" there, and the other way round
  bool onlyWanted_ = false;
  std::vector<Glob> types_;
  std::vector<Glob> typesLeftOut_;
};

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_FILE_FILTER_H
