// How texts are searched for a query by lines, by paragraphs or as a whole: decided once, from the
// query and the options.
//
// A library's search of one line after the other would begin anew for each, and most lines hold
// nothing. No match crosses a line end, so a block of many lines is searched at once wherever that
// gives the same:
//
//   items       the query is a pattern, a word by its sound, or an OR of these: what a block holds are
//               the matches of its lines, whatever the scope is
//   inverse     it is the NOT of that: the units without a match are found
//   candidates  a part of it must be found in each unit that satisfies it (the probe): the units in
//               which the probe is found are searched one by one
//   units       nothing of that: each unit is searched

#ifndef TROVEX_HOSTS_CLI_SEARCH_PLAN_H
#define TROVEX_HOSTS_CLI_SEARCH_PLAN_H

#include "hosts/cli/command/options.h"
#include "hosts/cli/search/line_scan.h"

#include <trovex/query.h>
#include <optional>

namespace trovex::cli {

struct SearchPlan {
  enum class Road { kItems, kInverse, kCandidates, kUnits };

  SearchPlan(Query compiled, const Options& options, int tag);

  Query query;
  /// Finds, among other lines, one of every unit that satisfies the query. For kInverse: what must
  /// not be found in it.
  std::optional<Query> probe;
  Road road = Road::kUnits;
  Scope scope;
  /// The matches of this bracket alone; 0: of the whole expression.
  int tag = 0;
  /// Only matches that are a whole line.
  bool wholeLines = false;
  trovex::Encoding encoding = trovex::Encoding::kUtf8;
  /// Whether it matters to the query how a line ends: in a line feed alone, or with a carriage return before it.
  bool seesLineEnds = true;

  /// Where the query, or for kInverse what must not be found, is a plain string: finds it in the lines of a text.
  std::optional<LineScan> string;

  /// Whether a text can be searched in pieces of whole units, so that it need not be in memory.
  bool InPieces() const { return scope != Scope::kFile || road == Road::kItems; }
};

/// Whether `query` is a pattern, a sound, or an OR of these.
bool IsPlain(const Query& query);

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_SEARCH_PLAN_H
