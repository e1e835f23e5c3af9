// A program can end a long search: by sqlite3_interrupt(), and from a progress handler.

#include "tests/sqlite/database.h"

#include <gtest/gtest.h>
#include <atomic>
#include <chrono>
#include <string>
#include <thread>

namespace {

using trovex::testing::Database;
using trovex::testing::Result;
using trovex::testing::Row;
using trovex::testing::Value;

/// A search that takes half a second and more if nobody ends it: many lines, and everything is found everywhere.
const std::string& LongText() {
  static const std::string text = [] {
    std::string lines;
    for (int i = 0; lines.size() < 40'000'000; ++i)
      lines +=
          "Zeile " + std::to_string(i) + " mit aller Art von Text darin, und nichts davon ist es\n";
    return lines;
  }();
  return text;
}

constexpr const char* kStatements[] = {
    "SELECT trovex('([a-z]+) \\1 \\1x', ?)",
    "SELECT trovex_count('([a-z]+) \\1 \\1x|[a-z]+', ?)",
    "SELECT length(trovex_highlight('([a-z]+) \\1 \\1x', ?, '<', '>'))",
    "SELECT length(trovex_snippet('([a-z]+) \\1 \\1x', ?, '<', '>', '', 5))",
    "SELECT count(*) FROM trovex_items('([a-z]+) \\1 \\1x', ?)",
};

TEST(Interrupts, EndALongSearch) {
  const std::string& text = LongText();
  for (const char* const sql : kStatements) {
    const Database database;
    // An interrupt while a statement is prepared is a failure of that, and none of the search's.
    sqlite3_stmt* statement = nullptr;
    ASSERT_EQ(sqlite3_prepare_v2(database.Handle(), sql, -1, &statement, nullptr), SQLITE_OK);
    sqlite3_bind_text64(statement, 1, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8);

    std::atomic<bool> isOver{false};
    std::thread other([&] {
      // Before the statement begins, an interrupt has no effect.
      while (!isOver) {
        sqlite3_interrupt(database.Handle());
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
      }
    });
    const int status = sqlite3_step(statement);
    isOver = true;
    other.join();
    EXPECT_EQ(status, SQLITE_INTERRUPT) << sql << ": " << sqlite3_errmsg(database.Handle());
    sqlite3_finalize(statement);
    EXPECT_EQ(database.One("SELECT trovex('a', 'a')"), Value(sqlite3_int64{1})) << sql;
  }
}

TEST(Interrupts, ComeFromProgressHandlersToo) {
  const Row text = {LongText()};
  for (const char* const sql : kStatements) {
    const Database database;
    int calls = 0;
    sqlite3_progress_handler(
        database.Handle(), 1000,
        [](void* count) { return ++*static_cast<int*>(count) == 20 ? 1 : 0; }, &calls);
    const Result result = database.Run(sql, text);
    EXPECT_EQ(result.status, SQLITE_INTERRUPT) << sql << ": " << result.message;
    EXPECT_EQ(calls, 20) << sql;
  }
}

TEST(Interrupts, ThatNobodySendsDisturbNothing) {
  const Database database;
  int calls = 0;
  sqlite3_progress_handler(
      database.Handle(), 100,
      [](void* count) {
        ++*static_cast<int*>(count);
        return 0;
      },
      &calls);
  const std::string text = LongText().substr(0, 10'000'000);
  EXPECT_EQ(database.One("SELECT trovex('([a-z]+) \\1 \\1x', ?)", {text}), Value(sqlite3_int64{0}));
  EXPECT_GT(calls, 0);
}

TEST(Interrupts, AreNotAskedForWhereTheProgramAllowsNoStatements) {
  const Database database;
  bool denies = false;
  sqlite3_set_authorizer(
      database.Handle(),
      [](void* denied, int, const char*, const char*, const char*, const char*) {
        return *static_cast<bool*>(denied) ? SQLITE_DENY : SQLITE_OK;
      },
      &denies);
  sqlite3_stmt* statement = nullptr;
  ASSERT_EQ(sqlite3_prepare_v2(database.Handle(), "SELECT trovex('([a-z]+) \\1 \\1x', ?)", -1,
                               &statement, nullptr),
            SQLITE_OK);
  denies = true;
  const std::string text = LongText().substr(0, 10'000'000);
  sqlite3_bind_text64(statement, 1, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8);
  EXPECT_EQ(sqlite3_step(statement), SQLITE_ROW);
  EXPECT_EQ(sqlite3_column_int(statement, 0), 0);
  sqlite3_finalize(statement);
}

}  // namespace
