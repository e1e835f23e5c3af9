#include "hosts/sqlite/characters.h"

#include <algorithm>

namespace trovex::sqlite {
namespace {

/// What is counted at once; a piece that is not valid UTF-8 is counted again byte by byte.
constexpr std::size_t kPiece = 4096;

bool IsContinuation(char byte) {
  return static_cast<signed char>(byte) < -64;  // 0x80 to 0xBF
}

bool IsAscii(char byte) {
  return static_cast<signed char>(byte) >= 0;
}

bool BeginsLongCharacter(char byte) {
  return static_cast<unsigned char>(byte) >= 0xC0;
}

std::size_t CountBeginnings(std::string_view bytes) {
  std::size_t count = 0;
  for (const char byte : bytes)
    count += IsContinuation(byte) ? 0 : 1;
  return count;
}

/// Whether a continuation byte stands after an ASCII character.
bool HasStrayContinuation(std::string_view bytes) {
  unsigned stray = 0;
  for (std::size_t i = 1; i < bytes.size(); ++i)
    stray |= static_cast<unsigned>(IsContinuation(bytes[i])) &
             static_cast<unsigned>(IsAscii(bytes[i - 1]));
  return stray != 0;
}

}  // namespace

std::size_t CharacterCounter::CountTo(std::size_t place) {
  while (place_ < place) {
    const std::size_t end = std::min(place, place_ + kPiece);
    const std::string_view piece = text_.substr(place_, end - place_);
    if ((IsContinuation(piece.front()) && !isInCharacter_) || HasStrayContinuation(piece)) {
      CountSlowly(end);
      continue;
    }
    count_ += CountBeginnings(piece);
    // A piece of nothing but continuation bytes leaves it as it was.
    const bool endsInside = IsContinuation(piece.back()) || BeginsLongCharacter(piece.back());
    isInCharacter_ = endsInside;
    place_ = end;
  }
  return count_;
}

void CharacterCounter::CountSlowly(std::size_t end) {
  for (; place_ < end; ++place_) {
    const char byte = text_[place_];
    if (IsContinuation(byte)) {
      if (!isInCharacter_) ++count_;
    } else {
      ++count_;
      isInCharacter_ = BeginsLongCharacter(byte);
    }
  }
}

}  // namespace trovex::sqlite
