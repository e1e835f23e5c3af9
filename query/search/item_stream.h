// Streams of places: what every operand of a query is while a text is searched.
//
// A stream gives its places one after another, by begin, then by end, and no range twice. Nothing is
// looked for before it is asked for: a stream is one place ahead of what was taken from it, and so
// are the streams below it. A search that ends early has not searched what it did not need.
//
// A stream also knows the verdict on its operand, which may be known before all places are: one place
// is enough for a pattern. The verdict decides whether there are places at all: those of an operand
// whose verdict is no do not exist.

#ifndef TROVEX_QUERY_SEARCH_ITEM_STREAM_H
#define TROVEX_QUERY_SEARCH_ITEM_STREAM_H

#include "query/search/found_place.h"
#include "query/search/search_context.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace trovex {

class ItemStream {
 public:
  explicit ItemStream(SearchContext& context) : context_(context) {}
  virtual ~ItemStream() = default;
  ItemStream(const ItemStream&) = delete;
  ItemStream& operator=(const ItemStream&) = delete;

  /// Every place of this stream gets these tags with its own range, where tags are wanted.
  void SetTags(const std::vector<int>* tags) { tags_ = tags; }

  /// Begins with the text that the context has begun with. The streams below begin for themselves.
  void Begin();

  /// The verdict. It is found out once, before or while places are taken.
  bool IsSatisfied();

  /// A quick look: false only when the verdict is no.
  virtual bool MayBeSatisfied() { return true; }

  /// The next place, which stays where it is; null when there is none. Valid until it is taken.
  const FoundPlace* Head();

  /// Takes the place that Head has shown.
  FoundPlace Take();

  /// Takes it and drops it.
  void Skip();

 protected:
  SearchContext& Context() { return context_; }
  const SearchContext& Context() const { return context_; }

 private:
  enum class State : unsigned char { kUnknown, kNo, kYes };

  virtual void OnBegin() = 0;
  /// Finds the next place. False: there is none, now and whenever it is asked again.
  virtual bool Next(FoundPlace& place) = 0;
  /// Works the verdict out; by default that there is a place.
  virtual bool Judge() { return Head() != nullptr; }
  bool FindHead();

  SearchContext& context_;
  const std::vector<int>* tags_ = nullptr;
  FoundPlace head_;
  State headState_ = State::kUnknown;  // of `head_`: not looked for, none, there
  State verdict_ = State::kUnknown;
};

/// NOT: the opposite verdict, and no places.
class NotStream : public ItemStream {
 public:
  NotStream(SearchContext& context, ItemStream& operand) : ItemStream(context), operand_(operand) {}

 private:
  void OnBegin() override {}
  bool Next(FoundPlace&) override { return false; }
  bool Judge() override { return !operand_.IsSatisfied(); }

  ItemStream& operand_;
};

/// AND without a distance, and OR: the places of all operands, if the verdict is yes.
class MergeStream : public ItemStream {
 public:
  enum class Kind { kAnd, kOr };

  /// At least one operand; the cheapest to judge preferably first.
  MergeStream(SearchContext& context, Kind kind, std::vector<ItemStream*> operands);

  bool MayBeSatisfied() override;

 private:
  /// A stream and the range of its head.
  struct Source {
    std::size_t begin;
    std::size_t end;
    ItemStream* stream;

    bool IsBefore(const Source& other) const {
      return begin != other.begin ? begin < other.begin : end < other.end;
    }
    bool HasRangeOf(const FoundPlace& place) const {
      return begin == place.begin && end == place.end;
    }
  };

  void OnBegin() override;
  bool Next(FoundPlace& place) override;
  bool Judge() override;
  void Open();
  void SiftDown(std::size_t index);
  FoundPlace TakeFirst();

  Kind kind_;
  std::vector<ItemStream*> operands_;
  bool isOpen_ = false;
  /// A heap of the operands that have a place, the first place at its top.
  std::vector<Source> sources_;
  std::int64_t workOfTake_ = 0;
};

/// Another stream, read to its end before anybody asks. A query whose operators stand deep inside one
/// another is cut by some of these, so that asking a stream never goes through too many others.
class StoredStream : public ItemStream {
 public:
  StoredStream(SearchContext& context, ItemStream& source) : ItemStream(context), source_(source) {}

  /// Reads everything, once all streams below have begun.
  void Fill();

 private:
  void OnBegin() override;
  bool Next(FoundPlace& place) override;
  bool Judge() override { return isSatisfied_; }

  ItemStream& source_;
  bool isSatisfied_ = false;
  std::vector<FoundPlace> places_;
  std::size_t next_ = 0;
};

}  // namespace trovex

#endif  // TROVEX_QUERY_SEARCH_ITEM_STREAM_H
