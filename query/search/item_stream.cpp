#include "query/search/item_stream.h"

#include <algorithm>
#include <utility>

namespace trovex {

void ItemStream::Begin() {
  headState_ = State::kUnknown;
  verdict_ = State::kUnknown;
  OnBegin();
}

bool ItemStream::IsSatisfied() {
  if (verdict_ == State::kUnknown) verdict_ = Judge() ? State::kYes : State::kNo;
  return verdict_ == State::kYes;
}

const FoundPlace* ItemStream::Head() {
  if (headState_ == State::kUnknown) {
    head_.tags = kNoTags;
    headState_ = Next(head_) ? State::kYes : State::kNo;
    if (headState_ == State::kYes) verdict_ = State::kYes;
    if (headState_ == State::kYes && tags_ != nullptr && context_.wantsTags) {
      for (const int tag : *tags_)
        context_.tagLists.Add(head_, {tag, head_.begin, head_.end});
    }
  }
  return headState_ == State::kYes ? &head_ : nullptr;
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
    if (const FoundPlace* const head = operand->Head()) sources_.push_back({*head, operand});
  }
  std::make_heap(sources_.begin(), sources_.end(), IsBehind);
}

/// Takes the first place of all operands, of which there is one.
FoundPlace MergeStream::TakeFirst() {
  std::pop_heap(sources_.begin(), sources_.end(), IsBehind);
  Source& source = sources_.back();
  FoundPlace first = source.stream->Take();
  if (const FoundPlace* const head = source.stream->Head()) {
    source.place = *head;
    std::push_heap(sources_.begin(), sources_.end(), IsBehind);
  } else {
    sources_.pop_back();
  }
  return first;
}

bool MergeStream::Next(FoundPlace& place) {
  if (!isOpen_) Open();
  if (sources_.empty()) return false;
  place = TakeFirst();
  while (!sources_.empty() && sources_.front().place.HasRangeOf(place)) {
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
