// A program can end a long search: by sqlite3_interrupt(), and from a progress handler.

#include "tests/sqlite/database.h"

#include <gtest/gtest.h>
#include <future>
#include <string>
#include <thread>
#include <utility>

namespace {

using trovex::testing::Database;
using trovex::testing::Result;
using trovex::testing::Row;
using trovex::testing::Value;

/// A text that is searched for much longer than the extension waits before it asks whether to go on.
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

/// An interrupt from another thread, sent in the middle of a search: the search asks whether it is to go on, which
/// the program sees by its progress handler, and that waits until the interrupt is there.
class InterruptInTheMiddle {
 public:
  explicit InterruptInTheMiddle(sqlite3* connection) : connection_(connection) {
    sqlite3_progress_handler(connection_, 1000, Wait, this);
    other_ = std::thread([this] {
      isSearching_.get_future().wait();
      sqlite3_interrupt(connection_);
      isSent_.set_value();
    });
  }
  ~InterruptInTheMiddle() {
    if (!wasAsked_) isSearching_.set_value();
    other_.join();
    sqlite3_progress_handler(connection_, 0, nullptr, nullptr);
  }
  InterruptInTheMiddle(const InterruptInTheMiddle&) = delete;
  InterruptInTheMiddle& operator=(const InterruptInTheMiddle&) = delete;

 private:
  static int Wait(void* self) {
    auto& interrupt = *static_cast<InterruptInTheMiddle*>(self);
    if (std::exchange(interrupt.wasAsked_, true)) return 0;
    interrupt.isSearching_.set_value();
    interrupt.isSent_.get_future().wait();
    return 0;
  }

  sqlite3* connection_;
  bool wasAsked_ = false;
  std::promise<void> isSearching_;
  std::promise<void> isSent_;
  std::thread other_;
};

TEST(Interrupts, EndALongSearch) {
  const std::string& text = LongText();
  for (const char* const sql : kStatements) {
    const Database database;
    sqlite3_stmt* statement = nullptr;
    ASSERT_EQ(sqlite3_prepare_v2(database.Handle(), sql, -1, &statement, nullptr), SQLITE_OK);
    sqlite3_bind_text64(statement, 1, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8);
    {
      const InterruptInTheMiddle interrupt(database.Handle());
      EXPECT_EQ(sqlite3_step(statement), SQLITE_INTERRUPT)
          << sql << ": " << sqlite3_errmsg(database.Handle());
    }
    sqlite3_finalize(statement);
    EXPECT_EQ(database.One("SELECT trovex('a', 'a')"), Value(sqlite3_int64{1})) << sql;
  }
}

TEST(Interrupts, EndTheDeclarationOfTheItemsTableToo) {
  const Database database;
  // As long as a statement is at work an interrupt stays. This one reaches the declaration, for SQLite's parser
  // asks at blanks and at the end, and before these the table is looked up.
  sqlite3_stmt* atWork = nullptr;
  ASSERT_EQ(sqlite3_prepare_v2(database.Handle(), "VALUES (1), (2)", -1, &atWork, nullptr),
            SQLITE_OK);
  ASSERT_EQ(sqlite3_step(atWork), SQLITE_ROW);
  sqlite3_interrupt(database.Handle());
  sqlite3_stmt* statement = nullptr;
  EXPECT_EQ(sqlite3_prepare_v2(database.Handle(), "SELECT*FROM\"trovex_items\"('a','a');", -1,
                               &statement, nullptr),
            SQLITE_INTERRUPT);
  EXPECT_STREQ(sqlite3_errmsg(database.Handle()), "interrupted");
  sqlite3_finalize(statement);
  sqlite3_finalize(atWork);
  EXPECT_EQ(database.One("SELECT count(*) FROM trovex_items('a', 'a')"), Value(sqlite3_int64{1}));
}

TEST(Interrupts, ComeFromProgressHandlersToo) {
  const Row text = {LongText()};
  for (const char* const sql : kStatements) {
    const Database database;
    int calls = 0;
    sqlite3_progress_handler(
        database.Handle(), 1000,
        [](void* count) { return ++*static_cast<int*>(count) == 3 ? 1 : 0; }, &calls);
    const Result result = database.Run(sql, text);
    EXPECT_EQ(result.status, SQLITE_INTERRUPT) << sql << ": " << result.message;
    EXPECT_EQ(calls, 3) << sql;
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
  const std::string& text = LongText();
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
  const std::string& text = LongText();
  sqlite3_bind_text64(statement, 1, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8);
  EXPECT_EQ(sqlite3_step(statement), SQLITE_ROW);
  EXPECT_EQ(sqlite3_column_int(statement, 0), 0);
  sqlite3_finalize(statement);
}

}  // namespace
