// Queries of nothing but a few strings, "Datei & Verzeichnis" or "Datei &40 Verzeichnis & !Name": they are
// searched for all their strings at once (string_matches.h), and what is found is told as it comes.
//
// Strings that may lie anywhere are looked for one by one first, each up to its first match, and those of a
// NOT through the whole text; where the verdict is yes, the matches of all are those of one pass.
//
// With distances, matches further apart than the longest of them have nothing to do with each other. So the
// matches of the text fall apart into clusters, and in most of these some string is missing. The others are
// decided one after the other, each operator over all of a cluster.
//
// A cluster that would become too large is left to the streams (item_stream.h), which need no more memory
// for it.

#ifndef TROVEX_QUERY_SEARCH_STRING_SEARCH_H
#define TROVEX_QUERY_SEARCH_STRING_SEARCH_H

#include "matcher/pattern_search.h"
#include "matcher/string_matches.h"
#include "query/plan/search_plan.h"
#include "text/byte_range.h"

#include <trovex/query.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

namespace trovex {

class StringSearch {
 public:
  /// Gets the items one after another; false ends the search.
  using Visit = bool (*)(void* context, const Item& item);

  enum class Answer {
    kNo,
    kYes,
    kTooDense,  // not known: what was visited is right, but there may be more
  };

  struct Result {
    Answer answer;
    std::size_t visited;  // how many items
  };

  /// Null where the query is none of these, or of too many strings. `plan` must outlive the search, and so
  /// must `patterns`: the search of each stream that is a pattern.
  static std::unique_ptr<StringSearch> Make(const SearchPlan& plan,
                                            const std::vector<PatternSearch*>& patterns);

  /// The verdict on `text`, each byte of which is a character, and up to `most` items, by begin, then by
  /// end, no two with the same range. With 0, `visit` is not called.
  Result Run(TextView text, std::size_t most, Visit visit, void* visitContext);

 private:
  /// A leaf, by its number, or a distance between two operands, which stand before it.
  struct Operand {
    bool isLeaf = true;
    std::size_t leaf = 0;
    std::size_t left = 0;
    std::size_t right = 0;
    bool isLeftNegated = false;
    bool isRightNegated = false;
    std::size_t distance = 0;
    /// A bit for each leaf without which it has no places.
    unsigned needs = 0;
    /// Of the cluster.
    std::vector<ByteRange> places;
  };

  /// Who gets the items.
  struct Receiver {
    std::size_t most;
    Visit visit;
    void* context;
    std::size_t count = 0;

    /// False when it wants no more.
    bool Take(const ByteRange& range) {
      ++count;
      if (most == 0) return false;
      Item item;
      item.begin = range.begin;
      item.end = range.end;
      return visit(context, item) && count < most;
    }
  };

  StringSearch() = default;

  bool Read(const SearchPlan& plan, const std::vector<PatternSearch*>& patterns);
  bool ReadAnd(const SearchPlan& plan, const std::vector<PatternSearch*>& patterns);
  bool ReadNear(const SearchPlan& plan);
  bool AddLeaf(const PlannedStream& planned);
  static const LocatorProgram* StringOf(const PlannedStream& planned);

  bool IsSatisfied(TextView text);
  template <typename Take>
  void ForEachMatch(TextView text, Take take);
  Answer RunAnd(TextView text, Receiver& receiver);
  bool HasNeeded();
  Answer RunNear(TextView text, Receiver& receiver);
  bool Decide(Receiver& receiver);
  void Combine(Operand& near);

  bool isNear_ = false;
  std::vector<const LocatorProgram*> leaves_;  // the patterns that bring places
  std::vector<PatternSearch*> excluded_;       // the operands of NOTs, where there are no distances
  std::optional<StringMatches> matches_;
  // Where there are distances.
  std::vector<Operand> operands_;       // the last one is the query
  std::vector<std::size_t> operandOf_;  // by leaf
  std::size_t longestDistance_ = 0;
  unsigned seen_ = 0;  // the leaves that have places in the cluster
};

}  // namespace trovex

#endif  // TROVEX_QUERY_SEARCH_STRING_SEARCH_H
