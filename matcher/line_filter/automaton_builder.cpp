// Follow sets, states and tables.

#include "matcher/line_filter/automaton_builder.h"

#include "matcher/costs.h"
#include "matcher/limits.h"
#include "matcher/pattern/stream_analysis.h"

#include <algorithm>
#include <cctype>
#include <functional>
#include <map>
#include <memory>
#include <utility>

namespace trovex {

namespace {

constexpr unsigned char kNewline = '\n';
constexpr int kAsciiBytes = 128;

// Constraints.

/// What stands on one side of a place in the text.
struct Context {
  bool newline = false;
  bool letter = false;
};

bool AllowsNewlines(Constraint constraint, bool before, bool after) {
  return (constraint >> (4 + 2 * static_cast<int>(before) + static_cast<int>(after)) & 1) != 0;
}

bool AllowsLetters(Constraint constraint, bool before, bool after) {
  return (constraint >> (2 * static_cast<int>(before) + static_cast<int>(after)) & 1) != 0;
}

bool IsSatisfied(Constraint constraint, Context before, Context after) {
  return AllowsNewlines(constraint, before.newline, after.newline) &&
         AllowsLetters(constraint, before.letter, after.letter);
}

bool DependsOnNewlineBefore(Constraint constraint) {
  return AllowsNewlines(constraint, true, false) != AllowsNewlines(constraint, false, false) ||
         AllowsNewlines(constraint, true, true) != AllowsNewlines(constraint, false, true);
}

bool DependsOnLetterBefore(Constraint constraint) {
  return AllowsLetters(constraint, true, false) != AllowsLetters(constraint, false, false) ||
         AllowsLetters(constraint, true, true) != AllowsLetters(constraint, false, true);
}

/// What an anchor leaves of the constraint of the positions after it.
Constraint AnchorConstraint(Token anchor) {
  switch (anchor) {
    case TokLineStart:
      return 0xCF;
    case TokLineEnd:
      return 0xAF;
    case TokWordStart:
      return 0xF2;
    case TokWordEnd:
      return 0xF4;
    case TokWordEdge:
      return 0xF6;
    case TokNotWordEdge:
      return 0xF9;
    default:
      return kNoConstraint;
  }
}

// Position sets.

/// Sorts `positions` and leaves each index once, with its constraints OR-ed.
void Normalise(PositionSet& positions) {
  std::sort(positions.begin(), positions.end(),
            [](const Position& a, const Position& b) { return a.index > b.index; });
  std::size_t kept = 0;
  for (const Position& position : positions) {
    if (kept > 0 && positions[kept - 1].index == position.index) {
      positions[kept - 1].constraint |= position.constraint;
    } else {
      positions[kept++] = position;
    }
  }
  positions.resize(kept);
}

PositionSet Union(const PositionSet& a, const PositionSet& b) {
  PositionSet both;
  both.reserve(a.size() + b.size());
  auto fromA = a.begin();
  auto fromB = b.begin();
  while (fromA != a.end() && fromB != b.end()) {
    if (fromA->index > fromB->index) {
      both.push_back(*fromA++);
    } else if (fromA->index < fromB->index) {
      both.push_back(*fromB++);
    } else {
      both.push_back(*fromA++);
      both.back().constraint |= (fromB++)->constraint;
    }
  }
  both.insert(both.end(), fromA, a.end());
  both.insert(both.end(), fromB, b.end());
  return both;
}

// Closures.

/// Makes the position sets of one stream.
class ClosureMaker {
 public:
  ClosureMaker(PatternAutomaton& automaton, const StreamAnalysis& analysis)
      : automaton_(automaton), analysis_(analysis) {}

  /// The positions of `indices`, each anchor replaced by the positions that follow it, whose
  /// constraint it narrows.
  ///
  /// Anchors are taken out one after the other, the one with the greatest index first. An anchor that
  /// comes up a second time is dropped, whatever constraint it has then; `anchorsAreComplete` is
  /// cleared where that loses a way.
  PositionSet Make(const IndexList& indices) {
    closure_.clear();
    Insert(indices, kNoConstraint);
    std::map<std::uint32_t, Constraint> seen;
    while (!anchors_.empty()) {
      const auto [index, constraint] = *anchors_.begin();
      anchors_.erase(anchors_.begin());
      const auto [visited, isNew] = seen.emplace(index, constraint);
      if (!isNew) {
        if ((constraint & ~visited->second) != 0) automaton_.anchorsAreComplete = false;
        continue;
      }
      Insert(analysis_.Follows(index), constraint & AnchorConstraint(automaton_.tokens[index]));
    }
    NormaliseAll();
    automaton_.budget.ChargeBytes(static_cast<std::int64_t>(closure_.size() * sizeof(Position)));
    return closure_;
  }

 private:
  void Insert(const IndexList& inserted, Constraint constraint) {
    automaton_.budget.ChargeSteps(static_cast<std::int64_t>(inserted.size()));
    for (const std::uint32_t index : inserted) {
      if (IsAnchorToken(automaton_.tokens[index])) {
        automaton_.budget.ChargeSteps(kFilterStepsPerAnchor);
        anchors_[index] |= constraint;
      } else {
        closure_.push_back({index, constraint});
      }
    }
    // Many anchors may lead to the same positions.
    if (closure_.size() > 2 * automaton_.tokens.size()) NormaliseAll();
  }

  void NormaliseAll() {
    automaton_.budget.ChargeSteps(kFilterStepsToSortOne *
                                  static_cast<std::int64_t>(closure_.size()));
    Normalise(closure_);
  }

  PatternAutomaton& automaton_;
  const StreamAnalysis& analysis_;
  std::map<std::uint32_t, Constraint, std::greater<>> anchors_;
  PositionSet closure_;
};

void ClassifyBytes(PatternAutomaton& automaton) {
  automaton.contextOf.fill(kOtherContext);
  automaton.contextOf[kNewline] = kNewlineContext;
  automaton.letters.reset();
  for (int c = 0; c < kAsciiBytes; ++c) {
    if (std::isalnum(c) == 0) continue;
    const auto byte = static_cast<std::size_t>(c);
    automaton.letters.set(byte);
    automaton.contextOf[byte] = kLetterContext;
  }
}

// States.

bool AnyDepends(const PositionSet& positions, bool (*depends)(Constraint)) {
  return std::any_of(positions.begin(), positions.end(),
                     [&](const Position& position) { return depends(position.constraint); });
}

std::size_t HashOf(const PositionSet& positions, Context context) {
  std::uint64_t hash =
      2 * static_cast<unsigned>(context.newline) + static_cast<unsigned>(context.letter);
  for (const Position& position : positions) {
    hash = (hash ^ position.index ^ static_cast<std::uint64_t>(position.constraint) << 32) *
           0x9E3779B97F4A7C15U;
    hash ^= hash >> 32;
  }
  return hash;
}

/// Works out in which contexts a match can end in `state`.
void FindEnds(const PatternAutomaton& automaton, State& state) {
  const Context before = {state.newlineContext, state.letterContext};
  for (const Position& position : state.positions) {
    const Token token = automaton.tokens[position.index];
    if (token == TokBackref) {
      state.acceptConstraint = kNoConstraint;
      state.hasBackref = true;
    }
    if (token >= 0) continue;
    bool satisfied = false;
    for (const bool newline : {false, true}) {
      for (const bool letter : {false, true}) {
        satisfied = satisfied || IsSatisfied(position.constraint, before, {newline, letter});
      }
    }
    if (satisfied) state.acceptConstraint |= position.constraint;
    if (state.firstEnd == 0) state.firstEnd = token;
  }
}

/// The state of `positions` in `context`, which is made if there is none yet.
StateNumber StateFor(PatternAutomaton& automaton, const PositionSet& positions, Context context) {
  const std::size_t hash = HashOf(positions, context);
  const auto [begin, end] = automaton.stateIndex.equal_range(hash);
  for (auto entry = begin; entry != end; ++entry) {
    const State& state = automaton.states[static_cast<std::size_t>(entry->second)];
    if (state.newlineContext == context.newline && state.letterContext == context.letter &&
        state.positions == positions) {
      return entry->second;
    }
  }
  State state;
  state.positions = positions;
  state.newlineContext = context.newline;
  state.letterContext = context.letter;
  FindEnds(automaton, state);
  const auto number = static_cast<StateNumber>(automaton.states.size());
  automaton.heldPositions += state.positions.size();
  automaton.states.push_back(std::move(state));
  automaton.stateIndex.emplace(hash, number);
  return number;
}

/// The states that one position set stands for, by the byte that leads there.
struct StatesByByte {
  StateNumber plain;
  StateNumber afterNewline;
  StateNumber afterLetter;

  StateNumber For(const PatternAutomaton& automaton, std::size_t byte) const {
    if (byte == kNewline) return afterNewline;
    return automaton.letters[byte] ? afterLetter : plain;
  }
};

/// The states of `positions` where the bytes of `label` lead there. A context gets a state of its
/// own only if some position depends on it.
StatesByByte StatesAfter(PatternAutomaton& automaton, const PositionSet& positions,
                         const CharSet& label) {
  const StateNumber plain = StateFor(automaton, positions, {});
  StatesByByte states = {plain, plain, plain};
  if (label[kNewline] && AnyDepends(positions, DependsOnNewlineBefore)) {
    states.afterNewline = StateFor(automaton, positions, {.newline = true, .letter = false});
  }
  if ((label & automaton.letters).any() && AnyDepends(positions, DependsOnLetterBefore)) {
    states.afterLetter = StateFor(automaton, positions, {.newline = false, .letter = true});
  }
  return states;
}

// Tables.

/// Bytes that lead from a state to the same next positions, and the positions that they match.
struct ByteGroup {
  CharSet label;
  std::vector<std::uint32_t> matched;
};

/// The bytes that the position can match in `state`, given what its constraint says of the byte.
CharSet BytesOf(const PatternAutomaton& automaton, const State& state, const Position& position) {
  const Token token = automaton.tokens[position.index];
  CharSet bytes;
  if (IsByteToken(token)) {
    bytes.set(static_cast<std::size_t>(token));
  } else if (IsSetToken(token)) {
    bytes = automaton.sets[static_cast<std::size_t>(token - TokFirstSet)];
  }
  const Constraint constraint = position.constraint;
  if (constraint == kNoConstraint) return bytes;

  const CharSet newline = CharSet().set(kNewline);
  if (!AllowsNewlines(constraint, state.newlineContext, true)) bytes &= ~newline;
  if (!AllowsNewlines(constraint, state.newlineContext, false)) bytes &= newline;
  if (!AllowsLetters(constraint, state.letterContext, true)) bytes &= ~automaton.letters;
  if (!AllowsLetters(constraint, state.letterContext, false)) bytes &= automaton.letters;
  return bytes;
}

/// Adds a position that matches `bytes`: groups are split where it matches a part of their label.
void AddToGroups(std::vector<ByteGroup>& groups, std::uint32_t index, CharSet bytes) {
  for (std::size_t g = 0; g < groups.size() && bytes.any(); ++g) {
    const CharSet common = groups[g].label & bytes;
    if (common.none()) continue;
    const CharSet rest = groups[g].label & ~common;
    if (rest.any()) groups.push_back({rest, groups[g].matched});
    groups[g].label = common;
    groups[g].matched.push_back(index);
    bytes &= ~common;
  }
  if (bytes.any()) groups.push_back({bytes, {index}});
}

std::vector<ByteGroup> GroupBytes(const PatternAutomaton& automaton, const State& state) {
  std::vector<ByteGroup> groups;
  for (const Position& position : state.positions) {
    AddToGroups(groups, position.index, BytesOf(automaton, state, position));
  }
  return groups;
}

/// The positions after a byte that matches the positions `matched`.
PositionSet NextPositions(const PatternAutomaton& automaton,
                          const std::vector<std::uint32_t>& matched) {
  PositionSet next;
  if (matched.size() == 1) {
    next = automaton.followSets[matched.front()];
  } else {
    // Thousands of sets may be united, most of them the same.
    std::vector<Constraint> constraints(automaton.tokens.size(), 0);
    for (const std::uint32_t index : matched) {
      for (const Position& position : automaton.followSets[index]) {
        Constraint& constraint = constraints[position.index];
        if (constraint == 0) next.push_back(position);
        constraint |= position.constraint;
      }
    }
    for (Position& position : next)
      position.constraint = constraints[position.index];
    Normalise(next);
  }
  return automaton.searchFlag ? Union(next, automaton.states[0].positions) : next;
}

/// Where the bytes lead that no position of a state matches.
void FillWithDefault(PatternAutomaton& automaton, TransitionTable& table) {
  table.fill(kNoState);
  if (!automaton.searchFlag) return;
  const PositionSet start = automaton.states[0].positions;
  const StatesByByte states = StatesAfter(automaton, start, CharSet().set());
  for (std::size_t byte = 0; byte < table.size(); ++byte)
    table[byte] = states.For(automaton, byte);
}

void FillTable(PatternAutomaton& automaton, StateNumber number, TransitionTable& table) {
  FillWithDefault(automaton, table);
  const State& state = automaton.states[static_cast<std::size_t>(number)];
  for (const ByteGroup& group : GroupBytes(automaton, state)) {
    const PositionSet next = NextPositions(automaton, group.matched);
    const StatesByByte states = StatesAfter(automaton, next, group.label);
    for (std::size_t byte = 0; byte < table.size(); ++byte) {
      if (group.label[byte]) table[byte] = states.For(automaton, byte);
    }
  }
}

/// The context classes before which a match can end in `state`.
std::uint8_t SuccessBits(const State& state) {
  const Context before = {state.newlineContext, state.letterContext};
  unsigned bits = 0;
  const auto accepts = [&](Context after) {
    return IsSatisfied(state.acceptConstraint, before, after);
  };
  if (accepts({.newline = true, .letter = false})) bits |= kNewlineContext;
  if (accepts({.newline = false, .letter = true})) bits |= kLetterContext;
  if (accepts({.newline = false, .letter = false})) bits |= kOtherContext;
  return static_cast<std::uint8_t>(bits);
}

void DropAllTables(PatternAutomaton& automaton) {
  automaton.transitions.clear();
  automaton.transitionOwners.clear();
  std::fill(automaton.transitionsOf.begin(), automaton.transitionsOf.end(), kNoTable);
  for (auto& table : automaton.failTables)
    table.reset();
  automaton.builtTableCount = 0;
}

/// Keeps the start state and `kept`, which has the returned number from then on, and no other.
/// There are no tables, so nothing else knows a state by its number.
StateNumber ForgetStates(PatternAutomaton& automaton, StateNumber kept) {
  std::vector<State>& states = automaton.states;
  const StateNumber number = kept == 0 ? 0 : 1;
  if (kept > number) std::swap(states[1], states[static_cast<std::size_t>(kept)]);
  states.resize(static_cast<std::size_t>(number) + 1);

  automaton.heldPositions = 0;
  automaton.stateIndex.clear();
  for (StateNumber i = 0; i <= number; ++i) {
    const State& state = states[static_cast<std::size_t>(i)];
    const Context context = {state.newlineContext, state.letterContext};
    automaton.heldPositions += state.positions.size();
    automaton.stateIndex.emplace(HashOf(state.positions, context), i);
  }
  return number;
}

/// Gives every state its entry in the arrays that are kept per state.
void GrowSlots(PatternAutomaton& automaton) {
  const std::size_t count = automaton.states.size();
  automaton.transitionsOf.resize(count, kNoTable);
  automaton.failTables.resize(count);
  automaton.successBits.resize(count);
  automaton.newlineTransitions.resize(count, kNoState);
}

/// Appends `table`, that of `state`, to the fast loop's tables. A step to a state whose table is not
/// there stops the loop, also if it comes there later: the loop then mends the step. Nothing leads to
/// the new table before it is whole, should memory run out on the way.
void AddTransitions(PatternAutomaton& automaton, StateNumber state, const TransitionTable& table) {
  const std::size_t begin = automaton.transitions.size();
  automaton.transitions.resize(begin + table.size());
  automaton.transitionOwners.resize(begin / table.size() + 1);
  automaton.transitionOwners.back() = state;
  automaton.transitionsOf[static_cast<std::size_t>(state)] = static_cast<Step>(begin);
  for (std::size_t byte = 0; byte < table.size(); ++byte) {
    const StateNumber next = table[byte];
    const Step there =
        next == kNoState ? kNoTable : automaton.transitionsOf[static_cast<std::size_t>(next)];
    automaton.transitions[begin + byte] = there == kNoTable ? StopAt(next) : there;
  }
}

}  // namespace

void AnalyseAutomaton(PatternAutomaton& automaton, bool searchFlag) {
  ClassifyBytes(automaton);
  automaton.searchFlag = searchFlag;
  const StreamAnalysis analysis(automaton.tokens, automaton.budget);
  ClosureMaker closures(automaton, analysis);
  automaton.budget.ChargeBytes(
      static_cast<std::int64_t>(automaton.tokens.size() * sizeof(PositionSet)));
  automaton.followSets.assign(automaton.tokens.size(), {});
  for (std::size_t index = 0; index < automaton.tokens.size(); ++index) {
    const Token token = automaton.tokens[index];
    if (IsByteToken(token) || IsSetToken(token) || token == TokBackref || token < 0) {
      automaton.followSets[index] = closures.Make(analysis.Follows(index));
    }
  }
  const PositionSet start = closures.Make(analysis.First());
  StateFor(automaton, start, {.newline = AnyDepends(start, DependsOnNewlineBefore)});
}

std::int64_t TableCost(const PatternAutomaton& automaton, StateNumber state) {
  const PositionSet& positions = automaton.states[static_cast<std::size_t>(state)].positions;
  std::int64_t units = kFilterTableUnits;
  for (const Position& position : positions) {
    units +=
        kFilterPositionUnits +
        kFilterFollowUnits * static_cast<std::int64_t>(automaton.followSets[position.index].size());
  }
  return units;
}

StateNumber BuildStateTable(PatternAutomaton& automaton, StateNumber state) {
  if (automaton.builtTableCount >= kMaxBuiltTables) {
    DropAllTables(automaton);
    if (automaton.heldPositions > kMaxHeldPositions) state = ForgetStates(automaton, state);
  }
  auto table = std::make_unique<TransitionTable>();
  FillTable(automaton, state, *table);
  GrowSlots(automaton);

  const auto slot = static_cast<std::size_t>(state);
  automaton.successBits[slot] = SuccessBits(automaton.states[slot]);
  automaton.newlineTransitions[slot] = std::exchange((*table)[kNewline], kNoState);
  if (automaton.states[slot].acceptConstraint != 0) {
    automaton.failTables[slot] = std::move(table);
  } else {
    AddTransitions(automaton, state, *table);
  }
  ++automaton.builtTableCount;
  return state;
}

}  // namespace trovex
