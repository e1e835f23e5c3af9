// Reading files of rules where a folder has them.

#include "hosts/cli/files/ignore_files.h"

#include "hosts/cli/files/input.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <utility>

namespace trovex::cli {

namespace {

/// All of the file; as much as there is where it cannot be read, and then `error` is set.
std::string ContentOf(const std::string& path, int& error) {
  std::string content;
  const int file = OpenWaiting(path.c_str(), O_RDONLY | O_NOCTTY | O_NONBLOCK);
  error = file < 0 ? errno : 0;
  if (file < 0) return content;
  char block[4096];
  for (;;) {
    const ssize_t count = read(file, block, sizeof block);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) error = errno;
    if (count <= 0) break;
    content.append(block, static_cast<std::size_t>(count));
  }
  close(file);
  return content;
}

std::string ContentOf(const std::string& path) {
  int error = 0;
  return ContentOf(path, error);
}

IgnoreRules RulesIn(const std::string& path, std::vector<UnreadRules>& unread) {
  int error = 0;
  const std::string content = ContentOf(path, error);
  // A folder of that name has no rules, nor has what is not there.
  const bool isNoFile = error == ENOENT || error == ENOTDIR || error == EISDIR;
  if (error != 0 && !isNoFile) unread.push_back({path, error});
  return IgnoreRules::Read(content);
}

bool Exists(const std::string& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0;
}

std::string_view Trim(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r\n";
  const std::size_t begin = text.find_first_not_of(kBlanks);
  if (begin == text.npos) return {};
  return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

std::string JoinPath(std::string_view folder, std::string_view path) {
  if (path.starts_with('/')) return std::string(path);
  std::string joined(folder);
  if (!joined.ends_with('/')) joined += '/';
  return joined.append(path);
}

/// The folder in which Git keeps what it knows of the repository at `folder`. Of a second working tree
/// .git is a file that names another folder, and that one the common one.
std::string GitFolder(const std::string& folder) {
  std::string git = folder + ".git";
  constexpr std::string_view kKey = "gitdir:";
  const std::string content = ContentOf(git);
  if (!content.starts_with(kKey)) return git;
  const std::string named = JoinPath(folder, Trim(std::string_view(content).substr(kKey.size())));
  const std::string common = ContentOf(JoinPath(named, "commondir"));
  return common.empty() ? named : JoinPath(named, Trim(common));
}

bool EqualsInAnyCase(std::string_view a, std::string_view lower) {
  return std::equal(a.begin(), a.end(), lower.begin(), lower.end(), [](char x, char y) {
    return (x >= 'A' && x <= 'Z' ? static_cast<char>(x + 32) : x) == y;
  });
}

/// The value of core.excludesFile in a configuration of Git; empty when it has none.
std::string ExcludesFileIn(std::string_view config) {
  std::string found;
  bool inCore = false;
  for (std::size_t begin = 0; begin < config.size();) {
    const std::size_t end = std::min(config.find('\n', begin), config.size());
    const std::string_view line = Trim(config.substr(begin, end - begin));
    begin = end + 1;
    if (line.starts_with('[')) {
      inCore = EqualsInAnyCase(Trim(line.substr(1, line.find(']') - 1)), "core");
    }
    const std::size_t equals = line.find('=');
    if (!inCore || equals == line.npos) continue;
    if (!EqualsInAnyCase(Trim(line.substr(0, equals)), "excludesfile")) continue;
    std::string_view value = Trim(line.substr(equals + 1));
    if (value.size() > 1 && value.starts_with('"') && value.ends_with('"')) {
      value = value.substr(1, value.size() - 2);
    }
    found = value;
  }
  return found;
}

std::string EnvironmentPath(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? "" : value;
}

}  // namespace

void NoteIgnoreName(std::string_view name, IgnoreNames& names) {
  if (name == ".ignore") names.ignore = true;
  if (name == ".gitignore") names.gitIgnore = true;
  if (name == ".git") names.git = true;
}

IgnoreState EnterFolder(const std::string& absolutePath, const IgnoreNames& names,
                        IgnoreState above, std::vector<UnreadRules>& unread) {
  const bool inRepository = names.git || (above != nullptr && above->inRepository);
  const bool readsGitIgnore = names.gitIgnore && inRepository;
  if (!names.ignore && !readsGitIgnore && !names.git) return above;

  auto frame = std::make_shared<IgnoreFrame>();
  if (names.ignore) frame->ignore = RulesIn(absolutePath + ".ignore", unread);
  if (readsGitIgnore) frame->gitIgnore = RulesIn(absolutePath + ".gitignore", unread);
  if (names.git) frame->exclude = RulesIn(GitFolder(absolutePath) + "/info/exclude", unread);
  frame->isRepository = names.git;
  frame->inRepository = inRepository;
  frame->pathLength = absolutePath.size();
  frame->above = std::move(above);
  return frame;
}

IgnoreState StateAbove(const std::string& absolutePath, std::vector<UnreadRules>& unread) {
  IgnoreState state;
  for (std::size_t slash = absolutePath.find('/'); slash + 1 < absolutePath.size();
       slash = absolutePath.find('/', slash + 1)) {
    const std::string folder = absolutePath.substr(0, slash + 1);
    IgnoreNames names;
    names.ignore = Exists(folder + ".ignore");
    names.gitIgnore = Exists(folder + ".gitignore");
    names.git = Exists(folder + ".git");
    state = EnterFolder(folder, names, std::move(state), unread);
  }
  return state;
}

Judgement JudgeByFiles(const IgnoreFrame* state, const IgnoreRules& global,
                       std::string_view absolutePath, bool isFolder) {
  Judgement byGit = Judgement::kNone;
  Judgement byExclude = Judgement::kNone;
  bool isBelowRepository = true;
  for (const IgnoreFrame* frame = state; frame != nullptr; frame = frame->above.get()) {
    const std::string_view path = absolutePath.substr(frame->pathLength);
    const Judgement byIgnore = frame->ignore.Judge(path, isFolder);
    if (byIgnore != Judgement::kNone) return byIgnore;
    if (!isBelowRepository || !frame->inRepository) continue;
    if (byGit == Judgement::kNone) byGit = frame->gitIgnore.Judge(path, isFolder);
    if (!frame->isRepository) continue;
    isBelowRepository = false;
    byExclude = frame->exclude.Judge(path, isFolder);
    if (byExclude == Judgement::kNone) byExclude = global.Judge(path, isFolder);
  }
  return byGit != Judgement::kNone ? byGit : byExclude;
}

IgnoreRules GlobalGitRules(std::vector<UnreadRules>& unread) {
  const std::string home = EnvironmentPath("HOME");
  std::string settings = EnvironmentPath("XDG_CONFIG_HOME");
  if (settings.empty() && !home.empty()) settings = home + "/.config";

  std::string file;
  if (!settings.empty()) file = ExcludesFileIn(ContentOf(settings + "/git/config"));
  if (!home.empty()) {
    const std::string own = ExcludesFileIn(ContentOf(home + "/.gitconfig"));
    if (!own.empty()) file = own;
  }
  if (file.starts_with("~/")) file = home + file.substr(1);
  if (!file.empty()) return RulesIn(file, unread);
  // Nobody has named this one, and it may lie in somebody else's home.
  return settings.empty() ? IgnoreRules() : IgnoreRules::Read(ContentOf(settings + "/git/ignore"));
}

}  // namespace trovex::cli
