// With folding, every letter of the pattern is a set of two bytes, and nothing would be left for a
// must string. It is taken from a copy of the pattern in lower case instead, parsed without
// folding; whoever searches for the string folds the text to lower case.

#include "matcher/line_filter/automaton_compiler.h"

#include "matcher/limits.h"
#include "matcher/line_filter/automaton_builder.h"
#include "matcher/line_filter/automaton_parser.h"
#include "matcher/line_filter/must_string.h"
#include "text/case_helpers.h"

#include <string>
#include <utility>

namespace trovex {

namespace {

constexpr int kAsciiBytes = 128;

/// The pattern with the letters below 128 in lower case; all other bytes stay, the umlauts among
/// them.
std::string LowerCaseCopy(const char* pattern, std::size_t length) {
  std::string copy(pattern, length);
  for (char& byte : copy) {
    const int c = static_cast<unsigned char>(byte);
    if (c < kAsciiBytes && IsUpperGer(c)) byte = static_cast<char>(ToLowerGer(c));
  }
  return copy;
}

/// Takes the must string of a folded pattern, and what fault there is, into `automaton`. There is none
/// where the budget does not allow it.
void ExtractFoldedMustString(const char* pattern, std::size_t length, PatternAutomaton& automaton) {
  const std::string copy = LowerCaseCopy(pattern, length);
  PatternAutomaton unfolded;
  unfolded.budget = automaton.budget.Part(kMaxLineFilterSteps, kMaxLineFilterBytes);
  unfolded.syntax = automaton.syntax;
  unfolded.syntax.fold = false;
  try {
    AutomatonParse(copy.data(), copy.size(), unfolded);
    ExtractMustString(unfolded);
    automaton.mustList = std::move(unfolded.mustList);
  } catch (const BudgetExhausted&) {
  }
  automaton.budget.ChargeSteps(unfolded.budget.StepsUsed());
  if (unfolded.fault != MessageNumber::kNone) automaton.fault = unfolded.fault;
}

}  // namespace

void AutomatonInit(PatternAutomaton& automaton) {
  const AutomatonSyntax syntax = automaton.syntax;
  const CompileBudget budget = automaton.budget;
  automaton = PatternAutomaton{};
  automaton.syntax = syntax;
  automaton.budget = budget;
}

void AutomatonFree(PatternAutomaton* automaton) {
  delete automaton;
}

void AutomatonCompile(const char* pattern, std::size_t length, PatternAutomaton& automaton,
                      bool searchFlag) {
  AutomatonInit(automaton);
  const bool folded = automaton.syntax.fold;
  if (folded) ExtractFoldedMustString(pattern, length, automaton);
  AutomatonParse(pattern, length, automaton);
  if (!folded) ExtractMustString(automaton);
  AnalyseAutomaton(automaton, searchFlag);
}

void CompileOpenAutomaton(PatternAutomaton& automaton) {
  AutomatonInit(automaton);
  automaton.isOpen = true;
  // A back-reference, which an automaton cannot decide.
  automaton.tokens = {TokBackref, EndMarker(0), TokConcat};
  automaton.depth = 2;
  automaton.leaves = 2;
  automaton.patterns = 1;
  AnalyseAutomaton(automaton, true);
}

PatternAutomatonPtr CopyAutomaton(const PatternAutomaton& automaton) {
  PatternAutomatonPtr copy{new PatternAutomaton};
  static_cast<AutomatonRecord&>(*copy) = automaton;
  copy->failTables.resize(automaton.failTables.size());
  return copy;
}

}  // namespace trovex
