// The streams at the bottom: the matches of a pattern, and the words that sound like one.
//
// A leaf goes through the text block by block. Where every match holds one of a few strings of plain
// ASCII, the bytes of the text are scanned for these first: a block without them is never opened. A
// pattern of nothing but ASCII is looked for in the bytes as they are (utf8_pattern.h), unless somebody
// has to know the characters before it. Any other pattern is looked for in the line of each place that the
// scan has found, so that only these are decoded; where such lines stand close together, in all lines of
// a stretch, which grows.

#ifndef TROVEX_QUERY_SEARCH_LEAF_STREAM_H
#define TROVEX_QUERY_SEARCH_LEAF_STREAM_H

#include "matcher/pattern_search.h"
#include "matcher/scan/place_scan.h"
#include "query/plan/search_plan.h"
#include "query/search/item_stream.h"
#include "query/search/sound_search.h"
#include "text/byte_range.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace trovex {

class LeafStream : public ItemStream {
 public:
  /// Every match holds a place that `scan` finds; null when nothing is known. Where it finds the begins of
  /// `spelled`, these need no decoding; null when that is not so. `isPlain` says that the bytes of
  /// UTF-8 may be searched.
  LeafStream(SearchContext& context, const PlaceScan* scan, const SpelledStrings* spelled,
             bool isPlain)
      : ItemStream(context), scan_(scan), spelled_(spelled), isPlain_(isPlain) {}

  bool MayBeSatisfied() override;

 private:
  /// Begins with a text, in the code page, that begins and ends with a line.
  virtual void BeginPiece(TextView text) = 0;
  virtual SearchOutcome NextMatch(ByteRange& match) = 0;
  /// Where the search of the piece gave up.
  virtual std::size_t GaveUpAt() const = 0;
  /// What the search of the piece has spent so far, where reading it once was not enough.
  virtual std::int64_t Work() const { return 0; }
  /// Adds the tags of the pieces of `match`, which NextMatch has just found, to `place`. False when it
  /// gave up.
  virtual bool AddTags(const ByteRange& /*match*/, FoundPlace& /*place*/) { return true; }

  void OnBegin() override;
  bool Next(FoundPlace& place) override;
  bool OpenNext();
  bool OpensLines() const;
  bool FindNextCandidate(std::size_t from);
  std::size_t FindAtEnd(std::size_t from) const;
  bool FindSpelled(FoundPlace& place);
  bool OpenLinesOfCandidate();
  void BeginOpened(TextView text, std::size_t begin);
  bool FindCandidate(std::size_t from);
  TextView OpenBlockOf(const ByteRange& range);
  void PayForWork();
  void CloseBlock();
  void Describe(const ByteRange& match, FoundPlace& place);

 protected:
  /// The byte of the text at `index` of the piece.
  std::size_t ByteOf(std::size_t index) {
    return block_ == nullptr ? pieceByte_ + index : block_->ByteOf(pieceBegin_ + index);
  }

 private:
  const PlaceScan* scan_;
  const SpelledStrings* spelled_;
  bool isPlain_;
  /// Whether a piece is being searched: of a block that was opened, from `pieceBegin_` on; or, without
  /// a block, of the bytes of the text, from `pieceByte_` on.
  bool hasPiece_ = false;
  OpenBlock* block_ = nullptr;
  std::size_t pieceBegin_ = 0;
  std::size_t pieceByte_ = 0;
  std::size_t nextBlock_ = 0;
  /// Where lines are opened instead of blocks: from where on nothing has been searched, and from where on no
  /// candidate has been refused; the lines that are open, and how long a stretch of them is at least.
  std::size_t nextLine_ = 0;
  std::size_t notRefused_ = 0;
  std::unique_ptr<OpenBlock> lines_;
  std::size_t stretch_ = 0;
  /// The first byte from `nextBlock_`, or `nextLine_`, on that `scan_` has found; kNowhere when there is none.
  std::size_t candidate_ = 0;
  bool hasCandidate_ = false;
  /// Where words of the block have been counted up to, and how many begin before.
  std::size_t countedTo_ = 0;
  std::size_t wordsBegun_ = 0;
  /// What has been paid of the work on the piece.
  std::int64_t paid_ = 0;
};

class PatternStream : public LeafStream {
 public:
  /// `planned`, which is a pattern, must outlive the stream.
  PatternStream(SearchContext& context, const PlannedStream& planned);

  /// The search of the pattern alone, for a query that is nothing else. It must not be used while the
  /// stream is.
  PatternSearch& Search() { return search_; }

 private:
  void BeginPiece(TextView text) override {
    search_.Begin(text);
    skipsLines_ = Context().skipsLines;
  }
  SearchOutcome NextMatch(ByteRange& match) override {
    const SearchOutcome outcome = search_.Next(match);
    if (skipsLines_ && outcome == SearchOutcome::kFound) search_.SkipLine(match);
    return outcome;
  }
  std::size_t GaveUpAt() const override { return search_.GaveUpAt(); }
  std::int64_t Work() const override { return search_.Work(); }
  bool AddTags(const ByteRange& match, FoundPlace& place) override;

  PatternSearch search_;
  bool skipsLines_ = false;
  bool bringsTags_;
  const std::vector<int>& firstTags_;
  std::vector<ByteRange> groups_;
};

class SoundStream : public LeafStream {
 public:
  SoundStream(SearchContext& context, const SoundKey& key)
      : LeafStream(context, nullptr, nullptr, false), search_(key) {}

 private:
  void BeginPiece(TextView text) override { search_.Begin(text); }
  SearchOutcome NextMatch(ByteRange& match) override {
    return search_.Next(match) ? SearchOutcome::kFound : SearchOutcome::kNotFound;
  }
  std::size_t GaveUpAt() const override { return 0; }

  SoundSearch search_;
};

}  // namespace trovex

#endif  // TROVEX_QUERY_SEARCH_LEAF_STREAM_H
