#include "query/search/item_stream.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace trovex {

void ItemStream::Begin() {
  headState_ = State::kUnknown;
  verdict_ = State::kUnknown;
  head_ = {};
  OnBegin();
}

bool ItemStream::IsSatisfied() {
  if (verdict_ == State::kUnknown) verdict_ = Judge() ? State::kYes : State::kNo;
  return verdict_ == State::kYes;
}

const FoundPlace* ItemStream::Head() {
  if (headState_ == State::kUnknown) headState_ = FindHead() ? State::kYes : State::kNo;
  return headState_ == State::kYes ? &head_ : nullptr;
}

bool ItemStream::FindHead() {
  if (context_.gaveUp) return false;
  head_.tags = kNoTags;
  if (!Next(head_)) return false;
  verdict_ = State::kYes;
  context_.Spend(kWorkOfPlace, head_.begin);
  if (tags_ == nullptr || !context_.wantsTags) return true;
  context_.Spend(kWorkOfTag * static_cast<std::int64_t>(tags_->size()), head_.begin);
  for (const int tag : *tags_)
    context_.tagLists.Add(head_, {tag, head_.begin, head_.end});
  return true;
}

FoundPlace ItemStream::Take() {
  headState_ = State::kUnknown;
  return head_;
}

void ItemStream::Skip() {
  headState_ = State::kUnknown;
  context_.tagLists.Drop(head_);
}

MergeStream::MergeStream(SearchContext& context, Kind kind, std::vector<ItemStream*> operands)
    : ItemStream(context), kind_(kind), operands_(std::move(operands)) {
  sources_.reserve(operands_.size());
}

void MergeStream::OnBegin() {
  isOpen_ = false;
  sources_.clear();
}

bool MergeStream::MayBeSatisfied() {
  const auto mayBe = [](ItemStream* operand) { return operand->MayBeSatisfied(); };
  return kind_ == Kind::kAnd ? std::all_of(operands_.begin(), operands_.end(), mayBe)
                             : std::any_of(operands_.begin(), operands_.end(), mayBe);
}

bool MergeStream::Judge() {
  const auto isSatisfied = [](ItemStream* operand) { return operand->IsSatisfied(); };
  if (kind_ == Kind::kOr) return std::any_of(operands_.begin(), operands_.end(), isSatisfied);
  return MayBeSatisfied() && std::all_of(operands_.begin(), operands_.end(), isSatisfied);
}

void MergeStream::Open() {
  isOpen_ = true;
  if (!IsSatisfied()) return;
  for (ItemStream* const operand : operands_) {
    if (const FoundPlace* const head = operand->Head())
      sources_.push_back({head->begin, head->end, operand});
  }
  workOfTake_ = kWorkOfComparison * static_cast<std::int64_t>(std::bit_width(sources_.size()));
  for (std::size_t i = sources_.size() / 2; i > 0; --i)
    SiftDown(i - 1);
}

/// Puts the source at `index` of the heap where it belongs, among those below it.
void MergeStream::SiftDown(std::size_t index) {
  const Source source = sources_[index];
  for (std::size_t child = 2 * index + 1; child < sources_.size(); child = 2 * index + 1) {
    if (child + 1 < sources_.size() && sources_[child + 1].IsBefore(sources_[child])) ++child;
    if (!sources_[child].IsBefore(source)) break;
    sources_[index] = sources_[child];
    index = child;
  }
  sources_[index] = source;
}

/// Takes the first place of all operands, of which there is one.
FoundPlace MergeStream::TakeFirst() {
  Source& source = sources_.front();
  const FoundPlace first = source.stream->Take();
  Context().Spend(workOfTake_, first.begin);
  if (const FoundPlace* const head = source.stream->Head()) {
    source.begin = head->begin;
    source.end = head->end;
  } else {
    source = sources_.back();
    sources_.pop_back();
  }
  if (sources_.size() > 1) SiftDown(0);
  return first;
}

bool MergeStream::Next(FoundPlace& place) {
  if (!isOpen_) Open();
  if (sources_.empty()) return false;
  place = TakeFirst();
  while (!sources_.empty() && sources_.front().HasRangeOf(place)) {
    FoundPlace same = TakeFirst();
    Context().tagLists.Unite(place, same);
  }
  return true;
}

void StoredStream::OnBegin() {
  isSatisfied_ = false;
  places_.clear();
  next_ = 0;
}

void StoredStream::Fill() {
  isSatisfied_ = source_.IsSatisfied();
  while (source_.Head() != nullptr)
    places_.push_back(source_.Take());
}

bool StoredStream::Next(FoundPlace& place) {
  if (next_ == places_.size()) return false;
  place = places_[next_++];
  return true;
}

}  // namespace trovex
