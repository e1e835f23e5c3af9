// Writing out all words of a tree, node by node: what stands side by side is appended to all words so far,
// and an alternation multiplies them.

#include "matcher/words/word_list.h"

#include "matcher/costs.h"
#include "matcher/limits.h"

#include <algorithm>
#include <array>
#include <climits>
#include <unordered_set>
#include <utility>

namespace trovex {

namespace {

/// A word, or the part of one that has been read.
struct Draft {
  std::string classes;
  Neighbours starts = kAnyNeighbours;
  /// What the anchors after the latest byte demand.
  Neighbours stops = kAnyNeighbours;
  /// A byte of it can be none.
  bool isImpossible = false;
};
using Drafts = std::vector<Draft>;

class WordListReader {
 public:
  WordListReader(const SyntaxTree& tree, CompileBudget& budget, WordSets sets)
      : tree_(tree), budget_(budget), areWhole_(sets == WordSets::kWhole) {
    for (std::size_t c = 0; c < tree.translate.size(); ++c) {
      if (c != '\n') sources_[tree.translate[c]].set(c);
    }
  }

  std::optional<WordList> Read() {
    if (!IsListed() || !Classify()) return std::nullopt;
    Drafts drafts(1);
    if (!Append(tree_.Root(), drafts)) return std::nullopt;
    for (const Draft& draft : drafts) {
      if (!Take(draft)) return std::nullopt;
    }
    if (list_.ends.empty()) return std::nullopt;
    return std::move(list_);
  }

 private:
  /// Whether the tree has nothing in it that no list has.
  bool IsListed() {
    budget_.ChargeSteps(static_cast<std::int64_t>(tree_.nodes.size()));
    return std::all_of(tree_.nodes.begin(), tree_.nodes.end(), [](const SyntaxNode& node) {
      if (node.kind == SyntaxKind::kRepeat) return node.max >= 0 && node.max <= kMaxListedRounds;
      return node.kind != SyntaxKind::kBackReference;
    });
  }

  CharSet BytesOf(const SyntaxNode& node) const {
    if (node.kind == SyntaxKind::kByte) return sources_[static_cast<std::size_t>(node.value)];
    const CharSet& set = tree_.Set(node);
    if (isPlain_) return set;
    CharSet bytes;
    for (std::size_t c = set._Find_first(); c < set.size(); c = set._Find_next(c))
      bytes |= sources_[c];
    return bytes;
  }

  /// Parts the bytes into classes. False where a set is too large for a list.
  bool Classify() {
    isPlain_ = tree_.translate == kSameBytes;
    std::unordered_set<CharSet> seen;
    list_.bytesOf.assign(1, CharSet().set());
    for (const SyntaxNode& node : tree_.nodes) {
      if (node.kind != SyntaxKind::kByte && node.kind != SyntaxKind::kSet) continue;
      CharSet bytes = BytesOf(node);
      bytes.reset('\n');
      if (bytes.count() > kMaxListedSet && !areWhole_) return false;
      if (!seen.insert(bytes).second || bytes.none()) continue;
      if (!areWhole_) {
        SplitClasses(bytes);
      } else if (list_.bytesOf.size() <= UCHAR_MAX) {
        list_.bytesOf.push_back(bytes);
      } else {
        return false;
      }
    }
    if (areWhole_) return true;
    for (std::size_t number = 0; number < list_.bytesOf.size(); ++number) {
      for (std::size_t c = 0; c < 256; ++c) {
        if (list_.bytesOf[number][c]) list_.classOf[c] = static_cast<unsigned char>(number);
      }
    }
    return true;
  }

  /// Bytes outside of all sets stay in class 0, which is never split otherwise.
  void SplitClasses(CharSet bytes) {
    for (std::size_t number = 0; number < list_.bytesOf.size() && bytes.any(); ++number) {
      const CharSet inside = list_.bytesOf[number] & bytes;
      bytes &= ~inside;
      if (inside.none() || (number > 0 && inside == list_.bytesOf[number])) continue;
      list_.bytesOf[number] &= ~inside;
      list_.bytesOf.push_back(inside);
      if (number > 0) budget_.ChargeSteps(4);
    }
  }

  /// Appends what `node` matches to every draft. Recurses as deep as the pattern is nested, which is
  /// limited before. False where they become too many, or are no words.
  bool Append(int index, Drafts& drafts) {
    const SyntaxNode& node = tree_.Node(index);
    switch (node.kind) {
      case SyntaxKind::kEmpty:
        return true;
      case SyntaxKind::kByte:
      case SyntaxKind::kSet:
        return AppendBytes(node, drafts);
      case SyntaxKind::kAnchor:
        AppendAnchor(static_cast<Anchor>(node.value), drafts);
        return true;
      case SyntaxKind::kGroup:
        return Append(node.firstChild, drafts);
      case SyntaxKind::kConcat:
        for (int child = node.firstChild; child != kNoNode; child = tree_.Node(child).nextSibling) {
          if (!Append(child, drafts)) return false;
        }
        return true;
      case SyntaxKind::kAlternate:
        return AppendAlternatives(node, drafts);
      case SyntaxKind::kRepeat:
        return AppendRounds(node, drafts);
      case SyntaxKind::kBackReference:
        break;
    }
    return false;
  }

  bool AppendBytes(const SyntaxNode& node, Drafts& drafts) {
    CharSet bytes = BytesOf(node);
    bytes.reset('\n');
    if (bytes.none()) {
      for (Draft& draft : drafts)
        draft.isImpossible = true;
      return true;
    }
    const std::string classes = ClassesOf(bytes);  // usually one
    if (!Charge(drafts.size() * classes.size(), drafts.size() * (classes.size() - 1))) return false;
    const std::size_t count = drafts.size();
    for (std::size_t i = 0; i < count; ++i) {
      // A byte after an anchor that looks at it.
      if (drafts[i].stops != kAnyNeighbours) return false;
      for (std::size_t more = 1; more < classes.size(); ++more) {
        if (!ChargeCopy(drafts[i])) return false;
        drafts.push_back(drafts[i]);
        drafts.back().classes += classes[more];
      }
      drafts[i].classes += classes[0];
    }
    return true;
  }

  /// What a set consists of.
  std::string ClassesOf(CharSet bytes) const {
    if (areWhole_) {
      const auto set = std::find(list_.bytesOf.begin(), list_.bytesOf.end(), bytes);
      return {static_cast<char>(set - list_.bytesOf.begin())};
    }
    std::string classes;
    while (bytes.any()) {
      const unsigned char number = list_.classOf[bytes._Find_first()];
      classes += static_cast<char>(number);
      bytes &= ~list_.bytesOf[number];
    }
    return classes;
  }

  static void AppendAnchor(Anchor anchor, Drafts& drafts) {
    const Neighbours neighbours = AnchorNeighbours(anchor);
    for (Draft& draft : drafts) {
      Neighbours& place = draft.classes.empty() ? draft.starts : draft.stops;
      place = static_cast<Neighbours>(place & neighbours);
    }
  }

  bool AppendAlternatives(const SyntaxNode& node, Drafts& drafts) {
    const Drafts before = std::move(drafts);
    drafts.clear();
    for (int child = node.firstChild; child != kNoNode; child = tree_.Node(child).nextSibling) {
      for (const Draft& draft : before) {
        if (!ChargeCopy(draft)) return false;
      }
      Drafts one = before;
      if (!Append(child, one)) return false;
      std::move(one.begin(), one.end(), std::back_inserter(drafts));
    }
    return true;
  }

  bool AppendRounds(const SyntaxNode& node, Drafts& drafts) {
    Drafts all;
    for (int round = 0;; ++round) {
      if (round >= node.min) {
        for (const Draft& draft : drafts) {
          if (!ChargeCopy(draft)) return false;
        }
        all.insert(all.end(), drafts.begin(), drafts.end());
      }
      if (round >= node.max) break;
      if (!Append(node.firstChild, drafts)) return false;
    }
    drafts = std::move(all);
    return true;
  }

  bool ChargeCopy(const Draft& draft) { return Charge(draft.classes.size(), 1); }

  /// Charges for so many classes and drafts that are added. False where there are too many.
  bool Charge(std::size_t classes, std::size_t drafts) {
    classes_ += classes;
    drafts_ += drafts;
    budget_.ChargeSteps(static_cast<std::int64_t>(classes + kListStepsPerWord * drafts));
    return classes_ <= kMaxListedBytes && drafts_ <= kMaxListedWords;
  }

  bool Take(const Draft& draft) {
    if (draft.isImpossible) return true;
    if (draft.classes.empty()) return false;
    if (list_.ends.empty()) {
      list_.starts = draft.starts;
      list_.stops = draft.stops;
    }
    if (draft.starts != list_.starts || draft.stops != list_.stops) return false;
    list_.classes += draft.classes;
    list_.ends.push_back(static_cast<std::uint32_t>(list_.classes.size()));
    return true;
  }

  const SyntaxTree& tree_;
  CompileBudget& budget_;
  const bool areWhole_;
  std::array<CharSet, 256> sources_;  // the bytes of texts that are compared as each byte
  bool isPlain_ = true;
  std::size_t classes_ = 0;
  std::size_t drafts_ = 0;
  WordList list_;
};

}  // namespace

std::optional<WordList> ReadWordList(const SyntaxTree& tree, CompileBudget& budget, WordSets sets) {
  CompileBudget part = budget.Part(kMaxWordListSteps, kMaxWordListBytes);
  std::optional<WordList> list;
  try {
    list = WordListReader(tree, part, sets).Read();
  } catch (const BudgetExhausted&) {
    list.reset();
  }
  budget.Settle(part);
  return list;
}

}  // namespace trovex
