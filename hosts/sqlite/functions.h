// The functions of SQL that give one value: trovex(), trovex_count(), trovex_highlight(), trovex_snippet(),
// trovex_explain(), trovex_version().

#ifndef TROVEX_HOSTS_SQLITE_FUNCTIONS_H
#define TROVEX_HOSTS_SQLITE_FUNCTIONS_H

#include "hosts/sqlite/compiled_search.h"
#include "hosts/sqlite/sqlite_api.h"

#include <memory>

namespace trovex::sqlite {

/// Makes them known to a connection, whose cache they share. Returns SQLITE_OK, or what SQLite says.
int AddFunctions(sqlite3* connection, const std::shared_ptr<SearchCache>& cache);

/// Takes them back: what a connection must not keep when the extension is not loaded after all.
void RemoveFunctions(sqlite3* connection);

}  // namespace trovex::sqlite

#endif  // TROVEX_HOSTS_SQLITE_FUNCTIONS_H
