// The table-valued function trovex_items(expression, text [, options]): a row for each item, and after it one
// for each of its tags.

#ifndef TROVEX_HOSTS_SQLITE_ITEMS_TABLE_H
#define TROVEX_HOSTS_SQLITE_ITEMS_TABLE_H

#include "hosts/sqlite/compiled_search.h"
#include "hosts/sqlite/sqlite_api.h"

#include <memory>

namespace trovex::sqlite {

/// Makes it known to a connection. Returns SQLITE_OK, or what SQLite says.
int AddItemsTable(sqlite3* connection, const std::shared_ptr<SearchCache>& cache);

}  // namespace trovex::sqlite

#endif  // TROVEX_HOSTS_SQLITE_ITEMS_TABLE_H
