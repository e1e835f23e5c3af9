// The search of one query in one text after another: its streams, and the way from the last of them to
// the items that a host gets.

#ifndef TROVEX_QUERY_SEARCH_QUERY_SEARCH_H
#define TROVEX_QUERY_SEARCH_QUERY_SEARCH_H

#include "query/search/item_stream.h"
#include "query/search/search_context.h"
#include "query/search_plan.h"
#include "text/byte_range.h"

#include <trovex/query.h>

#include <cstddef>
#include <memory>
#include <vector>

namespace trovex {

class QuerySearch {
 public:
  /// Gets the items one after another; false ends the search. The item is valid during the call.
  using Visit = bool (*)(void* context, const Item& item);

  /// `plan` must outlive the search.
  explicit QuerySearch(const SearchPlan& plan);

  /// Searches `text`. With `options.mostItems` 0, `visit` is not called and may be null. What `visit`
  /// throws, and std::bad_alloc, leave; the next search is as good as any.
  Verdict Run(TextView text, const SearchOptions& options, Visit visit, void* visitContext);

  /// Where the latest search gave up; 0 otherwise.
  std::size_t GaveUpAt() const { return context_.gaveUpAt; }

 private:
  void MakeStream(const PlannedStream& planned);
  void Begin(TextView text, const SearchOptions& options);
  bool Deliver(FoundPlace place, Visit visit, void* visitContext);

  const SearchPlan& plan_;
  SearchContext context_;
  std::vector<std::unique_ptr<ItemStream>> streams_;
  std::vector<StoredStream*> stored_;
};

}  // namespace trovex

#endif  // TROVEX_QUERY_SEARCH_QUERY_SEARCH_H
