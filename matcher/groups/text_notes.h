// What the searches of one text, one after another, have in common.
//
// A host's search asks for one match after the other, each time from the end of the latest. What a locator
// finds out about the text on the way (match_locator.h) holds for all of them, as long as the text does
// not change; whoever asks for them keeps one of these, so that the locator knows that it is still the
// same text.

#ifndef TROVEX_MATCHER_GROUPS_TEXT_NOTES_H
#define TROVEX_MATCHER_GROUPS_TEXT_NOTES_H

#include "matcher/limits.h"
#include "matcher/work_credit.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <optional>
#include <utility>

namespace trovex {

class TextNotes {
 public:
  TextNotes() = default;
  /// What the searches may spend is spent from `shared`, which others spend from too.
  explicit TextNotes(WorkCredit* shared) : shared_(shared) {}

  /// Whether this is the first search of the text with `locator`.
  bool IsFirstSearch(const void* locator) { return std::exchange(locator_, locator) != locator; }

  /// Whether the text has been searched with `locator`.
  bool IsSearchedWith(const void* locator) const { return locator_ == locator; }

  /// What the searches may spend together; `bytes` remain of the text.
  WorkCredit& Credit(std::size_t bytes) {
    if (shared_ != nullptr) return *shared_;
    if (!credit_) credit_.emplace(bytes);
    return *credit_;
  }

  /// Notes that a match from `start` to `end` was read, on a line that ends at `lineEnd`. Returns whether
  /// so much of the line was read again that to read it once as a whole would have cost less.
  bool ReadsAgain(const char* start, const char* end, const char* lineEnd) {
    if (lineEnd != matchLineEnd_) {
      matchLineEnd_ = lineEnd;
      readTo_ = start;
      readAgain_ = 0;
    }
    if (start < readTo_) readAgain_ += std::min(readTo_, end) - start;
    readTo_ = std::max(readTo_, end);
    return readAgain_ > kReadAgainAtLeast + kReadAgainTimes * (lineEnd - start);
  }

  /// The end of the line around `p` in a text that ends at `limit`.
  const char* LineEnd(const char* p, const char* limit) {
    if (p < lineFrom_ || p > lineEnd_) {
      const void* const feed = std::memchr(p, '\n', static_cast<std::size_t>(limit - p));
      lineFrom_ = p;
      lineEnd_ = feed != nullptr ? static_cast<const char*>(feed) : limit;
    }
    return lineEnd_;
  }

 private:
  WorkCredit* shared_ = nullptr;
  std::optional<WorkCredit> credit_;
  const char* lineFrom_ = nullptr;  // a place in the line whose end is known
  const char* lineEnd_ = nullptr;
  const void* locator_ = nullptr;
  const char* matchLineEnd_ = nullptr;  // of the line that matches were read on
  const char* readTo_ = nullptr;        // how far
  std::ptrdiff_t readAgain_ = 0;        // how many bytes of that more than once
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_GROUPS_TEXT_NOTES_H
