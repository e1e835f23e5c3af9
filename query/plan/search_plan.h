// A compiled query: the list of streams that a search makes of it.
//
// The tree that the parser has read becomes a list in which operands stand before their operators. A
// chain of ANDs with distances is written out as the pairs that it stands for, from the right. Patterns
// are compiled, and where a scan for required strings pays, each has one. Nothing in it changes after
// it was made: any number of searches read it at the same time.
//
// Patterns and sounds that are equal are compiled once. Where such leaves are operands of one AND or OR,
// they have the same places, and the same verdict: they are one stream, which brings the tags of all. So
// it is with the two operands of a distance, for a place is in reach of itself. Where the order counts,
// it need not be.

#ifndef TROVEX_QUERY_PLAN_SEARCH_PLAN_H
#define TROVEX_QUERY_PLAN_SEARCH_PLAN_H

#include "matcher/pattern_program.h"
#include "matcher/scan/place_scan.h"
#include "phonetic/sound_key.h"
#include "query/plan/required_strings.h"
#include "query/plan/spelled_strings.h"
#include "query/plan/utf8_pattern.h"
#include "query/query_options.h"
#include "query/query_parser.h"
#include "query/query_tree.h"

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
  /// The tags of all places.
  std::vector<int> tags;
  /// Whether somebody may ask for the places and not for the verdict alone.
  bool bringsTags = true;

  std::shared_ptr<const PatternProgram> program;
  /// The tags of the pattern's group 1, one for each pattern that the stream stands for.
  std::vector<int> firstTags;
  std::optional<PlaceScan> scan;
  /// For a pattern that is a few strings: they tell which of the places of `scan` are matches.
  std::optional<SpelledStrings> spelled;
  /// The pattern in the bytes of UTF-8, if it can be looked for there. Where `isPlain`, its program is `program`.
  std::optional<Utf8Pattern> utf8;
  bool isPlain = false;
  SoundKey soundKey;
};

struct SearchPlan {
  /// The last one is the whole query.
  std::vector<PlannedStream> streams;
  unsigned char substitute = 0x81;
  bool hasTags = false;
  bool measuresDistances = false;
  /// Whether words are counted; and whether all characters are, for distances that are too long to be
  /// counted one by one.
  bool countsWords = false;
  bool countsCharacters = false;
  /// Whether no distance is so long that its characters are counted beforehand.
  bool countsFew = true;
  StringClauses required;
  bool foldsCase = false;
};

/// Compiles `query`, whose patterns are left without their trees. Throws std::bad_alloc.
std::variant<SearchPlan, QueryFault> MakeSearchPlan(ParsedQuery& query,
                                                    const QueryOptions& options);

}  // namespace trovex

#endif  // TROVEX_QUERY_PLAN_SEARCH_PLAN_H
