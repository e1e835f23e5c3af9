// One pattern, compiled: what a search for it reads, and never writes.
//
// The pattern comes as a tree and means what the tree says, nothing else: the leftmost match counts, and
// of those the longest; anchors and conditions on words mean the same wherever they stand. A text is
// searched line by line: no match holds a line feed, and "the start of the text" and "the end of the
// text" are those of the line.

#ifndef TROVEX_MATCHER_PATTERN_PROGRAM_H
#define TROVEX_MATCHER_PATTERN_PROGRAM_H

#include "matcher/automata/match_locator.h"
#include "matcher/budget.h"
#include "matcher/groups/group_finder.h"
#include "matcher/groups/reference_search.h"
#include "matcher/pattern/pattern_syntax.h"
#include "resources/string_table.h"
#include "text/char_set.h"

#include <memory>
#include <optional>
#include <variant>

namespace trovex {

struct ProgramOptions {
  /// A match counts only where the bytes before and after it belong to no word; an empty one, too.
  bool wholeWords = false;
  /// The bytes that words are made of, for this and for the anchors.
  CharSet wordBytes;
  /// Whether back-references take the letters of a pair of the code page for the same.
  bool foldsReferences = false;
};

class PatternProgram {
 public:
  /// What was compiled, or the number of a fault: `kExpressionTooLong` or `kMemoryOverflow` where the
  /// pattern is too large. The work is charged to `budget`; where that ends, it is a fault, too. Throws
  /// nothing but std::bad_alloc.
  static std::variant<std::shared_ptr<const PatternProgram>, MessageNumber> Compile(
      SyntaxTree tree, const ProgramOptions& options, CompileBudget& budget);
  /// The same with a budget of its own.
  static std::variant<std::shared_ptr<const PatternProgram>, MessageNumber> Compile(
      SyntaxTree tree, const ProgramOptions& options);

  /// The highest number of a group.
  int GroupCount() const { return tree_.groupCount; }

  const SyntaxTree& Tree() const { return tree_; }
  const ProgramOptions& Options() const { return options_; }
  /// Of a pattern with back-references, which automata cannot decide, it locates what the pattern matches
  /// without them: no match begins where that has none. It is null where that is too large.
  const LocatorProgram* Locator() const { return locator_ ? &*locator_ : nullptr; }
  /// Null where the pattern has no groups, or back-references.
  const GroupFinder* Groups() const { return groups_ ? &*groups_ : nullptr; }
  /// Null where the pattern has no back-references.
  const ReferenceSearch* References() const { return references_ ? &*references_ : nullptr; }

 private:
  PatternProgram(SyntaxTree tree, const ProgramOptions& options);

  bool Prepare(CompileBudget& budget);
  bool PrepareLocator(const SyntaxTree& tree, bool words, CompileBudget& budget);
  void PrepareReferences(CompileBudget& budget);

  const SyntaxTree tree_;
  const ProgramOptions options_;
  std::optional<LocatorProgram> locator_;
  std::optional<GroupFinder> groups_;
  std::optional<ReferenceSearch> references_;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_PATTERN_PROGRAM_H
