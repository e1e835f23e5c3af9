#include "matcher/pattern/run_pattern.h"

#include "matcher/limits.h"
#include "matcher/tuning.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>

namespace trovex {

namespace {

using Runs = std::vector<Run>;

class Reader {
 public:
  explicit Reader(const SyntaxTree& tree) : tree_(tree) {
    for (std::size_t c = 0; c < tree.translate.size(); ++c)
      sources_[tree.translate[c]].set(c);
    for (CharSet& bytes : sources_)
      bytes.reset('\n');
  }

  /// The whole pattern, but for the anchors at its ends.
  std::optional<Runs> ReadBetweenAnchors() const {
    int root = tree_.Root();
    while (tree_.Node(root).kind == SyntaxKind::kGroup)
      root = tree_.Node(root).firstChild;
    if (tree_.Node(root).kind != SyntaxKind::kConcat) return Read(root);
    const std::vector<int> children = ChildrenOf(tree_.Node(root));
    const auto isAnchor = [this](int child) {
      return tree_.Node(child).kind == SyntaxKind::kAnchor;
    };
    const auto first = std::find_if_not(children.begin(), children.end(), isAnchor);
    const auto last = std::find_if_not(children.rbegin(), children.rend(), isAnchor).base();
    return first < last ? ReadRow({first, last}) : std::nullopt;
  }

  /// Nothing where the node is no row of runs. Recurses as deep as the pattern is nested, which is limited
  /// before.
  std::optional<Runs> Read(int index) const {
    const SyntaxNode& node = tree_.Node(index);
    switch (node.kind) {
      case SyntaxKind::kByte:
        return Runs{{sources_[static_cast<std::size_t>(node.value)], 1, 1}};
      case SyntaxKind::kSet:
        return Runs{{BytesOf(tree_.Set(node)), 1, 1}};
      case SyntaxKind::kGroup:
        return Read(node.firstChild);
      case SyntaxKind::kConcat:
        return ReadRow(ChildrenOf(node));
      case SyntaxKind::kRepeat:
        return ReadRepeat(node);
      case SyntaxKind::kAlternate:
        return ReadAlternatives(ChildrenOf(node));
      case SyntaxKind::kEmpty:
      case SyntaxKind::kAnchor:
      case SyntaxKind::kBackReference:
        break;
    }
    return std::nullopt;
  }

 private:
  CharSet BytesOf(const CharSet& translated) const {
    CharSet bytes;
    for (std::size_t c = 0; c < bytes.size(); ++c) {
      if (translated[c]) bytes |= sources_[c];
    }
    return bytes;
  }

  /// Adds `run` after `runs`; of the same bytes, both are one.
  static void Append(Runs& runs, const Run& run) {
    if (run.most == 0) return;
    if (runs.empty() || runs.back().bytes != run.bytes) {
      runs.push_back(run);
      return;
    }
    Run& last = runs.back();
    const bool isEndless = last.most == Run::kEndless || run.most == Run::kEndless;
    last.least += run.least;
    last.most = isEndless ? Run::kEndless : last.most + run.most;
  }

  std::vector<int> ChildrenOf(const SyntaxNode& node) const {
    std::vector<int> children;
    for (int child = node.firstChild; child != kNoNode; child = tree_.Node(child).nextSibling)
      children.push_back(child);
    return children;
  }

  std::optional<Runs> ReadRow(std::span<const int> nodes) const {
    Runs runs;
    for (const int node : nodes) {
      const std::optional<Runs> more = Read(node);
      if (!more || runs.size() > kMaxRuns) return std::nullopt;
      for (const Run& run : *more)
        Append(runs, run);
    }
    return runs;
  }

  /// Alternatives that differ in one byte are a row with a set of bytes there: "er|en" is "e[rn]".
  std::optional<Runs> ReadAlternatives(std::span<const int> nodes) const {
    std::vector<CharSet> sets;
    std::size_t differing = SIZE_MAX;
    for (const int node : nodes) {
      const std::optional<Runs> runs = Read(node);
      if (!runs) return std::nullopt;
      std::vector<CharSet> own;
      for (const Run& run : *runs) {
        if (!run.IsFixed() || run.least > kMaxRuns) return std::nullopt;
        own.insert(own.end(), run.least, run.bytes);
      }
      if (node == nodes.front()) sets = own;
      if (own.size() != sets.size()) return std::nullopt;
      for (std::size_t i = 0; i < own.size(); ++i) {
        if (own[i] == sets[i]) continue;
        if (differing != SIZE_MAX && differing != i) return std::nullopt;
        differing = i;
        sets[i] |= own[i];
      }
    }
    Runs row;
    for (const CharSet& set : sets)
      Append(row, {set, 1, 1});
    return row;
  }

  std::optional<Runs> ReadRepeat(const SyntaxNode& node) const {
    std::optional<Runs> body = Read(node.firstChild);
    if (!body || body->empty() || node.max == 0) return std::nullopt;
    if (node.min == node.max && node.max <= kMaxRowCopies) {
      Runs runs;
      for (int copy = 0; copy < node.min && runs.size() <= kMaxRuns; ++copy) {
        for (const Run& run : *body)
          Append(runs, run);
      }
      return runs;
    }
    const Run& only = body->front();
    if (body->size() > 1 || only.least != 1 || only.most != 1) return std::nullopt;
    return Runs{{only.bytes, static_cast<std::uint32_t>(node.min),
                 node.max == kUnbounded ? Run::kEndless : static_cast<std::uint32_t>(node.max)}};
  }

  const SyntaxTree& tree_;
  std::array<CharSet, 256> sources_;  // the bytes of the text that are compared as each byte
};

}  // namespace

std::vector<Run> RunsOf(const SyntaxTree& tree) {
  std::optional<Runs> runs = Reader(tree).ReadBetweenAnchors();
  if (!runs || runs->size() > kMaxRuns) return {};
  const bool isNeverEmpty =
      std::any_of(runs->begin(), runs->end(), [](const Run& run) { return run.least > 0; });
  if (!isNeverEmpty) return {};
  // Alternatives that are all there is are a list of words.
  const bool isFixed =
      std::all_of(runs->begin(), runs->end(), [](const Run& run) { return run.IsFixed(); });
  const bool hasAlternatives =
      std::any_of(tree.nodes.begin(), tree.nodes.end(),
                  [](const SyntaxNode& node) { return node.kind == SyntaxKind::kAlternate; });
  if (isFixed && hasAlternatives) return {};
  if (!RunScan::CanTake(*runs)) return {};
  return std::move(*runs);
}

}  // namespace trovex
