// Queries whose patterns are strings, or nearly all of them, "Datei & Verzeichnis" or "(Datei|Ordner) &40 [0-9]+ & !Name":
// they are searched for all their strings at once (string_matches.h), beside these for each other pattern, and
// what is found is told as it comes.
//
// Patterns that may lie anywhere are looked for one by one first, each up to its first match, and those of a
// NOT through the whole text; where the verdict is yes, the matches of all are put together that belong to what is
// there.
//
// With distances, matches further apart than the longest of them have nothing to do with each other. So the
// matches of the text fall apart into clusters, and in most of these some pattern is missing. The others are
// decided one after the other, each operator over all of a cluster (near_places.h). A single pattern that is no string
// is looked for on the lines near to strings alone: elsewhere it is near to nothing. Where an AND or a NOT waits for the
// verdict on a distance, the text is gone through for that first.
//
// Where a distance has no end, "Datei &> Verzeichnis", all of the text is one cluster.
//
// A cluster that would become too large is left to the streams (item_stream.h), which need no more memory
// for it; and so is the rest of a text where a pattern gives up.

#ifndef TROVEX_QUERY_SEARCH_STRING_SEARCH_H
#define TROVEX_QUERY_SEARCH_STRING_SEARCH_H

#include "matcher/pattern_search.h"
#include "matcher/string_matches.h"
#include "query/plan/search_plan.h"
#include "query/search/near_places.h"
#include "text/byte_range.h"

#include <trovex/query.h>

#include <array>
#include <cstddef>
#include <cstdint>
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
    kUnknown,  // what was visited is right, but there may be more
  };

  struct Result {
    Answer answer;
    std::size_t visited;  // how many items
  };

  /// The search of a pattern: in the code page, or in the bytes of UTF-8 that `utf8` tells of.
  struct Pattern {
    PatternSearch* search = nullptr;
    const Utf8Pattern* utf8 = nullptr;
  };

  /// Null where the query is none of these, or of too many patterns. `plan` must outlive the search, and so
  /// must `patterns`: the search of each stream that is a pattern, all in the code page, or all in UTF-8.
  static std::unique_ptr<StringSearch> Make(const SearchPlan& plan,
                                            const std::vector<Pattern>& patterns);

  /// The verdict on `text`, and up to `most` items, by begin, then by end, no two with the same range. With 0, `visit`
  /// is not called. `isUtf8`: its characters may be more than a byte.
  Result Run(TextView text, bool isUtf8, std::size_t most, Visit visit, void* visitContext);

 private:
  using Kind = PlannedStream::Kind;

  /// What is known of the text.
  enum class Known : unsigned char { kNot, kNo, kYes };

  static constexpr std::size_t kNoString = SIZE_MAX;
  static constexpr std::size_t kMostLeaves = 32;

  /// A pattern of the query.
  struct Leaf {
    Pattern search;
    std::size_t operand;
    /// Whether its matches are wanted, and not only whether there are any.
    bool isWanted = false;
    std::size_t pattern = kNoString;  // its number in `matches_`
  };

  /// A wanted pattern that is no string.
  struct Other {
    Pattern search;
    std::size_t leaf;
    /// The next match; nowhere when there are no more.
    ByteRange head;
  };

  /// A stream of the plan, with the same number.
  struct Operand {
    Kind kind = Kind::kPattern;
    std::vector<std::size_t> operands;
    std::size_t leaf = 0;  // of a pattern
    bool isLeftNegated = false;
    bool isRightNegated = false;
    AndLink link;
    bool hasDistances = false;  // here or below
    /// Here or below, an AND or a NOT waits for the verdict on a distance.
    bool judgesDistances = false;
    /// A bit for each leaf without which it has no places in a cluster.
    std::uint32_t needs = 0;
    bool hasPlaces = false;         // in the text, of a distance
    bool isThere = true;            // of an AND: whether the verdict is yes
    std::vector<ByteRange> places;  // of the cluster
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

  bool Read(const SearchPlan& plan, const std::vector<Pattern>& patterns);
  bool ReadOperand(const PlannedStream& planned, const Pattern& search);
  bool ReadDistance(const PlannedStream& planned, Operand& operand);
  bool ReadStrings();
  static std::vector<StringMatches::String> StringsOf(const Pattern& search, std::size_t pattern);
  void MarkWanted(std::size_t index, bool isWanted);
  std::uint32_t NeedsOf(const Operand& operand) const;
  void NoteNeeded(std::size_t index);
  void ChooseNearby();

  bool RunAnywhere(const ByteRange& first);
  bool RunNear();
  bool LacksString(TextView text, ByteRange& first) const;
  bool MayBe(std::size_t index);
  bool IsFound(std::size_t leaf);
  bool Judge(std::size_t index);
  void JudgeAnds(bool withDistances);
  void Choose(std::size_t index);
  void FindDistances();
  bool Deliver();
  void Combine(Operand& operand);
  bool IsApart(std::size_t end, std::size_t begin) const;
  template <typename Decide>
  void ForEachCluster(Decide decide);
  template <typename Take>
  void ForEachMatch(Take take);
  template <typename Take>
  bool TakeBefore(const ByteRange& limit, Take& take);
  template <typename Take>
  bool TakeUpTo(const ByteRange& range, std::size_t lastEnd, Take& take);
  bool Advance(Other& other);
  ByteRange NextOf(const Pattern& pattern);
  bool HasMatch(const Pattern& pattern);
  bool PassTo(std::size_t place);

  std::vector<Operand> operands_;  // the last one is the query
  std::vector<Leaf> leaves_;
  std::optional<StringMatches> matches_;
  std::vector<std::size_t> leafOf_;  // by the patterns of these
  std::vector<Other> others_;
  /// The leaves that are strings without which the verdict is no, as they are planned.
  std::vector<std::size_t> needed_;
  bool needsMore_ = false;  // than these
  bool hasOr_ = false;
  std::vector<std::size_t> distances_;
  std::int64_t longestDistance_ = -1;
  std::int64_t longestWords_ = -1;
  bool isEndless_ = false;  // there is a distance that all of a text may be within
  bool isNearby_ = false;   // the only pattern that is no string is wanted near to strings alone
  NearPlaces near_;

  // Of the text.
  MeasuredText text_;
  Receiver receiver_{};
  bool isShort_ = false;
  bool gaveUp_ = false;
  std::size_t reach_ = 0;  // of the longest distance in characters, in bytes
  std::array<Known, kMostLeaves> isFound_{};
  std::uint32_t chosen_ = 0;  // the leaves whose matches are items, where there are no distances
  std::uint32_t seen_ = 0;    // the leaves that have places in the cluster
};

}  // namespace trovex

#endif  // TROVEX_QUERY_SEARCH_STRING_SEARCH_H
