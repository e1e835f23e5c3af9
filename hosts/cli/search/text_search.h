// Searching one text, or a piece of a long one, by a plan. One thread's.

#ifndef TROVEX_HOSTS_CLI_TEXT_SEARCH_H
#define TROVEX_HOSTS_CLI_TEXT_SEARCH_H

#include "hosts/cli/search/found.h"
#include "hosts/cli/search/search_plan.h"

#include <trovex/query.h>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace trovex::cli {

class TextSearch {
 public:
  /// `plan` outlives the search.
  explicit TextSearch(const SearchPlan& plan);

  /// Searches `text`, which is a whole file or, if the plan allows it, whole units of one, and writes
  /// what is found.
  void Search(std::string_view text, Need need, Found& found);

 private:
  void SearchItems();
  void SearchInverse();
  void SearchCandidates();
  void SearchUnits();
  void SearchUnit(Range unit);
  bool CollectUnits();
  bool PassMatchingLines();
  void AddLinesWithout(std::size_t place, std::size_t end, bool alsoLast);
  void StartOver();

  bool IsInLine(Range match) const;
  std::size_t PlaceOf(std::size_t place) const;
  bool Takes(const Item& item, std::size_t base, Range& match) const;
  void AddMatch(Range match);
  void AddLine(Range line);
  void FinishLine();
  void AddSatisfied(Range unit);
  bool Enough() const { return need_ == Need::kVerdict && found_->Any(); }

  const SearchPlan& plan_;
  /// Whether each match has to be looked at.
  bool picky_;
  Searcher searcher_;
  std::optional<Searcher> probe_;
  SearchOptions options_;

  // Of the search that is running.
  std::string_view text_;
  /// The same with line feeds for the carriage returns of line ends.
  std::string_view searched_;
  Need need_ = Need::kVerdict;
  Found* found_ = nullptr;
  /// Where the line after the one of the latest match begins; 0 before the first match.
  std::size_t nextLine_ = 0;

  // Kept for their memory.
  std::string flattened_;
  std::string shortened_;
  /// Of a unit whose carriage returns were left out: where the line feeds after them stand in what is left.
  std::vector<std::size_t> returns_;
  std::vector<Range> units_;
};

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_TEXT_SEARCH_H
