#include "matcher/pattern_search.h"

namespace trovex {

PatternSearch::PatternSearch(const PatternProgram& program) : program_(program) {
  if (program.Locator() != nullptr) locator_.emplace(*program.Locator());
}

void PatternSearch::Begin(TextView text) {
  static constexpr unsigned char kNoBytes[1] = {};
  text_ = text.empty() ? TextView(kNoBytes, 0) : text;
  end_ = text.size();
  if (end_ > 0 && text[end_ - 1] == '\n') --end_;
  place_ = 0;
  touches_ = false;
  outcome_ = SearchOutcome::kFound;
  if (locator_) locator_->Begin(text_.data(), text_.size());
}

SearchOutcome PatternSearch::Next(ByteRange& match) {
  if (outcome_ != SearchOutcome::kFound) return outcome_;
  if (place_ > end_) return outcome_ = SearchOutcome::kNotFound;
  if (!locator_) return outcome_ = SearchOutcome::kGaveUp;
  const unsigned char* const begin = text_.data();
  const MatchLocator::Match found = locator_->Find(
      {.place = begin + place_, .begin = begin, .end = begin + end_, .refusesEmpty = touches_});
  if (found.start == nullptr) {
    const unsigned char* const gaveUpAt = locator_->GaveUpAt();
    if (gaveUpAt == nullptr) return outcome_ = SearchOutcome::kNotFound;
    place_ = static_cast<std::size_t>(gaveUpAt - begin);
    return outcome_ = SearchOutcome::kGaveUp;
  }
  match.begin = static_cast<std::size_t>(found.start - begin);
  match.end = static_cast<std::size_t>(found.end - begin);
  GoOnBehind(match);
  return outcome_;
}

void PatternSearch::GoOnBehind(const ByteRange& match) {
  touches_ = match.begin < match.end;
  place_ = touches_ ? match.end : match.end + 1;
}

SearchOutcome PatternSearch::Groups(const ByteRange& match, std::vector<ByteRange>& groups) {
  groups.clear();
  if (program_.GroupCount() == 0) return SearchOutcome::kFound;
  if (program_.Groups() == nullptr) return SearchOutcome::kGaveUp;
  return program_.Groups()->Find(text_, match, groups, groupWork_);
}

}  // namespace trovex
