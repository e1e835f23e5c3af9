// The search for several strings of sets in one pass: "Datei", "Verzeichnis" and "Name" take hardly longer
// together than one of them alone, for it is going through a text that takes the time.
//
// A scan for alternatives (place_scan.h) tests the rarest bytes of all strings at once and tells of each
// place which of them may stand there. What is left of these is compared, eight bytes at a time.

#ifndef TROVEX_MATCHER_SCAN_STRING_GROUP_H
#define TROVEX_MATCHER_SCAN_STRING_GROUP_H

#include "matcher/scan/place_cursor.h"
#include "matcher/scan/place_scan.h"
#include "text/char_set.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace trovex {

class StringGroup {
 public:
  static constexpr std::size_t kMostStrings = PlaceScan::kMaxAlternatives;
  using Byte = unsigned char;
  using String = std::vector<CharSet>;

  /// Takes 1 to `kMostStrings` strings, each of at least one set.
  explicit StringGroup(const std::vector<String>& strings);

  /// Calls `take(number, p)` for each place p from `begin` on and each string, by its number, that stands
  /// there, all of it before `end`: by place, at one place the shorter string first. It returns false when no
  /// more are wanted. The cursor belongs to the search of this text.
  template <typename Take>
  void ForEach(const Byte* begin, const Byte* end, PlaceCursor& cursor, Take take) const {
    cursor.ForEach(scan_, begin, end, [&](const Byte* place) -> const Byte* {
      for (unsigned rest = scan_.AlternativesAt(place); rest != 0; rest &= rest - 1) {
        const Member& member = members_[static_cast<std::size_t>(std::countr_zero(rest))];
        if (StandsAt(member, place, end) && !take(member.number, place)) return nullptr;
      }
      return place + 1;
    });
  }

 private:
  /// A set that the scan has not looked at.
  struct Rest {
    std::uint32_t offset;
    std::uint32_t table;
  };

  struct Member {
    std::size_t number = 0;
    std::size_t length = 0;
    /// Of the first eight bytes, those c with (c & mask) == value stand for their sets; where a set has not
    /// that form, its byte counts as any.
    std::uint64_t mask = 0;
    std::uint64_t value = 0;
    std::vector<Rest> others;  // what mask and value do not say
    std::vector<Rest> all;
  };

  bool Belong(const std::vector<Rest>& rests, const Byte* place) const {
    for (const Rest& rest : rests) {
      if (!tables_[rest.table][place[rest.offset]]) return false;
    }
    return true;
  }

  /// Whether a string stands where the scan has found it.
  bool StandsAt(const Member& member, const Byte* place, const Byte* end) const {
    const auto room = static_cast<std::size_t>(end - place);
    if (room < sizeof(std::uint64_t)) return room >= member.length && Belong(member.all, place);
    std::uint64_t bytes = 0;
    std::memcpy(&bytes, place, sizeof bytes);
    return (bytes & member.mask) == member.value && room >= member.length &&
           Belong(member.others, place);
  }

  void Add(const String& string, std::size_t number);

  PlaceScan scan_;
  std::vector<Member> members_;  // in the order of the scan's alternatives
  MemberTables tables_;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_SCAN_STRING_GROUP_H
