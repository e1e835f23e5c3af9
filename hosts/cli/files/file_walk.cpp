// Walking folders depth first.

#include "hosts/cli/files/file_walk.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

namespace trovex::cli {

namespace fs = std::filesystem;

std::string DisplayName(const std::string& path) {
  return path == kStandardInput ? "(standard input)" : path;
}

FileWalk::FileWalk(std::vector<std::string> names, bool hidden)
    : names_(std::move(names)), hidden_(hidden) {}

std::optional<FileToSearch> FileWalk::Next() {
  for (;;) {
    while (!levels_.empty() && levels_.back().next == levels_.back().entries.size())
      levels_.pop_back();
    if (!levels_.empty()) {
      Level& level = levels_.back();
      Entry entry = std::move(level.entries[level.next++]);
      if (!entry.folder) return FileToSearch{std::move(entry.path), false, {}};
      if (auto complaint = Enter(entry.path)) return complaint;
      continue;
    }
    if (nextName_ == names_.size()) return std::nullopt;
    const std::string& name = names_[nextName_++];
    std::error_code error;
    if (name == kStandardInput || !fs::is_directory(name, error)) {
      return FileToSearch{name, true, {}};
    }
    if (auto complaint = Enter(name)) return complaint;
  }
}

std::optional<FileToSearch> FileWalk::Enter(const std::string& folder) {
  std::error_code error;
  Level level;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error)) {
    const std::string name = entry->path().filename().string();
    if (!hidden_ && name.front() == '.') continue;
    std::error_code ignored;
    const fs::file_type type = entry->symlink_status(ignored).type();
    if (type == fs::file_type::regular || type == fs::file_type::directory) {
      level.entries.push_back({entry->path().string(), type == fs::file_type::directory});
    }
  }
  std::sort(level.entries.begin(), level.entries.end(),
            [](const Entry& a, const Entry& b) { return a.path < b.path; });
  levels_.push_back(std::move(level));
  if (!error) return std::nullopt;
  return FileToSearch{folder, false, folder + ": " + std::strerror(error.value())};
}

}  // namespace trovex::cli
