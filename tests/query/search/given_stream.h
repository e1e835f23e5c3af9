// A stream of places that a test has made up, and texts to measure distances in.

#ifndef TROVEX_TESTS_QUERY_SEARCH_GIVEN_STREAM_H
#define TROVEX_TESTS_QUERY_SEARCH_GIVEN_STREAM_H

#include "query/search/item_stream.h"
#include "query/search/search_context.h"
#include "text/byte_range.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace trovex::testing {

inline TextView ViewOf(std::string_view text) {
  return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

/// Gives places in bytes, in the right order, that begin and end with characters and lie in lines.
class GivenStream : public ItemStream {
 public:
  GivenStream(SearchContext& context, std::vector<ByteRange> places)
      : ItemStream(context), places_(std::move(places)) {}

  /// How many places have been asked for, the end among them.
  std::size_t Asked() const { return asked_; }

 private:
  void OnBegin() override { asked_ = 0; }

  bool Next(FoundPlace& place) override {
    if (asked_ >= places_.size()) {
      asked_ = places_.size() + 1;
      return false;
    }
    const ByteRange range = places_[asked_++];
    TextBlocks& blocks = Context().blocks;
    const std::size_t size = blocks.Whole().size();
    place.block = size == 0 ? 0 : blocks.Holding(std::min(range.begin, size - 1));
    blocks.Has(place.block);
    OpenBlock& block = blocks.Open(place.block);
    const TextView text = block.Text();
    place.begin = range.begin;
    place.end = range.end;
    place.charBegin = CharacterAt(block, range.begin);
    place.charEnd = CharacterAt(block, range.end);
    place.wordsEnded =
        WordsBegunIn(text, 0, place.charBegin) - (IsInsideWord(text, place.charBegin) ? 1 : 0);
    place.wordsBegun = WordsBegunIn(text, 0, place.charEnd);
    blocks.Close(block);
    return true;
  }

  static std::size_t CharacterAt(OpenBlock& block, std::size_t byte) {
    std::size_t index = 0;
    while (block.ByteOf(index) < byte)
      ++index;
    return index;
  }

  std::vector<ByteRange> places_;
  std::size_t asked_ = 0;
};

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_QUERY_SEARCH_GIVEN_STREAM_H
