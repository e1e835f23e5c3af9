// The matches of several patterns that are strings, in the order of a text, found in one pass over it.
//
// A scan looks for up to eight strings at once (string_group.h). Of more there are two groups, and the text is
// taken in stretches that stay in the processor's cache: each group passes over a stretch, and what both find
// there is put in order.

#ifndef TROVEX_MATCHER_STRING_MATCHES_H
#define TROVEX_MATCHER_STRING_MATCHES_H

#include "matcher/automata/match_locator.h"
#include "matcher/scan/place_cursor.h"
#include "matcher/scan/string_group.h"
#include "matcher/scan/string_scan.h"
#include "matcher/tuning.h"
#include "text/byte_range.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace trovex {

class StringMatches {
 public:
  using Byte = unsigned char;
  static constexpr std::size_t kMostStrings = 2 * StringGroup::kMostStrings;

  /// How much of a text a search for the next match sees of what is before it.
  enum class Sight {
    kWholeText,
    kRest,  // the text seems to begin where the match before it ends
  };

  /// Whether `program` is a string that can be searched for with others.
  static bool CanTake(const LocatorProgram& program) {
    return program.IsString() && program.StringSets().size() <= kLongestSearched;
  }

  /// Takes strings, which are known by their places in the list and must outlive the search. Matches are wanted of the
  /// first `wanted` of them, which is 1 to `kMostStrings`.
  StringMatches(const std::vector<const LocatorProgram*>& strings, std::size_t wanted, Sight sight);

  /// What follows is about `text`, which stays as it is meanwhile.
  void Begin(TextView text);

  /// Looks for the first match of string `number` alone.
  bool IsFound(std::size_t number);

  /// Calls `take(number, start, stop)` for the matches of each string that are wanted, which do not overlap each other: by
  /// start, then by end. It returns false when no more are wanted. Once after `Begin`.
  template <typename Take>
  void ForEach(Take take) {
    const Byte* const from = Start();
    if (groups_.size() > 1) return ForEachOfGroups(from, take);
    const Group& group = groups_.front();
    group.strings->ForEach(from, end_, cursor_, [&](std::size_t number, const Byte* place) {
      return Offer(group.first + number, place, take);
    });
  }

 private:
  struct String {
    const LocatorProgram* program;
    StringScan scan;
    std::size_t length;
    /// Where the next match may start.
    const Byte* from = nullptr;
    /// Before this there is none.
    const Byte* first = nullptr;
  };

  struct Group {
    std::unique_ptr<const StringGroup> strings;
    std::size_t first;  // the number of its first string
  };

  struct Place {
    const Byte* start;
    std::size_t number;
  };

  const Byte* Start() const;

  bool IsMatch(const String& string, const Byte* place) const {
    const Byte* const begin = sight_ == Sight::kRest ? string.from : begin_;
    return string.program->IsStringBetween(place, place + string.length, begin, end_);
  }

  template <typename Take>
  bool Offer(std::size_t number, const Byte* place, Take& take) {
    String& string = strings_[number];
    if (place < string.from || !IsMatch(string, place)) return true;
    string.from = place + string.length;
    return take(number, place, string.from);
  }

  template <typename Take>
  void ForEachOfGroups(const Byte* from, Take& take) {
    for (const Byte* stretch = from; stretch < end_;) {
      const Byte* const next = end_ - stretch > kStringStretch ? stretch + kStringStretch : end_;
      FindPlaces(stretch, next);
      for (const Place& place : places_) {
        if (!Offer(place.number, place.start, take)) return;
      }
      stretch = next;
    }
  }

  void FindPlaces(const Byte* from, const Byte* to);

  const Sight sight_;
  std::vector<String> strings_;
  const std::size_t wanted_;
  std::vector<Group> groups_;
  std::ptrdiff_t longest_ = 0;
  PlaceCursor cursor_;
  const Byte* begin_ = nullptr;
  const Byte* end_ = nullptr;
  std::vector<Place> places_;  // of a stretch
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_STRING_MATCHES_H
