// The lexer and the parser of pattern trees.

#include "matcher/pattern/pattern_syntax.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

namespace trovex {

namespace {

/// The largest bound of an interval that the engine takes.
constexpr int kMaxBound = 32767;
/// The longest name in "[.name.]" or "[=name=]"; only names of one byte exist.
constexpr int kMaxElementName = 32;

constexpr bool IsDigitByte(int c) {
  return c >= '0' && c <= '9';
}
constexpr bool IsLetterOrDigit(int c) {
  return IsDigitByte(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
constexpr bool IsSpaceByte(int c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

enum class TokenKind {
  kEnd,
  kByte,
  kAny,
  kWordByte,
  kNotWordByte,
  kSpaceByte,
  kNotSpaceByte,
  kBracket,
  kAnchor,
  kBackReference,
  kOpenGroup,
  kCloseGroup,
  kAlternate,
  kStar,
  kPlus,
  kOptional,
  kOpenInterval,
  kCloseInterval,
  kLoneBackslash,
};

struct Token {
  TokenKind kind;
  int value = 0;  // the byte, the anchor or the group

  /// Whether this is the byte `c`, escaped or not.
  bool IsByte(int c) const { return kind == TokenKind::kByte && value == c; }
};

Token AnchorToken(Anchor anchor) {
  return {TokenKind::kAnchor, static_cast<int>(anchor)};
}

/// The meaning of byte `c` after a backslash.
Token EscapedToken(int c) {
  if (c >= '1' && c <= '9') return {TokenKind::kBackReference, c - '0'};
  switch (c) {
    case '<':
      return AnchorToken(Anchor::kWordStart);
    case '>':
      return AnchorToken(Anchor::kWordEnd);
    case 'b':
      return AnchorToken(Anchor::kWordEdge);
    case 'B':
      return AnchorToken(Anchor::kNotWordEdge);
    case '`':
      return AnchorToken(Anchor::kTextStart);
    case '\'':
      return AnchorToken(Anchor::kTextEnd);
    case 'w':
      return {TokenKind::kWordByte};
    case 'W':
      return {TokenKind::kNotWordByte};
    case 's':
      return {TokenKind::kSpaceByte};
    case 'S':
      return {TokenKind::kNotSpaceByte};
    default:
      return {TokenKind::kByte, c};
  }
}

/// The meaning of byte `c` by itself.
Token PlainToken(int c) {
  switch (c) {
    case '\n':
    case '|':
      return {TokenKind::kAlternate};
    case '*':
      return {TokenKind::kStar};
    case '+':
      return {TokenKind::kPlus};
    case '?':
      return {TokenKind::kOptional};
    case '{':
      return {TokenKind::kOpenInterval};
    case '}':
      return {TokenKind::kCloseInterval, c};
    case '(':
      return {TokenKind::kOpenGroup};
    case ')':
      return {TokenKind::kCloseGroup};
    case '[':
      return {TokenKind::kBracket};
    case '.':
      return {TokenKind::kAny};
    case '^':
      return AnchorToken(Anchor::kLineStart);
    case '$':
      return AnchorToken(Anchor::kLineEnd);
    default:
      return {TokenKind::kByte, c};
  }
}

bool IsRepetition(TokenKind kind) {
  return kind == TokenKind::kStar || kind == TokenKind::kPlus || kind == TokenKind::kOptional ||
         kind == TokenKind::kOpenInterval;
}

/// The bytes of a pattern, translated, with a place in them.
class PatternBytes {
 public:
  PatternBytes(const char* pattern, std::size_t length, const ByteMap& translate)
      : pattern_(reinterpret_cast<const unsigned char*>(pattern)),
        length_(length),
        translate_(translate) {}

  bool AtEnd() const { return place_ >= length_; }
  /// Whether there is a byte `ahead` of the place.
  bool Has(std::size_t ahead) const { return ahead < length_ - place_; }
  int Peek(std::size_t ahead = 0) const { return translate_[pattern_[place_ + ahead]]; }
  void Skip(std::size_t count) { place_ += count; }
  std::size_t Place() const { return place_; }
  void GoBackTo(std::size_t place) { place_ = place; }

  Token NextToken() {
    if (AtEnd()) return {TokenKind::kEnd};
    const int c = Peek();
    Skip(1);
    if (c != '\\') return PlainToken(c);
    if (AtEnd()) return {TokenKind::kLoneBackslash};
    return EscapedToken(pattern_[place_++]);
  }

 private:
  const unsigned char* pattern_;
  std::size_t length_;
  const ByteMap& translate_;
  std::size_t place_ = 0;
};

/// Reads the list between "[" and "]". `bytes` stands after the "[".
class BracketParser {
 public:
  explicit BracketParser(PatternBytes& bytes) : bytes_(bytes) {}

  /// The bytes that the list stands for, or nothing if it is faulty.
  std::optional<CharSet> Parse() {
    const bool negated = !bytes_.AtEnd() && bytes_.Peek() == '^';
    if (negated) {
      set_.set('\n');  // so that the complement never holds it
      bytes_.Skip(1);
    }
    Element element = Next();
    // A "]" that stands first is a member.
    if (element.kind == ElementKind::kClose) element.kind = ElementKind::kByte;
    for (bool first = true; element.kind != ElementKind::kClose; first = false) {
      if (!Add(element, first)) return std::nullopt;
      element = Next();
    }
    if (negated) set_.flip();
    return set_;
  }

 private:
  enum class ElementKind { kEnd, kByte, kHyphen, kClose, kCollating, kEquivalence };
  struct Element {
    ElementKind kind;
    int byte = 0;
  };

  /// Reads one element; of "[." and "[=" only these two bytes.
  Element Next() {
    if (bytes_.AtEnd()) return {ElementKind::kEnd};
    const int c = bytes_.Peek();
    bytes_.Skip(1);
    if (c == ']') return {ElementKind::kClose, c};
    if (c == '[' && bytes_.Has(0) && (bytes_.Peek() == '.' || bytes_.Peek() == '=')) {
      const int delimiter = bytes_.Peek();
      bytes_.Skip(1);
      return {delimiter == '.' ? ElementKind::kCollating : ElementKind::kEquivalence, delimiter};
    }
    return {c == '-' ? ElementKind::kHyphen : ElementKind::kByte, c};
  }

  /// Adds the member or range that begins with `start`. Returns false if it is faulty.
  bool Add(const Element& start, bool first) {
    const std::optional<int> low = ByteOf(start, first);
    if (!low) return false;
    if (start.kind == ElementKind::kEquivalence || !AtRange()) {
      if (bytes_.AtEnd()) return false;
      set_.set(static_cast<std::size_t>(*low));
      return true;
    }
    bytes_.Skip(1);
    const Element end = Next();
    if (end.kind == ElementKind::kEquivalence) return false;
    const std::optional<int> high = ByteOf(end, true);
    if (!high) return false;
    for (int c = *low; c <= *high; ++c)
      set_.set(static_cast<std::size_t>(c));
    return true;
  }

  /// Whether the hyphen of a range comes next: one that is not the last member.
  bool AtRange() const { return bytes_.Has(1) && bytes_.Peek() == '-' && bytes_.Peek(1) != ']'; }

  /// The byte that `element` stands for, or nothing if it is faulty there.
  std::optional<int> ByteOf(const Element& element, bool acceptHyphen) {
    switch (element.kind) {
      case ElementKind::kEnd:
        return std::nullopt;
      case ElementKind::kCollating:
      case ElementKind::kEquivalence:
        return NamedByte(element.byte);
      case ElementKind::kHyphen:
        if (!acceptHyphen && (bytes_.AtEnd() || bytes_.Peek() != ']')) return std::nullopt;
        return element.byte;
      default:
        return element.byte;
    }
  }

  /// The byte named between "[." and ".]" or "[=" and "=]"; nothing if there is no such byte.
  std::optional<int> NamedByte(int delimiter) {
    int name = 0;
    for (int length = 0; length < kMaxElementName; ++length) {
      if (!bytes_.Has(1)) return std::nullopt;
      const int c = bytes_.Peek();
      bytes_.Skip(1);
      if (c == delimiter && bytes_.Peek() == ']') {
        bytes_.Skip(1);
        if (length != 1 || name == 0) return std::nullopt;
        return name;
      }
      name = c;
    }
    return std::nullopt;
  }

  PatternBytes& bytes_;
  CharSet set_;
};

class PatternParser {
 public:
  PatternParser(const char* pattern, std::size_t length, SyntaxTree& tree)
      : bytes_(pattern, length, tree.translate), tree_(tree) {}

  void Parse() {
    levels_.emplace_back();
    while (!tree_.faulty && ParseExpression()) {
    }
    // Groups that a fault left open count as closed.
    while (levels_.size() > 1)
      CloseGroup();
    EndLevel();
  }

 private:
  /// A group that is being read, or the whole pattern.
  struct Level {
    int group = 0;
    std::vector<int> alternatives;
    std::vector<int> sequence;
    // A back-reference needs a group that is complete: the groups complete where the level began,
    // and those that its earlier alternatives completed.
    unsigned completeBefore = 0;
    unsigned completeElsewhere = 0;
  };

  static constexpr int kNoBound = -1;
  static constexpr int kBadBound = -2;

  /// Reads one expression with its repetitions, a "|" or a bracket. Returns false at the end.
  bool ParseExpression() {
    Token token = bytes_.NextToken();
    const bool skipped = IsRepetition(token.kind);
    if (skipped) token = SkipOperators(token);
    switch (token.kind) {
      case TokenKind::kEnd:
        tree_.faulty = levels_.size() > 1;
        return false;
      case TokenKind::kAlternate:
        NextAlternative();
        return true;
      case TokenKind::kOpenGroup:
        OpenGroup();
        return true;
      case TokenKind::kCloseGroup:
        if (skipped || levels_.size() == 1) return Fault();
        CloseGroup();
        break;
      case TokenKind::kAnchor:  // takes no repetition
        Append(SyntaxKind::kAnchor, token.value);
        return true;
      default:
        if (!ParseAtom(token)) return Fault();
    }
    return ParseRepetitions();
  }

  bool Fault() {
    tree_.faulty = true;
    return false;
  }

  /// Skips the operators from `token` on and returns the token after them.
  Token SkipOperators(Token token) {
    int count = 0;
    for (; IsRepetition(token.kind); token = bytes_.NextToken())
      ++count;
    tree_.skippedOperators = std::max(tree_.skippedOperators, count);
    return token;
  }

  /// Appends the expression of a single token. Returns false if it is faulty.
  bool ParseAtom(const Token& token) {
    switch (token.kind) {
      case TokenKind::kBracket: {
        const std::optional<CharSet> set = BracketParser(bytes_).Parse();
        if (set) AppendSet(*set);
        return set.has_value();
      }
      case TokenKind::kBackReference:
        Append(SyntaxKind::kBackReference, token.value);
        return (complete_ & GroupBit(token.value)) != 0;
      case TokenKind::kAny:
        AppendSet(CharSet().set('\n').flip());
        return true;
      case TokenKind::kWordByte:
        AppendSet(WordBytes());
        return true;
      case TokenKind::kNotWordByte:
        AppendSet(WordBytes().flip());
        return true;
      case TokenKind::kSpaceByte:
        AppendSet(SpaceBytes());
        return true;
      case TokenKind::kNotSpaceByte:
        AppendSet(SpaceBytes().flip());
        return true;
      case TokenKind::kLoneBackslash:
        return false;
      default:
        Append(SyntaxKind::kByte, token.value);
        return true;
    }
  }

  /// The classes hold bytes as the translated text has them.
  CharSet WordBytes() const {
    CharSet set;
    for (int c = 0; c < 256; ++c) {
      if (IsLetterOrDigit(c)) set.set(tree_.translate[static_cast<std::size_t>(c)]);
    }
    return set.set('_');
  }
  CharSet SpaceBytes() const {
    CharSet set;
    for (int c = 0; c < 256; ++c) {
      if (IsSpaceByte(c)) set.set(tree_.translate[static_cast<std::size_t>(c)]);
    }
    return set;
  }

  /// Applies the repetition operators that follow to the latest expression. Returns false at a
  /// fault.
  bool ParseRepetitions() {
    while (true) {
      const std::size_t place = bytes_.Place();
      switch (bytes_.NextToken().kind) {
        case TokenKind::kStar:
          Repeat(0, kUnbounded);
          break;
        case TokenKind::kPlus:
          Repeat(1, kUnbounded);
          break;
        case TokenKind::kOptional:
          Repeat(0, 1);
          break;
        case TokenKind::kOpenInterval:
          if (!ParseInterval()) return Fault();
          break;
        default:
          bytes_.GoBackTo(place);
          return true;
      }
    }
  }

  /// Reads the rest of an interval and applies it. Returns false if it is faulty.
  bool ParseInterval() {
    Token end{};
    int min = ParseBound(end);
    if (min == kNoBound) {
      if (!end.IsByte(',')) return false;
      min = 0;
    }
    int max = min;
    if (end.IsByte(',')) {
      max = ParseBound(end);
      if (max == kNoBound) max = kUnbounded;
    }
    if (min == kBadBound || max == kBadBound || end.kind != TokenKind::kCloseInterval) return false;
    if (max != kUnbounded && min > max) return false;
    if (std::max(min, max) > kMaxBound) return false;
    Repeat(min, max);
    return true;
  }

  /// Reads a bound up to the "," or "}" after it, which goes to `end`.
  int ParseBound(Token& end) {
    int bound = kNoBound;
    while (true) {
      end = bytes_.NextToken();
      if (end.kind == TokenKind::kCloseInterval || end.IsByte(',')) return bound;
      if (end.kind != TokenKind::kByte || !IsDigitByte(end.value)) return kBadBound;
      bound = std::min(std::max(bound, 0) * 10 + end.value - '0', kMaxBound + 1);
    }
  }

  void OpenGroup() {
    Level level;
    level.group = ++tree_.groupCount;
    level.completeBefore = complete_;
    levels_.push_back(std::move(level));
  }

  void CloseGroup() {
    const int group = levels_.back().group;
    const int body = EndLevel();
    complete_ |= GroupBit(group);
    Append(SyntaxKind::kGroup, group);
    tree_.nodes.back().firstChild = body;
  }

  void NextAlternative() {
    Level& level = levels_.back();
    EndSequence(level);
    level.completeElsewhere |= complete_;
    complete_ = level.completeBefore;
  }

  void EndSequence(Level& level) {
    level.alternatives.push_back(Join(SyntaxKind::kConcat, level.sequence));
    level.sequence.clear();
  }

  /// Leaves the innermost level and returns its expression.
  int EndLevel() {
    Level& level = levels_.back();
    EndSequence(level);
    complete_ |= level.completeElsewhere;
    const int whole = Join(SyntaxKind::kAlternate, level.alternatives);
    levels_.pop_back();
    return whole;
  }

  /// The node for `children` in order: none, the one, or a new node above them.
  int Join(SyntaxKind kind, const std::vector<int>& children) {
    if (children.size() == 1) return children.front();
    if (children.empty()) return Add(SyntaxKind::kEmpty, 0);
    for (std::size_t i = 0; i + 1 < children.size(); ++i) {
      tree_.nodes[static_cast<std::size_t>(children[i])].nextSibling = children[i + 1];
    }
    const int parent = Add(kind, 0);
    tree_.nodes.back().firstChild = children.front();
    return parent;
  }

  void Repeat(int min, int max) {
    const int repeat = Add(SyntaxKind::kRepeat, 0);
    SyntaxNode& node = tree_.nodes.back();
    node.min = min;
    node.max = max;
    node.firstChild = std::exchange(levels_.back().sequence.back(), repeat);
  }

  void AppendSet(const CharSet& set) {
    tree_.sets.push_back(set);
    Append(SyntaxKind::kSet, static_cast<int>(tree_.sets.size()) - 1);
  }

  void Append(SyntaxKind kind, int value) { levels_.back().sequence.push_back(Add(kind, value)); }

  int Add(SyntaxKind kind, int value) {
    SyntaxNode node;
    node.kind = kind;
    node.value = value;
    tree_.nodes.push_back(node);
    return tree_.Root();
  }

  /// Only the groups 1 to 9 can be referred to.
  static unsigned GroupBit(int group) { return group <= 9 ? 1U << group : 0; }

  PatternBytes bytes_;
  SyntaxTree& tree_;
  std::vector<Level> levels_;
  unsigned complete_ = 0;  // the groups that a back-reference may name here
};

}  // namespace

SyntaxTree ParsePattern(const char* pattern, std::size_t length, const ByteMap* translate) {
  SyntaxTree tree;
  if (translate != nullptr) tree.translate = *translate;
  PatternParser(pattern, length, tree).Parse();
  return tree;
}

bool IsEngineWordByte(int c) {
  return c == '_' || IsLetterOrDigit(c);
}

}  // namespace trovex
