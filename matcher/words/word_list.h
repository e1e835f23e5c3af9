// A pattern that is nothing but a list of words: "Haus|Hof|Garten".
//
// Whatever way it was written: with brackets around some of it, with "Häuser?" for two words, with sets of a
// few bytes, and with anchors around the whole. Case is no matter here: a letter of either case is a set of
// two bytes. What is told apart are classes of bytes, those that belong to just the same sets; a word is a
// string of such classes. Or it is one of sets as they stand in the pattern, of which a few may stand for many words:
// "(19|20)[0-9][0-9]" has two.

#ifndef TROVEX_MATCHER_WORDS_WORD_LIST_H
#define TROVEX_MATCHER_WORDS_WORD_LIST_H

#include "matcher/budget.h"
#include "matcher/pattern/neighbours.h"
#include "matcher/pattern/pattern_syntax.h"
#include "text/byte_map.h"
#include "text/char_set.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace trovex {

struct WordList {
  /// The class of each byte of a text; 0 for bytes that stand in no word.
  ByteMap classOf{};
  /// The bytes of each class.
  std::vector<CharSet> bytesOf;
  /// The words as classes, one after the other, and where each ends. None is empty.
  std::string classes;
  std::vector<std::uint32_t> ends;
  /// Between which neighbours a match may start, and end.
  Neighbours starts = kAnyNeighbours;
  Neighbours stops = kAnyNeighbours;

  std::size_t Count() const { return ends.size(); }
  std::string_view Word(std::size_t index) const {
    const std::uint32_t begin = index == 0 ? 0 : ends[index - 1];
    return std::string_view(classes).substr(begin, ends[index] - begin);
  }
};

/// What a word is a string of.
enum class WordSets {
  kClasses,  // "[0-9]|1" are the words "1" and "[02-9]"
  kWhole,  // they are "[0-9]" and "1": sets that may have bytes in common, and as many as they like
};

/// The words of `tree`; nothing where it is no such list, or one without words. The work is charged to
/// `budget`; where that does not suffice, it is no list. What has no word in it that could match is no list
/// either. Of whole sets each has a number like a class, and no byte has one.
std::optional<WordList> ReadWordList(const SyntaxTree& tree, CompileBudget& budget,
                                     WordSets sets = WordSets::kClasses);

}  // namespace trovex

#endif  // TROVEX_MATCHER_WORDS_WORD_LIST_H
