// A Query as Python has it: with a stock of searchers, so that every call finds one that is warm, and any
// number of threads may call.

#ifndef TROVEX_HOSTS_PYTHON_PYTHON_QUERY_H
#define TROVEX_HOSTS_PYTHON_PYTHON_QUERY_H

#include "native/column_search.h"
#include "native/items.h"
#include "native/python_text.h"

#include <nanobind/nanobind.h>
#include <trovex/query.h>

#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace trovex::python {

namespace nb = nanobind;

/// Searchers of one query that nobody uses. One of them is had without a lock, which is all that a
/// program with one thread needs. Whoever calls has attached its thread to the interpreter.
class SearcherStock {
 public:
  explicit SearcherStock(const Query& query) : query_(query) {}
  ~SearcherStock() { delete first_.load(); }
  SearcherStock(const SearcherStock&) = delete;
  SearcherStock& operator=(const SearcherStock&) = delete;

  std::unique_ptr<Searcher> Take();
  void Give(std::unique_ptr<Searcher> searcher);

 private:
  Searcher* TakeFirst() noexcept;
  bool GiveFirst(Searcher* searcher) noexcept;

  Query query_;
  std::atomic<Searcher*> first_{nullptr};
  std::mutex mutex_;
  std::vector<std::unique_ptr<Searcher>> others_;
};

class PythonQuery {
 public:
  /// Compiles; raises trovex.ExpressionError.
  PythonQuery(nb::object expression, const ExpressionOptions& options);

  bool Matches(nb::handle text, Encoding encoding);
  std::size_t Count(nb::handle text, Encoding encoding);
  /// The first item, or None.
  nb::object Search(nb::object text, Encoding encoding, bool tags);
  nb::list FindAll(nb::object text, Encoding encoding, bool tags);
  ItemIterator FindIter(nb::object text, Encoding encoding, bool tags);
  /// `text` with `before` and `after` around what was found; all three are str, or bytes.
  nb::object Highlight(nb::object text, nb::object before, nb::object after, Encoding encoding);

  BooleanColumn MatchesColumn(nb::handle column, const ColumnOptions& options);
  ItemsColumn FindColumn(nb::handle column, const ColumnOptions& options);

  const nb::object& Expression() const noexcept { return expression_; }
  const ExpressionOptions& Options() const noexcept { return query_.Options(); }
  int TagCount() const noexcept { return tagCount_; }
  std::string Explain() const { return query_.Describe(); }
  RequiredStrings Required() const { return query_.Required(); }
  /// Whether both were compiled of the same expression with the same options.
  bool Equals(const PythonQuery& other) const;
  Py_hash_t Hash() const;

 private:
  /// Searches with what `run(searcher, options, goOn)` does, which asks goOn() at each item; the lock of
  /// the interpreter is released where the text is long. Raises what a signal raised, and GaveUpError.
  template <typename Run>
  Verdict Do(const PythonText& text, bool tags, Run&& run);
  ItemList Find(const PythonText& text, bool tags, std::size_t most);

  nb::object expression_;
  Query query_;
  int tagCount_;
  SearcherStock stock_;
};

/// Raises trovex.GaveUpError.
[[noreturn]] void RaiseGaveUp(std::size_t at, std::optional<std::size_t> row = std::nullopt);

}  // namespace trovex::python

#endif  // TROVEX_HOSTS_PYTHON_PYTHON_QUERY_H
