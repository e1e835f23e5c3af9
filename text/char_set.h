// A set of bytes: what a bracket of a pattern stands for, or what may stand at a place of a text.

#ifndef TROVEX_TEXT_CHAR_SET_H
#define TROVEX_TEXT_CHAR_SET_H

#include <algorithm>
#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace trovex {

using CharSet = std::bitset<256>;

/// The same by byte, which is the quickest to ask.
using MemberTable = std::array<bool, 256>;

inline MemberTable MembersOf(const CharSet& set) {
  MemberTable members;
  for (std::size_t c = 0; c < members.size(); ++c)
    members[c] = set[c];
  return members;
}

/// The tables of sets, each of the different ones once.
class MemberTables {
 public:
  /// The number of the table of `set`, which is added if there is none.
  std::uint32_t NumberOf(const CharSet& set) {
    const auto known = std::find(sets_.begin(), sets_.end(), set);
    const auto number = static_cast<std::uint32_t>(known - sets_.begin());
    if (known != sets_.end()) return number;
    sets_.push_back(set);
    tables_.push_back(MembersOf(set));
    return number;
  }

  const MemberTable& operator[](std::uint32_t number) const { return tables_[number]; }

 private:
  std::vector<CharSet> sets_;
  std::vector<MemberTable> tables_;
};

}  // namespace trovex

#endif  // TROVEX_TEXT_CHAR_SET_H
