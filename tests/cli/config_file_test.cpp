// The configuration file.

#include "hosts/cli/command/config_file.h"

#include "hosts/cli/command/options.h"

#include <gtest/gtest.h>
#include <unistd.h>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace trovex::cli {
namespace {

/// The options of a file, as they would be typed.
std::vector<std::string> Read(std::string_view content) {
  auto read = ReadConfig(content, "config");
  if (const auto* error = std::get_if<UsageError>(&read)) return {error->message};
  std::vector<std::string> options;
  for (const ConfigOption& each : std::get<std::vector<ConfigOption>>(read)) {
    std::string option = each.option.undone ? "--no-" : "--";
    option += each.option.entry->longName;
    if (!each.option.argument.empty()) option += "=" + each.option.argument;
    options.push_back(option);
  }
  return options;
}

using Lines = std::vector<std::string>;

TEST(ConfigFile, HoldsOneOptionALine) {
  EXPECT_EQ(Read("--hidden\n--scope line\n--scope=file\n-j2\n-j 3\n-lw\n"),
            (Lines{"--hidden", "--scope=line", "--scope=file", "--threads=2", "--threads=3",
                   "--files-with-matches", "--words"}));
  EXPECT_EQ(Read("--hidden"), Lines{"--hidden"});
  EXPECT_EQ(Read(""), Lines{});
}

TEST(ConfigFile, CommentsEmptyLinesAndBlanksAtEndsDoNotCount) {
  EXPECT_EQ(Read("# --words\n\n   --hidden  \r\n\t# x\n --glob  a b \n"),
            (Lines{"--hidden", "--glob=a b"}));
  EXPECT_EQ(Read("\xEF\xBB\xBF--hidden\r\n"), Lines{"--hidden"});
  EXPECT_EQ(Read("--colors=match=bold+red\n--glob='x'\n"),
            (Lines{"--colors=match=bold+red", "--glob='x'"}));
}

TEST(ConfigFile, WhatIsWrongIsToldWithItsLine) {
  EXPECT_EQ(Read("--hidden\n--nix\n"), Lines{"config, line 2: There is no option --nix."});
  EXPECT_EQ(Read("hidden\n"), Lines{"config, line 1: \"hidden\" is no option."});
  EXPECT_EQ(Read("--words x\n"), Lines{"config, line 1: \"x\" is no option."});
  EXPECT_EQ(Read("-e x\n"),
            Lines{"config, line 1: --expression can only be given on the command line."});
  EXPECT_EQ(Read("--tag\n"), Lines{"config, line 1: --tag needs an argument: N."});
}

TEST(ConfigFile, CountsAsIfItStoodBeforeTheCommandLine) {
  const std::string name =
      (std::filesystem::temp_directory_path() / ("trovex-config-" + std::to_string(getpid())))
          .string();
  std::ofstream(name) << "--scope=line\n--hidden\n-c\n";
  Surroundings surroundings;
  surroundings.configFile = name;
  const auto parse = [&surroundings](std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "trovex");
    return ParseOptions(static_cast<int>(arguments.size()), arguments.data(), surroundings);
  };
  const auto options = [&parse](const std::vector<const char*>& arguments) {
    return std::get<Options>(parse(arguments));
  };
  EXPECT_EQ(options({"a"}).scope, Scope::kLine);
  EXPECT_TRUE(options({"a"}).hidden);
  EXPECT_EQ(options({"a", "--scope=file"}).scope, Scope::kFile);
  EXPECT_FALSE(options({"a", "--no-hidden"}).hidden);
  EXPECT_EQ(options({"a", "--no-count"}).output, OutputMode::kLines);
  EXPECT_EQ(options({"a", "--no-config"}).scope, Scope::kFile);

  std::ofstream(name) << "--tag x\n";
  EXPECT_EQ(std::get<UsageError>(parse({"a"})).message,
            name + ", line 1: --tag takes a number from 1 to 2147483647, not \"x\".");
  EXPECT_TRUE(std::holds_alternative<Information>(parse({"--help"})));
  std::filesystem::remove(name);
  EXPECT_EQ(std::get<UsageError>(parse({"a"})).message,
            "The configuration file " + name + " cannot be read: No such file or directory.");
  surroundings.configFile = "/";
  EXPECT_EQ(std::get<UsageError>(parse({"a"})).message,
            "The configuration file / cannot be read: Is a directory.");
}

}  // namespace
}  // namespace trovex::cli
