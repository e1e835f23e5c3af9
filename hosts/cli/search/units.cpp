// Lines, paragraphs, and the places between them.

#include "hosts/cli/search/units.h"

#include <algorithm>
#include <cstring>

#if defined(__x86_64__) && defined(__GNUC__)
#include <immintrin.h>
#endif

namespace trovex::cli {

namespace {

constexpr std::size_t npos = std::string_view::npos;

/// Whether the line that begins at `place` is empty.
bool IsEmptyLine(std::string_view text, std::size_t place) {
  if (place >= text.size()) return true;
  return text[place] == '\n' || (text[place] == '\r' && text.substr(place, 2) == "\r\n");
}

std::size_t LineBegin(std::string_view text, std::size_t place) {
  if (place == 0) return 0;
  const void* const feed = memrchr(text.data(), '\n', place);
  if (feed == nullptr) return 0;
  return static_cast<std::size_t>(static_cast<const char*>(feed) - text.data()) + 1;
}

std::size_t FindLineFeed(std::string_view text, std::size_t from) {
  if (from >= text.size()) return npos;
  const void* const feed = std::memchr(text.data() + from, '\n', text.size() - from);
  if (feed == nullptr) return npos;
  return static_cast<std::size_t>(static_cast<const char*>(feed) - text.data());
}

Range LineFrom(std::string_view text, std::size_t begin) {
  std::size_t end = FindLineFeed(text, begin);
  if (end == npos) return {begin, text.size()};
  if (end > begin && text[end - 1] == '\r') --end;
  return {begin, end};
}

std::int64_t CountPlainly(const char* text, std::size_t size) {
  std::int64_t count = 0;
  for (std::size_t i = 0; i < size; ++i)
    count += text[i] == '\n' ? 1 : 0;
  return count;
}

#if defined(__x86_64__) && defined(__GNUC__)
// Thirty-two bytes at a time. A lane of the sum holds up to 255 before it is emptied.
typedef unsigned char Lanes __attribute__((vector_size(32)));
typedef long long Sums __attribute__((vector_size(32)));

__attribute__((target("avx2"))) std::int64_t CountWide(const char* text, std::size_t size) {
  std::int64_t count = 0;
  std::size_t i = 0;
  while (size - i >= sizeof(Lanes)) {
    const std::size_t steps = std::min<std::size_t>((size - i) / sizeof(Lanes), 255);
    Lanes sum = {};
    for (std::size_t step = 0; step < steps; ++step, i += sizeof(Lanes)) {
      Lanes bytes;
      std::memcpy(&bytes, text + i, sizeof bytes);
      sum -=
          reinterpret_cast<Lanes>(bytes == static_cast<unsigned char>('\n'));  // -1 where it is one
    }
    const auto sums = reinterpret_cast<Sums>(
        _mm256_sad_epu8(reinterpret_cast<__m256i>(sum), reinterpret_cast<__m256i>(Lanes{})));
    count += sums[0] + sums[1] + sums[2] + sums[3];
  }
  return count + CountPlainly(text + i, size - i);
}

bool HasWide() {
  static const bool has = __builtin_cpu_supports("avx2") != 0;
  return has;
}
#else
std::int64_t CountWide(const char* text, std::size_t size) {
  return CountPlainly(text, size);
}
bool HasWide() {
  return false;
}
#endif

bool NextLine(std::string_view text, std::size_t& place, Range& line) {
  if (place >= text.size()) return false;
  line = LineFrom(text, place);
  place = NextLineBegin(text, line.end);
  return true;
}

bool NextParagraph(std::string_view text, std::size_t& place, Range& unit) {
  Range line{};
  do {
    if (!NextLine(text, place, line)) return false;
  } while (line.begin == line.end);
  unit = line;
  while (NextLine(text, place, line) && line.begin != line.end)
    unit.end = line.end;
  return true;
}

}  // namespace

std::string_view WithoutLineEnd(std::string_view text) {
  if (text.ends_with('\n')) text.remove_suffix(text.ends_with("\r\n") ? 2 : 1);
  return text;
}

Range LineAround(std::string_view text, std::size_t place) {
  return LineFrom(text, LineBegin(text, place));
}

std::size_t NextLineBegin(std::string_view text, std::size_t place) {
  const std::size_t feed = FindLineFeed(text, place);
  return feed == npos ? text.size() : feed + 1;
}

std::int64_t CountLineFeeds(std::string_view text) {
  return HasWide() ? CountWide(text.data(), text.size()) : CountPlainly(text.data(), text.size());
}

bool NextUnit(std::string_view text, Scope scope, std::size_t& place, Range& unit) {
  switch (scope) {
    case Scope::kFile:
      if (place > text.size()) return false;
      unit = {place, WithoutLineEnd(text).size()};
      place = text.size() + 1;
      return true;
    case Scope::kParagraph:
      return NextParagraph(text, place, unit);
    case Scope::kLine:
      return NextLine(text, place, unit);
  }
  return false;
}

Range UnitAround(std::string_view text, Scope scope, std::size_t place) {
  Range unit = LineAround(text, place);
  if (scope == Scope::kLine || unit.begin == unit.end) return unit;
  while (unit.begin > 0) {
    const Range before = LineAround(text, unit.begin - 1);
    if (before.begin == before.end) break;
    unit.begin = before.begin;
  }
  std::size_t next = NextLineBegin(text, unit.end);
  for (Range line{}; NextLine(text, next, line) && line.begin != line.end;)
    unit.end = line.end;
  return unit;
}

std::size_t FirstCut(std::string_view text, Scope scope, std::size_t from) {
  if (from == 0) return 0;
  for (std::size_t feed = from - 1; (feed = FindLineFeed(text, feed)) != npos; ++feed) {
    if (scope != Scope::kParagraph || IsEmptyLine(text, LineBegin(text, feed))) return feed + 1;
  }
  return npos;
}

std::size_t LastCut(std::string_view text, Scope scope) {
  std::size_t place = text.size();
  while (place > 0) {
    const void* const feed = memrchr(text.data(), '\n', place);
    if (feed == nullptr) return 0;
    const auto at = static_cast<std::size_t>(static_cast<const char*>(feed) - text.data());
    if (scope != Scope::kParagraph || IsEmptyLine(text, LineBegin(text, at))) return at + 1;
    place = at;
  }
  return 0;
}

}  // namespace trovex::cli
