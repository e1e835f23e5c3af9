// Writing a pattern without its back-references, as a pattern that matches at
// least as much.

#include "matcher/groups/reference_search.h"
#include "matcher/limits.h"

#include <cstddef>
#include <utility>
#include <vector>

namespace trovex {

namespace {

class ReferenceRemover {
 public:
  ReferenceRemover(const SyntaxTree& tree, const ByteMap& comparedAs)
      : tree_(tree), comparedAs_(comparedAs), result_(tree) {
    result_.nodes.clear();
  }

  SyntaxTree Remove() {
    placeOf_.assign(tree_.nodes.size(), kNoNode);
    bodyOf_.assign(static_cast<std::size_t>(tree_.groupCount) + 1, kNoNode);
    for (std::size_t i = 0; i < tree_.nodes.size(); ++i)
      placeOf_[i] = Add(tree_.nodes[i]);
    return std::move(result_);
  }

 private:
  int Append(const SyntaxNode& node) {
    result_.nodes.push_back(node);
    return result_.Root();
  }

  /// Adds a node whose children have been added; they become its children here.
  int Add(SyntaxNode node) {
    if (node.kind == SyntaxKind::kBackReference) return AddLanguageOf(node.value);
    node.firstChild = LinkChildren(node.firstChild);
    node.nextSibling = kNoNode;
    if (node.kind == SyntaxKind::kGroup) {
      bodyOf_[static_cast<std::size_t>(node.value)] = node.firstChild;
    }
    return Append(node);
  }

  int LinkChildren(int child) {
    int first = kNoNode;
    int last = kNoNode;
    for (; child != kNoNode; child = tree_.Node(child).nextSibling) {
      const int place = placeOf_[static_cast<std::size_t>(child)];
      if (first == kNoNode) {
        first = place;
      } else {
        result_.nodes[static_cast<std::size_t>(last)].nextSibling = place;
      }
      last = place;
    }
    return first;
  }

  /// Adds what the group can match. A group that ends only after the
  /// back-reference, or not at all, can match anything.
  int AddLanguageOf(int group) {
    const int body = group <= tree_.groupCount ? bodyOf_[static_cast<std::size_t>(group)] : kNoNode;
    return body == kNoNode || !Collect(body) ? AddAnyBytes() : AddCopies();
  }

  /// Notes the nodes of `root` with what is below it, parents first. Returns
  /// false if they are too many.
  bool Collect(int root) {
    collected_.assign(1, root);
    for (std::size_t i = 0; i < collected_.size(); ++i) {
      if (result_.nodes.size() + collected_.size() > kMaxReferencedNodes) return false;
      const int first = result_.Node(collected_[i]).firstChild;
      for (int c = first; c != kNoNode; c = result_.Node(c).nextSibling)
        collected_.push_back(c);
    }
    return true;
  }

  /// Adds copies of the collected nodes: without groups, without anchors, which
  /// need not hold where the text stands again, and with all bytes that are
  /// compared alike.
  int AddCopies() {
    std::vector<int> copies(collected_.size());
    std::size_t nextChild = collected_.size();  // the children of a node stand together, in order
    for (std::size_t i = collected_.size(); i-- > 0;) {
      SyntaxNode node = result_.Node(collected_[i]);
      std::size_t count = 0;
      for (int c = node.firstChild; c != kNoNode; c = result_.Node(c).nextSibling)
        ++count;
      nextChild -= count;
      node.firstChild = count == 0 ? kNoNode : copies[nextChild];
      for (std::size_t child = nextChild; child + 1 < nextChild + count; ++child)
        result_.nodes[static_cast<std::size_t>(copies[child])].nextSibling = copies[child + 1];
      node.nextSibling = kNoNode;
      copies[i] = AddCopy(node);
    }
    return copies[0];
  }

  int AddCopy(SyntaxNode node) {
    switch (node.kind) {
      case SyntaxKind::kGroup:
        node.kind = SyntaxKind::kConcat;
        node.value = 0;
        break;
      case SyntaxKind::kAnchor:
        node.kind = SyntaxKind::kEmpty;
        node.value = 0;
        break;
      case SyntaxKind::kByte: {
        CharSet set;
        set.set(static_cast<std::size_t>(node.value));
        node.kind = SyntaxKind::kSet;
        node.value = AddSet(Closed(set));
        break;
      }
      case SyntaxKind::kSet:
        node.value = AddSet(Closed(result_.Set(node)));
        break;
      default:
        break;
    }
    return Append(node);
  }

  int AddAnyBytes() {
    CharSet any;
    any.set();
    any.reset('\n');
    SyntaxNode byte;
    byte.kind = SyntaxKind::kSet;
    byte.value = AddSet(any);
    SyntaxNode repeat;
    repeat.kind = SyntaxKind::kRepeat;
    repeat.max = kUnbounded;
    repeat.firstChild = Append(byte);
    return Append(repeat);
  }

  int AddSet(const CharSet& set) {
    result_.sets.push_back(set);
    return static_cast<int>(result_.sets.size()) - 1;
  }

  /// The set of the pattern that takes every byte in the text that is compared
  /// like one that `set` takes.
  CharSet Closed(const CharSet& set) const {
    CharSet alike;
    for (std::size_t b = 0; b < 256; ++b) {
      if (set.test(tree_.translate[b])) alike.set(comparedAs_[b]);
    }
    CharSet closed = set;
    for (std::size_t b = 0; b < 256; ++b) {
      if (alike.test(comparedAs_[b])) closed.set(tree_.translate[b]);
    }
    return closed;
  }

  const SyntaxTree& tree_;
  const ByteMap& comparedAs_;
  SyntaxTree result_;
  std::vector<int> placeOf_;  // by node of the tree: the node that stands for it
  std::vector<int> bodyOf_;   // by group
  std::vector<int> collected_;
};

}  // namespace

SyntaxTree WithoutReferences(const SyntaxTree& tree, const ByteMap& comparedAs) {
  return ReferenceRemover(tree, comparedAs).Remove();
}

}  // namespace trovex
