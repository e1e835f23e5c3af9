// The search for a pattern by a list of words that is part of it (words/list_in_pattern.h).
//
// A scan finds where one of the words may stand. What stands before the list is read backwards from there, to the
// leftmost start, and what stands after it forwards from the end of each word that stands there, to the furthest end:
//
//   [A-Z][a-z]*(garten|hof)[a-z]* in "ein Bauernhofladen"
//                  "hof" at 9; back over "auern" to the B; on over "laden"
//
// The first word around which there is a match leads to the leftmost one, if no match can begin before that and hold
// a later word only. So it is where all that stands before the list is of one width, or one endless run; elsewhere it
// is asked whether the text up to the word could be the beginning of something longer that begins further left. Of
// the matches that begin at one place, the longest may hold a later word: those are tried, as far as what stands
// before the list reaches.
//
// What is read in vain is paid from a credit. Where it is spent, the answer is not known, and other ways have to do.

#ifndef TROVEX_MATCHER_AUTOMATA_LIST_LEAD_H
#define TROVEX_MATCHER_AUTOMATA_LIST_LEAD_H

#include "matcher/automata/backward_automaton.h"
#include "matcher/automata/forward_automaton.h"
#include "matcher/automata/position_graph.h"
#include "matcher/automata/search_credit.h"
#include "matcher/budget.h"
#include "matcher/pattern/neighbours.h"
#include "matcher/pattern/pattern_syntax.h"
#include "matcher/words/list_in_pattern.h"
#include "matcher/words/word_scan.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

namespace trovex {

class ListLead {
 public:
  /// The rarest list of `tree`, which `options` are for; nothing where there is none, or where it is not expected to
  /// be found faster than at `mostCost` nanoseconds a byte. The work is charged to `budget`; where that does not
  /// suffice, there is none.
  static std::optional<ListLead> For(const SyntaxTree& tree, const GraphOptions& options,
                                     double mostCost, CompileBudget& budget);

  /// Whether a text of at most kLookedAtText bytes may hold one of the words.
  bool MayStandIn(const unsigned char* begin, const unsigned char* end) const;

 private:
  friend class ListLeadSearch;

  static std::optional<ListLead> Make(const SyntaxTree& tree, const GraphOptions& options,
                                      double mostCost, CompileBudget& budget);
  explicit ListLead(WordScan list) : list_(std::move(list)) {}
  bool ReadBefore(const SyntaxTree& tree, GraphOptions options);
  bool ReadAfter(const SyntaxTree& tree, GraphOptions options);

  WordScan list_;
  std::array<ByteKind, 256> kindOf_{};           // as the list's anchors tell bytes apart
  std::unique_ptr<const PositionGraph> before_;  // null: nothing stands there
  std::unique_ptr<const PositionGraph> after_;
  std::optional<std::size_t> width_ = 0;  // of all that can stand before the list
  /// Set if an endless run stands there: its bytes, and whether it may have none.
  std::unique_ptr<const MemberTable> run_;
  bool runMayBeEmpty_ = false;
};

/// One thread's search.
class ListLeadSearch {
 public:
  /// `lead` must outlive it.
  explicit ListLeadSearch(const ListLead& lead);

  /// The searches that follow are of one text of `length` bytes.
  void Begin(std::size_t length);

  struct Request {
    /// The place from which matches may start. With `kUnknown` it is the place from which that is not known.
    const unsigned char* place;
    /// A line begins here, and before it nothing is looked at.
    const unsigned char* begin;
    const unsigned char* end;
    /// Whether no match may end at a newline or at the end.
    bool refusesLineEnd = false;

    /// With `kMatch`: where it lies.
    const unsigned char* matchStart = nullptr;
    const unsigned char* matchEnd = nullptr;
  };

  enum class Answer { kMatch, kNoMatch, kUnknown };

  /// The leftmost match, and of those the longest.
  Answer Find(Request& request);

 private:
  using Byte = unsigned char;

  BackwardAutomaton::Answer StartBefore(const Request& request, const Byte* word);
  const Byte* StartOfRun(const Request& request, const Byte* word);
  const Byte* EndAfter(const Request& request, const Byte* word);
  const Byte* EndFrom(const Request& request, const Byte* wordEnd);
  Answer Lengthen(Request& request, const Byte* word);
  const Byte* LastEndBefore(const Request& request, const Byte* word);
  bool CanStart(const Request& request, const Byte* word) const;
  BackwardAutomaton::Stretch StretchTo(const Request& request, const Byte* lowest,
                                       const Byte* word) const;

  const ListLead& lead_;
  WordPlaces places_;
  SearchCredit credit_;
  // Made where something stands there.
  std::optional<BackwardAutomaton> backward_;
  std::optional<ForwardAutomaton> ahead_;  // over what stands before the list, from a known start
  std::optional<ForwardAutomaton> forward_;
  /// All bytes of this stretch belong to the run before the list, and the one before it does not, unless it was not
  /// looked at; null: none was read.
  const Byte* runFrom_ = nullptr;
  const Byte* runTo_ = nullptr;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_AUTOMATA_LIST_LEAD_H
