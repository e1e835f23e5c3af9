// One pattern compiled by the C library's regular-expression engine, the authority on what matches
// and where.
//
// The engine is reached through its own interface of `regex.h` (`re_compile_pattern`, `re_search`,
// `re_match`) with a syntax of our choice: POSIX extended expressions without character-class
// names, with "^" and "$" as anchors everywhere, a line feed in the pattern as "|", and
// back-references.
//
// Where the engine runs out of memory in a search, the states that it was about to make stay
// half-made in its program, and later searches with it would go wrong. The program is then compiled
// afresh before it is used again.
//
// The engine must see bytes. A pattern compiled under a UTF-8 locale would be read as multibyte
// characters, so compiling happens under the C locale whatever the host has set; searching depends
// on no locale. The engine's own error sentences, which follow the host's language, never leave
// this file.
//
// Some patterns must not be given to the engine at all (pattern_limits.h), or not for every search
// (pattern_hazards.h), and on long lines it takes their square. The class knows which and when, and
// answers those searches with the library's own bounded matcher, which finds what the engine finds.

#ifndef TROVEX_MATCHER_ENGINE_REGULAR_EXPRESSION_H
#define TROVEX_MATCHER_ENGINE_REGULAR_EXPRESSION_H

#include "matcher/budget.h"
#include "matcher/engine/bounded_matcher.h"
#include "matcher/engine/line_groups.h"
#include "matcher/pattern/pattern_hazards.h"
#include "matcher/pattern/pattern_syntax.h"
#include "matcher/search_outcome.h"
#include "matcher/work_credit.h"
#include "resources/string_table.h"
#include "text/byte_map.h"

#include <regex.h>
#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace trovex {

/// The syntax word: POSIX extended, less RE_CHAR_CLASSES.
///   RE_CONTEXT_INDEP_ANCHORS 0x8, RE_CONTEXT_INDEP_OPS 0x10, RE_HAT_LISTS_NOT_NEWLINE 0x100,
///   RE_INTERVALS 0x200, RE_NEWLINE_ALT 0x800, RE_NO_BK_BRACES 0x1000, RE_NO_BK_PARENS 0x2000,
///   RE_NO_BK_VBAR 0x8000.
inline constexpr unsigned kPatternSyntax = 0xBB18;

/// The message number for an error code of the engine: 9799 + code for the codes 1 to 16, `kNone`
/// (success) for every other.
MessageNumber MessageForRegexError(int code);

/// Where the whole match and the groups of the last successful search lie. One object serves one
/// search of a text, however many calls of the engine that takes.
///
/// The engine finds the whole match alone up to five times faster than the groups with it, so the
/// groups are asked for only when one is wanted, and only of the match that is known. Where an anchor
/// stands in a repetition, the engine has matches that it denies when it is asked for their groups:
/// the match stands, and its groups took no part.
class MatchRegisters {
 public:
  /// Registers for the whole match alone, or for it and all groups.
  explicit MatchRegisters(bool wholeMatchOnly);
  ~MatchRegisters();
  MatchRegisters(const MatchRegisters&) = delete;
  MatchRegisters& operator=(const MatchRegisters&) = delete;

  /// Offsets of group `group` (0: the whole match) in the searched line; -1 when the group took no
  /// part or does not exist.
  int Start(int group) const { return Has(group) ? registers_.start[group] : -1; }
  int End(int group) const { return Has(group) ? registers_.end[group] : -1; }

 private:
  friend class RegularExpression;
  bool Has(int group) const {
    return group >= 0 && static_cast<std::size_t>(group) < registers_.num_regs;
  }

  void Set(const std::vector<GroupRange>& ranges);

  bool wholeMatchOnly_;
  regoff_t wholeStart_ = -1;  // the arrays of the one register of a whole match
  regoff_t wholeEnd_ = -1;
  re_registers registers_{};  // otherwise the engine allocates the arrays; freed by the destructor
};

class RegularExpression {
 public:
  RegularExpression() = default;
  ~RegularExpression();
  RegularExpression(const RegularExpression&) = delete;
  RegularExpression& operator=(const RegularExpression&) = delete;

  /// Compiles `pattern`, which was read as `tree`, once in the life of the object. Every byte of pattern
  /// and text is compared as the tree's table says. Returns the error's message number, or `kNone`. A
  /// pattern beyond the limits (limits.h), or beyond `budget`, which is charged for it, is not compiled:
  /// the number says so. The tree is shared from then on.
  MessageNumber Compile(std::string_view pattern, std::shared_ptr<const SyntaxTree> tree,
                        CompileBudget& budget);
  /// Reads and compiles a pattern that is alone; `translate`, the table, may be null.
  MessageNumber Compile(const char* pattern, std::size_t length, const ByteMap* translate);

  bool IsCompiled() const { return compiled_; }

  /// Whether the pattern has back-references, whose search may take far more than that of any other.
  bool HasReferences() const { return hazards_.search; }

  /// The number of groups in the pattern; 0 before it is compiled.
  std::size_t GroupCount() const { return groupCount_; }

  // What follows may be called by several threads at the same time; the engine's own part is done by one
  // after the other. Everything throws std::bad_alloc when memory runs out. What it costs is spent from
  // `credit`; where that ends, and at the bounds of the library's own matcher, a search gives up.

  /// Finds the leftmost-longest match in `length` bytes at `line` that starts at `from` or later. "$"
  /// matches at the end of the line.
  SearchOutcome Search(const char* line, int length, int from, MatchRegisters& registers,
                       WorkCredit& credit) const;
  /// The same with a credit of its own: the start of the match, or -1.
  int Search(const char* line, int length, int from, MatchRegisters& registers) const;

  /// Matches at exactly `start` within the first `length` bytes at `line`, whose end is not the end
  /// of the line: "$" does not match there. The longest match is found.
  SearchOutcome MatchWithin(const char* line, int length, int start, MatchRegisters& registers,
                            WorkCredit& credit) const;
  /// The same with a credit of its own: the length of the match, or -1.
  int MatchWithin(const char* line, int length, int start, MatchRegisters& registers) const;

  /// Whether `SearchWord` may be asked on a line of `length` bytes: it is the faster way there, and the
  /// pattern allows it.
  bool CanSearchWord(int length) const;
  /// Finds the first match on the line of `rule`, at `from` or later, that the rule lets pass.
  SearchOutcome SearchWord(const WordRule& rule, int from, GroupRange& match,
                           WorkCredit& credit) const;

  /// Whether `MatchWord` may be asked on a line of `length` bytes.
  bool CanMatchWord(int length) const;
  /// Finds the longest match at `start` on the line of `rule` that the rule lets pass, in one pass.
  SearchOutcome MatchWord(const WordRule& rule, int start, GroupRange& match,
                          WorkCredit& credit) const;

  /// What tells one group of the matches on a line, where each is looked for from the end of the group of the
  /// one before (line_groups.h); null where the pattern does not allow it. This object must outlive it.
  std::unique_ptr<LineGroups> MakeLineGroups() const;

  /// Fills `registers` for `match`, which a search of `text` has found. Without kFound, the groups took
  /// no part: the engine denies the match with its groups, or it was given up to tell them.
  SearchOutcome FindGroups(const BoundedText& text, GroupRange match, MatchRegisters& registers,
                           WorkCredit& credit) const;

 private:
  const BoundedMatcher& Bounded() const;
  bool IsForEngine(int length) const;
  SearchOutcome FindBounded(const BoundedText& text, int from, int lastStart,
                            MatchRegisters& registers, WorkCredit& credit) const;
  SearchOutcome FindWhole(const BoundedText& text, int from, int lastStart, GroupRange& match,
                          WorkCredit& credit) const;
  SearchOutcome FindWholeByEngine(const BoundedText& text, int from, int lastStart,
                                  GroupRange& match, WorkCredit& credit) const;
  SearchOutcome FillByEngine(const BoundedText& text, GroupRange match,
                             MatchRegisters& registers) const;
  SearchOutcome FillBounded(const BoundedText& text, GroupRange match, MatchRegisters& registers,
                            WorkCredit& credit) const;

  int SearchEngine(const char* line, int length, int from, int lastStart,
                   MatchRegisters& registers) const;
  int MatchEngineWithin(const char* line, int length, int start, MatchRegisters& registers) const;

  /// The engine's program. The engine writes to it in every search.
  struct Program {
    std::mutex lock;
    re_pattern_buffer buffer{};
    bool isDamaged = false;
  };
  void UseRegisters(MatchRegisters& registers) const;
  int Checked(int answer) const;
  void RenewIfDamaged() const;

  std::string pattern_;
  std::shared_ptr<const SyntaxTree> tree_;
  bool compiled_ = false;
  std::size_t groupCount_ = 0;
  PatternHazards hazards_;
  bool hasRepetitions_ = false;
  mutable Program program_;
  mutable std::mutex boundedLock_;                         // held by who makes the next
  mutable std::unique_ptr<const BoundedMatcher> bounded_;  // made when it is first needed
  mutable std::atomic<const BoundedMatcher*> madeBounded_ = nullptr;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_ENGINE_REGULAR_EXPRESSION_H
