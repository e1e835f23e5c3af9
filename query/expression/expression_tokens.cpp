// From characters to tokens.

#include "query/expression/expression_tokens.h"

#include "matcher/pattern/pattern_syntax.h"
#include "query/expression/set_reader.h"
#include "text/code_page.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <utility>

namespace trovex {

namespace {

/// The largest bound of a repetition.
constexpr int kMaxBound = 32767;

bool IsDigit(unsigned char c) {
  return c >= '0' && c <= '9';
}

/// White space of a line.
bool IsBlank(unsigned char c) {
  return c == ' ' || c == '\t' || c == '\v' || c == '\f' || c == '\r';
}

class TokenReader {
 public:
  TokenReader(const ExpressionText& text, bool caseSensitive)
      : text_(text), caseSensitive_(caseSensitive) {
    result_.substitute = text.substitute;
    result_.tokens.reserve(text.Size());
  }

  std::variant<ExpressionTokens, QueryFault> Read() {
    if (text_.lacking) return QueryFault{MessageNumber::kInvalidCharacter, *text_.lacking};
    while (place_ < text_.Size()) {
      tokenBegin_ = place_;
      ReadToken(text_.characters[place_++]);
      if (fault_) return *fault_;
    }
    SortOutLineFeeds();
    return std::move(result_);
  }

 private:
  bool AtEnd() const { return place_ >= text_.Size(); }
  bool At(unsigned char c) const { return !AtEnd() && text_.characters[place_] == c; }
  bool AtDigit() const { return !AtEnd() && IsDigit(text_.characters[place_]); }

  Token& Add(TokenKind kind, unsigned char value = 0) {
    Token token;
    token.kind = kind;
    token.value = value;
    const TypedRange typed = text_.RangeOf(tokenBegin_, place_);
    token.begin = static_cast<std::uint32_t>(typed.begin);
    token.end = static_cast<std::uint32_t>(typed.end);
    result_.tokens.push_back(token);
    return result_.tokens.back();
  }

  /// Adds a token whose meaning stands at the end of `list`.
  template <typename T>
  void AddListed(TokenKind kind, std::vector<T>& list, const T& meaning) {
    list.push_back(meaning);
    Add(kind).index = static_cast<std::uint32_t>(list.size() - 1);
  }

  void AddSet(CharSet set) { AddListed(TokenKind::kSet, result_.sets, set.reset('\n')); }
  void AddAnchor(Anchor anchor) { Add(TokenKind::kAnchor, static_cast<unsigned char>(anchor)); }
  void AddRepetition(int min, int max) {
    AddListed(TokenKind::kRepetition, result_.repetitions, RepetitionBounds{min, max});
  }

  void Refuse(MessageNumber number, std::size_t begin, std::size_t end) {
    fault_ = QueryFault{number, text_.RangeOf(begin, end)};
  }
  void RefuseToken(MessageNumber number) { Refuse(number, tokenBegin_, place_); }

  void ReadToken(unsigned char c) {
    switch (c) {
      case '\\':
        return ReadEscape();
      case '[':
        return ReadBracketSet();
      case '.':
        return AddSet(CharSet().set());
      case '^':
        return AddAnchor(Anchor::kLineStart);
      case '$':
        return AddAnchor(Anchor::kLineEnd);
      case '*':
        return AddRepetition(0, kUnbounded);
      case '+':
        return AddRepetition(1, kUnbounded);
      case '?':
        return AddRepetition(0, 1);
      case '{':
        return ReadInterval();
      case '(':
        Add(TokenKind::kOpen).tag = static_cast<std::uint32_t>(++result_.tagCount);
        return;
      case ')':
        Add(TokenKind::kClose);
        return;
      case '|':
        Add(TokenKind::kBar);
        return;
      case '&':
        return ReadAnd();
      case '!':
        Add(TokenKind::kNot, c);
        return;
      case '~':
        Add(TokenKind::kTilde, c);
        return;
      default:
        Add(IsBlank(c) || c == '\n' ? TokenKind::kBlank : TokenKind::kCharacter, c);
        return;
    }
  }

  void ReadEscape() {
    if (AtEnd()) return RefuseToken(MessageNumber::kTrailingBackslash);
    const unsigned char c = text_.characters[place_++];
    if (c >= '1' && c <= '9') {
      Add(TokenKind::kBackReference, static_cast<unsigned char>(c - '0'));
      return;
    }
    switch (c) {
      case '<':
        return AddAnchor(Anchor::kWordStart);
      case '>':
        return AddAnchor(Anchor::kWordEnd);
      case 'b':
        return AddAnchor(Anchor::kWordEdge);
      case 'B':
        return AddAnchor(Anchor::kNotWordEdge);
      case '`':
        return AddAnchor(Anchor::kTextStart);
      case '\'':
        return AddAnchor(Anchor::kTextEnd);
      case 'w':
        return AddSet(CodePageWords());
      case 'W':
        return AddSet(~CodePageWords());
      case 's':
        return AddSet(*CodePageClass("space"));
      case 'S':
        return AddSet(~*CodePageClass("space"));
      case 'd':
        return AddSet(*CodePageClass("digit"));
      case 'D':
        return AddSet(~*CodePageClass("digit"));
      case 't':
        Add(TokenKind::kCharacter, '\t').escaped = true;
        return;
      default:
        if (IsDigit(c) || IsCodePageLetter(c)) return RefuseToken(MessageNumber::kUnknownEscape);
        Add(TokenKind::kCharacter, c).escaped = true;
        return;
    }
  }

  void ReadBracketSet() {
    const SetReading reading = ReadSet(text_, tokenBegin_, caseSensitive_);
    if (reading.fault != MessageNumber::kNone) {
      return Refuse(reading.fault, reading.faultBegin, reading.faultEnd);
    }
    place_ = reading.end;
    AddSet(reading.set);
  }

  /// The number that stands here, at most `limit`; nothing without digits.
  std::optional<std::int64_t> ReadNumber(std::int64_t limit) {
    if (!AtDigit()) return std::nullopt;
    std::int64_t number = 0;
    for (; AtDigit(); ++place_) {
      const int digit = text_.characters[place_] - '0';
      number = number > (limit - digit) / 10 ? limit : number * 10 + digit;
    }
    return number;
  }

  void ReadInterval() {
    const std::optional<std::int64_t> min = ReadNumber(kMaxBound + 1);
    const bool comma = At(',');
    if (comma) ++place_;
    const std::optional<std::int64_t> max = comma ? ReadNumber(kMaxBound + 1) : min;
    if (AtEnd()) return RefuseToken(MessageNumber::kUnmatchedBrace);
    const bool closed = text_.characters[place_++] == '}';
    if (!closed || (!min && !comma) || (min && max && *min > *max)) {
      return RefuseToken(MessageNumber::kInvalidRepetitionBounds);
    }
    if (std::max(min.value_or(0), max.value_or(0)) > kMaxBound) {
      return RefuseToken(MessageNumber::kExpressionTooLong);
    }
    AddRepetition(static_cast<int>(min.value_or(0)), static_cast<int>(max.value_or(kUnbounded)));
  }

  void ReadAnd() {
    AndLink link;
    link.ordered = At('>');
    if (link.ordered) ++place_;
    link.distance = ReadNumber(std::numeric_limits<std::int64_t>::max());
    if (link.distance && At('w') && EndsDistance(place_ + 1)) {
      link.unit = DistanceUnit::kWords;
      ++place_;
    }
    AddListed(TokenKind::kAnd, result_.links, link);
  }

  /// Whether a "w" before character `place` belongs to the distance.
  bool EndsDistance(std::size_t place) const {
    if (place >= text_.Size()) return true;
    const unsigned char c = text_.characters[place];
    return IsBlank(c) || c == '\n' || c == '(' || c == ')';
  }

  /// A line feed separates alternatives, except beside blanks at the end of a term, where it is one
  /// of them.
  void SortOutLineFeeds() {
    std::vector<Token>& tokens = result_.tokens;
    for (std::size_t i = 0; i < tokens.size();) {
      if (!tokens[i].Is(TokenKind::kBlank)) {
        ++i;
        continue;
      }
      const std::size_t begin = i;
      std::optional<std::size_t> feed;
      for (; i < tokens.size() && tokens[i].Is(TokenKind::kBlank); ++i) {
        if (tokens[i].value == '\n' && !feed) feed = i;
      }
      const bool first = begin == 0 || BeginsTerm(tokens[begin - 1].kind);
      const bool last = i == tokens.size() || EndsTerm(tokens[i].kind);
      if (feed && !first && !last) tokens[*feed].kind = TokenKind::kBar;
    }
  }
  static bool BeginsTerm(TokenKind before) {
    return before == TokenKind::kOpen || before == TokenKind::kBar || before == TokenKind::kAnd;
  }
  static bool EndsTerm(TokenKind after) {
    return after == TokenKind::kClose || after == TokenKind::kBar || after == TokenKind::kAnd;
  }

  const ExpressionText& text_;
  bool caseSensitive_;
  std::size_t place_ = 0;
  std::size_t tokenBegin_ = 0;
  ExpressionTokens result_;
  std::optional<QueryFault> fault_;
};

}  // namespace

bool Token::IsPlainLetter() const {
  return kind == TokenKind::kCharacter && !escaped && IsCodePageLetter(value);
}

std::variant<ExpressionTokens, QueryFault> ReadTokens(const ExpressionText& text,
                                                      bool caseSensitive) {
  return TokenReader(text, caseSensitive).Read();
}

}  // namespace trovex
