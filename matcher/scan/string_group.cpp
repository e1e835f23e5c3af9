#include "matcher/scan/string_group.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace trovex {

namespace {

using String = StringGroup::String;

/// The numbers of the strings, the shortest first.
std::vector<std::size_t> ByLength(const std::vector<String>& strings) {
  std::vector<std::size_t> order(strings.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
    return strings[a].size() < strings[b].size();
  });
  return order;
}

/// A scan for all strings, whose alternatives are in the order of their lengths. What the longer ones have
/// beyond the shortest is not scanned for.
PlaceScan ScanFor(const std::vector<String>& strings) {
  const std::vector<std::size_t> order = ByLength(strings);
  const auto shortest = static_cast<std::ptrdiff_t>(strings[order.front()].size());
  std::vector<String> beginnings;
  for (const std::size_t number : order)
    beginnings.emplace_back(strings[number].begin(), strings[number].begin() + shortest);
  return PlaceScan::ForAlternatives(ChooseProbesForAlternatives(beginnings));
}

}  // namespace

StringGroup::StringGroup(const std::vector<String>& strings) : scan_(ScanFor(strings)) {
  for (const std::size_t number : ByLength(strings))
    Add(strings[number], number);
}

void StringGroup::Add(const String& string, std::size_t number) {
  Member member;
  member.number = number;
  member.length = string.size();
  for (std::size_t offset = 0; offset < string.size(); ++offset) {
    const Rest rest = {static_cast<std::uint32_t>(offset), tables_.NumberOf(string[offset])};
    member.all.push_back(rest);
    const std::optional<MaskedByte> byte = MaskedByteOf(string[offset]);
    if (offset >= sizeof(std::uint64_t) || !byte) {
      member.others.push_back(rest);
      continue;
    }
    std::array<unsigned char, sizeof(std::uint64_t)> place{};
    place[offset] = byte->mask;
    member.mask |= std::bit_cast<std::uint64_t>(place);
    place[offset] = byte->value;
    member.value |= std::bit_cast<std::uint64_t>(place);
  }
  members_.push_back(std::move(member));
}

}  // namespace trovex
