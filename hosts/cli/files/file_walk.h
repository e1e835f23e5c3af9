// The files that are searched, one after the other, in a settled order: names as they were given,
// and everything below a folder sorted by name.
//
// Below a folder, hidden entries are left out unless asked for, and so is what is neither a file
// nor a folder. Symbolic links are followed where they are named, not below a folder: what they
// point to is found where it lies.

#ifndef TROVEX_HOSTS_CLI_FILE_WALK_H
#define TROVEX_HOSTS_CLI_FILE_WALK_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace trovex::cli {

/// The name that stands for the standard input.
inline constexpr char kStandardInput[] = "-";

/// What a file is called in the output.
std::string DisplayName(const std::string& path);

/// A file to be searched, or a complaint in its place.
struct FileToSearch {
  std::string path;       // kStandardInput for the standard input
  bool named = false;     // it was named by the user, not met below a folder
  std::string complaint;  // why there is no file; empty when there is one
};

class FileWalk {
 public:
  FileWalk(std::vector<std::string> names, bool hidden);

  /// The next file; null when there are no more.
  std::optional<FileToSearch> Next();

 private:
  struct Entry {
    std::string path;
    bool folder;
  };
  /// A folder that is being walked.
  struct Level {
    std::vector<Entry> entries;
    std::size_t next = 0;
  };

  /// Enters the folder; returns a complaint when it cannot be read to its end.
  std::optional<FileToSearch> Enter(const std::string& folder);

  std::vector<std::string> names_;
  std::size_t nextName_ = 0;
  std::vector<Level> levels_;
  bool hidden_;
};

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_FILE_WALK_H
