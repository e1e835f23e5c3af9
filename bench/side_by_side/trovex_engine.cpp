// The library through its public interface: one search tree, one array of found items a search,
// deleted inside the measured time.

#include "bench/side_by_side/contestants.h"

#include <trovex/trovex.h>
#include <stdexcept>
#include <utility>

namespace trovex::bench {

namespace {

class TrovexEngine : public Engine {
 public:
  explicit TrovexEngine(std::unique_ptr<CSearchTreeItem> tree) : tree_(std::move(tree)) {}
  ~TrovexEngine() override { ResetEnvironment(); }

  std::int64_t Count(const std::string& text) override { return Search(text)->GetSize(); }

  std::vector<Range> Matches(const std::string& text) override {
    const auto found = Search(text);
    std::vector<Range> matches(static_cast<std::size_t>(found->GetSize()));
    for (int i = 0; i < found->GetSize(); ++i) {
      CFoundItem& item = *found->GetAt(i);
      matches[static_cast<std::size_t>(i)] = {item.GetStartPos(), item.GetEndPos()};
    }
    return matches;
  }

 private:
  std::unique_ptr<CFoundItemArray> Search(const std::string& text) {
    std::unique_ptr<CFoundItemArray> found(
        tree_->Search(text.c_str(), static_cast<int>(text.size()), 0));
    if (found == nullptr) throw std::runtime_error("memory overflow");
    return found;
  }

  std::unique_ptr<CSearchTreeItem> tree_;
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

std::unique_ptr<Engine> MakeTrovex(const char* expression, Mode mode) {
  return std::make_unique<TrovexEngine>(mode == Mode::kLeaf ? MakeLeaf(expression)
                                                            : MakeTree(expression, mode));
}

}  // namespace trovex::bench
