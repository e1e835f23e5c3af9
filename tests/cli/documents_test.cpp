// What is made from the table of options: both helps, the manual page, and the completions. The tools
// that read them have the last word.

#include "hosts/cli/command/completions.h"
#include "hosts/cli/command/help.h"
#include "hosts/cli/command/manual_page.h"
#include "hosts/cli/command/option_table.h"

#include "tests/cli/run_program.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cstddef>
#include <set>
#include <sstream>
#include <string>
#include <string_view>

namespace trovex::testing {
namespace {

using namespace trovex::cli;

bool Holds(const std::string& text, std::string_view piece) {
  return text.find(piece) != std::string::npos;
}

std::string LongName(const OptionEntry& entry) {
  std::string name("--");
  return name.append(entry.longName);
}

class Documents : public ProgramTest {};

TEST_F(Documents, NoNameOfAnOptionIsUsedTwice) {
  std::set<std::string> names;
  for (const OptionEntry& entry : OptionTable()) {
    EXPECT_TRUE(names.insert(std::string(entry.longName)).second) << entry.longName;
    for (const std::string_view alias : SplitWords(entry.aliases))
      EXPECT_TRUE(names.insert(std::string(alias)).second) << alias;
    if (entry.shortName == '\0') continue;
    EXPECT_TRUE(names.insert(std::string(1, entry.shortName)).second) << entry.shortName;
    EXPECT_EQ(FindOption(entry.shortName), &entry);
  }
}

TEST_F(Documents, TheHelpIsPlainAndFitsEightyColumns) {
  for (const std::string& help : {ShortHelp(), LongHelp()}) {
    std::istringstream lines(help);
    for (std::string line; std::getline(lines, line);) {
      EXPECT_LE(line.size(), 80U) << line;
      EXPECT_FALSE(line.ends_with(' ')) << line;
      EXPECT_TRUE(std::all_of(line.begin(), line.end(), [](char c) { return c >= ' ' && c < 127; }))
          << line;
    }
  }
}

TEST_F(Documents, EveryOptionIsInAllOfThem) {
  for (const OptionEntry& entry : OptionTable()) {
    const std::string name = LongName(entry);
    EXPECT_TRUE(Holds(ShortHelp(), name)) << name;
    EXPECT_TRUE(Holds(LongHelp(), name)) << name;
    EXPECT_TRUE(Holds(BashCompletion(), name)) << name;
    EXPECT_TRUE(Holds(ZshCompletion(), name)) << name;
    EXPECT_TRUE(Holds(FishCompletion(), std::string("-l ").append(entry.longName))) << name;
  }
}

TEST_F(Documents, AnOptionHasOneLineInTheShortHelp) {
  const std::string help = ShortHelp();
  const auto lines = static_cast<std::size_t>(std::count(help.begin(), help.end(), '\n'));
  EXPECT_LE(lines, OptionTable().size() + 16);
}

TEST_F(Documents, TheManualPageIsReadWithoutAWarning) {
  if (Shell("command -v groff").status != 0) GTEST_SKIP() << "groff is not installed";
  Write("trovex.1", ManualPage());
  const RunResult run = Shell("groff -man -ww -Tutf8 -P-cbou trovex.1");
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.err, "");
  for (const OptionEntry& entry : OptionTable())
    EXPECT_TRUE(Holds(run.out, LongName(entry))) << entry.longName;
  EXPECT_TRUE(Holds(run.out, "trovex -S line 'Haus & Garten' *.txt")) << "to be copied as it is";
  EXPECT_TRUE(Holds(run.out, R"(\& \| \! \( \) \~)"));
}

TEST_F(Documents, BashCompletesOptionsAndTheirArguments) {
  Write("trovex.bash", BashCompletion());
  Write("name of file", "");
  const auto complete = [this](const std::string& words, int current) {
    return Shell("bash -c 'source ./trovex.bash; COMP_WORDS=(" + words + "); COMP_CWORD=" +
                 std::to_string(current) + "; _trovex; printf \"%s\\n\" \"${COMPREPLY[@]}\"'")
        .out;
  };
  EXPECT_EQ(complete("trovex --files-with", 1), "--files-with-matches\n--files-without-match\n");
  EXPECT_EQ(complete("trovex --scope l", 2), "line\n");
  EXPECT_EQ(complete("trovex --scope = p", 3), "paragraph\n");
  EXPECT_EQ(complete("trovex -t mark", 2), "markdown\n");
  EXPECT_EQ(complete("trovex -E utf-16", 2), "utf-16\nutf-16le\nutf-16be\n");
  EXPECT_EQ(complete("trovex x na", 2), "name of file\n");
  EXPECT_EQ(complete("trovex -f na", 2), "name of file\n");
  EXPECT_EQ(complete("trovex --file = na", 3), "name of file\n");
  EXPECT_EQ(complete("trovex --tag x", 2), "\n");
}

TEST_F(Documents, ZshReadsItsCompletion) {
  if (Shell("command -v zsh").status != 0) GTEST_SKIP() << "zsh is not installed";
  Write("functions/_trovex", ZshCompletion());
  EXPECT_EQ(Shell("zsh -n functions/_trovex").err, "");
  // A completion can only be asked for on a terminal, which zsh brings along.
  const RunResult run = Shell(R"(zsh -f -c '
    zmodload zsh/zpty
    zpty shell zsh -f -i
    zpty -w shell "PS1=; fpath=($PWD/functions \$fpath); autoload -Uz compinit; compinit -u -D"
    zpty -w shell "zstyle \":completion:*\" list-prompt \"\"; stty -echo columns 200"
    zpty -w -n shell "trovex --scope=para"$'"'\t'"'
    sleep 1
    zpty -w shell ""
    sleep 1
    zpty -r shell text "*--scope=paragraph*" && print found
    zpty -d shell')");
  EXPECT_TRUE(Holds(run.out, "found")) << run.out << run.err;
}

TEST_F(Documents, FishCompletesOptionsAndTheirArguments) {
  if (Shell("command -v fish").status != 0) GTEST_SKIP() << "fish is not installed";
  Write("trovex.fish", FishCompletion());
  const auto complete = [this](const std::string& line) {
    return Shell("HOME=$PWD fish -c 'source ./trovex.fish; complete -C \"" + line + "\"'");
  };
  const RunResult options = complete("trovex --files-with");
  EXPECT_TRUE(Holds(options.out, "--files-with-matches\t")) << options.out;
  EXPECT_EQ(options.err, "");
  EXPECT_TRUE(Holds(complete("trovex --scope p").out, "paragraph"));
  EXPECT_TRUE(Holds(complete("trovex -t mark").out, "markdown"));
}

TEST_F(Documents, TheProgramWritesThem) {
  EXPECT_EQ(Run({"--generate=man"}).out, ManualPage());
  EXPECT_EQ(Run({"--generate", "bash"}).out, BashCompletion());
  EXPECT_EQ(Run({"--generate", "zsh"}).out, ZshCompletion());
  EXPECT_EQ(Run({"--generate", "fish"}).out, FishCompletion());
  EXPECT_EQ(Run({"-h"}).out, ShortHelp());
  EXPECT_EQ(Run({"--help"}).out, LongHelp());
}

}  // namespace
}  // namespace trovex::testing
