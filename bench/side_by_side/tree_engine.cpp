// The library through trovex.h: one search tree, one array of found items a search, deleted inside the
// measured time. Who wants the first match of a single pattern asks the plain function instead, which
// makes no items.

#include "bench/side_by_side/contestants.h"

#include <trovex/trovex.h>
#include <stdexcept>
#include <string>
#include <utility>

namespace trovex::bench {

namespace {

class TreeEngine : public Engine {
 public:
  /// `isInstalled`: the pattern is also the one that the plain functions search.
  TreeEngine(std::unique_ptr<CSearchTreeItem> tree, int group, bool isInstalled)
      : tree_(std::move(tree)), group_(group), isInstalled_(isInstalled) {}
  ~TreeEngine() override { ResetEnvironment(); }

  std::int64_t Count(std::string_view text) override { return SearchTree(text)->GetSize(); }

  std::vector<Range> Matches(std::string_view text) override {
    const auto found = SearchTree(text);
    std::vector<Range> matches;
    for (int i = 0; i < found->GetSize(); ++i)
      matches.push_back({found->GetAt(i)->GetStartPos(), found->GetAt(i)->GetEndPos()});
    return matches;
  }

  bool First(std::string_view text, Range& first) override {
    if (isInstalled_) {
      const int length = static_cast<int>(text.size());
      return Search(text.data(), length, &first.start, &first.end, group_) != 0;
    }
    const auto found = SearchTree(text);
    if (found->GetSize() == 0) return false;
    first = {found->GetAt(0)->GetStartPos(), found->GetAt(0)->GetEndPos()};
    return true;
  }

 private:
  std::unique_ptr<CFoundItemArray> SearchTree(std::string_view text) {
    std::unique_ptr<CFoundItemArray> found(
        tree_->Search(text.data(), static_cast<int>(text.size()), group_));
    if (found == nullptr) throw std::runtime_error("memory overflow");
    return found;
  }

  std::unique_ptr<CSearchTreeItem> tree_;
  int group_;
  bool isInstalled_;
};

void Require(const char* fault) {
  if (fault != nullptr) throw std::runtime_error(fault);
}

std::unique_ptr<CSearchTreeItem> MakeLeaf(const char* pattern) {
  auto leaf = std::make_unique<CSubExpression>();
  leaf->SetSubExpression(pattern);
  leaf->SetSearchOptions(kSearchModeRegularExpression | kSearchCaseSensitive);
  int cost = 0;
  Require(leaf->OptimizeAndCompile(&cost));
  return leaf;
}

std::unique_ptr<CSearchTreeItem> MakeTree(const char* expression, Mode mode) {
  const bool phonetic = mode == Mode::kPhonetic;
  const bool words = mode == Mode::kWholeWords || phonetic;
  const bool foldCase = mode == Mode::kFolded || phonetic;
  CSearchTreeItem* root = nullptr;
  int tags = 0;
  const char* fault = GetSearchTree(expression, phonetic ? 0 : 1, phonetic ? 1 : 0, words ? 1 : 0,
                                    foldCase ? 0 : 1, root, &tags);
  std::unique_ptr<CSearchTreeItem> tree(root);
  Require(fault);
  return tree;
}

}  // namespace

std::unique_ptr<Engine> MakeTree(const Row& row) {
  const char* const expression = row.expression.c_str();
  auto tree = row.mode == Mode::kLeaf ? MakeLeaf(expression) : MakeTree(expression, row.mode);
  // The environments are filled first: that leaves no pattern installed.
  const bool isPattern = !row.IsByHand() && row.mode != Mode::kPhonetic;
  if (isPattern) {
    Require(Compile(expression, row.mode == Mode::kFolded ? 1 : 0,
                    row.mode == Mode::kWholeWords ? 1 : 0));
  }
  return std::make_unique<TreeEngine>(std::move(tree), row.group, isPattern);
}

}  // namespace trovex::bench
