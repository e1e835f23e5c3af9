// Compiling and searching.
//
// A tag whose bracket took no part in a match comes back as an empty range that lies on the line
// feed before the match's line. It is no match of the tag and left out.

#include "hosts/cli/search/query.h"

#include <utility>

namespace trovex::cli {

namespace {

/// Puts a zero byte after a text and the old byte back.
class ZeroAfter {
 public:
  explicit ZeroAfter(char* byte) : byte_(byte), saved_(std::exchange(*byte, '\0')) {}
  ~ZeroAfter() { *byte_ = saved_; }
  ZeroAfter(const ZeroAfter&) = delete;
  ZeroAfter& operator=(const ZeroAfter&) = delete;

 private:
  char* byte_;
  char saved_;
};

bool HoldsItem(const CFoundItemArray& items) {
  for (int i = 0; i < items.GetSize(); ++i) {
    if (items.GetAt(i) != nullptr) return true;
  }
  return false;
}

std::string TagFault(int tag, int tagCount) {
  const std::string asked = "There is no bracket " + std::to_string(tag) + ": ";
  if (tagCount == 0) return asked + "the expression has no bracket.";
  if (tagCount == 1) return asked + "the expression has one bracket.";
  return asked + "the expression has " + std::to_string(tagCount) + " brackets.";
}

}  // namespace

std::variant<Query, ExpressionFault> Query::Compile(const std::string& expression,
                                                    const Options& options) {
  CSearchTreeItem* tree = nullptr;
  int tagCount = 0;
  const char* const message =
      GetSearchTree(expression.c_str(), options.phonetic ? 0 : 1, options.phonetic ? 1 : 0,
                    options.words ? 1 : 0, options.caseSensitive ? 1 : 0, tree, &tagCount);
  std::unique_ptr<CSearchTreeItem> root(tree);
  if (message != nullptr) return ExpressionFault{message};
  if (options.tag > tagCount) return ExpressionFault{TagFault(options.tag, tagCount)};
  return Query(std::move(root), tagCount, options.tag);
}

Answer Query::Search(char* text, int length, int base, std::vector<Match>& matches) {
  const ZeroAfter zero(text + length);
  const std::unique_ptr<CFoundItemArray> items(root_->Search(text, length, tag_));
  if (items == nullptr) return Answer::kNothing;
  if (items->IsNegative() != 0) return HoldsItem(*items) ? Answer::kNothing : Answer::kSatisfied;

  if (tag_ > 0) items->DeleteItemsWithTagNotMatched();
  const std::size_t before = matches.size();
  for (int i = 0; i < items->GetSize(); ++i) {
    CFoundItem* const item = items->GetAt(i);
    if (item == nullptr) continue;
    const int begin = item->GetStartPos();
    const int end = item->GetEndPos();
    const bool tookNoPart = tag_ > 0 && begin == end && begin < length && text[begin] == '\n';
    if (!tookNoPart) matches.push_back({base + begin, base + end});
  }
  return matches.size() > before ? Answer::kMatches : Answer::kNothing;
}

}  // namespace trovex::cli
