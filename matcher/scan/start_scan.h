// The search for places where a match can start, by the bytes that can stand there, and by what must stand before:
// of "^[0-9]" a line feed and a digit after it. At the begin of a text, where a line feed is only thought, the first
// byte of the match alone decides.

#ifndef TROVEX_MATCHER_SCAN_START_SCAN_H
#define TROVEX_MATCHER_SCAN_START_SCAN_H

#include "matcher/scan/beside.h"
#include "matcher/scan/place_cursor.h"
#include "matcher/scan/place_scan.h"

#include <cstddef>
#include <vector>

namespace trovex {

class StartScan {
 public:
  /// `ways`: probes for each way to start. If not all bytes are in `before`, those that can stand before a match, the
  /// probes' offset 0 is that byte, and `first` has the bytes that matches can start with.
  StartScan(const std::vector<Probes>& ways, const CharSet& before, const CharSet& first)
      : scan_(PlaceScan::ForAlternatives(ways)),
        lead_(before.all() ? 0 : 1),
        beginsLines_(IsLineFeed(before)),
        before_(MembersOf(before)),
        first_(MembersOf(first)) {}

  /// 1 where something is asked of the byte before a match, else 0.
  std::ptrdiff_t Lead() const { return lead_; }

  /// What its searches read.
  const ScanTables& Tables() const { return scan_.Tables(); }

  /// Whether what stands before `place`, in a text that begins at `begin`, can stand before a match.
  bool MayStartAfter(const unsigned char* begin, const unsigned char* place) const {
    return lead_ == 0 || before_[place != begin ? place[-1] : '\n'];
  }

  /// The first of the places in [place, end); null if there is none. The text goes from `begin` to `end`.
  const unsigned char* Find(const unsigned char* place, const unsigned char* begin,
                            const unsigned char* end) const {
    if (lead_ == 0) return scan_.Find(place, end);
    const auto scan = [&](const unsigned char* from, const auto& takeHit) {
      scan_.ForEach(from, end, takeHit);
    };
    return FirstTaken([&](const auto& take) { Walk(place, begin, end, scan, take); });
  }

  /// The same, for many places one after another.
  const unsigned char* Find(const unsigned char* place, const unsigned char* begin,
                            const unsigned char* end, PlaceCursor& cursor) const {
    if (lead_ == 0) return cursor.Find(scan_, place, end);
    return FirstTaken([&](const auto& take) { ForEach(place, begin, end, cursor, take); });
  }

  /// Calls `take(p)` for the places from `place` on, as the cursor does. The hits that `sift` is given lie where the
  /// byte before a match stands, if something is asked of it.
  template <typename Take, typename Sift = PlaceCursor::NoSieve>
  void ForEach(const unsigned char* place, const unsigned char* begin, const unsigned char* end,
               PlaceCursor& cursor, Take take, Sift sift = {}) const {
    if (lead_ == 0) return cursor.ForEach(scan_, place, end, take, sift);
    const auto scan = [&](const unsigned char* from, const auto& takeHit) {
      cursor.ForEach(scan_, from, end, takeHit, sift);
    };
    Walk(place, begin, end, scan, take);
  }

 private:
  /// Takes the begin of the text, and then the places that `scan(from, take)` finds one byte before.
  template <typename Scan, typename Take>
  void Walk(const unsigned char* place, const unsigned char* begin, const unsigned char* end,
            Scan scan, Take take) const {
    if (place >= end) return;
    if (place == begin) place = before_['\n'] && first_[*place] ? take(place) : place + 1;
    if (place == nullptr || place >= end) return;
    const unsigned char* const from = beginsLines_ ? FromLineFeed(place - 1, end) : place - 1;
    scan(from, [&](const unsigned char* hit) -> const unsigned char* {
      if (!before_[*hit]) return hit + 1;
      const unsigned char* const next = take(hit + 1);
      return next != nullptr ? next - 1 : nullptr;
    });
  }

  PlaceScan scan_;
  std::ptrdiff_t lead_;
  bool beginsLines_;  // only a line feed can stand before a match
  MemberTable before_;
  MemberTable first_;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_SCAN_START_SCAN_H
