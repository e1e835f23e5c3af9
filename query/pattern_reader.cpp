// The reader of patterns keeps its own stack of the groups that are open.

#include "query/pattern_reader.h"

#include "matcher/limits.h"
#include "query/expression/spelling_variants.h"
#include "query/expression/syntax_builder.h"
#include "text/code_page.h"

#include <algorithm>
#include <numeric>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace trovex {

namespace {

/// The size of alternatives without repetitions, as they are typed or come out of a file: the words of a
/// dictionary of 50,000. What is made of them has budgets of its own.
constexpr double kMaxTypedListSize = 600'000;

/// So many nodes no pattern of legal size has, with all the spellings of its letters.
constexpr std::size_t kMostNodes = 4 * static_cast<std::size_t>(kMaxTypedListSize);

/// A group that is being read, or the whole pattern.
struct Level {
  int group = 0;
  std::size_t open = 0;  // its "(", of a group
  std::size_t begin = 0;
  bool isTerms = true;        // its alternatives are terms: not a piece of the pattern
  bool repeatable = false;    // what was read last can be repeated
  int simpleRepetition = -1;  // the node of "*", "+" or "?" that was read last
  std::vector<int> alternatives;
  std::vector<int> sequence;
  // A back-reference needs a group that is complete: the groups complete where the level began,
  // and those that its earlier alternatives completed.
  unsigned completeBefore = 0;
  unsigned completeElsewhere = 0;
};

class PatternReader {
 public:
  PatternReader(const ExpressionTokens& tokens, std::size_t begin, std::size_t end,
                const QueryOptions& options)
      : tokens_(tokens),
        begin_(begin),
        end_(end),
        place_(begin),
        options_(options),
        pattern_(std::make_unique<QueryPattern>()),
        builder_(pattern_->tree) {
    std::iota(pattern_->tree.translate.begin(), pattern_->tree.translate.end(),
              static_cast<unsigned char>(0));
    levels_.emplace_back().begin = begin;
  }

  std::variant<std::unique_ptr<QueryPattern>, QueryFault> Read() {
    while (place_ < end_ && !fault_) {
      ReadToken();
      if (pattern_->tree.nodes.size() > kMostNodes) RefuseSize();
    }
    if (!fault_) EndAlternative();
    if (!fault_) EndLevel();
    if (!fault_) CheckExtent();
    if (fault_) return *fault_;
    return std::move(pattern_);
  }

 private:
  const Token& Current() const { return tokens_[place_]; }
  Level& Innermost() { return levels_.back(); }

  void Refuse(MessageNumber number, TypedRange typed) { fault_ = QueryFault{number, typed}; }
  void RefuseToken(MessageNumber number) { Refuse(number, tokens_.RangeOf(place_, place_)); }

  /// Reads what stands at the place and goes on after it.
  void ReadToken() {
    const Token& token = Current();
    switch (token.kind) {
      case TokenKind::kBlank:
        return ReadBlanks();
      case TokenKind::kCharacter:
        return ReadCharacters();
      case TokenKind::kSet:
        Append(builder_.AddSet(tokens_.sets[token.index]));
        break;
      case TokenKind::kAnchor:
        Append(builder_.Add(SyntaxKind::kAnchor, token.value));
        Innermost().repeatable = false;
        break;
      case TokenKind::kBackReference:
        ReadBackReference();
        break;
      case TokenKind::kRepetition:
        ReadRepetition(tokens_.repetitions[token.index]);
        break;
      case TokenKind::kOpen:
        OpenGroup();
        break;
      case TokenKind::kClose:
        CloseGroup();
        break;
      case TokenKind::kBar:
        EndAlternative();
        break;
      case TokenKind::kAnd:
        RefuseOperator();
        break;
      case TokenKind::kNot:
        ReadNot();
        break;
      case TokenKind::kTilde:
        AppendByte(token.value);
        break;
    }
    ++place_;
  }

  void Append(int node) {
    Level& level = Innermost();
    level.sequence.push_back(node);
    level.repeatable = true;
    level.simpleRepetition = -1;
  }

  /// Appends a character as the option for case wants it. Nothing matches a line feed.
  void AppendByte(unsigned char byte) {
    const unsigned char upper = CodePageUpper(byte);
    const unsigned char lower = CodePageLower(byte);
    if (byte == '\n') return Append(builder_.AddSet({}));
    if (options_.caseSensitive || upper == lower) {
      return Append(builder_.Add(SyntaxKind::kByte, byte));
    }
    Append(builder_.AddSet(CharSet().set(upper).set(lower)));
  }

  /// Reads all blanks that stand here: they count, but at the ends of a term.
  void ReadBlanks() {
    std::size_t after = place_;
    while (after < end_ && tokens_[after].Is(TokenKind::kBlank))
      ++after;
    const Level& level = Innermost();
    const bool atEnd =
        after == end_ || tokens_[after].Is(TokenKind::kBar) || tokens_[after].Is(TokenKind::kClose);
    const bool counts = !level.isTerms || (!level.sequence.empty() && !atEnd);
    for (; place_ < after; ++place_) {
      if (counts) AppendByte(Current().value);
    }
  }

  /// Reads a character; with spelling variants the letters from here on that have them.
  void ReadCharacters() {
    if (options_.spellingVariants) {
      const std::size_t run = LettersWithSpellings();
      if (static_cast<double>(run) > kMaxPatternSize) return RefuseSize();
      if (run > 0) return AppendSpellingsOf(run);
    }
    AppendByte(Current().value);
    ++place_;
  }

  /// How many typed letters stand here before one that is repeated, or before anything else.
  std::size_t LettersWithSpellings() const {
    std::size_t after = place_;
    while (after < end_ && tokens_[after].IsPlainLetter())
      ++after;
    const bool repeated = after < end_ && tokens_[after].Is(TokenKind::kRepetition);
    return after == place_ ? 0 : after - place_ - (repeated ? 1 : 0);
  }

  void AppendSpellingsOf(std::size_t run) {
    std::string letters;
    letters.reserve(run);
    for (std::size_t i = 0; i < run; ++i)
      letters.push_back(static_cast<char>(tokens_[place_ + i].value));
    AppendSpellings(letters, options_.caseSensitive, builder_, Innermost().sequence);
    Innermost().repeatable = true;
    Innermost().simpleRepetition = -1;
    place_ += run;
  }

  void ReadBackReference() {
    const int group = Current().value;
    if ((complete_ & GroupBit(group)) == 0) {
      return RefuseToken(MessageNumber::kInvalidBackReference);
    }
    Append(builder_.Add(SyntaxKind::kBackReference, group));
    pattern_->hasBackReferences = true;
  }

  /// "**", "+?" and the like are one repetition.
  void ReadRepetition(const RepetitionBounds& bounds) {
    Level& level = Innermost();
    if (!level.repeatable) return RefuseToken(MessageNumber::kInvalidRepetition);
    const bool simple = bounds.min <= 1 && (bounds.max == kUnbounded || bounds.max == 1);
    if (simple && level.simpleRepetition >= 0) {
      SyntaxNode& node = pattern_->tree.nodes[static_cast<std::size_t>(level.simpleRepetition)];
      node.min *= bounds.min;
      if (bounds.max == kUnbounded) node.max = kUnbounded;
      return;
    }
    const int body = level.sequence.back();
    level.sequence.back() = builder_.AddRepeat(body, bounds.min, bounds.max);
    level.simpleRepetition = simple ? level.sequence.back() : -1;
  }

  void OpenGroup() {
    SyntaxTree& tree = pattern_->tree;
    if (tree.groupCount == 0) pattern_->firstTag = static_cast<int>(Current().tag);
    Level level;
    level.group = ++tree.groupCount;
    level.open = place_;
    level.begin = place_ + 1;
    level.isTerms = Innermost().isTerms && Current().wholeTerm;
    level.completeBefore = complete_;
    levels_.push_back(std::move(level));
  }

  void CloseGroup() {
    EndAlternative();
    if (fault_) return;
    const int group = Innermost().group;
    const int body = EndLevel();
    complete_ |= GroupBit(group);
    Append(builder_.AddGroup(group, body));
  }

  /// Ends the alternative before the "|", the ")" or the end that stands at the place.
  void EndAlternative() {
    Level& level = Innermost();
    if (level.isTerms && level.sequence.empty()) return RefuseEmptyTerm();
    level.alternatives.push_back(builder_.Join(SyntaxKind::kConcat, level.sequence));
    level.sequence.clear();
    level.repeatable = false;
    level.simpleRepetition = -1;
    level.completeElsewhere |= complete_;
    complete_ = level.completeBefore;
  }

  /// Leaves the innermost level and returns its expression.
  int EndLevel() {
    Level& level = Innermost();
    complete_ = level.completeElsewhere;
    const int whole = builder_.Join(SyntaxKind::kAlternate, level.alternatives);
    levels_.pop_back();
    return whole;
  }

  /// Refuses the empty term before the place, together with what stands around it.
  void RefuseEmptyTerm() {
    std::size_t before = place_ - 1;
    while (before > begin_ && tokens_[before].Is(TokenKind::kBlank))
      --before;
    Refuse(MessageNumber::kEmptySubexpression,
           tokens_.RangeOf(before, place_ < end_ ? place_ : place_ - 1));
  }

  /// "!" is ordinary directly after a character of the pattern.
  void ReadNot() {
    if (Current().beginsOperand) return RefuseOperator();
    const TokenKind before =
        place_ > Innermost().begin ? tokens_[place_ - 1].kind : TokenKind::kBar;
    if (before == TokenKind::kBar || before == TokenKind::kBlank) {
      return RefuseToken(MessageNumber::kNotWithoutAnd);
    }
    AppendByte(Current().value);
  }

  /// Refuses the operator that stands at the place, in a piece of the pattern: beside its bracket,
  /// or one around that, an operator is missing.
  void RefuseOperator() {
    for (std::size_t i = levels_.size(); i-- > 1;) {
      const std::size_t open = levels_[i].open;
      const std::size_t close = tokens_[open].index;
      if (const auto before = ItemBefore(open, levels_[i - 1].begin)) {
        return Refuse(MessageNumber::kMissingOperatorBeforeBracket, tokens_.RangeOf(*before, open));
      }
      if (const auto after = ItemAfter(close)) {
        return RefuseBeside(close, *after);
      }
    }
    RefuseToken(MessageNumber::kInvalidSyntax);
  }

  /// Refuses what stands after a bracket that holds an operator.
  void RefuseBeside(std::size_t close, std::size_t after) {
    MessageNumber number = MessageNumber::kMissingOperatorAfterBracket;
    if (tokens_[after].Is(TokenKind::kRepetition)) number = MessageNumber::kRepeatedOperands;
    if (tokens_[after].Is(TokenKind::kNot)) number = MessageNumber::kNotWithoutAnd;
    Refuse(number, tokens_.RangeOf(close, after));
  }

  /// What stands before the bracket in its alternative, which begins at `begin` or after a "|".
  std::optional<std::size_t> ItemBefore(std::size_t open, std::size_t begin) const {
    std::size_t before = open;
    while (before > begin && tokens_[before - 1].Is(TokenKind::kBlank))
      --before;
    if (before == begin || tokens_[before - 1].Is(TokenKind::kBar)) return std::nullopt;
    return before - 1;
  }
  std::optional<std::size_t> ItemAfter(std::size_t close) const {
    std::size_t after = close + 1;
    while (after < end_ && tokens_[after].Is(TokenKind::kBlank))
      ++after;
    if (after == end_ || tokens_[after].Is(TokenKind::kBar) ||
        tokens_[after].Is(TokenKind::kClose)) {
      return std::nullopt;
    }
    return after;
  }

  void CheckExtent() {
    const SyntaxExtent extent = MeasureExtent(pattern_->tree);
    const double most = IsList() ? kMaxTypedListSize : kMaxPatternSize;
    if (extent.size <= most && extent.nesting <= kMaxQueryPatternNesting) return;
    RefuseSize();
  }
  /// Whether these are alternatives without repetitions: what is as large as it was typed.
  bool IsList() const {
    const std::vector<SyntaxNode>& nodes = pattern_->tree.nodes;
    if (options_.spellingVariants || nodes.back().kind != SyntaxKind::kAlternate) return false;
    return std::none_of(nodes.begin(), nodes.end(), [](const SyntaxNode& node) {
      return node.kind == SyntaxKind::kRepeat || node.kind == SyntaxKind::kBackReference;
    });
  }
  void RefuseSize() {
    Refuse(MessageNumber::kExpressionTooLong, tokens_.RangeOf(begin_, end_ - 1));
  }

  /// Only the groups 1 to 9 can be referred to.
  static unsigned GroupBit(int group) { return group <= 9 ? 1U << group : 0; }

  const ExpressionTokens& tokens_;
  std::size_t begin_;
  std::size_t end_;
  std::size_t place_;
  const QueryOptions& options_;
  std::unique_ptr<QueryPattern> pattern_;
  SyntaxBuilder builder_;
  std::vector<Level> levels_;
  unsigned complete_ = 0;  // the groups that a back-reference may name here
  std::optional<QueryFault> fault_;
};

}  // namespace

std::variant<std::unique_ptr<QueryPattern>, QueryFault> ReadPattern(const ExpressionTokens& tokens,
                                                                    std::size_t begin,
                                                                    std::size_t end,
                                                                    const QueryOptions& options) {
  return PatternReader(tokens, begin, end, options).Read();
}

}  // namespace trovex
