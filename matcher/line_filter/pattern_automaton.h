// The record of the line filter for one pattern: what the parser, the builder and the executor share.
//
// A pattern becomes an automaton in three steps, and each of them fills its part of the record.
//
//   parser    The pattern is written as a stream of tokens (matcher/pattern/tokens.h).
//
//   builder   Every leaf of the stream (a byte, a set, an anchor, ...) is a position. For each
//             position the builder works out which positions can follow it in a match. A state of
//             the deterministic automaton is a set of positions: all those that could come next.
//
//   executor  Reading a byte leads from state to state. The table of a state's 256 next states is
//             made when a text first reaches the state, so only what the texts need is ever built.
//
// Anchors match no byte. They are taken out of the position sets and leave their mark as a
// constraint on the positions after them: a byte of eight bits, one for each combination of what
// may stand before and after the place where the position would match.
//
//   bit 4 + 2 * (newline before) + (newline after)    the combination of newlines is allowed
//   bit     2 * (letter before)  + (letter after)     the combination of letters is allowed
//
// A letter is here a byte below 128 that the platform classes as a letter or a digit; bytes from
// 128 on and the underscore never are.

#ifndef TROVEX_MATCHER_LINE_FILTER_PATTERN_AUTOMATON_H
#define TROVEX_MATCHER_LINE_FILTER_PATTERN_AUTOMATON_H

#include "matcher/budget.h"
#include "matcher/pattern/tokens.h"
#include "resources/string_table.h"
#include "text/char_set.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace trovex {

/// Which combinations of neighbours a position may stand between; see the head of this file.
using Constraint = std::uint8_t;

/// Any neighbours at all.
inline constexpr Constraint kNoConstraint = 0xFF;

/// A place in the pattern: the index of a token in the stream, and where it may stand.
struct Position {
  std::uint32_t index;
  Constraint constraint;

  bool operator==(const Position&) const = default;
};

/// Positions in descending order of index, no index twice.
using PositionSet = std::vector<Position>;

/// The number of a state, its index in `PatternAutomaton::states`.
using StateNumber = std::int32_t;

/// Where a newline leads from every table: out of the fast loop.
inline constexpr StateNumber kNoState = -1;

/// One state: a set of positions, entered in one context.
struct State {
  PositionSet positions;        // what could be matched next
  bool newlineContext = false;  // entered right after a newline
  bool letterContext = false;   // entered right after a letter
  bool hasBackref = false;      // one of the positions is a back-reference
  Constraint acceptConstraint =
      0;               // the constraints of the ends that can be reached, OR-ed; 0: none
  Token firstEnd = 0;  // the end marker of the first of these ends; 0: none
};

/// The next state for each byte.
using TransitionTable = std::array<StateNumber, 256>;

/// A step of the fast loop, whose tables know the next table instead of the next state: where that
/// table begins, or, below 0, the state at which the loop must stop because it has none there.
using Step = std::int32_t;

inline constexpr Step kNoTable = -1;

constexpr Step StopAt(StateNumber state) {
  return -2 - state;
}
constexpr StateNumber StoppedAt(Step step) {
  return -2 - step;
}

/// What kind of byte comes next; each kind is a bit, so that a state's success bits name the kinds
/// before which it accepts.
enum ContextClass : std::uint8_t {
  kOtherContext = 1,
  kLetterContext = 2,
  kNewlineContext = 4,
};

/// How patterns are read.
struct AutomatonSyntax {
  unsigned long bits = 0;  // RE_... values of regex.h
  bool fold = false;       // letters match in both cases
  bool wasSet = false;     // nothing can be read before
  /// The engine will be asked for matches in a part of the line too, which "\'" takes for the whole.
  /// Where the text ends is then beyond the automaton: it must let the engine decide.
  bool endIsOpen = false;
};

/// A string that every match contains.
struct MustEntry {
  std::string text;
  bool exact = false;  // the string is the whole of every match
};

/// The record but for the tables that lie apart.
struct AutomatonRecord {
  /// What making the record may cost: charged by all that fill it, which throw BudgetExhausted. A
  /// record that was not filled to the end must not be used.
  CompileBudget budget = CompileBudget::Unlimited();

  /// Whether the record stands for a pattern whose own would be too large: every line passes.
  bool isOpen = false;

  AutomatonSyntax syntax;  // what patterns are read under; stays as it was set

  // Filled by the parser.

  /// The latest fault of the patterns. Where there is one, the stream is incomplete: the steps that
  /// follow may run without harm, but the automaton is not to be executed.
  MessageNumber fault = MessageNumber::kNone;
  std::vector<CharSet> sets;  // the character sets, each once
  std::vector<Token> tokens;  // the stream of all patterns, in postfix order
  int depth = 0;              // the greatest depth of a stack that evaluates the stream
  int leaves = 0;             // how many tokens of the stream are positions
  int patterns = 0;           // how many patterns the stream holds

  // Filled by the builder; the states and all that is per state grow while texts are searched.

  std::vector<PositionSet> followSets;  // per token: the positions that can follow it in a match
  bool searchFlag = false;              // a match may begin at any byte
  bool anchorsAreComplete = true;       // no way through anchors was dropped from a position set
  std::vector<State> states;
  std::unordered_multimap<std::size_t, StateNumber> stateIndex;  // the states by hash
  std::size_t heldPositions = 0;                                 // of all states together
  CharSet letters;                                               // the bytes that are letters
  std::array<ContextClass, 256> contextOf{};                     // the kind of each byte

  // A state that accepts in some context keeps its table in `failTables`, where the fast loop, which
  // knows `transitions` alone, cannot go. The tables of all other states lie in `transitions`, one
  // after the other, 256 steps each.

  std::vector<Step> transitions;
  std::vector<StateNumber> transitionOwners;    // per table of `transitions`: its state
  std::vector<Step> transitionsOf;              // per state: where its table begins, or kNoTable
  std::vector<std::uint8_t> successBits;        // context classes before which the state accepts
  std::vector<StateNumber> newlineTransitions;  // the state after a newline
  int builtTableCount = 0;                      // how many tables exist

  // Filled by the extraction of the must string; a new entry goes to the front.

  std::vector<MustEntry> mustList;
};

struct PatternAutomaton : AutomatonRecord {
  std::vector<std::unique_ptr<TransitionTable>> failTables;  // per state
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_LINE_FILTER_PATTERN_AUTOMATON_H
