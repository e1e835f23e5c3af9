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
#include <vector>

namespace trovex {

namespace {

constexpr int kAsciiBytes = 128;

/// Switches folding off for as long as the object lives.
class WithoutFolding {
 public:
  WithoutFolding() { CurrentAutomatonSyntax().fold = false; }
  ~WithoutFolding() { CurrentAutomatonSyntax().fold = true; }
  WithoutFolding(const WithoutFolding&) = delete;
  WithoutFolding& operator=(const WithoutFolding&) = delete;
};

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

/// The must strings of the pattern in lower case; none where `budget` does not allow it.
std::vector<MustEntry> FoldedMustEntries(const char* pattern, std::size_t length,
                                         CompileBudget& budget) {
  const WithoutFolding scope;
  const std::string copy = LowerCaseCopy(pattern, length);
  PatternAutomaton unfolded;
  unfolded.budget = budget.Part(kMaxLineFilterSteps, kMaxLineFilterBytes);
  try {
    AutomatonParse(copy.data(), copy.size(), unfolded);
    ExtractMustString(unfolded);
  } catch (const BudgetExhausted&) {
    unfolded.mustEntries.clear();
  }
  budget.ChargeSteps(unfolded.budget.StepsUsed());
  return std::move(unfolded.mustEntries);
}

}  // namespace

void AutomatonCompile(const char* pattern, std::size_t length, PatternAutomaton& automaton,
                      bool searchFlag) {
  const bool folded = CurrentAutomatonSyntax().fold;
  if (folded) automaton.mustEntries = FoldedMustEntries(pattern, length, automaton.budget);
  AutomatonParse(pattern, length, automaton);
  if (!folded) ExtractMustString(automaton);
  AnalyseAutomaton(automaton, searchFlag);
}

void CompileOpenAutomaton(PatternAutomaton& automaton) {
  automaton.isOpen = true;
  // A back-reference, which an automaton cannot decide.
  automaton.tokens = {TokBackref, EndMarker(0), TokConcat};
  automaton.depth = 2;
  automaton.leaves = 2;
  automaton.patterns = 1;
  AnalyseAutomaton(automaton, true);
}

}  // namespace trovex
