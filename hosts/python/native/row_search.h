// One thread's search of the rows of a column.
//
// Short rows are not searched one by one: a run of them is written side by side, a line feed between, and
// searched as one text. No match crosses a line feed, so a query of a single pattern finds in it what it
// finds in each row, but for empty matches: after a row that itself ends with a line feed there is one
// empty line more than in the row. Rows with an empty match are searched again on their own. Of any other
// query, strings of which every text must hold one are looked for in the same way, and rows without any
// are passed over.

#ifndef TROVEX_HOSTS_PYTHON_ROW_SEARCH_H
#define TROVEX_HOSTS_PYTHON_ROW_SEARCH_H

#include "native/signals.h"

#include <trovex/query.h>

#include <atomic>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace trovex::python {

/// What is looked for in rows; shared by threads.
struct RowPlan {
  RowPlan(const Query& query, Encoding encoding);

  Query query;
  Encoding encoding;
  /// What rows side by side are searched for: the query itself, or strings that a row must hold.
  std::optional<Query> together;
  /// Whether `together` is the query itself.
  bool isWhole = false;
};

/// The text of each row; where it has no data, the row is null.
using Rows = std::vector<std::string_view>;

class RowSearch {
 public:
  /// The search ends where `stop` is set. `signals` is null but in the thread that called; what they raise
  /// sets `stop`.
  RowSearch(const RowPlan& plan, std::atomic<bool>& stop, Signals* signals);

  /// Whether the search is to end, with nothing of it kept.
  bool IsStopped();

  /// Writes the verdict of each row that is not null.
  void Matches(const Rows& rows, Verdict* verdicts);

  /// One of a row's items, with positions in the row's text.
  using VisitItem = std::function<void(std::size_t row, const Item& item)>;
  /// Calls `visit` for all items, row by row, and writes the verdicts.
  void Find(const Rows& rows, bool tags, const VisitItem& visit, Verdict* verdicts);

  /// Where the latest call's rows without an answer gave up, in the order of the rows.
  const std::vector<std::size_t>& GaveUpAt() const noexcept { return gaveUpAt_; }

 private:
  /// What is known of a row after it was searched beside others.
  enum class Standing : unsigned char { kNothing, kFound, kOpen };
  struct KeptItem {
    std::size_t row;
    Item item;
    std::size_t tagsEnd;
  };

  bool IsStoppedAt(std::size_t row);
  SearchOptions OptionsFor(std::string_view text);
  Verdict MatchAlone(std::string_view text);
  Verdict Noted(Verdict verdict);
  void Join(const Rows& rows);
  /// Says of each row whether it is to be searched alone; keeps items if they are asked for.
  void SearchTogether(const Rows& rows, bool keep, bool tags);
  void Keep(std::size_t row, const Item& item);
  void FindAlone(std::size_t row, std::string_view text, bool tags, const VisitItem& visit,
                 Verdict& verdict);
  std::size_t VisitKept(std::size_t row, std::size_t next, const VisitItem& visit);

  const RowPlan& plan_;
  std::atomic<bool>& stop_;
  Signals* signals_;
  Searcher searcher_;
  std::optional<Searcher> scout_;
  /// The blocks to come that are searched row by row, because it was of no use to do otherwise.
  int blocksAlone_ = 0;
  std::vector<std::size_t> gaveUpAt_;

  std::string lines_;                // rows side by side
  std::vector<std::size_t> begins_;  // of each row there, and the end
  std::vector<Standing> standing_;
  std::vector<KeptItem> kept_;
  std::vector<TagRange> keptTags_;
};

}  // namespace trovex::python

#endif  // TROVEX_HOSTS_PYTHON_ROW_SEARCH_H
