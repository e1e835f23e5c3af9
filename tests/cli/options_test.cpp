// The command line.

#include "hosts/cli/command/options.h"

#include "hosts/cli/command/help.h"

#include <gtest/gtest.h>
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
  EXPECT_EQ(options.expression, "a & b");
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
  EXPECT_EQ(options.expression, "-a");
  EXPECT_EQ(options.files, (Names{"-b", "--"}));
  EXPECT_EQ(options.output, OutputMode::kCount);
}

TEST(Options, AnExpressionMayBeginWithADash) {
  EXPECT_EQ(Parsed({"-e", "-a", "x"}).expression, "-a");
  EXPECT_EQ(Parsed({"-e", "-a", "x"}).files, Names{"x"});
  EXPECT_EQ(Parsed({"--expression=--x"}).expression, "--x");
}

TEST(Options, BracketsAndCommasAreNoList) {
  const Options options = Parsed({"[a,b]", "[c,d]"});
  EXPECT_EQ(options.expression, "[a,b]");
  EXPECT_EQ(options.files, Names{"[c,d]"});
  EXPECT_EQ(Parsed({"-e", "[a,b]"}).expression, "[a,b]");
}

TEST(Options, AnEmptyExpressionIsOne) {
  EXPECT_EQ(Parsed({"", "x"}).files, Names{"x"});
}

TEST(Options, TheLastOfTwoContradictingOnesCounts) {
  EXPECT_TRUE(Parsed({"-i", "-s", "a"}).caseSensitive);
  EXPECT_FALSE(Parsed({"-s", "-i", "a"}).caseSensitive);
  EXPECT_FALSE(Parsed({"a"}).caseSensitive);
  EXPECT_FALSE(Parsed({"-n", "-N", "a"}).lineNumbers);
  EXPECT_EQ(Parsed({"--color", "never", "--color=always", "a"}).color, ColorMode::kAlways);
  EXPECT_EQ(Parsed({"-t1", "-t2", "a"}).tag, 2);
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
  EXPECT_NE(Refusal({"--encoding", "1", "a"}), "");
}

TEST(Options, WhatIsUnknownOrOutOfRangeIsRefused) {
  EXPECT_EQ(Refusal({"--nix", "a"}), "There is no option --nix.");
  EXPECT_EQ(Refusal({"-x", "a"}), "There is no option -x.");
  EXPECT_EQ(Refusal({"-c"}), "An expression is missing.");
  EXPECT_NE(Refusal({"--tag", "0", "a"}), "");
  EXPECT_NE(Refusal({"--tag", "x", "a"}), "");
  EXPECT_NE(Refusal({"--tag", "99999999999", "a"}), "");
  EXPECT_NE(Refusal({"-C", "-1", "a"}), "");
  EXPECT_NE(Refusal({"--jobs", "0", "a"}), "");
  EXPECT_NE(Refusal({"--tag"}), "");
}

TEST(Options, JsonIsAnOutputOfItsOwn) {
  EXPECT_EQ(Parsed({"--json", "a"}).output, OutputMode::kJson);
  EXPECT_NE(Refusal({"--json", "-c", "a"}), "");
  EXPECT_NE(Refusal({"--json", "-l", "a"}), "");
  EXPECT_NE(Refusal({"--json", "-o", "a"}), "");
}

TEST(Options, HelpNamesEveryOption) {
  const std::string help = HelpText();
  const std::vector<std::string> names = OptionNames();
  EXPECT_GT(names.size(), 40U);
  for (const std::string& name : names)
    EXPECT_NE(help.find(name), std::string::npos) << name;
}

TEST(Options, HelpAndVersionNeedNoExpression) {
  auto help = Parse({"--help"});
  ASSERT_TRUE(std::holds_alternative<Information>(help));
  EXPECT_EQ(std::get<Information>(help).text, HelpText());
  ASSERT_TRUE(std::holds_alternative<Information>(Parse({"-h"})));
  auto version = Parse({"--version"});
  ASSERT_TRUE(std::holds_alternative<Information>(version));
  EXPECT_EQ(std::get<Information>(version).text.find("trovex "), 0U);
}

}  // namespace
}  // namespace trovex::cli
