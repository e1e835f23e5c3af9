#include "matcher/pattern_program.h"

#include "matcher/limits.h"
#include "matcher/pattern/required_string.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace trovex {

namespace {

bool HasBackReferences(const SyntaxTree& tree) {
  return std::any_of(tree.nodes.begin(), tree.nodes.end(), [](const SyntaxNode& node) {
    return node.kind == SyntaxKind::kBackReference;
  });
}

/// How many nodes lie one below the other at most.
int DepthOf(const SyntaxTree& tree) {
  std::vector<int> depths(tree.nodes.size(), 1);
  for (std::size_t i = 0; i < tree.nodes.size(); ++i) {
    for (int c = tree.nodes[i].firstChild; c != kNoNode; c = tree.Node(c).nextSibling)
      depths[i] = std::max(depths[i], depths[static_cast<std::size_t>(c)] + 1);
  }
  return depths.back();
}

}  // namespace

PatternProgram::PatternProgram(SyntaxTree tree, const ProgramOptions& options)
    : tree_(std::move(tree)), options_(options) {}

std::variant<std::shared_ptr<const PatternProgram>, MessageNumber> PatternProgram::Compile(
    SyntaxTree tree, const ProgramOptions& options) {
  if (DepthOf(tree) > kMaxTreeDepth) return MessageNumber::kExpressionTooLong;
  const std::shared_ptr<PatternProgram> program(new PatternProgram(std::move(tree), options));
  if (HasBackReferences(program->tree_)) return program;

  GraphOptions graphOptions = {.words = options.wholeWords, .wordBytes = options.wordBytes};
  graphOptions.mostPositions = kMaxProgramPositions;
  graphOptions.mostEdges = kMaxProgramEdges;
  std::unique_ptr<const PositionGraph> graph = MakePositionGraph(program->tree_, graphOptions);
  if (graph == nullptr) return MessageNumber::kMemoryOverflow;
  program->locator_.emplace(std::move(graph), options.wholeWords,
                            FindRequiredString(program->tree_));
  if (program->GroupCount() > 0)
    program->groups_.emplace(program->tree_, GroupOptions{.wordBytes = options.wordBytes});
  return program;
}

}  // namespace trovex
