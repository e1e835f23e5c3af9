// A connection to a database in memory with the extension loaded, and statements as tests write them.

#ifndef TROVEX_TESTS_SQLITE_DATABASE_H
#define TROVEX_TESTS_SQLITE_DATABASE_H

#include <sqlite3.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace trovex::testing {

struct Blob {
  std::string bytes;

  friend bool operator==(const Blob&, const Blob&) = default;
};

/// A value of SQL; no value is NULL.
using Value = std::variant<std::monostate, sqlite3_int64, std::string, Blob>;
using Row = std::vector<Value>;

/// What a statement gave: its rows, or why it failed.
struct Result {
  int status = SQLITE_DONE;
  std::string message;
  std::vector<Row> rows;
};

class Database {
 public:
  /// Opens `name` and loads the extension. A failure ends the test program.
  explicit Database(const std::string& name = ":memory:", bool withExtension = true);
  ~Database();
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  sqlite3* Handle() const { return handle_; }

  /// Loads the extension; empty, or what SQLite says.
  std::string Load();

  /// Runs one statement with `values` for its question marks.
  Result Run(std::string_view sql, const Row& values = {}) const;

  /// The only value of the only row; the message where the statement fails.
  Value One(std::string_view sql, const Row& values = {}) const;

  /// Runs statements, which must succeed.
  void Execute(const std::string& sql) const;

 private:
  sqlite3* handle_ = nullptr;
};

/// A row as it is read easily: values with bars between.
std::string Written(const Row& row);
/// The rows, with a line feed after each.
std::string Written(const Result& result);

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_SQLITE_DATABASE_H
