// Lines, paragraphs and line ends.

#include "hosts/cli/search/units.h"

#include <cstring>

namespace trovex::cli {

Unit LineAt(std::string_view text, int begin) {
  const auto from = static_cast<std::size_t>(begin);
  std::size_t end = text.find('\n', from);
  if (end == std::string_view::npos) return {begin, static_cast<int>(text.size())};
  if (end > from && text[end - 1] == '\r') --end;
  return {begin, static_cast<int>(end)};
}

int NextLineBegin(std::string_view text, Unit line) {
  auto position = static_cast<std::size_t>(line.end);
  if (position >= text.size()) return static_cast<int>(text.size());
  if (text[position] == '\r') ++position;
  return static_cast<int>(position + 1);
}

bool UnitWalker::Next(Unit& unit) {
  switch (scope_) {
    case Scope::kFile:
      return NextFile(unit);
    case Scope::kParagraph:
      return NextParagraph(unit);
    case Scope::kLine:
      return NextLine(unit);
  }
  return false;
}

bool UnitWalker::NextFile(Unit& unit) {
  if (fileDone_) return false;
  fileDone_ = true;
  std::string_view content = text_;
  if (content.ends_with('\n')) content.remove_suffix(content.ends_with("\r\n") ? 2 : 1);
  unit = {0, static_cast<int>(content.size())};
  return true;
}

bool UnitWalker::NextLine(Unit& unit) {
  if (AtEnd()) return false;
  unit = LineAt(text_, position_);
  position_ = NextLineBegin(text_, unit);
  return true;
}

bool UnitWalker::NextParagraph(Unit& unit) {
  Unit line{};
  do {
    if (!NextLine(line)) return false;
  } while (line.begin == line.end);
  unit = line;
  while (NextLine(line) && line.begin != line.end)
    unit.end = line.end;
  return true;
}

void FlattenLineEnds(char* text, int length) {
  char* const end = text + length;
  for (char* p = text; p < end; ++p) {
    p = static_cast<char*>(std::memchr(p, '\r', static_cast<std::size_t>(end - p)));
    if (p == nullptr) return;
    if (p + 1 < end && p[1] == '\n') *p = '\n';
  }
}

}  // namespace trovex::cli
