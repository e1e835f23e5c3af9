// Members, ranges and classes of a set.

#include "query/expression/set_reader.h"

#include "text/code_page.h"

#include <initializer_list>
#include <optional>
#include <string>

namespace trovex {

namespace {

class SetReader {
 public:
  SetReader(const ExpressionText& text, std::size_t begin, bool caseSensitive)
      : text_(text), begin_(begin), place_(begin + 1), caseSensitive_(caseSensitive) {}

  SetReading Read() {
    const bool negated = At(0, '^');
    if (negated) ++place_;
    for (bool first = true; reading_.fault == MessageNumber::kNone; first = false) {
      if (place_ >= text_.Size()) {
        Refuse(MessageNumber::kUnmatchedSquareBracket, begin_, begin_ + 1);
        break;
      }
      if (At(0, ']') && !first) break;
      ReadMember(first);
    }
    reading_.end = place_ + 1;
    if (!caseSensitive_) reading_.set = ClosedUnderCase(reading_.set);
    if (negated) reading_.set.flip();
    reading_.set.reset('\n');
    return reading_;
  }

 private:
  bool At(std::size_t ahead, unsigned char c) const {
    return place_ + ahead < text_.Size() && text_.characters[place_ + ahead] == c;
  }

  void Refuse(MessageNumber fault, std::size_t begin, std::size_t end) {
    reading_.fault = fault;
    reading_.faultBegin = begin;
    reading_.faultEnd = end;
  }

  /// Reads a character, a range or a class.
  void ReadMember(bool first) {
    const std::size_t begin = place_;
    if (ReadClass()) {
      if (AtRange()) Refuse(MessageNumber::kInvalidRangeEnd, begin, place_ + 1);
      return;
    }
    const bool isLast = place_ + 1 == text_.Size() || At(1, ']');
    const bool misplaced = At(0, '-') && !first && !isLast;
    const unsigned char low = ReadCharacter();
    if (reading_.fault != MessageNumber::kNone) return;
    if (misplaced) return Refuse(MessageNumber::kInvalidRangeEnd, begin, place_);
    if (!AtRange()) {
      reading_.set.set(low);
      return;
    }
    ++place_;
    const std::size_t highBegin = place_;
    if (ReadClass()) return Refuse(MessageNumber::kInvalidRangeEnd, highBegin, place_);
    AddRange(low, ReadCharacter());
  }

  /// Whether the hyphen of a range comes next: one that is not the last member.
  bool AtRange() const { return At(0, '-') && place_ + 1 < text_.Size() && !At(1, ']'); }

  void AddRange(unsigned char low, unsigned char high) {
    for (unsigned c = low; c <= high; ++c) {
      if (c != text_.substitute || c == low || c == high) reading_.set.set(c);
    }
  }

  /// Reads a "[:name:]" if one stands here and adds its class.
  bool ReadClass() {
    const std::size_t name = place_ + 2;
    const std::optional<std::size_t> end = NameEnd(':');
    if (!end) return false;
    const auto* const characters = text_.characters.data();
    const std::optional<CharSet> members =
        CodePageClass(std::string(characters + name, characters + *end));
    if (members) {
      reading_.set |= *members;
    } else {
      Refuse(MessageNumber::kInvalidClassName, place_, *end + 2);
    }
    place_ = *end + 2;
    return true;
  }

  /// Reads a character, which may be named as in "[.a.]".
  unsigned char ReadCharacter() {
    for (const auto delimiter : std::initializer_list<unsigned char>{'.', '='}) {
      if (!At(0, '[') || !At(1, delimiter)) continue;
      if (At(3, delimiter) && At(4, ']')) {
        place_ += 5;
        return text_.characters[place_ - 3];
      }
      if (const std::optional<std::size_t> end = NameEnd(delimiter)) {
        Refuse(MessageNumber::kInvalidCharacter, place_, *end + 2);
        place_ = *end + 2;
        return 0;
      }
    }
    return text_.characters[place_++];
  }

  /// Where the letters after a "[" and the delimiter end, if the delimiter and a "]" stand there.
  std::optional<std::size_t> NameEnd(unsigned char delimiter) const {
    if (!At(0, '[') || !At(1, delimiter)) return std::nullopt;
    std::size_t end = place_ + 2;
    while (end < text_.Size() && IsCodePageLetter(text_.characters[end]))
      ++end;
    const std::size_t length = end - place_;
    if (length == 2 || !At(length, delimiter) || !At(length + 1, ']')) return std::nullopt;
    return end;
  }

  const ExpressionText& text_;
  std::size_t begin_;
  std::size_t place_;
  bool caseSensitive_;
  SetReading reading_;
};

}  // namespace

SetReading ReadSet(const ExpressionText& text, std::size_t begin, bool caseSensitive) {
  return SetReader(text, begin, caseSensitive).Read();
}

CharSet ClosedUnderCase(const CharSet& set) {
  CharSet closed = set;
  for (unsigned c = 0; c < set.size(); ++c) {
    if (!set[c]) continue;
    closed.set(CodePageUpper(static_cast<unsigned char>(c)));
    closed.set(CodePageLower(static_cast<unsigned char>(c)));
  }
  return closed;
}

}  // namespace trovex
