// The places of two operands of a distance, of a part of a text where all of them are known: which of them stay.

#ifndef TROVEX_QUERY_SEARCH_NEAR_PLACES_H
#define TROVEX_QUERY_SEARCH_NEAR_PLACES_H

#include "query/query_tree.h"
#include "text/byte_range.h"

#include <cstddef>
#include <vector>

namespace trovex {

/// A text, and whether its characters may be more than a byte: then it is UTF-8.
struct MeasuredText {
  TextView bytes;
  bool isUtf8 = false;
};

/// Whether what begins at `begin` lies within the distance of `link` from what ends at `end`. Characters begin at both.
bool IsWithin(const AndLink& link, const MeasuredText& text, std::size_t end, std::size_t begin);

/// One operand of a distance.
struct NearOperand {
  /// By begin, then by end, no two with the same range.
  const std::vector<ByteRange>& places;
  /// It stands for its NOT: its places are not kept, and keep those of the other one from being kept.
  bool isNegated;
};

class NearPlaces {
 public:
  /// Writes to `kept` the places that have one of the other operand in reach, or none where that is negated: by begin,
  /// then by end, no two with the same range. Not both are negated.
  void Find(const AndLink& link, const MeasuredText& text, const NearOperand& left,
            const NearOperand& right, std::vector<ByteRange>& kept);

  /// Adds `more` to `places`. Both are by begin, then by end, with no two of the same range, and so is what comes of it.
  void Unite(std::vector<ByteRange>& places, const std::vector<ByteRange>& more);

 private:
  template <typename Within>
  static void FindOnEitherSide(const NearOperand& left, const NearOperand& right, Within within,
                               std::vector<ByteRange>& kept);
  template <typename Within>
  void FindInOrder(const NearOperand& left, const NearOperand& right, Within within,
                   std::vector<ByteRange>& kept);

  void MergeFrom(std::size_t second, std::vector<ByteRange>& places);

  std::vector<std::size_t> ends_;  // of the left places, in order
  std::vector<ByteRange> merged_;
};

}  // namespace trovex

#endif  // TROVEX_QUERY_SEARCH_NEAR_PLACES_H
