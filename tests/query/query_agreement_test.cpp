// What the parser makes of expressions by chance: a tree that was printed comes back, patterns are
// read as the first door reads them where both accept them, and every change of an expression is
// read or refused with a place inside it.

#include "matcher/pattern/pattern_syntax.h"
#include "query/describe.h"
#include "query/query_parser.h"
#include "tests/dice.h"
#include "tests/query/query_text.h"

#include <gtest/gtest.h>
#include <cstddef>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace trovex {
namespace {

using testing::Dice;
using testing::Joined;

enum class ModelKind { kPattern, kSound, kAnd, kOr, kNot, kBracket };

struct Model {
  ModelKind kind = ModelKind::kPattern;
  std::string text;  // of a leaf
  std::vector<Model> children;
  std::vector<std::string> links;

  /// Whether a neighbouring pattern would become one with it.
  bool IsPattern() const {
    if (kind == ModelKind::kBracket) return children[0].IsPattern();
    return kind == ModelKind::kPattern;
  }
  /// Whether a "!" before it would take another away.
  bool IsNegated() const {
    if (kind == ModelKind::kBracket) return children[0].IsNegated();
    return kind == ModelKind::kNot;
  }
};

class ModelMaker {
 public:
  ModelMaker(Dice& dice, bool withNot) : dice_(dice), withNot_(withNot) {}

  Model Query(int depth) {
    const int operands = dice_.OneIn(3) ? dice_.Between(2, 4) : 1;
    if (operands == 1) return Operand(depth);
    Model chain{ModelKind::kAnd, {}, {}, {}};
    for (int i = 0; i < operands; ++i) {
      chain.children.push_back(Operand(depth));
      // An operand with a NOT in it may be unable to have items.
      if (i > 0) {
        chain.links.push_back(withNot_ ? "&"
                                       : dice_.OneOf({"&", "&5", "&0", "&12w", "&>3", "&>3w", "&>",
                                                      "&9223372036854775807"}));
      }
    }
    return chain;
  }

 private:
  Model Operand(int depth) {
    Model either = Either(depth);
    if (!withNot_ || !dice_.OneIn(3) || either.IsNegated()) return either;
    return {ModelKind::kNot, {}, {either}, {}};
  }

  Model Either(int depth) {
    const int terms = dice_.OneIn(3) ? dice_.Between(2, 4) : 1;
    Model either{ModelKind::kOr, {}, {}, {}};
    for (int i = 0; i < terms; ++i) {
      Model term = Term(depth);
      if (i > 0 && term.IsPattern() && either.children.back().IsPattern()) term = Sound();
      either.children.push_back(term);
    }
    return terms == 1 ? either.children.front() : either;
  }

  Model Term(int depth) {
    if (depth > 0 && dice_.OneIn(2)) return {ModelKind::kBracket, {}, {Query(depth - 1)}, {}};
    return dice_.OneIn(3) ? Sound() : Pattern();
  }

  Model Sound() { return {ModelKind::kSound, dice_.OneOf({"Meier", "a", "Haus", "Stra"}), {}, {}}; }
  Model Pattern() {
    return {ModelKind::kPattern,
            dice_.OneOf({"a", "ab c", "[&(!|]x", "\\(\\&", "a|b", "a{2}", "^a+$", "20 Euro", "Ha!",
                         "~5", "a~b", "a | b", "w"}),
            {},
            {}};
  }

  Dice& dice_;
  bool withNot_;
};

/// A model as an expression, with blanks by chance, and what is to be read from it.
class Printer {
 public:
  explicit Printer(Dice& dice) : dice_(dice) {}

  std::string Typed() const { return typed_; }

  std::string Print(const Model& model) {
    switch (model.kind) {
      case ModelKind::kPattern:
        typed_ += model.text;
        return Joined({"'", model.text, "'"});
      case ModelKind::kSound:
        typed_ += Joined({"~", model.text});
        return Joined({"~", model.text});
      case ModelKind::kNot: {
        const int signs = dice_.OneIn(4) ? 3 : 1;
        for (int i = 0; i < signs; ++i) {
          typed_ += '!';
          Blanks();
        }
        return Joined({"!", Print(model.children[0])});
      }
      case ModelKind::kBracket: {
        const std::string tag = std::to_string(++tags_);
        typed_ += '(';
        Blanks();
        const std::string inner = Print(model.children[0]);
        Blanks();
        typed_ += ')';
        return Joined({inner, "#", tag});
      }
      default:
        return PrintChain(model);
    }
  }

 private:
  std::string PrintChain(const Model& model) {
    std::string expected;
    for (std::size_t i = 0; i < model.children.size(); ++i) {
      const bool isAnd = model.kind == ModelKind::kAnd;
      if (i > 0) {
        Blanks();
        typed_ += isAnd ? Joined({model.links[i - 1], " "}) : "|";
        Blanks();
        expected += isAnd ? Joined({" ", model.links[i - 1], " "}) : "|";
      }
      expected += Print(model.children[i]);
    }
    return Joined({"{", expected, "}"});
  }

  void Blanks() { typed_.append(static_cast<std::size_t>(dice_.Between(0, 2)), ' '); }

  Dice& dice_;
  std::string typed_;
  int tags_ = 0;
};

TEST(QueryAgreement, APrintedTreeComesBack) {
  for (std::uint32_t seed = 1; seed <= 20'000; ++seed) {
    Dice dice(seed);
    Printer printer(dice);
    const std::string expected = printer.Print(ModelMaker(dice, dice.OneIn(2)).Query(3));
    const auto result = ParseQuery(printer.Typed(), QueryOptions());
    ASSERT_TRUE(std::holds_alternative<ParsedQuery>(result))
        << "seed " << seed << ": " << printer.Typed()
        << " is refused: " << std::get<QueryFault>(result).Sentence();
    ASSERT_EQ(testing::TypedText(std::get<ParsedQuery>(result), printer.Typed()), expected)
        << "seed " << seed << ": " << printer.Typed();
  }
}

/// Whether all brackets of a pattern are closed before its last byte: what follows is no piece then.
bool ClosesBeforeItsEnd(std::string_view pattern) {
  int depth = 0;
  for (const char c : pattern.substr(1, pattern.size() - 2)) {
    depth += c == '(' ? 1 : c == ')' ? -1 : 0;
    if (depth == 0) return true;
  }
  return false;
}

TEST(QueryAgreement, APieceOfAPatternIsReadAsTheFirstDoorReadsIt) {
  QueryOptions options;
  options.caseSensitive = true;
  int accepted = 0;
  for (std::uint32_t seed = 1; seed <= 100'000; ++seed) {
    Dice dice(seed);
    std::string pattern = "x(";
    const int parts = dice.Between(0, 10);
    for (int i = 0; i < parts; ++i) {
      pattern += dice.OneOf({"a",   "b",   "c",    "(",    ")",    "(",      ")",    "|", "*", "+",
                             "?",   "{2}", "{,3}", "{1,}", "[ab]", "[^b-d]", "[]-]", ".", "^", "$",
                             "\\1", "\\2", "\\b",  "\\<",  "\\.",  " ",      "}",    "]", "-"});
    }
    pattern += ')';
    if (ClosesBeforeItsEnd(pattern)) continue;
    const auto result = ParseQuery(pattern, options);
    const auto* query = std::get_if<ParsedQuery>(&result);
    const SyntaxTree first = ParsePattern(pattern.data(), pattern.size(), nullptr);
    if (query == nullptr) {
      // What only this door refuses: operators without an operand.
      const QueryFault& fault = std::get<QueryFault>(result);
      ASSERT_TRUE(first.faulty || fault.number == MessageNumber::kInvalidRepetition)
          << "seed " << seed << ": " << pattern << ": " << fault.Sentence();
      continue;
    }
    ++accepted;
    ASSERT_FALSE(first.faulty) << "seed " << seed << ": " << pattern;
    ASSERT_EQ(testing::TreeText(query->root->pattern->tree), testing::TreeText(first))
        << "seed " << seed << ": " << pattern;
  }
  EXPECT_GT(accepted, 10'000);
}

/// Reads `expression` under every option; what is refused is so for a place inside it.
void HoldFaults(std::string_view expression) {
  for (int bits = 0; bits < 16; ++bits) {
    QueryOptions options;
    options.encoding = (bits & 1) != 0 ? ExpressionEncoding::kLatin1 : ExpressionEncoding::kUtf8;
    options.caseSensitive = (bits & 2) != 0;
    options.phonetic = (bits & 4) != 0;
    options.spellingVariants = (bits & 8) != 0;
    const auto result = ParseQuery(expression, options);
    if (const auto* fault = std::get_if<QueryFault>(&result)) {
      ASSERT_FALSE(fault->Sentence().empty()) << expression;
      ASSERT_LE(fault->typed.begin, fault->typed.end) << expression;
      ASSERT_LE(fault->typed.end, expression.size()) << expression;
      ASSERT_TRUE(expression.empty() || fault->typed.begin < fault->typed.end) << expression;
    } else {
      const auto& query = std::get<ParsedQuery>(result);
      const std::string description = DescribeQuery(query, expression, options.encoding);
      ASSERT_FALSE(description.empty()) << expression;
      ASSERT_EQ(description.back(), '\n') << expression;
    }
  }
}

const std::vector<std::string>& Expressions() {
  static const std::vector<std::string> expressions = {
      "(Haus|Hof) &20 !(Gar(ten|t\xC3\xBCr)) & ~Meier",
      "((a & b)) &>5w (c)|(!d) & x{2,3}",
      "[[:alpha:]_-]+\\b(a|)\\1 & [^]a-z[.x.]] ",
      "\\<Stra\xC3\x9F"
      "e\\>|!a !b & a\xCC\x88\xCE\xA9",
      "! ! (a & (b|~c)|d) &7w(e)\n| f & \\t\\d\\.",
      "(ein|eine) (Hund|Katze)*|(A & B) C",
  };
  return expressions;
}

TEST(QueryAgreement, EveryPrefixIsReadOrRefusedForAPlaceInIt) {
  for (const std::string& expression : Expressions()) {
    for (std::size_t length = 0; length <= expression.size(); ++length)
      HoldFaults(std::string_view(expression).substr(0, length));
  }
}

TEST(QueryAgreement, EveryChangeOfOneByteIsReadOrRefusedForAPlaceInIt) {
  const std::string_view bytes("&|!~()[]{}\\*+?.^$ \n\0a5w>,-:\xC3\xA4\x81\xFF", 31);
  for (const std::string& expression : Expressions()) {
    for (std::size_t place = 0; place < expression.size(); ++place) {
      std::string without = expression;
      without.erase(place, 1);
      HoldFaults(without);
      for (const char byte : bytes) {
        std::string changed = expression;
        changed[place] = byte;
        HoldFaults(changed);
        changed = expression;
        changed.insert(place, 1, byte);
        HoldFaults(changed);
      }
    }
  }
}

TEST(QueryAgreement, BytesByChanceAreReadOrRefusedForAPlaceInThem) {
  for (std::uint32_t seed = 1; seed <= 20'000; ++seed) {
    Dice dice(seed);
    HoldFaults(dice.Bytes("&&||!~()()[]{}\\*+?.^$  ab1259w>,-:\xC3\xA4", 24));
  }
}

}  // namespace
}  // namespace trovex
