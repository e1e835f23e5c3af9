// Of each node of the tree: a string that its matches begin with, one that they end with, and the rarest
// that they hold, put together from those of its children.

#include "matcher/pattern/required_string.h"

#include "matcher/costs.h"
#include "matcher/limits.h"
#include "matcher/scan/byte_frequency.h"
#include "matcher/tuning.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace trovex {

namespace {

using SetString = std::vector<CharSet>;

struct Required {
  bool isWhole = false;  // every match is `prefix`, and nothing else
  SetString prefix;
  SetString suffix;
  SetString best;
};

SetString Prefix(SetString string) {
  if (string.size() > kLongestRequired) string.resize(kLongestRequired);
  return string;
}

SetString Suffix(SetString string) {
  if (string.size() > kLongestRequired) {
    string.erase(string.begin(), string.end() - static_cast<std::ptrdiff_t>(kLongestRequired));
  }
  return string;
}

SetString Joined(SetString left, const SetString& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

/// How rare a string is, by its rarest sets: the more, the rarer. Charges for each byte looked at.
double Rarity(const SetString& string, CompileBudget& budget) {
  std::vector<double> rarities;
  for (const CharSet& set : string) {
    budget.ChargeSteps(kRarityStepsPerSet + static_cast<std::int64_t>(set.count()));
    double frequency = 0.5;
    for (std::size_t c = set._Find_first(); c < set.size(); c = set._Find_next(c))
      frequency += kByteFrequency[c];
    rarities.push_back(std::log(100'001 / frequency));
  }
  std::sort(rarities.rbegin(), rarities.rend());
  double rarity = 0;
  for (std::size_t i = 0; i < std::min(kCountedSets, rarities.size()); ++i)
    rarity += rarities[i];
  return rarity;
}

class RequiredStringFinder {
 public:
  RequiredStringFinder(const SyntaxTree& tree, CompileBudget& budget)
      : tree_(tree), budget_(budget), found_(tree.nodes.size()) {
    for (std::size_t c = 0; c < tree.translate.size(); ++c) {
      if (c != '\n') sources_[tree.translate[c]].set(c);
    }
  }

  SetString Find() {
    for (std::size_t i = 0; i < tree_.nodes.size(); ++i) {
      budget_.ChargeSteps(kRequiredStringStepsPerNode);
      found_[i] = Of(tree_.nodes[i]);
    }
    const Required& root = found_.back();
    return Rarer(root.best, Rarer(root.prefix, root.suffix));
  }

 private:
  SetString Rarer(SetString a, SetString b) {
    if (a.empty() || b.empty()) return a.empty() ? b : a;
    return Rarity(b, budget_) > Rarity(a, budget_) ? b : a;
  }

  Required Of(const SyntaxNode& node) {
    switch (node.kind) {
      case SyntaxKind::kEmpty:
      case SyntaxKind::kAnchor:
        return {true, {}, {}, {}};
      case SyntaxKind::kByte:
        return OfSet(sources_[static_cast<std::size_t>(node.value)]);
      case SyntaxKind::kSet:
        return OfSet(BeforeTranslation(tree_.Set(node)));
      case SyntaxKind::kBackReference:
        return {};
      case SyntaxKind::kGroup:
        return Take(node.firstChild);
      case SyntaxKind::kConcat:
        return OfConcat(node);
      case SyntaxKind::kAlternate:
        return OfAlternate(node);
      case SyntaxKind::kRepeat:
        return OfRepeat(node);
    }
    return {};
  }

  static Required OfSet(const CharSet& set) { return {true, {set}, {set}, {}}; }

  Required OfConcat(const SyntaxNode& node) {
    Required whole = Take(node.firstChild);
    for (int c = tree_.Node(node.firstChild).nextSibling; c != kNoNode;
         c = tree_.Node(c).nextSibling)
      whole = Concat(std::move(whole), Take(c));
    return whole;
  }

  Required Concat(Required left, const Required& right) {
    Required both;
    both.best = Rarer(std::move(left.best), right.best);
    if (!left.isWhole || !right.isWhole) {
      both.best = Rarer(std::move(both.best), Joined(left.suffix, right.prefix));
    }
    both.isWhole = left.isWhole && right.isWhole &&
                   left.prefix.size() + right.prefix.size() <= kLongestRequired;
    both.prefix = left.isWhole ? Prefix(Joined(left.prefix, right.prefix)) : left.prefix;
    both.suffix = right.isWhole ? Suffix(Joined(left.suffix, right.suffix)) : right.suffix;
    return both;
  }

  Required OfAlternate(const SyntaxNode& node) {
    Required either = Take(node.firstChild);
    for (int c = tree_.Node(node.firstChild).nextSibling; c != kNoNode;
         c = tree_.Node(c).nextSibling)
      either = Either(std::move(either), Take(c));
    return either;
  }

  /// What two alternatives have in common: of their beginnings and ends, place by place, either set.
  static Required Either(Required a, const Required& b) {
    Required either;
    either.isWhole = a.isWhole && b.isWhole && a.prefix.size() == b.prefix.size();
    either.prefix.resize(std::min(a.prefix.size(), b.prefix.size()));
    for (std::size_t i = 0; i < either.prefix.size(); ++i)
      either.prefix[i] = a.prefix[i] | b.prefix[i];
    either.suffix.resize(std::min(a.suffix.size(), b.suffix.size()));
    for (std::size_t i = 0; i < either.suffix.size(); ++i) {
      either.suffix[either.suffix.size() - 1 - i] =
          a.suffix[a.suffix.size() - 1 - i] | b.suffix[b.suffix.size() - 1 - i];
    }
    if (a.best == b.best) either.best = std::move(a.best);
    return either;
  }

  Required OfRepeat(const SyntaxNode& node) {
    if (node.max == 0) return {true, {}, {}, {}};
    const Required body = Take(node.firstChild);
    if (node.min == 0) return {};
    Required all = body;
    const int copies = std::min(node.min, static_cast<int>(kLongestRequired));
    for (int copy = 1; copy < copies; ++copy)
      all = Concat(std::move(all), body);
    if (node.max == node.min && node.min == copies) return all;
    all.isWhole = false;
    all.best = Rarer(std::move(all.best), Rarer(all.prefix, all.suffix));
    return all;
  }

  CharSet BeforeTranslation(const CharSet& translated) const {
    CharSet bytes;
    for (std::size_t c = 0; c < bytes.size(); ++c) {
      if (translated[c]) bytes |= sources_[c];
    }
    return bytes;
  }

  /// Each node has one parent, so what was found of it is given away.
  Required Take(int index) { return std::move(found_[static_cast<std::size_t>(index)]); }

  const SyntaxTree& tree_;
  CompileBudget& budget_;
  std::array<CharSet, 256> sources_;  // the bytes of texts that are compared as each byte
  std::vector<Required> found_;
};

}  // namespace

std::vector<CharSet> FindRequiredString(const SyntaxTree& tree, CompileBudget& budget) {
  CompileBudget part = budget.Part(kMaxRequiredStringSteps, INT64_MAX);
  std::vector<CharSet> string;
  try {
    string = RequiredStringFinder(tree, part).Find();
  } catch (const BudgetExhausted&) {
    string.clear();
  }
  budget.Settle(part);
  return string;
}

std::vector<CharSet> FindRequiredString(const SyntaxTree& tree) {
  CompileBudget alone;
  return FindRequiredString(tree, alone);
}

}  // namespace trovex
