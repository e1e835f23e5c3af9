// Operators, operands and terms.
//
// An expression becomes tokens (expression_tokens.h), and their outline is drawn (outline.h): with it, it
// is known of each bracket, before it is read, whether it groups operands. Chains are read in loops;
// only brackets that group operands make the parser recurse, and their depth has been checked by then.

#include "query/query_parser.h"

#include "phonetic/sound_key.h"
#include "query/expression/expression_text.h"
#include "query/expression/expression_tokens.h"
#include "query/expression/outline.h"
#include "query/pattern_reader.h"

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace trovex {

namespace {

/// An operand with what a distance wants to know of it. Without a node: a fault was found.
struct Operand {
  std::unique_ptr<QueryNode> node;
  /// Whether a text can hold items of it.
  bool hasItems = false;
  /// Whether it is the NOT of an operand that can have items.
  bool negatesItems = false;
};

class QueryParser {
 public:
  QueryParser(const ExpressionTokens& tokens, const QueryOptions& options, std::size_t length)
      : tokens_(tokens), options_(options), length_(length) {}

  std::variant<ParsedQuery, QueryFault> Parse() {
    Operand root = ParseChain();
    if (fault_) return *fault_;
    ParsedQuery query;
    query.root = std::move(root.node);
    query.tagCount = tokens_.tagCount;
    query.substitute = tokens_.substitute;
    return query;
  }

 private:
  bool AtEnd() const { return place_ == tokens_.Size(); }
  bool At(TokenKind kind) const { return !AtEnd() && tokens_[place_].Is(kind); }
  /// Whether the query of this bracket, or the whole, ends here.
  bool AtQueryEnd() const { return AtEnd() || At(TokenKind::kClose); }
  bool AtOperandEnd() const { return AtQueryEnd() || At(TokenKind::kAnd); }
  bool AtTermEnd() const { return AtOperandEnd() || At(TokenKind::kBar); }

  void SkipBlanks() {
    while (At(TokenKind::kBlank))
      ++place_;
  }

  Operand Refuse(MessageNumber number, TypedRange typed) {
    if (!fault_) fault_ = QueryFault{number, typed};
    return {};
  }

  /// The place of something that is missing, with the tokens around it.
  TypedRange MissingHere() const {
    std::size_t before = place_;
    while (before > 0 && tokens_[before - 1].Is(TokenKind::kBlank))
      --before;
    const std::size_t begin = before == 0 ? 0 : tokens_[before - 1].begin;
    return {begin, AtEnd() ? length_ : tokens_[place_].end};
  }

  /// What was typed from token `first` to the latest that is no blank.
  TypedRange TypedFrom(std::size_t first) const {
    std::size_t last = place_ - 1;
    while (last > first && tokens_[last].Is(TokenKind::kBlank))
      --last;
    return tokens_.RangeOf(first, last);
  }

  /// The first token after token `i` that is no blank; there is one.
  std::size_t ItemAfter(std::size_t i) const {
    ++i;
    while (tokens_[i].Is(TokenKind::kBlank))
      ++i;
    return i;
  }

  static std::unique_ptr<QueryNode> MakeNode(QueryKind kind, TypedRange typed) {
    auto node = std::make_unique<QueryNode>();
    node->kind = kind;
    node->typed = typed;
    return node;
  }

  Operand ParseChain();
  Operand ParseOperand();
  Operand ParseEither();
  Operand ParseTerms();
  Operand ParseBracket();
  Operand ParseSound();
  Operand ParsePattern(std::size_t begin, std::size_t end);
  Operand JoinChain(std::vector<Operand> operands, const std::vector<std::size_t>& signs,
                    TypedRange typed);
  Operand MissingOperand(std::optional<std::size_t> sign);

  bool TermIsPattern() const;
  std::size_t EndOfTerm() const;
  Operand CountTerm(Operand term, TypedRange typed);

  const ExpressionTokens& tokens_;
  const QueryOptions& options_;
  std::size_t length_;  // of the expression
  std::size_t place_ = 0;
  int terms_ = 0;
  std::optional<QueryFault> fault_;
};

/// Reads operands with "&" between them, up to the end of the query.
Operand QueryParser::ParseChain() {
  std::vector<Operand> operands;
  std::vector<std::size_t> signs;  // the tokens of the "&"
  SkipBlanks();
  const std::size_t begin = place_;
  while (true) {
    SkipBlanks();
    if (AtOperandEnd()) {
      return MissingOperand(signs.empty() ? std::nullopt : std::optional(signs.back()));
    }
    operands.push_back(ParseOperand());
    if (fault_) return {};
    SkipBlanks();
    if (!At(TokenKind::kAnd)) break;
    signs.push_back(place_++);
  }
  return JoinChain(std::move(operands), signs, TypedFrom(begin));
}

/// Refuses the place of an operand that is missing: after the token `sign`, if there is one.
Operand QueryParser::MissingOperand(std::optional<std::size_t> sign) {
  if (sign) {
    return Refuse(MessageNumber::kMissingRightAndOperand, tokens_.RangeOf(*sign, *sign));
  }
  if (At(TokenKind::kAnd)) {
    return Refuse(MessageNumber::kMissingLeftAndOperand, tokens_.RangeOf(place_, place_));
  }
  return Refuse(MessageNumber::kEmptySubexpression, MissingHere());
}

/// Makes one node of a chain. From the right, it is checked that each distance has operands to
/// compare.
Operand QueryParser::JoinChain(std::vector<Operand> operands, const std::vector<std::size_t>& signs,
                               TypedRange typed) {
  if (operands.size() == 1) return std::move(operands.front());
  Operand joined;
  joined.node = MakeNode(QueryKind::kAnd,
                         {operands.front().node->typed.begin, operands.back().node->typed.end});
  joined.hasItems = operands.back().hasItems;
  for (std::size_t i = signs.size(); i-- > 0;) {
    const Operand& left = operands[i];
    const bool rightIsLast = i + 1 == signs.size();
    const Token& sign = tokens_[signs[i]];
    if (tokens_.links[sign.index].IsNear()) {
      const bool rightNegates = rightIsLast && operands.back().negatesItems;
      const bool rightIsNot = rightIsLast && operands.back().node->kind == QueryKind::kNot;
      if (left.node->kind == QueryKind::kNot && rightIsNot) {
        return Refuse(MessageNumber::kBothOperandsNegated, {sign.begin, sign.end});
      }
      if (!left.hasItems && !left.negatesItems) {
        return Refuse(MessageNumber::kOperandWithoutPlaces, left.node->typed);
      }
      if (!joined.hasItems && !rightNegates) {
        return Refuse(MessageNumber::kOperandWithoutPlaces,
                      {tokens_[ItemAfter(signs[i])].begin, typed.end});
      }
      joined.hasItems = true;
    } else {
      joined.hasItems = joined.hasItems || left.hasItems;
    }
  }
  joined.node->links.reserve(signs.size());
  for (const std::size_t sign : signs)
    joined.node->links.push_back(tokens_.links[tokens_[sign].index]);
  joined.node->children.reserve(operands.size());
  for (Operand& operand : operands)
    joined.node->children.push_back(std::move(operand.node));
  return joined;
}

/// Reads an "either" with the "!" before it. Two of them take each other away, also where the inner
/// one stands in a bracket, the tag of which goes on to the operand.
Operand QueryParser::ParseOperand() {
  const std::size_t begin = place_;
  std::optional<std::size_t> sign;
  bool negated = false;
  for (; At(TokenKind::kNot); SkipBlanks()) {
    sign = place_++;
    negated = !negated;
  }
  if (AtOperandEnd() && sign) {
    return Refuse(MessageNumber::kMissingNotOperand, tokens_.RangeOf(*sign, *sign));
  }
  Operand operand = ParseEither();
  if (fault_ || !negated) return operand;

  std::swap(operand.hasItems, operand.negatesItems);
  if (operand.node->kind == QueryKind::kNot) {
    const std::unique_ptr<QueryNode> inner = std::move(operand.node);
    operand.node = std::move(inner->children.front());
    operand.node->tags.insert(operand.node->tags.end(), inner->tags.begin(), inner->tags.end());
    return operand;
  }
  auto negation = MakeNode(QueryKind::kNot, TypedFrom(begin));
  negation->children.push_back(std::move(operand.node));
  operand.node = std::move(negation);
  return operand;
}

/// Reads terms with "|" between them.
Operand QueryParser::ParseEither() {
  const std::size_t begin = place_;
  std::vector<Operand> terms;
  while (true) {
    terms.push_back(ParseTerms());
    if (fault_) return {};
    SkipBlanks();
    if (!At(TokenKind::kBar)) break;
    ++place_;
    SkipBlanks();
  }
  if (terms.size() == 1) return std::move(terms.front());

  Operand either;
  either.node = MakeNode(QueryKind::kOr, TypedFrom(begin));
  for (Operand& term : terms) {
    either.hasItems = either.hasItems || term.hasItems;
    either.node->children.push_back(std::move(term.node));
  }
  return either;
}

/// Reads one term, or all neighbouring ones that are one pattern.
Operand QueryParser::ParseTerms() {
  if (AtTermEnd()) return Refuse(MessageNumber::kEmptySubexpression, MissingHere());
  const std::size_t begin = place_;
  std::size_t end = place_;
  int patterns = 0;
  while (!AtTermEnd() && TermIsPattern()) {
    ++patterns;
    end = EndOfTerm();
    place_ = end;
    SkipBlanks();
    if (!At(TokenKind::kBar)) break;
    ++place_;
    SkipBlanks();
  }
  const bool isBracket = tokens_[begin].Is(TokenKind::kOpen) && tokens_[begin].wholeTerm;
  if (patterns > 1 || (patterns == 1 && !isBracket)) {
    place_ = end;
    return ParsePattern(begin, end);
  }
  place_ = begin;
  return isBracket ? ParseBracket() : ParseSound();
}

/// Whether the term that begins here is a pattern, or a bracket that holds nothing else.
bool QueryParser::TermIsPattern() const {
  const Token& first = tokens_[place_];
  if (first.Is(TokenKind::kOpen) && first.wholeTerm) return first.onlyPatterns;
  if (first.Is(TokenKind::kTilde)) {
    return place_ + 1 == tokens_.Size() || !tokens_[place_ + 1].IsPlainLetter();
  }
  if (!options_.phonetic || !first.IsPlainLetter()) return true;
  std::size_t after = place_;
  while (after < tokens_.Size() && tokens_[after].IsPlainLetter())
    ++after;
  return after != EndOfTerm();
}

/// Where the term that begins here ends, without the blanks after it.
std::size_t QueryParser::EndOfTerm() const {
  std::size_t end = place_;
  for (std::size_t i = place_; i < tokens_.Size();) {
    const Token& token = tokens_[i];
    if (token.Is(TokenKind::kBar) || token.Is(TokenKind::kAnd) || token.Is(TokenKind::kClose))
      break;
    i = token.Is(TokenKind::kOpen) ? token.index + 1 : i + 1;
    if (!token.Is(TokenKind::kBlank)) end = i;
  }
  return end;
}

/// Reads a bracket that groups operands.
Operand QueryParser::ParseBracket() {
  const std::size_t open = place_++;
  Operand operand = ParseChain();
  if (fault_) return {};
  operand.node->tags.push_back(static_cast<int>(tokens_[open].tag));
  place_ = tokens_[open].index + 1;
  return operand;
}

/// Reads "~" and a word, or a word alone.
Operand QueryParser::ParseSound() {
  const std::size_t begin = place_;
  if (At(TokenKind::kTilde)) ++place_;
  std::string word;
  for (; !AtEnd() && tokens_[place_].IsPlainLetter(); ++place_)
    word.push_back(static_cast<char>(tokens_[place_].value));
  const TypedRange typed = tokens_.RangeOf(begin, place_ - 1);
  SkipBlanks();
  if (!AtTermEnd()) {
    const bool negation = At(TokenKind::kNot) && tokens_[place_ - 1].Is(TokenKind::kBlank);
    return Refuse(negation ? MessageNumber::kNotWithoutAnd : MessageNumber::kInvalidSoundWord,
                  tokens_.RangeOf(place_, place_));
  }
  if (MakeSoundKey(word).sounds.empty()) return Refuse(MessageNumber::kNothingToCode, typed);
  Operand sound;
  sound.node = MakeNode(QueryKind::kSound, typed);
  sound.node->word = std::move(word);
  sound.hasItems = true;
  return CountTerm(std::move(sound), typed);
}

Operand QueryParser::ParsePattern(std::size_t begin, std::size_t end) {
  auto reading = ReadPattern(tokens_, begin, end, options_);
  if (const auto* fault = std::get_if<QueryFault>(&reading)) {
    return Refuse(fault->number, fault->typed);
  }
  Operand operand;
  operand.node = MakeNode(QueryKind::kPattern, tokens_.RangeOf(begin, end - 1));
  operand.node->pattern = std::move(std::get<std::unique_ptr<QueryPattern>>(reading));
  operand.hasItems = true;
  return CountTerm(std::move(operand), tokens_.RangeOf(begin, end - 1));
}

Operand QueryParser::CountTerm(Operand term, TypedRange typed) {
  if (++terms_ > kMaxQueryTerms) return Refuse(MessageNumber::kExpressionTooLong, typed);
  return term;
}

}  // namespace

std::variant<ParsedQuery, QueryFault> ParseQuery(std::string_view expression,
                                                 const QueryOptions& options) {
  if (expression.size() > kMaxQueryLength) {
    return QueryFault{MessageNumber::kExpressionTooLong, {0, expression.size()}};
  }
  const ExpressionText text = DecodeExpression(expression, options.encoding);
  auto reading = ReadTokens(text, options.caseSensitive);
  if (const auto* fault = std::get_if<QueryFault>(&reading)) return *fault;
  auto& tokens = std::get<ExpressionTokens>(reading);
  if (const auto fault = DrawOutline(tokens, options.phonetic)) return *fault;
  return QueryParser(tokens, options, expression.size()).Parse();
}

}  // namespace trovex
