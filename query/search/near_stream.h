// AND with a distance, an order, or both: the places of each operand that have one of the other in
// reach. Where one operand is a NOT: the places of the other that have none.
//
// Both operands come by begin, so one walk over them decides each place when its turn comes. Of the
// places of the other operand that begin before it, only the one that ends last counts, for no other
// is as near; of those that begin after, only the first. So nothing is compared in pairs, and nothing
// waits but the next place of each operand.
//
// Where the order counts, the left place has to end before the right one begins. For a left place the
// first right one at or after its end counts: the right operand is read that far ahead. For a right
// place the left one that ends last, but not after its begin, counts: left places that have begun wait
// for their ends.

#ifndef TROVEX_QUERY_SEARCH_NEAR_STREAM_H
#define TROVEX_QUERY_SEARCH_NEAR_STREAM_H

#include "query/query_tree.h"
#include "query/search/item_stream.h"

#include <cstddef>
#include <vector>

namespace trovex {

/// A stream of which many places can be seen ahead.
class Lookahead {
 public:
  explicit Lookahead(ItemStream& stream) : stream_(stream) {}

  void Begin();

  /// The next place, or null.
  const FoundPlace* Head();
  FoundPlace Take();
  /// The first place ahead that begins at or after `byte`, or null.
  const FoundPlace* FirstFrom(std::size_t byte);

 private:
  ItemStream& stream_;
  /// Places that were read ahead, from `first_` on.
  std::vector<FoundPlace> places_;
  std::size_t first_ = 0;
};

class NearStream : public ItemStream {
 public:
  struct Operand {
    ItemStream* stream;
    /// The operand is the NOT of this stream.
    bool isNegated;
  };

  /// At most one operand is negated; `link` is near.
  NearStream(SearchContext& context, Operand left, Operand right, const AndLink& link);

  bool MayBeSatisfied() override;

 private:
  struct Side {
    explicit Side(const Operand& operand)
        : places(*operand.stream), stream(operand.stream), isNegated(operand.isNegated) {}

    Lookahead places;
    ItemStream* stream;
    bool isNegated;
    /// The places that begin where the walk stands.
    std::vector<FoundPlace> here;
    /// Of the places that the walk has passed the one that ends last; of the left operand, where the
    /// order counts, of those that have ended.
    FoundPlace last;
    bool hasLast = false;
  };

  void OnBegin() override;
  bool Next(FoundPlace& place) override;

  bool Walk();
  bool IsOver();
  void TakeHere(Side& side, std::size_t at);
  void EndLeftPlaces(std::size_t at);
  bool HasPartner(const FoundPlace& place, bool isLeft);
  bool IsInReach(const FoundPlace& before, const FoundPlace& after);
  void Keep(Side& side, bool isLeft);
  void GoPast(Side& side);

  AndLink link_;
  Side left_;
  Side right_;
  /// With an order: left places that have begun and not ended, a heap with the first end at its top.
  std::vector<FoundPlace> running_;
  /// Places that stay, not yet taken: all begin at the same byte.
  std::vector<FoundPlace> kept_;
  std::size_t nextKept_ = 0;
};

}  // namespace trovex

#endif  // TROVEX_QUERY_SEARCH_NEAR_STREAM_H
