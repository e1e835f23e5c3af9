// Walking folders depth first. A folder is read to its end when the walk comes to it; what its entries
// are is taken from the folder itself where it tells, so that a file costs no call of the system.

#include "hosts/cli/files/file_walk.h"

#include "hosts/cli/files/input.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>
#include <utility>

namespace trovex::cli {

namespace {

struct CloseFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};

std::string RealPath(const std::string& path) {
  const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr),
                                                         &std::free);
  return real == nullptr ? std::string() : std::string(real.get());
}

bool IsFolder(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

/// Whether the file system of `folder` is one of those that keep what was written: files there end where a
/// read ends early. Those that make files up, such as /proc, give them piece by piece.
bool ReadsWhole(int folder) {
  struct statfs status {};
  if (fstatfs(folder, &status) != 0) return false;
  constexpr std::array<std::uint64_t, 5> kKnown = {
      EXT4_SUPER_MAGIC, XFS_SUPER_MAGIC, BTRFS_SUPER_MAGIC, TMPFS_MAGIC, OVERLAYFS_SUPER_MAGIC};
  const auto type = static_cast<std::uint64_t>(status.f_type);
  return std::find(kKnown.begin(), kKnown.end(), type) != kKnown.end();
}

FileToSearch Complaint(std::string path, int error) {
  std::string sentence = DisplayName(path) + ": " + std::strerror(error);
  return {std::move(path), false, std::move(sentence), false};
}

/// A folder's path as it was named, without the "/" that stands before its entries.
std::string NameOfFolder(const std::string& path) {
  if (path.empty()) return ".";
  return path.size() > 1 ? path.substr(0, path.size() - 1) : path;
}

/// A key by which files are sorted.
std::int64_t KeyOf(const std::string& path, SortKey key) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) return 0;
  if (key == SortKey::kSize) return status.st_size;
  constexpr std::int64_t kNanoseconds = 1'000'000'000;
  return std::int64_t{status.st_mtim.tv_sec} * kNanoseconds + status.st_mtim.tv_nsec;
}

}  // namespace

std::string DisplayName(const std::string& path) {
  return path == kStandardInput ? "(standard input)" : path;
}

FileWalk::FileWalk(const Options& options)
    : names_(options.files),
      currentFolder_(options.currentFolder),
      hidden_(options.hidden),
      ignoreFiles_(options.ignoreFiles),
      follow_(options.follow),
      maxFileSize_(options.maxFileSize),
      maxDepth_(options.maxDepth),
      sort_(options.sort),
      reversed_(options.sortReversed),
      filter_(options) {}

std::optional<FileToSearch> FileWalk::Next() {
  for (;;) {
    if (!unread_.empty()) return ComplaintOnRules();
    if (nextSorted_ < sorted_.size()) return std::move(sorted_[nextSorted_++]);
    if (!levels_.empty()) {
      if (auto file = NextBelow()) return file;
    }
    if (nextName_ == names_.size()) return std::nullopt;
    const std::string& name = names_[nextName_++];
    if (name == kStandardInput || !IsFolder(name)) return FileToSearch{name, true, {}, false};
    auto complaint = Begin(name);
    if (sort_ == SortKey::kModified || sort_ == SortKey::kSize) SortRoot();
    if (complaint.has_value()) return complaint;
  }
}

FileToSearch FileWalk::ComplaintOnRules() {
  const UnreadRules rules = std::move(unread_.back());
  unread_.pop_back();
  FileToSearch complaint = Complaint(rules.path, rules.error);
  complaint.complaint += "; what its rules leave out is searched";
  return complaint;
}

/// Begins with the folder that the user named.
std::optional<FileToSearch> FileWalk::Begin(const std::string& name) {
  std::string path = currentFolder_ ? "" : name;
  if (!path.empty() && !path.ends_with('/')) path += '/';
  rootLength_ = path.size();

  std::string absolutePath;
  IgnoreState above;
  if (ignoreFiles_) {
    absolutePath = RealPath(name);
    if (!absolutePath.empty() && !absolutePath.ends_with('/')) absolutePath += '/';
    if (!globalRules_.has_value()) globalRules_ = GlobalGitRules(unread_);
    if (!absolutePath.empty()) above = StateAbove(absolutePath, unread_);
  }
  return Enter(std::move(path), std::move(absolutePath), std::move(above));
}

/// The next file below the folder that is being walked; null when there are no more.
std::optional<FileToSearch> FileWalk::NextBelow() {
  while (!levels_.empty()) {
    Level& level = levels_.back();
    if (level.next == level.entries.size()) {
      levels_.pop_back();
      continue;
    }
    const Entry entry = level.entries[level.next++];
    const std::string_view name = level.Name(entry);
    std::string path = level.path;
    path += name;

    EntryKind kind = entry.kind;
    const bool needsStatus =
        kind == EntryKind::kOther || (maxFileSize_ >= 0 && kind == EntryKind::kFile);
    struct stat status {};
    if (needsStatus) {
      // Only links come here as something else, where they are followed.
      if (stat(path.c_str(), &status) != 0) return Complaint(std::move(path), errno);
      if (S_ISDIR(status.st_mode)) {
        kind = EntryKind::kFolder;
      } else if (S_ISREG(status.st_mode)) {
        kind = EntryKind::kFile;
      } else {
        continue;
      }
    }
    const bool isFolder = kind == EntryKind::kFolder;
    if (!IsWanted(level, name, isFolder, path)) continue;
    if (!isFolder) {
      if (maxFileSize_ >= 0 && status.st_size > maxFileSize_) continue;
      return FileToSearch{std::move(path), false, {}, true, level.readsWhole};
    }
    if (maxDepth_ >= 0 && static_cast<std::int64_t>(levels_.size()) >= maxDepth_) continue;
    std::string absolutePath;
    if (!level.absolutePath.empty())
      absolutePath.append(level.absolutePath).append(name).append("/");
    path += '/';
    if (auto complaint = Enter(std::move(path), std::move(absolutePath), level.ignore)) {
      return complaint;
    }
  }
  return std::nullopt;
}

bool FileWalk::IsWanted(const Level& level, std::string_view name, bool isFolder,
                        const std::string& path) {
  const std::string_view inRoot = std::string_view(path).substr(rootLength_);
  const Judgement byGlobs = filter_.JudgeByGlobs(inRoot, path, isFolder);
  if (byGlobs == Judgement::kIgnored) return false;
  if (!isFolder && !filter_.HasType(name)) return false;
  if (byGlobs == Judgement::kWanted) return true;

  const bool isHidden = !hidden_ && name.starts_with('.');
  if (level.ignore == nullptr || level.absolutePath.empty()) return !isHidden;
  scratch_.assign(level.absolutePath).append(name);
  switch (JudgeByFiles(level.ignore.get(), *globalRules_, scratch_, isFolder)) {
    case Judgement::kIgnored:
      return false;
    case Judgement::kWanted:
      return true;
    case Judgement::kNone:
      break;
  }
  return !isHidden;
}

bool FileWalk::IsInLoop(dev_t device, ino_t number) const {
  return std::any_of(levels_.begin(), levels_.end(), [device, number](const Level& level) {
    return level.device == device && level.number == number;
  });
}

/// Enters the folder; returns a complaint when it cannot be read to its end.
std::optional<FileToSearch> FileWalk::Enter(std::string path, std::string absolutePath,
                                            IgnoreState above) {
  const std::string name = NameOfFolder(path);
  const int descriptor = OpenWaiting(name.c_str(), O_RDONLY | O_DIRECTORY | O_NOCTTY | O_NONBLOCK);
  if (descriptor < 0) return Complaint(name, errno);

  Level level;
  level.path = std::move(path);
  LookAtDevice(descriptor, level);
  if (follow_ && IsInLoop(level.device, level.number)) {
    close(descriptor);
    return FileToSearch{name, false, name + ": This link leads back to a folder above it", false};
  }
  IgnoreNames names;
  const int error = ReadEntries(descriptor, level, names);
  SortEntries(level);
  level.ignore =
      absolutePath.empty() ? nullptr : EnterFolder(absolutePath, names, std::move(above), unread_);
  level.absolutePath = std::move(absolutePath);
  levels_.push_back(std::move(level));
  if (error == 0) return std::nullopt;
  return Complaint(name, error);
}

void FileWalk::LookAtDevice(int folder, Level& level) {
  struct stat status {};
  if (fstat(folder, &status) != 0) return;
  level.device = status.st_dev;
  level.number = status.st_ino;
  if (status.st_dev != latestDevice_) {
    latestDevice_ = status.st_dev;
    latestReadsWhole_ = ReadsWhole(folder);
  }
  level.readsWhole = latestReadsWhole_;
}

/// Reads all entries and closes the folder; returns what error ended it, or 0.
int FileWalk::ReadEntries(int folder, Level& level, IgnoreNames& names) {
  const std::unique_ptr<DIR, CloseFolder> stream(fdopendir(folder));
  if (stream == nullptr) {
    const int error = errno;
    close(folder);
    return error;
  }
  for (;;) {
    errno = 0;
    const dirent* const entry = readdir(stream.get());
    if (entry == nullptr) return errno;
    const std::string_view name = entry->d_name;
    if (name == "." || name == "..") continue;
    if (name.front() == '.') NoteIgnoreName(name, names);

    unsigned char type = entry->d_type;
    if (type == DT_UNKNOWN) {
      struct stat status {};
      if (fstatat(dirfd(stream.get()), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) continue;
      type = static_cast<unsigned char>(IFTODT(status.st_mode));
    }
    EntryKind kind = EntryKind::kOther;
    if (type == DT_REG) {
      kind = EntryKind::kFile;
    } else if (type == DT_DIR) {
      kind = EntryKind::kFolder;
    } else if (type != DT_LNK || !follow_) {
      continue;
    }
    level.entries.push_back({static_cast<std::uint32_t>(level.names.size()),
                             static_cast<std::uint16_t>(name.size()), kind});
    level.names += name;
  }
}

void FileWalk::SortEntries(Level& level) const {
  if (sort_ == SortKey::kNone) return;
  const auto before = [&level](const Entry& a, const Entry& b) {
    return level.Name(a) < level.Name(b);
  };
  std::sort(level.entries.begin(), level.entries.end(), before);
  if (reversed_ && sort_ == SortKey::kPath) {
    std::reverse(level.entries.begin(), level.entries.end());
  }
}

/// Walks the whole folder and sorts its files; complaints come first, as they came.
void FileWalk::SortRoot() {
  struct Keyed {
    std::int64_t key;
    FileToSearch file;
  };
  sorted_.clear();
  nextSorted_ = 0;
  std::vector<Keyed> files;
  while (auto file = NextBelow()) {
    if (!file->complaint.empty()) {
      sorted_.push_back(*std::move(file));
      continue;
    }
    const std::int64_t key = KeyOf(file->path, sort_);
    files.push_back({key, *std::move(file)});
  }
  std::stable_sort(files.begin(), files.end(), [this](const Keyed& a, const Keyed& b) {
    return reversed_ ? b.key < a.key : a.key < b.key;
  });
  std::transform(files.begin(), files.end(), std::back_inserter(sorted_),
                 [](Keyed& keyed) { return std::move(keyed.file); });
}

}  // namespace trovex::cli
