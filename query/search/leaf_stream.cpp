#include "query/search/leaf_stream.h"

#include "query/plain_pattern.h"
#include "query/tuning.h"

#include <algorithm>
#include <cstring>

namespace trovex {

namespace {

/// Where the line of `text` begins that holds the place `at`.
std::size_t LineStart(TextView text, std::size_t at) {
  const void* const feed = memrchr(text.data(), '\n', at);
  if (feed == nullptr) return 0;
  return static_cast<std::size_t>(static_cast<const unsigned char*>(feed) - text.data()) + 1;
}

}  // namespace

void LeafStream::OnBegin() {
  hasPiece_ = false;
  block_ = nullptr;
  nextBlock_ = 0;
  hasCandidate_ = false;
}

bool LeafStream::MayBeSatisfied() {
  if (scan_ == nullptr || !Context().scansFirst || nextBlock_ != 0) return true;
  if (!hasCandidate_ && !FindCandidate(0)) return true;
  return candidate_ != kNowhere;
}

/// Scans from byte `from` on. False when the search was interrupted.
bool LeafStream::FindCandidate(std::size_t from) {
  const TextView text = Context().blocks.Whole();
  const auto reach = static_cast<std::size_t>(scan_->Reach());
  hasCandidate_ = false;
  candidate_ = kNowhere;
  while (candidate_ == kNowhere && text.size() - from > reach) {
    if (!Context().MayGoOn(from)) return false;
    const std::size_t end = from + std::min(text.size() - from, kScanStep + reach);
    const unsigned char* const place = scan_->Find(text.data() + from, text.data() + end);
    if (place != nullptr) candidate_ = static_cast<std::size_t>(place - text.data());
    const std::size_t scanned = (place != nullptr ? candidate_ : end) - from;
    Context().Spend(static_cast<std::int64_t>(scanned) / kScannedForAUnit, from);
    from = end - reach;
  }
  hasCandidate_ = true;
  return true;
}

bool LeafStream::OpenNext() {
  TextBlocks& blocks = Context().blocks;
  if (!blocks.Has(nextBlock_)) return false;
  const bool scans = scan_ != nullptr && Context().scansFirst;
  if (scans) {
    const std::size_t from = blocks.RangeOf(nextBlock_).begin;
    const bool isKnown = hasCandidate_ && candidate_ >= from;
    if ((!isKnown && !FindCandidate(from)) || candidate_ == kNowhere) return false;
    nextBlock_ = blocks.Holding(candidate_);
  }
  const ByteRange range = blocks.RangeOf(nextBlock_);
  if (!Context().MayGoOn(range.begin)) return false;
  const TextView text = OpenBlockOf(range);
  const bool areBytes = block_ == nullptr || block_->IsPlain();
  pieceBegin_ = scans && areBytes ? LineStart(text, candidate_ - range.begin) : 0;
  pieceByte_ = range.begin + pieceBegin_;
  hasPiece_ = true;
  countedTo_ = 0;
  wordsBegun_ = 0;
  paid_ = 0;
  ++nextBlock_;
  Context().Spend(kWorkOfByte * static_cast<std::int64_t>(text.size() - pieceBegin_), range.begin);
  BeginPiece(text.subspan(pieceBegin_));
  return true;
}

/// The text of the next block, which lies in `range`.
TextView LeafStream::OpenBlockOf(const ByteRange& range) {
  TextBlocks& blocks = Context().blocks;
  const TextView bytes = blocks.Whole().subspan(range.begin, range.Length());
  if (isPlain_ && !Context().wantsCharacters && !MayHoldMarks(bytes)) return bytes;
  block_ = &blocks.Open(nextBlock_);
  return block_->Text();
}

/// Pays for what NextMatch has done. The place is that of the piece, for what was not found is not known.
void LeafStream::PayForWork() {
  const std::int64_t work = Work();
  if (work == paid_) return;
  Context().Spend(work - paid_, ByteOf(0));
  paid_ = work;
}

void LeafStream::CloseBlock() {
  hasPiece_ = false;
  if (block_ != nullptr) Context().blocks.Close(*block_);
  block_ = nullptr;
}

bool LeafStream::Next(FoundPlace& place) {
  while (!Context().gaveUp && (hasPiece_ || OpenNext())) {
    ByteRange match;
    const SearchOutcome outcome = NextMatch(match);
    PayForWork();
    if (outcome == SearchOutcome::kFound) {
      Describe(match, place);
      if (!Context().wantsTags || AddTags(match, place)) return true;
    }
    if (outcome != SearchOutcome::kNotFound) {
      Context().GiveUp(ByteOf(GaveUpAt()));
      return false;
    }
    CloseBlock();
  }
  return false;
}

void LeafStream::Describe(const ByteRange& match, FoundPlace& place) {
  if (!Context().wantsPositions) return;
  place.begin = ByteOf(match.begin);
  place.end = ByteOf(match.end);
  if (!Context().wantsCharacters) return;
  place.block = block_->Number();
  place.charBegin = pieceBegin_ + match.begin;
  place.charEnd = pieceBegin_ + match.end;
  if (!Context().countsWords) return;
  const TextView text = block_->Text();
  wordsBegun_ += WordsBegunIn(text, countedTo_, place.charBegin);
  place.wordsEnded = wordsBegun_ - (IsInsideWord(text, place.charBegin) ? 1 : 0);
  wordsBegun_ += WordsBegunIn(text, place.charBegin, place.charEnd);
  place.wordsBegun = wordsBegun_;
  countedTo_ = place.charEnd;
}

PatternStream::PatternStream(SearchContext& context, const PlannedStream& planned)
    : LeafStream(context, planned.scan.has_value() ? &*planned.scan : nullptr, planned.isPlain),
      search_(*planned.program),
      bringsTags_(planned.bringsTags && planned.program->GroupCount() > 0),
      firstTags_(planned.firstTags) {}

bool PatternStream::AddTags(const ByteRange& match, FoundPlace& place) {
  if (!bringsTags_) return true;
  if (search_.Groups(match, groups_) != SearchOutcome::kFound) return false;
  Context().Spend(kWorkOfTag * static_cast<std::int64_t>(groups_.size() * firstTags_.size()),
                  ByteOf(match.begin));
  for (std::size_t i = 0; i < groups_.size(); ++i) {
    const ByteRange& group = groups_[i];
    if (group.IsNowhere()) continue;
    const TagRange range{static_cast<int>(i), ByteOf(group.begin), ByteOf(group.end)};
    for (const int firstTag : firstTags_)
      Context().tagLists.Add(place, {firstTag + range.tag, range.begin, range.end});
  }
  return true;
}

}  // namespace trovex
