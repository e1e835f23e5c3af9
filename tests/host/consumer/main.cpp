// The smallest host: searches one text with a typed expression and prints where it matches.

#include <trovex/trovex.h>

#include <cstdio>
#include <memory>
#include <string>

int main() {
  CSearchTreeItem* root = nullptr;
  int tagCount = 0;
  const char* error = GetSearchTree("haus & !katze", 1, 0, 1, 0, &root, &tagCount);
  const std::unique_ptr<CSearchTreeItem> tree(root);
  if (error != nullptr) {
    std::fprintf(stderr, "%s\n", error);
    return 2;
  }
  std::string text = "ein Haus, kein Hausboot";
  const std::unique_ptr<CFoundItemArray> found(
      tree->Search(text.data(), static_cast<int>(text.size()), 0));
  if (found == nullptr) return 1;
  for (int i = 0; i < found->GetSize(); ++i)
    std::printf("%d..%d\n", found->GetAt(i)->GetStartPos(), found->GetAt(i)->GetEndPos());
  return 0;
}
