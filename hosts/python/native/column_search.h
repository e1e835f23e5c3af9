// A whole column searched in one call, by several threads.

#ifndef TROVEX_HOSTS_PYTHON_COLUMN_SEARCH_H
#define TROVEX_HOSTS_PYTHON_COLUMN_SEARCH_H

#include "native/arrow_export.h"

#include <nanobind/nanobind.h>
#include <trovex/query.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace trovex::python {

namespace nb = nanobind;

struct ColumnOptions {
  /// Of a column of binaries; one of strings is in UTF-8.
  Encoding encoding = Encoding::kUtf8;
  /// The most threads that search, the caller's own among them. At least 1.
  std::size_t threads = 1;
  /// Where a row's search gives up: the row is null, else GaveUpError is raised.
  bool nullWhereGaveUp = false;
  /// Whether items bring the ranges of their tags.
  bool tags = false;
  /// Whether items bring what stands there.
  bool texts = false;
};

/// A column as Python holds it: what Arrow's readers are given, and the rows without an answer.
struct ResultColumn {
  ArrowResult arrow;
  std::vector<std::size_t> gaveUp;

  std::size_t Rows() const noexcept { return static_cast<std::size_t>(arrow.data.length); }
};

/// Booleans, null where the text was null.
struct BooleanColumn : ResultColumn {
  nb::list ToList() const;
};

/// Lists of {start, end}, with the text and the tags where they were asked for; tags is a list of {tag, start,
/// end}.
struct ItemsColumn : ResultColumn {
  nb::list ToList() const;
};

/// Search the column that `object` offers (see ReadColumn). Positions are characters for strings, bytes
/// for binaries.
BooleanColumn SearchMatches(const Query& query, nb::handle object, const ColumnOptions& options);
ItemsColumn SearchItems(const Query& query, nb::handle object, const ColumnOptions& options);

}  // namespace trovex::python

#endif  // TROVEX_HOSTS_PYTHON_COLUMN_SEARCH_H
