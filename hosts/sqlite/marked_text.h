// A text, or a part of it, with marks around what was found.

#ifndef TROVEX_HOSTS_SQLITE_MARKED_TEXT_H
#define TROVEX_HOSTS_SQLITE_MARKED_TEXT_H

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <vector>

namespace trovex::sqlite {

/// A range of a text in bytes, its end exclusive.
struct Range {
  std::size_t begin = 0;
  std::size_t end = 0;
};

struct Marks {
  std::string_view before;
  std::string_view after;
};

/// Calls `emit` with one piece after another of `text` from `part.begin` to `part.end`, with the marks around
/// `items`, which come by their begin. Where items overlap, a later one is marked from where the earlier one
/// ends. An empty one has no marks.
template <typename Emit>
void ForEachPiece(std::string_view text, Range part, const std::vector<Range>& items,
                  const Marks& marks, Emit&& emit) {
  std::size_t done = part.begin;
  for (const Range& item : items) {
    if (item.begin >= part.end) break;
    const std::size_t begin = std::max(done, item.begin);
    const std::size_t end = std::min(part.end, item.end);
    if (end <= begin) continue;
    emit(text.substr(done, begin - done));
    emit(marks.before);
    emit(text.substr(begin, end - begin));
    emit(marks.after);
    done = end;
  }
  emit(text.substr(done, part.end - done));
}

}  // namespace trovex::sqlite

#endif  // TROVEX_HOSTS_SQLITE_MARKED_TEXT_H
