// The files that are searched, one after the other, in a settled order: names as they were given,
// and everything below a folder sorted by name, unless another order is asked for.
//
// Below a folder, hidden entries are left out unless asked for, what files such as .gitignore leave
// out, and what is neither a file nor a folder. What a user names is searched whatever it is. Symbolic
// links are followed where they are named; below a folder only on request, and never into a folder
// that the walk is in.

#ifndef TROVEX_HOSTS_CLI_FILE_WALK_H
#define TROVEX_HOSTS_CLI_FILE_WALK_H

#include "hosts/cli/command/options.h"
#include "hosts/cli/files/file_filter.h"
#include "hosts/cli/files/ignore_files.h"

#include <sys/types.h>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace trovex::cli {

/// The name that stands for the standard input.
inline constexpr char kStandardInput[] = "-";

/// What a file is called in the output.
std::string DisplayName(const std::string& path);

/// A file to be searched, or a complaint in its place.
struct FileToSearch {
  std::string path;         // kStandardInput for the standard input
  bool named = false;       // it was named by the user, not met below a folder
  std::string complaint;    // why there is no file; empty when there is one
  bool regular = false;     // it was met as a regular file, whose size its status tells
  bool readsWhole = false;  // and a read gives all that there is, up to the size that is asked for
};

/// To be used by one thread at a time. Takes at most one descriptor at a time, and none between two
/// calls.
class FileWalk {
 public:
  explicit FileWalk(const Options& options);

  /// The next file; null when there are no more.
  std::optional<FileToSearch> Next();

 private:
  enum class EntryKind : std::uint8_t { kFile, kFolder, kOther };

  /// A name in a folder. The names themselves lie one after the other in the level.
  struct Entry {
    std::uint32_t begin;
    std::uint16_t length;
    EntryKind kind;
  };

  /// A folder that is being walked.
  struct Level {
    std::string path;  // as it is shown before its entries: empty, or with "/" at its end
    std::string names;
    std::vector<Entry> entries;
    std::size_t next = 0;
    IgnoreState ignore;
    std::string absolutePath;  // with "/" at its end; empty when no files of rules are asked
    dev_t device = 0;          // for the detection of loops
    ino_t number = 0;
    bool readsWhole = false;

    std::string_view Name(const Entry& entry) const {
      return std::string_view(names).substr(entry.begin, entry.length);
    }
  };

  std::optional<FileToSearch> NextBelow();
  FileToSearch ComplaintOnRules();
  std::optional<FileToSearch> Begin(const std::string& name);
  std::optional<FileToSearch> Enter(std::string path, std::string absolutePath, IgnoreState above);
  int ReadEntries(int folder, Level& level, IgnoreNames& names);
  void LookAtDevice(int folder, Level& level);
  void SortEntries(Level& level) const;
  bool IsWanted(const Level& level, std::string_view name, bool isFolder, const std::string& path);
  bool IsInLoop(dev_t device, ino_t number) const;
  void SortRoot();

  std::vector<std::string> names_;
  bool currentFolder_;
  bool hidden_;
  bool ignoreFiles_;
  bool follow_;
  std::int64_t maxFileSize_;
  std::int64_t maxDepth_;
  SortKey sort_;
  bool reversed_;
  FileFilter filter_;
  std::optional<IgnoreRules> globalRules_;
  std::vector<UnreadRules> unread_;  // that have not been complained of

  /// What is known of the file system that a folder was in last.
  dev_t latestDevice_ = 0;
  bool latestReadsWhole_ = false;

  std::size_t nextName_ = 0;
  std::size_t rootLength_ = 0;  // of the path that is shown before what is below the folder named
  std::vector<Level> levels_;
  std::string scratch_;  // a path that is judged; kept for its memory
  /// All files of one folder, where they are sorted by something else than their names.
  std::vector<FileToSearch> sorted_;
  std::size_t nextSorted_ = 0;
};

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_FILE_WALK_H
