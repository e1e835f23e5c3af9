// The search for a string of sets of bytes: for the places where each byte belongs to the set in its
// turn. "Haus" is such a string, without case "[Hh][Aa][Uu][Ss]", and "[0-9][0-9]\.".

#ifndef TROVEX_MATCHER_SCAN_STRING_SCAN_H
#define TROVEX_MATCHER_SCAN_STRING_SCAN_H

#include "matcher/scan/place_cursor.h"
#include "matcher/scan/place_scan.h"
#include "text/char_set.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace trovex {

class StringScan {
 public:
  /// Takes at least one set.
  explicit StringScan(const std::vector<CharSet>& sets);

  /// The first place in [begin, end) at which the string stands, all of it before `end`; or null. Reads
  /// nothing outside.
  const unsigned char* Find(const unsigned char* begin, const unsigned char* end) const {
    if (static_cast<std::size_t>(end - begin) < length_) return nullptr;
    const unsigned char* const last = end - (static_cast<std::ptrdiff_t>(length_) - 1);
    for (;;) {
      const unsigned char* const place = scan_.Find(begin, last + scan_.Reach());
      if (place == nullptr || HoldsAt(place)) return place;
      begin = place + 1;
    }
  }

  /// The same, for many places one after another.
  const unsigned char* Find(const unsigned char* begin, const unsigned char* end,
                            PlaceCursor& cursor) const {
    const unsigned char* found = nullptr;
    ForEach(begin, end, cursor, [&found](const unsigned char* place) {
      found = place;
      return nullptr;
    });
    return found;
  }

  /// Calls `take(p)` for the places from `begin` on at which the string stands, as the cursor does.
  template <typename Take>
  void ForEach(const unsigned char* begin, const unsigned char* end, PlaceCursor& cursor,
               Take take) const {
    if (static_cast<std::size_t>(end - begin) < length_) return;
    const unsigned char* const last = end - (static_cast<std::ptrdiff_t>(length_) - 1);
    cursor.ForEach(scan_, begin, last + scan_.Reach(), [&](const unsigned char* place) {
      return HoldsAt(place) ? take(place) : place + 1;
    });
  }

  std::size_t Length() const { return length_; }

 private:
  /// One set that the scan has not looked at, or not for certain.
  struct Rest {
    std::uint32_t offset;
    std::uint32_t members;
  };

  bool HoldsAt(const unsigned char* place) const {
    for (const Rest& rest : rest_) {
      if (!members_[rest.members][place[rest.offset]]) return false;
    }
    return true;
  }

  std::size_t length_;
  PlaceScan scan_;
  std::vector<Rest> rest_;
  std::vector<std::array<bool, 256>> members_;  // the different sets of the rest
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_SCAN_STRING_SCAN_H
