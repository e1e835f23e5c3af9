// Running through the states.
//
// The fast loop is  table = tables[table + byte].  A step leads straight to the next state's table, and
// the loop makes no test but one: whether there is one. All that is out of the ordinary has none:
//
//   a newline        every table leads to `kNoState` on it. One is taken to stand after the text.
//   accepting        a state that accepts in some context keeps its table in `failTables`: the next
//                    byte decides whether the context is right, or whether the text goes on.
//   not built yet    the table is built, and the loop goes on. A step that stopped the loop at a state
//                    whose table has come since is mended on the way.
//
// The loop takes two bytes per turn. `from` and `to` swap their roles at each step, so that the table
// left last is known without a copy: after a newline the scan may go on from its state.

#include "matcher/line_filter/automaton_executor.h"

#include "matcher/line_filter/automaton_builder.h"
#include "matcher/work_credit.h"

#include <cstddef>
#include <tuple>
#include <utility>

namespace trovex {

namespace {

constexpr std::size_t kTableSize = std::tuple_size_v<TransitionTable>;

/// Where a run stands.
struct Run {
  const unsigned char* next;  // the next byte to be read
  const unsigned char* end;   // of the text
  StateNumber current = 0;
  StateNumber previous = 0;  // the state left last
  bool isOver = false;       // the newline after the text was read
};

/// Goes on from the current state, which has a table for the fast loop, until one has none or the text is
/// read.
inline void RunFast(PatternAutomaton& automaton, Run& run) {
  Step* const tables = automaton.transitions.data();
  const unsigned char* next = run.next;
  Step from = automaton.transitionsOf[static_cast<std::size_t>(run.current)];
  for (;;) {
    Step to = 0;
    while (run.end - next >= 2) {
      to = tables[from + *next++];
      if (to < 0) break;
      from = tables[to + *next++];
      if (from < 0) {
        std::swap(from, to);
        break;
      }
    }
    if (to >= 0 && next != run.end) {
      to = tables[from + *next++];
      if (to >= 0) std::swap(from, to);
    }
    if (to >= 0 && next == run.end) {
      run.isOver = true;
      break;
    }
    if (to >= 0) continue;
    run.current = StoppedAt(to);
    const Step table = run.current == kNoState
                           ? kNoTable
                           : automaton.transitionsOf[static_cast<std::size_t>(run.current)];
    if (table == kNoTable) break;
    tables[from + next[-1]] = table;
    from = table;
  }
  run.next = next;
  run.previous = automaton.transitionOwners[static_cast<std::size_t>(from) / kTableSize];
}

/// Puts the run, which has just left a line, into the state in which it enters the next one. A
/// state that a newline leads nowhere from begins anew.
void EnterLine(const PatternAutomaton& automaton, bool multiline, Run& run) {
  run.current = kNoState;
  if (multiline) {
    run.current = automaton.newlineTransitions[static_cast<std::size_t>(run.previous)];
  }
  if (run.current == kNoState) run.current = 0;
}

/// What may be asked of a run beside its end.
struct Questions {
  bool multiline = false;
  int* newlineCount = nullptr;
  bool* backref = nullptr;
  WorkCredit* credit = nullptr;  // null: tables cost nothing
  bool* gaveUp = nullptr;        // set with a credit: whether it did not suffice
};

const char* Execute(PatternAutomaton& automaton, const char* begin, const char* end,
                    const Questions& questions) {
  if (automaton.builtTableCount == 0) BuildStateTable(automaton, 0);
  Run run = {.next = reinterpret_cast<const unsigned char*>(begin),
             .end = reinterpret_cast<const unsigned char*>(end)};
  while (!run.isOver) {
    if (run.current == kNoState) {
      if (questions.newlineCount != nullptr && run.next[-1] == '\n') ++*questions.newlineCount;
      EnterLine(automaton, questions.multiline, run);
      continue;
    }
    const auto slot = static_cast<std::size_t>(run.current);
    if (automaton.transitionsOf[slot] != kNoTable) {
      RunFast(automaton, run);
      continue;
    }
    const TransitionTable* table = automaton.failTables[slot].get();
    if (table == nullptr) {
      if (questions.credit != nullptr &&
          !questions.credit->Spend(TableCost(automaton, run.current))) {
        *questions.gaveUp = true;
        return nullptr;
      }
      run.current = BuildStateTable(automaton, run.current);
      continue;
    }
    const unsigned char byte = run.next == run.end ? '\n' : *run.next;
    if ((automaton.successBits[slot] & automaton.contextOf[byte]) != 0) {
      if (questions.backref != nullptr) *questions.backref = automaton.states[slot].hasBackref;
      return reinterpret_cast<const char*>(run.next);
    }
    run.previous = run.current;
    run.current = (*table)[byte];
    run.isOver = run.next == run.end;
    if (!run.isOver) ++run.next;
  }
  return nullptr;
}

}  // namespace

const char* AutomatonExecute(PatternAutomaton& automaton, const char* begin, char* end,
                             bool multiline, int* newlineCount, bool* backref) {
  *end = '\n';
  return Execute(automaton, begin, end, {multiline, newlineCount, backref, nullptr});
}

SearchOutcome FindCandidate(PatternAutomaton& automaton, const char* begin, const char* end,
                            WorkCredit& credit, const char*& place) {
  bool gaveUp = false;
  place = Execute(automaton, begin, end, {.credit = &credit, .gaveUp = &gaveUp});
  if (place != nullptr) return SearchOutcome::kFound;
  return gaveUp ? SearchOutcome::kGaveUp : SearchOutcome::kNotFound;
}

}  // namespace trovex
