// Searching one text, or a piece of a long one, by a plan. One thread's.
//
// Millions of matches may lie on a single line, and millions of lines in a piece. So what is found is handed on
// in portions while the search goes on; a line can be found in several.

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
  /// So many lines and matches are one portion.
  static constexpr std::size_t kPortion = std::size_t{16} * 1024;

  /// `plan` outlives the search.
  explicit TextSearch(const SearchPlan& plan, std::size_t portion = kPortion);

  /// Searches `text`, which is a whole file or, if the plan allows it, whole units of one, and writes what
  /// is found. With `take`, every portion but the last is given to it; the last is what `found` holds in the end,
  /// nothing when `take` wants no more.
  void Search(std::string_view text, Need need, Found& found, const TakePortion& take = {});

 private:
  void SearchItems();
  bool TakesScan() const;
  void ScanLines(bool inverse);
  bool IsSureAt(std::size_t end);
  void SearchInverse();
  void SearchCandidates();
  void SearchUnits(std::size_t place);
  void SearchUnit(Range unit);
  template <typename Visit>
  Verdict ForEachUnitOfProbe(Visit visit);
  void PassMatchingUnits();
  void PassMatchingLines();
  void AddUnitsWithout(std::size_t& place, std::size_t end);
  void AddLinesWithout(std::size_t place, std::size_t end, bool alsoLast);
  void StartOver();
  bool HasRoom(std::size_t place);
  void HandOn(std::size_t place);
  FoundLine KeepBack(std::size_t place, std::vector<Range>& kept);

  bool IsInLine(Range match) const;
  std::size_t PlaceOf(std::size_t place) const;
  bool Takes(const Item& item, std::size_t base, Range& match) const;
  void AddMatch(Range match, std::size_t itemBegin);
  void AddLine(Range line);
  void AddLineWithout(Range line);
  void FinishLine();
  void AddSatisfied(Range unit);
  bool Enough() const { return ended_ || (need_ == Need::kVerdict && found_->Any()); }

  const SearchPlan& plan_;
  std::size_t portion_;
  /// Whether each match has to be looked at.
  bool picky_;
  Searcher searcher_;
  std::optional<Searcher> probe_;
  SearchOptions options_;

  // Of the search that is running.
  std::string_view text_;
  /// Whether matches lay on many lines of the text before.
  bool dense_ = false;
  /// The same with line feeds for the carriage returns of line ends.
  std::string_view searched_;
  Need need_ = Need::kVerdict;
  Found* found_ = nullptr;
  /// Null where all is to be one portion.
  const TakePortion* take_ = nullptr;
  /// No more is wanted.
  bool ended_ = false;
  /// Where the line after the one of the latest match begins; 0 before the first match.
  std::size_t nextLine_ = 0;

  // Kept for their memory.
  std::string flattened_;
  std::string shortened_;
  /// Of a unit whose carriage returns were left out: where the line feeds after them stand in what is left.
  std::vector<std::size_t> returns_;
};

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_TEXT_SEARCH_H
