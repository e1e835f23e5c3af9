// The screen that a short text has to pass before anybody looks at it closely.
//
// Most rows of a table hold no match of a pattern, and lack even a rare byte that every match holds: of
// "https?://[^ ]+" the "/", of "Datei" the "D". One test of the whole row tells, in a fraction of the time that it
// takes to say where in it something stands. Where matches begin as lines do, what a row of one line has is told by its
// first byte.
//
// What a screen refuses has no match. What it lets pass may have one.

#ifndef TROVEX_MATCHER_SCAN_TEXT_SCREEN_H
#define TROVEX_MATCHER_SCAN_TEXT_SCREEN_H

#include "matcher/scan/beside.h"
#include "matcher/scan/place_scan.h"
#include "text/char_set.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace trovex {

class TextScreen {
 public:
  /// One that refuses nothing.
  TextScreen() = default;
  /// Refuses texts of fewer bytes than the shortest match has.
  explicit TextScreen(std::ptrdiff_t shortest) : shortest_(shortest) {}

  /// Every match holds one of these strings of sets, which have all as many. It screens by their rarest bytes, where
  /// these are so rare that most short texts lack them, and rarer than what it screens by so far.
  void Consider(const std::vector<std::vector<CharSet>>& strings);

  /// Every match is such a string with that beside it. Where the string is common, it screens by what is beside it, too:
  /// of the whole word "er" by "e" and "r" between bytes that belong to no word.
  void ConsiderBeside(const std::vector<CharSet>& string, const Beside& beside);

  /// Every match begins where a line does, with one of `first` or as the empty line. The text counts as a line, too.
  void ConsiderBeginsOfLines(const CharSet& first);

  /// Whether there is no match in a text from `begin` to `end`. Reads nothing outside.
  bool Refuses(const unsigned char* begin, const unsigned char* end) const {
    if (end - begin < shortest_) return true;
    if (!scan_ || (hasEdges_ && MayStandAtEdge(begin, end))) return false;
    return !scan_->MayFind(begin, end);
  }

  /// Whether there are texts that it refuses.
  bool IsOfUse() const { return shortest_ > 0 || scan_; }

  /// At how many of 100,000 places what it looks for is expected: the fewer, the more texts it refuses.
  double Rate() const { return rate_; }

 private:
  bool MayStandAtEdge(const unsigned char* begin, const unsigned char* end) const {
    return begin == end || first_[*begin] || last_[end[-1]];
  }

  std::ptrdiff_t shortest_ = 0;
  std::optional<PlaceScan> scan_;  // texts in which it finds no place are refused
  bool hasEdges_ = false;  // but for matches at the edges of a text, with nothing beside them
  MemberTable first_{};    // what such a match begins with, and ends with
  MemberTable last_{};
  double rate_ = 100'000;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_SCAN_TEXT_SCREEN_H
