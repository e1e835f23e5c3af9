#include "query/search/leaf_stream.h"

#include "query/plan/utf8_pattern.h"
#include "query/tuning.h"

#include <algorithm>

namespace trovex {

void LeafStream::OnBegin() {
  hasPiece_ = false;
  block_ = nullptr;
  nextBlock_ = 0;
  nextLine_ = 0;
  notRefused_ = 0;
  stretch_ = 0;
  hasCandidate_ = false;
}

bool LeafStream::MayBeSatisfied() {
  if (scan_ == nullptr || !Context().scansFirst || nextBlock_ + nextLine_ != 0) return true;
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
  if (candidate_ == kNowhere && spelled_ != nullptr) candidate_ = FindAtEnd(from);
  hasCandidate_ = true;
  return true;
}

/// The first place from `from` on where one of the strings may stand; the scan cannot look there.
std::size_t LeafStream::FindAtEnd(std::size_t from) const {
  const TextView text = Context().blocks.Whole();
  std::size_t end = 0;
  for (std::size_t place = from; place < text.size(); ++place) {
    if (spelled_->At(text, place, end) != SpelledStrings::Answer::kNoMatch) return place;
  }
  return kNowhere;
}

/// Whether the lines of candidates are opened, and no blocks. A pattern of ASCII needs no decoding; and
/// where characters are counted, all before a place are.
bool LeafStream::OpensLines() const {
  const SearchContext& context = Context();
  return scan_ != nullptr && !isPlain_ && context.scansFirst && !context.wantsCharacters &&
         context.blocks.IsUtf8();
}

/// False where there is none from byte `from` on, or the search was interrupted.
bool LeafStream::FindNextCandidate(std::size_t from) {
  const bool isKnown = hasCandidate_ && candidate_ >= from;
  return (isKnown || FindCandidate(from)) && candidate_ != kNowhere;
}

bool LeafStream::OpenNext() {
  if (OpensLines()) return OpenLinesOfCandidate();
  TextBlocks& blocks = Context().blocks;
  if (!blocks.Has(nextBlock_)) return false;
  const bool scans = scan_ != nullptr && Context().scansFirst;
  if (scans) {
    if (!FindNextCandidate(blocks.RangeOf(nextBlock_).begin)) return false;
    nextBlock_ = blocks.Holding(candidate_);
  }
  const ByteRange range = blocks.RangeOf(nextBlock_);
  if (!Context().MayGoOn(range.begin)) return false;
  const TextView text = OpenBlockOf(range);
  const bool areBytes = block_ == nullptr || block_->IsPlain();
  pieceBegin_ = scans && areBytes ? LineStart(text, candidate_ - range.begin) : 0;
  ++nextBlock_;
  BeginOpened(text, range.begin);
  return true;
}

/// The next place of one of the strings, if it can be told without decoding. False also where somebody has
/// to decode the line of the candidate.
bool LeafStream::FindSpelled(FoundPlace& place) {
  if (spelled_ == nullptr || !OpensLines()) return false;
  const TextView text = Context().blocks.Whole();
  while (FindNextCandidate(std::max(nextLine_, notRefused_))) {
    place.begin = candidate_;
    const auto answer = spelled_->At(text, candidate_, place.end);
    if (answer == SpelledStrings::Answer::kUnknown) return false;
    notRefused_ = candidate_ + 1;
    if (answer == SpelledStrings::Answer::kNoMatch) continue;
    nextLine_ = Context().skipsLines ? AfterLineOf(text, place.end - 1) : place.end;
    return true;
  }
  return false;
}

bool LeafStream::OpenLinesOfCandidate() {
  const TextView text = Context().blocks.Whole();
  if (!FindNextCandidate(std::max(nextLine_, notRefused_))) return false;
  const std::size_t begin = nextLine_ + LineStart(text.subspan(nextLine_), candidate_ - nextLine_);
  const bool isNear = nextLine_ > 0 && begin - nextLine_ < kNearCandidates;
  stretch_ = isNear ? std::clamp(2 * stretch_, kNearCandidates, kBlockSize) : stretch_ / 2;
  const std::size_t least = stretch_ < kNearCandidates ? candidate_ : begin + stretch_;
  nextLine_ = AfterLineOf(text, std::clamp(least, candidate_, text.size() - 1));
  if (lines_ == nullptr) lines_ = std::make_unique<OpenBlock>();
  Context().blocks.OpenLines(*lines_, {begin, nextLine_});
  block_ = lines_.get();
  pieceBegin_ = 0;
  BeginOpened(block_->Text(), begin);
  return true;
}

/// Begins to search `text` from `pieceBegin_` on; it is that of the bytes from `begin` on.
void LeafStream::BeginOpened(TextView text, std::size_t begin) {
  pieceByte_ = begin + pieceBegin_;
  hasPiece_ = true;
  countedTo_ = 0;
  wordsBegun_ = 0;
  paid_ = 0;
  Context().Spend(kWorkOfByte * static_cast<std::int64_t>(text.size() - pieceBegin_), begin);
  BeginPiece(text.subspan(pieceBegin_));
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
  if (block_ != nullptr && block_ != lines_.get()) Context().blocks.Close(*block_);
  block_ = nullptr;
}

bool LeafStream::Next(FoundPlace& place) {
  while (!Context().gaveUp) {
    if (!hasPiece_ && FindSpelled(place)) return true;
    if (!hasPiece_ && !OpenNext()) return false;
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
    : LeafStream(context, planned.scan.has_value() ? &*planned.scan : nullptr,
                 planned.spelled.has_value() ? &*planned.spelled : nullptr, planned.isPlain),
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
