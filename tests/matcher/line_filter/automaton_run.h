// What the tests that run an automaton share: compiling a pattern, and the end of its first match
// in a text that lies in a block of exactly its length and one byte more.

#ifndef TROVEX_TESTS_MATCHER_LINE_FILTER_AUTOMATON_RUN_H
#define TROVEX_TESTS_MATCHER_LINE_FILTER_AUTOMATON_RUN_H

#include "matcher/line_filter/automaton_compiler.h"
#include "matcher/line_filter/automaton_executor.h"
#include "tests/heap_text.h"
#include "tests/matcher/line_filter/automaton_text.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace trovex::testing {

/// Compiles `pattern`; the caller takes the error.
inline PatternAutomaton Compiled(std::string_view pattern, bool fold = false,
                                 bool searchFlag = true) {
  PatternAutomaton automaton;
  AutomatonSetSyntax(automaton, kPatternSyntax, fold);
  AutomatonCompile(pattern.data(), pattern.size(), automaton, searchFlag);
  latestFault = automaton.fault;
  return automaton;
}

/// How a text is run through.
struct RunOptions {
  bool multiline = false;
  int* newlineCount = nullptr;
  bool* backref = nullptr;
};

/// The offset in `text` where the first match ends; -1 when there is none.
inline std::ptrdiff_t EndOfMatch(PatternAutomaton& automaton, std::string_view text,
                                 const RunOptions& options = {}) {
  HeapText heap(text);
  char* const begin = heap.Data();
  const char* const end =
      AutomatonExecute(automaton, begin, begin + heap.Length(), options.multiline,
                       options.newlineCount, options.backref);
  return end == nullptr ? -1 : end - begin;
}

/// How many tables the automaton holds.
inline std::ptrdiff_t CountTables(const PatternAutomaton& automaton) {
  const auto built = [](const auto& table) { return table != nullptr; };
  return static_cast<std::ptrdiff_t>(automaton.transitions.size() / 256) +
         std::count_if(automaton.failTables.begin(), automaton.failTables.end(), built);
}

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_MATCHER_LINE_FILTER_AUTOMATON_RUN_H
