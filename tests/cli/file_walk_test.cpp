// Which files a walk finds, and in which order; held against Git where it is installed.

#include "hosts/cli/files/file_walk.h"

#include "tests/dice.h"

#include <gtest/gtest.h>
#include <sys/fsuid.h>
#include <sys/stat.h>
#include <unistd.h>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace trovex::cli {
namespace {

namespace fs = std::filesystem;

using Names = std::vector<std::string>;

/// A folder of its own, which the test stands in. No settings of the user's Git reach it.
class Walk : public ::testing::Test {
 protected:
  Walk() : before_(fs::current_path()) {
    std::string name = (fs::temp_directory_path() / "trovex-walk-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no folder for the test");
    folder_ = fs::canonical(name);
    fs::create_directories(folder_ / "home");
    fs::create_directories(folder_ / "work");
    fs::current_path(folder_ / "work");
    setenv("HOME", (folder_ / "home").c_str(), 1);
    setenv("GIT_CONFIG_NOSYSTEM", "1", 1);
    unsetenv("XDG_CONFIG_HOME");
    options_.files = {"."};
    options_.currentFolder = true;
  }
  ~Walk() override {
    fs::current_path(before_);
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
  }

  static void Write(const std::string& name, const std::string& content = "") {
    const fs::path path = name;
    if (path.has_parent_path()) fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
  }
  fs::path Home() const { return folder_ / "home"; }

  Names Found() {
    complaints_.clear();
    Names names;
    FileWalk walk(options_);
    while (auto file = walk.Next()) {
      if (file->complaint.empty()) {
        names.push_back(file->path);
      } else {
        complaints_.push_back(file->complaint);
      }
    }
    return names;
  }

  Options options_;
  Names complaints_;

 private:
  fs::path before_;
  fs::path folder_;
};

TEST_F(Walk, NamesAreSortedFolderByFolder) {
  Write("c");
  Write("a/z");
  Write("a/b/y");
  Write("a.x");
  Write("B");
  EXPECT_EQ(Found(), (Names{"B", "a/b/y", "a/z", "a.x", "c"}));
  options_.currentFolder = false;
  EXPECT_EQ(Found(), (Names{"./B", "./a/b/y", "./a/z", "./a.x", "./c"}));
  options_.files = {"a", "c", "a/"};
  EXPECT_EQ(Found(), (Names{"a/b/y", "a/z", "c", "a/b/y", "a/z"}));
  options_.files = {"."};
  options_.sortReversed = true;
  EXPECT_EQ(Found(), (Names{"./c", "./a.x", "./a/z", "./a/b/y", "./B"}));
}

TEST_F(Walk, FilesAreSortedBySizeOrTime) {
  Write("a/small", "1");
  Write("large", "12345");
  Write("b/middle", "123");
  options_.sort = SortKey::kSize;
  EXPECT_EQ(Found(), (Names{"a/small", "b/middle", "large"}));
  options_.sortReversed = true;
  EXPECT_EQ(Found(), (Names{"large", "b/middle", "a/small"}));

  options_.sort = SortKey::kModified;
  options_.sortReversed = false;
  const auto now = fs::file_time_type::clock::now();
  fs::last_write_time("large", now - std::chrono::hours(3));
  fs::last_write_time("a/small", now - std::chrono::hours(2));
  fs::last_write_time("b/middle", now - std::chrono::hours(1));
  EXPECT_EQ(Found(), (Names{"large", "a/small", "b/middle"}));
  options_.sort = SortKey::kNone;
  Names any = Found();
  std::sort(any.begin(), any.end());
  EXPECT_EQ(any, (Names{"a/small", "b/middle", "large"}));
}

TEST_F(Walk, HiddenOnesAreLeftOutUnlessAskedForOrNamed) {
  Write(".h");
  Write(".g/a");
  Write("v");
  EXPECT_EQ(Found(), Names{"v"});
  options_.hidden = true;
  EXPECT_EQ(Found(), (Names{".g/a", ".h", "v"}));
  options_.hidden = false;
  options_.files = {".h", ".g"};
  options_.currentFolder = false;
  EXPECT_EQ(Found(), (Names{".h", ".g/a"}));
}

TEST_F(Walk, AnIgnoreFileHoldsFromItsFolderOn) {
  Write(".ignore", "*.o\n/top\nsub/deep\nfolder/\n");
  for (const char* const name : {"a.o", "a.c", "top", "x/top", "x/b.o", "sub/deep", "x/sub/deep",
                                 "folder/a", "x/folder/b", "y/folder"})
    Write(name);
  EXPECT_EQ(Found(), (Names{"a.c", "x/sub/deep", "x/top", "y/folder"}));
  options_.ignoreFiles = false;
  EXPECT_EQ(Found().size(), 10U);
}

TEST_F(Walk, TheLastRuleAndTheDeepestFileDecide) {
  Write(".ignore", "*.txt\n!keep.txt\n");
  Write("a/.ignore", "!b.txt\nkeep.txt\n");
  for (const char* const name : {"b.txt", "keep.txt", "a/b.txt", "a/keep.txt", "a/c.txt"})
    Write(name);
  EXPECT_EQ(Found(), (Names{"a/b.txt", "keep.txt"}));
}

TEST_F(Walk, InAFolderThatIsIgnoredNothingIsLookedFor) {
  Write(".ignore", "out\n!out/keep\n");
  Write("out/keep");
  Write("a");
  EXPECT_EQ(Found(), Names{"a"});
  options_.files = {"out"};
  options_.currentFolder = false;
  EXPECT_EQ(Found(), Names{"out/keep"}) << "it was named";
}

TEST_F(Walk, AHiddenFileThatARuleWantsIsFound) {
  Write(".ignore", "!.keep\n");
  Write(".keep");
  Write(".other");
  EXPECT_EQ(Found(), Names{".keep"});
}

TEST_F(Walk, RulesOfGitHoldInARepositoryOnly) {
  Write(".gitignore", "*.o\n");
  Write("a.o");
  EXPECT_EQ(Found(), Names{"a.o"});
  fs::create_directories(".git/info");
  EXPECT_EQ(Found(), Names{});
  Write(".git/info/exclude", "b\n");
  Write("b");
  Write("c");
  EXPECT_EQ(Found(), Names{"c"});
}

TEST_F(Walk, RulesOfGitEndAtTheRepositorysFolder) {
  Write(".gitignore", "*.o\n");
  Write(".ignore", "*.p\n");
  fs::create_directories(".git");
  fs::create_directories("inner/.git");
  Write("inner/.gitignore", "*.x\n");
  for (const char* const name :
       {"inner/a.o", "inner/a.p", "inner/a.x", "inner/d/a.x", "a.o", "a.x"})
    Write(name);
  EXPECT_EQ(Found(), (Names{"a.x", "inner/a.o"}));
  options_.files = {"inner/d"};
  options_.currentFolder = false;
  EXPECT_EQ(Found(), Names{}) << "the files above the folder that is named hold too";
}

TEST_F(Walk, AnIgnoreFileGoesBeforeGits) {
  fs::create_directories(".git");
  Write(".ignore", "!a.o\nb\n");
  Write("d/.gitignore", "*.o\n!b\n");
  Write("d/a.o");
  Write("d/b");
  Write("d/c.o");
  EXPECT_EQ(Found(), Names{"d/a.o"});
}

TEST_F(Walk, WhatTheUsersGitIgnoresIsLeftOutOfRepositories) {
  Write("a~");
  Write("b");
  Write((Home() / ".config/git/ignore").string(), "*~\n");
  EXPECT_EQ(Found(), (Names{"a~", "b"}));
  fs::create_directories(".git");
  EXPECT_EQ(Found(), Names{"b"});
  Write((Home() / ".gitconfig").string(), "[user]\n name = x\n[Core]\n\texcludesFile = ~/mine\n");
  Write((Home() / "mine").string(), "b\n");
  EXPECT_EQ(Found(), Names{"a~"});
}

TEST_F(Walk, ASecondWorkingTreeKnowsItsRepository) {
  Write(".git", "gitdir: ../main/.git/worktrees/second\n");
  Write("../main/.git/worktrees/second/commondir", "../..\n");
  Write("../main/.git/info/exclude", "b\n");
  Write("a");
  Write("b");
  EXPECT_EQ(Found(), Names{"a"});
}

TEST_F(Walk, GlobsGoBeforeEverything) {
  Write(".ignore", "*.o\n");
  for (const char* const name : {"a.o", "a.c", "d/b.o", "d/b.c", ".h.o", "d/e/f.c"})
    Write(name);
  options_.globs = {"*.o"};
  EXPECT_EQ(Found(), (Names{".h.o", "a.o", "d/b.o"}));
  options_.globs = {"!*.c"};
  EXPECT_EQ(Found(), Names{});
  options_.globs = {"*.c", "!d/*.c"};
  EXPECT_EQ(Found(), (Names{"a.c", "d/e/f.c"}));
  options_.globs = {"/*.c"};
  EXPECT_EQ(Found(), Names{"a.c"});
  options_.globs = {"!d/"};
  EXPECT_EQ(Found(), Names{"a.c"});
  options_.files = {"d"};
  options_.currentFolder = false;
  options_.globs = {"d/*.c"};
  EXPECT_EQ(Found(), Names{"d/b.c"}) << "by the name that is shown";
  options_.globs = {"e/*.c"};
  EXPECT_EQ(Found(), Names{"d/e/f.c"}) << "by the name in the folder that is searched";
  options_.files = {"a.o"};
  EXPECT_EQ(Found(), Names{"a.o"}) << "it was named";
}

TEST_F(Walk, TypesGoByNames) {
  for (const char* const name : {"a.cpp", "b.py", "c.txt", "Makefile", "d/e.py", ".hidden.py"})
    Write(name);
  options_.types = {"py"};
  EXPECT_EQ(Found(), (Names{"b.py", "d/e.py"}));
  options_.types = {"py", "make"};
  EXPECT_EQ(Found(), (Names{"Makefile", "b.py", "d/e.py"}));
  options_.types = {};
  options_.typesLeftOut = {"py"};
  EXPECT_EQ(Found(), (Names{"Makefile", "a.cpp", "c.txt"}));
}

TEST_F(Walk, LargeFilesAreLeftOutUnlessNamed) {
  Write("a", "12345");
  Write("b", "1234");
  options_.maxFileSize = 4;
  EXPECT_EQ(Found(), Names{"b"});
  options_.files = {"a"};
  EXPECT_EQ(Found(), Names{"a"});
}

TEST_F(Walk, LinksAreFollowedOnRequest) {
  Write("d/a");
  Write("../outside/b");
  fs::create_symlink("../../outside", "d/link");
  fs::create_symlink("a", "d/other");
  EXPECT_EQ(Found(), Names{"d/a"});
  options_.follow = true;
  EXPECT_EQ(Found(), (Names{"d/a", "d/link/b", "d/other"}));
  EXPECT_TRUE(complaints_.empty());
}

TEST_F(Walk, ALinkThatLeadsBackOrNowhereIsTold) {
  Write("d/a");
  fs::create_symlink("..", "d/back");
  fs::create_symlink("nowhere", "d/none");
  EXPECT_EQ(Found(), Names{"d/a"});
  EXPECT_TRUE(complaints_.empty());
  options_.follow = true;
  EXPECT_EQ(Found(), Names{"d/a"});
  EXPECT_EQ(complaints_, (Names{"d/back: This link leads back to a folder above it",
                                "d/none: No such file or directory"}));
}

TEST_F(Walk, AFolderThatCannotBeReadIsToldAndTheOthersAreWalked) {
  Write("a/x");
  Write("b/x");
  Write("c/x");
  fs::permissions("b", fs::perms::none);
  // Whoever may read everything asks as nobody else.
  fs::permissions("..", fs::perms::owner_all | fs::perms::others_read | fs::perms::others_exec);
  const int user = setfsuid(geteuid() == 0 ? 65534 : geteuid());
  const Names found = Found();
  setfsuid(static_cast<uid_t>(user));
  fs::permissions("b", fs::perms::owner_all);
  EXPECT_EQ(found, (Names{"a/x", "c/x"}));
  EXPECT_EQ(complaints_, Names{"b: Permission denied"});
}

TEST_F(Walk, AFolderBeyondTheSystemsLimitIsTold) {
  const std::string name(250, 'n');
  std::string deep;
  const fs::path start = fs::current_path();
  for (int i = 0; i < 20; ++i) {
    ASSERT_EQ(mkdir(name.c_str(), 0700), 0);
    ASSERT_EQ(chdir(name.c_str()), 0);
  }
  fs::current_path(start);
  Write("z");
  EXPECT_EQ(Found(), Names{"z"});
  ASSERT_EQ(complaints_.size(), 1U);
  EXPECT_NE(complaints_.front().find(": File name too long"), std::string::npos);
}

TEST_F(Walk, PipesBelowAFolderAreLeftOut) {
  Write("a");
  ASSERT_EQ(mkfifo("pipe", 0600), 0);
  options_.follow = true;
  fs::create_symlink("pipe", "link");
  EXPECT_EQ(Found(), Names{"a"});
}

TEST_F(Walk, WhatIsNotThereIsLeftToWhoReadsIt) {
  options_.files = {"nix", "-"};
  options_.currentFolder = false;
  EXPECT_EQ(Found(), (Names{"nix", "-"}));
}

/// What Git finds in the current folder that it does not ignore.
Names FoundByGit() {
  FILE* const pipe = popen("git ls-files --others --exclude-standard -z", "r");
  std::string list;
  char block[4096];
  for (std::size_t count; (count = fread(block, 1, sizeof block, pipe)) > 0;)
    list.append(block, count);
  pclose(pipe);
  Names names;
  for (std::size_t begin = 0; begin < list.size();) {
    const std::size_t end = list.find('\0', begin);
    names.push_back(list.substr(begin, end - begin));
    begin = end + 1;
  }
  return names;
}

std::string RandomRules(testing::Dice& dice) {
  static const Names pieces = {"a",   "b",   "c",    "*",           "?",    "**", "/",
                               "/",   "a*",  "[ab]", "*b",          "[!a]", "ab", "**/",
                               "/**", "\\a", ".a",   "[[:alpha:]]", "a ",   "\\ "};
  std::string rules;
  for (int lines = dice.Between(1, 5); lines > 0; --lines) {
    std::string rule;
    for (int count = dice.Between(1, 4); count > 0; --count)
      rule += dice.OneOf(pieces);
    // What an empty name in a path means, and two stars after a character, is Git's own affair.
    for (std::size_t at; (at = rule.find("//")) != std::string::npos;)
      rule.erase(at, 1);
    for (std::size_t at = 1; (at = rule.find("**", at)) != std::string::npos; ++at) {
      if (rule[at - 1] != '/') rule.erase(at--, 1);
    }
    rules.append(dice.OneIn(4) ? "!" : "").append(rule).append("\n");
  }
  return rules;
}

TEST_F(Walk, FindsWhatGitFindsInRandomRepositories) {
  if (std::system("git --version >/dev/null 2>&1") != 0) GTEST_SKIP() << "git is not installed";
  const Names names = {"a", "b", "ab", "ba", "c", ".a", "abc", "a b"};
  options_.hidden = true;
  options_.globs = {"!/.git"};
  ASSERT_EQ(std::system("git init -q . >/dev/null 2>&1"), 0);
  for (unsigned seed = 1; seed <= 20 && !HasFailure(); ++seed) {
    testing::Dice dice(seed);
    std::string rules;
    for (int files = 40; files > 0; --files) {
      std::string path = dice.OneOf(names);
      for (int depth = dice.Between(0, 3); depth > 0; --depth)
        path.append("/").append(dice.OneOf(names));
      std::error_code isFolderOrBelowFile;
      fs::create_directories(fs::path(path).parent_path(), isFolderOrBelowFile);
      if (!fs::is_directory(path)) std::ofstream{path};
    }
    Names folders = {"."};
    for (const auto& entry : fs::recursive_directory_iterator("."))
      if (entry.is_directory() && entry.path().string().rfind("./.git", 0) != 0) {
        folders.push_back(entry.path().string());
      }
    std::sort(folders.begin(), folders.end());
    for (const std::string& folder : folders) {
      if (folder != "." && !dice.OneIn(4)) continue;
      const std::string text = RandomRules(dice);
      std::ofstream(folder + "/.gitignore") << text;
      rules += "in " + folder + ":\n" + text;
    }
    const std::string excluded = RandomRules(dice);
    std::ofstream(".git/info/exclude") << excluded;
    rules += "excluded:\n" + excluded;

    Names found = Found();
    Names expected = FoundByGit();
    std::sort(found.begin(), found.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(found, expected) << "seed " << seed << "\n" << rules;
    for (const auto& entry : fs::directory_iterator(".")) {
      if (entry.path() != "./.git") fs::remove_all(entry.path());
    }
  }
}

}  // namespace
}  // namespace trovex::cli
