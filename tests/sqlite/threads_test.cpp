// Threads with a connection each, which load the extension, search, and close, all at the same time; and threads
// that share one connection, which SQLite hands from one to the other.

#include "tests/sqlite/database.h"

#include <gtest/gtest.h>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace {

using trovex::testing::Database;
using trovex::testing::Value;
using trovex::testing::Written;

constexpr int kThreads = 8;

template <typename Body>
void InThreads(Body&& body) {
  std::vector<std::thread> threads;
  for (int number = 0; number < kThreads; ++number)
    threads.emplace_back([&body, number] { body(number); });
  for (std::thread& thread : threads)
    thread.join();
}

void Fill(const Database& database) {
  database.Execute(
      "CREATE TABLE docs(body);"
      "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < 299)"
      " INSERT INTO docs SELECT 'Zeile ' || i || CASE i % 3 WHEN 0 THEN ' vom Haus' ELSE ' von der "
      "Tür'"
      " END FROM n");
}

void SearchEverything(const Database& database) {
  EXPECT_EQ(database.One("SELECT sum(trovex('Haus', body)) FROM docs"), Value(sqlite3_int64{100}));
  EXPECT_EQ(database.One("SELECT sum(trovex_count('TÜR|Zeile', body)) FROM docs"),
            Value(sqlite3_int64{500}));
  EXPECT_EQ(
      database.One("SELECT count(*) FROM docs, trovex_items('(H|T)(aus|ür)', body) WHERE tag = 2"),
      Value(sqlite3_int64{300}));
  EXPECT_EQ(database.One("SELECT sum(trovex_highlight('[0-9]+', body, '<', '>') LIKE '%<%>%')"
                         " FROM docs"),
            Value(sqlite3_int64{300}));
}

TEST(Threads, HaveAConnectionEachAndComeAndGo) {
  InThreads([](int) {
    for (int round = 0; round < 5; ++round) {
      const Database database;
      Fill(database);
      SearchEverything(database);
    }
  });
}

TEST(Threads, MaySearchOneFileAtTheSameTime) {
  const std::string name =
      (std::filesystem::temp_directory_path() / ("trovex-threads-" + std::to_string(::getpid())))
          .string();
  std::filesystem::remove(name);
  Fill(Database(name));
  InThreads([&](int) { SearchEverything(Database(name)); });
  std::filesystem::remove(name);
}

TEST(Threads, MayShareAConnection) {
  const Database database;
  Fill(database);
  InThreads([&](int) {
    for (int round = 0; round < 3; ++round)
      SearchEverything(database);
  });
}

TEST(Threads, ManyConnectionsMayBeOpenAtTheSameTime) {
  std::vector<std::unique_ptr<Database>> databases;
  for (int i = 0; i < 60; ++i) {
    databases.push_back(std::make_unique<Database>());
    Fill(*databases.back());
  }
  InThreads([&](int number) {
    for (std::size_t i = 0; i < databases.size(); ++i) {
      if (i % kThreads == static_cast<std::size_t>(number)) SearchEverything(*databases[i]);
    }
  });
}

}  // namespace
