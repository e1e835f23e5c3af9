// Expressions of the second door, from typed bytes to the tree and its description.
//
//     input:  options, expression
//
// Whatever is typed is read or refused with a sentence and a place inside it. What was read has a
// legal tree: children before their parents, groups and sets within their counts, tags that were
// typed.

#include "fuzz/input.h"
#include "fuzz/require.h"
#include "query/describe.h"
#include "query/query_parser.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <variant>

namespace trovex::fuzz {
namespace {

void HoldPattern(const SyntaxTree& tree) {
  Require(!tree.faulty && !tree.nodes.empty(), "a pattern that was read has a tree");
  for (std::size_t i = 0; i < tree.nodes.size(); ++i) {
    const SyntaxNode& node = tree.nodes[i];
    for (int child = node.firstChild; child != kNoNode; child = tree.Node(child).nextSibling)
      Require(child >= 0 && static_cast<std::size_t>(child) < i, "children stand before parents");
    if (node.kind == SyntaxKind::kSet) {
      Require(static_cast<std::size_t>(node.value) < tree.sets.size(),
              "a set is one of the tree's");
      Require(!tree.Set(node)['\n'], "no set holds a line feed");
    }
    if (node.kind == SyntaxKind::kGroup || node.kind == SyntaxKind::kBackReference) {
      Require(node.value >= 1 && node.value <= tree.groupCount, "groups are counted");
    }
    if (node.kind == SyntaxKind::kByte) Require(node.value != '\n', "no byte is a line feed");
    if (node.kind == SyntaxKind::kRepeat) {
      Require(node.min >= 0 && (node.max == kUnbounded || node.max >= node.min),
              "bounds are legal");
    }
  }
}

void HoldNode(const QueryNode& node, int tagCount, std::size_t length) {
  Require(node.typed.begin < node.typed.end && node.typed.end <= length, "a node was typed");
  for (const int tag : node.tags)
    Require(tag >= 1 && tag <= tagCount, "a node's tags are counted");
  if (node.kind == QueryKind::kPattern) {
    const QueryPattern& pattern = *node.pattern;
    HoldPattern(pattern.tree);
    const int groups = pattern.tree.groupCount;
    Require(groups == 0 || (pattern.firstTag >= 1 && pattern.TagOfGroup(groups) <= tagCount),
            "a pattern's tags are counted");
  }
  if (node.kind == QueryKind::kSound) Require(!node.word.empty(), "a sound has a word");
  if (node.kind == QueryKind::kNot) {
    Require(node.children.size() == 1 && node.children[0]->kind != QueryKind::kNot,
            "no NOT of a NOT is left");
  }
  if (node.kind == QueryKind::kAnd) {
    Require(node.children.size() >= 2 && node.links.size() + 1 == node.children.size(),
            "links stand between the operands");
  }
  if (node.kind == QueryKind::kOr) Require(node.children.size() >= 2, "an OR has operands");
  for (const auto& child : node.children)
    HoldNode(*child, tagCount, length);
}

}  // namespace
}  // namespace trovex::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace trovex;
  using namespace trovex::fuzz;
  Input input(data, size);
  const std::uint8_t bits = input.Byte();
  const std::string rest = input.Rest();
  // A block of exactly the expression's length.
  const auto block = std::make_unique<char[]>(rest.size());
  if (!rest.empty()) std::memcpy(block.get(), rest.data(), rest.size());
  const std::string_view expression(block.get(), rest.size());

  QueryOptions options;
  options.encoding = (bits & 1) != 0 ? ExpressionEncoding::kLatin1 : ExpressionEncoding::kUtf8;
  options.caseSensitive = (bits & 2) != 0;
  options.phonetic = (bits & 4) != 0;
  options.spellingVariants = (bits & 8) != 0;
  const auto result = ParseQuery(expression, options);
  if (const auto* fault = std::get_if<QueryFault>(&result)) {
    const TypedRange typed = fault->typed;
    Require(!fault->Sentence().empty(), "a fault has a sentence");
    Require(typed.begin <= typed.end && typed.end <= expression.size(), "a fault has a place");
    Require(expression.empty() || typed.begin < typed.end, "a fault's place is not empty");
    return 0;
  }
  const auto& query = std::get<ParsedQuery>(result);
  HoldNode(*query.root, query.tagCount, expression.size());
  Require(!DescribeQuery(query, expression, options.encoding).empty(), "a query has a description");
  return 0;
}
