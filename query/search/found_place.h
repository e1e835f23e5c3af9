// A place that a query, or an operand of it, finds, as it travels through the operators.
//
// A host is told bytes of its text. Distances are measured in characters or words, which are counted
// within the block of the text that the place lies in (text_blocks.h); how many stand before the block
// is worked out for the few places that need it.

#ifndef TROVEX_QUERY_SEARCH_FOUND_PLACE_H
#define TROVEX_QUERY_SEARCH_FOUND_PLACE_H

#include <trovex/query.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace trovex {

/// A list of tags, by its number in the TagLists of the search.
using TagListNumber = std::uint32_t;
inline constexpr TagListNumber kNoTags = UINT32_MAX;

struct FoundPlace {
  /// Bytes of the text that was passed in, the end exclusive.
  std::size_t begin = 0;
  std::size_t end = 0;
  /// The block that holds the whole place, and the characters from its start to both ends.
  std::size_t block = 0;
  std::size_t charBegin = 0;
  std::size_t charEnd = 0;
  /// Words of the block that end at or before the place's start, and that begin before its end; 0
  /// unless the query measures in words.
  std::size_t wordsEnded = 0;
  std::size_t wordsBegun = 0;
  /// Belongs to whoever has the place; `kNoTags` where no tags are wanted or there are none.
  TagListNumber tags = kNoTags;

  bool IsBefore(const FoundPlace& other) const {
    return begin != other.begin ? begin < other.begin : end < other.end;
  }
  bool HasRangeOf(const FoundPlace& other) const {
    return begin == other.begin && end == other.end;
  }
};

/// The tags of the places that are on their way. Lists are used again and again, so that a search
/// allocates only what no search before it needed.
class TagLists {
 public:
  /// Makes every list free.
  void Reset();

  /// Adds a tag to `place`, which gets a list if it has none.
  void Add(FoundPlace& place, const TagRange& tag);

  /// Gives `to`, which has the same range, the tags of `from`, which loses them.
  void Unite(FoundPlace& to, FoundPlace& from);

  /// Frees the list of a place that is given up.
  void Drop(FoundPlace& place);

  /// The tags of `place`, which has some, in no order. Valid until the next list is made.
  std::vector<TagRange>& Of(const FoundPlace& place) { return lists_[place.tags]; }

 private:
  std::vector<std::vector<TagRange>> lists_;
  std::vector<TagListNumber> free_;
};

}  // namespace trovex

#endif  // TROVEX_QUERY_SEARCH_FOUND_PLACE_H
