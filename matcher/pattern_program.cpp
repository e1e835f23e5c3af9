#include "matcher/pattern_program.h"

#include "matcher/limits.h"
#include "matcher/pattern/required_string.h"
#include "matcher/pattern/run_pattern.h"
#include "text/code_page.h"

#include <algorithm>
#include <cstddef>
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
    SyntaxTree tree, const ProgramOptions& options, CompileBudget& budget) {
  if (DepthOf(tree) > kMaxTreeDepth) return MessageNumber::kExpressionTooLong;
  const std::shared_ptr<PatternProgram> program(new PatternProgram(std::move(tree), options));
  try {
    if (!program->Prepare(budget)) return MessageNumber::kMemoryOverflow;
  } catch (const BudgetExhausted&) {
    return MessageNumber::kMemoryOverflow;
  }
  return program;
}

std::variant<std::shared_ptr<const PatternProgram>, MessageNumber> PatternProgram::Compile(
    SyntaxTree tree, const ProgramOptions& options) {
  CompileBudget budget;
  return Compile(std::move(tree), options, budget);
}

/// Makes what searches read. Returns false where the pattern is too large for it.
bool PatternProgram::Prepare(CompileBudget& budget) {
  if (HasBackReferences(tree_)) {
    PrepareReferences(budget);
    return true;
  }
  if (!PrepareLocator(tree_, options_.wholeWords, budget)) return false;
  if (tree_.groupCount > 0) groups_.emplace(tree_, GroupOptions{options_.wordBytes});
  return true;
}

bool PatternProgram::PrepareLocator(const SyntaxTree& tree, bool words, CompileBudget& budget) {
  GraphOptions options = {.words = words, .wordBytes = options_.wordBytes};
  options.mostPositions = kMaxProgramPositions;
  options.mostEdges = kMaxProgramEdges;
  options.budget = &budget;
  std::optional<WordScan> list = MakeWordScan(tree, words, budget);
  if (list && list->Longest() <= kLongestWordAlone) {
    locator_.emplace(std::move(*list), words, options.wordBytes, nullptr);
    return true;
  }
  std::unique_ptr<const PositionGraph> graph = MakePositionGraph(tree, options);
  if (graph == nullptr) return false;
  if (list) {
    locator_.emplace(std::move(*list), words, options.wordBytes, std::move(graph));
    return true;
  }
  locator_.emplace(std::move(graph), words, FindRequiredString(tree, budget), RunsOf(tree));
  locator_->ConsiderList(tree, options, budget);
  locator_->PrepareLooks(budget);
  return true;
}

/// The locator is a mere help here. It does not ask for whole words: what it finds may end elsewhere.
void PatternProgram::PrepareReferences(CompileBudget& budget) {
  ReferenceOptions options;
  options.wholeWords = options_.wholeWords;
  options.wordBytes = options_.wordBytes;
  if (options_.foldsReferences) {
    for (std::size_t c = 0; c < options.comparedAs.size(); ++c)
      options.comparedAs[c] = CodePageLower(static_cast<unsigned char>(c));
  }
  references_.emplace(tree_, options);
  PrepareLocator(WithoutReferences(tree_, options.comparedAs), false, budget);
}

}  // namespace trovex
