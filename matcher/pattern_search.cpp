#include "matcher/pattern_search.h"

#include "matcher/costs.h"

#include <algorithm>
#include <cstring>

namespace trovex {

PatternSearch::PatternSearch(const PatternProgram& program)
    : program_(program), isLocated_(program.References() == nullptr) {
  if (program.Locator() != nullptr) locator_.emplace(*program.Locator());
  if (program.References() != nullptr) references_.emplace(*program.References());
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
  if (references_) references_->Begin(text_);
  groupWork_.Begin();
}

ByteRange PatternSearch::NextNotReady() {
  ByteRange match;
  if (outcome_ != SearchOutcome::kFound) return match;
  if (place_ > end_) {
    outcome_ = SearchOutcome::kNotFound;
    return match;
  }
  if (references_) {
    outcome_ = NextWithReferences(match);
  } else {
    match = NextLocated();
  }
  if (outcome_ == SearchOutcome::kFound) GoOnAfter(match);
  return match;
}

/// Sets the outcome. Where it gives up, `place_` is the place.
ByteRange PatternSearch::NextLocated() {
  const unsigned char* const begin = text_.data();
  const MatchLocator::Match found = locator_->Find(
      {.place = begin + place_, .begin = begin, .end = begin + end_, .refusesEmpty = touches_});
  if (found.start != nullptr) {
    outcome_ = SearchOutcome::kFound;
    return {static_cast<std::size_t>(found.start - begin),
            static_cast<std::size_t>(found.end - begin)};
  }
  const unsigned char* const gaveUpAt = locator_->GaveUpAt();
  outcome_ = gaveUpAt == nullptr ? SearchOutcome::kNotFound : SearchOutcome::kGaveUp;
  if (gaveUpAt != nullptr) place_ = static_cast<std::size_t>(gaveUpAt - begin);
  return {};
}

/// The end of the line that `place` belongs to.
std::size_t PatternSearch::LineEnd(std::size_t place) const {
  const void* const feed = std::memchr(text_.data() + place, '\n', end_ - place);
  if (feed == nullptr) return end_;
  return static_cast<std::size_t>(static_cast<const unsigned char*>(feed) - text_.data());
}

/// Asks the locator for the next line with a place where a match could begin, and looks for the match
/// from there to the line's end; or in the rest of the text, where that is faster.
SearchOutcome PatternSearch::NextWithReferences(ByteRange& match) {
  while (place_ <= end_) {
    const bool isFast = references_->IsFast();
    const bool looksForPlaces = locator_.has_value() && !isFast;
    if (looksForPlaces) {
      const ByteRange possible = NextLocated();
      if (outcome_ != SearchOutcome::kFound) return outcome_;
      touches_ = touches_ && possible.begin == place_;
      place_ = possible.begin;
    }
    const std::size_t lineEnd = looksForPlaces ? LineEnd(place_) : end_;
    const SearchOutcome outcome = references_->Find(place_, lineEnd, match, nullptr);
    if (outcome == SearchOutcome::kGaveUp) {
      const std::size_t place = references_->GaveUpAt();
      touches_ = touches_ && place == place_;
      place_ = place;
      if (isFast && !references_->IsFast()) continue;
      return outcome;
    }
    const bool isRefused = touches_ && match.begin == place_ && match.end == place_;
    if (outcome == SearchOutcome::kFound && !isRefused) return outcome;
    place_ = outcome == SearchOutcome::kFound ? place_ + 1 : lineEnd + 1;
    touches_ = false;
  }
  return SearchOutcome::kNotFound;
}

void PatternSearch::GoOnAfter(ByteRange match) {
  touches_ = match.begin < match.end;
  place_ = touches_ ? match.end : match.end + 1;
}

void PatternSearch::SkipLine(const ByteRange& match) {
  // After an empty match at the end of a line, the search has gone on to the next one already.
  SkipTo(std::max(place_, LineEnd(match.end) + 1));
  touches_ = false;
}

void PatternSearch::SkipTo(std::size_t line) {
  if (line > place_) touches_ = false;
  place_ = std::max(place_, line);
  if (locator_) locator_->SkipReady(text_.data() + place_);
}

std::int64_t PatternSearch::Work() const {
  std::int64_t work = locator_ ? locator_->Work() : 0;
  work += static_cast<std::int64_t>(groupWork_.Used());
  if (references_) work += kReferenceUnits * static_cast<std::int64_t>(references_->Used());
  return work;
}

SearchOutcome PatternSearch::Groups(const ByteRange& match, std::vector<ByteRange>& groups) {
  groups.clear();
  if (program_.GroupCount() == 0) return SearchOutcome::kFound;
  if (references_) {
    ByteRange again;
    return references_->Find(match.begin, match.begin, again, &groups);
  }
  return program_.Groups()->Find(text_, match, groups, groupWork_);
}

}  // namespace trovex
