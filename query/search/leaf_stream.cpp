#include "query/search/leaf_stream.h"

#include <algorithm>
#include <cstring>

namespace trovex {

namespace {

/// How many bytes are scanned before the search may be interrupted.
constexpr std::size_t kScanStep = std::size_t{1} << 20;

/// Where the line of `text` begins that holds the place `at`.
std::size_t LineStart(TextView text, std::size_t at) {
  const void* const feed = memrchr(text.data(), '\n', at);
  if (feed == nullptr) return 0;
  return static_cast<std::size_t>(static_cast<const unsigned char*>(feed) - text.data()) + 1;
}

}  // namespace

void LeafStream::OnBegin() {
  block_ = nullptr;
  nextBlock_ = 0;
  hasCandidate_ = false;
}

bool LeafStream::MayBeSatisfied() {
  if (scan_ == nullptr || !Context().scansFirst || block_ != nullptr || nextBlock_ != 0)
    return true;
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
  const std::size_t begin = blocks.RangeOf(nextBlock_).begin;
  if (!Context().MayGoOn(begin)) return false;
  block_ = &blocks.Open(nextBlock_++);
  const TextView text = block_->Text();
  pieceBegin_ = scans && block_->IsPlain() ? LineStart(text, candidate_ - begin) : 0;
  countedTo_ = 0;
  wordsBegun_ = 0;
  BeginPiece(text.subspan(pieceBegin_));
  return true;
}

bool LeafStream::Next(FoundPlace& place) {
  while (!Context().gaveUp && (block_ != nullptr || OpenNext())) {
    ByteRange match;
    const SearchOutcome outcome = NextMatch(match);
    if (outcome == SearchOutcome::kFound) {
      Describe(match, place);
      if (!Context().wantsTags || AddTags(match, place)) return true;
    }
    if (outcome != SearchOutcome::kNotFound) {
      Context().GiveUp(ByteOf(GaveUpAt()));
      return false;
    }
    Context().blocks.Close(*block_);
    block_ = nullptr;
  }
  return false;
}

void LeafStream::Describe(const ByteRange& match, FoundPlace& place) {
  if (!Context().wantsPositions) return;
  place.block = block_->Number();
  place.charBegin = pieceBegin_ + match.begin;
  place.charEnd = pieceBegin_ + match.end;
  place.begin = block_->ByteOf(place.charBegin);
  place.end = block_->ByteOf(place.charEnd);
  if (!Context().countsWords) return;
  const TextView text = block_->Text();
  wordsBegun_ += WordsBegunIn(text, countedTo_, place.charBegin);
  place.wordsEnded = wordsBegun_ - (IsInsideWord(text, place.charBegin) ? 1 : 0);
  wordsBegun_ += WordsBegunIn(text, place.charBegin, place.charEnd);
  place.wordsBegun = wordsBegun_;
  countedTo_ = place.charEnd;
}

PatternStream::PatternStream(SearchContext& context, const PlannedStream& planned)
    : LeafStream(context, planned.scan.has_value() ? &*planned.scan : nullptr),
      search_(*planned.program),
      bringsTags_(planned.bringsTags && planned.program->GroupCount() > 0),
      firstTag_(planned.firstTag) {}

bool PatternStream::AddTags(const ByteRange& match, FoundPlace& place) {
  if (!bringsTags_) return true;
  if (search_.Groups(match, groups_) != SearchOutcome::kFound) return false;
  for (std::size_t i = 0; i < groups_.size(); ++i) {
    const ByteRange& group = groups_[i];
    if (group.IsNowhere()) continue;
    const int tag = firstTag_ + static_cast<int>(i);
    Context().tagLists.Add(place, {tag, ByteOf(group.begin), ByteOf(group.end)});
  }
  return true;
}

}  // namespace trovex
