// A set of bytes: what a bracket of a pattern stands for, or what may stand at a place of a text.

#ifndef TROVEX_TEXT_CHAR_SET_H
#define TROVEX_TEXT_CHAR_SET_H

#include <algorithm>
#include <array>
#include <bit>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <optional>
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

/// A set of just those c with (c & mask) == value, as a single byte is one, and both cases of a letter are.
struct MaskedByte {
  std::uint8_t mask = 0;
  std::uint8_t value = 0;
};

/// The smallest set in that form that has all bytes of `set`: the bits in which these differ are masked out.
inline MaskedByte MaskedByteAround(const CharSet& set) {
  unsigned inAll = 255;
  unsigned inAny = 0;
  for (std::size_t c = set._Find_first(); c < set.size(); c = set._Find_next(c)) {
    inAll &= static_cast<unsigned>(c);
    inAny |= static_cast<unsigned>(c);
  }
  const unsigned differing = inAll ^ inAny;
  return {static_cast<std::uint8_t>(~differing), static_cast<std::uint8_t>(inAll & inAny)};
}

/// `set` in that form, if it has it: it must have all bytes that agree in what is not masked out, of which there are
/// two to the power of the bits that are.
inline std::optional<MaskedByte> MaskedByteOf(const CharSet& set) {
  const MaskedByte around = MaskedByteAround(set);
  const int maskedOut = 8 - std::popcount(around.mask);
  if (set.count() != std::size_t{1} << maskedOut) return std::nullopt;
  return around;
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
