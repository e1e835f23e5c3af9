// The cases that every host runs, through the functions of SQL. Positions there count from 0, in SQL from 1.

#include "tests/shared_cases.h"
#include "tests/sqlite/database.h"

#include <gtest/gtest.h>
#include <cstddef>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

namespace {

using nlohmann::json;
using trovex::testing::Blob;
using trovex::testing::Database;
using trovex::testing::Result;
using trovex::testing::Row;
using trovex::testing::SharedCases;
using trovex::testing::Value;
using trovex::testing::Written;

/// The arguments of a function: the expression, the text, the options.
Row Arguments(const json& one) {
  std::string options;
  for (const std::string& name : one.value("options", std::vector<std::string>()))
    options += name + ",";
  Value text = one.value("text", std::string());
  if (one.contains("bytes")) text = Blob{trovex::testing::BytesOf(one["bytes"])};
  return {one["expression"].get<std::string>(), std::move(text), options};
}

/// A row of trovex_items() as the case tells it.
std::string Line(std::size_t item, int tag, std::size_t begin, std::size_t end) {
  return std::to_string(item) + "|" + std::to_string(tag) + "|" + std::to_string(begin + 1) + "|" +
         std::to_string(end + 1) + "\n";
}

std::string ExpectedRows(const json& items) {
  std::string rows;
  std::size_t number = 0;
  for (const json& item : items) {
    rows += Line(++number, 0, item["begin"], item["end"]);
    std::map<int, json> tags;
    const json none = json::object();
    const json& given = item.contains("tags") ? item["tags"] : none;
    for (const auto& [tag, range] : given.items())
      tags[std::stoi(tag)] = range;
    for (const auto& [tag, range] : tags)
      rows += Line(number, tag, range[0], range[1]);
  }
  return rows;
}

TEST(SharedCases, AreThere) {
  EXPECT_GT(SharedCases().size(), 100U);
}

TEST(SharedCases, WithTextsAreFoundAsTheyTell) {
  const Database database;
  for (const json& one : SharedCases()) {
    if (one.contains("fault")) continue;
    SCOPED_TRACE(one["name"].get<std::string>());
    const Row arguments = Arguments(one);
    EXPECT_EQ(database.One("SELECT trovex(?, ?, ?)", arguments),
              Value(sqlite3_int64{one["satisfied"].get<bool>()}));
    EXPECT_EQ(database.One("SELECT trovex_count(?, ?, ?)", arguments),
              Value(static_cast<sqlite3_int64>(one["items"].size())));
    EXPECT_EQ(
        Written(database.Run("SELECT item, tag, start, end FROM trovex_items(?, ?, ?)", arguments)),
        ExpectedRows(one["items"]));
  }
}

TEST(SharedCases, HaveTheSameItemsInADatabaseInUtf16) {
  const Database database;
  database.Execute("PRAGMA encoding = 'UTF-16be'; CREATE TABLE cases(e TEXT, body TEXT, o TEXT)");
  for (const json& one : SharedCases()) {
    if (one.contains("fault") || one.contains("bytes")) continue;
    SCOPED_TRACE(one["name"].get<std::string>());
    database.Execute("DELETE FROM cases");
    database.Run("INSERT INTO cases VALUES (?, ?, ?)", Arguments(one));
    EXPECT_EQ(
        Written(database.Run("SELECT item, tag, start, end FROM cases, trovex_items(e, body, o)")),
        ExpectedRows(one["items"]));
  }
}

TEST(SharedCases, WithFaultsAreErrorsThatTellThePlace) {
  const Database database;
  int faults = 0;
  for (const json& one : SharedCases()) {
    if (!one.contains("fault")) continue;
    SCOPED_TRACE(one["name"].get<std::string>());
    ++faults;
    const std::size_t begin = one["fault"]["begin"].get<std::size_t>() + 1;
    const std::size_t end = one["fault"]["end"];
    std::string place = "(expression, character " + std::to_string(begin);
    if (end > begin) place += " to " + std::to_string(end);
    place += end >= begin ? ": \"" : ")";
    for (const char* const sql : {"SELECT trovex(?, ?, ?)", "SELECT trovex_count(?, ?, ?)",
                                  "SELECT start FROM trovex_items(?, ?, ?)"}) {
      const Result result = database.Run(sql, Arguments(one));
      EXPECT_EQ(result.status, SQLITE_ERROR);
      EXPECT_NE(result.message.find(place), std::string::npos) << place << "\n" << result.message;
    }
  }
  EXPECT_GT(faults, 10);
}

}  // namespace
