// Expressions as the functions of SQL use them: compiled once, and kept.

#ifndef TROVEX_HOSTS_SQLITE_COMPILED_SEARCH_H
#define TROVEX_HOSTS_SQLITE_COMPILED_SEARCH_H

#include <trovex/query.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace trovex::sqlite {

/// A compiled expression with the work space of a connection.
struct CompiledSearch {
  explicit CompiledSearch(Query compiled);

  Query query;
  Searcher searcher;
};

/// Why there is no search: one sentence for the person who typed the SQL.
struct Refusal {
  std::string sentence;
};

/// The expressions that a connection used last. They are found by what was typed, without regard to what it
/// means; where an expression is the same for all rows, SQLite keeps it with the statement, and nothing
/// is looked for here.
class SearchCache {
 public:
  using Found = std::variant<std::shared_ptr<CompiledSearch>, Refusal>;

  /// Finds or compiles `expression`. `options` is the text of a function's last argument: names with
  /// commas or blanks between.
  Found Find(std::string_view expression, std::string_view options);

 private:
  struct Entry {
    std::string expression;
    std::string options;
    std::shared_ptr<CompiledSearch> search;
    std::uint64_t lastUse = 0;
  };

  Entry* Lookup(std::string_view expression, std::string_view options);
  void MakeRoomFor(std::size_t length);

  std::vector<Entry> entries_;
  std::uint64_t uses_ = 0;
  /// The length of all expressions together, in bytes.
  std::size_t length_ = 0;
};

}  // namespace trovex::sqlite

#endif  // TROVEX_HOSTS_SQLITE_COMPILED_SEARCH_H
