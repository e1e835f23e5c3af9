// GetSearchTree: what a typed expression becomes. Every rule of the language has its own test; tens
// of thousands of random expressions are held against a model of the language, tree by tree and
// message by message, and are then searched over random texts against the model's evaluation.

#include "tests/dice.h"
#include "tests/expr/expression_model.h"
#include "tests/expr/leaf_model.h"
#include "tests/heap_text.h"

#include <trovex/functions.h>
#include <trovex/search_tree.h>

#include <gtest/gtest.h>
#include <climits>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace trovex::testing {
namespace {

constexpr char kClosingMissing[] = "The closing bracket ) is missing in a subexpression.";
constexpr char kOpeningMissing[] = "The opening bracket is missing in a subexpression.";
constexpr char kEmptySubexpression[] = "The search expression contains an empty subexpression.";
constexpr char kNotNeedsAnd[] =
    "When a not operator (!) is used between two subexpressions, it must be preceded by an and "
    "operator (&).";
constexpr char kNotOperandMissing[] = "The operand after the not operator is missing.";
constexpr char kLeftOperandMissing[] = "The left operand of an and operator (&) is missing.";
constexpr char kRightOperandMissing[] = "The right operand of an and operator is missing.";

constexpr int kUntouched = -4711;

/// What one GetSearchTree gave.
struct Parsed {
  std::string message;
  std::unique_ptr<CSearchTreeItem> tree;
  int tagCount = kUntouched;

  std::string Dump() const { return Describe(tree.get()); }
};

Parsed Parse(const std::string& expression, unsigned long options = kSearchModeRegularExpression) {
  const HeapText text(expression);
  CSearchTreeItem leftOver;
  CSearchTreeItem* tree = &leftOver;
  Parsed parsed;
  const unsigned long mode = options & kSearchModeMask;
  const char* message =
      GetSearchTree(text.Data(), mode == kSearchModeRegularExpression, mode == kSearchModePhonetic,
                    (options & kSearchMatchWords) != 0, (options & kSearchCaseSensitive) != 0, tree,
                    &parsed.tagCount);
  parsed.message = message == nullptr ? "" : message;
  parsed.tree.reset(tree);
  return parsed;
}

/// An untagged leaf without brackets.
std::string Leaf(const std::string& text, int tagBase = 0) {
  return DescribeLeaf(0, text, tagBase, 0, 0);
}

std::string And(int nearBy, int tag, const std::string& left, const std::string& right) {
  return "AND<near " + std::to_string(nearBy) + " tag " + std::to_string(tag) + ">(" + left + ", " +
         right + ")";
}

std::string Not(int tag, const std::string& child) {
  return "NOT<tag " + std::to_string(tag) + ">(" + child + ")";
}

void ExpectTree(const std::string& expression, int tagCount, const std::string& dump) {
  const Parsed parsed = Parse(expression);
  EXPECT_EQ(parsed.message, "") << expression;
  EXPECT_EQ(parsed.tagCount, tagCount) << expression;
  EXPECT_EQ(parsed.Dump(), dump) << expression;
}

void ExpectFault(const std::string& expression, const std::string& message) {
  const Parsed parsed = Parse(expression);
  EXPECT_EQ(parsed.message, message) << expression;
  EXPECT_EQ(parsed.tree, nullptr) << expression;
  EXPECT_EQ(parsed.tagCount, kUntouched) << expression;
}

// ---- Leaves ----

TEST(Expression, OfOneWordIsALeaf) {
  ExpectTree("cat", 0, Leaf("cat"));
  ExpectTree("  cat dog  ", 0, Leaf("cat dog"));
}

TEST(Expression, BracketsWithoutAnOperatorStayInThePattern) {
  ExpectTree("(cat|dog) & mouse", 1,
             And(-1, 0, Leaf("mouse", 1), DescribeLeaf(0, "cat|dog", 0, 1, 1)));
  ExpectTree("x(a)(b)", 2, DescribeLeaf(0, "x(a)(b)", 0, 2, 0));
}

TEST(Expression, ABackslashMakesAnOperatorOrdinary) {
  ExpectTree("a\\&b", 0, Leaf("a&b"));
  ExpectTree("a\\!b", 0, Leaf("a!b"));
  ExpectTree("\\!a", 0, Leaf("!a"));
  ExpectTree("a\\(b", 0, Leaf("a\\(b"));
  ExpectTree("a\\)b", 0, Leaf("a\\)b"));
}

TEST(Expression, TwoBackslashesLeaveTheOperatorAnOperator) {
  ExpectTree("a\\\\&b", 0, And(-1, 0, Leaf("b"), Leaf("a\\\\")));
  ExpectFault("\\\\!b", kNotNeedsAnd);
}

TEST(Expression, ABlankOrAnotherByteEndsTheEscape) {
  const Parsed blank = Parse("a\\ &b");
  EXPECT_EQ(blank.Dump(), And(-1, 0, Leaf("a\\"), Leaf("b")));
  EXPECT_EQ(blank.message,
            "The search expression contains a single backslash \\, which isn't followed by a "
            "character.");
  ExpectTree("a\\.&b", 0, And(-1, 0, Leaf("b"), Leaf("a\\.")));
}

// ---- AND ----

TEST(Expression, AndTakesTheCheaperOperandOnTheLeft) {
  ExpectTree("mouse & cat", 0, And(-1, 0, Leaf("cat"), Leaf("mouse")));
  ExpectTree("cat & dog", 0, And(-1, 0, Leaf("cat"), Leaf("dog")));
}

TEST(Expression, AndsGroupToTheRight) {
  ExpectTree("a & b & c", 0, And(-1, 0, Leaf("a"), And(-1, 0, Leaf("b"), Leaf("c"))));
}

TEST(Expression, ANumberAfterAndIsADistance) {
  ExpectTree("a &12 b", 0, And(12, 0, Leaf("a"), Leaf("b")));
  ExpectTree("a & 12b", 0, And(12, 0, Leaf("a"), Leaf("b")));
  ExpectTree("a &+7 b", 0, And(7, 0, Leaf("a"), Leaf("b")));
  ExpectTree("a &\n\t 007b", 0, And(7, 0, Leaf("a"), Leaf("b")));
  ExpectTree("a &0 b", 0, And(0, 0, Leaf("a"), Leaf("b")));
}

TEST(Expression, ANegativeDistanceIsStored) {
  ExpectTree("a & -3 b", 0, And(-3, 0, Leaf("a"), Leaf("b")));
}

TEST(Expression, ADistanceThatAnIntCannotHoldIsTheNearestThatItCan) {
  for (const char* distance : {"2147483647", "2147483648", "99999999999", "9223372036854775808",
                               "123456789012345678901234567890"}) {
    const std::string digits = distance;
    ExpectTree("a &" + digits + " b", 0, And(INT_MAX, 0, Leaf("a"), Leaf("b")));
    if (digits == "2147483647") continue;
    ExpectTree("a &-" + digits + " b", 0, And(INT_MIN, 0, Leaf("a"), Leaf("b")));
  }
}

TEST(Expression, WhiteSpaceOfAnyKindMayStandBeforeADistance) {
  for (const char* space : {" ", "\t", "\n", "\v", "\f", "\r", "", " \v\t "}) {
    ExpectTree("a &" + std::string(space) + "5 b", 0, And(5, 0, Leaf("a"), Leaf("b")));
  }
  ExpectTree(
      "a &\x08"
      "5",
      0,
      And(-1, 0, Leaf("a"),
          Leaf("\x08"
               "5")));
}

TEST(Expression, ASignWithoutDigitsIsText) {
  ExpectTree("a &- 3", 0, And(-1, 0, Leaf("a"), Leaf("- 3")));
}

TEST(Expression, ASecondNumberIsText) {
  ExpectTree("a &1 2", 0, And(1, 0, Leaf("a"), Leaf("2")));
}

TEST(Expression, AnOperandThatIsANumberIsTakenAsTheDistance) {
  ExpectFault("a & 12", kRightOperandMissing);
}

TEST(Expression, AndWithoutALeftOperand) {
  ExpectFault("& dog", kLeftOperandMissing);
  ExpectFault("  & dog", kLeftOperandMissing);
  ExpectFault("() & dog", kLeftOperandMissing);
  ExpectFault("a & & b", kLeftOperandMissing);
}

TEST(Expression, AndWithoutARightOperand) {
  ExpectFault("cat & ", kRightOperandMissing);
  ExpectFault("cat &", kRightOperandMissing);
  ExpectFault("cat & ()", kRightOperandMissing);
  ExpectFault("(cat & )", kRightOperandMissing);
}

// ---- NOT ----

TEST(Expression, NotTakesItsOperandUpToTheNextAnd) {
  ExpectTree("!cat & dog", 0, And(-1, 0, Leaf("dog"), Not(0, Leaf("cat"))));
  ExpectTree("a & !b & c", 0, And(-1, 0, Leaf("c"), And(-1, 0, Leaf("a"), Not(0, Leaf("b")))));
}

TEST(Expression, NotOfNot) {
  ExpectTree("!!a", 0, Not(0, Not(0, Leaf("a"))));
  ExpectTree("! !a", 0, Not(0, Not(0, Leaf("a"))));
}

TEST(Expression, NotTakesTheRestOfItsSegment) {
  ExpectTree("!a b", 0, Not(0, Leaf("a b")));
}

TEST(Expression, NotOfBrackets) {
  ExpectTree("!(a & b)", 1, Not(0, And(-1, 1, Leaf("a", 1), Leaf("b", 1))));
  ExpectTree("(!a)", 1, Not(1, Leaf("a", 1)));
}

TEST(Expression, NotAfterContentNeedsAnAnd) {
  ExpectFault("cat !dog", kNotNeedsAnd);
  ExpectFault("(a & b) !c", kNotNeedsAnd);
  ExpectFault("(a) !c", kNotNeedsAnd);
  ExpectFault("!a !b", kNotNeedsAnd);
}

TEST(Expression, NotAfterABlankThatWasEscapedHasNoContentBeforeIt) {
  ExpectTree("\\ !a", 0, Not(0, Leaf("a")));
}

TEST(Expression, NotWithoutAnOperand) {
  ExpectFault("!", kNotOperandMissing);
  ExpectFault("! ", kNotOperandMissing);
  ExpectFault("!()", kNotOperandMissing);
  ExpectFault("(!)", kNotOperandMissing);
  ExpectFault("! & a", kNotOperandMissing);
}

// ---- Brackets ----

TEST(Expression, ABracketedOperatorCarriesTheBracketsTag) {
  const Parsed parsed = Parse("(a & b) & c");
  EXPECT_EQ(parsed.message, "");
  EXPECT_EQ(parsed.tagCount, 1);
  EXPECT_EQ(parsed.Dump(), And(-1, 0, Leaf("c", 1), And(-1, 1, Leaf("a", 1), Leaf("b", 1))));
}

TEST(Expression, TagsAreNumberedInTheOrderOfTheirOpening) {
  ExpectTree(
      "(a & (b)) & (!c)", 3,
      And(-1, 0, Not(3, Leaf("c", 3)), And(-1, 1, Leaf("a", 1), DescribeLeaf(0, "b", 1, 1, 1))));
}

TEST(Expression, DoubledBracketsAroundAnOperatorMakeItText) {
  ExpectTree("((a & b))", 2, DescribeLeaf(0, "a & b", 0, 2, 2));
}

TEST(Expression, TextBesideABracketedOperatorIsDropped) {
  ExpectTree("(a & b) c", 1, And(-1, 1, Leaf("a", 1), Leaf("b", 1)));
  ExpectTree("x (a & b)", 1, And(-1, 1, Leaf("a", 1), Leaf("b", 1)));
}

TEST(Expression, LaterBracketsReplaceAnEarlierOperator) {
  ExpectTree("(a & b)(c & d)", 2, And(-1, 2, Leaf("c", 2), Leaf("d", 2)));
  const Parsed text = Parse("(a & b)(c)");  // as text the brackets do not belong together
  EXPECT_EQ(text.Dump(), DescribeLeaf(0, "a & b)(c", 0, 2, 1));
  EXPECT_EQ(text.message, kOpeningMissing);
}

TEST(Expression, AMissingClosingBracket) {
  ExpectFault("(cat", kClosingMissing);
  ExpectFault("(", kClosingMissing);
  ExpectFault("(a & b", kClosingMissing);
  ExpectFault("(cat\\)", kClosingMissing);
  ExpectFault("a & (!b", kClosingMissing);
}

TEST(Expression, AMissingOpeningBracket) {
  ExpectFault("cat)", kOpeningMissing);
  ExpectFault(")", kOpeningMissing);
  ExpectFault("(a))", kOpeningMissing);
  ExpectFault("a & b)", kOpeningMissing);
  ExpectFault("!a)", kOpeningMissing);
}

TEST(Expression, TheFirstFaultFromTheLeftIsReported) {
  ExpectFault("(a !b", kNotNeedsAnd);
  ExpectFault(") & (", kOpeningMissing);
}

TEST(Expression, WithoutAnyTextIsEmpty) {
  ExpectFault("", kEmptySubexpression);
  ExpectFault("    ", kEmptySubexpression);
  ExpectFault("()", kEmptySubexpression);
  ExpectFault("( ( ) )", kEmptySubexpression);
}

// ---- Options, environments, results ----

TEST(ExpressionOptions, ReachEveryLeaf) {
  for (const unsigned long options : {0x01UL, 0x02UL, 0x11UL, 0x12UL, 0x21UL, 0x22UL, 0x31UL}) {
    const Parsed parsed = Parse("a & b", options);
    auto& both = dynamic_cast<CAndOperator&>(*parsed.tree);
    for (CSearchTreeItem* child : {both.GetLeftChild(), both.GetRightChild()}) {
      auto& leaf = dynamic_cast<CSubExpression&>(*child);
      EXPECT_EQ(leaf.RegularExpression(), (options & 0x0F) == 1 ? 1 : 0) << options;
      EXPECT_EQ(leaf.PhoneticSearch(), (options & 0x0F) == 2 ? 1 : 0) << options;
      EXPECT_EQ(leaf.MatchWords(), static_cast<int>(options & 0x10)) << options;
      EXPECT_EQ(leaf.CaseSensitive(), static_cast<int>(options & 0x20)) << options;
    }
  }
}

TEST(ExpressionOptions, RegularExpressionWinsOverPhoneticAndIsTheModeWithoutEither) {
  for (const int both : {1, 0}) {
    CSearchTreeItem* tree = nullptr;
    int tagCount = 0;
    ASSERT_EQ(GetSearchTree("a.c", both, both, 0, 0, tree, &tagCount), nullptr);
    const std::unique_ptr<CSearchTreeItem> owner(tree);
    EXPECT_EQ(dynamic_cast<CSubExpression&>(*tree).RegularExpression(), 1);
    EXPECT_EQ(dynamic_cast<CSubExpression&>(*tree).PhoneticSearch(), 0);
  }
}

TEST(ExpressionOptions, EveryNonzeroSwitchIsOn) {
  CSearchTreeItem* tree = nullptr;
  int tagCount = 0;
  ASSERT_EQ(GetSearchTree("abc", 0, -1, 256, 2, tree, &tagCount), nullptr);
  const std::unique_ptr<CSearchTreeItem> owner(tree);
  auto& leaf = dynamic_cast<CSubExpression&>(*tree);
  EXPECT_EQ(leaf.PhoneticSearch(), 1);
  EXPECT_EQ(leaf.MatchWords(), 16);
  EXPECT_EQ(leaf.CaseSensitive(), 32);
}

TEST(ExpressionResult, APatternThatDoesNotCompileKeepsTheTreeAndTheTagCount) {
  const Parsed parsed = Parse("(x) & [y");
  EXPECT_EQ(parsed.message, "The bracket [ or ] is missing in an enumeration.");
  EXPECT_EQ(parsed.tagCount, 1);
  EXPECT_EQ(parsed.Dump(), And(-1, 0, DescribeLeaf(0, "x", 0, 1, 1), Leaf("[y", 1)));
}

TEST(ExpressionResult, APhoneticPatternWithoutALetterKeepsTheTree) {
  const Parsed parsed = Parse("!...", kSearchModePhonetic);
  EXPECT_EQ(parsed.message, "The search expression must contain at least one character.");
  EXPECT_EQ(parsed.tagCount, 0);
  EXPECT_EQ(parsed.Dump(), Not(0, Leaf("...")));
}

TEST(ExpressionResult, AFaultLeavesTheEnvironmentsOfTheTreeBefore) {
  const Parsed before = Parse("b");
  ExpectFault("a & ", kRightOperandMissing);
  HeapText text("abc");
  const std::unique_ptr<CFoundItemArray> found(before.tree->Search(text.Data(), 3, 0));
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(Describe(*found), "negative 0: [1,2)0");
}

TEST(ExpressionResult, ASuccessfulParseDiscardsTheEnvironmentsOfTheTreeBefore) {
  const Parsed before = Parse("a & b");
  const Parsed after = Parse("c");
  HeapText text("abc");
  const std::unique_ptr<CFoundItemArray> found(before.tree->Search(text.Data(), 3, 0));
  EXPECT_EQ(found, nullptr);  // its second leaf's number is gone
}

TEST(ExpressionResult, TheLeavesEnvironmentsAreNumberedInTextOrderFromZero) {
  int number = kUntouched;
  ASSERT_EQ(CompileToEnvironment("earlier", 1, 0, 0, 0, &number), nullptr);
  const Parsed parsed = Parse("long (a)(b) & c");  // the cheaper operand is exchanged afterwards
  ASSERT_EQ(parsed.message, "");
  for (const int leaf : {0, 1}) {
    ASSERT_EQ(ActivateEnvironment(leaf), 1);
    EXPECT_EQ(GetSubExpressionCount(), leaf == 0 ? 2 : 0);
    EXPECT_EQ(RestoreEnvironment(leaf), 1);
  }
  EXPECT_EQ(ActivateEnvironment(2), 0);
  ASSERT_EQ(CompileToEnvironment("later", 1, 0, 0, 0, &number), nullptr);
  EXPECT_EQ(number, 2);
}

TEST(ExpressionResult, NullArgumentsFailAndGiveNoTree) {
  CSearchTreeItem item;
  CSearchTreeItem* tree = &item;
  int tagCount = kUntouched;
  EXPECT_NE(GetSearchTree(nullptr, 1, 0, 0, 0, tree, &tagCount), nullptr);
  EXPECT_EQ(std::exchange(tree, &item), nullptr);
  EXPECT_EQ(tagCount, kUntouched);
  EXPECT_NE(GetSearchTree("a", 1, 0, 0, 0, tree, nullptr), nullptr);
  EXPECT_EQ(tree, nullptr);
  EXPECT_NE(GetSearchTree("a", 1, 0, 0, 0, static_cast<CSearchTreeItem**>(nullptr), &tagCount),
            nullptr);
  EXPECT_EQ(tagCount, kUntouched);
}

TEST(ExpressionResult, AFaultFreesEveryNodeUnderConstruction) {
  // The leak checker is the judge here; each expression fails deep inside operators.
  for (const char* expression : {"a & !(b & (!c & d) & e !f)", "!(!(!(a & b) & ", "(a&b)&(c&d))",
                                 "a & b & c & (d & e", "((a & b) & !c) & (!d & )"}) {
    const Parsed parsed = Parse(expression);
    EXPECT_NE(parsed.message, "") << expression;
    EXPECT_EQ(parsed.tree, nullptr) << expression;
  }
}

TEST(ExpressionResult, ALongChainOfOperatorsIsParsed) {
  std::string expression = "a";
  for (int i = 0; i < 500; ++i)
    expression += " & !a";
  const Parsed parsed = Parse(expression);
  EXPECT_EQ(parsed.message, "");
  EXPECT_EQ(parsed.tagCount, 0);
}

// ---- Random expressions against the model ----

unsigned long RandomOptions(Dice& dice) {
  return (dice.OneIn(5) ? kSearchModePhonetic : kSearchModeRegularExpression) |
         (dice.OneIn(4) ? kSearchMatchWords : 0UL) | (dice.OneIn(4) ? kSearchCaseSensitive : 0UL);
}

/// A random expression: any bytes, or pieces that more often make sense together.
std::string RandomExpression(Dice& dice) {
  if (dice.OneIn(3)) return dice.Bytes("aab ()&!\\12-", 16);
  static constexpr std::string_view kPieces[] = {
      "a",  "b",   "ab", "(",  "(",   ")",   ")",     " & ", "&",   " & ", "!",    "(!", " ",
      "\\", "&3 ", "&0", "-1", "a|b", "(a)", "(a&b)", "b*",  "\\&", "\\(", "&-2b", "1",  "\t"};
  constexpr int kLast = static_cast<int>(std::size(kPieces)) - 1;
  std::string expression;
  for (int i = dice.Between(1, 12); i > 0; --i)
    expression += kPieces[dice.Between(0, kLast)];
  return expression;
}

TEST(ExpressionAgreement, TreesMessagesAndTagCounts) {
  int trees = 0;
  for (std::uint32_t seed = 1; seed <= 100000; ++seed) {
    Dice dice(seed);
    const std::string expression = RandomExpression(dice);
    const unsigned long options = RandomOptions(dice);
    ExpressionModel model(expression);
    std::string message = ModelMessage(model.Fault());
    if (model.Tree() != nullptr) {
      int cost = 0;
      message = ExchangeByCost(
          *model.Tree(), [&](const ModelNode& leaf) { return CompileModelLeaf(leaf, options); },
          cost);
    }
    const Parsed parsed = Parse(expression, options);
    SCOPED_TRACE("seed " + std::to_string(seed) + ", expression \"" + expression + "\", options " +
                 std::to_string(options));
    ASSERT_EQ(parsed.message, message);
    ASSERT_EQ(parsed.Dump(), Describe(model.Tree()));
    ASSERT_EQ(parsed.tagCount, model.Fault() == 0 ? model.TagCount() : kUntouched);
    trees += model.Fault() == 0 ? 1 : 0;
    ResetEnvironment();
  }
  EXPECT_GT(trees, 15000);
}

TEST(ExpressionAgreement, SearchesOfRandomTexts) {
  int searched = 0;
  int nonEmpty = 0;
  for (std::uint32_t seed = 1; seed <= 60000; ++seed) {
    Dice dice(seed);
    const std::string expression = RandomExpression(dice);
    const unsigned long options = RandomOptions(dice);
    const Parsed parsed = Parse(expression, options);
    if (!parsed.message.empty()) continue;
    ExpressionModel model(expression);
    ASSERT_NE(model.Tree(), nullptr) << "seed " << seed;
    int cost = 0;
    ExchangeByCost(
        *model.Tree(), [](const ModelNode&) { return std::string(); }, cost);
    for (int round = 0; round < 3; ++round) {
      HeapText text(dice.Bytes("aaabbBA  \n&(1", 30));
      const int tagNr = dice.Between(-1, parsed.tagCount + 1);
      const std::optional<ModelArray> expected =
          Evaluate(model.Tree(), tagNr, [&](const ModelNode& leaf) {
            return SearchModelLeaf(leaf, options, text.Data(), text.Length(), tagNr);
          });
      // The flag of the latest Compile judges whole words; every leaf of a tree has the same.
      const std::unique_ptr<CFoundItemArray> found(
          parsed.tree->Search(text.Data(), text.Length(), tagNr));
      SCOPED_TRACE("seed " + std::to_string(seed) + ", expression \"" + expression +
                   "\", options " + std::to_string(options) + ", tag " + std::to_string(tagNr) +
                   ", text \"" + text.Data() + "\"");
      ASSERT_TRUE(expected);
      ASSERT_NE(found, nullptr);
      ASSERT_EQ(Describe(*found), Describe(*expected));
      ++searched;
      nonEmpty += expected->IsEmpty() ? 0 : 1;
    }
  }
  EXPECT_GT(searched, 20000);
  EXPECT_GT(nonEmpty, 5000);
}

}  // namespace
}  // namespace trovex::testing
