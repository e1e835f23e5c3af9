// Going through a text from one place that a scan finds to the next.
//
// A scan tests many places at a time, and where hits are close together most of that would be done again
// for each of them; and a processor that does not know how far the next hit is waits for each. The cursor
// has a stretch of the text tested at once and keeps the hits of it. The stretch is short at first and
// grows while the places are taken one after another: who leaps over the next ones has not paid for many.
//
// A cursor knows one text and one scan. Whoever changes either resets it.

#ifndef TROVEX_MATCHER_SCAN_PLACE_CURSOR_H
#define TROVEX_MATCHER_SCAN_PLACE_CURSOR_H

#include "matcher/scan/place_scan.h"
#include "matcher/tuning.h"

#include <algorithm>
#include <cstddef>

namespace trovex {

class PlaceCursor {
 public:
  /// Forgets what was tested.
  void Reset() {
    batch_.base = batch_.tested = nullptr;
    window_ = HitBatch::kChunk;
  }

  /// What `scan.Find(place, end)` returns. It is quickest where `place` is after the place that was found
  /// last.
  const unsigned char* Find(const PlaceScan& scan, const unsigned char* place,
                            const unsigned char* end) {
    return FirstTaken([&](const auto& take) { ForEach(scan, place, end, take); });
  }

  /// Keeps all hits of a batch.
  struct NoSieve {
    void operator()(HitBatch& /*batch*/) const {}
  };

  /// Calls `take(p)` for the places that `scan` finds from `place` on, one after another. It returns from
  /// where on the next one counts, which is after p; null: no more are wanted. `sift` may drop hits of each batch that
  /// is kept before they are taken.
  template <typename Take, typename Sift = NoSieve>
  void ForEach(const PlaceScan& scan, const unsigned char* place, const unsigned char* end,
               Take take, Sift sift = {}) {
    const std::ptrdiff_t reach = scan.Reach();
    if (end - place <= reach) return;
    const std::ptrdiff_t places = end - place - reach;
    if (batch_.tested == nullptr && places >= HitBatch::kChunk && end - place < kShortStretch) {
      // In a short text there are few places, and for most texts none: nothing is kept.
      scan.ForEach(place, end, take);
      return;
    }
    const unsigned char* const last = end - reach;
    const bool isExact = scan.AreHitsExact();
    while (place < last) {
      if (place < batch_.base || place >= batch_.tested) {
        if (!Test(scan, place, end)) return;
        sift(batch_);
      }
      const unsigned char* const base = batch_.base;
      GoTo(place);
      for (const std::size_t count = batch_.count; next_ < count; ++next_) {
        const unsigned char* const hit = base + batch_.offsets[next_];
        if (hit < place) continue;
        if (hit >= last) return;
        if (!isExact && scan.AlternativesAt(hit) == 0) continue;
        place = take(hit);
        if (place == nullptr) return;
      }
      place = std::max(place, batch_.tested);
    }
  }

  /// The number in its batch of the hit that is being taken, if it is `place`; else as many as a batch has hits.
  std::size_t NumberOf(const unsigned char* place) const {
    const bool isHit = batch_.tested != nullptr && next_ < batch_.count &&
                       batch_.base + batch_.offsets[next_] == place;
    return isHit ? next_ : batch_.offsets.size();
  }

 private:
  /// Tests a stretch from `place` on. False where there is no hit up to `end`.
  bool Test(const PlaceScan& scan, const unsigned char* place, const unsigned char* end) {
    window_ = place == batch_.tested ? std::min(2 * window_, kMostPlacesAtOnce) : HitBatch::kChunk;
    next_ = 0;
    if (scan.FindHits(place, end, window_, batch_)) return true;
    Reset();
    return false;
  }

  /// Goes back to the first hit from `place` on, if it has been passed.
  void GoTo(const unsigned char* place) {
    while (next_ > 0 && batch_.base + batch_.offsets[next_ - 1] >= place)
      --next_;
  }

  HitBatch batch_;
  std::size_t next_ = 0;
  std::ptrdiff_t window_ = HitBatch::kChunk;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_SCAN_PLACE_CURSOR_H
