// Where SQLite enters the extension: "SELECT load_extension('trovex')", or ".load trovex" in its shell.
//
// Everything belongs to a connection: functions, the table, and the cache of compiled expressions that they
// share, which goes with the last of them. SQLite uses a connection in one thread at a time, so nothing
// here is locked.

#include "hosts/sqlite/compiled_search.h"
#include "hosts/sqlite/functions.h"
#include "hosts/sqlite/items_table.h"
#include "hosts/sqlite/sqlite_api.h"

#include <trovex/export.h>

#include <memory>

namespace trovex::sqlite {
namespace {

/// Table-valued functions came with 3.9.
constexpr int kOldestVersion = 3009000;

int AddEverything(sqlite3* connection) noexcept {
  try {
    const auto cache = std::make_shared<SearchCache>();
    // A fault of the table leaves nothing behind, so it comes first.
    const int status = AddItemsTable(connection, cache);
    return status == SQLITE_OK ? AddFunctions(connection, cache) : status;
  } catch (...) {
    return SQLITE_NOMEM;
  }
}

}  // namespace
}  // namespace trovex::sqlite

extern "C" TROVEX_EXPORT int sqlite3_trovex_init(sqlite3* connection, char** message,
                                                 const sqlite3_api_routines* table) {
  using namespace trovex::sqlite;
  apiTable.store(table, std::memory_order_release);
  if (sqlite3_libversion_number() < kOldestVersion) {
    *message = sqlite3_mprintf("trovex needs SQLite 3.9 or later");
    return SQLITE_ERROR;
  }
  const int status = AddEverything(connection);
  // SQLite unloads what could not be loaded, and must not call it then.
  if (status != SQLITE_OK) {
    RemoveFunctions(connection);
    sqlite3_create_module_v2(connection, "trovex_items", nullptr, nullptr, nullptr);
  }
  return status;
}
