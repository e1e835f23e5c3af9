#include "query/plan/required_strings.h"

#include "query/tuning.h"
#include "text/char_set.h"
#include "text/code_page.h"
#include "text/utf8_character.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <unordered_map>
#include <utility>

namespace trovex {

namespace {

char Folded(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// Whether every string is one to look for.
bool IsClause(const StringClause& strings) {
  return !strings.empty() && std::none_of(strings.begin(), strings.end(),
                                          [](const std::string& s) { return s.empty(); });
}

std::size_t ShortestOf(const StringClause& clause) {
  std::size_t shortest = kLongestString;
  for (const std::string& s : clause)
    shortest = std::min(shortest, s.size());
  return shortest;
}

/// Whether `a` says more than `b`.
bool IsBetter(const StringClause& a, const StringClause& b) {
  const std::size_t shortA = ShortestOf(a);
  const std::size_t shortB = ShortestOf(b);
  return shortA != shortB ? shortA > shortB : a.size() < b.size();
}

void MakeUnique(StringClause& strings) {
  std::sort(strings.begin(), strings.end());
  strings.erase(std::unique(strings.begin(), strings.end()), strings.end());
}

/// The ways in which a text can have `c`, a character beyond ASCII: as a byte that is no UTF-8, as a sequence,
/// as a letter with a mark after it. With `foldsCase`, that letter is in lower case.
StringClause SpellingsOf(unsigned char c, bool foldsCase, Spelling spelling) {
  StringClause ways;
  if (spelling == Spelling::kEveryWay) ways.emplace_back(1, static_cast<char>(c));
  const char32_t codePoint = CodePageToUnicode(c);
  if (UnicodeToCodePage(codePoint) != c) return ways;
  AppendUtf8(codePoint, ways.emplace_back());
  for (unsigned char letter = 'A'; letter <= 'z'; ++letter) {
    for (char32_t mark = kFirstMark; mark <= kLastMark; ++mark) {
      if (Compose(letter, mark) != c) continue;
      const char base = static_cast<char>(letter);
      AppendUtf8(mark, ways.emplace_back(1, foldsCase ? Folded(base) : base));
    }
  }
  return ways;
}

/// What is known of the matches of a piece of a pattern.
struct Knowledge {
  /// The piece matches just `strings`; else only `clauses` is known.
  bool isExact = false;
  StringClause strings;
  StringClauses clauses;
};

Knowledge Exactly(StringClause strings) {
  Knowledge result;
  result.isExact = true;
  result.strings = std::move(strings);
  return result;
}

/// The best single clause of `piece`; empty when there is none.
StringClause BestClause(const Knowledge& piece) {
  if (piece.isExact) return IsClause(piece.strings) ? piece.strings : StringClause{};
  const auto best = std::min_element(piece.clauses.begin(), piece.clauses.end(), IsBetter);
  return best == piece.clauses.end() ? StringClause{} : *best;
}

/// How many strings may be at hand: a scan does not take as many as others may be told.
std::size_t MostStrings(Spelling spelling) {
  return spelling == Spelling::kUnknown ? kMostStrings : PlaceScan::kMaxAlternatives;
}

/// Pieces side by side.
class Sequence {
 public:
  explicit Sequence(std::size_t mostStrings) : mostStrings_(mostStrings) {}

  void Append(Knowledge piece) {
    if (!piece.isExact) {
      Cut();
      isExact_ = false;
      std::move(piece.clauses.begin(), piece.clauses.end(), std::back_inserter(clauses_));
      KeepBest();
      return;
    }
    if (!AppendStrings(piece.strings)) {
      Cut();
      isExact_ = false;
      strings_ = std::move(piece.strings);
    }
  }

  /// `piece`, `min` times or more, up to `max`; at least once.
  void AppendRepeated(const Knowledge& piece, int min, int max) {
    const int rounds = std::min(min, kMostWrittenRounds);
    for (int round = 0; round < rounds; ++round)
      Append(piece);
    if (max == rounds) return;
    Append(Knowledge{});
    // The last round, whichever it is, stands right before what follows.
    if (piece.isExact) Append(piece);
  }

  Knowledge Result() {
    if (isExact_) return Exactly(std::move(strings_));
    Cut();
    Knowledge result;
    result.clauses = std::move(clauses_);
    return result;
  }

 private:
  /// Makes longer strings of what is at hand and `more`, unless they become too many or too long.
  bool AppendStrings(const StringClause& more) {
    if (strings_.size() * more.size() > mostStrings_) return false;
    StringClause product;
    for (const std::string& left : strings_) {
      for (const std::string& right : more) {
        if (left.size() + right.size() > kLongestString) return false;
        product.push_back(left + right);
      }
    }
    MakeUnique(product);
    strings_ = std::move(product);
    return true;
  }

  /// The strings at hand go on with something unknown.
  void Cut() {
    if (IsClause(strings_)) clauses_.push_back(std::move(strings_));
    strings_ = {""};
    KeepBest();
  }

  void KeepBest() {
    if (clauses_.size() <= 2 * kMostClauses) return;
    std::stable_sort(clauses_.begin(), clauses_.end(), IsBetter);
    clauses_.resize(kMostClauses);
  }

  std::size_t mostStrings_;
  bool isExact_ = true;
  StringClause strings_ = {""};
  StringClauses clauses_;
};

class Reader {
 public:
  Reader(const SyntaxTree& tree, bool foldsCase, Spelling spelling)
      : tree_(tree), foldsCase_(foldsCase), spelling_(spelling) {}

  StringClauses Read() {
    Sequence whole(MostStrings(spelling_));
    whole.Append(ReadWhole());
    whole.Append(Knowledge{});
    return whole.Result().clauses;
  }

  Knowledge ReadWhole() {
    for (int i = 0; i < tree_.Root(); ++i) {
      const SyntaxNode& node = tree_.Node(i);
      const bool isRead = node.firstChild != kNoNode && node.kind != SyntaxKind::kRepeat;
      if (isRead) known_[i] = Of(node);
    }
    return Of(tree_.Node(tree_.Root()));
  }

 private:
  Knowledge Of(const SyntaxNode& node) {
    switch (node.kind) {
      case SyntaxKind::kEmpty:
      case SyntaxKind::kAnchor:
        return Exactly({""});
      case SyntaxKind::kByte:
        return OfByte(static_cast<unsigned char>(node.value));
      case SyntaxKind::kSet:
        return OfSet(tree_.Set(node));
      case SyntaxKind::kBackReference:
        return {};
      case SyntaxKind::kGroup:
        return TakeKnown(node.firstChild);
      case SyntaxKind::kConcat:
        return OfSequence(node);
      case SyntaxKind::kAlternate:
        return OfAlternatives(node);
      case SyntaxKind::kRepeat:
        return OfRepetition(node);
    }
    return {};
  }

  /// What is known of node `index`, which is asked once. Most nodes are bytes, and nothing is kept for
  /// these; repetitions are read with what stands beside them.
  Knowledge TakeKnown(int index) {
    const auto kept = known_.find(index);
    if (kept == known_.end()) return Of(tree_.Node(index));
    Knowledge result = std::move(kept->second);
    known_.erase(kept);
    return result;
  }

  Knowledge OfByte(unsigned char c) const {
    if (c < 0x80)
      return Exactly(
          {std::string(1, foldsCase_ ? Folded(static_cast<char>(c)) : static_cast<char>(c))});
    if (spelling_ == Spelling::kUnknown) return {};
    return Exactly(SpellingsOf(c, foldsCase_, spelling_));
  }

  Knowledge OfSet(const CharSet& set) const {
    if (set.none() || set.count() > 2 * kMostOfSet) return {};
    StringClause strings;
    for (std::size_t c = 0; c < set.size(); ++c) {
      if (!set[c]) continue;
      const Knowledge one = OfByte(static_cast<unsigned char>(c));
      if (!one.isExact) return {};
      strings.insert(strings.end(), one.strings.begin(), one.strings.end());
    }
    MakeUnique(strings);
    const bool hasOneByteEach = spelling_ == Spelling::kUnknown;
    if (strings.size() > (hasOneByteEach ? kMostOfSet : MostStrings(spelling_))) return {};
    return Exactly(std::move(strings));
  }

  Knowledge OfSequence(const SyntaxNode& node) {
    Sequence sequence(MostStrings(spelling_));
    for (int i = node.firstChild; i != kNoNode; i = tree_.Node(i).nextSibling) {
      const SyntaxNode& child = tree_.Node(i);
      if (child.kind == SyntaxKind::kRepeat && child.min > 0)
        sequence.AppendRepeated(TakeKnown(child.firstChild), child.min, child.max);
      else
        sequence.Append(TakeKnown(i));
    }
    return sequence.Result();
  }

  Knowledge OfAlternatives(const SyntaxNode& node) {
    Knowledge result;
    result.isExact = true;
    StringClause clause;
    bool hasClause = true;
    for (int child = node.firstChild; child != kNoNode; child = tree_.Node(child).nextSibling) {
      const Knowledge piece = TakeKnown(child);
      result.isExact = result.isExact && piece.isExact;
      const StringClause& strings = piece.isExact ? piece.strings : BestClause(piece);
      hasClause = hasClause && IsClause(strings);
      clause.insert(clause.end(), strings.begin(), strings.end());
      if (clause.size() > MostStrings(spelling_)) MakeUnique(clause);
      if (clause.size() > MostStrings(spelling_)) return {};
    }
    MakeUnique(clause);
    if (result.isExact)
      result.strings = std::move(clause);
    else if (hasClause)
      result.clauses.push_back(std::move(clause));
    return result;
  }

  Knowledge OfRepetition(const SyntaxNode& node) {
    if (node.max == 0) return Exactly({""});
    if (node.min == 0) return {};
    Sequence sequence(MostStrings(spelling_));
    sequence.AppendRepeated(TakeKnown(node.firstChild), node.min, node.max);
    return sequence.Result();
  }

  const SyntaxTree& tree_;
  bool foldsCase_;
  Spelling spelling_;
  std::unordered_map<int, Knowledge> known_;
};

StringClauses Known(const SyntaxTree& tree, bool foldsCase, Spelling spelling) {
  if (tree.nodes.empty()) return {};
  StringClauses clauses = Reader(tree, foldsCase, spelling).Read();
  std::stable_sort(clauses.begin(), clauses.end(), IsBetter);
  if (clauses.size() > kMostClauses) clauses.resize(kMostClauses);
  return clauses;
}

/// The bytes that can stand at each place of `text`.
std::vector<CharSet> SetsOf(const std::string& text, std::size_t length, bool foldsCase) {
  std::vector<CharSet> sets(length);
  for (std::size_t i = 0; i < length; ++i) {
    if (i >= text.size()) {
      sets[i].set();
      continue;
    }
    const auto c = static_cast<unsigned char>(text[i]);
    sets[i].set(c);
    if (foldsCase && c >= 'a' && c <= 'z') sets[i].set(c - 32U);
  }
  return sets;
}

}  // namespace

bool HoldsMoreThanAscii(const SyntaxTree& tree) {
  return std::any_of(tree.nodes.begin(), tree.nodes.end(), [&tree](const SyntaxNode& node) {
    if (node.kind == SyntaxKind::kByte) return node.value >= 0x80;
    if (node.kind != SyntaxKind::kSet) return false;
    const CharSet& set = tree.Set(node);
    return (set >> 0x80).any() && set.count() <= 2 * kMostOfSet;
  });
}

StringClauses RequiredInMatch(const SyntaxTree& tree, bool foldsCase) {
  return Known(tree, foldsCase, Spelling::kUnknown);
}

StringClauses SpelledInMatch(const SyntaxTree& tree, bool foldsCase) {
  return Known(tree, foldsCase, Spelling::kEveryWay);
}

StringClause ExactStrings(const SyntaxTree& tree, bool foldsCase, Spelling spelling) {
  Knowledge whole = Reader(tree, foldsCase, spelling).ReadWhole();
  if (!whole.isExact || !IsClause(whole.strings)) return {};
  MakeUnique(whole.strings);
  return whole.strings;
}

std::optional<PlaceScan> ScanForClauses(const StringClauses& clauses, bool foldsCase,
                                        std::size_t least) {
  double best = kMostCandidates;
  std::vector<Probes> bestProbes;
  for (const StringClause& clause : clauses) {
    if (clause.size() > PlaceScan::kMaxAlternatives) continue;
    std::vector<std::vector<CharSet>> sets;
    for (const std::string& text : clause)
      sets.push_back(SetsOf(text, std::max(ShortestOf(clause), least), foldsCase));
    std::vector<Probes> probes = ChooseProbesForAlternatives(sets);
    double rate = 0;
    for (const Probes& one : probes)
      rate += ExpectedRate(one);
    if (rate >= best) continue;
    best = rate;
    bestProbes = std::move(probes);
  }
  if (bestProbes.empty()) return std::nullopt;
  return PlaceScan::ForAlternatives(bestProbes);
}

StringClauses AllOfClauses(std::vector<StringClauses> operands) {
  StringClauses all;
  for (StringClauses& clauses : operands)
    std::move(clauses.begin(), clauses.end(), std::back_inserter(all));
  std::sort(all.begin(), all.end());
  all.erase(std::unique(all.begin(), all.end()), all.end());
  std::stable_sort(all.begin(), all.end(), IsBetter);
  if (all.size() > kMostQueryClauses) all.resize(kMostQueryClauses);
  return all;
}

StringClauses AnyOfClauses(const std::vector<StringClauses>& operands) {
  StringClause any;
  for (const StringClauses& clauses : operands) {
    const auto best = std::min_element(clauses.begin(), clauses.end(), IsBetter);
    if (best == clauses.end()) return {};
    any.insert(any.end(), best->begin(), best->end());
    MakeUnique(any);
    if (any.size() > kMostStrings) return {};
  }
  return {any};
}

}  // namespace trovex
