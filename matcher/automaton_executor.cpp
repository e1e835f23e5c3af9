// The road through the states.
//
// The fast loop is  state = transitions[state][byte].  It makes no test but one: whether the state
// has a table there. All that is out of the ordinary has none, and so ends the loop:
//
//   a newline        every table leads to `kNoState` on it. The newline that is written behind the
//                    text ends the loop there, so no byte is tested for being the last.
//   accepting        a state that accepts in some context keeps its table in `failTables`: the next
//                    byte decides whether the context is right, or whether the text goes on.
//   not built yet    the table is built, and the loop goes on.
//
// The loop takes two bytes per turn. `current` and `previous` swap their roles at each step, so
// that the state left last is known without a copy: behind a newline the scan may go on from it.

#include "matcher/automaton_executor.h"

#include "matcher/automaton_builder.h"

#include <utility>

namespace trovex {

namespace {

/// Where a run stands.
struct Run {
  const unsigned char* next;  // the next byte to be read
  StateNumber current = 0;
  StateNumber previous = 0;  // the state left last
};

/// Goes on until the current state has no transition table.
inline void RunFast(const PatternAutomaton& automaton, Run& run) {
  const auto* const tables = automaton.transitions.data() + 1;
  const unsigned char* next = run.next;
  StateNumber current = run.current;
  StateNumber previous = run.previous;
  while (const TransitionTable* table = tables[current].get()) {
    previous = (*table)[*next++];
    table = tables[previous].get();
    if (table == nullptr) {
      std::swap(current, previous);
      break;
    }
    current = (*table)[*next++];
  }
  run = {next, current, previous};
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

}  // namespace

const char* AutomatonExecute(PatternAutomaton& automaton, const char* begin, char* end,
                             bool multiline, int* newlineCount, bool* backref) {
  *end = '\n';
  const auto* const textEnd = reinterpret_cast<const unsigned char*>(end);
  if (automaton.transitions.empty()) BuildStateTable(automaton, 0);

  Run run = {.next = reinterpret_cast<const unsigned char*>(begin)};
  for (;;) {
    RunFast(automaton, run);
    if (run.current == kNoState) {
      if (run.next > textEnd) return nullptr;
      if (newlineCount != nullptr && run.next[-1] == '\n') ++*newlineCount;
      EnterLine(automaton, multiline, run);
      continue;
    }
    const auto slot = static_cast<std::size_t>(run.current);
    const TransitionTable* table = automaton.failTables[slot].get();
    if (table == nullptr) {
      run.current = BuildStateTable(automaton, run.current);
      continue;
    }
    if ((automaton.successBits[slot] & automaton.contextOf[*run.next]) != 0) {
      if (backref != nullptr) *backref = automaton.states[slot].hasBackref;
      return reinterpret_cast<const char*>(run.next);
    }
    run.previous = run.current;
    run.current = (*table)[*run.next++];
  }
}

}  // namespace trovex
