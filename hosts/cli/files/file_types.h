// The types of files that --type knows, by their names.

#ifndef TROVEX_HOSTS_CLI_FILE_TYPES_H
#define TROVEX_HOSTS_CLI_FILE_TYPES_H

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace trovex::cli {

struct FileType {
  std::string_view name;
  /// Divided by blanks; each fits a file's name without its folder.
  std::string_view globs;
};

/// All types, sorted by name.
std::span<const FileType> FileTypes();

/// The globs of the type; empty when there is no such type.
std::vector<std::string_view> GlobsOfType(std::string_view name);

/// All types with their globs, one a line.
std::string FileTypeList();

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_FILE_TYPES_H
