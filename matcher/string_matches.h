// The matches of several patterns that are strings, or either of a few strings, in the order of a text, found in one
// pass over it.
//
// A scan looks for up to eight strings at once (string_group.h). Of more there are two groups, and the text is
// taken in stretches that stay in the processor's cache: each group passes over a stretch, and what both find
// there is put in order.

#ifndef TROVEX_MATCHER_STRING_MATCHES_H
#define TROVEX_MATCHER_STRING_MATCHES_H

#include "matcher/automata/match_locator.h"
#include "matcher/pattern/pattern_syntax.h"
#include "matcher/scan/place_cursor.h"
#include "matcher/scan/string_group.h"
#include "matcher/scan/string_scan.h"
#include "matcher/tuning.h"
#include "text/byte_range.h"
#include "text/utf8_edges.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <optional>
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

  /// The strings that a pattern of nothing but a few of them matches, if no two can stand at one place and none is too
  /// long; else none.
  static std::vector<StringGroup::String> AlternativesOf(const SyntaxTree& tree);

  /// A string that a pattern is, or that it may be: the patterns are numbered from 0, and the strings of one stand side
  /// by side in a list.
  struct String {
    StringGroup::String sets;
    std::size_t pattern;
    /// Has a say in what stands beside a match, and must outlive the search; null: that does not count.
    const LocatorProgram* program;
    /// Set in texts of UTF-8.
    std::optional<Utf8Edges> edges = {};
  };
  /// The same of a program that is a string.
  static String StringOf(const LocatorProgram& program, std::size_t pattern,
                         const std::optional<Utf8Edges>& edges = {}) {
    return {program.StringSets(), pattern, &program, edges};
  }

  /// Takes strings, at least one. Matches are wanted of the patterns of the first `wanted` of them, which is 1 to
  /// `kMostStrings`.
  StringMatches(const std::vector<String>& strings, std::size_t wanted, Sight sight);

  /// What follows is about `text`, which stays as it is meanwhile.
  void Begin(TextView text);

  /// Whether `pattern` has a match, which is looked for alone.
  bool IsFound(std::size_t pattern);

  /// The first match of `pattern` in `text`, which nothing has begun with; nowhere if there is none. For short texts. Its
  /// matches are those of the whole text (Sight).
  ByteRange FirstIn(TextView text, std::size_t pattern) const {
    ByteRange first;
    const Byte* const begin = text.data();
    for (std::size_t number = patterns_[pattern]; number < patterns_[pattern + 1]; ++number) {
      const Searched& string = strings_[number];
      const Byte* const place = First(string, begin, begin + text.size());
      if (place == nullptr) continue;
      const auto at = static_cast<std::size_t>(place - begin);
      if (at < first.begin) first = {at, at + string.length};
    }
    return first;
  }

  /// Calls `take(pattern, start, stop)` for the matches of each pattern that are wanted, which do not overlap each other: by
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
  struct Searched {
    const LocatorProgram* program;
    StringScan scan;
    std::size_t length;
    std::size_t pattern;
    std::optional<Utf8Edges> edges;
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
  /// The first match of `string` in a text; null where there is none.
  static const Byte* First(const Searched& string, const Byte* begin, const Byte* end) {
    const Byte* place = string.scan.Find(begin, end);
    while (place != nullptr && !IsMatch(string, place, begin, end))
      place = string.scan.Find(place + 1, end);
    return place;
  }

  /// Whether `string`, which stands at `place`, is a match there as far as its neighbours count.
  static bool IsMatch(const Searched& string, const Byte* place, const Byte* begin,
                      const Byte* end) {
    const Byte* const stop = place + string.length;
    if (string.program != nullptr && !string.program->IsStringBetween(place, stop, begin, end))
      return false;
    return !string.edges.has_value() ||
           string.edges->Judge(place, stop, begin, end) == Utf8Edges::Answer::kMatch;
  }

  bool IsMatch(const Searched& string, const Byte* place) const {
    return IsMatch(string, place, sight_ == Sight::kRest ? from_[string.pattern] : begin_, end_);
  }

  template <typename Take>
  bool Offer(std::size_t number, const Byte* place, Take& take) {
    const Searched& string = strings_[number];
    const Byte*& from = from_[string.pattern];
    if (place < from || !IsMatch(string, place)) return true;
    from = place + string.length;
    return take(string.pattern, place, from);
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
  std::vector<Searched> strings_;
  std::vector<std::size_t> patterns_;  // by pattern: its first string, and at last their number
  std::vector<const Byte*> from_;      // by pattern: where its next match may start
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
