#include "matcher/groups/doubled_run.h"

#include "matcher/costs.h"
#include "matcher/tuning.h"

#include <algorithm>

namespace trovex {

std::optional<DoubledRun> DoubledRun::Make(const SyntaxTree& tree, const ByteMap& comparedAs) {
  if (tree.nodes.empty()) return std::nullopt;
  const SyntaxNode& whole = tree.Node(tree.Root());
  if (whole.kind != SyntaxKind::kConcat) return std::nullopt;
  const SyntaxNode& group = tree.Node(whole.firstChild);
  if (group.kind != SyntaxKind::kGroup || group.nextSibling == kNoNode) return std::nullopt;
  const SyntaxNode& reference = tree.Node(group.nextSibling);
  if (reference.kind != SyntaxKind::kBackReference || reference.value != group.value ||
      reference.nextSibling != kNoNode)
    return std::nullopt;
  const SyntaxNode& repeat = tree.Node(group.firstChild);
  if (repeat.kind != SyntaxKind::kRepeat || repeat.min < 1) return std::nullopt;
  const bool isBounded = repeat.max != kUnbounded;
  if (isBounded && repeat.max > kLongestBoundedHalf) return std::nullopt;
  const SyntaxNode& leaf = tree.Node(repeat.firstChild);
  if (leaf.kind != SyntaxKind::kByte && leaf.kind != SyntaxKind::kSet) return std::nullopt;

  DoubledRun run;
  run.comparedAs_ = comparedAs;
  run.shortest_ = static_cast<std::size_t>(repeat.min);
  if (isBounded) run.longest_ = static_cast<std::size_t>(repeat.max);
  for (std::size_t c = 0; c < run.members_.size(); ++c) {
    const unsigned char translated = tree.translate[c];
    run.members_[c] = c != '\n' && (leaf.kind == SyntaxKind::kByte ? leaf.value == translated
                                                                   : tree.Set(leaf)[translated]);
  }
  for (std::size_t a = 0; a < run.members_.size(); ++a) {
    for (std::size_t b = 0; b < run.members_.size(); ++b) {
      if (comparedAs[a] == comparedAs[b] && run.members_[a] != run.members_[b]) return std::nullopt;
    }
  }
  return run;
}

std::size_t DoubledRun::Next(TextView text, std::size_t from, std::size_t lastStart,
                             std::size_t& half, std::uint64_t& used, std::uint64_t most,
                             std::vector<std::size_t>& same) const {
  half = 0;
  std::size_t runEnd = from;
  std::size_t looked = 0;
  for (std::size_t place = from; place <= lastStart && place < text.size(); ++place) {
    if (!members_[text[place]]) continue;
    // No match reaches further.
    const std::size_t reach =
        longest_ == kNowhere ? text.size() : std::min(text.size(), place + 2 * longest_);
    runEnd = std::max(runEnd, place + 1);
    while (runEnd < reach && members_[text[runEnd]])
      ++runEnd;
    const std::size_t run = runEnd - place;
    const bool isLong = run > kLongDoubledRun && longest_ == kNowhere;
    if (isLong) looked += run;
    half = isLong ? HalfAtLongRun(text.data() + place, run, same)
                  : HalfAt(text.data() + place, run, looked);
    if (half > 0 || used + looked / kLookedForAUnit > most) {
      used += looked / kLookedForAUnit;
      return place;
    }
  }
  used += looked / kLookedForAUnit;
  return kNowhere;
}

/// The length of the longest string at `place` that stands there twice, within `run` bytes; 0: there is none.
std::size_t DoubledRun::HalfAt(const unsigned char* place, std::size_t run,
                               std::size_t& looked) const {
  const unsigned char first = comparedAs_[*place];
  for (std::size_t half = std::min(run / 2, longest_); half >= shortest_; --half) {
    ++looked;
    if (comparedAs_[place[half]] != first) continue;
    std::size_t same = 1;
    while (same < half && comparedAs_[place[same]] == comparedAs_[place[half + same]])
      ++same;
    looked += same;
    if (same == half) return half;
  }
  return 0;
}

/// Of each distance up to half of the run it is told how many bytes at `place` are the same there, from those of
/// the distances before.
std::size_t DoubledRun::HalfAtLongRun(const unsigned char* place, std::size_t run,
                                      std::vector<std::size_t>& same) const {
  const std::size_t most = run / 2;
  same.resize(most + 1);
  std::size_t half = 0;
  std::size_t begin =
      0;  // [begin, end) is the same as what stands at the place, and reaches furthest
  std::size_t end = 0;
  for (std::size_t distance = 1; distance <= most; ++distance) {
    std::size_t count = distance < end ? std::min(end - distance, same[distance - begin]) : 0;
    if (distance + count >= end) {
      while (distance + count < run &&
             comparedAs_[place[count]] == comparedAs_[place[distance + count]])
        ++count;
      begin = distance;
      end = distance + count;
    }
    same[distance] = count;
    if (count >= distance && distance >= shortest_) half = distance;
  }
  return half;
}

}  // namespace trovex
