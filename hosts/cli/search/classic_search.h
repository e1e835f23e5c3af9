// --classic: texts are searched as the first door does it, answer for answer.
//
// That door serves one thread, changes the byte after a text, and reads one byte as a character. So
// all of a file is decoded into a text of its own: valid UTF-8 into bytes of the Windows Latin-1 code
// page, every other byte as it is. A character that the code page lacks becomes one placeholder byte,
// which no pattern can name, so that it can match nothing but "." and negated sets and shifts no
// offset.
//
//     file     G  r  C3 BC  n  e  r  20  CE A9
//     text     G  r  FC     n  e  r  20  00          (an omega is not in the code page)

#ifndef TROVEX_HOSTS_CLI_CLASSIC_SEARCH_H
#define TROVEX_HOSTS_CLI_CLASSIC_SEARCH_H

#include "hosts/cli/command/options.h"
#include "hosts/cli/search/found.h"

#include <trovex/trovex.h>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace trovex::cli {

class ClassicSearch {
 public:
  /// Compiles `expression`, which is UTF-8. The other answer is a sentence on what is wrong with it.
  /// The latest one that was made is the only one that can search.
  static std::variant<ClassicSearch, std::string> Compile(std::string_view expression,
                                                          const Options& options);

  /// Searches `text`, a whole file, and writes what is found.
  void Search(std::string_view text, Need need, Found& found);

  /// The tree's root, for a look at it.
  CSearchTreeItem& Root() const { return *root_; }
  /// The number of brackets, which is the highest tag.
  int TagCount() const { return tagCount_; }

 private:
  ClassicSearch(std::unique_ptr<CSearchTreeItem> root, int tagCount, const Options& options);

  void Decode(std::string_view text);
  std::size_t FileOffset(std::size_t offset) const {
    return offsets_.empty() ? offset : offsets_[offset];
  }
  void SearchUnit(std::string_view file, Range unit, Need need, Found& found);

  std::unique_ptr<CSearchTreeItem> root_;
  int tagCount_;
  int tag_;
  Scope scope_;
  bool phonetic_;
  bool latin1_;

  /// The text with a writable byte after it, and for each byte its offset in the file; none where
  /// that is the same.
  std::string decoded_;
  std::vector<std::size_t> offsets_;
};

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_CLASSIC_SEARCH_H
