// The command line.

#include "hosts/cli/command/options.h"

#include "hosts/cli/command/help.h"
#include "hosts/cli/command/manual_page.h"
#include "hosts/cli/files/file_types.h"

#include <gtest/gtest.h>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace trovex::cli {
namespace {

std::variant<Options, Information, UsageError> Parse(std::vector<const char*> arguments) {
  arguments.insert(arguments.begin(), "trovex");
  return ParseOptions(static_cast<int>(arguments.size()), arguments.data());
}

Options Parsed(const std::vector<const char*>& arguments) {
  auto result = Parse(arguments);
  if (auto* options = std::get_if<Options>(&result)) return *options;
  ADD_FAILURE() << "not understood: " << arguments.front();
  return {};
}

std::string Refusal(const std::vector<const char*>& arguments) {
  auto result = Parse(arguments);
  const auto* error = std::get_if<UsageError>(&result);
  return error != nullptr ? error->message : "";
}

using Names = std::vector<std::string>;

TEST(Options, TheExpressionComesFirstAndFilesFollow) {
  const Options options = Parsed({"a & b", "x", "y"});
  EXPECT_EQ(options.expressions.front(), "a & b");
  EXPECT_EQ(options.files, (Names{"x", "y"}));
  EXPECT_TRUE(options.fileNames);
}

TEST(Options, WithoutFilesTheStandardInputIsSearchedAndNotNamed) {
  const Options options = Parsed({"a"});
  EXPECT_EQ(options.files, Names{"-"});
  EXPECT_FALSE(options.fileNames);
  EXPECT_TRUE(Parsed({"-H", "a"}).fileNames);
  EXPECT_FALSE(Parsed({"-I", "a", "x"}).fileNames);
  EXPECT_TRUE(Parsed({"-I", "-H", "a", "x"}).fileNames);
  EXPECT_TRUE(Parsed({"a", "-", "x"}).fileNames);
}

TEST(Options, MayStandAnywhere) {
  const Options options = Parsed({"a", "-pw", "x", "--tag", "2", "y", "-C3"});
  EXPECT_EQ(options.files, (Names{"x", "y"}));
  EXPECT_TRUE(options.phonetic);
  EXPECT_TRUE(options.words);
  EXPECT_EQ(options.tag, 2);
  EXPECT_EQ(options.contextBefore, 3);
  EXPECT_EQ(options.contextAfter, 3);
}

TEST(Options, EndAtTwoDashes) {
  const Options options = Parsed({"-c", "--", "-a", "-b", "--"});
  EXPECT_EQ(options.expressions.front(), "-a");
  EXPECT_EQ(options.files, (Names{"-b", "--"}));
  EXPECT_EQ(options.output, OutputMode::kCount);
}

TEST(Options, AnExpressionMayBeginWithADash) {
  EXPECT_EQ(Parsed({"-e", "-a", "x"}).expressions.front(), "-a");
  EXPECT_EQ(Parsed({"-e", "-a", "x"}).files, Names{"x"});
  EXPECT_EQ(Parsed({"--expression=--x"}).expressions.front(), "--x");
}

TEST(Options, BracketsAndCommasAreNoList) {
  const Options options = Parsed({"[a,b]", "[c,d]"});
  EXPECT_EQ(options.expressions.front(), "[a,b]");
  EXPECT_EQ(options.files, Names{"[c,d]"});
  EXPECT_EQ(Parsed({"-e", "[a,b]"}).expressions.front(), "[a,b]");
}

TEST(Options, AnEmptyExpressionIsOne) {
  EXPECT_EQ(Parsed({"", "x"}).files, Names{"x"});
}

TEST(Options, TheLastOfTwoContradictingOnesCounts) {
  EXPECT_TRUE(Parsed({"-i", "-s", "a"}).caseSensitive);
  EXPECT_FALSE(Parsed({"-s", "-i", "a"}).caseSensitive);
  EXPECT_FALSE(Parsed({"a"}).caseSensitive);
  EXPECT_FALSE(Parsed({"-n", "-N", "a"}).lineNumbers);
  EXPECT_EQ(Parsed({"--color", "never", "--color=always", "a"}).color, When::kAlways);
  EXPECT_EQ(Parsed({"--tag=1", "--tag=2", "a"}).tag, 2);
  EXPECT_EQ(Parsed({"-l", "-L", "a"}).output, OutputMode::kFilesWithout);
  EXPECT_EQ(Parsed({"-L", "-l", "a"}).output, OutputMode::kFiles);
  EXPECT_EQ(Parsed({"-H", "-I", "-H", "a"}).fileNames, true);
}

TEST(Options, FlagsMayBeRepeated) {
  EXPECT_TRUE(Parsed({"-p", "-p", "a"}).phonetic);
  EXPECT_EQ(Parsed({"-cc", "a"}).output, OutputMode::kCount);
}

TEST(Options, ContextOfOneSideGoesBeforeContextOfBoth) {
  const Options options = Parsed({"-C", "3", "-A", "0", "a"});
  EXPECT_EQ(options.contextAfter, 0);
  EXPECT_EQ(options.contextBefore, 3);
}

TEST(Options, ChoicesAreNamed) {
  EXPECT_EQ(Parsed({"--scope", "line", "a"}).scope, Scope::kLine);
  EXPECT_EQ(Parsed({"--scope=paragraph", "a"}).scope, Scope::kParagraph);
  EXPECT_EQ(Parsed({"-E", "UTF-8", "a"}).encoding, Encoding::kUtf8);
  EXPECT_EQ(Parsed({"--encoding", "windows-1252", "a"}).encoding, Encoding::kWindows1252);
  EXPECT_NE(Refusal({"--scope", "word", "a"}), "");
  EXPECT_EQ(Parsed({"-E", "cp1252", "a"}).encoding, Encoding::kWindows1252);
  EXPECT_EQ(Parsed({"-E", "ibm850", "a"}).encoding, Encoding::kNamed);
  EXPECT_EQ(Parsed({"-E", "ibm850", "a"}).encodingName, "ibm850");
  EXPECT_EQ(Parsed({"--sort", "size", "a"}).sort, SortKey::kSize);
  EXPECT_TRUE(Parsed({"--sortr=modified", "a"}).sortReversed);
  EXPECT_EQ(Refusal({"--encoding", "1x", "a"}),
            "There is no encoding \"1x\"; iconv --list tells which.");
  EXPECT_EQ(Refusal({"--scope", "word", "a"}),
            "--scope takes file, paragraph or line, not \"word\".");
}

TEST(Options, WhatIsUnknownOrOutOfRangeIsRefused) {
  EXPECT_EQ(Refusal({"--nix", "a"}), "There is no option --nix.");
  EXPECT_EQ(Refusal({"-P", "a"}), "There is no option -P.");
  EXPECT_EQ(Refusal({"-lP", "a"}), "There is no option -P.");
  EXPECT_EQ(Refusal({"--wrds", "a"}), "There is no option --wrds. Is --words meant?");
  EXPECT_EQ(Refusal({"--words=x", "a"}), "--words takes no argument.");
  EXPECT_EQ(Refusal({"a", "--tag"}), "--tag needs an argument: N.");
  EXPECT_EQ(Refusal({"--tag=0", "a"}), "--tag takes a number from 1 to 2147483647, not \"0\".");
  EXPECT_EQ(Refusal({"-c"}), "An expression is missing.");
  EXPECT_NE(Refusal({"--tag", "0", "a"}), "");
  EXPECT_NE(Refusal({"--tag", "x", "a"}), "");
  EXPECT_NE(Refusal({"--tag", "99999999999", "a"}), "");
  EXPECT_NE(Refusal({"-C", "-1", "a"}), "");
  EXPECT_NE(Refusal({"--jobs", "0", "a"}), "");
  EXPECT_NE(Refusal({"--tag"}), "");
}

TEST(Options, JsonGoesTogetherWithCountsAndNames) {
  EXPECT_TRUE(Parsed({"--json", "a"}).json);
  EXPECT_EQ(Parsed({"--json", "a"}).output, OutputMode::kLines);
  EXPECT_EQ(Parsed({"--json", "-c", "a"}).output, OutputMode::kCount);
  EXPECT_EQ(Parsed({"--json", "-l", "a"}).output, OutputMode::kFiles);
  EXPECT_EQ(Refusal({"--json", "-o", "a"}), "--json and --only-matching exclude each other.");
  EXPECT_EQ(Refusal({"--vimgrep", "--json", "a"}), "--json and --vimgrep exclude each other.");
}

TEST(Options, ASwitchIsUndoneByItsNameWithNo) {
  EXPECT_FALSE(Parsed({"--hidden", "--no-hidden", "a"}).hidden);
  EXPECT_TRUE(Parsed({"--no-hidden", "--hidden", "a"}).hidden);
  EXPECT_FALSE(Parsed({"--no-ignore", "a"}).ignoreFiles);
  EXPECT_TRUE(Parsed({"--no-ignore", "--ignore", "a"}).ignoreFiles);
  EXPECT_EQ(Parsed({"-c", "--no-count", "a"}).output, OutputMode::kLines);
  EXPECT_EQ(Parsed({"-l", "--no-files-with-matches", "a"}).output, OutputMode::kLines);
  EXPECT_EQ(Refusal({"--no-scope", "a"}), "There is no option --no-scope.");
}

TEST(Options, SeveralExpressionsAndListsLeaveAllNamesToFiles) {
  const Options options = Parsed({"-e", "a", "x", "-f", "list", "-e", "b", "y"});
  EXPECT_EQ(options.expressions, (Names{"a", "b"}));
  EXPECT_EQ(options.wordLists, Names{"list"});
  EXPECT_EQ(options.files, (Names{"x", "y"}));
}

TEST(Options, AnotherSpellingOfANameIsKnown) {
  EXPECT_TRUE(Parsed({"--word-regexp", "--line-regexp", "--fixed-strings", "a"}).wholeLines);
  EXPECT_EQ(Parsed({"--jobs=3", "a"}).threads, 3);
  EXPECT_EQ(Parsed({"--colour=never", "a"}).color, When::kNever);
}

TEST(Options, InvertingIsByLine) {
  EXPECT_TRUE(Parsed({"-v", "a"}).invert);
  EXPECT_EQ(Parsed({"-v", "-S", "file", "a"}).scope, Scope::kLine);
  EXPECT_NE(Refusal({"-v", "-o", "a"}), "");
  EXPECT_NE(Refusal({"-v", "--tag=1", "(a)"}), "");
}

TEST(Options, TheOlderLanguageTakesOneExpression) {
  EXPECT_TRUE(Parsed({"--classic", "a"}).classic);
  EXPECT_NE(Refusal({"--classic", "-e", "a", "-e", "b"}), "");
  EXPECT_NE(Refusal({"--classic", "-f", "list"}), "");
  EXPECT_NE(Refusal({"--classic", "--variants", "a"}), "");
}

TEST(Options, SizesHaveUnits) {
  EXPECT_EQ(Parsed({"a"}).maxFileSize, -1);
  EXPECT_EQ(Parsed({"--max-filesize", "0", "a"}).maxFileSize, 0);
  EXPECT_EQ(Parsed({"--max-filesize", "500", "a"}).maxFileSize, 500);
  EXPECT_EQ(Parsed({"--max-filesize", "2k", "a"}).maxFileSize, 2048);
  EXPECT_EQ(Parsed({"--max-filesize=3G", "a"}).maxFileSize, std::int64_t{3} << 30);
  for (const char* const wrong : {"", "K", "1X", "1KK", "-1", "9223372036854775807K"})
    EXPECT_NE(Refusal({"--max-filesize", wrong, "a"}), "") << wrong;
}

TEST(Options, GlobsCanBeRead) {
  EXPECT_EQ(Parsed({"-g", "*.txt", "-g!*.c", "a"}).globs, (Names{"*.txt", "!*.c"}));
  EXPECT_EQ(Refusal({"-g", "[a", "a"}), "--glob takes a pattern whose [ has its ], not \"[a\".");
}

TEST(Options, TypesOfFilesExist) {
  EXPECT_EQ(Parsed({"-t", "cpp", "-tpy", "-T", "sh", "a"}).types, (Names{"cpp", "py"}));
  EXPECT_EQ(Parsed({"-T", "sh", "a"}).typesLeftOut, Names{"sh"});
  EXPECT_EQ(Refusal({"-t", "nix", "a"}), "There is no type of files \"nix\"; see --type-list.");
  EXPECT_EQ(Refusal({"-t", "1", "a"}),
            "There is no type of files \"1\"; see --type-list. A bracket is chosen by --tag.");
}

TEST(Options, OnATerminalTheCurrentFolderIsSearchedAndNamesAreHeadings) {
  Surroundings terminal;
  terminal.inputIsTerminal = true;
  terminal.outputIsTerminal = true;
  const auto parse = [&terminal](std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "trovex");
    auto parsed = ParseOptions(static_cast<int>(arguments.size()), arguments.data(), terminal);
    return std::get<Options>(std::move(parsed));
  };
  EXPECT_EQ(parse({"a"}).files, Names{"."});
  EXPECT_TRUE(parse({"a"}).currentFolder);
  EXPECT_TRUE(parse({"a"}).heading);
  EXPECT_FALSE(parse({"a", "."}).currentFolder);
  EXPECT_FALSE(parse({"a", "-"}).currentFolder);
  EXPECT_FALSE(parse({"a", "--no-heading"}).heading);
  EXPECT_FALSE(parse({"a", "-I"}).heading);
  EXPECT_FALSE(parse({"a", "-c"}).heading);
  EXPECT_FALSE(Parsed({"a", "x"}).heading);
  EXPECT_TRUE(Parsed({"a", "x", "--heading"}).heading);
}

TEST(Options, WhereTheWordsComeFromTheStandardInputItIsNotSearched) {
  EXPECT_EQ(Parsed({"-f", "-"}).files, Names{"."});
  EXPECT_EQ(Parsed({"--files"}).files, Names{"."});
  EXPECT_EQ(Parsed({"--files", "x"}).task, Task::kListFiles);
  EXPECT_NE(Refusal({"--files", "-e", "x"}), "");
}

TEST(Options, HelpAndVersionNeedNoExpression) {
  const auto text = [](const char* option) {
    auto parsed = Parse({option});
    const auto* const information = std::get_if<Information>(&parsed);
    return information != nullptr ? information->text : "";
  };
  EXPECT_EQ(text("--help"), LongHelp());
  EXPECT_EQ(text("-h"), ShortHelp());
  EXPECT_EQ(text("--version").find("trovex "), 0U);
  EXPECT_NE(text("--version").find("\nlibraries: libtrovex "), std::string::npos);
  EXPECT_EQ(text("--type-list"), FileTypeList());
  EXPECT_EQ(text("--generate=man"), ManualPage());
  EXPECT_NE(Refusal({"--generate=info"}), "");
}

}  // namespace
}  // namespace trovex::cli
