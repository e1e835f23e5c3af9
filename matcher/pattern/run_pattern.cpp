#include "matcher/pattern/run_pattern.h"

#include "matcher/limits.h"
#include "matcher/tuning.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
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
        return ReadConcat(node);
      case SyntaxKind::kRepeat:
        return ReadRepeat(node);
      case SyntaxKind::kEmpty:
      case SyntaxKind::kAnchor:
      case SyntaxKind::kAlternate:
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

  std::optional<Runs> ReadConcat(const SyntaxNode& node) const {
    Runs runs;
    for (int child = node.firstChild; child != kNoNode; child = tree_.Node(child).nextSibling) {
      const std::optional<Runs> more = Read(child);
      if (!more || runs.size() > kMaxRuns) return std::nullopt;
      for (const Run& run : *more)
        Append(runs, run);
    }
    return runs;
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

/// Whether all runs after `index` have a fixed length, and how long they are together.
std::optional<std::uint32_t> FixedLengthAfter(const Runs& runs, std::size_t index) {
  std::uint32_t length = 0;
  for (std::size_t next = index + 1; next < runs.size(); ++next) {
    if (!runs[next].IsFixed() || runs[next].least > kMostBoundedRun) return std::nullopt;
    length += runs[next].least;
  }
  return length;
}

bool CanBeWalked(const Runs& runs, std::size_t index) {
  const Run& run = runs[index];
  if (run.most != Run::kEndless && run.most > kMostBoundedRun) return false;
  if (run.IsFixed() || !MeetsWhatFollows(runs, index)) return true;
  const std::optional<std::uint32_t> tail = FixedLengthAfter(runs, index);
  return tail && *tail <= kMostTailBytes &&
         (run.most == Run::kEndless || run.most <= kMostTriedRun);
}

}  // namespace

std::vector<Run> RunsOf(const SyntaxTree& tree) {
  std::optional<Runs> runs = Reader(tree).Read(tree.Root());
  if (!runs || runs->size() > kMaxRuns) return {};
  const bool isNeverEmpty =
      std::any_of(runs->begin(), runs->end(), [](const Run& run) { return run.least > 0; });
  if (!isNeverEmpty) return {};
  for (std::size_t i = 0; i < runs->size(); ++i) {
    if (!CanBeWalked(*runs, i)) return {};
  }
  return std::move(*runs);
}

}  // namespace trovex
