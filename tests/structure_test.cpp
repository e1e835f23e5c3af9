// The shape of the tree: which room may include what, how many units stand in one, and where state is kept
// that outlives a call.
//
// A room is a folder; a unit is a header, a source file, or both of one name. The arrows are those of
// docs/architecture.md. What a change needs beyond them is a change of the table here, and of that page.

#include <gtest/gtest.h>
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace trovex {
namespace {

namespace fs = std::filesystem;

using Rooms = std::set<std::string>;

/// What the rooms may include beside themselves. A name stands for the rooms in it too.
const std::map<std::string, Rooms>& Arrows() {
  static const std::map<std::string, Rooms> arrows = {
      {"include/trovex", {}},
      {"resources", {}},
      {"text", {"resources"}},
      {"phonetic", {"text", "resources"}},
      {"matcher", {"text", "resources"}},
      {"query", {"include/trovex", "matcher", "phonetic", "text", "resources"}},
      {"expr", {"include/trovex", "matcher", "phonetic", "text", "resources"}},
      {"api", {"include/trovex", "expr", "query", "matcher", "phonetic", "text", "resources"}},
      {"hosts", {"include/trovex"}},
  };
  return arrows;
}

/// Inside of matcher/: a room may include those before it. The headers of matcher/ itself that hold nothing
/// but limits and values (kLowHeaders) may be included by all of them.
constexpr std::string_view kMatcherRooms[] = {
    "matcher/scan",     "matcher/keywords",    "matcher/runs",   "matcher/pattern", "matcher/words",
    "matcher/automata", "matcher/line_filter", "matcher/groups", "matcher/engine",  "matcher"};
constexpr std::string_view kLowHeaders[] = {"matcher/limits.h",         "matcher/costs.h",
                                            "matcher/tuning.h",         "matcher/budget.h",
                                            "matcher/search_outcome.h", "matcher/work_credit.h"};

constexpr std::size_t kMostUnits = 11;

struct Include {
  std::string file;
  std::string included;
};

/// Every source file of the library and its programs, by its path from the top.
std::vector<std::string> SourceFiles() {
  std::vector<std::string> files;
  const fs::path top = TROVEX_SOURCE_FOLDER;
  for (const auto& [folder, arrows] : Arrows()) {
    const fs::path start = top / folder;
    if (!fs::exists(start)) continue;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(start)) {
      const std::string extension = entry.path().extension().string();
      if (extension == ".h" || extension == ".cpp") {
        files.push_back(fs::relative(entry.path(), top).generic_string());
      }
    }
  }
  return files;
}

/// The lines by which files of the tree include others of it, the included ones by their paths too.
std::vector<Include> Includes() {
  std::vector<Include> includes;
  for (const std::string& file : SourceFiles()) {
    std::ifstream lines(fs::path(TROVEX_SOURCE_FOLDER) / file);
    for (std::string line; std::getline(lines, line);) {
      if (line.rfind("#include ", 0) != 0) continue;
      const std::string name = line.substr(10, line.find_last_of("\">") - 10);
      const std::string included = name.rfind("trovex/", 0) == 0 ? "include/" + name : name;
      if (fs::exists(fs::path(TROVEX_SOURCE_FOLDER) / included))
        includes.push_back({file, included});
    }
  }
  return includes;
}

std::string RoomOf(const std::string& file) {
  return file.substr(0, file.find_last_of('/'));
}

/// The first room of the table that `room` is or is inside of.
std::string HouseOf(const std::string& room) {
  for (const auto& [house, arrows] : Arrows()) {
    if (room == house || room.rfind(house + "/", 0) == 0) return house;
  }
  return "";
}

bool IsLow(const std::string& header) {
  return std::find(std::begin(kLowHeaders), std::end(kLowHeaders), header) != std::end(kLowHeaders);
}

/// The place of a room in kMatcherRooms.
std::ptrdiff_t HeightOf(const std::string& room) {
  const auto* const found = std::find(std::begin(kMatcherRooms), std::end(kMatcherRooms), room);
  EXPECT_NE(found, std::end(kMatcherRooms)) << room << " is a room of matcher/ without a height";
  return found - std::begin(kMatcherRooms);
}

TEST(Structure, TheTreeIsThere) {
  EXPECT_GT(SourceFiles().size(), 100U);
  EXPECT_GT(Includes().size(), 200U);
}

TEST(Structure, IncludesFollowTheArrows) {
  for (const auto& [file, included] : Includes()) {
    const std::string from = HouseOf(RoomOf(file));
    const std::string to = HouseOf(RoomOf(included));
    if (from == to) continue;
    EXPECT_EQ(Arrows().at(from).count(to), 1U) << file << " includes " << included;
  }
}

TEST(Structure, TheMatchersRoomsIncludeThoseBelowThem) {
  for (const auto& [file, included] : Includes()) {
    if (HouseOf(RoomOf(file)) != "matcher" || HouseOf(RoomOf(included)) != "matcher") continue;
    if (IsLow(file)) {
      EXPECT_TRUE(IsLow(included)) << file << " includes " << included;
    } else if (!IsLow(included)) {
      EXPECT_GE(HeightOf(RoomOf(file)), HeightOf(RoomOf(included)))
          << file << " includes " << included;
    }
  }
}

/// Whether `line` defines an object of static or thread lifetime that can change.
bool DefinesState(const std::string& line) {
  const std::size_t begin = line.find_first_not_of(' ');
  if (begin == std::string::npos) return false;
  const std::string_view code = std::string_view(line).substr(begin);
  if (code.rfind("constinit ", 0) == 0 || code.rfind("thread_local ", 0) == 0) return true;
  const bool isStatic = code.rfind("static ", 0) == 0 && code.back() == ';';
  const bool canChange = code.find("const") == std::string_view::npos;
  return isStatic && canChange && code.find('(') == std::string_view::npos;
}

TEST(Structure, WhatOutlivesACallStandsInTheApi) {
  for (const std::string& file : SourceFiles()) {
    const bool mayKeepState = HouseOf(file) == "api" || HouseOf(file) == "hosts";
    // Deleted items find their stock by their address alone.
    if (mayKeepState || file == "expr/item_blocks.cpp") continue;
    std::ifstream lines(fs::path(TROVEX_SOURCE_FOLDER) / file);
    for (std::string line; std::getline(lines, line);)
      EXPECT_FALSE(DefinesState(line)) << file << ": " << line;
  }
}

TEST(Structure, ARoomHoldsFewerThanADozenUnits) {
  std::map<std::string, std::set<std::string>> units;
  for (const std::string& file : SourceFiles()) {
    if (HouseOf(RoomOf(file)) == "hosts") continue;
    units[RoomOf(file)].insert(file.substr(0, file.find_last_of('.')));
  }
  for (const auto& [room, names] : units)
    EXPECT_LE(names.size(), kMostUnits) << room;
}

}  // namespace
}  // namespace trovex
