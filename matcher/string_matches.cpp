#include "matcher/string_matches.h"

namespace trovex {

StringMatches::StringMatches(const std::vector<const LocatorProgram*>& strings, std::size_t wanted,
                             Sight sight)
    : sight_(sight), wanted_(wanted) {
  for (const LocatorProgram* const program : strings) {
    const std::vector<CharSet>& sets = program->StringSets();
    strings_.push_back({program, StringScan(sets), sets.size()});
    longest_ = std::max(longest_, static_cast<std::ptrdiff_t>(sets.size()));
  }
  const std::size_t groups = (wanted + StringGroup::kMostStrings - 1) / StringGroup::kMostStrings;
  for (std::size_t i = 0; i < groups; ++i) {
    const std::size_t first = i * wanted / groups;
    std::vector<StringGroup::String> members;
    for (std::size_t number = first; number < (i + 1) * wanted / groups; ++number)
      members.push_back(strings[number]->StringSets());
    groups_.push_back({std::make_unique<const StringGroup>(members), first});
  }
}

void StringMatches::Begin(TextView text) {
  begin_ = text.data();
  end_ = begin_ + text.size();
  for (String& string : strings_)
    string.from = string.first = begin_;
  cursor_.Reset();
}

bool StringMatches::IsFound(std::size_t number) {
  String& string = strings_[number];
  const Byte* place = string.scan.Find(begin_, end_);
  while (place != nullptr && !IsMatch(string, place))
    place = string.scan.Find(place + 1, end_);
  string.first = place != nullptr ? place : end_;
  return place != nullptr;
}

/// The first place at which any of the strings may stand.
const StringMatches::Byte* StringMatches::Start() const {
  const Byte* start = end_;
  for (std::size_t number = 0; number < wanted_; ++number)
    start = std::min(start, strings_[number].first);
  return start;
}

/// The places from `from` up to `to` at which strings stand, by start, then by end.
void StringMatches::FindPlaces(const Byte* from, const Byte* to) {
  const Byte* const end = end_ - to >= longest_ ? to + (longest_ - 1) : end_;
  places_.clear();
  for (const Group& group : groups_) {
    cursor_.Reset();
    const auto known = static_cast<std::ptrdiff_t>(places_.size());
    group.strings->ForEach(from, end, cursor_, [&](std::size_t number, const Byte* place) {
      if (place >= to) return false;
      places_.push_back({place, group.first + number});
      return true;
    });
    std::inplace_merge(places_.begin(), places_.begin() + known, places_.end(),
                       [&](const Place& a, const Place& b) {
                         if (a.start != b.start) return a.start < b.start;
                         return strings_[a.number].length < strings_[b.number].length;
                       });
  }
}

}  // namespace trovex
