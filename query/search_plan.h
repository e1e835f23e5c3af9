// A compiled query: the list of streams that a search makes of it.
//
// The tree that the parser has read becomes a list in which operands stand before their operators. A
// chain of ANDs with distances is written out as the pairs that it stands for, from the right. Patterns
// are compiled, and where a scan for required strings pays, each has one. Nothing in it changes after
// it was made: any number of searches read it at the same time.

#ifndef TROVEX_QUERY_SEARCH_PLAN_H
#define TROVEX_QUERY_SEARCH_PLAN_H

#include "matcher/pattern_program.h"
#include "matcher/scan/place_scan.h"
#include "phonetic/sound_key.h"
#include "query/query_options.h"
#include "query/query_parser.h"
#include "query/query_tree.h"
#include "query/required_strings.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <variant>
#include <vector>

namespace trovex {

struct PlannedStream {
  enum class Kind : unsigned char { kPattern, kSound, kNot, kAnd, kOr, kNear, kStored };

  Kind kind = Kind::kPattern;
  /// The streams that this one reads, by their places in the plan, all before its own.
  std::vector<std::size_t> operands;
  /// Of the operands of kNear: whether each stands for its NOT.
  bool isLeftNegated = false;
  bool isRightNegated = false;
  AndLink link;
  /// The tags of all places, or null.
  const std::vector<int>* tags = nullptr;
  /// Whether somebody may ask for the places and not for the verdict alone.
  bool bringsTags = true;

  std::shared_ptr<const PatternProgram> program;
  int firstTag = 0;
  std::optional<PlaceScan> scan;
  SoundKey soundKey;
};

struct SearchPlan {
  /// The last one is the whole query.
  std::vector<PlannedStream> streams;
  unsigned char substitute = 0x81;
  bool measuresDistances = false;
  bool countsWords = false;
  StringClauses required;
  bool foldsCase = false;
};

/// Compiles `query`, whose patterns are left without their trees; the plan refers to its tags, so the
/// query must outlive it. Throws std::bad_alloc.
std::variant<SearchPlan, QueryFault> MakeSearchPlan(ParsedQuery& query,
                                                    const QueryOptions& options);

}  // namespace trovex

#endif  // TROVEX_QUERY_SEARCH_PLAN_H
