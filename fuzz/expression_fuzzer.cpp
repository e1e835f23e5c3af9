// Typed expressions from end to end: parse, compile, search a text, step through what was found.
//
//     input:  switches, byte after the text, tag, expression, 0, text
//
// The parser, the tree and the evaluation of its operators are held against the models that the
// tests use, in which a leaf is searched with the plain functions. Beside that, every result has to
// keep what a host relies on: ranges that lie in the text and are ordered, a text that is not
// changed, tags that were asked for.

#include "fuzz/input.h"
#include "fuzz/require.h"
#include "tests/expr/expression_model.h"
#include "tests/expr/leaf_model.h"
#include "tests/expr/tree_model.h"
#include "tests/heap_text.h"

#include <trovex/trovex.h>
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace trovex::fuzz {
namespace {

using testing::Describe;
using testing::ExpressionModel;
using testing::HeapText;
using testing::ModelNode;

struct Switches {
  bool regularExpression;
  bool phonetic;
  bool words;
  bool caseSensitive;

  explicit Switches(std::uint8_t bits)
      : regularExpression((bits & 1) != 0),
        phonetic((bits & 2) != 0),
        words((bits & 4) != 0),
        caseSensitive((bits & 8) != 0) {}

  bool ByCode() const { return phonetic && !regularExpression; }
  unsigned long Options() const {
    return (ByCode() ? kSearchModePhonetic : kSearchModeRegularExpression) |
           (words ? kSearchMatchWords : 0UL) | (caseSensitive ? kSearchCaseSensitive : 0UL);
  }
};

/// Whether a distance is written that no int can hold; what the model's scanner makes of it is not
/// defined.
bool HasHugeNumber(std::string_view expression) {
  std::size_t digits = 0;
  for (const char c : expression) {
    digits = c >= '0' && c <= '9' ? digits + 1 : 0;
    if (digits > 9) return true;
  }
  return false;
}

struct Range {
  int start;
  int end;

  friend bool operator==(const Range&, const Range&) = default;
};

std::vector<Range> RangesOf(CFoundItemArray& found, bool tagMatchedOnly) {
  std::vector<Range> ranges;
  for (int i = 0; i < found.GetSize(); ++i) {
    CFoundItem* item = found.GetAt(i);
    Require(item != nullptr, "a result has no null slot");
    if (tagMatchedOnly && item->TagMatched() == 0) continue;
    ranges.push_back({item->GetStartPos(), item->GetEndPos()});
  }
  return ranges;
}

void RequireOrderedRanges(const std::vector<Range>& ranges, int length) {
  int last = 0;
  for (const Range& range : ranges) {
    Require(range.start >= 0 && range.start <= range.end && range.end <= length,
            "a found range lies in the text");
    Require(range.start >= last, "found items are ordered by start");
    last = range.start;
  }
}

/// The host's step to the next or previous match, told as a look at every range.
void RequireSteps(CFoundItemArray& found, const std::vector<Range>& ranges, int position) {
  CFoundItem* next = found.GetItem(position, 1);
  CFoundItem* previous = found.GetItem(position, 0);
  if (ranges.empty()) {
    Require(next == nullptr && previous == nullptr, "nothing found is nothing to step to");
    return;
  }
  auto after = std::find_if(ranges.begin(), ranges.end(),
                            [=](const Range& range) { return range.start > position; });
  if (after == ranges.end()) after = ranges.begin();
  auto before = std::find_if(ranges.rbegin(), ranges.rend(),
                             [=](const Range& range) { return range.start < position; });
  if (before == ranges.rend()) before = ranges.rbegin();
  Require(next->GetStartPos() == after->start, "a step forward goes to the next start");
  Require(previous->GetStartPos() == before->start, "a step back goes to the previous start");
}

/// Whether a leaf may count more brackets than the parser, which gives it the tags below 1 as well:
/// after "\\&" or "\\!" the leaf takes the next byte for escaped, and a backslash there escapes
/// nothing.
bool MayCountEscapedBrackets(std::string_view expression) {
  return expression.find("\\&\\") != std::string_view::npos ||
         expression.find("\\!\\") != std::string_view::npos;
}

void HoldResult(CFoundItemArray& found, int length, bool tagExists) {
  const std::vector<Range> ranges = RangesOf(found, false);
  RequireOrderedRanges(ranges, length);
  Require(found.IsNegative() == 0 || found.IsNegative() == 1, "the negative flag is 0 or 1");
  for (const int position : {-1, 0, length / 2, length})
    RequireSteps(found, ranges, position);

  const std::vector<Range> matched = RangesOf(found, true);
  Require(matched.empty() || tagExists, "only a tag that exists is matched");
  found.DeleteItemsWithTagNotMatched();
  Require(RangesOf(found, false) == matched, "the items of the tag, and they alone, stay");
}

/// Searches the compiled `tree` and its model, and holds one against the other.
void HoldSearch(CSearchTreeItem& tree, const std::string& expression, const ExpressionModel& model,
                const Switches& switches, HeapText& text, int tag) {
  const std::string before(text.Data(), static_cast<std::size_t>(text.Length()) + 1);
  const std::unique_ptr<CFoundItemArray> found(tree.Search(text.Data(), text.Length(), tag));
  Require(found != nullptr, "a compiled tree has a result");
  Require(std::string_view(text.Data(), before.size()) == before, "a search leaves the text alone");

  const auto expected = testing::Evaluate(model.Tree(), tag, [&](const ModelNode& leaf) {
    return testing::SearchModelLeaf(leaf, switches.Options(), text.Data(), text.Length(), tag);
  });
  RequireSame(Describe(*found), Describe(expected.value()), "the result is the model's");
  const bool tagExists =
      tag <= model.TagCount() && (tag >= 1 || MayCountEscapedBrackets(expression));
  HoldResult(*found, text.Length(), tagExists);
}

void HoldExpression(const std::string& expression, ExpressionModel& model, const Switches& switches,
                    HeapText& text, int tag) {
  constexpr int kUntouched = -4711;
  std::string expectedMessage = testing::ModelMessage(model.Fault());
  if (model.Tree() != nullptr) {
    int cost = 0;
    expectedMessage = testing::ExchangeByCost(
        *model.Tree(),
        [&](const ModelNode& leaf) { return testing::CompileModelLeaf(leaf, switches.Options()); },
        cost);
  }

  CSearchTreeItem* root = nullptr;
  int tagCount = kUntouched;
  const char* const message = GetSearchTree(expression.c_str(), switches.regularExpression ? 1 : 0,
                                            switches.phonetic ? 1 : 0, switches.words ? 1 : 0,
                                            switches.caseSensitive ? 1 : 0, root, &tagCount);
  const std::unique_ptr<CSearchTreeItem> tree(root);
  RequireSame(message == nullptr ? "" : message, expectedMessage, "the message is the model's");
  RequireSame(Describe(tree.get()), Describe(model.Tree()), "the tree is the model's");
  Require(tagCount == (tree == nullptr ? kUntouched : model.TagCount()),
          "the tag count is written when the parse succeeds");
  if (tree == nullptr) return;
  if (message == nullptr) {
    HoldSearch(*tree, expression, model, switches, text, tag);
  } else {
    // A host is told not to. If it does, it gets an answer or null.
    const std::unique_ptr<CFoundItemArray> any(tree->Search(text.Data(), text.Length(), tag));
  }
}

}  // namespace
}  // namespace trovex::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace trovex::fuzz;
  Input input(data, size);
  const Switches switches(input.Byte());
  const char after = static_cast<char>(input.Byte());
  const int tag = input.SignedByte();
  const std::string expression = input.UpToZero();
  const std::string bytes = input.Rest();

  ExpressionModel model(expression);
  if (HasHugeNumber(expression)) return 0;
  HeapText text(bytes, switches.ByCode() ? '\0' : after);
  HoldExpression(expression, model, switches, text, tag);
  ResetEnvironment();
  return 0;
}
