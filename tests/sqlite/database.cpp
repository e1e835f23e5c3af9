#include "tests/sqlite/database.h"

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace trovex::testing {
namespace {

void Check(bool isRight, const std::string& what) {
  if (isRight) return;
  std::fprintf(stderr, "%s\n", what.c_str());
  std::abort();
}

void Bind(sqlite3_stmt* statement, int place, const Value& value) {
  if (const auto* const number = std::get_if<sqlite3_int64>(&value)) {
    sqlite3_bind_int64(statement, place, *number);
  } else if (const auto* const text = std::get_if<std::string>(&value)) {
    sqlite3_bind_text64(statement, place, text->data(), text->size(), SQLITE_TRANSIENT,
                        SQLITE_UTF8);
  } else if (const auto* const blob = std::get_if<Blob>(&value)) {
    sqlite3_bind_blob64(statement, place, blob->bytes.data(), blob->bytes.size(), SQLITE_TRANSIENT);
  }
}

std::string BytesAt(sqlite3_stmt* statement, int column, const void* bytes) {
  const auto length = static_cast<std::size_t>(sqlite3_column_bytes(statement, column));
  return length == 0 ? std::string() : std::string(static_cast<const char*>(bytes), length);
}

Value ValueAt(sqlite3_stmt* statement, int column) {
  switch (sqlite3_column_type(statement, column)) {
    case SQLITE_INTEGER:
      return sqlite3_column_int64(statement, column);
    case SQLITE_NULL:
      return {};
    case SQLITE_BLOB:
      return Blob{BytesAt(statement, column, sqlite3_column_blob(statement, column))};
    default:
      return BytesAt(statement, column, sqlite3_column_text(statement, column));
  }
}

}  // namespace

Database::Database(const std::string& name, bool withExtension) {
  Check(sqlite3_open(name.c_str(), &handle_) == SQLITE_OK, "cannot open " + name);
  sqlite3_busy_timeout(handle_, 10'000);
  if (!withExtension) return;
  const std::string failure = Load();
  Check(failure.empty(), failure);
}

Database::~Database() {
  Check(sqlite3_close(handle_) == SQLITE_OK, "the connection still has statements");
}

std::string Database::Load() {
  sqlite3_db_config(handle_, SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, 1, nullptr);
  char* message = nullptr;
  if (sqlite3_load_extension(handle_, TROVEX_EXTENSION, nullptr, &message) == SQLITE_OK) return {};
  std::string failure = message == nullptr ? "no memory" : message;
  sqlite3_free(message);
  return failure;
}

Result Database::Run(std::string_view sql, const Row& values) const {
  Result result;
  sqlite3_stmt* statement = nullptr;
  result.status =
      sqlite3_prepare_v2(handle_, sql.data(), static_cast<int>(sql.size()), &statement, nullptr);
  const std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> owner(statement, sqlite3_finalize);
  if (result.status == SQLITE_OK) {
    int place = 0;
    for (const Value& value : values)
      Bind(statement, ++place, value);
    while ((result.status = sqlite3_step(statement)) == SQLITE_ROW) {
      Row row;
      for (int i = 0; i < sqlite3_column_count(statement); ++i)
        row.push_back(ValueAt(statement, i));
      result.rows.push_back(std::move(row));
    }
  }
  if (result.status != SQLITE_DONE) result.message = sqlite3_errmsg(handle_);
  return result;
}

Value Database::One(std::string_view sql, const Row& values) const {
  Result result = Run(sql, values);
  if (result.status != SQLITE_DONE) return result.message;
  Check(result.rows.size() == 1 && result.rows[0].size() == 1,
        "not one value: " + std::string(sql));
  return result.rows[0][0];
}

void Database::Execute(const std::string& sql) const {
  char* message = nullptr;
  const int status = sqlite3_exec(handle_, sql.c_str(), nullptr, nullptr, &message);
  Check(status == SQLITE_OK, sql + ": " + (message == nullptr ? "" : message));
}

std::string Written(const Row& row) {
  std::string line;
  for (const Value& value : row) {
    if (&value != &row.front()) line += '|';
    if (const auto* const number = std::get_if<sqlite3_int64>(&value)) {
      line += std::to_string(*number);
    } else if (const auto* const text = std::get_if<std::string>(&value)) {
      line += *text;
    } else if (const auto* const blob = std::get_if<Blob>(&value)) {
      line += "x'" + blob->bytes + "'";
    } else {
      line += "NULL";
    }
  }
  return line;
}

std::string Written(const Result& result) {
  if (result.status != SQLITE_DONE) return result.message;
  std::string lines;
  for (const Row& row : result.rows)
    lines += Written(row) + '\n';
  return lines;
}

}  // namespace trovex::testing
