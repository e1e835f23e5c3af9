// The search for a string of sets of bytes: for the places where each byte belongs to the set in its
// turn. "Haus" is such a string, without case "[Hh][Aa][Uu][Ss]", and "[0-9][0-9]\.".
//
// What must stand beside the string is looked for with it: of "^\.SH" a line feed and the three bytes after it, so
// that the rarest of all four lead to it. At the edges of a text, where that byte is only thought, the string is
// compared.

#ifndef TROVEX_MATCHER_SCAN_STRING_SCAN_H
#define TROVEX_MATCHER_SCAN_STRING_SCAN_H

#include "matcher/scan/beside.h"
#include "matcher/scan/place_cursor.h"
#include "matcher/scan/place_scan.h"
#include "text/char_set.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace trovex {

class StringScan {
 public:
  /// Takes at least one set.
  explicit StringScan(const std::vector<CharSet>& sets, const Beside& beside = {});

  /// What such a scan looks for.
  static Probes ProbesFor(const std::vector<CharSet>& sets, const Beside& beside);

  /// The first place in [place, end) at which the string stands, all of it before `end`, with what is asked beside
  /// it; or null. The text goes from `begin` to `end`, and nothing outside is read.
  const unsigned char* Find(const unsigned char* place, const unsigned char* begin,
                            const unsigned char* end) const {
    if (lead_ == 0 && tail_ == 0) return FindPlain(place, end);
    return FirstTaken([&](const auto& take) {
      Walk(
          place, begin, end,
          [this](const Byte* from, const Byte* to, const auto& takeHit) {
            scan_.ForEach(from, to, takeHit);
          },
          take);
    });
  }

  /// The same in a text that begins at `place`.
  const unsigned char* Find(const unsigned char* place, const unsigned char* end) const {
    return Find(place, place, end);
  }

  /// The same, for many places one after another, where nothing is asked before the string.
  const unsigned char* Find(const unsigned char* place, const unsigned char* end,
                            PlaceCursor& cursor) const {
    return FirstTaken([&](const auto& take) { ForEach(place, place, end, cursor, take); });
  }

  /// Calls `take(p)` for the places from `place` on at which the string stands so, as the cursor does.
  template <typename Take>
  void ForEach(const unsigned char* place, const unsigned char* begin, const unsigned char* end,
               PlaceCursor& cursor, Take take) const {
    Walk(
        place, begin, end,
        [&](const unsigned char* from, const unsigned char* to, const auto& takeHit) {
          cursor.ForEach(scan_, from, to, takeHit);
        },
        take);
  }

  std::size_t Length() const { return length_; }

 private:
  using Byte = unsigned char;

  /// One set, by the number of its table.
  struct Rest {
    std::uint32_t offset;
    std::uint32_t table;
  };

  bool HoldsAt(const Byte* place) const {
    for (const Rest& rest : rest_) {
      if (!tables_[rest.table][place[rest.offset]]) return false;
    }
    return true;
  }

  /// The first place of the string, where nothing is asked beside it.
  const Byte* FindPlain(const Byte* place, const Byte* end) const {
    if (static_cast<std::size_t>(end - place) < length_) return nullptr;
    const Byte* const last = end - (static_cast<std::ptrdiff_t>(length_) - 1);
    for (;;) {
      place = scan_.Find(place, last + scan_.Reach());
      if (place == nullptr || HoldsAt(place)) return place;
      ++place;
    }
  }

  /// Whether the string stands at `place`, where it has room, with what is asked beside it. Mostly its rarest byte says
  /// that it does not.
  bool StandsAt(const Byte* place, const Byte* begin, const Byte* end) const {
    return tables_[rarest_.table][place[rarest_.offset]] && HoldsAllAt(place, begin, end);
  }
  bool HoldsAllAt(const Byte* place, const Byte* begin, const Byte* end) const;

  /// Takes the places where all stands in the text, which `scan(from, to, take)` finds, and between these the one
  /// at each edge of it.
  template <typename Scan, typename Take>
  void Walk(const Byte* place, const Byte* begin, const Byte* end, Scan scan, Take take) const {
    const auto length = static_cast<std::ptrdiff_t>(length_);
    if (end - place < length) return;
    if (lead_ != 0 && place == begin) {
      place = StandsAt(place, begin, end) ? take(place) : place + 1;
      if (place == nullptr || end - place < length) return;
    }
    const Byte* const from = beginsLines_ ? FromLineFeed(place - lead_, end) : place - lead_;
    const std::ptrdiff_t whole = lead_ + length + tail_;
    if (end - from >= whole) {
      scan(from, end - (whole - 1) + scan_.Reach(), [&](const Byte* hit) -> const Byte* {
        if (!HoldsAt(hit)) return hit + 1;
        place = take(hit + lead_);
        return place != nullptr ? place - lead_ : nullptr;
      });
    }
    if (tail_ == 0 || place == nullptr || end - place < length) return;
    if (StandsAt(end - length, begin, end)) take(end - length);
  }

  std::size_t length_;
  std::ptrdiff_t lead_;  // 1 where something is asked of the byte before the string, else 0
  std::ptrdiff_t tail_;  // the same of the byte after it
  bool beginsLines_;     // only a line feed may stand before it
  MemberTables tables_;
  std::vector<Rest> all_;   // with what is asked beside the string
  std::vector<Rest> rest_;  // what the scan has not looked at
  Rest rarest_;             // of the string alone
  PlaceScan scan_;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_SCAN_STRING_SCAN_H
