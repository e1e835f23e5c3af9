// The module's side of a search tree: what makes a tree, compiles it and searches its leaves. All of it
// works on the environments, or answers with a sentence.

#include "api/environments.h"
#include "api/matcher_state.h"
#include "api/messages.h"
#include "expr/and_chain.h"
#include "expr/expression_parser.h"
#include "expr/item_blocks.h"
#include "expr/leaf_pattern.h"
#include "expr/string_chain.h"
#include "expr/text_credit.h"

#include <trovex/functions.h>
#include <trovex/search_tree.h>
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <optional>
#include <utility>
#include <vector>

using trovex::LoadMessageText;
using trovex::MessageNumber;

namespace {

/// The options word of a typed expression's switches. Without the phonetic switch every leaf is a
/// regular expression.
unsigned long OptionsFromSwitches(bool regularExpression, bool phonetic, bool words, bool cases) {
  unsigned long options = kSearchModeRegularExpression;
  if (!regularExpression && phonetic) options = kSearchModePhonetic;
  if (words) options |= kSearchMatchWords;
  if (cases) options |= kSearchCaseSensitive;
  return options;
}

}  // namespace

const char* GetSearchTree(const char* expression, int regularExpression, int phoneticSearch,
                          int matchWords, int caseSensitive, CSearchTreeItem*& tree,
                          int* tagCount) {
  tree = nullptr;
  if (expression == nullptr || tagCount == nullptr) {
    return LoadMessageText(MessageNumber::kEmptySubexpression);
  }
  try {
    trovex::ParsedExpression parsed = trovex::ParseExpression(
        expression, OptionsFromSwitches(regularExpression != 0, phoneticSearch != 0,
                                        matchWords != 0, caseSensitive != 0));
    if (parsed.fault != MessageNumber::kNone) return LoadMessageText(parsed.fault);
    tree = parsed.root.release();
    *tagCount = parsed.tagCount;
  } catch (const std::bad_alloc&) {
    return LoadMessageText(MessageNumber::kMemoryOverflow);
  }
  ResetEnvironment();
  const trovex::SharedCompileBudget budget;
  int cost = 0;
  return tree->OptimizeAndCompile(&cost);
}

// ---- Compiling ----

const char* CUnarySearchTreeItem::OptimizeAndCompile(int* cost) {
  if (cost == nullptr) return LoadMessageText(MessageNumber::kEmptySubexpression);
  if (child_ == nullptr) {
    *cost = 0;
    return LoadMessageText(MessageNumber::kEmptySubexpression);
  }
  const trovex::SharedCompileBudget budget;
  const char* error = child_->OptimizeAndCompile(cost);
  *cost += 1;
  return error;
}

namespace {

/// A node whose operands are being compiled.
struct OpenNode {
  CBinarySearchTreeItem* node;
  std::optional<int> leftCost;  // none: the left operand is not compiled yet

  CSearchTreeItem* NextOperand() const {
    return leftCost ? node->GetRightChild() : node->GetLeftChild();
  }

  /// Both operands are compiled: puts the cheaper one on the left, where it is searched first and may
  /// make the other's search unnecessary. Returns the node's cost.
  int Close(int rightCost) const {
    if (*leftCost > rightCost) {
      CSearchTreeItem* const left = node->GetLeftChild();
      node->SetLeftChild(node->GetRightChild());
      node->SetRightChild(left);
    }
    return *leftCost + rightCost + 1;
  }
};

/// Compiles the operands of `root` and of the ANDs below it, from left to right.
const char* CompileOperands(CBinarySearchTreeItem* root, int* cost) {
  std::vector<OpenNode> open = {{root, {}}};
  for (;;) {
    CSearchTreeItem* const operand = open.back().NextOperand();
    if (operand == nullptr) return LoadMessageText(MessageNumber::kEmptySubexpression);
    if (CAndOperator* const both = trovex::AsPlainAnd(operand)) {
      open.push_back({both, {}});
      continue;
    }
    int operandCost = 0;
    if (const char* error = operand->OptimizeAndCompile(&operandCost)) return error;
    while (open.back().leftCost) {
      operandCost = open.back().Close(operandCost);
      open.pop_back();
      if (!open.empty()) continue;
      *cost = operandCost;
      return nullptr;
    }
    open.back().leftCost = operandCost;
  }
}

}  // namespace

const char* CBinarySearchTreeItem::OptimizeAndCompile(int* cost) {
  if (cost == nullptr) return LoadMessageText(MessageNumber::kEmptySubexpression);
  *cost = 0;
  const trovex::SharedCompileBudget budget;
  try {
    return CompileOperands(this, cost);
  } catch (const std::bad_alloc&) {
    return LoadMessageText(MessageNumber::kMemoryOverflow);
  }
}

const char* CSubExpression::OptimizeAndCompile(int* cost) {
  if (cost == nullptr) {
    return LoadMessageText(MessageNumber::kEmptySubexpression);
  }
  *cost = text_.GetLength();
  return CompileToEnvironment(text_, RegularExpression(), PhoneticSearch(), CaseSensitive(),
                              MatchWords(), &environmentNumber_);
}

// ---- Searching ----

namespace trovex {

TextCredit::TextCredit(int length) : credit_(Matcher().textCredit) {
  if (credit_ != nullptr) return;
  credit_ = &own_.emplace(static_cast<std::size_t>(std::max(length, 0)));
  Matcher().textCredit = credit_;
}

TextCredit::~TextCredit() {
  if (own_) Matcher().textCredit = nullptr;
}

LeafPattern::LeafPattern(const CSubExpression& leaf) {
  if ((leaf.options_ & kSearchModeMask) != kSearchModeRegularExpression) return;
  CEnvironment* const environment = Environments().GetAt(leaf.environmentNumber_);
  if (environment != nullptr) environment_ = environment->AsPattern();
}

LeafPattern::Answer LeafPattern::LookAt(const char* text, int length, LocatedRange& match) const {
  const CompiledPattern* const pattern =
      environment_ != nullptr ? environment_->Pattern() : nullptr;
  if (pattern == nullptr) return Answer::kUnknown;
  const MatcherState& matcher = Matcher();
  const Answer answer = LookForMatch(*pattern, ConditionsOf(matcher), text, length, match);
  if (answer != Answer::kUnknown) environment_->NoteSearched(matcher.installed);
  return answer;
}

LeafPattern::Answer LeafPattern::LookAt(const CSubExpression& leaf, const char* text, int length) {
  LocatedRange match;
  return LeafPattern(leaf).LookAt(text, length, match);
}

const CompiledPattern* LeafPattern::String() const {
  const CompiledPattern* const pattern =
      environment_ != nullptr ? environment_->Pattern() : nullptr;
  if (pattern == nullptr || !IsSearchedAsString(*pattern, ConditionsOf(Matcher()))) return nullptr;
  return StringMatches::CanTake(*pattern->locator) ? pattern : nullptr;
}

std::shared_ptr<const CompiledPattern> LeafPattern::SharedString() const {
  return environment_->SharedPattern();
}

bool LeafPattern::LeavesNothingBehind() const {
  return environment_ != nullptr && environment_->IsNotedSearched(Matcher().installed);
}

void LeafPattern::NoteSearched() const {
  environment_->NoteSearched(Matcher().installed);
}

std::unique_ptr<StringChain>& LeafPattern::KeptChain() {
  return Matcher().chain;
}

}  // namespace trovex

namespace {

/// Keeps an environment active for as long as the object lives.
class ActiveEnvironment {
 public:
  explicit ActiveEnvironment(int number) : number_(number), active_(ActivateEnvironment(number)) {}
  ~ActiveEnvironment() {
    if (IsActive()) RestoreEnvironment(number_);
  }
  ActiveEnvironment(const ActiveEnvironment&) = delete;
  ActiveEnvironment& operator=(const ActiveEnvironment&) = delete;

  bool IsActive() const { return active_ != 0; }

 private:
  int number_;
  int active_;
};

/// Finds the first match of the active environment's pattern, in the way that `options` say; in any
/// mode but the two known ones there is none.
bool FindFirst(std::uint32_t options, const char* text, int length, int group,
               trovex::MatchRange& match, trovex::TextNotes& notes) {
  switch (options & kSearchModeMask) {
    case kSearchModeRegularExpression:
      return trovex::SearchInstalled(text, length, group, match, &notes);
    case kSearchModePhonetic:
      return SearchSoundex(text, &match.start, &match.end) != 0;
    default:
      return false;
  }
}

/// Appends the matches of the leaf of `pattern` that looks at the text tell, and goes on to `place`, where they end. True
/// where they are all of them, as in most short texts. `isGroup`: a group is asked for, which a look does not tell.
bool AppendLookedAt(const trovex::LeafPattern& pattern, const char* text, int length, bool isGroup,
                    int tagMatched, int& place, trovex::ItemMaker& items, CFoundItemArray& found) {
  using Answer = trovex::LeafPattern::Answer;
  const auto* const begin = reinterpret_cast<const unsigned char*>(text);
  while (place < length) {
    trovex::LocatedRange match;
    const Answer answer = pattern.LookAt(text + place, length - place, match);
    if (answer == Answer::kNoMatch) return true;
    if (answer == Answer::kUnknown || isGroup) return false;
    const int end = static_cast<int>(match.end - begin);
    if (end == place) return true;
    items.Append(found, static_cast<int>(match.start - begin), end, tagMatched);
    place = end;
  }
  return length > 0;
}

/// Appends what was found together with the match that ends at `place`, for whole matches of the active
/// environment's pattern. Returns where the search goes on.
int AppendFoundTogether(const char* text, int place, int length, int tagMatched,
                        const trovex::TextNotes& notes, trovex::ItemMaker& items,
                        CFoundItemArray& found) {
  trovex::PatternWork* const work = trovex::Matcher().installed.get();
  if (work == nullptr) return place;
  const auto* const begin = reinterpret_cast<const unsigned char*>(text);
  const auto matches = trovex::TakeFoundTogether(*work, text + place, text + length, notes);
  if (matches.empty()) return place;
  items.Append(found, matches, begin, tagMatched);
  return static_cast<int>(matches.back().end - begin);
}

}  // namespace

CFoundItemArray* CSubExpression::Search(const char* text, int length, int tagNr) {
  if (text == nullptr) return nullptr;
  try {
    auto found = trovex::MakeResult();

    // The tag asked for lies in this leaf when it is one of the brackets counted here. Those that
    // were stripped from the text enclose all of it: their group number is 0 or less. Where a bracket
    // was counted that the expression does not have, the tag base is below 0.
    const std::int64_t bracket = static_cast<std::int64_t>(tagNr) - tagBase_;
    const bool hasTag = tagNr >= 1 && bracket >= 1 && bracket <= groupCount_;
    const int tagMatched = hasTag ? 1 : 0;
    const int group = hasTag ? static_cast<int>(bracket - strippedBrackets_) : 0;

    trovex::ItemMaker items;
    int place = 0;
    if (AppendLookedAt(trovex::LeafPattern(*this), text, length, group > 0, tagMatched, place,
                       items, *found)) {
      return found.release();
    }
    const ActiveEnvironment environment(environmentNumber_);
    if (!environment.IsActive()) return nullptr;

    const bool wantsWhole = RegularExpression() != 0 && group <= 0;
    trovex::TextCredit credit(length);
    trovex::TextNotes notes(&credit.Credit());
    while (place < length) {
      trovex::MatchRange match{};
      if (!FindFirst(options_, text + place, length - place, group, match, notes)) {
        break;
      }
      if (match.start < 0 || match.end < 1) break;
      items.Append(*found, place + match.start, place + match.end, tagMatched);
      place += match.end;
      if (wantsWhole)
        place = AppendFoundTogether(text, place, length, tagMatched, notes, items, *found);
    }
    return found.release();
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
