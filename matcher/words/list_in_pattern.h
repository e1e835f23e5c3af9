// A list of words that is part of a pattern: "[A-Z][a-z]* (Haus|Hof|Garten)[a-z]*".
//
// Every match holds one of the words, and what stands before it and after it are patterns of their own. Of several
// lists in a row of parts, the one counts whose words come least often. Single bytes beside the list belong to its
// words:
//
//   \<(Haus|Hof) [0-9]+     the words "Haus " and "Hof ", at the beginning of a word; after it [0-9]+
//
// What all alternatives begin or end with stands before the list or after it:
//
//   ..Haus|..Hof            before the words two bytes

#ifndef TROVEX_MATCHER_WORDS_LIST_IN_PATTERN_H
#define TROVEX_MATCHER_WORDS_LIST_IN_PATTERN_H

#include "matcher/budget.h"
#include "matcher/pattern/pattern_syntax.h"
#include "matcher/words/word_list.h"

#include <cstddef>
#include <optional>

namespace trovex {

struct ListInPattern {
  WordList list;
  /// What stands before the list and after it; nothing where nothing does.
  std::optional<SyntaxTree> before;
  std::optional<SyntaxTree> after;
};

/// The rarest list among the parts of `tree`, which has no back-references, if its words are to be expected at fewer
/// than `mostRate` of 100,000 places; nothing where there is none, or the pattern is nothing but a list. The work is
/// charged to `budget`. Throws BudgetExhausted.
std::optional<ListInPattern> FindListInPattern(const SyntaxTree& tree, double mostRate,
                                               CompileBudget& budget);

/// The words of whole sets that `tree`, which is no list of them, begins with: as many of its parts as there are at
/// most `mostWords` words of, and what stands after these; nothing where there are none. The work is charged to
/// `budget`. Throws BudgetExhausted.
std::optional<ListInPattern> FindWordsInFront(const SyntaxTree& tree, std::size_t mostWords,
                                              CompileBudget& budget);

/// At how many of 100,000 places one of the words is to be expected.
double ExpectedRate(const WordList& list);

}  // namespace trovex

#endif  // TROVEX_MATCHER_WORDS_LIST_IN_PATTERN_H
