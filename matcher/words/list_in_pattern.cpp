#include "matcher/words/list_in_pattern.h"

#include "matcher/costs.h"
#include "matcher/scan/byte_frequency.h"
#include "matcher/tuning.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

namespace trovex {

namespace {

using Parts = std::span<const int>;

/// Adds the parts that the node `index` is a row of. Recurses as deep as the pattern is nested, which is limited before.
void AddParts(const SyntaxTree& tree, int index, std::vector<int>& parts, CompileBudget& budget) {
  budget.ChargeSteps(4);
  const SyntaxNode& node = tree.Node(index);
  if (node.kind == SyntaxKind::kGroup) return AddParts(tree, node.firstChild, parts, budget);
  if (node.kind != SyntaxKind::kConcat) return parts.push_back(index);
  for (int c = node.firstChild; c != kNoNode; c = tree.Node(c).nextSibling)
    AddParts(tree, c, parts, budget);
}

/// Writes some parts of a tree as a tree of their own.
class TreeCopier {
 public:
  TreeCopier(const SyntaxTree& tree, CompileBudget& budget) : tree_(tree), budget_(budget) {
    copy_.translate = tree.translate;
    copy_.groupCount = tree.groupCount;
  }

  SyntaxTree Copy(Parts parts) {
    AddRow(parts);
    return std::move(copy_);
  }

  /// The whole tree without its groups, in which the alternatives that are parts of its row have what all of them
  /// begin and end with beside them: "..Haus|..Hof" is "..(Haus|Hof)".
  SyntaxTree Factored() {
    AddFactored(tree_.Root());
    return std::move(copy_);
  }

 private:
  int AddRow(Parts parts) {
    if (parts.size() == 1) return Add(parts.front());
    SyntaxNode whole = {.kind = parts.empty() ? SyntaxKind::kEmpty : SyntaxKind::kConcat};
    int latest = kNoNode;
    for (const int part : parts)
      Link(Add(part), whole, latest);
    return Push(whole);
  }

  /// Recurses as deep as the pattern is nested, which is limited before.
  int AddFactored(int index) {
    budget_.ChargeSteps(4);
    const SyntaxNode& node = tree_.Node(index);
    if (node.kind == SyntaxKind::kGroup) return AddFactored(node.firstChild);
    if (node.kind == SyntaxKind::kAlternate) return AddAlternatives(index);
    if (node.kind != SyntaxKind::kConcat) return Add(index);
    SyntaxNode row = {.kind = SyntaxKind::kConcat};
    int latest = kNoNode;
    for (int c = node.firstChild; c != kNoNode; c = tree_.Node(c).nextSibling)
      Link(AddFactored(c), row, latest);
    return Push(row);
  }

  int AddAlternatives(int index) {
    std::vector<std::vector<int>> rows;
    for (int c = tree_.Node(index).firstChild; c != kNoNode; c = tree_.Node(c).nextSibling)
      AddParts(tree_, c, rows.emplace_back(), budget_);
    std::size_t rest = SIZE_MAX;
    for (const std::vector<int>& row : rows)
      rest = std::min(rest, row.size());
    const auto isShared = [&](const auto& partOf) {
      return std::all_of(rows.begin(), rows.end(), [&](const std::vector<int>& row) {
        return AreSame(partOf(row), partOf(rows.front()));
      });
    };
    std::size_t before = 0;
    while (rest > 0 && isShared([&](const auto& row) { return row[before]; })) {
      ++before;
      --rest;
    }
    std::size_t after = 0;
    while (rest > 0 && isShared([&](const auto& row) { return row[row.size() - 1 - after]; })) {
      ++after;
      --rest;
    }
    if (before + after == 0) return Add(index);
    SyntaxNode whole = {.kind = SyntaxKind::kConcat};
    int latest = kNoNode;
    const Parts first = rows.front();
    for (const int part : first.first(before))
      Link(Add(part), whole, latest);
    SyntaxNode alternatives = {.kind = SyntaxKind::kAlternate};
    int latestRow = kNoNode;
    for (const std::vector<int>& row : rows)
      Link(AddRow(Parts(row).subspan(before, row.size() - before - after)), alternatives,
           latestRow);
    Link(Push(alternatives), whole, latest);
    for (const int part : first.last(after))
      Link(Add(part), whole, latest);
    return Push(whole);
  }

  /// Whether two parts of the tree are alike. Recurses like Add.
  bool AreSame(int a, int b) {
    budget_.ChargeSteps(4);
    const SyntaxNode& one = tree_.Node(a);
    const SyntaxNode& other = tree_.Node(b);
    if (a == b) return true;
    if (one.kind != other.kind || one.min != other.min || one.max != other.max) return false;
    const bool isSet = one.kind == SyntaxKind::kSet;
    if (isSet ? tree_.Set(one) != tree_.Set(other) : one.value != other.value) return false;
    int c = one.firstChild;
    int d = other.firstChild;
    for (; c != kNoNode && d != kNoNode;
         c = tree_.Node(c).nextSibling, d = tree_.Node(d).nextSibling) {
      if (!AreSame(c, d)) return false;
    }
    return c == d;
  }

  int Push(const SyntaxNode& node) {
    copy_.nodes.push_back(node);
    return copy_.Root();
  }

  /// Recurses as deep as the pattern is nested, which is limited before.
  int Add(int index) {
    budget_.ChargeSteps(4);
    SyntaxNode node = tree_.Node(index);
    int latest = kNoNode;
    node.firstChild = node.nextSibling = kNoNode;
    for (int c = tree_.Node(index).firstChild; c != kNoNode; c = tree_.Node(c).nextSibling)
      Link(Add(c), node, latest);
    if (node.kind == SyntaxKind::kSet) {
      copy_.sets.push_back(tree_.Set(node));
      node.value = static_cast<int>(copy_.sets.size()) - 1;
    }
    return Push(node);
  }

  /// Makes `child` the last one of `parent`, of which `latest` is the last so far.
  void Link(int child, SyntaxNode& parent, int& latest) {
    if (latest == kNoNode) {
      parent.firstChild = child;
    } else {
      copy_.nodes[static_cast<std::size_t>(latest)].nextSibling = child;
    }
    latest = child;
  }

  const SyntaxTree& tree_;
  CompileBudget& budget_;
  SyntaxTree copy_;
};

class ListFinder {
 public:
  ListFinder(const SyntaxTree& tree, CompileBudget& budget) : tree_(tree), budget_(budget) {}

  std::optional<ListInPattern> Find(double mostRate) {
    AddParts(tree_, tree_.Root(), parts_, budget_);
    std::optional<Found> rarest;
    for (std::size_t i = 0; i < parts_.size(); ++i) {
      if (KindOf(i) != SyntaxKind::kAlternate) continue;
      std::optional<Found> found = ListAround(i);
      if (!found || found->rate >= mostRate) continue;
      mostRate = found->rate;
      rarest = std::move(found);
    }
    const bool isAll = rarest && rarest->begin == 0 && rarest->end == parts_.size();
    if (!rarest || isAll) return std::nullopt;
    ListInPattern result = {.list = std::move(rarest->list), .before = {}, .after = {}};
    if (rarest->begin > 0) result.before = TreeOf(0, rarest->begin);
    if (rarest->end < parts_.size()) result.after = TreeOf(rarest->end, parts_.size());
    return result;
  }

  std::optional<ListInPattern> FindInFront(std::size_t mostWords) {
    AddParts(tree_, tree_.Root(), parts_, budget_);
    std::optional<ListInPattern> result;
    std::size_t end = 1;
    while (end < parts_.size() && IsAnchor(end - 1))
      ++end;
    for (; end < parts_.size(); ++end) {
      std::optional<WordList> list = ReadWordList(TreeOf(0, end), budget_, WordSets::kWhole);
      if (!list || list->Count() > mostWords) break;
      result = {.list = std::move(*list), .before = {}, .after = TreeOf(end, parts_.size())};
    }
    return result;
  }

 private:
  /// The list of the parts [begin, end).
  struct Found {
    WordList list;
    double rate;
    std::size_t begin;
    std::size_t end;
  };

  SyntaxKind KindOf(std::size_t part) const { return tree_.Node(parts_[part]).kind; }

  /// Whether a part is a byte, perhaps in both its cases.
  bool IsByte(std::size_t part) const {
    const SyntaxNode& node = tree_.Node(parts_[part]);
    return node.kind == SyntaxKind::kByte ||
           (node.kind == SyntaxKind::kSet && tree_.Set(node).count() <= 2);
  }

  bool IsAnchor(std::size_t part) const { return KindOf(part) == SyntaxKind::kAnchor; }

  /// The list that the alternatives `part` are, with the bytes beside them, and the anchors beside these.
  std::optional<Found> ListAround(std::size_t part) {
    std::size_t begin = part;
    std::size_t end = part + 1;
    while (begin > 0 && IsByte(begin - 1))
      --begin;
    while (begin > 0 && IsAnchor(begin - 1))
      --begin;
    while (end < parts_.size() && IsByte(end))
      ++end;
    while (end < parts_.size() && IsAnchor(end))
      ++end;
    std::optional<WordList> list = ReadWordList(TreeOf(begin, end), budget_);
    if (!list) return std::nullopt;
    budget_.ChargeSteps(static_cast<std::int64_t>(list->classes.size()));
    const double rate = ExpectedRate(*list);
    return Found{std::move(*list), rate, begin, end};
  }

  SyntaxTree TreeOf(std::size_t begin, std::size_t end) const {
    return TreeCopier(tree_, budget_).Copy(Parts(parts_).subspan(begin, end - begin));
  }

  const SyntaxTree& tree_;
  CompileBudget& budget_;
  std::vector<int> parts_;
};

}  // namespace

double ExpectedRate(const WordList& list) {
  std::vector<double> frequencies;
  for (const CharSet& bytes : list.bytesOf) {
    double frequency = 0;
    for (std::size_t c = bytes._Find_first(); c < bytes.size(); c = bytes._Find_next(c))
      frequency += (kByteFrequency[c] + 0.5) / 100'000;
    frequencies.push_back(frequency);
  }
  double all = 0;
  for (std::size_t i = 0; i < list.Count(); ++i) {
    double rate = 1 / kCorrelation;
    for (const char number : list.Word(i))
      rate *= std::min(1.0, kCorrelation * frequencies[static_cast<unsigned char>(number)]);
    all += rate;
  }
  return std::min(all, 1.0) * 100'000;
}

std::optional<ListInPattern> FindListInPattern(const SyntaxTree& tree, double mostRate,
                                               CompileBudget& budget) {
  const SyntaxTree factored = TreeCopier(tree, budget).Factored();
  return ListFinder(factored, budget).Find(mostRate);
}

std::optional<ListInPattern> FindWordsInFront(const SyntaxTree& tree, std::size_t mostWords,
                                              CompileBudget& budget) {
  return ListFinder(tree, budget).FindInFront(mostWords);
}

}  // namespace trovex
