#include "matcher/string_matches.h"

#include <algorithm>
#include <utility>

namespace trovex {

namespace {

/// The strings of the node `index` of `tree`: of bytes, of sets, of what stands side by side and of alternatives. False
/// where it has anything else, or too many.
bool AddStrings(const SyntaxTree& tree, int index, std::vector<StringGroup::String>& strings) {
  const SyntaxNode& node = tree.Node(index);
  switch (node.kind) {
    case SyntaxKind::kByte: {
      CharSet set;
      set.set(static_cast<std::size_t>(node.value));
      strings.push_back({set.reset('\n')});
      return true;
    }
    case SyntaxKind::kSet:
      strings.push_back({CharSet(tree.Set(node)).reset('\n')});
      return true;
    case SyntaxKind::kGroup:
      return AddStrings(tree, node.firstChild, strings);
    case SyntaxKind::kConcat: {
      StringGroup::String whole;
      for (int i = node.firstChild; i != kNoNode; i = tree.Node(i).nextSibling) {
        std::vector<StringGroup::String> part;
        if (!AddStrings(tree, i, part) || part.size() != 1) return false;
        whole.insert(whole.end(), part.front().begin(), part.front().end());
      }
      strings.push_back(std::move(whole));
      return true;
    }
    case SyntaxKind::kAlternate:
      for (int i = node.firstChild; i != kNoNode; i = tree.Node(i).nextSibling) {
        if (strings.size() > StringMatches::kMostStrings || !AddStrings(tree, i, strings))
          return false;
      }
      return true;
    default:
      return false;
  }
}

/// Whether both can stand at one place.
bool CanMeet(const StringGroup::String& a, const StringGroup::String& b) {
  const std::size_t shorter = std::min(a.size(), b.size());
  for (std::size_t i = 0; i < shorter; ++i) {
    if ((a[i] & b[i]).none()) return false;
  }
  return true;
}

}  // namespace

std::vector<StringGroup::String> StringMatches::AlternativesOf(const SyntaxTree& tree) {
  // What is this large has something else in it, or is nested deeper than anybody types.
  constexpr std::size_t kMostNodes = 2 * kMostStrings * kLongestSearched;
  std::vector<StringGroup::String> strings;
  if (tree.nodes.empty() || tree.nodes.size() > kMostNodes) return {};
  if (!AddStrings(tree, tree.Root(), strings) || strings.size() > kMostStrings) return {};
  for (auto string = strings.begin(); string != strings.end(); ++string) {
    if (string->empty() || string->size() > kLongestSearched) return {};
    const auto isNothing = [](const CharSet& set) { return set.none(); };
    if (std::any_of(string->begin(), string->end(), isNothing)) return {};
    const auto meets = [&](const StringGroup::String& other) { return CanMeet(*string, other); };
    if (std::any_of(strings.begin(), string, meets)) return {};
  }
  return strings;
}

StringMatches::StringMatches(const std::vector<String>& strings, std::size_t wanted, Sight sight)
    : sight_(sight), wanted_(wanted) {
  for (const String& string : strings) {
    strings_.push_back({string.program, StringScan(string.sets), string.sets.size(), string.pattern,
                        string.edges});
    longest_ = std::max(longest_, static_cast<std::ptrdiff_t>(string.sets.size()));
  }
  from_.resize(strings.back().pattern + 1);
  patterns_.assign(from_.size() + 1, strings.size());
  for (std::size_t number = strings.size(); number-- > 0;)
    patterns_[strings[number].pattern] = number;
  const std::size_t groups = (wanted + StringGroup::kMostStrings - 1) / StringGroup::kMostStrings;
  for (std::size_t i = 0; i < groups; ++i) {
    const std::size_t first = i * wanted / groups;
    std::vector<StringGroup::String> members;
    for (std::size_t number = first; number < (i + 1) * wanted / groups; ++number)
      members.push_back(strings[number].sets);
    groups_.push_back({std::make_unique<const StringGroup>(members), first});
  }
}

void StringMatches::Begin(TextView text) {
  begin_ = text.data();
  end_ = begin_ + text.size();
  for (Searched& string : strings_)
    string.first = begin_;
  for (const Byte*& from : from_)
    from = begin_;
  cursor_.Reset();
}

bool StringMatches::IsFound(std::size_t pattern) {
  for (std::size_t number = patterns_[pattern]; number < patterns_[pattern + 1]; ++number) {
    Searched& string = strings_[number];
    const Byte* const place = First(string, begin_, end_);
    string.first = place != nullptr ? place : end_;
    if (place != nullptr) return true;
  }
  return false;
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
