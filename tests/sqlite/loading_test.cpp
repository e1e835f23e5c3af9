// The extension comes and goes: what it leaves, what it shows, and what happens when memory runs out.

#include "tests/host/failing_malloc.h"
#include "tests/sqlite/database.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <string>

namespace {

using trovex::testing::Database;
using trovex::testing::FailureKind;
using trovex::testing::LiveBlocks;
using trovex::testing::MallocFailure;
using trovex::testing::Owner;
using trovex::testing::Result;
using trovex::testing::Value;
using trovex::testing::Written;

bool ExtensionIsInTheProcess() {
  void* const handle = dlopen(TROVEX_EXTENSION, RTLD_NOW | RTLD_NOLOAD);
  if (handle != nullptr) dlclose(handle);
  return handle != nullptr;
}

void UseEverything(const Database& database) {
  EXPECT_EQ(database.One("SELECT trovex('Haus', 'Haus')"), Value(sqlite3_int64{1}));
  EXPECT_EQ(database.One("SELECT trovex_highlight('Haus', 'Haus', '<', '>')"),
            Value(std::string("<Haus>")));
  EXPECT_EQ(database.One("SELECT count(*) FROM trovex_items('(H)aus', 'Haus')"),
            Value(sqlite3_int64{2}));
}

TEST(Loading, TheExtensionLeavesTheProcessWithItsLastConnection) {
  for (int round = 0; round < 20; ++round) {
    EXPECT_FALSE(ExtensionIsInTheProcess());
    {
      const Database first;
      const Database second;
      UseEverything(first);
      EXPECT_TRUE(ExtensionIsInTheProcess());
    }
  }
}

TEST(Loading, ItMayBeLoadedTwice) {
  Database database;
  UseEverything(database);
  EXPECT_EQ(database.Load(), "");
  UseEverything(database);
}

TEST(Loading, ItMayBeLoadedInSql) {
  const Database database(":memory:", false);
  sqlite3_db_config(database.Handle(), SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, 1, nullptr);
  sqlite3_enable_load_extension(database.Handle(), 1);
  EXPECT_EQ(database.One("SELECT load_extension(?)", {std::string(TROVEX_EXTENSION)}), Value());
  UseEverything(database);
}

/// What a statement with everything in it gives; its text where memory runs out.
std::string Everything(const Database& database) {
  return Written(database.Run(
      "SELECT trovex(e, body), trovex_count(e, body), trovex_highlight(e, body, '<', '>'),"
      " trovex_snippet(e, body, '<', '>', '...', 3), trovex_explain(e),"
      " (SELECT group_concat(start || '-' || end || ':' || tag || text) FROM trovex_items(e, body))"
      " FROM (SELECT '(Haus|Hof) &20 (T\xC3\xBCr)' AS e, 'Das Haus hat eine T\xC3\xBCr.' AS body"
      " UNION ALL SELECT '~Meier', 'Herr Mayr')"));
}

void ExpectMemoryFailuresAreErrors(Owner owner, FailureKind kind) {
  // As long as it is there, the others load in no time.
  const Database keeper;
  const std::string expected = Everything(keeper);
  ASSERT_NE(expected.find("<Haus> hat eine <T"), std::string::npos) << expected;
  constexpr long kTooMany = 100'000;
  for (long number = 1;; ++number) {
    ASSERT_LT(number, kTooMany);
    const long before = LiveBlocks(Owner::kAnybody);
    bool happened = false;
    {
      const Database database;
      std::string got;
      {
        const MallocFailure failure(owner, number, kind);
        got = [&] {
          try {
            return Everything(database);
          } catch (const std::bad_alloc&) {
            return std::string("out of memory");  // the test's own
          }
        }();
        happened = MallocFailure::Happened();
      }
      if (happened && got != expected) {
        EXPECT_TRUE(got == "out of memory" || got.empty()) << number << ": " << got;
      }
      UseEverything(database);
    }
    EXPECT_EQ(LiveBlocks(Owner::kAnybody), before) << "after the failure of allocation " << number;
    if (!happened) return;
  }
}

TEST(MemoryFailure, OnceIsAnErrorOfTheStatement) {
  ExpectMemoryFailuresAreErrors(Owner::kOthers, FailureKind::kOnce);
}

TEST(MemoryFailure, FromThenOnIsAnErrorOfTheStatement) {
  ExpectMemoryFailuresAreErrors(Owner::kOthers, FailureKind::kFromThenOn);
}

TEST(MemoryFailure, WhileLoadingLeavesNothingBehind) {
  for (long number = 1; number < 500; ++number) {
    Database database(":memory:", false);
    std::string failure;
    {
      const MallocFailure failing(Owner::kOthers, number, FailureKind::kFromThenOn);
      try {
        failure = database.Load();
      } catch (const std::bad_alloc&) {
        failure = "out of memory";
      }
      if (!MallocFailure::Happened()) {
        EXPECT_EQ(failure, "");
        return;
      }
    }
    if (!ExtensionIsInTheProcess()) {
      // Nothing may be called that is there no more.
      const Result result = database.Run("SELECT trovex('a', 'a')");
      EXPECT_EQ(result.message, "no such function: trovex") << number;
      EXPECT_EQ(database.Run("SELECT * FROM trovex_items('a', 'a')").message,
                "no such table: trovex_items")
          << number;
    }
    EXPECT_EQ(database.Load(), "") << number;
    UseEverything(database);
  }
  FAIL() << "loading never succeeds";
}

}  // namespace
