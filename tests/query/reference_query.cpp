#include "tests/query/reference_query.h"

#include <algorithm>
#include <functional>
#include <string_view>

namespace trovex::testing {

namespace {

// Typing.

std::string TypeCharacter(int code, bool utf8) {
  if (code >= 128)
    return utf8 ? std::string(Utf8Of(code)) : std::string(1, static_cast<char>(code));
  const char c = static_cast<char>(code);
  const bool special = std::string_view(".[]*+?{}()|^$\\&!~ ").find(c) != std::string_view::npos;
  return special ? std::string("\\") + c : std::string(1, c);
}

std::string TypePlain(int code, bool utf8) {
  return code >= 128 ? TypeCharacter(code, utf8) : std::string(1, static_cast<char>(code));
}

std::string TypePiece(const Piece& piece, bool utf8) {
  std::string typed;
  switch (piece.kind) {
    case PieceKind::kCharacter:
      return TypeCharacter(piece.code, utf8);
    case PieceKind::kAny:
      return ".";
    case PieceKind::kSet:
      typed = piece.negated ? "[^" : "[";
      for (const auto& [first, last] : piece.ranges) {
        typed += TypePlain(first, utf8);
        if (last != first) typed += "-" + TypePlain(last, utf8);
      }
      return typed + "]";
    case PieceKind::kLineStart:
      return "^";
    case PieceKind::kLineEnd:
      return "$";
    case PieceKind::kWordStart:
      return "\\<";
    case PieceKind::kWordEnd:
      return "\\>";
    case PieceKind::kWordEdge:
      return "\\b";
    case PieceKind::kNoWordEdge:
      return "\\B";
    case PieceKind::kReference:
      return "\\" + std::to_string(piece.number);
    case PieceKind::kGroup:
      return "(" + TypePiece(piece.children[0], utf8) + ")";
    case PieceKind::kSequence:
      for (const Piece& child : piece.children) {
        // Directly after a character "!" is an ordinary one.
        const bool isBang = child.kind == PieceKind::kCharacter && child.code == '!' &&
                            !typed.empty() && typed.back() >= 'a' && typed.back() <= 'z';
        typed += isBang ? "!" : TypePiece(child, utf8);
      }
      return typed;
    case PieceKind::kChoice:
      for (std::size_t i = 0; i < piece.children.size(); ++i)
        typed += (i > 0 ? "|" : "") + TypePiece(piece.children[i], utf8);
      return typed;
    case PieceKind::kRepeat:
      typed = TypePiece(piece.children[0], utf8);
      if (piece.least == 0 && piece.most == kEndless) return typed + "*";
      if (piece.least == 1 && piece.most == kEndless) return typed + "+";
      if (piece.least == 0 && piece.most == 1) return typed + "?";
      typed += "{" + std::to_string(piece.least);
      if (piece.most != piece.least) typed += ",";
      if (piece.most != piece.least && piece.most != kEndless) typed += std::to_string(piece.most);
      return typed + "}";
  }
  return typed;
}

void NumberGroups(Piece& piece, int& tag, int& number) {
  if (piece.kind == PieceKind::kGroup) {
    piece.tag = ++tag;
    piece.number = ++number;
  }
  for (Piece& child : piece.children)
    NumberGroups(child, tag, number);
}

void NumberFrom(RefQuery& query, int& tag) {
  if (query.kind == RefKind::kBracket) query.tag = ++tag;
  int number = 0;
  if (query.kind == RefKind::kPattern) NumberGroups(query.pattern, tag, number);
  for (RefQuery& operand : query.operands)
    NumberFrom(operand, tag);
}

// Matching.

/// One pattern on one text.
class ReferenceMatcher {
 public:
  ReferenceMatcher(Piece pattern, const Characters& text, const RefOptions& options)
      : pattern_(std::move(pattern)), text_(text), options_(options) {
    int id = 0;
    int number = 0;
    NumberPieces(pattern_, id, number);
  }

  /// All items of the pattern, line by line.
  std::vector<RefItem> Items() {
    std::vector<RefItem> items;
    std::size_t begin = 0;
    while (begin < text_.size() || (begin == 0 && text_.empty())) {
      std::size_t end = begin;
      while (end < text_.size() && text_[end].code != '\n')
        ++end;
      AddItemsOfLine(begin, end, items);
      begin = end + 1;
    }
    return items;
  }

 private:
  using Captures = std::map<int, std::pair<std::size_t, std::size_t>>;  // by group number

  static void NumberPieces(Piece& piece, int& id, int& number) {
    piece.id = id++;
    if (piece.kind == PieceKind::kGroup) piece.number = ++number;
    for (Piece& child : piece.children)
      NumberPieces(child, id, number);
  }

  static bool HasReference(const Piece& piece) {
    return piece.kind == PieceKind::kReference ||
           std::any_of(piece.children.begin(), piece.children.end(), HasReference);
  }

  void AddItemsOfLine(std::size_t begin, std::size_t end, std::vector<RefItem>& items) {
    std::size_t touched = kForeverAway;  // the end of the match before
    for (std::size_t p = begin; p <= end;) {
      const std::size_t matchEnd = LongestFrom(p, end);
      if (matchEnd == kForeverAway || (matchEnd == p && p == touched)) {
        ++p;
        continue;
      }
      RefItem item{p, matchEnd, {}};
      if (!HasReference(pattern_)) Capture(pattern_, p, matchEnd, item.tags);
      items.push_back(std::move(item));
      touched = matchEnd;
      p = matchEnd > p ? matchEnd : p + 1;
    }
  }

  std::size_t LongestFrom(std::size_t begin, std::size_t lineEnd) {
    if (HasReference(pattern_)) return LongestWithReferences(begin, lineEnd);
    for (std::size_t end = lineEnd + 1; end-- > begin;) {
      if (StandsWell(begin, end) && Matches(pattern_, begin, end)) return end;
    }
    return kForeverAway;
  }

  bool IsWordAt(std::size_t place) const {
    return place < text_.size() && IsWordCharacter(text_[place].code);
  }
  bool IsWordBefore(std::size_t place) const { return place > 0 && IsWordAt(place - 1); }

  /// Whether the whole-words option allows the range.
  bool StandsWell(std::size_t begin, std::size_t end) const {
    return !options_.words || (!IsWordBefore(begin) && !IsWordAt(end));
  }

  bool HoldsAt(PieceKind anchor, std::size_t place) const {
    const bool before = IsWordBefore(place);
    const bool after = IsWordAt(place);
    switch (anchor) {
      case PieceKind::kLineStart:
        return place == 0 || text_[place - 1].code == '\n';
      case PieceKind::kLineEnd:
        return place == text_.size() || text_[place].code == '\n';
      case PieceKind::kWordStart:
        return !before && after;
      case PieceKind::kWordEnd:
        return before && !after;
      case PieceKind::kWordEdge:
        return before != after;
      default:
        return before == after;
    }
  }

  bool IsSame(int a, int b) const {
    if (a == kForeign || b == kForeign) return false;
    return a == b || (!options_.caseSensitive && LowerCase(a) == LowerCase(b));
  }

  bool IsInRanges(const Piece& set, int code) const {
    return std::any_of(set.ranges.begin(), set.ranges.end(), [&](const auto& range) {
      return range.first <= code && code <= range.second;
    });
  }

  /// Whether the one character at `place` is matched by a piece that matches one.
  bool MatchesOne(const Piece& piece, std::size_t place) const {
    const int code = text_[place].code;
    if (code == '\n') return false;
    if (piece.kind == PieceKind::kAny) return true;
    if (piece.kind == PieceKind::kCharacter) return IsSame(piece.code, code);
    bool in = code < kForeign && !IsUndefined(code) && IsInRanges(piece, code);
    if (!options_.caseSensitive && code < kForeign && !IsUndefined(code)) {
      in = in || IsInRanges(piece, LowerCase(code)) || IsInRanges(piece, UpperCase(code));
    }
    return in != piece.negated;
  }

  bool Matches(const Piece& piece, std::size_t begin, std::size_t end) {
    const std::size_t places = text_.size() + 1;
    const std::size_t index = (static_cast<std::size_t>(piece.id) * places + begin) * places + end;
    if (known_.size() <= index) known_.resize(index + 1, Known::kNotYet);
    if (known_[index] == Known::kNotYet) {
      const bool matches = WorkOut(piece, begin, end);
      known_[index] = matches ? Known::kYes : Known::kNo;
    }
    return known_[index] == Known::kYes;
  }

  bool WorkOut(const Piece& piece, std::size_t begin, std::size_t end) {
    switch (piece.kind) {
      case PieceKind::kCharacter:
      case PieceKind::kAny:
      case PieceKind::kSet:
        return end == begin + 1 && MatchesOne(piece, begin);
      case PieceKind::kGroup:
        return Matches(piece.children[0], begin, end);
      case PieceKind::kSequence:
        return RestMatches(piece, 0, begin, end);
      case PieceKind::kChoice:
        return std::any_of(piece.children.begin(), piece.children.end(),
                           [&](const Piece& child) { return Matches(child, begin, end); });
      case PieceKind::kRepeat:
        return RoundsMatch(piece, 0, begin, end);
      default:
        return begin == end && HoldsAt(piece.kind, begin);
    }
  }

  /// Whether the pieces of a sequence from number `from` on match the range.
  bool RestMatches(const Piece& sequence, std::size_t from, std::size_t begin, std::size_t end) {
    if (from == sequence.children.size()) return begin == end;
    for (std::size_t middle = begin; middle <= end; ++middle) {
      if (Matches(sequence.children[from], begin, middle) &&
          RestMatches(sequence, from + 1, middle, end)) {
        return true;
      }
    }
    return false;
  }

  static bool MayEnd(const Piece& repeat, int rounds) { return rounds >= repeat.least; }
  static bool MayGoOn(const Piece& repeat, int rounds) {
    return repeat.most == kEndless || rounds < repeat.most;
  }

  /// Whether more rounds, after `rounds` of them, can match the range.
  bool RoundsMatch(const Piece& repeat, int rounds, std::size_t begin, std::size_t end) {
    if (begin == end && MayEnd(repeat, rounds)) return true;
    if (!MayGoOn(repeat, rounds)) return false;
    for (std::size_t middle = begin; middle <= end; ++middle) {
      if (middle == begin && rounds >= repeat.least) continue;
      if (Matches(repeat.children[0], begin, middle) &&
          RoundsMatch(repeat, rounds + 1, middle, end)) {
        return true;
      }
    }
    return false;
  }

  /// Notes the ranges of the groups in `piece`, which matches the range: of the ways to do so, earlier
  /// pieces take the longest.
  void Capture(const Piece& piece, std::size_t begin, std::size_t end, Captures& captures) {
    switch (piece.kind) {
      case PieceKind::kGroup:
        Capture(piece.children[0], begin, end, captures);
        captures[piece.tag] = {begin, end};
        return;
      case PieceKind::kSequence:
        for (std::size_t i = 0; i < piece.children.size(); ++i) {
          std::size_t middle = end;
          while (!Matches(piece.children[i], begin, middle) ||
                 !RestMatches(piece, i + 1, middle, end))
            --middle;
          Capture(piece.children[i], begin, middle, captures);
          begin = middle;
        }
        return;
      case PieceKind::kChoice:
        for (const Piece& child : piece.children) {
          if (!Matches(child, begin, end)) continue;
          Capture(child, begin, end, captures);
          return;
        }
        return;
      case PieceKind::kRepeat:
        CaptureRounds(piece, begin, end, captures);
        return;
      default:
        return;
    }
  }

  void CaptureRounds(const Piece& repeat, std::size_t begin, std::size_t end, Captures& captures) {
    const Piece& body = repeat.children[0];
    if (begin == end && repeat.least == 0) {
      if (repeat.most != 0 && Matches(body, begin, end)) Capture(body, begin, end, captures);
      return;
    }
    for (int rounds = 0; begin != end || !MayEnd(repeat, rounds); ++rounds) {
      std::size_t middle = end;
      while (!Matches(body, begin, middle) || !RoundsMatch(repeat, rounds + 1, middle, end) ||
             (middle == begin && rounds >= repeat.least))
        --middle;
      Capture(body, begin, middle, captures);
      begin = middle;
    }
  }

  // Patterns with references: every way through the pattern is tried.

  using Continuation = std::function<void(std::size_t, const Captures&)>;

  std::size_t LongestWithReferences(std::size_t begin, std::size_t lineEnd) {
    std::size_t longest = kForeverAway;
    TryAll(pattern_, begin, {}, [&](std::size_t end, const Captures&) {
      if (end > lineEnd || !StandsWell(begin, end)) return;
      if (longest == kForeverAway || end > longest) longest = end;
    });
    return longest;
  }

  void TryAll(const Piece& piece, std::size_t at, const Captures& captures,
              const Continuation& go) const {
    switch (piece.kind) {
      case PieceKind::kCharacter:
      case PieceKind::kAny:
      case PieceKind::kSet:
        if (at < text_.size() && MatchesOne(piece, at)) go(at + 1, captures);
        return;
      case PieceKind::kReference:
        TryReference(piece, at, captures, go);
        return;
      case PieceKind::kGroup:
        TryAll(piece.children[0], at, captures, [&](std::size_t end, const Captures& inner) {
          Captures closed = inner;
          closed[piece.number] = {at, end};
          go(end, closed);
        });
        return;
      case PieceKind::kSequence:
        TrySequence(piece, 0, at, captures, go);
        return;
      case PieceKind::kChoice:
        for (const Piece& child : piece.children)
          TryAll(child, at, captures, go);
        return;
      case PieceKind::kRepeat:
        TryRounds(piece, 0, at, captures, go);
        return;
      default:
        if (HoldsAt(piece.kind, at)) go(at, captures);
        return;
    }
  }

  void TryReference(const Piece& piece, std::size_t at, const Captures& captures,
                    const Continuation& go) const {
    const auto group = captures.find(piece.number);
    if (group == captures.end()) return;
    const auto [begin, end] = group->second;
    for (std::size_t i = begin; i < end; ++i) {
      const std::size_t there = at + (i - begin);
      if (there >= text_.size()) return;
      if (text_[i].code == kForeign ? text_[there].code != kForeign
                                    : !IsSame(text_[i].code, text_[there].code))
        return;
    }
    go(at + (end - begin), captures);
  }

  void TrySequence(const Piece& sequence, std::size_t from, std::size_t at,
                   const Captures& captures, const Continuation& go) const {
    if (from == sequence.children.size()) return go(at, captures);
    TryAll(sequence.children[from], at, captures, [&](std::size_t end, const Captures& inner) {
      TrySequence(sequence, from + 1, end, inner, go);
    });
  }

  void TryRounds(const Piece& repeat, int rounds, std::size_t at, const Captures& captures,
                 const Continuation& go) const {
    if (MayEnd(repeat, rounds)) go(at, captures);
    if (!MayGoOn(repeat, rounds)) return;
    TryAll(repeat.children[0], at, captures, [&](std::size_t end, const Captures& inner) {
      if (end == at && rounds >= repeat.least) {
        if (rounds == 0) go(end, inner);  // the only round
        return;
      }
      TryRounds(repeat, rounds + 1, end, inner, go);
    });
  }

  static constexpr std::size_t kForeverAway = SIZE_MAX;

  Piece pattern_;
  const Characters& text_;
  const RefOptions& options_;
  enum class Known : unsigned char { kNotYet, kNo, kYes };
  std::vector<Known> known_;  // by piece, begin and end
};

// Operators.

using Range = std::pair<std::size_t, std::size_t>;

std::vector<RefItem> Merged(const std::vector<RefItem>& a, const std::vector<RefItem>& b) {
  std::map<Range, RefItem> byRange;
  for (const std::vector<RefItem>* items : {&a, &b}) {
    for (const RefItem& item : *items) {
      const auto [place, isNew] = byRange.emplace(Range{item.begin, item.end}, item);
      if (!isNew) place->second.tags.insert(item.tags.begin(), item.tags.end());
    }
  }
  std::vector<RefItem> merged;
  for (const auto& [range, item] : byRange)
    merged.push_back(item);
  return merged;
}

/// How many words of the text lie wholly in the range.
int WordsWithin(const Characters& text, std::size_t begin, std::size_t end) {
  int words = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (!IsWordCharacter(text[i].code) || (i > 0 && IsWordCharacter(text[i - 1].code))) continue;
    std::size_t wordEnd = i;
    while (wordEnd < text.size() && IsWordCharacter(text[wordEnd].code))
      ++wordEnd;
    if (i >= begin && wordEnd <= end) ++words;
  }
  return words;
}

/// Whether `left` of the left operand and `right` of the right one are near.
bool AreNear(const RefQuery& query, const RefItem& left, const RefItem& right,
             const Characters& text) {
  if (query.ordered && right.begin < left.end) return false;
  if (!query.distance) return true;
  const RefItem& first = left.begin <= right.begin ? left : right;
  const RefItem& second = left.begin <= right.begin ? right : left;
  if (second.begin < first.end) return true;
  const int between = query.inWords ? WordsWithin(text, first.end, second.begin)
                                    : static_cast<int>(second.begin - first.end);
  return between <= *query.distance;
}

bool CanHaveItems(const RefQuery& query) {
  switch (query.kind) {
    case RefKind::kPattern:
    case RefKind::kSound:
      return true;
    case RefKind::kBracket:
      return CanHaveItems(query.operands[0]);
    case RefKind::kNot: {
      const RefQuery* inner = &query.operands[0];
      while (inner->kind == RefKind::kBracket)
        inner = &inner->operands[0];
      return inner->kind == RefKind::kNot && CanHaveItems(inner->operands[0]);
    }
    case RefKind::kAnd:
      if (query.hasDistance) return true;
      [[fallthrough]];
    case RefKind::kOr:
      return std::any_of(query.operands.begin(), query.operands.end(), CanHaveItems);
  }
  return false;
}

/// The operand of a distance under its NOT, if it is one that stands for the absence of items.
const RefQuery* Negated(const RefQuery& operand) {
  if (CanHaveItems(operand)) return nullptr;
  const RefQuery* inner = &operand;
  while (inner->kind == RefKind::kBracket)
    inner = &inner->operands[0];
  return inner->kind == RefKind::kNot ? &inner->operands[0] : nullptr;
}

/// The query as one pattern, if it is one: brackets around patterns are groups, an OR of patterns a choice.
std::optional<Piece> AsPattern(const RefQuery& query) {
  if (query.kind == RefKind::kPattern) return query.pattern;
  if (query.kind == RefKind::kBracket) {
    std::optional<Piece> inner = AsPattern(query.operands[0]);
    if (!inner) return std::nullopt;
    Piece group = MakePiece(PieceKind::kGroup);
    group.tag = query.tag;
    group.children.push_back(std::move(*inner));
    return group;
  }
  if (query.kind != RefKind::kOr) return std::nullopt;
  Piece choice = MakePiece(PieceKind::kChoice);
  for (const RefQuery& operand : query.operands) {
    std::optional<Piece> piece = AsPattern(operand);
    if (!piece) return std::nullopt;
    choice.children.push_back(std::move(*piece));
  }
  return choice;
}

class Evaluator {
 public:
  Evaluator(const Characters& text, const RefOptions& options) : text_(text), options_(options) {}

  RefResult Evaluate(const RefQuery& query) {
    if (const std::optional<Piece> pattern = AsPattern(query)) return OfPattern(*pattern);
    switch (query.kind) {
      case RefKind::kSound:
        return OfSound(query.word);
      case RefKind::kBracket: {
        RefResult result = Evaluate(query.operands[0]);
        for (RefItem& item : result.items)
          item.tags[query.tag] = {item.begin, item.end};
        return result;
      }
      case RefKind::kOr:
        return OfOr(query);
      case RefKind::kAnd:
        return query.hasDistance ? OfNear(query) : OfAnd(query);
      case RefKind::kNot:
        return OfNot(query);
      default:
        return {};
    }
  }

 private:
  RefResult OfPattern(const Piece& pattern) {
    std::vector<RefItem> items = ReferenceMatcher(pattern, text_, options_).Items();
    return {!items.empty(), Merged(items, {})};
  }

  RefResult OfSound(const std::string& word) {
    RefResult result;
    for (std::size_t i = 0; i < text_.size(); ++i) {
      if (!IsWordCharacter(text_[i].code) || (i > 0 && IsWordCharacter(text_[i - 1].code)))
        continue;
      std::size_t end = i;
      std::string found;
      for (; end < text_.size() && IsWordCharacter(text_[end].code); ++end) {
        const int code = LowerCase(text_[end].code);
        found += code < 128 ? static_cast<char>(code) : '?';
      }
      if (SoundOf(found) >= 0 && SoundOf(found) == SoundOf(word))
        result.items.push_back({i, end, {}});
    }
    result.satisfied = !result.items.empty();
    return result;
  }

  RefResult OfOr(const RefQuery& query) {
    RefResult result;
    for (std::size_t i = 0; i < query.operands.size();) {
      // Neighbours that are patterns are one.
      Piece choice = MakePiece(PieceKind::kChoice);
      for (; i < query.operands.size(); ++i) {
        std::optional<Piece> piece = AsPattern(query.operands[i]);
        if (!piece) break;
        choice.children.push_back(std::move(*piece));
      }
      const RefResult part =
          choice.children.empty() ? Evaluate(query.operands[i++]) : OfPattern(choice);
      if (!part.satisfied) continue;
      result.satisfied = true;
      result.items = Merged(result.items, part.items);
    }
    return result;
  }

  RefResult OfAnd(const RefQuery& query) {
    const RefResult left = Evaluate(query.operands[0]);
    const RefResult right = Evaluate(query.operands[1]);
    if (!left.satisfied || !right.satisfied) return {};
    return {true, Merged(left.items, right.items)};
  }

  RefResult OfNear(const RefQuery& query) {
    const RefQuery* const noLeft = Negated(query.operands[0]);
    const RefQuery* const noRight = Negated(query.operands[1]);
    const std::vector<RefItem> left = Evaluate(noLeft ? *noLeft : query.operands[0]).items;
    const std::vector<RefItem> right = Evaluate(noRight ? *noRight : query.operands[1]).items;
    RefResult result;
    const auto hasPartner = [&](const RefItem& item, bool isLeft) {
      const std::vector<RefItem>& others = isLeft ? right : left;
      return std::any_of(others.begin(), others.end(), [&](const RefItem& other) {
        return AreNear(query, isLeft ? item : other, isLeft ? other : item, text_);
      });
    };
    std::vector<RefItem> stay;
    if (noLeft == nullptr) {
      for (const RefItem& item : left)
        if (hasPartner(item, true) == (noRight == nullptr)) stay.push_back(item);
    }
    std::vector<RefItem> others;
    if (noRight == nullptr) {
      for (const RefItem& item : right)
        if (hasPartner(item, false) == (noLeft == nullptr)) others.push_back(item);
    }
    result.items = Merged(stay, others);
    result.satisfied = !result.items.empty();
    return result;
  }

  RefResult OfNot(const RefQuery& query) {
    // A NOT of a NOT is what stands behind both; brackets between them are tags of its items.
    const RefQuery* inner = &query.operands[0];
    std::vector<int> tags;
    for (; inner->kind == RefKind::kBracket; inner = &inner->operands[0])
      tags.push_back(inner->tag);
    if (inner->kind != RefKind::kNot) return {!Evaluate(*inner).satisfied, {}};
    RefResult result = Evaluate(inner->operands[0]);
    for (RefItem& item : result.items) {
      for (const int tag : tags)
        item.tags[tag] = {item.begin, item.end};
    }
    return result;
  }

  const Characters& text_;
  const RefOptions& options_;
};

}  // namespace

Piece MakePiece(PieceKind kind, std::vector<Piece> children) {
  Piece piece;
  piece.kind = kind;
  piece.children = std::move(children);
  return piece;
}

bool IsAllowed(const RefQuery& query) {
  if (query.kind == RefKind::kAnd && query.hasDistance) {
    const auto isGood = [](const RefQuery& operand) {
      if (CanHaveItems(operand)) return true;
      const RefQuery* const negated = Negated(operand);
      return negated != nullptr && CanHaveItems(*negated);
    };
    if (!isGood(query.operands[0]) || !isGood(query.operands[1])) return false;
    if (!CanHaveItems(query.operands[0]) && !CanHaveItems(query.operands[1])) return false;
  }
  return std::all_of(query.operands.begin(), query.operands.end(), IsAllowed);
}

void NumberTags(RefQuery& query) {
  int tag = 0;
  NumberFrom(query, tag);
}

std::string Type(const RefQuery& query, bool utf8) {
  switch (query.kind) {
    case RefKind::kPattern:
      return TypePiece(query.pattern, utf8);
    case RefKind::kSound:
      return "~" + query.word;
    case RefKind::kBracket:
      return "(" + Type(query.operands[0], utf8) + ")";
    case RefKind::kNot:
      return "!" + Type(query.operands[0], utf8);
    case RefKind::kOr: {
      std::string typed;
      for (const RefQuery& operand : query.operands)
        typed += (typed.empty() ? "" : " | ") + Type(operand, utf8);
      return typed;
    }
    case RefKind::kAnd: {
      std::string typed = Type(query.operands[0], utf8) + " &";
      if (query.ordered) typed += '>';
      if (query.distance) typed += std::to_string(*query.distance);
      if (query.distance && query.inWords) typed += 'w';
      return typed + ' ' + Type(query.operands[1], utf8);
    }
  }
  return {};
}

RefResult Evaluate(const RefQuery& query, const Characters& text, const RefOptions& options) {
  return Evaluator(text, options).Evaluate(query);
}

int SoundOf(const std::string& word) {
  static const std::map<std::string, int> kSounds = {
      {"maier", 0}, {"meier", 0}, {"mayr", 0}, {"baur", 1}, {"bauer", 1}, {"rot", 2}, {"roth", 2}};
  const auto known = kSounds.find(word);
  return known == kSounds.end() ? -1 : known->second;
}

}  // namespace trovex::testing
