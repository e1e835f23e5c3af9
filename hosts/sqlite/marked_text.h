// A text, or a part of it, with marks around what was found.

#ifndef TROVEX_HOSTS_SQLITE_MARKED_TEXT_H
#define TROVEX_HOSTS_SQLITE_MARKED_TEXT_H

#include "hosts/common/snippet.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace trovex::sqlite {

struct Marks {
  std::string_view before;
  std::string_view after;
};

/// Calls `emit` with one piece after another of `text` from `part.begin` to `part.end`, with the marks around
/// `items`, which come by their begin. Where items overlap, a later one is marked from where the earlier one
/// ends. An empty one has no marks.
template <typename Emit>
void ForEachPiece(std::string_view text, TextRange part, const std::vector<TextRange>& items,
                  const Marks& marks, Emit&& emit) {
  std::size_t done = part.begin;
  for (const TextRange& item : items) {
    if (item.begin >= part.end) break;
    const TextRange marked = PartToMark(item, done, part.end);
    if (marked.begin == marked.end) continue;
    emit(text.substr(done, marked.begin - done));
    emit(marks.before);
    emit(text.substr(marked.begin, marked.end - marked.begin));
    emit(marks.after);
    done = marked.end;
  }
  emit(text.substr(done, part.end - done));
}

}  // namespace trovex::sqlite

#endif  // TROVEX_HOSTS_SQLITE_MARKED_TEXT_H
