// The cases that every host runs (tests/shared/), run by the program: a file that holds the text, its matches as JSON.

#include "tests/cli/run_program.h"
#include "tests/shared_cases.h"

#include <gtest/gtest.h>
#include <cstddef>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using nlohmann::json;
using trovex::testing::RunResult;
using trovex::testing::SharedCases;

using Range = std::pair<std::size_t, std::size_t>;

const std::map<std::string, std::string> kOptions = {
    {"words", "-w"}, {"case", "-s"}, {"phonetic", "-p"}, {"variants", "--variants"}};

std::vector<std::string> ArgumentsOf(const json& one) {
  std::vector<std::string> arguments = {"--json", "-a", "-e", one.at("expression")};
  for (const std::string name : one.value("options", json::array()))
    arguments.push_back(kOptions.at(name));
  return arguments;
}

/// Where the matches of a file lie.
std::vector<Range> RangesOf(const std::string& out) {
  std::vector<Range> ranges;
  std::istringstream lines(out);
  for (std::string line; std::getline(lines, line);) {
    const json match = json::parse(line);
    if (match.at("type") == "match" && !match.at("negative").get<bool>())
      ranges.emplace_back(match.at("start"), match.at("end"));
  }
  return ranges;
}

class ProgramSharedCases : public trovex::testing::ProgramTest {
 protected:
  void Check(const json& one) {
    const bool isText = one.contains("text");
    const std::string text =
        isText ? one.at("text").get<std::string>() : trovex::testing::BytesOf(one.at("bytes"));
    const std::vector<std::size_t> bytes =
        isText ? trovex::testing::CharactersOf(text) : trovex::testing::EachByteOf(text);
    Write("text", text);
    std::vector<Range> items;
    std::map<std::string, std::set<Range>> tags;
    for (const json& item : one.at("items")) {
      items.emplace_back(bytes.at(item.at("begin")), bytes.at(item.at("end")));
      const json given = item.value("tags", json::object());
      for (const auto& [tag, range] : given.items())
        tags[tag].emplace(bytes.at(range[0]), bytes.at(range[1]));
    }
    std::vector<std::string> arguments = ArgumentsOf(one);
    arguments.emplace_back("text");
    const RunResult result = Run(arguments);
    EXPECT_EQ(result.status, one.at("satisfied").get<bool>() ? 0 : 1) << result.err;
    EXPECT_EQ(RangesOf(result.out), items);
    for (const auto& [tag, ranges] : tags) {
      std::vector<std::string> ofTag = arguments;
      ofTag.insert(ofTag.begin(), {"--tag", tag});
      const std::vector<Range> found = RangesOf(Run(ofTag).out);
      EXPECT_EQ(std::set<Range>(found.begin(), found.end()), ranges) << "tag " << tag;
    }
  }
};

TEST_F(ProgramSharedCases, EachIsAnsweredAsItSays) {
  std::size_t run = 0;
  for (const json& one : SharedCases()) {
    SCOPED_TRACE(one.at("name").get<std::string>());
    if (one.contains("fault")) {
      const RunResult result = Run(ArgumentsOf(one));
      EXPECT_EQ(result.status, 2);
      EXPECT_NE(result.err, "");
    } else if (one.value("text", "-").empty() && one.at("satisfied") && !one.at("items").empty()) {
      continue;  // a file of no bytes has no line, where a text of no bytes has an empty one
    } else {
      Check(one);
    }
    ++run;
  }
  EXPECT_GT(run, 200U);
}

}  // namespace
